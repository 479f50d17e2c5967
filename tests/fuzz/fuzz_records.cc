// SPDX-License-Identifier: Apache-2.0
// Velmora fuzzing: the nineteen AccountSvc records decoded from arbitrary bytes (first byte: the
// record type). See fuzz_decode.hh for the property checked.
#include "fuzz_decode.hh"
#include "fuzz_quiet.hh"

namespace {
constexpr size_t kRecords = 19;  // the records come first in the type list, the lists after
}

extern "C" int LLVMFuzzerInitialize(int *, char ***) {
  vfuzz::quiet_log();
  vfuzz::maybe_write_seeds(0, kRecords);
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  return vfuzz::run(data, size, 0, kRecords);
}
