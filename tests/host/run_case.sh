#!/usr/bin/env bash
# Runs one tarn-run case and checks its exit status, and its whole stdout and
# stderr against extended regular expressions (matched across lines).
#   run_case.sh EXIT_CODE STDOUT_REGEX STDERR_REGEX COMMAND...
# A cross build's emulator (TARN_EMULATOR) starts COMMAND when it is set.
set -u
code=$1 out_re=$2 err_re=$3
shift 3
out=$(mktemp) err=$(mktemp)
trap 'rm -f "$out" "$err"' EXIT
TARN_LOG_LEVEL=warn ${TARN_EMULATOR:+"$TARN_EMULATOR"} "$@" >"$out" 2>"$err"
status=$?
ok=1
if [ "$status" != "$code" ]; then
  echo "exit status $status, expected $code"
  ok=0
fi
match() {  # file regex: "^$" means empty; else a search across lines
  python3 -c 'import re,sys
t = open(sys.argv[1]).read().rstrip("\n")
r = sys.argv[2]
sys.exit(0 if (t == "" if r == "^$" else re.search(r, t, re.S | re.M)) else 1)' "$1" "$2"
}
if ! match "$out" "$out_re"; then
  echo "stdout does not match: $out_re"
  ok=0
fi
if ! match "$err" "$err_re"; then
  echo "stderr does not match: $err_re"
  ok=0
fi
if [ $ok = 0 ]; then
  echo "--- stdout"; cat "$out"; echo "--- stderr"; cat "$err"
  exit 1
fi
