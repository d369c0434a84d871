#!/usr/bin/env bash
# The young generation's size against speed and footprint: the two loads of
# young_generation_load.js under tarn-run's default (a fixed 8 MB
# semi-space), a fixed 1 MB one, and V8's own sizing (up to 16 MB, node's
# default). Each is run RUNS times (default 5) in turn; the medians of the
# time and of the RSS after the load are printed.
#   bench/young_generation_bench.sh path/to/tarn-run [RUNS]
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
tarn_run=${1:?usage: young_generation_bench.sh TARN_RUN [RUNS]}
runs=${2:-5}

median() { sort -n | awk '{v[NR]=$1} END {print v[int((NR+1)/2)]}'; }

settings=("default" "fixed 1 MB" "V8's sizing")
flags=("" "--min-semi-space-size=1 --max-semi-space-size=1" "--max-semi-space-size=16")
for load in short cache; do
  times=("" "" "")
  rss=("" "" "")
  for ((i = 0; i < runs; i++)); do
    for k in 0 1 2; do
      line=$("$tarn_run" --no-bridges "--js-flags=${flags[$k]}" "$here/young_generation_load.js" "$load")
      times[$k]+="$(awk '{print $2}' <<<"$line") "
      rss[$k]+="$(awk '{print $4}' <<<"$line") "
    done
  done
  for k in 0 1 2; do
    printf '%-6s %-12s %8s ms  RSS %6s MB\n' "$load" "${settings[$k]}" \
      "$(tr ' ' '\n' <<<"${times[$k]}" | grep . | median)" \
      "$(tr ' ' '\n' <<<"${rss[$k]}" | grep . | median)"
  done
done
