#!/bin/sh
# tarn-run cases that need a shell around them: a FIFO or stdin as the
# script, an oversize script, output to /dev/full, signals, and a file too
# large for a 32-bit size.
#   shell_cases.sh CASE TARN_RUN SCRIPTS_DIR [THROWING_BRIDGE]
# A cross build's emulator (TARN_EMULATOR) starts TARN_RUN when it is set;
# it execs the program, so a signal sent to its process reaches tarn-run.
set -u
case_name=$1 tarn=$2 scripts=$3
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
export TARN_LOG_LEVEL=warn
fail() { echo "FAIL: $*"; exit 1; }

case "$case_name" in
fifo)
  mkfifo "$work/script.js"
  (echo 'console.log(1)' > "$work/script.js") &
  out=$(timeout 20 ${TARN_EMULATOR:+"$TARN_EMULATOR"} "$tarn" --no-bridges "$work/script.js") || fail "status $?"
  [ "$out" = 1 ] || fail "printed '$out'"
  ;;
stdin)
  out=$(echo 'console.log(tarn.args.join(","))' | timeout 20 ${TARN_EMULATOR:+"$TARN_EMULATOR"} "$tarn" --no-bridges - a b) ||
    fail "status $?"
  [ "$out" = a,b ] || fail "printed '$out'"
  ;;
stdin_implicit)
  # No script: a pipe on stdin is the script.
  out=$(echo 'console.log(1)' | timeout 20 ${TARN_EMULATOR:+"$TARN_EMULATOR"} "$tarn" --no-bridges) ||
    fail "status $?"
  [ "$out" = 1 ] || fail "printed '$out'"
  out=$(echo 'console.log(typeof QDUtil)' > "$work/s.js" &&
    timeout 20 ${TARN_EMULATOR:+"$TARN_EMULATOR"} "$tarn" < "$work/s.js") || fail "status $?"
  [ "$out" = function ] || fail "printed '$out' from a file on stdin"
  ;;
stdin_implicit_error)
  echo 'throw new Error("piped")' | timeout 20 ${TARN_EMULATOR:+"$TARN_EMULATOR"} "$tarn" --no-bridges \
    > "$work/out" 2> "$work/err"
  status=$?
  [ "$status" = 1 ] || fail "status $status"
  grep -q '^\[stdin\]:1$' "$work/err" && grep -q '^Error: piped$' "$work/err" ||
    fail "stderr: $(cat "$work/err")"
  ;;
no_script)
  # No script and no stdin at all.
  timeout 20 ${TARN_EMULATOR:+"$TARN_EMULATOR"} "$tarn" --no-bridges <&- > "$work/out" 2> "$work/err"
  status=$?
  [ "$status" = 2 ] || fail "status $status"
  grep -q "no script given" "$work/err" || fail "stderr: $(cat "$work/err")"
  ;;
empty_path)
  timeout 20 ${TARN_EMULATOR:+"$TARN_EMULATOR"} "$tarn" --no-bridges "" > "$work/out" 2> "$work/err"
  status=$?
  [ "$status" = 2 ] || fail "status $status"
  [ "$(cat "$work/err")" = "tarn-run: cannot read script: the path is empty" ] ||
    fail "stderr: $(cat "$work/err")"
  ;;
oversize)
  # One byte over the 64 MiB limit: refused before anything runs.
  head -c 67108865 /dev/zero | tr '\0' ' ' > "$work/big.js"
  timeout 20 ${TARN_EMULATOR:+"$TARN_EMULATOR"} "$tarn" --no-bridges "$work/big.js" > "$work/out" 2> "$work/err"
  status=$?
  [ "$status" = 2 ] || fail "status $status"
  grep -q "larger than the limit of 67108864 bytes" "$work/err" || fail "stderr: $(cat "$work/err")"
  ;;
dev_full)
  [ -w /dev/full ] || { echo "no /dev/full here"; exit 0; }
  timeout 20 ${TARN_EMULATOR:+"$TARN_EMULATOR"} "$tarn" --no-bridges "$scripts/print_one.js" > /dev/full 2> "$work/err"
  status=$?
  [ "$status" = 1 ] || fail "status $status"
  grep -q "cannot write to standard output: No space left on device" "$work/err" ||
    fail "stderr: $(cat "$work/err")"
  ;;
