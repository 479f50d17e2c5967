// SPDX-License-Identifier: Apache-2.0
// Velmora tests: running a built program of the project and capturing what it says.
#pragma once

#include <string>
#include <vector>

namespace vtest {

struct ProgramRun {
  int exit_code = -1;  // 128 + the signal when a signal ended it; -1 when it could not start
  std::string out;
  std::string err;
};

// Runs `exe` with `args` under the current environment (and so the test's platform root) and waits
// for it. A program that cannot start fails the test, with `hint` saying how to get it built.
ProgramRun run_program(const std::string &exe, const std::vector<std::string> &args,
                       const std::string &hint);
// The same with `input` as the program's standard input (else it reads an empty one).
ProgramRun run_program_with_input(const std::string &exe, const std::vector<std::string> &args,
                                  const std::string &input, const std::string &hint);

}  // namespace vtest
