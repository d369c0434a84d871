#!/usr/bin/env bash
# Runs one script test against a private message bus of its own:
#
#   run_with_bus.sh SENDER SCRIPT -- COMMAND...
#
# Starts dbus-daemon on a socket in a fresh folder, watches it with
# dbus-monitor, and runs COMMAND (tarn-run … SCRIPT) with
# DBUS_SYSTEM_BUS_ADDRESS pointing at it. The script asks for bus work by
# printing lines on its standard output (lib/bus.js writes them):
#
#   @@bus emit ID MEMBER [ARG…]   gdbus emit of org.tarn.FirstScreen.MEMBER; each ARG
#                                 is a GVariant text in base64
#   @@bus flood ID MEMBER COUNT   COUNT signals from one GIO connection (SENDER)
#   @@bus ack ID                  only the acknowledgement
#   @@bus installer COUNT         at the end, the bus must have carried exactly COUNT
#                                 installer signals
#   @@bus kill                    stop the bus now
#
# After emit and flood the harness waits until the monitor has seen the
# signals pass the bus, then emits AutoBrowser with the text "@@ack ID SEEN"
# (SEEN: how many of that command's signals the bus carried), so the script
# knows that everything before the acknowledgement has been dispatched.
# A script whose text holds the line "// bus: none" gets an address where no
# bus listens. The bus and the monitor are stopped by their process ids when
# the run ends, whatever the outcome. Fails when the command fails, a bus
# expectation is not met, or GLib printed a warning or a critical.
# A cross build's emulator (TARN_EMULATOR) starts SENDER and COMMAND, the
# build's own programs, when it is set; the bus tools are the machine's.
set -u

sender=$1
script=$2
shift 3
command=("$@")

work=$(mktemp -d)
bus_pid=""
monitor_pid=""
run_pid=""
status=0

cleanup() {
  for pid in $run_pid $monitor_pid $bus_pid; do
    kill "$pid" 2>/dev/null
  done
  for pid in $run_pid $monitor_pid $bus_pid; do
    wait "$pid" 2>/dev/null
  done
  rm -rf "$work"
}
trap cleanup EXIT
trap 'exit 1' INT TERM

fail() {
  echo "FAIL bus harness: $*" >&2
  status=1
}

# Waits until `grep -c PATTERN monitor.log` reaches $2, at most $3 seconds;
# leaves the count in $seen.
seen=0
await_monitor() {
  local pattern=$1 wanted=$2 limit=$3
  local deadline=$((SECONDS + limit))
  while :; do
    seen=$(grep -c -- "$pattern" "$work/monitor.log")
    [ "$seen" -ge "$wanted" ] && return 0
    [ "$SECONDS" -ge "$deadline" ] && return 1
    sleep 0.02
  done
}

first_screen=$'\t/org/tarn/FirstScreen\torg.tarn.FirstScreen\t'
installer=$'\t/org/tarn/Trtinstaller\torg.tarn.Trtinstaller\tsignal'
emitted=0             # FirstScreen signals sent so far, acknowledgements included
installer_expected=""

# gdbus --address would skip the bus's Hello and be dropped; as the session
# bus it says Hello first.
emit() {
  DBUS_SESSION_BUS_ADDRESS="$address" gdbus emit --session --object-path /org/tarn/FirstScreen \
    --signal "org.tarn.FirstScreen.$1" "${@:2}" >/dev/null || fail "gdbus emit $1 failed"
}

acknowledge() {
  local id=$1 carried=$2
  emit AutoBrowser "'@@ack $id $carried'"
  emitted=$((emitted + 1))
}

if grep -q '^// bus: none$' "$script"; then
  address="unix:path=$work/no-bus-here"
else
  cat >"$work/bus.conf" <<EOF
