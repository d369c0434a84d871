#!/usr/bin/env python3
"""Runs every code block of a Markdown guide, so a guide cannot drift from
what the programs do.

    check_docs.py DOC.md TARN_RUN SOURCE_DIR

A block's info string says how it is checked:

  js [exit=N] [args=A,B]   written to a file and run by tarn-run (status N,
                            default 0); a following `text output` block is
                            its whole standard output
  mjs [exit=N]              the same, as an ES module (a .mjs file)
  sh [exit=N]               run by bash -e in a scratch folder where
                            build/bin/tarn-run and examples/ are this build's;
                            a following `text output` block is its output
  json                      must parse; `json state` must also load as the
                            simulated set's state
  text output               the expected output of the block before it
  ANY fragment              not run (a syntax sketch, a log line, a command
                            that would rebuild the project); says so

Any other block is an error: a guide's blocks are either run or marked.
Under a cross build's emulator (TARN_EMULATOR) tarn-run is started through it.
"""
import json
import os
import re
import shutil
import subprocess
import sys
import tempfile

TIMEOUT = 60


def blocks(text):
    """(line, info words, body) of each fenced block."""
    found = []
    lines = text.split("\n")
    i = 0
    while i < len(lines):
        m = re.match(r"^(```+)(.*)$", lines[i])
        if not m:
            i += 1
            continue
        fence, info, start = m.group(1), m.group(2).split(), i + 1
        j = start
        while j < len(lines) and not lines[j].startswith(fence):
            j += 1
        if j == len(lines):
            raise SystemExit("line %d: a code block is not closed" % (start))
        found.append((start, info, "\n".join(lines[start:j]) + "\n"))
        i = j + 1
    return found


def option(info, name, default):
    for word in info[1:]:
        if word.startswith(name + "="):
            return word.split("=", 1)[1]
    return default


class Checker:
    def __init__(self, doc, tarn, source):
        self.doc, self.tarn, self.source = doc, os.path.abspath(tarn), os.path.abspath(source)
        self.failures = 0
        self.passed = 0
        self.skipped = 0
        self.emulator = os.environ.get("TARN_EMULATOR", "")

    def tarn_command(self):
        return ([self.emulator] if self.emulator else []) + [self.tarn]

    def scratch(self):
        """A scratch folder laid out like the project: build/bin/tarn-run
        is this build's (through the emulator when there is one)."""
        work = tempfile.mkdtemp(prefix="tarn-doc-")
        os.makedirs(os.path.join(work, "build", "bin"))
        wrapper = os.path.join(work, "build", "bin", "tarn-run")
        with open(wrapper, "w") as f:
            f.write("#!/bin/sh\nexec %s \"$@\"\n" % " ".join(
                "'%s'" % part for part in self.tarn_command()))
        os.chmod(wrapper, 0o755)
        os.symlink(os.path.join(self.source, "examples"), os.path.join(work, "examples"))
        return work

    def environment(self, work):
        env = dict(os.environ)
        for name in ("TVSIM_ROOT", "TVSIM_JOURNAL", "TARN_LOG_LEVEL", "TARN_BRIDGES"):
            env.pop(name, None)
        env["TMPDIR"] = work
        # Outputs that show local time are written for UTC.
        env["TZ"] = "UTC"
        env["HOME"] = work
        env["PATH"] = os.path.join(work, "build", "bin") + ":" + env.get("PATH", "")
        return env

    def fail(self, line, what, result=None):
        self.failures += 1
        print("FAIL %s:%d: %s" % (self.doc, line, what))
        if result is not None:
            print("  status %s\n  stdout: %s\n  stderr: %s" % (
                result.returncode, result.stdout.strip()[-2000:], result.stderr.strip()[-2000:]))

    def run(self, line, command, work, expected_status, expected_output, stdin=None):
        try:
            result = subprocess.run(command, cwd=work, env=self.environment(work),
                                    input=stdin, capture_output=True, text=True,
                                    timeout=TIMEOUT)
        except subprocess.TimeoutExpired:
            self.fail(line, "did not end within %d s" % TIMEOUT)
            return
        if result.returncode != expected_status:
            self.fail(line, "status %d, expected %d" % (result.returncode, expected_status),
                      result)
        elif expected_output is not None and result.stdout != expected_output:
            self.fail(line, "output differs:\n--- expected\n%s--- got\n%s" % (
                expected_output, result.stdout), None)
        else:
            self.passed += 1

    def check_script(self, line, info, body, output, suffix):
        work = self.scratch()
        try:
            path = os.path.join(work, "example" + suffix)
            with open(path, "w") as f:
                f.write(body)
            args = [a for a in option(info, "args", "").split(",") if a]
            self.run(line, self.tarn_command() + [path] + args, work,
                     int(option(info, "exit", "0")), output)
        finally:
            shutil.rmtree(work, ignore_errors=True)

    def check_shell(self, line, info, body, output):
        work = self.scratch()
        try:
            self.run(line, ["bash", "-e", "-o", "pipefail", "-s"], work,
                     int(option(info, "exit", "0")), output, stdin=body)
        finally:
            shutil.rmtree(work, ignore_errors=True)

    def check_json(self, line, info, body):
        try:
            json.loads(body)
        except ValueError as e:
            self.fail(line, "not valid JSON: %s" % e)
            return
        if "state" not in info[1:]:
            self.passed += 1
            return
        work = self.scratch()
        try:
            path = os.path.join(work, "state.json")
            with open(path, "w") as f:
                f.write(body)
            self.run(line, self.tarn_command() + ["--sim-state", path, "-e", "0"], work, 0, None)
        finally:
            shutil.rmtree(work, ignore_errors=True)

    def check(self):
        with open(self.doc, encoding="utf-8") as f:
            found = blocks(f.read())
        for index, (line, info, body) in enumerate(found):
            language = info[0] if info else ""
            if "fragment" in info[1:] or language == "fragment":
                self.skipped += 1
                continue
            if language == "text" and "output" in info[1:]:
                if index == 0 or found[index - 1][1][:1] not in (["js"], ["mjs"], ["sh"]):
                    self.fail(line, "an output block follows no js, mjs or sh block")
                continue
            output = None
            if index + 1 < len(found):
                following = found[index + 1][1]
                if following[:2] == ["text", "output"]:
                    output = found[index + 1][2]
            if language == "js":
                self.check_script(line, info, body, output, ".js")
            elif language == "mjs":
                self.check_script(line, info, body, output, ".mjs")
            elif language == "sh":
                self.check_shell(line, info, body, output)
            elif language == "json":
                self.check_json(line, info, body)
            else:
                self.fail(line, "a block of '%s' is neither run nor marked fragment"
                          % " ".join(info))
        print("%s: %d blocks checked, %d fragments skipped" % (
            self.doc, self.passed + self.failures, self.skipped))
        print("%d passed, %d failed" % (self.passed, self.failures))
        return 1 if self.failures or self.passed == 0 else 0


def main():
    if len(sys.argv) != 4:
        print(__doc__)
        return 2
    return Checker(sys.argv[1], sys.argv[2], sys.argv[3]).check()


if __name__ == "__main__":
    sys.exit(main())
