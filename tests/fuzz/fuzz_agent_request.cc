// SPDX-License-Identifier: Apache-2.0
// Velmora fuzzing: AccountSvc request parcels of arbitrary bytes, read as the reference agent reads
// them: the method id, then the method's arguments from the agent's method table (strings, ints,
// an AccountS record, profile and privacy records it throws away, the reply delegate's header).
//
// Whatever request the agent accepts is written again the way the library's proxy writes a
// request (its string, int, record and delegate writers; empty profile and privacy records, which
// the agent does not keep) and read again by the agent: the second reading must accept it and give
// the same request (strings, ints, every field of the account as the agent's accessors read it, the
// delegate header), and writing that again must give the same bytes. Nothing may leak.
//
// Seeds: VELMORA_FUZZ_WRITE_SEEDS=<dir> writes one request per method (as the library writes
// them) into <dir> and exits, e.g.
//   VELMORA_FUZZ_WRITE_SEEDS=tests/fuzz/corpus/agent_request \
//     build/fuzz/tests/fuzz/fuzz_agent_request
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "fuzz_quiet.hh"
#include "port/codec.hh"
#include "port/methods.hh"
#include "proxy_internal.hh"
#include "records_internal.hh"
#include "velmora_host.h"

namespace {

using Bytes = std::vector<unsigned char>;
using vagent::nidl::ArgKind;
using vagent::nidl::Method;
using vagent::nidl::NidlRequest;

// The string and int fields of AccountS, read through the agent's accessors.
struct StrField {
  const char *name;
  int (*get)(rpc_port_AccountS_h, char **);
};
struct IntField {
  const char *name;
  int (*get)(rpc_port_AccountS_h, int *);
};
#define VFUZZ_STR_(T, F, K, A) VFUZZ_STR_##K##_(T, F)
#define VFUZZ_STR_STRING_(T, F) {#F, rpc_port_##T##_get_##F},
#define VFUZZ_STR_INT_(T, F)
#define VFUZZ_STR_LLONG_(T, F)
#define VFUZZ_INT_(T, F, K, A) VFUZZ_INT_##K##_(T, F)
#define VFUZZ_INT_STRING_(T, F)
#define VFUZZ_INT_INT_(T, F) {#F, rpc_port_##T##_get_##F},
#define VFUZZ_INT_LLONG_(T, F)
constexpr StrField kStrFields[] = {RPC_PORT_FIELDS_AccountS(VFUZZ_STR_)};
constexpr IntField kIntFields[] = {RPC_PORT_FIELDS_AccountS(VFUZZ_INT_)};

[[noreturn]] void fail(const Method &m, const char *what) {
  fprintf(stderr, "%s: %s\n", m.name, what);
  abort();
}

void response_cb(void *, int, rpc_port_AccountS_h) {}

template <typename H, int (*Create)(H *), int (*Destroy)(H)>
void write_empty(rpc_port_parcel_h p) {
  H h = nullptr;
  if (Create(&h) != 0) abort();
  rpc_port_parcel_write(p, va::rec::parcelable_of(h), h);
  Destroy(h);
}

// The request as the library's proxy writes it: method id, then each argument.
Bytes write_request(const Method &m, const NidlRequest &req) {
  rpc_port_parcel_h p = nullptr;
  if (rpc_port_parcel_create(&p) != 0) abort();
  rpc_port_parcel_write_int32(p, m.id);
  size_t next_string = 0, next_int = 0;
  for (ArgKind kind : m.args) {
    switch (kind) {
      case ArgKind::kString:
        rpc_port_parcel_write_string(p, req.strings.at(next_string++).c_str());
        break;
      case ArgKind::kInt:
        rpc_port_parcel_write_int32(p, req.ints.at(next_int++));
        break;
      case ArgKind::kAccount:
        if (!req.account) fail(m, "an accepted request without its account");
        rpc_port_parcel_write(p, va::rec::parcelable_of(req.account.get()), req.account.get());
        break;
      case ArgKind::kProfile:
        write_empty<rpc_port_ProfileS_h, rpc_port_ProfileS_create, rpc_port_ProfileS_destroy>(p);
        break;
      case ArgKind::kPrivacy:
        write_empty<rpc_port_PrivacyS_h, rpc_port_PrivacyS_create, rpc_port_PrivacyS_destroy>(p);
        break;
      case ArgKind::kDelegate: {
        // Any delegate writes the same header; the fields take what the request carried.
        auto *d = static_cast<va::proxy::Delegate *>(
            rpc_port_AccountSvc_ResponseCb_create(response_cb, req.delegate.once, nullptr));
        if (!d) abort();
        d->id = req.delegate.id;
        d->seq = req.delegate.seq;
        rpc_port_parcel_write(p, va::rec::parcelable_of(d), d);
        va::proxy::free_delegate(d);
        break;
      }
    }
  }
  const void *raw = nullptr;
  unsigned int size = 0;
  velmora_host_parcel_get_raw(p, &raw, &size);
  Bytes out(static_cast<const unsigned char *>(raw),
            static_cast<const unsigned char *>(raw) + size);
  rpc_port_parcel_destroy(p);
  return out;
}

// Reads a request as the agent's port does: nullptr for an unknown method, false when malformed.
const Method *read_request(const uint8_t *data, size_t size, NidlRequest *req, bool *ok) {
  rpc_port_parcel_h raw = nullptr;
  *ok = false;
  if (velmora_host_parcel_create_from_raw(&raw, data, static_cast<unsigned int>(size)) != 0)
    return nullptr;
  vagent::nidl::Parcel parcel(raw);
  int id = -1;
  rpc_port_parcel_read_int32(parcel.get(), &id);
  const Method *m = vagent::nidl::find_method(id);
  if (m) *ok = vagent::nidl::read_request(parcel.get(), m->args, req);
  return m;
}

void compare(const Method &m, const NidlRequest &a, const NidlRequest &b) {
  if (a.strings != b.strings) fail(m, "strings differ");
  if (a.ints != b.ints) fail(m, "ints differ");
  if (a.has_delegate != b.has_delegate || a.delegate.id != b.delegate.id ||
      a.delegate.seq != b.delegate.seq || a.delegate.once != b.delegate.once)
    fail(m, "delegate headers differ");
  if (!a.account != !b.account) fail(m, "one reading has an account, the other not");
  for (const StrField &f : kStrFields)
    if (a.field(f.get) != b.field(f.get)) {
      fprintf(stderr, "%s: account field %s differs\n", m.name, f.name);
      abort();
    }
  for (const IntField &f : kIntFields)
    if (a.int_field(f.get) != b.int_field(f.get)) {
      fprintf(stderr, "%s: account field %s differs\n", m.name, f.name);
      abort();
    }
  long long la = 0, lb = 0;
  if (a.account) {
    rpc_port_AccountS_get_LongExpiresIn(a.account.get(), &la);
    rpc_port_AccountS_get_LongExpiresIn(b.account.get(), &lb);
    if (la != lb) fail(m, "account field LongExpiresIn differs");
    rpc_port_AccountS_get_LongIssueTime(a.account.get(), &la);
    rpc_port_AccountS_get_LongIssueTime(b.account.get(), &lb);
    if (la != lb) fail(m, "account field LongIssueTime differs");
  }
}

int run(const uint8_t *data, size_t size) {
  NidlRequest first;
  bool ok = false;
  const Method *m = read_request(data, size, &first, &ok);
  if (!m || !ok) return 0;  // the agent closes the connection
  if (m->has_delegate() != first.has_delegate)
    fail(*m, "delegate header read or not as the row says");

  const Bytes e1 = write_request(*m, first);
  NidlRequest second;
  const Method *again = read_request(e1.data(), e1.size(), &second, &ok);
  if (again != m || !ok) fail(*m, "the re-written request is refused");
  compare(*m, first, second);
  if (write_request(*m, second) != e1) fail(*m, "writing the request again gives other bytes");
  return 0;
}

// ---- seeds ----

void maybe_write_seeds() {
  const char *dir = getenv("VELMORA_FUZZ_WRITE_SEEDS");
  if (!dir) return;
  size_t count = 0;
  for (const Method &m : vagent::nidl::methods()) {
    NidlRequest req;
    for (ArgKind kind : m.args) {
      if (kind == ArgKind::kString) req.strings.emplace_back("user@example.com");
      if (kind == ArgKind::kInt) req.ints.push_back(m.id == 14 ? 4 : 1);
    }
    req.account = vagent::nidl::new_account();
    rpc_port_AccountS_set_LoginId(req.account.get(), "user@example.com");
    rpc_port_AccountS_set_ClientId(req.account.get(), "client7");
    rpc_port_AccountS_set_Scope(req.account.get(), "openid");
    rpc_port_AccountS_set_TokenExpiresIn(req.account.get(), 3600);
    rpc_port_AccountS_set_LongIssueTime(req.account.get(), 1700000000);
    req.delegate = {va::proxy::kResponseCb, 7, true};
    const Bytes bytes = write_request(m, req);
    const std::string path = std::string(dir) + "/" + m.name;
    FILE *f = fopen(path.c_str(), "wb");
    if (!f) {
      perror(path.c_str());
      exit(1);
    }
    fwrite(bytes.data(), 1, bytes.size(), f);
    fclose(f);
    ++count;
  }
  printf("wrote %zu seeds to %s\n", count, dir);
  exit(0);
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int *, char ***) {
  vfuzz::quiet_log();
  maybe_write_seeds();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) { return run(data, size); }
