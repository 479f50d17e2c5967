// SPDX-License-Identifier: Apache-2.0
// Velmora fuzzing: app-control replies of arbitrary keys and values, parsed by the library's reply
// callbacks (the account-response family, the signed-in status, the account list and the two
// companion replies).
//
// An input is one selector byte (the reply callback, and whether the reply reports failure), then
// NUL-separated strings: key, value, key, value, ... (a last key without a value gets ""). A string
// of one byte from 1 to the size of its dictionary below stands for that dictionary entry, so that
// the real reply keys and hostile values (huge numbers, "-1" refresh tokens, flags that are not
// "Y"/"N") are one byte away. Empty keys are left out (a reply cannot carry them).
//
// The reply runs through the callback on a request record made as an app-control send makes it
// (a clone of a handle with every property set, the caller's callback, a reply holder where the
// operation has one). Checked: the caller's callback runs exactly once, with the request's clone;
// a successful reply gives 0 and a failed one the converted "error_code"; the clone holds exactly
// what the reply's keys say (string keys replace, "-1" refresh tokens and flags other than "Y" /
// "N" leave the value, numbers go through base-10 strtol); the status and the list are what the
// reply carries; a companion reply hands over a companion handle whose mobile-account state is
// what "check_mobile_account_exist" says ("true" 1, "false" 0, else unknown; a failed reply is not
// read, with or without an error code) and leaves the clone as it was; no log line shows a token or
// code of the reply (except in the companion replies, whose visitor logs every key with its value);
// nothing leaks.
//
// Seeds: VELMORA_FUZZ_WRITE_SEEDS=<dir> writes a few typical and hostile replies into <dir> and
// exits, e.g.
//   VELMORA_FUZZ_WRITE_SEEDS=tests/fuzz/corpus/app_control_reply \
//     build/fuzz/tests/fuzz/fuzz_app_control_reply
#include <glib.h>

#include <cctype>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "account_record.h"
#include "app_control.h"
#include "companion_record.h"
#include "fuzz_quiet.hh"
#include "request_record.h"
#include "request_reply.h"
#include "va_base.h"
#include "va_constants.h"
#include "velmora_account.h"
#include "velmora_host.h"

