#!/usr/bin/env python3
"""The engine host's include lines run one way.

    check_includes.py SRC_HOST_DIR      check the tree
    check_includes.py --self-test       check that each rule is caught

Folders of src/host and what each may include of the others:

    engine/     nothing of the others (it is what a bridge links against)
    console/    engine/
    script/     engine/, console/ (console is one of the script's globals)
    repl/       engine/, console/ (to print values)
    debugger/   engine/, console/
    Host.cc     any of them

Nothing includes tarn/host/Host.h (one run's start-up and shut-down) but
Host.cc itself, and the public headers (include/tarn/host/) include no
private header. An include is placed by its folder prefix ("engine/X.h"), or,
for a bare name, by the file of that name beside the includer or in one of
the folders; names found nowhere in src/host (the platform's headers, system
headers) are not the host's and are not checked.
"""

import os
import re
import shutil
import sys
import tempfile

FOLDERS = ("engine", "script", "console", "repl", "debugger")
ALLOWED = {
    "engine": set(),
    "console": {"engine"},
    "script": {"engine", "console"},
    "repl": {"engine", "console"},
    "debugger": {"engine", "console"},
    "host": set(FOLDERS),
    "public": set(),
}
INCLUDE = re.compile(r'^\s*#\s*include\s*"([^"]+)"')
SOURCE = (".cc", ".h", ".cpp", ".hpp")


def area_of(root, path):
    rel = os.path.relpath(path, root).split(os.sep)
    if rel[0] in FOLDERS:
        return rel[0]
    if rel[0] == "include":
        return "public"
    return "host"


def private_files(root):
    """Basename -> area, for each header in the private folders."""
    names = {}
    for folder in FOLDERS:
        for base, _, files in os.walk(os.path.join(root, folder)):
            for name in files:
                names.setdefault(name, set()).add(folder)
    return names


def target_of(root, includer, name, names):
    """The area an include names, or None when it is not the host's own."""
    first = name.split("/")[0]
    if first in FOLDERS:
        return first
    if name.startswith("tarn/host/"):
        return "host-api" if name == "tarn/host/Host.h" else None
    beside = os.path.join(os.path.dirname(includer), name)
    if os.path.isfile(beside):
        return area_of(root, beside)
    found = names.get(os.path.basename(name))
    if found and len(found) == 1:
        return next(iter(found))
    if found:
        return "ambiguous:" + ",".join(sorted(found))
    return None


def check(root):
    problems = []
    names = private_files(root)
    for base, dirs, files in os.walk(root):
        dirs.sort()
        for file_name in sorted(files):
            if not file_name.endswith(SOURCE):
                continue
            path = os.path.join(base, file_name)
            area = area_of(root, path)
            with open(path, encoding="utf-8", errors="replace") as f:
                for number, line in enumerate(f, 1):
                    m = INCLUDE.match(line)
                    if not m:
                        continue
                    target = target_of(root, path, m.group(1), names)
                    where = "%s:%d" % (os.path.relpath(path, root), number)
                    if target is None or target == area:
                        continue
                    if target == "host-api":
                        if os.path.relpath(path, root) != "Host.cc":
                            problems.append('%s: includes "%s": only Host.cc includes it'
                                            % (where, m.group(1)))
                    elif target.startswith("ambiguous:"):
                        problems.append('%s: "%s" names a file in more than one folder (%s)'
                                        % (where, m.group(1), target[len("ambiguous:"):]))
                    elif target not in ALLOWED[area]:
                        problems.append('%s: %s/ includes %s/ ("%s")'
                                        % (where, area if area != "host" else "src/host",
                                           target, m.group(1)))
    return problems


def self_test():
    """Each rule broken once in a small tree; every break must be reported."""
    cases = {
        "engine/Runtime.cc": '#include "console/Console.h"\n',
        "console/Console.cc": '#include "script/ScriptApi.h"\n#include "engine/Runtime.h"\n',
        "repl/Repl.cc": '#include "debugger/Server.h"\n#include "console/Console.h"\n',
        "debugger/Server.cc": '#include "Modules.h"\n',
        "script/Modules.cc": '#include "tarn/host/Host.h"\n#include "console/Console.h"\n',
        "include/tarn/host/Api.h": '#include "engine/Runtime.h"\n',
        "Host.cc": '#include "tarn/host/Host.h"\n#include "repl/Repl.h"\n#include <v8.h>\n',
    }
    headers = ["engine/Runtime.h", "console/Console.h", "script/ScriptApi.h",
               "script/Modules.h", "repl/Repl.h", "debugger/Server.h"]
    root = tempfile.mkdtemp(prefix="check_includes_")
    try:
        for rel in headers:
            os.makedirs(os.path.dirname(os.path.join(root, rel)), exist_ok=True)
            open(os.path.join(root, rel), "w").close()
        for rel, text in cases.items():
            os.makedirs(os.path.dirname(os.path.join(root, rel)), exist_ok=True)
            with open(os.path.join(root, rel), "w") as f:
                f.write(text)
        found = check(root)
    finally:
        shutil.rmtree(root)
    expected = [
        "console/Console.cc:1: console/ includes script/",
        "engine/Runtime.cc:1: engine/ includes console/",
        "include/tarn/host/Api.h:1: public/ includes engine/",
        "debugger/Server.cc:1: debugger/ includes script/",
        "repl/Repl.cc:1: repl/ includes debugger/",
        'script/Modules.cc:1: includes "tarn/host/Host.h"',
    ]
    ok = len(found) == len(expected)
    for want in expected:
        if not any(problem.startswith(want) for problem in found):
            print("self-test: not reported: " + want)
            ok = False
    if not ok:
        print("self-test: reported:\n  " + "\n  ".join(found))
        return 1
    print("self-test: all %d broken rules reported, nothing else" % len(expected))
    return 0


def main():
    if len(sys.argv) == 2 and sys.argv[1] == "--self-test":
        return self_test()
    if len(sys.argv) != 2 or not os.path.isdir(sys.argv[1]):
        print(__doc__, file=sys.stderr)
        return 2
    problems = check(sys.argv[1])
    for problem in problems:
        print(problem)
    if problems:
        print("%d include lines run against the host's layers" % len(problems))
        return 1
    print("include lines of %s run one way" % sys.argv[1])
    return 0


if __name__ == "__main__":
    sys.exit(main())
