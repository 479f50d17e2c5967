// SPDX-License-Identifier: Apache-2.0
// Velmora fuzzing: decoding AccountSvc records and lists from arbitrary bytes.
//
// An input is one selector byte (which type, modulo the number of types of the target) and the
// parcel bytes. The bytes are decoded into a fresh record, which is encoded again (E1), decoded
// again and encoded again (E2). E1 must equal E2: whatever a decoder accepts, the encoder writes a
// stream the decoder reads back to the same value. A clone must encode to E1 as well. The one
// exception is a value holding a NULL list item (a string that failed to decode inside a string
// list): the format counts such an item but writes nothing for it, so its stream is not stable by
// design; for it only the absence of crashes and leaks is checked, and its clone must fail.
//
// Seeds: run a target with VELMORA_FUZZ_WRITE_SEEDS=<dir> and it writes one seed per type (a
// filled value and an empty one) into <dir> and exits, e.g.
//   VELMORA_FUZZ_WRITE_SEEDS=tests/fuzz/corpus/records build/fuzz/tests/fuzz/fuzz_records
#pragma once

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <span>
#include <string>

#include "record_table.hh"
#include "records_internal.hh"
#include "rpc_port_parcel.h"
#include "velmora_host.h"

namespace vfuzz {

// Larger inputs are skipped: a lying count can make a decoded value encode to some ten times its
// input (empty items for counts backed by four bytes each), and the encoding must stay well below
// the parcel limit for the property to hold.
constexpr size_t kMaxInput = 64 * 1024;

inline rtest::Bytes encode(void *h) { return rtest::encode(h); }

inline void *decode(const va::rec::RecordDesc &d, const uint8_t *data, size_t size) {
  void *h = va::rec::create(d, "fuzz");
  if (!h) abort();
  rpc_port_parcel_h p = nullptr;
  if (velmora_host_parcel_create_from_raw(&p, data, (unsigned int)size) != 0) abort();
  rpc_port_parcel_read(p, va::rec::parcelable_of(h), h);
  rpc_port_parcel_destroy(p);
  return h;
}

inline void check(const va::rec::RecordDesc &d, const uint8_t *data, size_t size) {
  void *first = decode(d, data, size);
  const bool unstable = va::rec::has_null_items(d, first);
  rtest::Bytes e1 = encode(first);
  void *second = decode(d, e1.data(), e1.size());
  rtest::Bytes e2 = encode(second);
  if (!unstable && e1 != e2) {
    fprintf(stderr, "%s: re-encoding differs (%zu vs %zu bytes)\n", d.name, e1.size(), e2.size());
    abort();
  }
  void *copy = va::rec::clone(d, first, "fuzz");
  if (unstable != (copy == nullptr)) {
    fprintf(stderr, "%s: clone %s\n", d.name, copy ? "accepted a NULL item" : "failed");
    abort();
  }
  if (copy) {
    if (encode(copy) != e1) {
      fprintf(stderr, "%s: clone encodes differently\n", d.name);
      abort();
    }
    va::rec::destroy(d, copy);
  }
  va::rec::destroy(d, second);
  va::rec::destroy(d, first);
}

// Runs one input against the types [first, first + count) of the library's type list.
inline int run(const uint8_t *data, size_t size, size_t first, size_t count) {
  if (va::rec::all_types().size() < first + count) abort();  // the targets' split is out of date
  if (size < 1 || size > kMaxInput + 1) return 0;
  auto types = va::rec::all_types().subspan(first, count);
  check(*types[data[0] % types.size()], data + 1, size - 1);
  return 0;
}

inline void write_seed(const std::string &dir, const std::string &name, uint8_t selector,
                       const rtest::Bytes &bytes) {
  std::string path = dir + "/" + name;
  FILE *f = fopen(path.c_str(), "wb");
  if (!f) {
    perror(path.c_str());
    exit(1);
  }
  fputc(selector, f);
  fwrite(bytes.data(), 1, bytes.size(), f);
  fclose(f);
}

// With VELMORA_FUZZ_WRITE_SEEDS set: one filled and one empty value of each type, then exit.
inline void maybe_write_seeds(size_t first, size_t count) {
  const char *dir = getenv("VELMORA_FUZZ_WRITE_SEEDS");
  if (!dir) return;
  if (va::rec::all_types().size() < first + count) abort();
  auto types = va::rec::all_types().subspan(first, count);
  for (size_t i = 0; i < types.size(); ++i) {
    const rtest::TypeOps &t = rtest::type(types[i]->name);
    void *h = rtest::make(t);
    write_seed(dir, std::string(t.name) + "-empty", (uint8_t)i, encode(h));
    rtest::fill(t, h, (int)i, 2);
    write_seed(dir, std::string(t.name) + "-filled", (uint8_t)i, encode(h));
    t.destroy(h);
  }
  printf("wrote %zu seeds to %s\n", types.size() * 2, dir);
  exit(0);
}

}  // namespace vfuzz
