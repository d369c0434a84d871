#!/usr/bin/env bash
# Prepares the 32-bit ARM (armhf) build on a Debian 12 machine:
# - installs the cross compiler and the user-mode emulator, the only things
#   installed system-wide;
# - fetches the armhf packages of every library the build links or runs
#   against with `apt-get download` and unpacks them with `dpkg-deb -x` into
#   a sysroot (build-arm/sysroot, or QDUTIL_ARM_SYSROOT), which
#   cmake/toolchain-armhf.cmake and the emulator wrapper use.
# Idempotent: when the tools are installed and every package is unpacked, it
# only checks and returns.
set -euo pipefail

root=$(cd "$(dirname "$0")/.." && pwd)
sysroot=${QDUTIL_ARM_SYSROOT:-$root/build-arm/sysroot}
manifest="$sysroot/.packages"

tools=(g++-arm-linux-gnueabihf qemu-user)

# Every armhf package whose headers, pkg-config or CMake files, or libraries
# the build or the programs under the emulator need. The C and C++ runtimes
# come with the cross compiler (/usr/arm-linux-gnueabihf), not from here.
packages=(
  # V8 (libnode) and what libnode.so links against
  libnode108 libnode-dev
  libicu72 libuv1 libssl3 zlib1g libc-ares2 libnghttp2-14 libbrotli1
  # GLib/GIO, and what their libraries and pkg-config files pull in
  libglib2.0-0 libglib2.0-dev
  libpcre2-8-0 libpcre2-dev libffi8 libffi-dev libmount1 libmount-dev
  libblkid1 libblkid-dev libselinux1 libselinux1-dev libsepol2 libsepol-dev
  zlib1g-dev
  # Boost headers and Boost.System
  libboost1.74-dev libboost-system1.74-dev libboost-system1.74.0
  # jsoncpp, TinyXML, libpng, libjpeg-turbo, GoogleTest
  libjsoncpp-dev libjsoncpp25
  libtinyxml-dev libtinyxml2.6.2v5
  libpng-dev libpng16-16
  libjpeg62-turbo-dev libjpeg62-turbo
  libgtest-dev
  # libedit (tarn-run's interactive prompt) and what libedit.so links against
  libedit-dev libedit2 libbsd0 libmd0 libtinfo6
)

sudo_cmd=()
if [ "$(id -u)" -ne 0 ]; then sudo_cmd=(sudo); fi

installed() {
  dpkg-query -W -f='${Status}' "$1" 2>/dev/null | grep -q 'install ok installed'
}

# What is still to do: tools not installed, packages not in the manifest.
missing_tools=()
for t in "${tools[@]}"; do
  installed "$t" || missing_tools+=("$t")
done
missing=()
for p in "${packages[@]}"; do
  if [ ! -f "$manifest" ] || ! grep -qx "$p" "$manifest"; then missing+=("$p"); fi
done
if [ ${#missing_tools[@]} -eq 0 ] && [ ${#missing[@]} -eq 0 ]; then
  exit 0
fi

# A failed index (a mirror being synced, say) leaves apt with the others,
# which are enough here: it is reported and the set-up goes on.
update() {
  if ! "${sudo_cmd[@]}" apt-get update -qq; then
    echo "setup-arm: apt-get update reported errors; going on with the indexes it has" >&2
  fi
}

updated=0
if [ ${#missing[@]} -gt 0 ] && ! dpkg --print-foreign-architectures | grep -qx armhf; then
  echo "setup-arm: adding the armhf architecture to apt (for apt-get download only)"
  "${sudo_cmd[@]}" dpkg --add-architecture armhf
  update
  updated=1
fi

if [ ${#missing_tools[@]} -gt 0 ]; then
  echo "setup-arm: installing ${missing_tools[*]}"
  if [ "$updated" = 0 ]; then update; updated=1; fi
  DEBIAN_FRONTEND=noninteractive "${sudo_cmd[@]}" apt-get install -y -qq "${missing_tools[@]}" >/dev/null
fi

if [ ${#missing[@]} -eq 0 ]; then
  exit 0
fi

echo "setup-arm: unpacking ${#missing[@]} armhf packages into $sysroot"
tmp=$(mktemp -d)
trap 'rm -rf "$tmp"' EXIT
# apt's download user must be able to write here.
chmod 755 "$tmp"
armhf=()
for p in "${missing[@]}"; do armhf+=("$p:armhf"); done
if ! (cd "$tmp" && apt-get download -qq "${armhf[@]}" >/dev/null 2>"$tmp/download.err"); then
  # Indexes older than the mirror name files it no longer has.
  if [ "$updated" = 1 ]; then cat "$tmp/download.err" >&2; exit 1; fi
  update
  rm -f "$tmp"/*.deb
  (cd "$tmp" && apt-get download -qq "${armhf[@]}" >/dev/null)
fi

mkdir -p "$sysroot"
for deb in "$tmp"/*.deb; do
  dpkg-deb -x "$deb" "$sysroot"
done

# Absolute links (a -dev package's libfoo.so -> /lib/...) would point out of
# the sysroot into the build machine: make them relative inside it.
find "$sysroot" -type l -lname '/*' -print0 |
  while IFS= read -r -d '' link; do
    target=$(readlink "$link")
    ln -sfn "$(realpath -s -m --relative-to="$(dirname "$link")" "$sysroot$target")" "$link"
  done

# The manifest is written last, so an interrupted run starts over next time.
printf '%s\n' "${missing[@]}" >> "$manifest"
sort -u "$manifest" -o "$manifest"
test -f "$sysroot/usr/include/node/v8.h"
test -f "$sysroot/usr/lib/arm-linux-gnueabihf/libnode.so.108"
echo "setup-arm: sysroot ready"
