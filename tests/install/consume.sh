#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# Installs the build into a staging directory (DESTDIR + a prefix that does not exist on this
# machine, so only relative paths can work), checks the installed layout, builds the examples out
# of tree against it with find_package(VelmoraAccount) and with pkg-config, and runs both against
# the installed agent in a fresh platform root. Nothing from the build tree is used after install.
#
#   consume.sh <build dir> <source dir> <C compiler> <extra C flags>
set -euo pipefail
build=$1
source=$2
cc=$3
flags=${4:-}

work=$(mktemp -d "${TMPDIR:-/tmp}/velmora-install-XXXXXX")
prefix=/opt/velmora-account-test-$$
stage=$work/stage
P=$stage$prefix
export VELMORA_PLATFORM_ROOT=$work/root
cleanup() {
  "$P/bin/velmora-platform" stop dev.velmora.account >/dev/null 2>&1 || true
  rm -rf "$work"
}
trap cleanup EXIT
fail() { echo "consume.sh: $*" >&2; exit 1; }

echo "== install into DESTDIR=$stage, prefix $prefix"
DESTDIR=$stage cmake --install "$build" --prefix "$prefix" >"$work/install.log"
[[ ! -e $prefix ]] || fail "$prefix exists outside DESTDIR"

echo "== the installed layout"
libdir=lib
[[ -d $P/$libdir/cmake ]] || libdir=$(cd "$P" && dirname "$(find . -path '*/cmake/VelmoraAccount' | head -1)" | sed 's|^\./||; s|/cmake$||')
for f in bin/velmora-account bin/velmora-platform bin/velmora-agent \
         share/man/man1/velmora-account.1 share/man/man1/velmora-platform.1 \
         share/man/man1/velmora-agent.1 \
         share/bash-completion/completions/velmora-account \
         share/bash-completion/completions/velmora-platform \
         share/bash-completion/completions/velmora-agent \
         include/velmora-account/velmora_account.h include/velmora-platform/app_control.h \
         include/velmora-platform/velmora_host.h \
         "$libdir/pkgconfig/velmora-account.pc" "$libdir/pkgconfig/velmora-platform.pc" \
         "$libdir/cmake/VelmoraAccount/VelmoraAccountConfig.cmake"; do
  [[ -e $P/$f ]] || fail "missing $f"
done
# The platform's short header names stay out of the top include directory.
[[ -z $(find "$P/include" -maxdepth 1 -type f) ]] || fail "headers directly in include/"
for lib in velmora-account velmora-platform; do
  soname=$(readelf -d "$P/$libdir/lib$lib.so" | sed -n 's/.*SONAME.*\[\(.*\)\]/\1/p')
  [[ $soname == lib$lib.so.[0-9]* ]] || fail "lib$lib.so has SONAME '$soname'"
  [[ -L $P/$libdir/lib$lib.so && -e $P/$libdir/$soname ]] || fail "lib$lib.so: no versioned files"
done
if grep -rl --exclude='*.so*' --exclude-dir=bin "$build" "$P" >/dev/null; then
  fail "installed files name the build tree: $(grep -rl --exclude='*.so*' --exclude-dir=bin "$build" "$P")"
fi

echo "== the examples with find_package(VelmoraAccount)"
cmake -S "$source/examples" -B "$work/examples" -G Ninja -DCMAKE_C_COMPILER="$cc" \
  -DCMAKE_C_FLAGS="$flags" -DCMAKE_EXE_LINKER_FLAGS="$flags" -DCMAKE_PREFIX_PATH="$P" \
  >"$work/configure.log" || { cat "$work/configure.log"; fail "configure against the package"; }
cmake --build "$work/examples" >"$work/build.log" || { cat "$work/build.log"; fail "build"; }

