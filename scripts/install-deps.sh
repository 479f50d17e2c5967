#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# Installs the Debian packages the build, the tests, the fuzzers and the benchmarks need, when they
# are missing. Safe to run again: it does nothing when everything is there.
set -euo pipefail

packages=(
  cmake ninja-build g++ pkg-config
  clang libclang-rt-14-dev          # fuzz targets (libFuzzer) and their sanitizers
  clang-format clang-tidy           # make lint (part of make check)
  libglib2.0-dev libsqlite3-dev libjson-glib-dev
  libsodium-dev                     # the agent: random, Argon2id, keyed hashes
  libsoup-3.0-dev                   # the agent's UI application: the login views' HTTP server
  chromium chromium-driver python3-selenium   # the login views' test in a real browser
  libgtest-dev libgmock-dev libbenchmark-dev
  valgrind
  doxygen                           # make docs (the API reference; a CTest with label docs)
)

missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done
[ ${#missing[@]} -eq 0 ] && exit 0

echo "installing: ${missing[*]}"
sudo=""
[ "$(id -u)" -eq 0 ] || sudo="sudo"
export DEBIAN_FRONTEND=noninteractive
# Wait for another apt-get or dpkg run to finish instead of failing at once.
lock=(-o DPkg::Lock::Timeout=900)
$sudo apt-get "${lock[@]}" update -qq
$sudo apt-get "${lock[@]}" install -y -qq --no-install-recommends "${missing[@]}"
