#!/usr/bin/env python3
"""The declarations that `tarn-run --types` prints list exactly the methods
and constants of the bridge's vocabulary list, in its order, and so does the
class a script meets; the file of good calls calls every method.

    check_declarations.py TARN_RUN SCRIPT_INTERFACE_DEF GOOD_CALLS_JS

Under a cross build's emulator (TARN_EMULATOR) tarn-run is started through it.
"""
import json
import os
import re
import subprocess
import sys


def tarn_run(tarn, *args):
    emulator = os.environ.get("TARN_EMULATOR", "")
    command = ([emulator] if emulator else []) + [tarn] + list(args)
    result = subprocess.run(command, capture_output=True, text=True, timeout=120)
    if result.returncode != 0:
        raise SystemExit("FAIL: %s ended with %d: %s" % (" ".join(args), result.returncode,
                                                         result.stderr[-2000:]))
    return result.stdout


def vocabulary(path):
    methods, constants, order = [], [], []
    with open(path, encoding="utf-8") as f:
        for line in f:
            m = re.match(r'^QD_METHOD\(\d+, "([^"]+)"', line)
            if m:
                methods.append(m.group(1))
                order.append(m.group(1))
            m = re.match(r"^QD_CONSTANT\((\w+), (\d+)\)", line)
            if m:
                constants.append((m.group(1), int(m.group(2))))
                order.append(m.group(1))
    return methods, constants, order


def declared(text):
    """Members of `declare class QDUtil`, in order: overloads count once."""
    body = re.search(r"^declare class QDUtil \{\n(.*?)^\}", text, re.S | re.M)
    if not body:
        raise SystemExit("FAIL: no declare class QDUtil in the declarations")
    order, constants = [], []
    for line in body.group(1).split("\n"):
        m = re.match(r"^  readonly (\w+): (-?\d+);$", line)
        if m:
            constants.append((m.group(1), int(m.group(2))))
            order.append(m.group(1))
            continue
        m = re.match(r"^  (\w+)\(", line)
        if m and m.group(1) != "constructor" and (not order or order[-1] != m.group(1)):
            order.append(m.group(1))
    return order, constants


def main():
    if len(sys.argv) != 4:
        print(__doc__)
        return 2
    tarn, definition, good_calls = sys.argv[1:]
    methods, constants, order = vocabulary(definition)
    failures = []
    if (len(methods), len(constants)) != (128, 23):
        failures.append("the list holds %d methods and %d constants, not 128 and 23" %
                        (len(methods), len(constants)))
    text = tarn_run(tarn, "--types")
    got_order, got_constants = declared(text)
    if got_order != order:
        first = next((i for i in range(min(len(order), len(got_order)))
                      if order[i] != got_order[i]), min(len(order), len(got_order)))
        failures.append("the declarations differ from the list at member %d: %s against %s" %
                        (first + 1, got_order[first:first + 1], order[first:first + 1]))
    if got_constants != constants:
        failures.append("declared constants %s, the list has %s" % (got_constants, constants))
    # The class a script meets, read by script.
    runtime = json.loads(tarn_run(tarn, "-e", (
        "const q = new QDUtil();"
        "console.log(JSON.stringify({"
        "methods: Object.getOwnPropertyNames(QDUtil.prototype)"
        ".filter((n) => n !== 'constructor'),"
        "constants: Object.keys(q).map((k) => [k, q[k]])}))")))
    if runtime["methods"] != methods:
        failures.append("the class's methods differ from the list")
    if [tuple(c) for c in runtime["constants"]] != constants:
        failures.append("the objects' constants differ from the list")
    with open(good_calls, encoding="utf-8") as f:
        calls = f.read()
    for name in methods:
        if not re.search(r"\bq\.%s\(" % re.escape(name), calls):
            failures.append("%s never calls %s" % (os.path.basename(good_calls), name))
    for failure in failures:
        print("FAIL: " + failure)
    if failures:
        return 1
    print("the declarations, the class and the list agree: %d methods and %d constants, "
          "in binding order" % (len(methods), len(constants)))
    return 0


if __name__ == "__main__":
    sys.exit(main())
