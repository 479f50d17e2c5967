#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# The checks of the code itself (part of `make check`, alone as `make lint`):
#   1. every C and C++ file of the tree is formatted as .clang-format says
#   2. the library (src/) passes the clang-tidy checks of .clang-tidy (reserved identifiers, ...)
#   3. every source file names its licence: "SPDX-License-Identifier: Apache-2.0" (check-spdx.sh)
# Usage: scripts/lint.sh <build dir with compile_commands.json> [jobs]
# Exit status 0 when all are clean, 1 otherwise (the findings and how to fix them are printed).
set -uo pipefail
build=${1:?usage: scripts/lint.sh BUILD_DIR [JOBS]}
jobs=${2:-$(nproc)}
cd "$(dirname "$0")/.."
root=$PWD
status=0

if git rev-parse --is-inside-work-tree >/dev/null 2>&1; then
  mapfile -t files < <(git ls-files '*.c' '*.cc' '*.h' '*.hh')
else
  mapfile -t files < <(find . -path ./build -prune -o \( -name '*.c' -o -name '*.cc' -o -name '*.h' \
                         -o -name '*.hh' \) -print | sed 's|^\./||')
fi

format_log=$(clang-format --dry-run --Werror "${files[@]}" 2>&1)
if [ -n "$format_log" ]; then
  echo "$format_log" | grep -E '^[^ ].*(warning|error):' | cut -d: -f1 | sort | uniq -c |
    sed 's/^/lint: not formatted: /'
  echo "lint: fix with: clang-format -i <file>... (or every file: git ls-files '*.c' '*.cc' '*.h' '*.hh' | xargs clang-format -i)"
  status=1
fi

if ! spdx_log=$(scripts/check-spdx.sh "$root"); then
  echo "$spdx_log" | sed 's/^spdx: /lint: /'
  status=1
fi

if [ ! -f "$build/compile_commands.json" ]; then
  echo "lint: $build/compile_commands.json is missing: configure the build first (make build-check)"
  exit 1
fi
tidy_log=$(run-clang-tidy -quiet -p "$build" -j "$jobs" "$root/src/" 2>&1)
if [ $? -ne 0 ]; then
  echo "$tidy_log" | grep -E '(warning|error):' | grep -v 'warnings generated' | sort -u | sed 's/^/lint: /'
  echo "lint: clang-tidy findings in src/ (checks in .clang-tidy); run one file with: clang-tidy -p $build <file>"
  status=1
fi

[ $status -eq 0 ] && echo "lint: format, licence lines and clang-tidy clean"
exit $status
