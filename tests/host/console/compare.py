#!/usr/bin/env python3
"""Checks that tarn-run's console prints what node's prints.

Runs cases.js under tarn-run and compares its standard output and standard
error with node's, case by case (each case opens with a "### name" line on
both streams), and does the same for the expressions of print_cases.txt given
to `-p`. The reference is node itself when it is installed, else the output of
node kept in expected/ (written by --write-expected). Stack frames ("    at
..." lines), durations and process warnings differ between any two runs and
are left out of the comparison; cases marked "[skip: reason]" differ on
purpose and are only reported.

  compare.py --tarn-run PATH [--reference node|file] [--write-expected]

--reference file compares with expected/ even where node is installed, and
then also checks that expected/ still holds what node prints.
"""
import argparse
import difflib
import os
import re
import shutil
import subprocess
import sys

HERE = os.path.dirname(os.path.abspath(__file__))
CASES = os.path.join(HERE, 'cases.js')
PRINT_CASES = os.path.join(HERE, 'print_cases.txt')
EXPECTED = os.path.join(HERE, 'expected')

FRAME = re.compile(r'^\s*at ')
CAUSE_FRAMES = re.compile(r'^\s*\.\.\. \d+ lines matching cause stack trace \.\.\.$')
WARNING = re.compile(r'^\((node|tarn-run):\d+\) Warning: |^\(Use `node --trace-warnings')
DURATION = re.compile(r'^(\s*[^:\n]*: )\d+(\.\d+)?(ms|s)\b')


def normalise(text):
    lines = []
    for line in text.split('\n'):
        if FRAME.match(line) or CAUSE_FRAMES.match(line) or WARNING.match(line):
            continue
        lines.append(DURATION.sub(r'\1<duration>', line))
    return '\n'.join(lines).rstrip('\n') + '\n'


def run(command, timeout=60):
    env = dict(os.environ, TARN_LOG_LEVEL='warn')
    done = subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.PIPE,
                          timeout=timeout, env=env)
    return (done.stdout.decode('utf-8', 'replace'), done.stderr.decode('utf-8', 'replace'),
            done.returncode)


def tarn_command(tarn_run):
    emulator = os.environ.get('TARN_EMULATOR')
    return ([emulator] if emulator else []) + [tarn_run, '--no-bridges']


def print_expressions():
    with open(PRINT_CASES, encoding='utf-8') as f:
        return [line.rstrip('\n') for line in f
                if line.strip() and not line.startswith('#')]


# One program's outputs as texts: cases.js's stdout and stderr, and the -p
# expressions' stdout, each -p output under a "### -p EXPRESSION" line.
def outputs(command):
    out, err, _ = run(command + [CASES])
    printed = []
    for expression in print_expressions():
        p_out, p_err, code = run(command + ['-p', expression])
        printed.append('### -p ' + expression)
        printed.append(p_out.rstrip('\n'))
        if code != 0 or p_err.strip():
            printed.append('!!! status %d, stderr: %s' % (code, normalise(p_err).strip()))
    return {'stdout': normalise(out), 'stderr': normalise(err),
            'print': normalise('\n'.join(printed))}


def node_outputs(node):
    return outputs([node])


def sections(text):
    result = {}
    order = []
    name = None
    for line in text.split('\n'):
        if line.startswith('### '):
            name = line[4:]
            order.append(name)
            result[name] = []
        elif name is not None:
            result[name].append(line)
    return order, result


def compare(actual, reference, reference_name):
    passed = failed = skipped = 0
    for stream in ('stdout', 'stderr', 'print'):
        order, expected = sections(reference[stream])
        _, got = sections(actual[stream])
        for name in order:
            skip = re.search(r' \[skip: (.*)\]$', name)
            if skip:
                if stream == 'stdout':
                    skipped += 1
                    print('skip  %s (%s)' % (name[:skip.start()], skip.group(1)))
                continue
            want = expected[name]
            have = got.get(name)
            if have == want:
                passed += 1
                continue
            failed += 1
            print('FAIL  %s: %s' % (stream, name))
            if have is None:
                print('      tarn-run printed no such case')
            else:
                for line in difflib.unified_diff(want, have, reference_name, 'tarn-run',
                                                 lineterm='', n=2):
                    print('      ' + line)
    return passed, failed, skipped


def read_expected():
    result = {}
    for stream in ('stdout', 'stderr', 'print'):
        with open(os.path.join(EXPECTED, 'cases.' + stream), encoding='utf-8') as f:
            result[stream] = f.read()
    return result


def find_node():
    return shutil.which('node') or (os.path.exists('/usr/bin/node') and '/usr/bin/node') or None


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument('--tarn-run')
    parser.add_argument('--reference', choices=['node', 'file'], default='node')
    parser.add_argument('--write-expected', action='store_true')
    args = parser.parse_args()
    node = find_node()

    if args.write_expected:
        if not node:
            sys.exit('compare.py: --write-expected needs node')
        os.makedirs(EXPECTED, exist_ok=True)
        for stream, text in node_outputs(node).items():
            with open(os.path.join(EXPECTED, 'cases.' + stream), 'w', encoding='utf-8') as f:
                f.write(text)
        print('compare.py: wrote %s from %s' % (EXPECTED, subprocess.run(
            [node, '--version'], stdout=subprocess.PIPE).stdout.decode().strip()))
        return 0

    if not args.tarn_run:
        parser.error('--tarn-run is required')
    actual = outputs(tarn_command(args.tarn_run))
    failed_total = 0
    if args.reference == 'node' and node:
        print('reference: %s' % node)
        reference, name = node_outputs(node), 'node'
    else:
        print('reference: %s' % EXPECTED)
        reference, name = read_expected(), 'expected'
        if node:
            # The kept output must still be node's.
            current = node_outputs(node)
            for stream in ('stdout', 'stderr', 'print'):
                if current[stream] != reference[stream]:
                    failed_total += 1
                    print('FAIL  expected/cases.%s is not what %s prints now; '
                          'rewrite it with compare.py --write-expected' % (stream, node))
    passed, failed, skipped = compare(actual, reference, name)
    failed += failed_total
    print('%d passed, %d failed, %d skipped' % (passed, failed, skipped))
    return 1 if failed else 0


if __name__ == '__main__':
    sys.exit(main())
