// SPDX-License-Identifier: Apache-2.0
// Velmora tests: the committed fuzz seeds (tests/fuzz/corpus/<target>/<name>), for tests that
// replay or corrupt them.
#pragma once

#include <fstream>
#include <iterator>
#include <string>
#include <vector>

namespace vtest {

// The bytes of one seed; empty when it cannot be read. Test executables know the source tree
// through VELMORA_SOURCE_DIR (set by velmora_test_dir).
inline std::vector<unsigned char> fuzz_seed(const std::string &target, const std::string &name) {
  std::ifstream in(std::string(VELMORA_SOURCE_DIR) + "/tests/fuzz/corpus/" + target + "/" + name,
                   std::ios::binary);
  return std::vector<unsigned char>(std::istreambuf_iterator<char>(in), {});
}

}  // namespace vtest
