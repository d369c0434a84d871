#!/usr/bin/env python3
"""Prints random values with tarn-run and with node and compares the texts.

differential.js builds COUNT values from SEED (nested objects and arrays,
every kind the console shows, texts with quotes, escapes and control
characters, sparse and long arrays, getters, proxies, cycles) and prints each
under several option sets (console.log, and console.dir with depth, compact,
breakLength, sorted and showHidden, and the printf-style specifiers). Both
programs build the same values; each printing is compared on its own.

  differential.py --tarn-run PATH [--seed N | --random-seed] [--count N]
                  [--min-ratio 0.995]

Exits 0 when at least --min-ratio of the printings are identical, 1 when
fewer are (printing the seed and the first difference), 77 when node is not
installed (the test is then reported as skipped).
"""
import argparse
import os
import random
import shutil
import subprocess
import sys

HERE = os.path.dirname(os.path.abspath(__file__))
SCRIPT = os.path.join(HERE, 'differential.js')
SKIPPED = 77


def run(command, timeout):
    env = dict(os.environ, TARN_LOG_LEVEL='warn')
    done = subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.PIPE,
                          timeout=timeout, env=env)
    if done.returncode != 0:
        sys.exit('differential.py: %s ended with status %d:\n%s' % (
            command[0], done.returncode, done.stderr.decode('utf-8', 'replace')[-2000:]))
    return done.stdout.decode('utf-8', 'replace')


def printings(text):
    blocks = {}
    order = []
    name = None
    for line in text.split('\n'):
        if line.startswith('### '):
            name = line[4:]
            order.append(name)
            blocks[name] = []
        elif name is not None:
            blocks[name].append(line)
    return order, blocks


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument('--tarn-run', required=True)
    parser.add_argument('--seed', type=int, default=20241)
    parser.add_argument('--random-seed', action='store_true')
    parser.add_argument('--count', type=int, default=5000)
    parser.add_argument('--min-ratio', type=float, default=0.995)
    parser.add_argument('--timeout', type=int, default=900)
    args = parser.parse_args()
    node = shutil.which('node')
    if not node:
        print('differential.py: node is not installed; nothing to compare with (skipped)')
        return SKIPPED
    seed = random.randrange(1, 2 ** 32) if args.random_seed else args.seed
    emulator = os.environ.get('TARN_EMULATOR')
    tarn = ([emulator] if emulator else []) + [args.tarn_run, '--no-bridges']
    values = [SCRIPT, str(seed), str(args.count)]
    expected_order, expected = printings(run([node] + values, args.timeout))
    _, actual = printings(run(tarn + values, args.timeout))
    same = 0
    first = None
    for name in expected_order:
        if actual.get(name) == expected[name]:
            same += 1
        elif first is None:
            first = name
    total = len(expected_order)
    ratio = same / total if total else 0.0
    print('seed %d: %d values, %d printings, %d identical (%.3f%%)' % (
        seed, args.count, total, same, 100.0 * ratio))
    if first is not None:
        index, option_set = first.split(' ')
        print('first difference: value %s, option set %s '
              '(node differential.js %d %d prints it)' % (index, option_set, seed, int(index) + 1))
        print('--- node\n%s\n--- tarn-run\n%s' % (
            '\n'.join(expected[first]), '\n'.join(actual.get(first) or ['<nothing>'])))
    if total == 0 or ratio < args.min_ratio:
        print('FAIL: fewer than %.1f%% identical' % (100.0 * args.min_ratio))
        return 1
    return 0


if __name__ == '__main__':
    sys.exit(main())
