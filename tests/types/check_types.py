#!/usr/bin/env python3
"""Checks scripts against the script API's declarations with the TypeScript
compiler, as a developer's editor would with `// @ts-check`.

    check_types.py pass DTS FILE...      every file must check cleanly
    check_types.py wrong DTS FILE        every line marked `// @ts-expect-error`
                                         must be an error, and nothing else
    check_types.py docs DTS SOURCE_DIR   the examples and every js/mjs block
                                         of the guides must check cleanly

The compiler is the pinned one that scripts/setup.sh installs into
.cache/npm (or TARN_TSC). Where node or that compiler is missing, the check
is skipped (status 77) with the reason.
"""
import glob
import os
import re
import shutil
import subprocess
import sys
import tempfile

SKIP = 77
HERE = os.path.dirname(os.path.abspath(__file__))
SOURCE = os.path.dirname(os.path.dirname(HERE))

# Scripts are plain JavaScript for the engine's V8 (10.2); no DOM, no node.
OPTIONS = ["--noEmit", "--allowJs", "--checkJs", "--strict", "--target", "es2021",
           "--lib", "es2021", "--module", "es2022", "--moduleResolution", "bundler",
           "--moduleDetection", "force", "--pretty", "false",
           # catch (e) { e.message } is how scripts are written
           "--useUnknownInCatchVariables", "false"]


def compiler():
    node = shutil.which("node")
    tsc = os.environ.get("TARN_TSC") or os.path.join(
        SOURCE, ".cache", "npm", "node_modules", "typescript", "bin", "tsc")
    if not node:
        print("SKIP: node is not installed here; the TypeScript checks need it "
              "(scripts/setup.sh installs it)")
        sys.exit(SKIP)
    if not os.path.exists(tsc):
        print("SKIP: the TypeScript compiler is not at %s; run scripts/setup.sh" % tsc)
        sys.exit(SKIP)
    return [node, tsc]


def run_tsc(files):
    command = compiler() + OPTIONS + files
    # Run from an empty folder, so that no node_modules/@types is picked up.
    empty = tempfile.mkdtemp(prefix="tarn-tsc-")
    try:
        result = subprocess.run(command, capture_output=True, text=True, timeout=600,
                                cwd=empty)
    finally:
        shutil.rmtree(empty, ignore_errors=True)
    output = (result.stdout + result.stderr).strip()
    # Names come relative to that folder: make them absolute again.
    output = re.sub(r"(?m)^([^\s(][^(]*)\((?=\d+,\d+\): )",
                    lambda m: os.path.normpath(os.path.join(empty, m.group(1))) + "(", output)
    return result.returncode, output


def errors_by_file(output):
    """{file: [(line, message)]} from the compiler's plain output."""
    found = {}
    for line in output.split("\n"):
        m = re.match(r"^(.*)\((\d+),\d+\): error (TS\d+: .*)$", line)
        if m:
            found.setdefault(os.path.abspath(m.group(1)), []).append(
                (int(m.group(2)), m.group(3)))
    return found


def check_pass(dts, files):
    status, output = run_tsc([dts] + files)
    if status != 0:
        print(output)
        print("FAIL: the compiler found errors")
        return 1
    print("%d files check cleanly against %s" % (len(files), os.path.basename(dts)))
    return 0


