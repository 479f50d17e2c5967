#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# The API reference (scripts/docs.sh, which `make docs` runs): the public headers document without
# a warning and every header has its page; a public function without a comment fails the build and
# is named.
#   tests/docs/docs_test.sh <source dir> <work dir>
set -euo pipefail
src=$1
work=$2
rm -rf "$work"
mkdir -p "$work"

"$src/scripts/docs.sh" "$work/docs" >"$work/docs.log" 2>&1 || {
  cat "$work/docs.log"
  echo "docs_test: make docs failed on the tree" >&2
  exit 1
}
for h in "$src"/include/*.h "$src"/platform/include/*.h "$src"/platform/host/include/*.h; do
  page=$(basename "$h" .h | sed 's/_/__/g')_8h.html
  [ -s "$work/docs/html/$page" ] || { echo "docs_test: no page for $h ($page)" >&2; exit 1; }
done
grep -q 'velmora_account_error_name' "$work/docs/html/velmora__account__error_8h.html" || {
  echo "docs_test: velmora_account_error_name is not in its header's page" >&2
  exit 1
}

# A copy of the tree with one public function nobody documented.
tree=$work/tree
mkdir -p "$tree/platform"
cp -r "$src/include" "$src/docs" "$tree/"
cp -r "$src/platform/include" "$src/platform/host" "$tree/platform/"
printf '\nVELMORA_API int velmora_account_undocumented_probe(void);\n' >>"$tree/include/velmora_account.h"
if VELMORA_DOCS_SOURCE=$tree "$src/scripts/docs.sh" "$work/bad" >"$work/bad.log" 2>&1; then
  cat "$work/bad.log"
  echo "docs_test: an undocumented public function did not fail the docs" >&2
  exit 1
fi
grep -q 'velmora_account_undocumented_probe' "$work/bad.log" || {
  cat "$work/bad.log"
  echo "docs_test: the failure does not name the undocumented function" >&2
  exit 1
}
echo "docs_test: reference built without warnings; an undocumented function fails it"
