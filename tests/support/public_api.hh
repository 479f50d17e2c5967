// SPDX-License-Identifier: Apache-2.0
// Velmora tests: what the public headers declare, read the way a compiler reads them.
//
// declared_names() preprocesses every header of the given folders with the C compiler of the build
// (so that a declaration a macro writes counts as well) and returns the functions and extern
// variables they declare. pending_functions() reads tests/interface/pending_functions.txt: the
// public functions declared but not written yet.
#pragma once

#include <set>
#include <string>
#include <vector>

namespace vtest {

struct Declared {
  std::set<std::string> functions;
  std::set<std::string> variables;
  std::string error;  // empty when the headers were read
};

// The functions and extern variables declared by the *.h files of `dirs` (not by what they include
// from elsewhere), compiled as C11 with `dirs` on the include path.
Declared declared_names(const std::vector<std::string> &dirs);

// The folders of the library's public headers: include/ of the tree and of the build.
std::vector<std::string> public_header_dirs();

// The folders of the platform library's interface headers.
std::vector<std::string> platform_header_dirs();

// The names listed in tests/interface/pending_functions.txt (comments and blank lines skipped).
std::vector<std::string> pending_functions();

}  // namespace vtest
