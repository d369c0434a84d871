#!/usr/bin/env bash
# Sets up, builds everything and runs every test (GoogleTest units and
# script tests through tarn-run).
#   scripts/test.sh [--sanitize | --tsan | --arm] [ctest arguments]
# --sanitize runs the same suite built with AddressSanitizer and UBSan; any
# sanitizer report fails the test that produced it. --tsan builds and runs
# the V8-free hand-off tests (host.handoff.*) under ThreadSanitizer. --arm
# cross-builds everything for 32-bit ARM into build-arm (scripts/setup-arm.sh
# prepares the cross compiler, qemu-user and the armhf libraries) and runs
# the same suite with every program of the build under qemu-arm.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
"$root/scripts/setup.sh"
build="$root/build"
if [ "${1:-}" = "--sanitize" ]; then
  shift
  build="$root/build-asan"
  "$root/scripts/build.sh" --sanitize
  export ASAN_OPTIONS="halt_on_error=1:abort_on_error=0:detect_leaks=1:exitcode=86"
  export LSAN_OPTIONS="suppressions=$root/.ci/lsan.supp:print_suppressions=0"
  export UBSAN_OPTIONS="halt_on_error=1:print_stacktrace=1:exitcode=87"
elif [ "${1:-}" = "--tsan" ]; then
  shift
  build="$root/build-tsan"
  "$root/scripts/build.sh" --tsan handoff_tests
  # One suppression, explained in the file: GLib's own allocations.
  export TSAN_OPTIONS="halt_on_error=1:exitcode=88:second_deadlock_stack=1:suppressions=$root/.ci/tsan.supp"
  ctest --test-dir "$build" --output-on-failure -j2 --timeout 300 -R '^host\.handoff\.' "$@"
  exit
elif [ "${1:-}" = "--arm" ]; then
  shift
  build="$root/build-arm"
  "$root/scripts/setup-arm.sh"
  "$root/scripts/build.sh" --arm
else
  "$root/scripts/build.sh"
fi
ctest --test-dir "$build" --output-on-failure -j2 --timeout 300 "$@"
