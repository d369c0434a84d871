#!/usr/bin/env python3
"""Every path a guide names exists.

    check_paths.py DOC.md SOURCE_DIR

Checked: relative Markdown links (from the guide's folder), and names in
backticks that look like a file of the project: one with a "/" that starts
at a top folder of the tree (src/, tests/, ...), where "*" and "{a,b}" may
stand for several files, and a bare file name with a source suffix
(ScriptObject.cc), which must exist somewhere under the tree's source
folders. Exits 1 naming each one that does not.
"""
import glob
import os
import re
import sys

TOP = ("src/", "include/", "tests/", "tools/", "docs/", "bench/", "scripts/", "examples/",
       "cmake/")
SUFFIXES = (".cc", ".h", ".js", ".mjs", ".py", ".sh", ".def", ".md", ".cmake")
SOURCE_FOLDERS = ("src", "include", "tests", "tools", "bench")


def expand(pattern):
    """{a,b} alternatives expanded into plain glob patterns."""
    m = re.search(r"\{([^{}]*)\}", pattern)
    if not m:
        return [pattern]
    out = []
    for choice in m.group(1).split(","):
        out.extend(expand(pattern[: m.start()] + choice + pattern[m.end():]))
    return out


def exists(root, pattern):
    return all(glob.glob(os.path.join(root, p)) for p in expand(pattern))


def bare_names(root):
    names = set()
    for folder in SOURCE_FOLDERS:
        for _, dirs, files in os.walk(os.path.join(root, folder)):
            dirs[:] = [d for d in dirs if d != "third_party"]
            names.update(files)
    return names


def main():
    if len(sys.argv) != 3:
        print(__doc__, file=sys.stderr)
        return 2
    doc, root = sys.argv[1], sys.argv[2]
    with open(doc, encoding="utf-8") as f:
        text = f.read()
    names = bare_names(root)
    missing = []
    checked = 0
    for number, line in enumerate(text.split("\n"), 1):
        for link in re.findall(r"\]\(([^)#\s]+)(?:#[^)]*)?\)", line):
            if "://" in link:
                continue
            checked += 1
            if not os.path.exists(os.path.normpath(os.path.join(os.path.dirname(doc), link))):
                missing.append("%s:%d: link %s" % (doc, number, link))
        for quoted in re.findall(r"`([^`\s]+)`", line):
            name = quoted.rstrip(".,:;")
            if name.startswith(TOP):
                checked += 1
                if not exists(root, name):
                    missing.append("%s:%d: %s" % (doc, number, name))
            elif "/" not in name and name.endswith(SUFFIXES) and re.match(r"^[\w+-][\w.+-]*$", name):
                checked += 1
                if name not in names:
                    missing.append("%s:%d: %s (no such file in the tree)" % (doc, number, name))
    for problem in missing:
        print(problem)
    print("%d paths checked, %d missing" % (checked, len(missing)))
    return 1 if missing else 0


if __name__ == "__main__":
    sys.exit(main())
