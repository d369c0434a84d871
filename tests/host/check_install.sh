#!/bin/sh
# Installs the build into a fresh prefix and runs the demo from there:
#   check_install.sh BUILD_DIR SOURCE_DIR
# Nothing installed may name the build folder, and the installed tarn-run
# must find its bridge and libraries through $ORIGIN alone. A cross build's
# emulator (TARN_EMULATOR) starts it when it is set.
set -u
build=$1 source=$2
prefix=$(mktemp -d)
trap 'rm -rf "$prefix"' EXIT
cmake --install "$build" --prefix "$prefix" > "$prefix.log" 2>&1 || { cat "$prefix.log"; rm -f "$prefix.log"; exit 1; }
rm -f "$prefix.log"
fail=0
for f in bin/tarn-run lib/libtarnhost.so lib/libtarnrepl.so lib/libtarndebugger.so lib/libtvsim.so \
         lib/libqdutil.so share/doc/qdutil/host.md share/doc/qdutil/api.md \
         share/qdutil/types/qdutil.d.ts share/doc/qdutil/examples/demo.js lib/libtarnsimview.so share/tarn/sim-view/index.html \
         share/tarn/sim-view/view.js share/tarn/sim-view/sections.js share/tarn/sim-view/view.css; do
  [ -e "$prefix/$f" ] || { echo "not installed: $f"; fail=1; }
done
for f in "$prefix"/bin/* "$prefix"/lib/*; do
  if grep -qF "$build" "$f"; then
    echo "$f names the build folder $build"
    fail=1
  fi
done
out=$(cd / && TARN_LOG_LEVEL=error ${TARN_EMULATOR:+"$TARN_EMULATOR"} "$prefix/bin/tarn-run" "$source/examples/demo.js" 2>&1)
status=$?
if [ "$status" != 0 ]; then
  echo "installed tarn-run ended with $status:"
  echo "$out" | tail -20
  fail=1
fi
# The installed tarn-run finds the simulated TV's view too.
out=$(cd / && TARN_LOG_LEVEL=error ${TARN_EMULATOR:+"$TARN_EMULATOR"} "$prefix/bin/tarn-run" \
  --sim-view=127.0.0.1:0 -e 'tarn.exit(5)' 2>&1)
status=$?
if [ "$status" != 5 ] || ! echo "$out" | grep -q "^Simulated TV view on http://127.0.0.1:"; then
  echo "installed tarn-run --sim-view ended with $status:"
  echo "$out" | tail -20
  fail=1
fi
# The installed tarn-run finds its debugger library too.
out=$(cd / && TARN_LOG_LEVEL=error ${TARN_EMULATOR:+"$TARN_EMULATOR"} "$prefix/bin/tarn-run" \
  --inspect=127.0.0.1:0 -p '6 * 7' 2>&1)
status=$?
if [ "$status" != 0 ] || ! echo "$out" | grep -q "^Debugger listening on ws://127.0.0.1:" ||
   ! echo "$out" | grep -qx 42; then
  echo "installed tarn-run --inspect ended with $status:"
  echo "$out" | tail -20
  fail=1
fi
# The installed declarations are what the installed tarn-run prints.
if ! (cd / && ${TARN_EMULATOR:+"$TARN_EMULATOR"} "$prefix/bin/tarn-run" --types) |
     cmp -s - "$prefix/share/qdutil/types/qdutil.d.ts"; then
  echo "share/qdutil/types/qdutil.d.ts differs from tarn-run --types"
  fail=1
fi
[ "$fail" = 0 ] && echo "installed and ran the demo from $prefix"
exit "$fail"
