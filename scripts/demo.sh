#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# The demo: a fresh platform root, the account agent installed in it, a demo user signed in with a
# client, then an access token and an authorization code through the library with velmora-account,
# over app control and over the agent's RPC port, and the signed-in accounts with the default one;
# the profile (set, read back, a watching application told of each change) with examples/profile.c;
# saved places; then a wearable's root paired with this phone, which signs in through the phone and
# reads places. Cleans up after itself (the agents it caused to be launched, the roots). Exit
# status 0 only when every step worked.
#
#   scripts/demo.sh <build dir>        (make demo runs it on the release build)
set -euo pipefail

BUILD=${1:?usage: scripts/demo.sh <build dir>}
BUILD=$(cd "$BUILD" && pwd)
PLATFORM=$BUILD/tools/velmora-platform
AGENT=$BUILD/agent/velmora-agent
ACCOUNT=$BUILD/tools/velmora-account
for exe in "$PLATFORM" "$AGENT" "$ACCOUNT"; do
  [[ -x $exe ]] || { echo "demo: $exe is missing (build first: make build-release)" >&2; exit 1; }
done

LOGIN=demo@velmora.dev
SECOND=second@velmora.dev
CLIENT=demo.client
APP_ID=dev.velmora.account

ROOT=$(mktemp -d "${TMPDIR:-/tmp}/velmora-demo-XXXXXX")
export VELMORA_PLATFORM_ROOT=$ROOT

step=0
say() { step=$((step + 1)); printf '\n== %d. %s\n' "$step" "$*"; }
run() { printf '$ %s\n' "$*"; "$@"; }

WEARABLE=$(mktemp -d "${TMPDIR:-/tmp}/velmora-demo-wearable-XXXXXX")

# The agents the demo caused to be launched run detached: stop them, then remove the roots.
cleanup() {
  local status=$?
  [[ -n ${WATCH_PID:-} ]] && kill "$WATCH_PID" 2>/dev/null || true
  for r in "$ROOT" "$WEARABLE"; do
    "$PLATFORM" --root "$r" stop "$APP_ID" >/dev/null 2>&1 || true
    "$PLATFORM" --root "$r" stop "$APP_ID.ui" >/dev/null 2>&1 || true
  done
  rm -rf "$ROOT" "$WEARABLE"
  if [[ $status -eq 0 ]]; then
    printf '\ndemo: everything worked (roots %s and %s removed)\n' "$ROOT" "$WEARABLE"
  else
    printf '\ndemo: FAILED at step %d (exit %d); root %s removed\n' "$step" "$status" "$ROOT" >&2
  fi
  exit "$status"
}
trap cleanup EXIT
trap 'exit 130' INT
trap 'exit 143' TERM

# Runs velmora-account with the arguments after the first two, shows its output, and checks with
# `grep <options> <pattern>` that it printed what was asked for.
expect() {
  local options=$1 pattern=$2
  shift 2
  # A pipe is fine: the agent launched on demand is detached and does not hold it open.
  local out
  printf '$ velmora-account %s\n' "$*"
  out=$("$ACCOUNT" "$@")
  sed 's/^/    /' <<<"$out"
  grep -q "$options" -- "$pattern" <<<"$out" || { echo "demo: no '$pattern' in the answer" >&2; return 1; }
}
# ... that it printed the property `key` with a value.
expect_key() { expect -E "^$1: ." "${@:2}"; }
# ... that it printed the line `line`.
expect_line() { expect -xF "$1" "${@:2}"; }

say "a fresh platform root: $ROOT"
run "$PLATFORM" init --profile mobile

say "install the account agent (API level 5)"
run "$PLATFORM" install "$APP_ID" \
  --app "$APP_ID:service:$AGENT" --app "$APP_ID.ui:ui:$AGENT" \
  --meta "$APP_ID:velmora-experience-service-api-level=5"

say "seed the demo user $LOGIN, sign it in, register the client $CLIENT with a secret"
# The agent makes the client's secret and prints it once ("client_secret=..."); the demo keeps it
# in a file of the root instead of showing it.
# Passwords never go on a command line either: the agent reads this one from standard input.
printf '$ %s\n' "... | $AGENT seed-user --login-id $LOGIN --password-file - --sign-in --default --client-id $CLIENT --with-secret --scope \"read write\""
printf '%s\n' "demo-password-$$" | "$AGENT" seed-user --login-id "$LOGIN" --password-file - --sign-in --default \
  --client-id "$CLIENT" --with-secret --scope "read write" >"$ROOT/seed.txt"