namespace {

using Extras = std::vector<std::pair<std::string, std::string>>;
enum class Family { kResponse, kStatus, kList, kCompanion };

// The reply names of the operations' rows, with the parser their rows name (none: the default,
// the reply's extras into the clone). One generic callback serves them all.
struct Callback {
  const char *name;
  va_reply_parser_fn parser;
  Family family;
};

const Callback kCallbacks[] = {
    {"sign_in_result_cb", nullptr, Family::kResponse},
    {"effortless_result_cb", nullptr, Family::kResponse},
    {"get_default_result_cb", nullptr, Family::kResponse},
    {"set_default_result_cb", nullptr, Family::kResponse},
    {"last_access_token_result_cb", nullptr, Family::kResponse},
    {"access_token_result_cb", nullptr, Family::kResponse},
    {"auth_code_result_cb", nullptr, Family::kResponse},
    {"confirm_user_result_cb", nullptr, Family::kResponse},
    {"mcc_cb", nullptr, Family::kResponse},
    {"update_tnc_cb", nullptr, Family::kResponse},
    {"get_account_from_property_cb", nullptr, Family::kResponse},
    {"signed_in_status_cb", va_reply_parse_signed_in_status, Family::kStatus},
    {"account_list_cb", va_reply_parse_account_list, Family::kList},
    {"companion_get_account_cb", va_companion_reply_parser, Family::kCompanion},
    {"companion_sign_in_result_cb", va_companion_reply_parser, Family::kCompanion},
};
constexpr size_t kCallbackCount = sizeof(kCallbacks) / sizeof(kCallbacks[0]);

// ---- what a reply key does to the account, stated here on its own ----

enum class Dest { kStr, kRefresh, kInt, kFlag };

struct KeyRule {
  const char *key;
  Dest dest;
  int property;
  bool secret;  // a token or code: never logged
};

constexpr KeyRule kRules[] = {
    {"access_token", Dest::kStr, VELMORA_ACCOUNT_PROPERTY_ACCESS_TOKEN, true},
    {"access_token_expires_in", Dest::kInt, VELMORA_ACCOUNT_PROPERTY_INT_ACCESS_TOKEN_EXPIRES_IN,
     false},
    {"access_token_issue_time", Dest::kInt, VELMORA_ACCOUNT_PROPERTY_INT_ACCESS_TOKEN_ISSUE_TIME,
     false},
    {"api_server_url", Dest::kStr, VELMORA_ACCOUNT_PROPERTY_API_SERVER_URL, false},
    {"authcode", Dest::kStr, VELMORA_ACCOUNT_PROPERTY_AUTHCODE, true},
    {"auth_server_url", Dest::kStr, VELMORA_ACCOUNT_PROPERTY_AUTH_SERVER_URL, false},
    {"cc", Dest::kStr, VELMORA_ACCOUNT_PROPERTY_CC, false},
    {"device_physical_address", Dest::kStr, VELMORA_ACCOUNT_PROPERTY_DEVICE_UNIQUE_CODE, false},
    {"device_security_code", Dest::kStr, VELMORA_ACCOUNT_PROPERTY_DEVICE_UNIQUE_CODE, false},
    {"login_id", Dest::kStr, VELMORA_ACCOUNT_PROPERTY_LOGIN_ID, false},
    {"mcc", Dest::kStr, VELMORA_ACCOUNT_PROPERTY_MCC, false},
    {"refresh_token", Dest::kRefresh, VELMORA_ACCOUNT_PROPERTY_REFRESH_TOKEN, true},
    {"user_id", Dest::kStr, VELMORA_ACCOUNT_PROPERTY_USER_ID, false},
    {"signin_app_message", Dest::kStr, VELMORA_ACCOUNT_PROPERTY_SIGNIN_APP_MESSAGE, false},
    {"customizedservice", Dest::kStr, VELMORA_ACCOUNT_PROPERTY_CUSTOMIZEDSERVICE, false},
    {"id_token", Dest::kStr, VELMORA_ACCOUNT_PROPERTY_ID_TOKEN, true},
    {"authenticate_token", Dest::kStr, VELMORA_ACCOUNT_PROPERTY_AUTHENTICATION_TOKEN, true},
    {"request_to_server", Dest::kFlag, VELMORA_ACCOUNT_PROPERTY_BOOL_REQUEST_TO_SERVER, false},
    {"account_linking_status", Dest::kFlag, VELMORA_ACCOUNT_PROPERTY_BOOL_ACCOUNT_LINKING_STATUS,
     false},
};

const KeyRule *rule_of(const std::string &key) {
  for (const KeyRule &r : kRules)
    if (key == r.key) return &r;
  return nullptr;
}

// ---- the input format ----

// One-byte keys 1..N: the reply keys, then the other keys replies carry.
const std::vector<std::string> &key_dictionary() {
  static const std::vector<std::string> keys = [] {
    std::vector<std::string> k;
    for (const KeyRule &r : kRules) k.emplace_back(r.key);
    for (const char *other : {"is_signin", "error_code", "login_id0", "login_id1", "x_login_id",
                              "check_mobile_account_exist"})
      k.emplace_back(other);
    return k;
  }();
  return keys;
}

// One-byte values 1..N.
const std::vector<std::string> &value_dictionary() {
  static const std::vector<std::string> values = {
      "-1",
      "Y",
      "N",
      "y",
      "true",
      "TRUE",
      "0",
      "2147483647",
      "2147483648",
      "-2147483649",
      "9223372036854775807",
      "9223372036854775808",
      "-9223372036854775809",
      "99999999999999999999999999999999",
      " +42abc",
      "0x10",
      "-1073741830",  // an agent error code
      "3600",
      "false",
  };
  return values;
}

std::string token(const uint8_t *p, size_t n, const std::vector<std::string> &dictionary) {
  if (n == 1 && p[0] >= 1 && p[0] <= dictionary.size()) return dictionary[p[0] - 1];
  return std::string(reinterpret_cast<const char *>(p), n);
}

Extras parse_extras(const uint8_t *data, size_t size) {
  Extras extras;
  std::vector<std::string> strings;
  size_t start = 0;
  for (size_t i = 0; i <= size; ++i) {
    if (i < size && data[i] != 0) continue;
    const bool is_key = strings.size() % 2 == 0;
    strings.push_back(
        token(data + start, i - start, is_key ? key_dictionary() : value_dictionary()));
    start = i + 1;
  }
  if (strings.size() % 2 != 0) strings.emplace_back();
  for (size_t i = 0; i < strings.size(); i += 2) extras.emplace_back(strings[i], strings[i + 1]);
  return extras;
}

// ---- the handle every request is cloned from ----

velmora_account_h g_handle = nullptr;

constexpr int kStrCount = 21;
constexpr int kIntFields = 3;  // expires in, issue time, terms status: what a clone copies

// The values of g_handle: letters and '-' only (no digits), see SecretWatch.
std::string handle_value(int property) {
  static const char *const kWords[] = {"alpha",  "bravo", "charlie", "delta",  "echo",   "foxtrot",
                                       "golf",   "hotel", "india",   "juliet", "kilo",   "lima",
                                       "mike",   "nov",   "oscar",   "papa",   "quebec", "romeo",
                                       "sierra", "tango", "uniform"};
  return std::string("keep-") + kWords[property];
}

// Makes a platform root with the agent installed, long enough for the library to find the agent
// (it remembers that for the life of the process), and the handle with every property set.
void set_up_handle() {
  gchar *dir = g_dir_make_tmp("velmora-fuzz-XXXXXX", nullptr);
  if (!dir) abort();
  setenv("VELMORA_PLATFORM_ROOT", dir, 1);
  const velmora_host_app_s apps[] = {{AGENT_APP_ID, "service", "/nonexistent/velmora-agent"},
                                     {AGENT_UI_APP_ID, "ui", "/nonexistent/velmora-agent"}};
  if (velmora_host_init_root(nullptr, nullptr) != 0 ||
      velmora_host_install_package(AGENT_APP_ID, apps, 2, nullptr, 0, nullptr) != 0 ||
      velmora_account_create(&g_handle) != 0)
    abort();
  std::error_code ec;
  std::filesystem::remove_all(dir, ec);
  unsetenv("VELMORA_PLATFORM_ROOT");
  g_free(dir);

  for (int p = 0; p < kStrCount; ++p)
    if (velmora_account_set_property_str(g_handle, p, handle_value(p).c_str()) != 0) abort();
  if (velmora_account_set_property_int(
          g_handle, VELMORA_ACCOUNT_PROPERTY_INT_ACCESS_TOKEN_EXPIRES_IN, 1800) != 0 ||
      velmora_account_set_property_int(
          g_handle, VELMORA_ACCOUNT_PROPERTY_INT_ACCESS_TOKEN_ISSUE_TIME, 1700000000) != 0)
    abort();
  g_handle->tnc_status = 5;
  for (int b = 0; b <= VELMORA_ACCOUNT_PROPERTY_BOOL_ACCOUNT_LINKING_STATUS; ++b)
    if (velmora_account_set_property_bool(g_handle, b, true) != 0) abort();
}

// ---- what the clone must hold after the reply ----

struct Expected {
  std::optional<std::string> str[kStrCount];
  int ints[kIntFields];
  int request_to_server;
  int account_linking_status;
};

// A clone holds string properties 0 to 15 and the three integer fields; its flags read false.
Expected clone_of_handle() {
  Expected e;
  for (int p = 0; p < 16; ++p) e.str[p] = handle_value(p);
  e.ints[0] = g_handle->access_token_expires_in;
  e.ints[1] = g_handle->access_token_issue_time;
  e.ints[2] = g_handle->tnc_status;
  e.request_to_server = 0;
  e.account_linking_status = 0;
  return e;
}

void apply(Expected *e, const std::string &key, const std::string &value) {
  const KeyRule *r = rule_of(key);
  if (!r) return;
  switch (r->dest) {
    case Dest::kRefresh:
      if (value == "-1") return;
      [[fallthrough]];
    case Dest::kStr:
      e->str[r->property] = value;
      return;
    case Dest::kInt:
      e->ints[r->property] = static_cast<int>(strtol(value.c_str(), nullptr, 10));
      return;
    case Dest::kFlag: {
      int *flag = r->property == VELMORA_ACCOUNT_PROPERTY_BOOL_REQUEST_TO_SERVER
                      ? &e->request_to_server
                      : &e->account_linking_status;
      if (value == "Y") *flag = VA_TRISTATE_TRUE;
      if (value == "N") *flag = VA_TRISTATE_FALSE;
      return;
    }
  }
}

void fail(const char *what, const char *callback) {
  fprintf(stderr, "%s: %s\n", callback, what);
  abort();
}

void check_account(const Expected &e, velmora_account_h account, const char *callback) {
  for (int p = 0; p < kStrCount; ++p) {
    const char *got = *va_account_str_field(account, p);
    if (e.str[p].has_value() != (got != nullptr) || (got && *e.str[p] != got)) {
      fprintf(stderr, "%s: string property %d is \"%s\", expected \"%s\"\n", callback, p,
              got ? got : "(unset)", e.str[p] ? e.str[p]->c_str() : "(unset)");
      abort();
    }
  }
  const int ints[kIntFields] = {account->access_token_expires_in, account->access_token_issue_time,
                                account->tnc_status};
  for (int i = 0; i < kIntFields; ++i)
    if (ints[i] != e.ints[i]) {
      fprintf(stderr, "%s: int field %d is %d, expected %d\n", callback, i, ints[i], e.ints[i]);
      abort();
    }
  if (account->request_to_server != e.request_to_server ||
      account->account_linking_status != e.account_linking_status)
    fail("a flag differs", callback);
  // The flags no reply key names stay as the clone made them.
  if (account->mobile_account_exist != 0 || account->register_trusted_device != 0 ||
      account->check_2factor_authentication != 0 || account->api_timeout != 0)
    fail("a field no reply key names changed", callback);
}

// ---- no log line shows a token or code of the reply ----

// A secret is watched only when it cannot show up in a line for an innocent reason: at least eight
// letters and digits with both kinds in it (no fixed text of the library, no function or file
// name, no handle value has such a run), and not part of any key or of a value that may be logged
// (login ids, error codes).
struct SecretWatch {
  std::vector<std::string> secrets;
  const char *leaked = nullptr;