def check_wrong(dts, path):
    """Each marked line must be an error on its own: the check runs on a copy
    without the markers, so an unused marker cannot pass for an error."""
    with open(path, encoding="utf-8") as f:
        lines = f.read().split("\n")
    marked = set()
    stripped = []
    for number, line in enumerate(lines, 1):
        if line.strip() == "// @ts-expect-error":
            marked.add(number + 1)
            stripped.append("")  # keeps the line numbers
        else:
            stripped.append(line)
    work = tempfile.mkdtemp(prefix="tarn-types-")
    try:
        copy = os.path.join(work, os.path.basename(path))
        with open(copy, "w", encoding="utf-8") as f:
            f.write("\n".join(stripped))
        status, output = run_tsc([dts, copy])
        print(output.replace(copy, os.path.basename(path)))
        errors = errors_by_file(output).get(os.path.abspath(copy), [])
        lines_with_errors = {line for line, _ in errors}
        failures = 0
        for line in sorted(marked - lines_with_errors):
            print("FAIL: line %d is marked as an error but the compiler accepts it: %s" %
                  (line, lines[line - 1].strip()))
            failures += 1
        for line in sorted(lines_with_errors - marked):
            print("FAIL: line %d is an error but not marked" % line)
            failures += 1
        others = {f: e for f, e in errors_by_file(output).items() if f != os.path.abspath(copy)}
        for name, found in others.items():
            print("FAIL: errors in %s: %s" % (name, found))
            failures += 1
        if not marked:
            print("FAIL: no line is marked")
            failures += 1
        # With the markers, the file passes as it is.
        status, output = run_tsc([dts, path])
        if status != 0:
            print(output)
            print("FAIL: the file with its markers does not check cleanly")
            failures += 1
        if failures == 0:
            print("%d wrong calls, each an error of its own" % len(marked))
        return 1 if failures else 0
    finally:
        shutil.rmtree(work, ignore_errors=True)


def doc_blocks(path):
    """(line, language, body) of each js or mjs block not marked fragment."""
    found = []
    with open(path, encoding="utf-8") as f:
        lines = f.read().split("\n")
    i = 0
    while i < len(lines):
        m = re.match(r"^(```+)(.*)$", lines[i])
        if not m:
            i += 1
            continue
        info = m.group(2).split()
        j = i + 1
        while j < len(lines) and not lines[j].startswith(m.group(1)):
            j += 1
        if info and info[0] in ("js", "mjs") and "fragment" not in info[1:]:
            found.append((i + 2, info[0], "\n".join(lines[i + 1:j]) + "\n"))
        i = j + 1
    return found


def check_docs(dts, source):
    work = tempfile.mkdtemp(prefix="tarn-types-")
    try:
        files = []
        for example in sorted(glob.glob(os.path.join(source, "examples", "*.js"))):
            files.append(with_check(example, work, os.path.basename(example), None))
        guides = [os.path.join(source, "README.md")] + sorted(
            glob.glob(os.path.join(source, "docs", "*.md")))
        for guide in guides:
            name = os.path.relpath(guide, source).replace("/", "_").replace(".md", "")
            for line, language, body in doc_blocks(guide):
                files.append(with_check(None, work, "%s_%d.%s" % (name, line, language), body))
        status, output = run_tsc([dts] + files)
        if status != 0:
            print(output.replace(work + "/", ""))
            print("FAIL: the compiler found errors (a block named GUIDE_LINE starts at LINE)")
            return 1
        print("%d examples and guide blocks check cleanly" % len(files))
        return 0
    finally:
        shutil.rmtree(work, ignore_errors=True)


def with_check(path, work, name, body):
    if body is None:
        with open(path, encoding="utf-8") as f:
            body = f.read()
    if "// @ts-check" not in body.split("\n", 1)[0]:
        body = "// @ts-check\n" + body
    target = os.path.join(work, name)
    with open(target, "w", encoding="utf-8") as f:
        f.write(body)
    return target


def main():
    if len(sys.argv) < 4 or sys.argv[1] not in ("pass", "wrong", "docs"):
        print(__doc__)
        return 2
    mode, dts = sys.argv[1], os.path.abspath(sys.argv[2])
    if mode == "pass":
        return check_pass(dts, [os.path.abspath(p) for p in sys.argv[3:]])
    if mode == "wrong":
        return check_wrong(dts, os.path.abspath(sys.argv[3]))
    return check_docs(dts, os.path.abspath(sys.argv[3]))


if __name__ == "__main__":
    sys.exit(main())