sigint | sigterm | sighup | sigabrt)
  signal=$(echo "$case_name" | sed 's/^sig//' | tr a-z A-Z)
  case "$signal" in INT) number=2 ;; TERM) number=15 ;; HUP) number=1 ;; ABRT) number=6 ;; esac
  # Signalled directly: timeout(1) would take the signal itself.
  ${TARN_EMULATOR:+"$TARN_EMULATOR"} "$tarn" --sim-journal "$work/journal.jsonl" \
    "$scripts/sleep_forever.js" > "$work/out" 2> "$work/err" &
  pid=$!
  (sleep 30; kill -9 "$pid") > /dev/null 2>&1 &
  watchdog=$!
  for _ in $(seq 1 200); do
    grep -q running "$work/out" 2>/dev/null && break
    sleep 0.05
  done
  root=$(sed -n 's/^running //p' "$work/out")
  [ -n "$root" ] && [ -d "$root" ] || fail "no simulator root: $(cat "$work/out" "$work/err")"
  kill -s "$signal" "$pid"
  wait "$pid"
  status=$?
  kill "$watchdog" 2>/dev/null
  [ "$status" = $((128 + number)) ] || fail "status $status, expected $((128 + number))"
  [ ! -e "$root" ] || fail "the simulator's root $root is left behind"
  # The journal asked for is written on the way out, as at a normal end.
  grep -q '"operation":"initialize"' "$work/journal.jsonl" ||
    fail "the journal is not written: $(cat "$work/journal.jsonl" 2>&1)"
  ;;
script_loads_no_prompt)
  # A script run maps neither the prompt's module nor its line editor; the
  # prompt (under a terminal) does, which the repl_pty tests show working.
  ${TARN_EMULATOR:+"$TARN_EMULATOR"} "$tarn" "$scripts/sleep_forever.js" < /dev/null > "$work/out" 2> "$work/err" &
  pid=$!
  (sleep 30; kill -9 "$pid") > /dev/null 2>&1 &
  watchdog=$!
  for _ in $(seq 1 200); do
    grep -q running "$work/out" 2>/dev/null && break
    sleep 0.05
  done
  maps=$(cat "/proc/$pid/maps" 2>/dev/null)
  kill -s TERM "$pid"
  wait "$pid"
  kill "$watchdog" 2>/dev/null
  echo "$maps" | grep -q libtarnhost || fail "cannot read the running program's maps"
  if echo "$maps" | grep -E "libedit|libtarnrepl"; then fail "a script run loaded the prompt"; fi
  ;;
log_default)
  # Warnings and errors only unless asked: the bridge's start-up lines
  # (info) appear with -l info or TARN_LOG_LEVEL=info, never by default;
  # a capture records them whatever the threshold.
  cat > "$work/s.js" <<'EOS'
tarn.log.capture();
new QDUtil().set3dMode(1);
const lines = tarn.log.take();
console.log(lines.some((l) => l.level === 2 && l.logger === 'tarn.qdutil.bridge') ? 'captured' : 'none');
EOS
  out=$(env -u TARN_LOG_LEVEL ${TARN_EMULATOR:+"$TARN_EMULATOR"} "$tarn" "$work/s.js" 2> "$work/err") ||
    fail "default: status $?"
  [ "$out" = captured ] || fail "default: printed '$out'"
  [ ! -s "$work/err" ] || fail "default: stderr: $(cat "$work/err")"
  env -u TARN_LOG_LEVEL ${TARN_EMULATOR:+"$TARN_EMULATOR"} "$tarn" -l info "$work/s.js" > /dev/null 2> "$work/err" ||
    fail "-l info: status $?"
  grep -q '^I .* tarn.qdutil.bridge .*\] constructor$' "$work/err" || fail "-l info: stderr: $(cat "$work/err")"
  grep -q '\] context init ret:' "$work/err" || fail "-l info: no context init line"
  TARN_LOG_LEVEL=info ${TARN_EMULATOR:+"$TARN_EMULATOR"} "$tarn" "$work/s.js" > /dev/null 2> "$work/err" ||
    fail "TARN_LOG_LEVEL=info: status $?"
  grep -q '\] context fini ret:' "$work/err" || fail "TARN_LOG_LEVEL=info: stderr: $(cat "$work/err")"
  ;;
