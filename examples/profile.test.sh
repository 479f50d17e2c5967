#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# Runs examples/profile.c against the agent: a fresh platform root with the agent and the example
# installed as an application (it receives the agent's change notices), a user signed in with a
# client; the example watches the profile while another run of it sets the nickname in each
# transport. Stops what was launched and removes the root.
#   profile.test.sh <velmora-platform program> <example program> <velmora-agent program>
set -euo pipefail
platform=$1
example=$2
agent=$3
watcher=dev.example.profile

root=$(mktemp -d "${TMPDIR:-/tmp}/velmora-example-XXXXXX")
export VELMORA_PLATFORM_ROOT=$root
watch_pid=
cleanup() {
  [[ -n $watch_pid ]] && kill "$watch_pid" 2>/dev/null || true
  "$platform" stop dev.velmora.account >/dev/null 2>&1 || true
  rm -rf "$root"
}
trap cleanup EXIT

"$platform" init >/dev/null
"$platform" install dev.velmora.account \
  --app "dev.velmora.account:service:$agent" \
  --app "dev.velmora.account.ui:ui:$agent" \
  --meta "dev.velmora.account:velmora-experience-service-api-level=5" >/dev/null
"$platform" install "$watcher" --app "$watcher:service:$example" >/dev/null
printf '%s\n' example-pass-1 | "$agent" seed-user --login-id example@velmora.dev --password-file - \
  --sign-in \
  --client-id example.client --scope read >/dev/null

# The watcher runs as the application $watcher and waits for two changes.
VELMORA_APP_ID=$watcher "$example" --watch example@velmora.dev example.client 2 \
  >"$root/watch.txt" 2>&1 &
watch_pid=$!
for _ in $(seq 300); do
  grep -q '^subscribed' "$root/watch.txt" && break
  kill -0 "$watch_pid" 2>/dev/null || { cat "$root/watch.txt"; exit 1; }
  sleep 0.1
done
grep -q '^subscribed' "$root/watch.txt" || { cat "$root/watch.txt"; exit 1; }

"$example" example@velmora.dev example.client "Ada" | tee "$root/out.txt"
grep -qx 'nickname: Ada' "$root/out.txt"
"$example" --nidl example@velmora.dev example.client "Grace" | tee "$root/out.txt"
grep -qx 'nickname: Grace' "$root/out.txt"

wait "$watch_pid"
watch_pid=
cat "$root/watch.txt"
grep -q '^  nicknames:value = Ada$' "$root/watch.txt"
grep -q '^  nicknames:value = Grace$' "$root/watch.txt"
