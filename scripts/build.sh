#!/usr/bin/env bash
# Configures and builds the project into a build folder.
#   scripts/build.sh [--sanitize] [targets...]
# --sanitize builds into build-asan with AddressSanitizer and UBSan.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
build="$root/build"
flags=()
if [ "${1:-}" = "--sanitize" ]; then
  shift
  build="$root/build-asan"
  flags+=(-DQDUTIL_SANITIZE=ON)
fi
cmake -S "$root" -B "$build" -DCMAKE_BUILD_TYPE=RelWithDebInfo "${flags[@]}" >/dev/null
if [ $# -gt 0 ]; then
  for t in "$@"; do cmake --build "$build" -j2 --target "$t"; done
else
  cmake --build "$build" -j2
fi