  static bool watchable(const std::string &s) {
    bool letter = false, digit = false;
    for (unsigned char c : s) {
      if (!isalnum(c)) return false;
      (isdigit(c) ? digit : letter) = true;
    }
    return s.size() >= 8 && letter && digit;
  }

  void set(const Extras &extras) {
    secrets.clear();
    leaked = nullptr;
    for (const auto &[key, value] : extras) {
      const KeyRule *r = rule_of(key);
      if (!r || !r->secret || !watchable(value)) continue;
      bool innocent = false;
      for (const auto &[k, v] : extras) {
        const KeyRule *o = rule_of(k);
        innocent = innocent || k.find(value) != std::string::npos ||
                   ((!o || !o->secret) && v.find(value) != std::string::npos);
      }
      if (!innocent) secrets.push_back(value);
    }
  }

  static void hook(int, const char *, const char *, const char *message, void *user_data) {
    auto *self = static_cast<SecretWatch *>(user_data);
    for (const std::string &s : self->secrets)
      if (strstr(message, s.c_str())) {
        fprintf(stderr, "a reply's secret reached the log: %s\n", message);
        self->leaked = "secret logged";
      }
  }
};

SecretWatch g_watch;

// ---- the caller's callbacks ----

struct Received {
  int calls = 0;
  int result = 0;
  velmora_account_h account = nullptr;
  bool signed_in = false;
  bool list_null = true;
  std::vector<std::string> ids;
  bool had_companion = false;
  int companion_state = -1;
  bool companion_clean = false;  // nothing but the mobile-account state was set