grep -v '^client_secret=' "$ROOT/seed.txt" | sed 's/^/    /'
SECRET=$(sed -n 's/^client_secret=//p' "$ROOT/seed.txt")
[[ ${#SECRET} -eq 43 ]] || { echo "demo: the agent made no client secret" >&2; exit 1; }

# Secrets never go on a command line: velmora-account reads the client secret from a file.
printf '%s\n' "$SECRET" >"$ROOT/client-secret"
common=(--login-id "$LOGIN" --client-id "$CLIENT" --client-secret-file "$ROOT/client-secret" --timeout 30)
for transport in app-control nidl; do
  say "access token over $transport (the agent is launched on demand)"
  expect_key access_token token --transport "$transport" "${common[@]}" --scope read

  say "authorization code over $transport"
  expect_key authcode authcode --transport "$transport" "${common[@]}"
done

say "the last access token, over app control and in the blocking form over the port"
expect_key access_token last-token --transport app-control "${common[@]}"
expect_key access_token last-token --sync "${common[@]}"

say "a second user, $SECOND, signed in too"
printf '$ %s\n' "... | $AGENT seed-user --login-id $SECOND --password-file - --sign-in"
printf '%s\n' "demo-password-2-$$" | "$AGENT" seed-user --login-id "$SECOND" --password-file - --sign-in |
  sed 's/^/    /'

say "the signed-in accounts and the default account, asked of the agent over app control"
expect_line "$LOGIN" accounts --timeout 30
expect_key login_id default --timeout 30

say "the same read straight from the platform's account store (the blocking forms)"
expect_line "$SECOND" accounts --sync
expect_line "login_id: $LOGIN" default --sync

say "make $SECOND the default over the port; the store says so at once"
expect_line "login_id: $SECOND" default set "$SECOND" --sync --timeout 30
expect_line "login_id: $SECOND" default --sync

say "the profile: an application watches it while the nickname is set and read back in each transport"
# examples/profile.c: with --watch it subscribes to the profile's changes and prints the agent's
# change notices (launch requests to it, so it is installed as an application); otherwise it sets
# the nickname through the library and reads the whole profile back.
EXAMPLE=$BUILD/examples/example_profile
WATCHER=dev.example.profile
run "$PLATFORM" install "$WATCHER" --app "$WATCHER:service:$EXAMPLE"
printf '$ VELMORA_APP_ID=%s example_profile --watch %s %s 2 &\n' "$WATCHER" "$LOGIN" "$CLIENT"
VELMORA_APP_ID=$WATCHER "$EXAMPLE" --watch "$LOGIN" "$CLIENT" 2 >"$ROOT/watch.txt" 2>&1 &
WATCH_PID=$!
for _ in $(seq 300); do
  grep -q '^subscribed' "$ROOT/watch.txt" && break
  kill -0 "$WATCH_PID" 2>/dev/null || break
  sleep 0.1
done
grep -q '^subscribed' "$ROOT/watch.txt" || { cat "$ROOT/watch.txt" >&2; exit 1; }
for mode in "" --nidl; do
  nickname=$([[ -z $mode ]] && echo "Demo over app control" || echo "Demo over the port")
  printf '$ example_profile %s %s %s "%s"\n' "$mode" "$LOGIN" "$CLIENT" "$nickname"
  out=$("$EXAMPLE" $mode "$LOGIN" "$CLIENT" "$nickname")
  sed 's/^/    /' <<<"$out"
  grep -qx "nickname: $nickname" <<<"$out" || { echo "demo: the nickname did not read back" >&2; exit 1; }
done
wait "$WATCH_PID"
WATCH_PID=
echo "    the watching application printed:"
sed 's/^/    /' "$ROOT/watch.txt"
grep -q '^  nicknames:value = Demo over the port$' "$ROOT/watch.txt" ||
  { echo "demo: the watcher was not told of the change" >&2; exit 1; }

say "the profile with velmora-account: phone numbers set over the port, the profile read over app control"
who=(--login-id "$LOGIN" --client-id "$CLIENT" --timeout 30)
run "$ACCOUNT" profile set phoneNumbers "value=+1 555 0100" "type=mobile" "2:value=+1 555 0199" \
  --transport nidl "${who[@]}"
printf '$ velmora-account profile get %s\n' "${who[*]}"
out=$("$ACCOUNT" profile get "${who[@]}")
sed 's/^/    /' <<<"$out"
grep -qx 'phoneNumbers_2:value=+1 555 0199' <<<"$out" || { echo "demo: the phones did not read back" >&2; exit 1; }

say "the agent runs detached from the commands that launched it; its output is in its log"
run "$PLATFORM" ps
run "$PLATFORM" logs "$APP_ID" | tail -n 3

say "a refusal: a user that is not signed in"
printf '$ velmora-account token --login-id nobody@velmora.dev ...\n'
if "$ACCOUNT" token --login-id nobody@velmora.dev --client-id "$CLIENT" \
  --client-secret-file "$ROOT/client-secret"; then
  echo "demo: the agent should have refused" >&2
  exit 1
fi
echo "    (refused, as it should be)"

THIRD=third@velmora.dev
DEVICE=demo-device-1
say "a third user, $THIRD, signs in on this device with an authorization code, then out"
printf '$ %s\n' "... | $AGENT seed-user --login-id $THIRD --password-file -"
printf '%s\n' "third-password-$$" | "$AGENT" seed-user --login-id "$THIRD" --password-file - | sed 's/^/    /'
# The token service hands the device a single-use code bound to the client and to the device's
# security code (velmora-agent issue-code plays it); the code goes to velmora-account in a file.
printf '$ %s\n' "$AGENT issue-code --login-id $THIRD --client-id $CLIENT --device-code $DEVICE"
"$AGENT" issue-code --login-id "$THIRD" --client-id "$CLIENT" --device-code "$DEVICE" >"$ROOT/code.txt"
sed -n 's/^authcode=//p' "$ROOT/code.txt" >"$ROOT/authcode"
API=$(sed -n 's/^api_server_url=//p' "$ROOT/code.txt")
AUTH=$(sed -n 's/^auth_server_url=//p' "$ROOT/code.txt")
[[ -s $ROOT/authcode ]] || { echo "demo: the agent issued no code" >&2; exit 1; }
expect_key login_id sign-in --authcode-file "$ROOT/authcode" --api-server-url "$API" \
  --auth-server-url "$AUTH" --device-code "$DEVICE"
run "$PLATFORM" accounts
printf '$ velmora-account sign-out --login-id %s\n' "$THIRD"
"$ACCOUNT" sign-out --login-id "$THIRD" | sed 's/^/    /'
run "$PLATFORM" accounts
say "the code signed in once: it does not sign in again"
printf '$ velmora-account sign-in --authcode-file ... (the same code again)\n'
if "$ACCOUNT" sign-in --authcode-file "$ROOT/authcode" --api-server-url "$API" \
  --auth-server-url "$AUTH" --device-code "$DEVICE"; then
  echo "demo: the agent should have refused a used code" >&2
  exit 1
fi
echo "    (refused, as it should be)"

say "saved places of $LOGIN (added by the agent's administrator), read over both transports"
run "$AGENT" places add --login-id "$LOGIN" --name Home --address "1 Main St" --category 1 \
  --latitude 37.5665 --longitude 126.978 --wifi-name home-net | sed 's/^/    /'
run "$AGENT" places add --login-id "$LOGIN" --name Work --type 2 | sed 's/^/    /'
for transport in app-control nidl; do
  printf '$ velmora-account places --transport %s --login-id %s\n' "$transport" "$LOGIN"
  out=$("$ACCOUNT" places --transport "$transport" --login-id "$LOGIN" --timeout 30)
  sed 's/^/    /' <<<"$out"
  grep -q "Home (1 Main St)" <<<"$out" || { echo "demo: no Home among the places" >&2; exit 1; }
done

say "a wearable: its own platform root $WEARABLE, paired with this phone"
run "$PLATFORM" --root "$WEARABLE" init --profile wearable
run "$PLATFORM" --root "$WEARABLE" install "$APP_ID" \
  --app "$APP_ID:service:$AGENT" --app "$APP_ID.ui:ui:$AGENT" \
  --meta "$APP_ID:velmora-experience-service-api-level=5"
run "$PLATFORM" --root "$WEARABLE" pair --phone "$ROOT"

say "on the wearable: does the paired phone have an account? then sign in through it"
export VELMORA_PLATFORM_ROOT=$WEARABLE
printf '$ velmora-account companion status\n'
out=$("$ACCOUNT" companion status --timeout 30)
sed 's/^/    /' <<<"$out"
grep -q "phone_has_account: true" <<<"$out" || { echo "demo: the phone's account was not seen" >&2; exit 1; }
printf '$ velmora-account companion sign-in --timeout 30\n'
"$ACCOUNT" companion sign-in --timeout 30 | sed 's/^/    /'
printf '$ velmora-platform accounts   (the wearable'"'"'s account store)\n'
"$PLATFORM" accounts | sed 's/^/    /'

say "the wearable reads places of the account it signed in with (its agent keeps its own)"
# The phone's default account at the time of the companion sign-in (the demo made $SECOND the
# default above): the wearable's store names it.
WEARABLE_LOGIN=$("$PLATFORM" --root "$WEARABLE" accounts | awk '$3 == "default=true" { print $2 }')
[[ -n $WEARABLE_LOGIN ]] || { echo "demo: the wearable has no default account" >&2; exit 1; }
run "$AGENT" --root "$WEARABLE" places add --login-id "$WEARABLE_LOGIN" --name Gym --category 3 | sed 's/^/    /'
printf '$ velmora-account places --login-id %s   (on the wearable)\n' "$WEARABLE_LOGIN"
out=$("$ACCOUNT" places --login-id "$WEARABLE_LOGIN" --timeout 30)
sed 's/^/    /' <<<"$out"
grep -q "Gym" <<<"$out" || { echo "demo: no Gym among the wearable's places" >&2; exit 1; }
