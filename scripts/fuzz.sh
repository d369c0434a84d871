#!/usr/bin/env bash
# Builds the fuzz target of the app services' file readers with clang's
# libFuzzer, AddressSanitizer and UndefinedBehaviorSanitizer, and runs it on
# the corpus in tests/fuzz/corpus for a bounded time (FUZZ_SECONDS, default
# 60). Skipped, with a line saying so, where clang cannot build a fuzzer.
#   ./scripts/fuzz.sh [BUILD_DIR]
set -euo pipefail
cd "$(dirname "$0")/.."
out=${1:-build-fuzz}
seconds=${FUZZ_SECONDS:-60}
cxx=${FUZZ_CXX:-clang++}
mkdir -p "$out"

# clang (with its libFuzzer runtime) is installed here when missing: the
# build itself does not need it.
if [ -z "${FUZZ_CXX:-}" ] && { ! command -v clang++ >/dev/null 2>&1 || ! dpkg-query -W libclang-rt-14-dev >/dev/null 2>&1; }; then
  sudo_cmd=()
  if [ "$(id -u)" -ne 0 ]; then sudo_cmd=(sudo); fi
  echo "fuzz: installing clang"
  "${sudo_cmd[@]}" apt-get update -qq || true
  DEBIAN_FRONTEND=noninteractive "${sudo_cmd[@]}" apt-get install -y -qq clang libclang-rt-14-dev >/dev/null || true
fi

probe="$out/probe.cc"
printf '#include <cstddef>\n#include <cstdint>\nextern "C" int LLVMFuzzerTestOneInput(const std::uint8_t*, std::size_t) { return 0; }\n' >"$probe"
if ! command -v "$cxx" >/dev/null 2>&1 ||
   ! "$cxx" -fsanitize=fuzzer "$probe" -o "$out/probe" >/dev/null 2>&1; then
  echo "fuzz: skipped ($cxx cannot build a libFuzzer target here)"
  exit 0
fi

target="$out/apps_documents_fuzz"
# shellcheck disable=SC2046
"$cxx" -std=c++17 -O1 -g -fsanitize=fuzzer,address,undefined -fno-sanitize-recover=undefined \
  -DTIXML_USE_STL -I src/bridge -I include/platform $(pkg-config --cflags jsoncpp) \
  tests/fuzz/AppsDocumentsFuzz.cc src/bridge/apps/Documents.cc src/bridge/binding/FileReads.cc \
  src/bridge/binding/Files.cc \
  $(pkg-config --libs jsoncpp) -ltinyxml -o "$target"

# New findings go to a scratch copy; the kept corpus is only read.
work="$out/corpus"
rm -rf "$work"
mkdir -p "$work"
cp tests/fuzz/corpus/* "$work"/
# The stack is kept small so that unbounded recursion shows as a crash.
ASAN_OPTIONS=detect_leaks=1:detect_stack_use_after_return=0 \
  "$target" -max_total_time="$seconds" -rss_limit_mb=2048 -timeout=20 -max_len=300000 \
  -print_final_stats=1 "$work" 2>"$out/fuzz.log" || {
  tail -n 60 "$out/fuzz.log"
  echo "fuzz: FAILED (log: $out/fuzz.log)"
  exit 1
}
grep -E "^(stat::number_of_executed_units|Done )" "$out/fuzz.log" || true
echo "fuzz: no crash, leak or sanitizer report in ${seconds}s"
