#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# The API reference (`make docs`): HTML from the public headers with Doxygen, in <out>/html.
# Every public symbol is documented: a Doxygen warning (an undocumented symbol, a broken
# reference) fails it, with the list of warnings.
#   scripts/docs.sh [out dir, default build/docs]
# VELMORA_DOCS_SOURCE names another tree to document (with include/, platform/ and docs/ as here);
# the docs test uses it to show that an undocumented symbol fails.
set -euo pipefail
out=$(mkdir -p "${1:-build/docs}" && cd "${1:-build/docs}" && pwd)
cd "$(dirname "$0")/.."
version=$(sed -n 's/^project(velmora_account VERSION \([0-9.]*\).*/\1/p' CMakeLists.txt)
cd "${VELMORA_DOCS_SOURCE:-.}"
if ! command -v doxygen >/dev/null; then
  echo "docs: doxygen is not installed (Debian: sudo apt-get install doxygen)" >&2
  exit 1
fi
rm -rf "$out/html" "$out/warnings.log"
status=0
VELMORA_DOCS_OUT=$out VELMORA_VERSION=$version doxygen docs/Doxyfile || status=$?
if [ -s "$out/warnings.log" ] || [ $status -ne 0 ]; then
  sed "s|^$PWD/||" "$out/warnings.log" >&2
  echo "docs: $(grep -cE ': (warning|error):' "$out/warnings.log") warnings: document every public symbol" \
       "(a block comment right before its declaration)" >&2
  exit 1
fi
echo "docs: $out/html/index.html"