<!DOCTYPE busconfig PUBLIC "-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN"
 "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<busconfig>
  <type>session</type>
  <listen>unix:path=$work/bus</listen>
  <auth>EXTERNAL</auth>
  <policy context="default">
    <allow send_destination="*" eavesdrop="true"/>
    <allow eavesdrop="true"/>
    <allow own="*"/>
  </policy>
</busconfig>
EOF
  dbus-daemon --config-file="$work/bus.conf" --nofork --print-address=3 \
    3>"$work/address" 2>"$work/daemon.log" &
  bus_pid=$!
  for _ in $(seq 250); do
    [ -s "$work/address" ] && break
    sleep 0.02
  done
  address=$(head -n 1 "$work/address")
  [ -n "$address" ] || { echo "FAIL bus harness: dbus-daemon did not start" >&2; exit 1; }
  dbus-monitor --address "$address" --profile >"$work/monitor.log" 2>"$work/monitor.err" &
  monitor_pid=$!
  # The monitor has become one once it has given up its own name.
  await_monitor $'\tNameLost' 1 5 || { echo "FAIL bus harness: dbus-monitor did not start" >&2; exit 1; }
fi

mkfifo "$work/out"
DBUS_SYSTEM_BUS_ADDRESS="$address" ${TARN_EMULATOR:+"$TARN_EMULATOR"} "${command[@]}" >"$work/out" 2>"$work/stderr" &
run_pid=$!

while IFS= read -r line; do
  case "$line" in
    "@@bus "*) ;;
    *) printf '%s\n' "$line"; continue ;;
  esac
  read -r -a words <<<"${line#@@bus }"
  case "${words[0]}" in
    emit)
      id=${words[1]} member=${words[2]}
      arguments=()
      for encoded in "${words[@]:3}"; do
        arguments+=("$(printf '%s' "$encoded" | base64 -d)")
      done
      before=$(grep -c -- "$first_screen$member\$" "$work/monitor.log")
      emit "$member" "${arguments[@]}"
      emitted=$((emitted + 1))
      await_monitor "$first_screen" "$emitted" 10 || fail "emit $id: the bus did not carry it"
      after=$(grep -c -- "$first_screen$member\$" "$work/monitor.log")
      acknowledge "$id" $((after - before))
      ;;
    flood)
      id=${words[1]} member=${words[2]} count=${words[3]}
      before=$(grep -c -- "$first_screen$member\$" "$work/monitor.log")
      ${TARN_EMULATOR:+"$TARN_EMULATOR"} "$sender" "$address" "$member" "$count" || fail "flood $id: the sender failed"
      emitted=$((emitted + count))
      await_monitor "$first_screen" "$emitted" 120 || fail "flood $id: the bus carried $seen of $emitted"
      after=$(grep -c -- "$first_screen$member\$" "$work/monitor.log")
      acknowledge "$id" $((after - before))
      ;;
    ack)
      acknowledge "${words[1]}" 0
      ;;
    installer)
      installer_expected=${words[1]}
      ;;
    kill)
      kill "$bus_pid" 2>/dev/null
      wait "$bus_pid" 2>/dev/null
      bus_pid=""
      ;;
    *)
      fail "unknown request: $line"
      ;;
  esac
done <"$work/out"

wait "$run_pid"
run_status=$?
run_pid=""
[ "$run_status" -eq 0 ] || fail "the script ended with status $run_status"

if [ -n "$installer_expected" ]; then
  await_monitor "$installer" "$installer_expected" 5
  sleep 0.2
  carried=$(grep -c -- "$installer" "$work/monitor.log")
  [ "$carried" -eq "$installer_expected" ] ||
    fail "the bus carried $carried installer signals, expected $installer_expected"
fi

# GLib reports misuse as "…-CRITICAL **" or "…-WARNING **" lines.
if grep -E -- '-(CRITICAL|WARNING) \*\*' "$work/stderr" >&2; then
  fail "GLib printed warnings or criticals"
fi
tail -c 100000 "$work/stderr" >&2
exit "$status"
