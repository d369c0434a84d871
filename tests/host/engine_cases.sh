#!/bin/sh
# tarn-run cases of the engine's limits that need a shell around them: a
# script that fills its heap ends with status 134, one message, the journal
# written and the temporary root removed; heap snapshots near the limit.
#   engine_cases.sh CASE TARN_RUN SCRIPTS_DIR
# A cross build's emulator (TARN_EMULATOR) starts TARN_RUN when it is set.
set -u
case_name=$1 tarn=$2 scripts=$3
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
export TARN_LOG_LEVEL=warn
fail() {
  echo "FAIL: $*"
  echo "--- stdout"; cat "$work/out"; echo "--- stderr"; head -c 4000 "$work/err"
  exit 1
}
message='^FATAL ERROR: Reached heap limit of [0-9]+ MB Allocation failed - JavaScript heap out of memory'

case "$case_name" in
heap_limit)
  timeout 120 ${TARN_EMULATOR:+"$TARN_EMULATOR"} "$tarn" --max-old-space-size=24 \
    --sim-journal "$work/journal.jsonl" "$scripts/fill_heap.js" > "$work/out" 2> "$work/err"
  status=$?
  [ "$status" = 134 ] || fail "status $status, expected 134"
  grep -Eq "$message" "$work/err" || fail "no message naming the heap limit"
  [ "$(grep -c 'FATAL ERROR' "$work/err")" = 1 ] || fail "more than one message"
  ! grep -q 'Fatal javascript OOM' "$work/err" || fail "the engine's own fatal message"
  root=$(sed -n 's/^running //p' "$work/out")
  [ -n "$root" ] || fail "no root printed"
  [ ! -e "$root" ] || fail "the simulator's root $root is left behind"
  grep -q '"operation":"initialize"' "$work/journal.jsonl" ||
    fail "the journal is not written: $(head -c 300 "$work/journal.jsonl" 2>&1)"
  ;;
heap_snapshots)
  # Up to N snapshots, in the app's data folder, named as the bridge names
  # its own; then the same end.
  timeout 300 ${TARN_EMULATOR:+"$TARN_EMULATOR"} "$tarn" --max-old-space-size=24 \
    --heapsnapshot-near-heap-limit=2 --sim-root "$work/root" "$scripts/fill_heap.js" \
    > "$work/out" 2> "$work/err"
  status=$?
  [ "$status" = 134 ] || fail "status $status, expected 134"
  grep -Eq "$message" "$work/err" || fail "no message naming the heap limit"
  folder="$work/root/opt/usr/apps/tarnapps/apps_temp/org.tarn.apps"
  count=$(ls "$folder" | grep -Ec '^heapdump-[0-9]+-[0-9]+\.heapsnapshot$')
  [ "$count" = 2 ] || fail "$count snapshots in $folder: $(ls "$folder")"
  [ "$(grep -c 'wrote a heap snapshot to' "$work/err")" = 2 ] || fail "each snapshot is told"
  for file in "$folder"/heapdump-*.heapsnapshot; do
    head -c 12 "$file" | grep -q '^{"snapshot":' || fail "$file is not a heap snapshot"
  done
  ;;
*)
  echo "unknown case $case_name"
  exit 2
  ;;
esac
