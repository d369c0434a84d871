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
lazy_root)
  # A script that never reaches a device path gets no temporary root; the
  # first device path makes and fills it, and it is gone after the run.
  mkdir "$work/t"
  cat > "$work/s.js" <<'EOS'
console.log('started');
setTimeout(() => { console.log('root ' + tarn.sim.root()); }, 1500);
setTimeout(() => {}, 3000);
EOS
  env -u TVSIM_ROOT TMPDIR="$work/t" ${TARN_EMULATOR:+"$TARN_EMULATOR"} "$tarn" "$work/s.js" > "$work/out" 2> "$work/err" &
  pid=$!
  for _ in $(seq 1 100); do grep -q started "$work/out" 2>/dev/null && break; sleep 0.05; done
  grep -q started "$work/out" || fail "did not start: $(cat "$work/err")"
  [ -z "$(ls -A "$work/t")" ] || fail "a root was made before any use: $(ls -A "$work/t")"
  for _ in $(seq 1 100); do grep -q '^root ' "$work/out" 2>/dev/null && break; sleep 0.05; done
  root=$(sed -n 's/^root //p' "$work/out")
  case "$root" in "$work/t/tvsim-"*) ;; *) fail "root '$root'" ;; esac
  [ -d "$root/opt/usr/apps" ] || fail "the root was not filled: $(ls -R "$root" | head)"
  wait "$pid" || fail "status $?: $(cat "$work/err")"
  [ ! -e "$root" ] || fail "the root outlived the run"
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
module_cwd)
  # Code without a file imports relative to the current folder: import()
  # from -e, a static import from --module -e and from a module on stdin.
  cd "$scripts/modules" || fail "no modules folder"
  out=$(timeout 20 ${TARN_EMULATOR:+"$TARN_EMULATOR"} "$tarn" --no-bridges \
    -e 'import("./dynamic/lib/value.mjs").then((ns) => console.log("dynamic", ns.value))') ||
    fail "-e: status $?"
  [ "$out" = "value.mjs evaluated
dynamic 42" ] || fail "-e printed '$out'"
  out=$(timeout 20 ${TARN_EMULATOR:+"$TARN_EMULATOR"} "$tarn" --no-bridges --module \
    -e 'import { twice } from "./globals/twice.mjs"; console.log("static", twice(2), import.meta.url.endsWith("/modules/[eval]"))') ||
    fail "--module -e: status $?"
  [ "$out" = "static 4 true" ] || fail "--module -e printed '$out'"
  out=$(echo 'import { twice } from "./globals/twice.mjs"; console.log("stdin", twice(3), tarn.args.join())' |
    timeout 20 ${TARN_EMULATOR:+"$TARN_EMULATOR"} "$tarn" --no-bridges --module - x y) ||
    fail "--module -: status $?"
  [ "$out" = "stdin 6 x,y" ] || fail "--module - printed '$out'"
  ;;
module_chain)
  # 1,000 modules in a ring (each imports the next, the last the first),
  # entered from a main module that imports the first: each evaluated once.
  mkdir "$work/ring"
  i=0
  while [ $i -lt 1000 ]; do
    printf 'import "./m%d.mjs";\nglobalThis.evaluated = (globalThis.evaluated || 0) + 1;\n' \
      $(( (i + 1) % 1000 )) > "$work/ring/m$i.mjs"
    i=$((i + 1))
  done
  printf 'import "./ring/m0.mjs";\nimport "./ring/m500.mjs";\nconsole.log(globalThis.evaluated);\n' > "$work/main.mjs"
  out=$(timeout 30 ${TARN_EMULATOR:+"$TARN_EMULATOR"} "$tarn" --no-bridges "$work/main.mjs" 2> "$work/err") ||
    fail "status $?: $(cat "$work/err")"
  [ "$out" = 1000 ] || fail "printed '$out': $(cat "$work/err")"
  ;;
