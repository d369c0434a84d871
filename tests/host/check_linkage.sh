#!/bin/sh
# One-way dependencies and symbol hygiene of the built libraries:
#   check_linkage.sh BRIDGE.so HOST.so BUILD_DIR [TARN_RUN DEBUGGER.so [SIM_VIEW.so]]
# - the bridge exports `loadBridges` and nothing else;
# - the bridge needs neither the host nor the simulated TV (the loading
#   process provides their symbols) and has no run path into the build tree;
# - the host library does not need the simulated TV;
# - neither tarn-run nor the host needs the debugger library or Boost (it is
#   loaded only for --inspect), nor the simulated TV's view (only for
#   --sim-view), and each exports its entry.
# NM names the nm for the libraries' processor (a cross build's); default nm.
set -u
nm=${NM:-nm}
bridge=$1 host=$2 build=$3 tarnrun=${4:-} debugger=${5:-} simview=${6:-}
fail=0

exports=$("$nm" -D --defined-only "$bridge" | awk 'NF >= 3 { print $3 }' | sort | tr '\n' ' ')
if [ "$exports" != "loadBridges " ]; then
  echo "the bridge exports more than loadBridges: $exports" | cut -c1-2000
  fail=1
fi
if readelf -d "$bridge" | grep NEEDED | grep -E "libtarnhost|libtvsim"; then
  echo "the bridge links the host or the simulated TV"
  fail=1
fi
if readelf -d "$bridge" | grep -E "RPATH|RUNPATH" | grep -F "$build"; then
  echo "the bridge has a run path into the build tree"
  fail=1
fi
if readelf -d "$host" | grep NEEDED | grep libtvsim; then
  echo "the host links the simulated TV"
  fail=1
fi
if [ -n "$tarnrun" ]; then
  if readelf -d "$host" "$tarnrun" | grep NEEDED | grep -E "tarndebugger|tarnsimview|boost"; then
    echo "tarn-run or the host links the debugger, the simulated TV's view or Boost"
    fail=1
  fi
  if ! "$nm" -D --defined-only "$debugger" | awk '{ print $3 }' | grep -qx tarnStartDebugger; then
    echo "the debugger library does not export tarnStartDebugger"
    fail=1
  fi
  if [ -n "$simview" ] &&
     ! "$nm" -D --defined-only "$simview" | awk '{ print $3 }' | grep -qx tarnStartSimView; then
    echo "the simulated TV's view does not export tarnStartSimView"
    fail=1
  fi
fi
[ "$fail" = 0 ] && echo "linkage ok: $(basename "$bridge") exports loadBridges only"
exit "$fail"
