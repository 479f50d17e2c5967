// SPDX-License-Identifier: Apache-2.0
// Velmora fuzzing: the nine AccountSvc list types decoded from arbitrary bytes (first byte: the
// list type). See fuzz_decode.hh for the property checked.
#include "fuzz_decode.hh"
#include "fuzz_quiet.hh"

namespace {
constexpr size_t kRecords = 19;  // the lists follow the records in the type list
constexpr size_t kLists = 9;
}  // namespace

extern "C" int LLVMFuzzerInitialize(int *, char ***) {
  vfuzz::quiet_log();
  vfuzz::maybe_write_seeds(kRecords, kLists);
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  return vfuzz::run(data, size, kRecords, kLists);
}