  static void response(int result, velmora_account_h account, void *user_data) {
    auto *self = static_cast<Received *>(user_data);
    ++self->calls;
    self->result = result;
    self->account = account;
  }
  static void status(int result, velmora_account_h account, bool signed_in, void *user_data) {
    auto *self = static_cast<Received *>(user_data);
    ++self->calls;
    self->result = result;
    self->account = account;
    self->signed_in = signed_in;
  }
  static void list(int result, velmora_account_h account, char **ids, int length, void *user_data) {
    auto *self = static_cast<Received *>(user_data);
    ++self->calls;
    self->result = result;
    self->account = account;
    self->list_null = ids == nullptr;
    for (int i = 0; ids && i < length; ++i) self->ids.emplace_back(ids[i]);
  }
  static void companion(int result, velmora_account_h account,
                        velmora_account_companion_h companion, void *user_data) {
    auto *self = static_cast<Received *>(user_data);
    ++self->calls;
    self->result = result;
    self->account = account;
    self->had_companion = companion != nullptr;
    if (!companion) return;
    self->companion_state = companion->mobile_account_exist;
    bool clean = companion->register_trusted_device == VA_TRISTATE_UNSET && !companion->connected;
    for (int p = 0; p < kStrCount; ++p)
      clean = clean && *va_account_str_field(companion, p) == nullptr;
    self->companion_clean = clean;
    velmora_account_companion_destroy(companion);
  }
};

// The receiver's part: the account is its to destroy. The handle leaves properties 18 to 20
// allocated on purpose (tests/lsan.supp); the receiver clears them first so that only a leak of
// the reply path is found.
void release(velmora_account_h account) {
  for (int p = VELMORA_ACCOUNT_PROPERTY_AUTHENTICATION_TOKEN; p < kStrCount; ++p)
    va_account_clear_str(account, p);
  velmora_account_destroy(account);
}

int run(const uint8_t *data, size_t size) {
  if (size < 1) return 0;
  const Callback &cb = kCallbacks[data[0] % kCallbackCount];
  const bool failed = (data[0] / kCallbackCount) % 2 == 1;
  const Extras wanted = parse_extras(data + 1, size - 1);

  app_control_h reply = nullptr;
  if (app_control_create(&reply) != APP_CONTROL_ERROR_NONE) abort();
  for (const auto &[key, value] : wanted)
    if (!key.empty()) app_control_add_extra_data(reply, key.c_str(), value.c_str());
  // What the reply holds, in its own order (a repeated key keeps its first place, last value).
  Extras extras;
  app_control_foreach_extra_data(
      reply,
      [](app_control_h h, const char *key, void *out) {
        char *v = nullptr;
        if (app_control_get_extra_data(h, key, &v) != 0) abort();
        static_cast<Extras *>(out)->emplace_back(key, v);
        free(v);
        return true;
      },
      &extras);

  // The request record as an app-control send leaves it.
  velmora_account_h clone = nullptr;
  if (va_account_clone(g_handle, &clone) != 0) abort();
  Received rx;
  auto *request =
      static_cast<velmora_account_request_h>(calloc(1, sizeof(struct velmora_account_request_s)));
  request->account = clone;
  request->user_data = &rx;
  switch (cb.family) {
    case Family::kResponse:
      request->app_control_cb = reinterpret_cast<velmora_account_request_cb>(Received::response);
      break;
    case Family::kStatus:
      request->app_control_cb = reinterpret_cast<velmora_account_request_cb>(Received::status);
      request->data = calloc(1, sizeof(va_signed_in_status_s));
      break;
    case Family::kList:
      request->app_control_cb = reinterpret_cast<velmora_account_request_cb>(Received::list);
      request->data = calloc(1, sizeof(va_account_id_list_s));
      break;
    case Family::kCompanion:
      request->app_control_cb = reinterpret_cast<velmora_account_request_cb>(Received::companion);
      break;
  }

  va_operation_s row = {};
  row.name = "fuzz_operation";
  row.app_control.reply_name = cb.name;
  row.app_control.parser = cb.parser;
  request->op = &row;

  // The companion replies' visitor logs every key with its value ("Key[%s], Value[%s]"): the
  // agent sends no secret in them, and their log is not watched.
  g_watch.set(cb.family == Family::kCompanion ? Extras{} : extras);
  va_reply_app_control_cb(
      nullptr, reply, failed ? APP_CONTROL_RESULT_FAILED : APP_CONTROL_RESULT_SUCCEEDED, request);
  if (g_watch.leaked) fail(g_watch.leaked, cb.name);

  if (rx.calls != 1) fail("the caller's callback did not run exactly once", cb.name);
  if (rx.account != clone) fail("the callback did not get the request's clone", cb.name);

  // The result: 0, or the converted "error_code" of a failed reply.
  int expected_result = 0;
  if (failed) {
    const char *code = nullptr;
    for (const auto &kv : extras)
      if (kv.first == "error_code") code = kv.second.c_str();
    expected_result = va_convert_error(code);
  }
  if (rx.result != expected_result) fail("wrong result", cb.name);

  Expected e = clone_of_handle();
  switch (cb.family) {
    case Family::kResponse:
      for (const auto &[key, value] : extras) apply(&e, key, value);
      break;
    case Family::kStatus: {
      bool signed_in = false;
      for (const auto &[key, value] : extras)
        if (key == "is_signin") signed_in = value == "true";
      if (rx.signed_in != signed_in) fail("wrong signed-in status", cb.name);
      break;
    }
    case Family::kList: {
      std::vector<std::string> ids;
      for (const auto &[key, value] : extras)
        if (key.find("login_id") != std::string::npos && ids.size() < VA_ACCOUNT_LIST_MAX)
          ids.push_back(value);
      if (rx.list_null || rx.ids != ids) fail("wrong account list", cb.name);
      break;
    }
    case Family::kCompanion: {
      // Only a successful launch's reply is read: a failed one, with or without an error code,
      // passes the companion handle unfilled.
      int state = VA_TRISTATE_UNSET;
      for (const auto &[key, value] : extras)
        if (!failed && key == "check_mobile_account_exist") {
          if (value == "true") state = VA_TRISTATE_TRUE;
          if (value == "false") state = VA_TRISTATE_FALSE;
        }
      if (!rx.had_companion || !rx.companion_clean || rx.companion_state != state)
        fail("wrong companion handle", cb.name);
      break;
    }
  }
  check_account(e, clone, cb.name);

  release(clone);
  app_control_destroy(reply);
  return 0;
}

// ---- seeds ----

std::string dict_key(const char *key) {
  const auto &keys = key_dictionary();
  for (size_t i = 0; i < keys.size(); ++i)
    if (keys[i] == key) return std::string(1, static_cast<char>(i + 1));
  abort();
}

std::string dict_value(const char *value) {
  const auto &values = value_dictionary();
  for (size_t i = 0; i < values.size(); ++i)
    if (values[i] == value) return std::string(1, static_cast<char>(i + 1));
  abort();
}

uint8_t selector(const char *callback, bool failed) {
  for (size_t i = 0; i < kCallbackCount; ++i)
    if (strcmp(kCallbacks[i].name, callback) == 0)
      return static_cast<uint8_t>(i + (failed ? kCallbackCount : 0));
  abort();
}

void write_seed(const std::string &dir, const char *name, uint8_t sel, const Extras &extras) {
  std::string bytes(1, static_cast<char>(sel));
  for (size_t i = 0; i < extras.size(); ++i) {
    if (i) bytes.push_back('\0');
    bytes += extras[i].first;
    bytes.push_back('\0');
    bytes += extras[i].second;
  }
  const std::string path = dir + "/" + name;
  FILE *f = fopen(path.c_str(), "wb");
  if (!f) {
    perror(path.c_str());
    exit(1);
  }
  fwrite(bytes.data(), 1, bytes.size(), f);
  fclose(f);
}

void maybe_write_seeds() {
  const char *dir = getenv("VELMORA_FUZZ_WRITE_SEEDS");
  if (!dir) return;
  Extras token_reply;
  for (const KeyRule &r : kRules) {
    std::string value = r.dest == Dest::kInt ? "3600" : r.dest == Dest::kFlag ? "Y" : "v";
    if (r.dest == Dest::kStr || r.dest == Dest::kRefresh) value = std::string(r.key) + "7x";
    token_reply.emplace_back(r.key, value);
  }
  write_seed(dir, "access-token", selector("access_token_result_cb", false), token_reply);
  write_seed(dir, "access-token-failed", selector("access_token_result_cb", true),
             {{"error_code", "-1073741830"}, {"login_id", "user@example.com"}});
  write_seed(dir, "hostile-values", selector("last_access_token_result_cb", false),
             {{dict_key("refresh_token"), dict_value("-1")},
              {dict_key("request_to_server"), dict_value("y")},
              {dict_key("account_linking_status"), dict_value("N")},
              {dict_key("access_token_expires_in"), dict_value("9223372036854775808")},
              {dict_key("access_token_issue_time"), dict_value("-2147483649")},
              {dict_key("device_security_code"), dict_value("0x10")},
              {dict_key("device_physical_address"), dict_value(" +42abc")}});
  write_seed(dir, "mcc", selector("mcc_cb", false),
             {{"mcc", "450"}, {"cc", "KR"}, {"login_id", "user@example.com"}});
  write_seed(dir, "signed-in", selector("signed_in_status_cb", false),
             {{"login_id", "user@example.com"}, {"is_signin", "true"}});
  write_seed(dir, "signed-in-failed", selector("signed_in_status_cb", true),
             {{dict_key("error_code"), dict_value("-1073741830")}});
  Extras list;
  for (int i = 0; i < 12; ++i)
    list.emplace_back("login_id" + std::to_string(i), "user" + std::to_string(i));
  list.emplace_back("x_login_id", "last");
  write_seed(dir, "account-list", selector("account_list_cb", false), list);
  write_seed(dir, "companion-exists", selector("companion_get_account_cb", false),
             {{"check_mobile_account_exist", "true"}, {"login_id", "user@example.com"}});
  write_seed(dir, "companion-sign-in", selector("companion_sign_in_result_cb", false),
             {{dict_key("check_mobile_account_exist"), dict_value("false")},
              {"user_id", "u1"},
              {"mcc", "450"}});
  write_seed(dir, "companion-sign-in-failed", selector("companion_sign_in_result_cb", true),
             {{"error_code", "-1056964574"}, {"check_mobile_account_exist", "true"}});
  printf("wrote 10 seeds to %s\n", dir);
  exit(0);
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int *, char ***) {
  vfuzz::quiet_log();
  maybe_write_seeds();
  set_up_handle();
  velmora_host_set_log_hook(SecretWatch::hook, &g_watch);
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) { return run(data, size); }
