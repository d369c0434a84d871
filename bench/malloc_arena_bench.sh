#!/usr/bin/env bash
# One malloc arena for every thread (tarn-run's default) against glibc's own
# choice (an arena per thread, up to eight per core), for speed and
# footprint: the two loads of young_generation_load.js, whose collections
# run on V8's helper threads beside the script's, and the QDUtil calls of
# arena_load.js. Each is run RUNS times (default 5) in turn; the medians of
# the time and of the RSS after the load are printed.
#   bench/malloc_arena_bench.sh path/to/tarn-run [RUNS]
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
tarn_run=${1:?usage: malloc_arena_bench.sh TARN_RUN [RUNS]}
runs=${2:-5}

median() { sort -n | awk '{v[NR]=$1} END {print v[int((NR+1)/2)]}'; }

# Naming the arenas in the environment turns tarn-run's choice off; 16 is
# glibc's own limit on this 2-core machine.
settings=("one arena" "glibc's")
tunables=("" "glibc.malloc.arena_max=16")
# One run of LOAD: its "ms … rss … heapTotal …" line.
run() {
  local load=$1 tunable=$2
  local command=("$tarn_run" --no-bridges "$here/young_generation_load.js" "$load")
  [[ $load == calls ]] && command=("$tarn_run" "$here/arena_load.js")
  env ${tunable:+GLIBC_TUNABLES=$tunable} "${command[@]}"
}
for load in short cache calls; do
  times=("" "")
  rss=("" "")
  for ((i = 0; i < runs; i++)); do
    for k in 0 1; do
      line=$(run "$load" "${tunables[$k]}")
      times[$k]+="$(awk '{print $2}' <<<"$line") "
      rss[$k]+="$(awk '{print $4}' <<<"$line") "
    done
  done
  for k in 0 1; do
    printf '%-6s %-10s %8s ms  RSS %6s MB\n' "$load" "${settings[$k]}" \
      "$(tr ' ' '\n' <<<"${times[$k]}" | grep . | median)" \
      "$(tr ' ' '\n' <<<"${rss[$k]}" | grep . | median)"
  done
done
