#!/bin/sh
# SPDX-License-Identifier: Apache-2.0
# Doxygen input filter of the public headers: their block comments are their documentation.
#  - The first comment of a header describes the file.
#  - A comment that opens a line describes what follows it; at the top level of a header it
#    describes the whole run of declarations up to the next blank line or preprocessor line (a
#    member group: each member gets the comment).
# Line numbers stay as they are, so that warnings point at the header's own lines.
exec awk '
  function braces(s,   t) {
    t = s; gsub(/\/\*.*\*\//, "", t); gsub(/\/\/.*/, "", t); gsub(/"[^"]*"/, "", t)
    depth += gsub(/\{/, "{", t) - gsub(/\}/, "}", t)
  }
  function close_group() { if (grouped) { printf "/** @} */ "; grouped = 0 } }
  /SPDX-License-Identifier/ { print ""; next }
  !described && /^\/\*/ { sub(/^\/\*/, "/** @file"); described = 1; print; next }
  /^#ifdef __cplusplus/ { cplusplus = 1 }
  /^#/ { if (depth == 0) close_group(); print; if (/^#endif/) cplusplus = 0; next }
  /^[ \t]*$/ { if (depth == 0) close_group(); print; next }
  /^\/\*([ \t]|$)/ && depth == 0 { close_group(); sub(/^\/\*/, "/** @{ */ /**"); grouped = 1 }
  /^[ \t]+\/\*([ \t]|$)/ { sub(/\/\*/, "/**") }
  # A comment after a member or an enum value on its line describes that member.
  depth > 0 && /[;,][ \t]*\/\*[ \t]/ { sub(/\/\*/, "/**<") }
  # Comments are text, not HTML: "<app id>" is shown as written.
  /^[ \t]*(\/\*|\*)/ { gsub(/</, "\\<"); gsub(/>/, "\\>") }
  { if (!cplusplus) braces($0); print }
  END { if (grouped) print "/** @} */" }
' "$1"
