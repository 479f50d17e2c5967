#!/usr/bin/env bash
# The demo: a fresh platform root, the account agent installed in it, a demo user signed in with a
# client, then an access token and an authorization code through the library with velmora-account,
# over app control and over the agent's RPC port. Cleans up after itself (the agent it caused to be
# launched, the root). Exit status 0 only when every step worked.
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
CLIENT=demo.client
APP_ID=dev.velmora.account

ROOT=$(mktemp -d "${TMPDIR:-/tmp}/velmora-demo-XXXXXX")
export VELMORA_PLATFORM_ROOT=$ROOT

step=0
say() { step=$((step + 1)); printf '\n== %d. %s\n' "$step" "$*"; }
run() { printf '$ %s\n' "$*"; "$@"; }

# The agent the demo caused to be launched runs detached: stop it, then remove the root.
cleanup() {
  local status=$?
  "$PLATFORM" stop "$APP_ID" >/dev/null 2>&1 || true
  rm -rf "$ROOT"
  if [[ $status -eq 0 ]]; then
    printf '\ndemo: everything worked (root %s removed)\n' "$ROOT"
  else
    printf '\ndemo: FAILED at step %d (exit %d); root %s removed\n' "$step" "$status" "$ROOT" >&2
  fi
  exit "$status"
}
trap cleanup EXIT
trap 'exit 130' INT
trap 'exit 143' TERM

# Runs velmora-account, shows its output, and checks that it printed `key`.
expect_key() {
  local key=$1
  shift
  # A pipe is fine: the agent launched on demand is detached and does not hold it open.
  local out
  printf '$ velmora-account %s\n' "$*"
  out=$("$ACCOUNT" "$@")
  sed 's/^/    /' <<<"$out"
  grep -q "^$key: ." <<<"$out" || { echo "demo: no $key in the answer" >&2; return 1; }
}

say "a fresh platform root: $ROOT"
run "$PLATFORM" init --profile mobile

say "install the account agent (API level 5)"
run "$PLATFORM" install "$APP_ID" \
  --app "$APP_ID:service:$AGENT" --app "$APP_ID.ui:ui:$AGENT" \
  --meta "$APP_ID:velmora-experience-service-api-level=5"

say "seed the demo user $LOGIN, sign it in, register the client $CLIENT with a secret"
# The agent makes the client's secret and prints it once ("client_secret=..."); the demo keeps it
# in a file of the root instead of showing it.
printf '$ %s\n' "$AGENT seed-user --login-id $LOGIN --password ... --sign-in --default --client-id $CLIENT --with-secret --scope \"read write\""
"$AGENT" seed-user --login-id "$LOGIN" --password "demo-password-$$" --sign-in --default \
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
