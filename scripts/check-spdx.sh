#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# Every source file of the tree names its licence on one of its first three lines (after a #!
# line in a script): "SPDX-License-Identifier: Apache-2.0". Part of `make check` (scripts/lint.sh).
#   scripts/check-spdx.sh [tree, default: this repository]
# Exit status 0 when every file has the line, 1 otherwise (the files without it are listed).
set -uo pipefail
tree=${1:-$(dirname "$0")/..}
cd "$tree" || exit 2
kinds=('*.c' '*.cc' '*.h' '*.hh' '*.sh' '*.py' '*.cmake' '*.in' '*.supp' '*CMakeLists.txt' '*Makefile' '*Doxyfile')
if git rev-parse --is-inside-work-tree >/dev/null 2>&1; then
  # (uniq: a file in conflict is listed once per stage)
  mapfile -t files < <(git ls-files -- "${kinds[@]}" | uniq)
else
  names=()
  for k in "${kinds[@]}"; do names+=(-o -name "$k"); done
  mapfile -t files < <(find . -path ./build -prune -o \( "${names[@]:1}" \) -type f -print |
                         sed 's|^\./||' | sort)
fi
missing=()
for f in "${files[@]}"; do
  head -n 3 "$f" | grep -q 'SPDX-License-Identifier: Apache-2.0' || missing+=("$f")
done
if [ ${#missing[@]} -gt 0 ]; then
  printf 'spdx: no licence line: %s\n' "${missing[@]}"
  echo "spdx: put 'SPDX-License-Identifier: Apache-2.0' in a comment on the first line" \
       "(after the #! line of a script)"
  exit 1
fi
echo "spdx: ${#files[@]} source files name their licence"
