#!/usr/bin/env bash
# Sets up, builds, and runs the demo script on the simulated TV.
#   scripts/demo.sh [tarn-run options] [script.js]
#   scripts/demo.sh --view    the demo with a live view of the simulated TV:
#                             open the printed address, press "Power key"
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
"$root/scripts/setup.sh"
log="$root/build-demo.log"
if ! "$root/scripts/build.sh" tarn-run qdutil tarnsimview >"$log" 2>&1; then
  tail -n 40 "$log" >&2
  echo "demo: the build failed; the whole log is in $log" >&2
  exit 1
fi
if [ "${1:-}" = "--view" ] && [ $# -eq 1 ]; then
  set -- --sim-view "$root/examples/demo.js" --view
elif [ $# -eq 0 ]; then
  set -- "$root/examples/demo.js"
fi
exec "$root/build/bin/tarn-run" "$@"
