#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# scripts/check-spdx.sh on a small tree: clean, then with files losing their line, which the check
# must name and fail on; then scripts/add-spdx.sh gives each the line in its own comment style (after
# the #! line of a script) and the check passes again.
#   spdx_check_test.sh <scripts dir>
set -euo pipefail
check=$1/check-spdx.sh
add=$1/add-spdx.sh
tree=$(mktemp -d "${TMPDIR:-/tmp}/velmora-spdx-XXXXXX")
trap 'rm -rf "$tree"' EXIT
fail() { echo "spdx_check_test: $*" >&2; exit 1; }

mkdir -p "$tree/src" "$tree/scripts"
printf '// SPDX-License-Identifier: Apache-2.0\nint a;\n' >"$tree/src/a.cc"
printf '/* SPDX-License-Identifier: Apache-2.0 */\nint b;\n' >"$tree/src/b.h"
printf '#!/bin/sh\n# SPDX-License-Identifier: Apache-2.0\ntrue\n' >"$tree/scripts/c.sh"
printf '# SPDX-License-Identifier: Apache-2.0\nproject(x)\n' >"$tree/CMakeLists.txt"
printf 'not a source file\n' >"$tree/notes.md"
out=$("$check" "$tree") || fail "a clean tree fails: $out"
[[ $out == "spdx: 4 source files name their licence" ]] || fail "unexpected: $out"

printf 'int d;\n' >"$tree/src/d.cc"
printf '#!/bin/sh\ntrue\ntrue\n# SPDX-License-Identifier: Apache-2.0\n' >"$tree/scripts/e.sh"  # line 4
if out=$("$check" "$tree"); then fail "a tree with files without the line passes: $out"; fi
grep -qx 'spdx: no licence line: src/d.cc' <<<"$out" || fail "d.cc not named: $out"
grep -qx 'spdx: no licence line: scripts/e.sh' <<<"$out" || fail "e.sh not named: $out"
[[ $(grep -c '^spdx: no licence line:' <<<"$out") == 2 ]] || fail "others named too: $out"

# The sweep: every file named gets the line in its comment style, nothing else changes.
printf '/* A C header. */\nint f;\n' >"$tree/src/f.h"
printf '# no licence\nset(x 1)\n' >"$tree/src/g.cmake"
chmod +x "$tree/scripts/e.sh"
cp "$tree/src/a.cc" "$tree/a.before"
"$add" "$tree" >"$tree/add.log" || fail "add-spdx.sh failed: $(cat "$tree/add.log")"
out=$("$check" "$tree") || fail "after add-spdx.sh the check still fails: $out"
[[ $(head -n 1 "$tree/src/d.cc") == '// SPDX-License-Identifier: Apache-2.0' ]] || fail "d.cc: $(head -n 1 "$tree/src/d.cc")"
[[ $(sed -n 2p "$tree/src/d.cc") == 'int d;' ]] || fail "d.cc lost its text"
[[ $(head -n 1 "$tree/src/f.h") == '/* SPDX-License-Identifier: Apache-2.0 */' ]] || fail "f.h: $(head -n 1 "$tree/src/f.h")"
[[ $(head -n 1 "$tree/src/g.cmake") == '# SPDX-License-Identifier: Apache-2.0' ]] || fail "g.cmake"
[[ $(head -n 1 "$tree/scripts/e.sh") == '#!/bin/sh' ]] || fail "e.sh lost its #! line"
[[ $(sed -n 2p "$tree/scripts/e.sh") == '# SPDX-License-Identifier: Apache-2.0' ]] || fail "e.sh: no line after #!"
[[ -x $tree/scripts/e.sh ]] || fail "e.sh is no longer executable"
cmp -s "$tree/src/a.cc" "$tree/a.before" || fail "a file that had the line was changed"
[[ $(grep -c '^spdx: added the licence line to' "$tree/add.log") == 4 ]] || fail "$(cat "$tree/add.log")"
echo "spdx_check_test: ok"
