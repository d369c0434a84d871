#!/usr/bin/env bash
# Installs everything the build and the tests need on a Debian 12 machine.
# Idempotent: when every package is present it only checks and returns.
#
# V8 comes from Debian's libnode. Where `apt-get install libnode-dev` cannot
# work (another Node.js build owns the node packages), the two packages are
# downloaded and unpacked into third_party/libnode, which CMake then uses with
# an rpath.
set -euo pipefail

root=$(cd "$(dirname "$0")/.." && pwd)
libnode_dir="$root/third_party/libnode"

packages=(
  build-essential cmake pkg-config clang-format
  # the host's test runners (tests/host/run_case.sh)
  python3
  libglib2.0-dev libboost-dev libboost-system-dev libjsoncpp-dev libtinyxml-dev
  libgtest-dev libpng-dev libjpeg62-turbo-dev
  # the line editor of tarn-run's interactive prompt (BSD licence)
  libedit-dev
  # a private message bus and its tools for the D-Bus tests
  dbus libglib2.0-bin
  # a real browser for the simulated TV view's test (tests/view), driven headless
  chromium
  # what libnode108 itself links against, for the unpacked copy
  libbrotli1 libc-ares2 libicu72 libnghttp2-14 libssl3 libuv1 zlib1g libssl-dev libuv1-dev
)

sudo_cmd=()
if [ "$(id -u)" -ne 0 ]; then sudo_cmd=(sudo); fi

missing=()
for p in "${packages[@]}"; do
  if ! dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q 'install ok installed'; then
    missing+=("$p")
  fi
done
if [ ${#missing[@]} -gt 0 ]; then
  echo "setup: installing ${missing[*]}"
  "${sudo_cmd[@]}" apt-get -o DPkg::Lock::Timeout=600 update -qq
  DEBIAN_FRONTEND=noninteractive "${sudo_cmd[@]}" apt-get -o DPkg::Lock::Timeout=600 install \
    -y -qq "${missing[@]}" >/dev/null
fi

# The browser test's driver, pinned, in the git-ignored .cache/ folder: no
# browser is downloaded with it (it drives Debian's chromium).
playwright_version=1.65.1
playwright_dir="$root/.cache/view-test"
if [ "$(cat "$playwright_dir/node_modules/playwright-core/package.json" 2>/dev/null |
      sed -n 's/^ *"version": "\(.*\)",$/\1/p')" != "$playwright_version" ]; then
  if command -v npm >/dev/null; then
    mkdir -p "$playwright_dir"
    PLAYWRIGHT_SKIP_BROWSER_DOWNLOAD=1 npm install --prefix "$playwright_dir" --no-save \
      --no-audit --no-fund --silent "playwright-core@$playwright_version"
    echo "setup: playwright-core $playwright_version installed in .cache/view-test"
  else
    echo "setup: npm is missing; the browser test of the simulated TV view will be skipped"
  fi
fi

# TypeScript, for the suite's checks of the script API's declarations
# (tests/types): one pinned version, installed into the project's own
# .cache/npm (ignored by git), never globally. node and npm come from Debian
# where the machine has neither.
typescript_version=5.9.3
npm_prefix="$root/.cache/npm"
if ! command -v node >/dev/null 2>&1 || ! command -v npm >/dev/null 2>&1; then
  echo "setup: installing nodejs and npm"
  "${sudo_cmd[@]}" apt-get -o DPkg::Lock::Timeout=600 update -qq
  DEBIAN_FRONTEND=noninteractive "${sudo_cmd[@]}" apt-get -o DPkg::Lock::Timeout=600 \
    install -y -qq nodejs npm >/dev/null
fi
installed_ts=$(node -p "require('$npm_prefix/node_modules/typescript/package.json').version" \
  2>/dev/null || true)
if [ "$installed_ts" != "$typescript_version" ]; then
  echo "setup: installing typescript@$typescript_version into $npm_prefix"
  mkdir -p "$npm_prefix"
  npm install --prefix "$npm_prefix" --no-save --no-audit --no-fund --loglevel=error \
    "typescript@$typescript_version" >/dev/null
fi

# V8 headers and libnode.so
if dpkg-query -W -f='${Status}' libnode-dev 2>/dev/null | grep -q 'install ok installed'; then
  exit 0
fi
if [ -f "$libnode_dir/usr/include/node/v8.h" ] && ls "$libnode_dir"/usr/lib/*/libnode.so.108 >/dev/null 2>&1; then
  exit 0
fi
if DEBIAN_FRONTEND=noninteractive "${sudo_cmd[@]}" apt-get install -y -qq libnode-dev >/dev/null 2>&1; then
  echo "setup: libnode-dev installed from Debian"
  exit 0
fi
echo "setup: libnode-dev cannot be installed here; unpacking libnode108 and libnode-dev into $libnode_dir"
tmp=$(mktemp -d)
trap 'rm -rf "$tmp"' EXIT
chmod 755 "$tmp"
(cd "$tmp" && apt-get download libnode108 libnode-dev >/dev/null)
mkdir -p "$libnode_dir"
for deb in "$tmp"/*.deb; do
  dpkg-deb -x "$deb" "$libnode_dir"
done
test -f "$libnode_dir/usr/include/node/v8.h"
echo "setup: libnode unpacked"
