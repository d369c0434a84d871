#!/usr/bin/env bash
# Heap snapshot of a 50 MB script heap: QDUtil's "heapSnapshot" under
# tarn-run against node's v8.writeHeapSnapshot() on a heap of the same shape,
# for the two shapes of heap_snapshot_shape.js. Each is run RUNS times (default
# 3) in turn; the medians of the snapshot call alone and their ratio are
# printed (below 1: the bridge is faster).
#   bench/heap_snapshot_bench.sh path/to/tarn-run [RUNS]
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
tarn_run=${1:?usage: heap_snapshot_bench.sh TARN_RUN [RUNS]}
runs=${2:-3}
command -v node >/dev/null || { echo "heap_snapshot_bench: node is not installed"; exit 1; }

median() { sort -n | awk '{v[NR]=$1} END {print v[int((NR+1)/2)]}'; }

for shape in chunked flat; do
  ours=()
  theirs=()
  for ((i = 0; i < runs; i++)); do
    ours+=("$("$tarn_run" -l error "$here/heap_snapshot_shape.js" "$shape" | awk '/^ms /{print $2}')")
    theirs+=("$(node "$here/heap_snapshot_shape.js" "$shape" | awk '/^ms /{print $2}')")
  done
  a=$(printf '%s\n' "${ours[@]}" | median)
  b=$(printf '%s\n' "${theirs[@]}" | median)
  printf '%-8s heapSnapshot %8.1f ms   node v8.writeHeapSnapshot %8.1f ms   ratio %.2f\n' \
    "$shape" "$a" "$b" "$(awk -v a="$a" -v b="$b" 'BEGIN{print a/b}')"
done
