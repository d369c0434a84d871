#!/usr/bin/env bash
# Sets up, builds, and runs the demo script on the simulated TV.
#   scripts/demo.sh [tarn-run options] [script.js]
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
"$root/scripts/setup.sh"
"$root/scripts/build.sh" tarn-run qdutil >/dev/null
if [ $# -eq 0 ]; then set -- "$root/examples/demo.js"; fi
exec "$root/build/bin/tarn-run" "$@"
