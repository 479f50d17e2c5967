#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# Runs examples/token.c against the agent: a fresh platform root with the agent installed, a user
# signed in with a client, then the example in both transports. Stops the agent the example caused
# to be launched (velmora-platform stop) and removes the root.
#   token.test.sh <velmora-platform program> <example program> <velmora-agent program>
set -euo pipefail
platform=$1
example=$2
agent=$3

root=$(mktemp -d "${TMPDIR:-/tmp}/velmora-example-XXXXXX")
export VELMORA_PLATFORM_ROOT=$root
cleanup() {
  "$platform" stop dev.velmora.account >/dev/null 2>&1 || true
  rm -rf "$root"
}
trap cleanup EXIT

"$platform" init >/dev/null
"$platform" install dev.velmora.account \
  --app "dev.velmora.account:service:$agent" \
  --app "dev.velmora.account.ui:ui:$agent" \
  --meta "dev.velmora.account:velmora-experience-service-api-level=5" >/dev/null
# Passwords never go on a command line: the agent reads this one from standard input.
printf '%s\n' example-pass-1 | "$agent" seed-user --login-id example@velmora.dev --password-file - \
  --sign-in --client-id example.client --with-secret --scope read >"$root/seed.txt"
# The agent made the client's secret and printed it once.
secret=$(sed -n 's/^client_secret=//p' "$root/seed.txt")

for mode in "" --nidl; do
  printf '%s\n' "$secret" |
    "$example" $mode --client-secret-file - example@velmora.dev example.client >"$root/out.txt"
  cat "$root/out.txt"
  grep -Eq '^access_token: [A-Za-z0-9_-]{43}$' "$root/out.txt"
done
