#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# Runs every benchmark executable of a build configured with -DVELMORA_BENCH=ON and prints its
# results (each benchmark prints its own comparison table at the end). Extra arguments are passed
# to every benchmark, e.g. --benchmark_filter=AccountS or --benchmark_min_time=2.
set -euo pipefail
build=${1:?usage: run-benchmarks.sh <build dir> [benchmark args...]}
shift
shopt -s nullglob
benches=()
for b in "$build"/bench/bench_*; do
  [ -f "$b" ] && [ -x "$b" ] && benches+=("$b")
done
if [ ${#benches[@]} -eq 0 ]; then
  echo "no benchmarks in $build/bench (configure with -DVELMORA_BENCH=ON and build)" >&2
  exit 1
fi
status=0
for b in "${benches[@]}"; do
  echo "== $(basename "$b")"
  "$b" "$@" || status=1
  echo
done
exit $status
