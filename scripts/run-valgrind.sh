#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# Runs every test of a build without sanitizers under valgrind's memcheck, each test in its own
# process (as under ctest), with the suppressions of the leaks kept on purpose (tests/valgrind.supp).
# Fails when valgrind reports an error or a definite leak in any of them.
#   scripts/run-valgrind.sh <build dir> [gtest filter]      e.g.  build/valgrind 'Records*'
set -euo pipefail
build=${1:?build dir}
filter=${2:-*}
root=$(cd "$(dirname "$0")/.." && pwd)
export VELMORA_BUILD_DIR=$(cd "$build" && pwd)
log=$(mktemp -d)
trap 'rm -rf "$log"' EXIT

list=()
for exe in "$build"/tests/test_unit_* "$build"/tests/test_integration_* "$build"/tests/test_interface*; do
  [ -x "$exe" ] || continue
  suite=""
  while IFS= read -r line; do
    case "$line" in
      " "*) list+=("$exe ${suite}${line#  }") ;;
      *) suite=${line%%#*}; suite=${suite%% *} ;;
    esac
  done < <("$exe" --gtest_list_tests --gtest_filter="$filter")
done
echo "valgrind: ${#list[@]} tests"

run_one() {
  local exe=$1 test=$2 out
  out="$VALGRIND_LOG/$(basename "$exe").${test//\//_}.log"
  if valgrind --quiet --leak-check=full --errors-for-leak-kinds=definite --error-exitcode=99 \
       --suppressions="$VALGRIND_SUPP" "$exe" --gtest_filter="$test" >"$out" 2>&1; then
    rm -f "$out"
  else
    echo "FAILED: $test"
  fi
}
export -f run_one
export VALGRIND_LOG=$log VALGRIND_SUPP=$root/tests/valgrind.supp
printf '%s\n' "${list[@]}" | xargs -P "$(nproc)" -L 1 bash -c 'run_one "$0" "$1"' | tee "$log/failed.txt"
if [ -s "$log/failed.txt" ]; then
  for f in "$log"/*.log; do echo "== $f"; tail -n 30 "$f"; done
  exit 1
fi
echo "valgrind: all clean"
