#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# Runs an example program in a fresh platform root that has the account agent package installed.
#   run_in_platform_root.sh <velmora-platform program> <example program> <agent executable>
# The examples that use this only look the agent up; it is not launched.
set -euo pipefail
platform=$1
example=$2
agent=$3

root=$(mktemp -d "${TMPDIR:-/tmp}/velmora-example-XXXXXX")
trap 'rm -rf "$root"' EXIT
export VELMORA_PLATFORM_ROOT=$root

"$platform" init >/dev/null
"$platform" install dev.velmora.account \
  --app "dev.velmora.account:service:$agent" \
  --app "dev.velmora.account.ui:ui:$agent" \
  --meta "dev.velmora.account:velmora-experience-service-api-level=5" >/dev/null
"$example"
