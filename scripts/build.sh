#!/usr/bin/env bash
# Configures and builds the project into a build folder.
#   scripts/build.sh [--sanitize | --tsan | --arm] [targets...]
# --sanitize builds into build-asan with AddressSanitizer and UBSan; --tsan
# into build-tsan with ThreadSanitizer; --arm into build-arm for 32-bit ARM
# with cmake/toolchain-armhf.cmake (after scripts/setup-arm.sh).
# QDUTIL_CMAKE_FLAGS adds CMake flags (CI: -DQDUTIL_WERROR=ON).
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
build="$root/build"
read -r -a flags <<< "${QDUTIL_CMAKE_FLAGS:-}"
if [ "${1:-}" = "--sanitize" ]; then
  shift
  build="$root/build-asan"
  flags+=(-DQDUTIL_SANITIZE=ON)
elif [ "${1:-}" = "--tsan" ]; then
  shift
  build="$root/build-tsan"
  flags+=(-DQDUTIL_TSAN=ON)
elif [ "${1:-}" = "--arm" ]; then
  shift
  build="$root/build-arm"
  flags+=(-DCMAKE_TOOLCHAIN_FILE="$root/cmake/toolchain-armhf.cmake")
fi
cmake -S "$root" -B "$build" -DCMAKE_BUILD_TYPE=RelWithDebInfo "${flags[@]}" >/dev/null
if [ $# -gt 0 ]; then
  for t in "$@"; do cmake --build "$build" -j2 --target "$t"; done
else
  cmake --build "$build" -j2
fi