echo "== every example with pkg-config"
export PKG_CONFIG_PATH=$P/$libdir/pkgconfig
for src in "$source"/examples/*.c; do
  name=$(basename "$src" .c)
  # velmora-platform too, as in examples/CMakeLists.txt: an example that receives launch requests
  # (profile.c) serves them through the host platform.
  # shellcheck disable=SC2046,SC2086
  "$cc" -std=c11 -Wall -Werror $flags $(pkg-config --cflags velmora-account velmora-platform) \
    "$src" -o "$work/$name-pc" $(pkg-config --libs velmora-account velmora-platform) \
    -Wl,-rpath,"$P/$libdir" ||
    fail "$name.c does not build with pkg-config"
done

echo "== the source tree pulled into another project with add_subdirectory (configured)"
mkdir -p "$work/parent"
cat >"$work/parent/CMakeLists.txt" <<PARENT
cmake_minimum_required(VERSION 3.25)
project(parent LANGUAGES C CXX)
add_subdirectory("$source" velmora)
find_package(PkgConfig REQUIRED)
pkg_check_modules(PARENT_GLIB REQUIRED IMPORTED_TARGET glib-2.0)
add_executable(parent_token "$source/examples/token.c")
target_link_libraries(parent_token PRIVATE VelmoraAccount::velmora-account PkgConfig::PARENT_GLIB)
PARENT
cmake -S "$work/parent" -B "$work/parent/build" -G Ninja >"$work/parent.log" 2>&1 ||
  { cat "$work/parent.log"; fail "add_subdirectory"; }
grep -q "CMake Warning" "$work/parent.log" && { cat "$work/parent.log"; fail "add_subdirectory warns"; }
[[ ! -e $work/parent/build/velmora/tests ]] || fail "add_subdirectory builds the tests"

echo "== one version everywhere"
header=$(sed -n 's/^#define VELMORA_ACCOUNT_VERSION_STRING "\(.*\)"$/\1/p' \
  "$P/include/velmora-account/velmora_account_version.h")
[[ -n $header && $(pkg-config --modversion velmora-account) == "$header" ]] ||
  fail "pkg-config says $(pkg-config --modversion velmora-account), the header '$header'"
[[ -e $P/$libdir/libvelmora-account.so.$header ]] || fail "no libvelmora-account.so.$header"
grep -q "PACKAGE_VERSION \"$header\"" "$P/$libdir/cmake/VelmoraAccount/VelmoraAccountConfigVersion.cmake" ||
  fail "the CMake package's version is not $header"

echo "== a platform root with the installed agent"
"$P/bin/velmora-platform" init >/dev/null
"$P/bin/velmora-platform" install dev.velmora.account \
  --app "dev.velmora.account:service:$P/bin/velmora-agent" \
  --app "dev.velmora.account.ui:ui:$P/bin/velmora-agent" \
  --meta "dev.velmora.account:velmora-experience-service-api-level=5" >/dev/null
printf '%s\n' consumer-pass-1 >"$work/password"
"$P/bin/velmora-agent" seed-user --login-id consumer@velmora.dev --password-file "$work/password" \
  --sign-in --client-id consumer.client --with-secret --scope read >"$work/seed.txt"
# The agent made the client's secret and printed it once.
secret=$(sed -n 's/^client_secret=//p' "$work/seed.txt")

for exe in "$work/examples/example_account_properties" "$work/account_properties-pc"; do
  echo "== $(basename "$exe")"
  "$exe" >"$work/out.txt" || { cat "$work/out.txt"; fail "$(basename "$exe") failed"; }
done
for exe in "$work/examples/example_token" "$work/token-pc"; do
  for mode in "" --nidl; do
    echo "== $(basename "$exe") $mode"
    printf '%s\n' "$secret" |
      "$exe" $mode --client-secret-file - consumer@velmora.dev consumer.client >"$work/out.txt"
    cat "$work/out.txt"
    grep -Eq '^access_token: [A-Za-z0-9_-]{43}$' "$work/out.txt" || fail "no access token"
  done
done
echo "== and the installed command-line client"
# Through a pipe: the agent launched on demand is detached, so the pipe ends with the command.
printf '%s\n' "$secret" |
  "$P/bin/velmora-account" token --login-id consumer@velmora.dev --client-id consumer.client \
    --client-secret-file - --json | cat >"$work/out.txt"
grep -q '"access_token":"' "$work/out.txt" || fail "velmora-account: no access token"
echo "consume.sh: ok"
