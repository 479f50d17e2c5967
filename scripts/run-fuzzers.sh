#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# Runs every fuzz target of a fuzz build for a number of seconds each, starting from its committed seed
# corpus (tests/fuzz/corpus/<name>/) and a scratch corpus. Fails when a target finds a crash or a leak.
set -euo pipefail
build=${1:?build dir}
seconds=${2:-5}
root=$(cd "$(dirname "$0")/.." && pwd)
shopt -s nullglob
targets=("$build"/tests/fuzz/fuzz_*)
if [ ${#targets[@]} -eq 0 ]; then
  echo "no fuzz targets built"
  exit 1
fi
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
failed=0
for t in "${targets[@]}"; do
  [ -x "$t" ] || continue
  name=$(basename "$t"); name=${name#fuzz_}
  seeds="$root/tests/fuzz/corpus/$name"
  mkdir -p "$work/$name"
  echo "fuzz $name: ${seconds}s"
  if ! "$t" -max_total_time="$seconds" -max_len=65536 -rss_limit_mb=2048 -timeout=10 \
        -artifact_prefix="$work/" "$work/$name" ${seeds:+$([ -d "$seeds" ] && echo "$seeds")} \
        >"$work/$name.log" 2>&1; then
    echo "fuzz $name FAILED:"; tail -n 40 "$work/$name.log"; failed=1
  else
    grep -E '^Done|#[0-9]+.*DONE' "$work/$name.log" | tail -n 1 || true
  fi
done
exit $failed
