// SPDX-License-Identifier: Apache-2.0
// Velmora benchmarks: encode + decode round trips of AccountSvc records, next to the same data
// serialised and read back with GVariant.
//
// One round trip = write the record into a parcel, copy the bytes out (what a port does), read them
// into a fresh record, free everything. The GVariant side does the same with the same data: build
// the value from plain C structs (g_variant_new / GVariantBuilder), serialise it, copy the bytes,
// wrap them with g_variant_new_from_data and read every field back into plain C structs with
// g_variant_get*, free everything. Both sides hand out owned string copies, as callers need them.
// Before timing, one round trip of each side is checked against the source data.
//
// After the runs a table gives the nanoseconds per round trip of both and their ratio.
#include <benchmark/benchmark.h>
#include <glib.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <string>
#include <vector>

#include "account_svc_proxy.h"
#include "bench_common.hh"
#include "records_internal.hh"
#include "rpc_port_parcel.h"
#include "velmora_host.h"

namespace {

[[noreturn]] void fail(const char *what) {
  fprintf(stderr, "bench_records: %s\n", what);
  abort();
}

// "<what><i>.<k>-" padded with hex digits to `length` characters.
char *text(const char *what, int i, int k, size_t length) {
  char *prefix = g_strdup_printf("%s%d.%d-", what, i, k);
  GString *s = g_string_new(prefix);
  g_free(prefix);
  while (s->len < length) g_string_append_c(s, "0123456789abcdef"[s->len % 16]);
  return g_string_free(s, FALSE);
}

bool same(const char *a, const char *b) { return a && b && strcmp(a, b) == 0; }

// ---- the data as plain C structs ----

constexpr int kAccountStrings = 20;

struct Account {
  char *s[kAccountStrings];  // AccessToken ... Reserved, in declaration order
  int tnc_status, token_expires_in, token_issue_time;
  long long long_expires_in, long_issue_time;
};

template <int N>
struct Strings {
  char *s[N];
};

using Name = Strings<10>;
using Birthday = Strings<7>;
using Item5 = Strings<5>;  // messenger, phone, email, event; also photo
using Web = Strings<3>;
using Pair = Strings<2>;  // nickname, gender, status, note
using Four = Strings<4>;  // organization, health

struct Profile {
  char *type, *resource, *update_type, *reserved;
  std::vector<Name> names;
  std::vector<Birthday> birthdays;
  std::vector<Item5> messengers, phones, emails;
  std::vector<Web> webs;
  std::vector<Item5> events;
  Pair nickname;
  Item5 photo;
  Four organization;
  Pair gender, status, note;
  Four health;
  int privacy[14];
};

template <int N>
void free_strings(Strings<N> &v) {
  for (char *s : v.s) g_free(s);
}

void free_account(Account &a) {
  for (char *s : a.s) g_free(s);
}

void free_profile(Profile &p) {
  for (char *s : {p.type, p.resource, p.update_type, p.reserved}) g_free(s);
  for (auto &v : p.names) free_strings(v);
  for (auto &v : p.birthdays) free_strings(v);
  for (auto *list : {&p.messengers, &p.phones, &p.emails, &p.events})
    for (auto &v : *list) free_strings(v);
  for (auto &v : p.webs) free_strings(v);
  free_strings(p.nickname);
  free_strings(p.photo);
  free_strings(p.organization);
  free_strings(p.gender);
  free_strings(p.status);
  free_strings(p.note);
  free_strings(p.health);
}

Account sample_account() {
  Account a{};
  static const size_t lengths[kAccountStrings] = {96, 40, 32, 40, 24, 32, 2, 36, 96, 28,
                                                  3,  16, 96, 48, 24, 40, 8, 8,  8,  16};
  for (int i = 0; i < kAccountStrings; ++i) a.s[i] = text("account", 0, i, lengths[i]);
  a.tnc_status = 1;
  a.token_expires_in = 3600;
  a.token_issue_time = 1718000000;
  a.long_expires_in = 5184000000LL;
  a.long_issue_time = 1718000000123LL;
  return a;
}

template <int N>
Strings<N> sample_strings(const char *what, int i) {
  Strings<N> v{};
  for (int k = 0; k < N; ++k) v.s[k] = text(what, i, k, 12 + (size_t)k);
  return v;
}

Profile sample_profile() {
  Profile p{};
  p.type = g_strdup("all");
  p.resource = g_strdup("profile");
  p.update_type = g_strdup("full");
  p.reserved = g_strdup("");
  for (int i = 0; i < 2; ++i) p.names.push_back(sample_strings<10>("name", i));
  for (int i = 0; i < 2; ++i) p.birthdays.push_back(sample_strings<7>("birthday", i));
  for (int i = 0; i < 50; ++i) p.phones.push_back(sample_strings<5>("+82-10-", i));
  p.nickname = sample_strings<2>("nick", 0);
  p.photo = sample_strings<5>("photo", 0);
  p.organization = sample_strings<4>("org", 0);
  p.gender = sample_strings<2>("gender", 0);
  p.status = sample_strings<2>("status", 0);
  p.note = sample_strings<2>("note", 0);
  p.health = sample_strings<4>("health", 0);
  for (int i = 0; i < 14; ++i) p.privacy[i] = i % 3;
  return p;
}

// ---- the same data as AccountSvc records ----

using AccountSetter = int (*)(rpc_port_AccountS_h, const char *);
constexpr AccountSetter kAccountSetters[kAccountStrings] = {rpc_port_AccountS_set_AccessToken,
                                                            rpc_port_AccountS_set_ApiServerUrl,
                                                            rpc_port_AccountS_set_AuthCode,
                                                            rpc_port_AccountS_set_AuthServerUrl,
                                                            rpc_port_AccountS_set_ClientId,
                                                            rpc_port_AccountS_set_ClientSecret,
                                                            rpc_port_AccountS_set_CountryCode,
                                                            rpc_port_AccountS_set_DeviceUniqueCode,
                                                            rpc_port_AccountS_set_LastAccessToken,
                                                            rpc_port_AccountS_set_LoginId,
                                                            rpc_port_AccountS_set_Mcc,
                                                            rpc_port_AccountS_set_Password,
                                                            rpc_port_AccountS_set_RefreshToken,
                                                            rpc_port_AccountS_set_Scope,
                                                            rpc_port_AccountS_set_UserId,
                                                            rpc_port_AccountS_set_SigninAppMessage,
                                                            rpc_port_AccountS_set_Aaa,
                                                            rpc_port_AccountS_set_Bbb,
                                                            rpc_port_AccountS_set_Ccc,
                                                            rpc_port_AccountS_set_Reserved};

rpc_port_AccountS_h account_record(const Account &a) {
  rpc_port_AccountS_h h = nullptr;
  if (rpc_port_AccountS_create(&h) != 0) fail("create AccountS");
  for (int i = 0; i < kAccountStrings; ++i) kAccountSetters[i](h, a.s[i]);
  rpc_port_AccountS_set_TncStatus(h, a.tnc_status);
  rpc_port_AccountS_set_TokenExpiresIn(h, a.token_expires_in);
  rpc_port_AccountS_set_TokenIssueTime(h, a.token_issue_time);
  rpc_port_AccountS_set_LongExpiresIn(h, a.long_expires_in);
  rpc_port_AccountS_set_LongIssueTime(h, a.long_issue_time);
  return h;
}

rpc_port_ProfileS_h profile_record(const Profile &p) {
  rpc_port_ProfileS_h h = nullptr;
  if (rpc_port_ProfileS_create(&h) != 0) fail("create ProfileS");
  rpc_port_ProfileS_set_Type(h, p.type);
  rpc_port_ProfileS_set_Resource(h, p.resource);
  rpc_port_ProfileS_set_UpdateType(h, p.update_type);
  rpc_port_ProfileS_set_Reserved(h, p.reserved);
  for (const Name &n : p.names) {
    rpc_port_NameS_h r = nullptr;
    rpc_port_NameS_create(&r);
    int (*set[10])(rpc_port_NameS_h, const char *) = {
        rpc_port_NameS_set_FamilyName,     rpc_port_NameS_set_MiddleName,
        rpc_port_NameS_set_GivenName,      rpc_port_NameS_set_PhoneticFamily,
        rpc_port_NameS_set_PhoneticMiddle, rpc_port_NameS_set_PhoneticGiven,
        rpc_port_NameS_set_Prefix,         rpc_port_NameS_set_Suffix,
        rpc_port_NameS_set_Verified,       rpc_port_NameS_set_Source};
    for (int k = 0; k < 10; ++k) set[k](r, n.s[k]);
    rpc_port_ProfileS_add_NameList(h, r);
    rpc_port_NameS_destroy(r);
  }
  for (const Birthday &b : p.birthdays) {
    rpc_port_BirthdayS_h r = nullptr;
    rpc_port_BirthdayS_create(&r);
    int (*set[7])(rpc_port_BirthdayS_h, const char *) = {
        rpc_port_BirthdayS_set_Day,   rpc_port_BirthdayS_set_Month, rpc_port_BirthdayS_set_Year,
        rpc_port_BirthdayS_set_Date,  rpc_port_BirthdayS_set_Type,  rpc_port_BirthdayS_set_Verified,
        rpc_port_BirthdayS_set_Source};
    for (int k = 0; k < 7; ++k) set[k](r, b.s[k]);
    rpc_port_ProfileS_add_BirthdayList(h, r);
    rpc_port_BirthdayS_destroy(r);
  }
  for (const Item5 &ph : p.phones) {
    rpc_port_PhoneS_h r = nullptr;
    rpc_port_PhoneS_create(&r);
    int (*set[5])(rpc_port_PhoneS_h, const char *) = {
        rpc_port_PhoneS_set_Value, rpc_port_PhoneS_set_Type, rpc_port_PhoneS_set_Label,
        rpc_port_PhoneS_set_Key, rpc_port_PhoneS_set_Verified};
    for (int k = 0; k < 5; ++k) set[k](r, ph.s[k]);
    rpc_port_ProfileS_add_PhoneList(h, r);
    rpc_port_PhoneS_destroy(r);
  }
#define BENCH_SINGLE_(Field, Type, src, ...)                                         \
  do {                                                                               \
    rpc_port_##Type##_h r = nullptr;                                                 \
    rpc_port_##Type##_create(&r);                                                    \
    int (*set[])(rpc_port_##Type##_h, const char *) = {__VA_ARGS__};                 \
    for (size_t k = 0; k < sizeof(set) / sizeof(set[0]); ++k) set[k](r, (src).s[k]); \
    rpc_port_ProfileS_set_##Field(h, r);                                             \
    rpc_port_##Type##_destroy(r);                                                    \
  } while (0)
  BENCH_SINGLE_(Nickname, NicknameS, p.nickname, rpc_port_NicknameS_set_Value,
                rpc_port_NicknameS_set_Verified);
  BENCH_SINGLE_(Photo, PhotoS, p.photo, rpc_port_PhotoS_set_Url, rpc_port_PhotoS_set_CreateIndex,
                rpc_port_PhotoS_set_CreateTime, rpc_port_PhotoS_set_Hash,
                rpc_port_PhotoS_set_Verified);
  BENCH_SINGLE_(Organization, OrganizationS, p.organization, rpc_port_OrganizationS_set_Company,
                rpc_port_OrganizationS_set_Department, rpc_port_OrganizationS_set_Title,
                rpc_port_OrganizationS_set_Verified);
  BENCH_SINGLE_(Gender, GenderS, p.gender, rpc_port_GenderS_set_Value,
                rpc_port_GenderS_set_Verified);
  BENCH_SINGLE_(Status, StatusS, p.status, rpc_port_StatusS_set_Value,
                rpc_port_StatusS_set_Verified);
  BENCH_SINGLE_(Note, NoteS, p.note, rpc_port_NoteS_set_Value, rpc_port_NoteS_set_Verified);
  BENCH_SINGLE_(Health, HealthS, p.health, rpc_port_HealthS_set_Height, rpc_port_HealthS_set_Weight,
                rpc_port_HealthS_set_ActivityLevel, rpc_port_HealthS_set_Verified);
#undef BENCH_SINGLE_
  rpc_port_PrivacyS_h privacy = nullptr;
  rpc_port_PrivacyS_create(&privacy);
  int (*set_privacy[14])(rpc_port_PrivacyS_h, int) = {
      rpc_port_PrivacyS_set_Name,      rpc_port_PrivacyS_set_Birthday,
      rpc_port_PrivacyS_set_Messenger, rpc_port_PrivacyS_set_Phone,
      rpc_port_PrivacyS_set_Email,     rpc_port_PrivacyS_set_Web,
      rpc_port_PrivacyS_set_Event,     rpc_port_PrivacyS_set_Nickname,
      rpc_port_PrivacyS_set_Photo,     rpc_port_PrivacyS_set_Organization,
      rpc_port_PrivacyS_set_Gender,    rpc_port_PrivacyS_set_Status,
      rpc_port_PrivacyS_set_Note,      rpc_port_PrivacyS_set_Health};
  for (int k = 0; k < 14; ++k) set_privacy[k](privacy, p.privacy[k]);
  rpc_port_ProfileS_set_Privacy(h, privacy);
  rpc_port_PrivacyS_destroy(privacy);
  return h;
}

// ---- the Velmora round trip ----

// Writes `src`, copies the bytes as a port would, reads them into a fresh record of type d.
void *velmora_round_trip(const va::rec::RecordDesc &d, void *src) {
  rpc_port_parcel_h out = nullptr;
  rpc_port_parcel_create(&out);
  rpc_port_parcel_write(out, va::rec::parcelable_of(src), src);
  const void *raw = nullptr;
  unsigned int size = 0;
  velmora_host_parcel_get_raw(out, &raw, &size);
  rpc_port_parcel_h in = nullptr;
  velmora_host_parcel_create_from_raw(&in, raw, size);
  rpc_port_parcel_destroy(out);
  void *dst = va::rec::create(d, "bench");
  rpc_port_parcel_read(in, va::rec::parcelable_of(dst), dst);
  rpc_port_parcel_destroy(in);
  return dst;
}

std::string bytes_of(void *h) {
  rpc_port_parcel_h p = nullptr;
  rpc_port_parcel_create(&p);
  rpc_port_parcel_write(p, va::rec::parcelable_of(h), h);
  const void *raw = nullptr;
  unsigned int size = 0;
  velmora_host_parcel_get_raw(p, &raw, &size);
  std::string out(static_cast<const char *>(raw), size);
  rpc_port_parcel_destroy(p);
  return out;
}

// ---- the GVariant round trip ----

constexpr const char *kAccountType = "(ssssssssssssssssssssiiixx)";

// Serialises v, copies the bytes and wraps them again as untrusted data of the same type.
GVariant *through_bytes(GVariant *v) {
  gsize size = g_variant_get_size(v);
  gpointer copy = g_memdup2(g_variant_get_data(v), size);
  return g_variant_ref_sink(
      g_variant_new_from_data(g_variant_get_type(v), copy, size, FALSE, g_free, copy));
}

Account gvariant_account_round_trip(const Account &a) {
  GVariant *v = g_variant_ref_sink(
      g_variant_new(kAccountType, a.s[0], a.s[1], a.s[2], a.s[3], a.s[4], a.s[5], a.s[6], a.s[7],
                    a.s[8], a.s[9], a.s[10], a.s[11], a.s[12], a.s[13], a.s[14], a.s[15], a.s[16],
                    a.s[17], a.s[18], a.s[19], a.tnc_status, a.token_expires_in, a.token_issue_time,
                    (gint64)a.long_expires_in, (gint64)a.long_issue_time));
  GVariant *w = through_bytes(v);
  g_variant_unref(v);
  Account out{};
  gint64 l1 = 0, l2 = 0;
  g_variant_get(w, kAccountType, &out.s[0], &out.s[1], &out.s[2], &out.s[3], &out.s[4], &out.s[5],
                &out.s[6], &out.s[7], &out.s[8], &out.s[9], &out.s[10], &out.s[11], &out.s[12],
                &out.s[13], &out.s[14], &out.s[15], &out.s[16], &out.s[17], &out.s[18], &out.s[19],
                &out.tnc_status, &out.token_expires_in, &out.token_issue_time, &l1, &l2);
  out.long_expires_in = l1;
  out.long_issue_time = l2;
  g_variant_unref(w);
  return out;
}

template <int N>
GVariant *tuple_of(const Strings<N> &v) {
  GVariant *children[N];
  for (int k = 0; k < N; ++k) children[k] = g_variant_new_string(v.s[k]);
  return g_variant_new_tuple(children, N);
}

template <int N>
void add_list(GVariantBuilder *b, const std::vector<Strings<N>> &items) {
  static const std::string type = "a(" + std::string(N, 's') + ")";
  g_variant_builder_open(b, G_VARIANT_TYPE(type.c_str()));
  for (const auto &item : items) g_variant_builder_add_value(b, tuple_of(item));
  g_variant_builder_close(b);
}

template <int N>
Strings<N> read_tuple(GVariant *t) {
  Strings<N> v{};
  for (int k = 0; k < N; ++k) g_variant_get_child(t, k, "s", &v.s[k]);
  return v;
}

template <int N>
Strings<N> read_tuple_at(GVariant *parent, gsize index) {
  GVariant *t = g_variant_get_child_value(parent, index);
  Strings<N> v = read_tuple<N>(t);
  g_variant_unref(t);
  return v;
}

template <int N>
std::vector<Strings<N>> read_list(GVariant *parent, gsize index) {
  GVariant *array = g_variant_get_child_value(parent, index);
  gsize n = g_variant_n_children(array);
  std::vector<Strings<N>> out;
  out.reserve(n);
  for (gsize j = 0; j < n; ++j) out.push_back(read_tuple_at<N>(array, j));
  g_variant_unref(array);
  return out;
}

Profile gvariant_profile_round_trip(const Profile &p) {
  GVariantBuilder b;
  g_variant_builder_init(&b, G_VARIANT_TYPE_TUPLE);
  for (const char *s : {p.type, p.resource, p.update_type, p.reserved})
    g_variant_builder_add(&b, "s", s);
  add_list(&b, p.names);
  add_list(&b, p.birthdays);
  add_list(&b, p.messengers);
  add_list(&b, p.phones);
  add_list(&b, p.emails);
  add_list(&b, p.webs);
  add_list(&b, p.events);
  g_variant_builder_add_value(&b, tuple_of(p.nickname));
  g_variant_builder_add_value(&b, tuple_of(p.photo));
  g_variant_builder_add_value(&b, tuple_of(p.organization));
  g_variant_builder_add_value(&b, tuple_of(p.gender));
  g_variant_builder_add_value(&b, tuple_of(p.status));
  g_variant_builder_add_value(&b, tuple_of(p.note));
  g_variant_builder_add_value(&b, tuple_of(p.health));
  const int *q = p.privacy;
  g_variant_builder_add_value(
      &b, g_variant_new("(iiiiiiiiiiiiii)", q[0], q[1], q[2], q[3], q[4], q[5], q[6], q[7], q[8],
                        q[9], q[10], q[11], q[12], q[13]));
  GVariant *v = g_variant_ref_sink(g_variant_builder_end(&b));
  GVariant *w = through_bytes(v);
  g_variant_unref(v);

  Profile out{};
  g_variant_get_child(w, 0, "s", &out.type);
  g_variant_get_child(w, 1, "s", &out.resource);
  g_variant_get_child(w, 2, "s", &out.update_type);
  g_variant_get_child(w, 3, "s", &out.reserved);
  out.names = read_list<10>(w, 4);
  out.birthdays = read_list<7>(w, 5);
  out.messengers = read_list<5>(w, 6);
  out.phones = read_list<5>(w, 7);
  out.emails = read_list<5>(w, 8);
  out.webs = read_list<3>(w, 9);
  out.events = read_list<5>(w, 10);
  out.nickname = read_tuple_at<2>(w, 11);
  out.photo = read_tuple_at<5>(w, 12);
  out.organization = read_tuple_at<4>(w, 13);
  out.gender = read_tuple_at<2>(w, 14);
  out.status = read_tuple_at<2>(w, 15);
  out.note = read_tuple_at<2>(w, 16);
  out.health = read_tuple_at<4>(w, 17);
  GVariant *privacy = g_variant_get_child_value(w, 18);
  int *r = out.privacy;
  g_variant_get(privacy, "(iiiiiiiiiiiiii)", &r[0], &r[1], &r[2], &r[3], &r[4], &r[5], &r[6], &r[7],
                &r[8], &r[9], &r[10], &r[11], &r[12], &r[13]);
  g_variant_unref(privacy);
  g_variant_unref(w);
  return out;
}

// ---- checks before timing ----

template <int N>
bool same_strings(const Strings<N> &a, const Strings<N> &b) {
  for (int k = 0; k < N; ++k)
    if (!same(a.s[k], b.s[k])) return false;
  return true;
}

template <int N>
bool same_lists(const std::vector<Strings<N>> &a, const std::vector<Strings<N>> &b) {
  if (a.size() != b.size()) return false;
  for (size_t i = 0; i < a.size(); ++i)
    if (!same_strings(a[i], b[i])) return false;
  return true;
}

void check_round_trips(const Account &account, const Profile &profile) {
  Account a = gvariant_account_round_trip(account);
  for (int i = 0; i < kAccountStrings; ++i)
    if (!same(a.s[i], account.s[i])) fail("GVariant AccountS string differs");
  if (a.tnc_status != account.tnc_status || a.token_expires_in != account.token_expires_in ||
      a.token_issue_time != account.token_issue_time ||
      a.long_expires_in != account.long_expires_in || a.long_issue_time != account.long_issue_time)
    fail("GVariant AccountS number differs");
  free_account(a);

  Profile p = gvariant_profile_round_trip(profile);
  if (!same(p.type, profile.type) || !same(p.reserved, profile.reserved) ||
      !same_lists(p.names, profile.names) || !same_lists(p.birthdays, profile.birthdays) ||
      !same_lists(p.phones, profile.phones) || !p.messengers.empty() || !p.emails.empty() ||
      !p.webs.empty() || !p.events.empty() || !same_strings(p.nickname, profile.nickname) ||
      !same_strings(p.photo, profile.photo) ||
      !same_strings(p.organization, profile.organization) ||
      !same_strings(p.gender, profile.gender) || !same_strings(p.status, profile.status) ||
      !same_strings(p.note, profile.note) || !same_strings(p.health, profile.health) ||
      memcmp(p.privacy, profile.privacy, sizeof p.privacy) != 0)
    fail("GVariant ProfileS differs");
  free_profile(p);

  rpc_port_AccountS_h ra = account_record(account);
  auto *ba = static_cast<rpc_port_AccountS_h>(velmora_round_trip(va::rec::kDesc_AccountS, ra));
  if (bytes_of(ba) != bytes_of(ra) || !same(ba->Reserved, account.s[19]) ||
      ba->LongIssueTime != account.long_issue_time)
    fail("Velmora AccountS differs");
  rpc_port_AccountS_destroy(ba);
  rpc_port_AccountS_destroy(ra);

  rpc_port_ProfileS_h rp = profile_record(profile);
  auto *bp = static_cast<rpc_port_ProfileS_h>(velmora_round_trip(va::rec::kDesc_ProfileS, rp));
  if (bytes_of(bp) != bytes_of(rp) || g_list_length(bp->PhoneList) != 50 ||
      !same(bp->Health->Verified, profile.health.s[3]))
    fail("Velmora ProfileS differs");
  rpc_port_ProfileS_destroy(bp);
  rpc_port_ProfileS_destroy(rp);
}

// ---- the benchmarks ----

struct Data {
  Account account = sample_account();
  Profile profile = sample_profile();
  rpc_port_AccountS_h account_record = nullptr;
  rpc_port_ProfileS_h profile_record = nullptr;
};

Data &data() {
  static Data d;
  return d;
}

void BM_AccountS_velmora(benchmark::State &state) {
  for (auto _ : state) {
    void *back = velmora_round_trip(va::rec::kDesc_AccountS, data().account_record);
    benchmark::DoNotOptimize(back);
    rpc_port_AccountS_destroy(static_cast<rpc_port_AccountS_h>(back));
  }
}

void BM_AccountS_gvariant(benchmark::State &state) {
  for (auto _ : state) {
    Account back = gvariant_account_round_trip(data().account);
    benchmark::DoNotOptimize(back.s[19]);
    free_account(back);
  }
}

void BM_ProfileS_velmora(benchmark::State &state) {
  for (auto _ : state) {
    void *back = velmora_round_trip(va::rec::kDesc_ProfileS, data().profile_record);
    benchmark::DoNotOptimize(back);
    rpc_port_ProfileS_destroy(static_cast<rpc_port_ProfileS_h>(back));
  }
}

void BM_ProfileS_gvariant(benchmark::State &state) {
  for (auto _ : state) {
    Profile back = gvariant_profile_round_trip(data().profile);
    benchmark::DoNotOptimize(back.phones.data());
    free_profile(back);
  }
}

void print_table(const vbench::Recorder &rec) {
  struct Row {
    const char *label;
    const char *ours;
    const char *theirs;
    double target;  // the ratio we aim for, or 0 for none
  };
  const Row rows[] = {
      {"AccountS (20 strings, 3 int, 2 int64)", "BM_AccountS_velmora", "BM_AccountS_gvariant", 0.1},
      {"ProfileS (2 names, 2 birthdays, 50 phones, all items)", "BM_ProfileS_velmora",
       "BM_ProfileS_gvariant", 0},
  };
  // CPU time is shown next to real time: on a loaded machine real time also counts the waits.
  printf("\nEncode + decode round trip, ns per round trip (real / CPU time):\n");
  printf("%-54s %17s %17s %13s\n", "record", "velmora", "GVariant", "ratio");
  for (const Row &row : rows) {
    double ours_real, ours_cpu, theirs_real, theirs_cpu;
    if (!rec.mean(row.ours, &ours_real, &ours_cpu) ||
        !rec.mean(row.theirs, &theirs_real, &theirs_cpu))
      continue;  // filtered out
    double ratio_real = ours_real / theirs_real, ratio_cpu = ours_cpu / theirs_cpu;
    printf("%-54s %8.0f /%7.0f %8.0f /%7.0f %6.3f /%5.3f", row.label, ours_real, ours_cpu,
           theirs_real, theirs_cpu, ratio_real, ratio_cpu);
    if (row.target > 0) {
      bool met = ratio_real <= row.target && ratio_cpu <= row.target;
      printf("   target <= %.2f: %s", row.target, met ? "met" : "MISSED");
    }
    printf("\n");
  }
}

}  // namespace

int main(int argc, char **argv) {
  data().account_record = account_record(data().account);
  data().profile_record = profile_record(data().profile);
  check_round_trips(data().account, data().profile);

  benchmark::RegisterBenchmark("BM_AccountS_velmora", BM_AccountS_velmora)
      ->Unit(benchmark::kNanosecond);
  benchmark::RegisterBenchmark("BM_AccountS_gvariant", BM_AccountS_gvariant)
      ->Unit(benchmark::kNanosecond);
  benchmark::RegisterBenchmark("BM_ProfileS_velmora", BM_ProfileS_velmora)
      ->Unit(benchmark::kNanosecond);
  benchmark::RegisterBenchmark("BM_ProfileS_gvariant", BM_ProfileS_gvariant)
      ->Unit(benchmark::kNanosecond);
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  vbench::Recorder rec;
  benchmark::RunSpecifiedBenchmarks(&rec);
  benchmark::Shutdown();
  print_table(rec);

  rpc_port_AccountS_destroy(data().account_record);
  rpc_port_ProfileS_destroy(data().profile_record);
  free_account(data().account);
  free_profile(data().profile);
  return 0;
}
