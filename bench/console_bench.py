#!/usr/bin/env python3
"""console.log of tarn-run against node's, on the same machine, to a pipe.

  bench/console_bench.py build/bin/tarn-run [RUNS]

Workloads (bench/console_workload.js): 200,000 short lines ("line", i),
20,000 mixed objects (nested objects and arrays, a Date, a Map), and one
nested object of about 1 MB (console.dir with no depth or length limit).
Prints the median wall time and CPU time (user and system) of RUNS runs (5
by default) for each program and each workload, then the cost of the first formatted value: the median
CPU time of a run that logs one object less that of a run that logs one
plain text (the formatter is compiled only for the former), over 30 runs.
"""
import os
import shutil
import statistics
import subprocess
import sys
import time

HERE = os.path.dirname(os.path.abspath(__file__))
WORKLOAD = os.path.join(HERE, 'console_workload.js')


def timed(command):
    """Wall seconds, CPU seconds and output bytes of one run to a pipe."""
    start = time.perf_counter()
    child = subprocess.Popen(command, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL)
    size = 0
    while True:
        chunk = child.stdout.read(1 << 16)
        if not chunk:
            break
        size += len(chunk)
    _, status, usage = os.wait4(child.pid, 0)
    wall = time.perf_counter() - start
    if status != 0:
        sys.exit('console_bench.py: %s failed (status %d)' % (' '.join(command), status))
    return wall, usage.ru_utime + usage.ru_stime, size


def median(command, runs, index):
    return statistics.median(timed(command)[index] for _ in range(runs))


def medians(command, runs):
    results = [timed(command) for _ in range(runs)]
    return (statistics.median(r[0] for r in results), statistics.median(r[1] for r in results),
            results[0][2])


def main():
    if len(sys.argv) < 2:
        sys.exit(__doc__)
    tarn = [sys.argv[1], '--no-bridges', WORKLOAD]
    runs = int(sys.argv[2]) if len(sys.argv) > 2 else 5
    node = shutil.which('node')
    programs = [('tarn-run', tarn)] + ([('node', [node, WORKLOAD])] if node else [])
    print('console.log to a pipe, median of %d runs: wall time / CPU time' % runs)
    for workload in ('lines', 'objects', 'big'):
        figures = []
        size = 0
        for name, command in programs:
            wall, cpu, size = medians(command + [workload], runs)
            figures.append('%s %.3f s / %.3f s' % (name, wall, cpu))
        print('  %-8s (%7.1f kB out): %s' % (workload, size / 1024.0, ', '.join(figures)))
    plain = median(tarn + ['plain-once'], 30, 1)
    value = median(tarn + ['value-once'], 30, 1)
    print('first formatted value: %.1f ms CPU more than a first plain text '
          '(%.1f ms against %.1f ms, median of 30 runs)' % (
              (value - plain) * 1000, value * 1000, plain * 1000))
    return 0


if __name__ == '__main__':
    sys.exit(main())