module_oversize)
  # An imported module one byte over the 64 MiB limit: an Error naming it
  # and its importer, and the limit.
  head -c 67108865 /dev/zero | tr '\0' ' ' > "$work/big.mjs"
  printf '\nimport "./big.mjs";\n' > "$work/main.mjs"
  timeout 30 ${TARN_EMULATOR:+"$TARN_EMULATOR"} "$tarn" --no-bridges "$work/main.mjs" > "$work/out" 2> "$work/err"
  status=$?
  [ "$status" = 1 ] || fail "status $status: $(cat "$work/err")"
  grep -q "^Uncaught Error: Cannot load module './big.mjs' ($work/big.mjs) imported from $work/main.mjs:2: cannot read script $work/big.mjs: larger than the limit of 67108864 bytes$" "$work/err" ||
    fail "stderr: $(cat "$work/err")"
  ;;
module_bytes)
  # Bytes that are not UTF-8: in a string they become U+FFFD, in code they
  # are a syntax error naming the file and line.
  printf 'export const text = "caf\351 \377";\n' > "$work/latin1.mjs"
  printf 'import { text } from "./latin1.mjs";\nconsole.log(text.length, text.charCodeAt(3).toString(16));\n' > "$work/main.mjs"
  out=$(timeout 20 ${TARN_EMULATOR:+"$TARN_EMULATOR"} "$tarn" --no-bridges "$work/main.mjs" 2> "$work/err") ||
    fail "status $?: $(cat "$work/err")"
  [ "$out" = "6 fffd" ] || fail "printed '$out'"
  printf '\nconst \377 = 1;\n' > "$work/code.mjs"
  printf 'import "./code.mjs";\n' > "$work/main.mjs"
  timeout 20 ${TARN_EMULATOR:+"$TARN_EMULATOR"} "$tarn" --no-bridges "$work/main.mjs" > "$work/out" 2> "$work/err"
  status=$?
  [ "$status" = 1 ] || fail "code: status $status"
  head -1 "$work/err" | grep -qx "$work/code.mjs:2" || fail "code: stderr: $(cat "$work/err")"
  grep -q "^Uncaught SyntaxError: Invalid or unexpected token$" "$work/err" || fail "code: stderr: $(cat "$work/err")"
  ;;
module_symlink)
  # A module is known by its real path: through a linked folder it is the
  # same module, evaluated once, and its import.meta names the real file.
  mkdir "$work/real"
  printf 'globalThis.n = (globalThis.n || 0) + 1;\nexport const file = import.meta.filename;\n' > "$work/real/once.mjs"
  ln -s real "$work/link"
  printf 'import { file } from "./link/once.mjs";\nimport * as a from "./real/once.mjs";\nconst b = await import("./link/../link/once.mjs");\nconsole.log(globalThis.n, a === b, file);\n' > "$work/main.mjs"
  out=$(timeout 20 ${TARN_EMULATOR:+"$TARN_EMULATOR"} "$tarn" --no-bridges "$work/main.mjs" 2> "$work/err") ||
    fail "status $?: $(cat "$work/err")"
  real=$(cd "$work/real" && pwd -P)
  [ "$out" = "1 true $real/once.mjs" ] || fail "printed '$out'"
  ;;
module_deep_json)
  # JSON nested 1,000,000 deep, imported as a module: parsed without
  # recursion, no crash.
  python3 -c 'import sys; n = 1000000; sys.stdout.write("[" * n + "1" + "]" * n)' > "$work/deep.json"
  printf 'import d from "./deep.json" assert { type: "json" };\nlet n = 0;\nfor (let x = d; Array.isArray(x); x = x[0]) n++;\nconsole.log(n);\n' > "$work/main.mjs"
  out=$(timeout 30 ${TARN_EMULATOR:+"$TARN_EMULATOR"} "$tarn" --no-bridges "$work/main.mjs" 2> "$work/err") ||
    fail "status $?: $(cat "$work/err")"
  [ "$out" = 1000000 ] || fail "printed '$out'"
  ;;
*)
  fail "unknown case $case_name"
  ;;
esac
echo "ok: $case_name"
