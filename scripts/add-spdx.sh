#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# Gives every source file that lacks it the licence line "SPDX-License-Identifier: Apache-2.0"
# (the files scripts/check-spdx.sh, part of `make check`, names), in the file's own comment style:
#   .cc .hh            // SPDX-License-Identifier: Apache-2.0
#   .c .h .h.in        /* SPDX-License-Identifier: Apache-2.0 */  (// when the file does not begin
#                      with a block comment)
#   anything else      # SPDX-License-Identifier: Apache-2.0
# on the first line, or right after the #! line of a script. Run it after adding files:
#   scripts/add-spdx.sh [tree, default: this repository]
# Exit status 0 when every file has the line afterwards.
set -uo pipefail
here=$(cd "$(dirname "$0")" && pwd)
tree=${1:-$here/..}
cd "$tree" || exit 2
line="SPDX-License-Identifier: Apache-2.0"
mapfile -t missing < <("$here/check-spdx.sh" . | sed -n 's/^spdx: no licence line: //p')
for f in "${missing[@]}"; do
  case $f in
    *.cc | *.hh) comment="// $line" ;;
    *.h.in) comment="/* $line */" ;;
    *.c | *.h) if head -c 2 "$f" | grep -q '^/\*'; then comment="/* $line */"; else comment="// $line"; fi ;;
    *) comment="# $line" ;;
  esac
  tmp=$(mktemp "$f.XXXXXX") || exit 1
  if head -c 2 "$f" | grep -q '^#!'; then
    { head -n 1 "$f"; printf '%s\n' "$comment"; tail -n +2 "$f"; } >"$tmp"
  else
    { printf '%s\n' "$comment"; cat "$f"; } >"$tmp"
  fi
  chmod --reference="$f" "$tmp" && mv "$tmp" "$f" || { rm -f "$tmp"; exit 1; }
  echo "spdx: added the licence line to $f"
done
"$here/check-spdx.sh" . >/dev/null