bad_log_env)
  # An unknown TARN_LOG_LEVEL is refused as an unknown -l is; -l wins over it.
  echo 'console.log("ran")' > "$work/s.js"
  TARN_LOG_LEVEL=loud ${TARN_EMULATOR:+"$TARN_EMULATOR"} "$tarn" --no-bridges "$work/s.js" \
    > "$work/out" 2> "$work/err"
  status=$?
  [ "$status" = 2 ] || fail "status $status: $(cat "$work/out" "$work/err")"
  [ ! -s "$work/out" ] || fail "the script ran: $(cat "$work/out")"
  [ "$(cat "$work/err")" = 'tarn-run: unknown log level "loud" in TARN_LOG_LEVEL' ] ||
    fail "stderr: $(cat "$work/err")"
  out=$(TARN_LOG_LEVEL=loud ${TARN_EMULATOR:+"$TARN_EMULATOR"} "$tarn" --no-bridges -l warn "$work/s.js") ||
    fail "with -l warn: status $?"
  [ "$out" = ran ] || fail "with -l warn: $out"
  out=$(TARN_LOG_LEVEL=DEBUG ${TARN_EMULATOR:+"$TARN_EMULATOR"} "$tarn" --no-bridges "$work/s.js") ||
    fail "with DEBUG: status $?"
  [ "$out" = ran ] || fail "with DEBUG: $out"
  ;;
abort_call)
  # An abort inside a native call: the same clean-up, status 128 + SIGABRT.
  thrower=${4:?the throwing bridge}
  timeout 30 ${TARN_EMULATOR:+"$TARN_EMULATOR"} "$tarn" --bridge "$thrower" "$scripts/abort_call.js" > "$work/out" 2> "$work/err"
  status=$?
  root=$(sed -n 's/^running //p' "$work/out")
  [ -n "$root" ] || fail "no simulator root: $(cat "$work/out" "$work/err")"
  [ "$status" = 134 ] || fail "status $status, expected 134: $(cat "$work/err")"
  [ ! -e "$root" ] || fail "the simulator's root $root is left behind"
  ;;
large_file)
  # The bridge finds a file of 3 GiB like any other, though its size does
  # not fit a signed 32-bit number (the file is sparse: it takes no room).
  mkdir -p "$work/root/opt/usr/media"
  truncate -s 3G "$work/root/opt/usr/media/large.ts" || fail "cannot make a sparse file here"
  echo 'console.log(new QDUtil().checkExistFile("/opt/usr/media/large.ts"))' > "$work/s.js"
  out=$(TVSIM_ROOT="$work/root" timeout 20 ${TARN_EMULATOR:+"$TARN_EMULATOR"} "$tarn" "$work/s.js" 2> "$work/err") ||
    fail "status $?: $(cat "$work/err")"
  [ "$out" = 1 ] || fail "checkExistFile answered '$out': $(cat "$work/err")"
  ;;
tvsim_root_file | tvsim_root_unwritable | tmpdir_file | no_tmpdir)
  # A simulated TV's root that cannot be used stops tarn-run before the
  # script, with the bad value named; nothing is written outside the root.
  echo 'console.log("ran")' > "$work/s.js"
  echo keep > "$work/file"
  case "$case_name" in
  tvsim_root_file) env TVSIM_ROOT="$work/file" ${TARN_EMULATOR:+"$TARN_EMULATOR"} "$tarn" "$work/s.js" > "$work/out" 2> "$work/err"; status=$?
    expected="tarn-run: TVSIM_ROOT $work/file is not a folder" ;;
  tvsim_root_unwritable) env TVSIM_ROOT=/proc ${TARN_EMULATOR:+"$TARN_EMULATOR"} "$tarn" "$work/s.js" > "$work/out" 2> "$work/err"; status=$?
    expected="tarn-run: the simulated TV's root folder /proc is not writable: " ;;
  tmpdir_file) env -u TVSIM_ROOT TMPDIR="$work/file" ${TARN_EMULATOR:+"$TARN_EMULATOR"} "$tarn" "$work/s.js" > "$work/out" 2> "$work/err"; status=$?
    expected="the simulated TV has no root folder (TMPDIR \"$work/file\")" ;;
  no_tmpdir) env -u TVSIM_ROOT -u TMPDIR ${TARN_EMULATOR:+"$TARN_EMULATOR"} "$tarn" "$work/s.js" > "$work/out" 2> "$work/err"
    [ $? = 0 ] && [ "$(cat "$work/out")" = ran ] || fail "without TMPDIR: $(cat "$work/out" "$work/err")"
    echo "ok: $case_name"; exit 0 ;;
  esac
  [ "$status" = 2 ] || fail "status $status: $(cat "$work/out" "$work/err")"
  grep -qF "$expected" "$work/err" || fail "stderr: $(cat "$work/err")"
  [ ! -s "$work/out" ] || fail "the script ran"
  [ "$(cat "$work/file")" = keep ] || fail "the file was changed"
  ;;
*)
  fail "unknown case $case_name"
  ;;
esac
echo "ok: $case_name"
