#!/usr/bin/env python3
"""Lengths of files and functions in C++ and script sources.

    tools/measure_lengths.py [--max-function N] [--max-file N] [--exempt PATH]... [PATH]...

Prints every file over --max-file lines and every function over
--max-function lines (default 150 and 700), longest first; with --all, every
function and file. Exits 1 when anything is over and not exempt.

A function is a brace block whose opening text ends in a parameter list (and
any qualifiers, a trailing return type or a constructor's initialisers) and
that no other function holds; its length runs from the first line of its
signature to its closing brace. Namespaces, classes, enums, `extern "C"`
blocks and data initialisers are containers, not functions. Lambdas and local
classes count towards the function that holds them. Comments, strings,
character literals and preprocessor lines are blanked out first.
"""

import argparse
import os
import re
import sys

SOURCE_SUFFIXES = (".cc", ".cpp", ".h", ".hpp", ".js", ".mjs")
CONTAINER = re.compile(r"^(?:template\s*<.*>\s*)?(?:namespace\b|(?:class|struct|union|enum)\b|extern\s*\"C\")")


def blank(text, script):
    """The text with comments, strings and preprocessor lines as spaces (newlines kept)."""
    out = []
    i, n = 0, len(text)
    line_start = True
    while i < n:
        c = text[i]
        if line_start and not script:
            j = i
            while j < n and text[j] in " \t":
                j += 1
            if j < n and text[j] == "#":
                # A preprocessor line, with its continuations.
                while j < n and text[j] != "\n":
                    j += 2 if text[j] == "\\" and j + 1 < n else 1
                out.append(re.sub(r"[^\n]", " ", text[i:j]))
                i = j
                continue
        line_start = False
        if text.startswith("//", i):
            j = text.find("\n", i)
            j = n if j < 0 else j
            out.append(" " * (j - i))
            i = j
        elif text.startswith("/*", i):
            j = text.find("*/", i + 2)
            j = n if j < 0 else j + 2
            out.append(re.sub(r"[^\n]", " ", text[i:j]))
            i = j
        elif not script and text.startswith('R"', i) and (i == 0 or not text[i - 1].isalnum()):
            m = re.match(r'R"([^(\s]*)\(', text[i:])
            if m:
                end = text.find(")" + m.group(1) + '"', i)
                j = n if end < 0 else end + len(m.group(1)) + 2
                out.append(re.sub(r"[^\n]", " ", text[i:j]))
                i = j
            else:
                out.append(c)
                i += 1
        elif c in "\"'" or (script and c == "`"):
            j = i + 1
            while j < n and text[j] != c and (c == "`" or text[j] != "\n"):
                j += 2 if text[j] == "\\" else 1
            j = min(j + 1, n)
            out.append('""' + re.sub(r"[^\n]", " ", text[i + 2 : j]) if j - i >= 2 else text[i:j])
            i = j
        else:
            out.append(c)
            if c == "\n":
                line_start = True
            i += 1
    return "".join(out)


def is_function_header(header):
    header = " ".join(header.split())
    if not header or CONTAINER.match(header):
        return False
    if re.search(r"(?:^|[^=!<>])=\s*$", header):  # data initialiser: x = {
        return False
    # Strip what may follow the parameter list.
    trimmed = re.sub(r"\s*->\s*[\w:<>,\s\*&]+$", "", header)
    trimmed = re.sub(r"(?:\s*\b(?:const|noexcept|override|final|mutable|volatile|async)\b|\s*&&?)*\s*$", "", trimmed)
    if trimmed.endswith(")") or trimmed.endswith("=>"):
        return True
    # A constructor's initialiser list: ... ) : a_(x), b_{y}
    return bool(re.search(r"\)\s*:\s*[\w:]+\s*[({]", header))


def functions(text, script):
    """(first line, last line, header) of each outermost function body."""
    clean = blank(text, script)
    found = []
    stack = []  # each: 'c' container, 'f' function, 'o' other (data, block)
    header_start = 0
    fn_start_line = None
    line = 1
    line_at = [0] * (len(clean) + 1)
    for i, c in enumerate(clean):
        line_at[i] = line
        if c == "\n":
            line += 1
    line_at[len(clean)] = line
    for i, c in enumerate(clean):
        if c == "{":
            inside_function = "f" in stack
            header = clean[header_start:i]
            if not inside_function and is_function_header(header):
                stack.append("f")
                first = header_start + (len(header) - len(header.lstrip()))
                fn_start_line = (line_at[first], header.strip())
            elif not inside_function and CONTAINER.match(" ".join(header.split())):
                stack.append("c")
            else:
                stack.append("o")
            header_start = i + 1
        elif c == "}":
            kind = stack.pop() if stack else "o"
            if kind == "f" and "f" not in stack and fn_start_line:
                found.append((fn_start_line[0], line_at[i], fn_start_line[1]))
                fn_start_line = None
            header_start = i + 1
        elif c == ";":
            header_start = i + 1
        elif c == ":" and not stack or (c == ":" and stack[-1] == "c"):
            # access labels (public:) end a header; '::' does not
            if clean[i - 1 : i + 1] != "::" and clean[i : i + 2] != "::":
                before = clean[header_start:i].strip()
                if before in ("public", "private", "protected"):
                    header_start = i + 1
    return found


def name_of(header):
    head = header.split("(")[0].split()
    return head[-1] if head else header[:40]


def sources(paths):
    for path in paths:
        if os.path.isfile(path):
            yield path
            continue
        for root, dirs, files in os.walk(path):
            dirs[:] = sorted(d for d in dirs if not d.startswith(".") and d != "third_party")
            for name in sorted(files):
                if name.endswith(SOURCE_SUFFIXES):
                    yield os.path.join(root, name)


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    parser.add_argument("--max-function", type=int, default=150)
    parser.add_argument("--max-file", type=int, default=700)
    parser.add_argument("--exempt", action="append", default=[],
                        help="a file whose length and functions are reported but not counted")
    parser.add_argument("--all", action="store_true", help="list every function and file")
    parser.add_argument("paths", nargs="*", default=["src", "tools"])
    args = parser.parse_args()
    exempt = {os.path.normpath(p) for p in args.exempt}

    over = 0
    rows = []
    for path in sources(args.paths):
        with open(path, encoding="utf-8", errors="replace") as f:
            text = f.read()
        lines = text.count("\n") + (0 if text.endswith("\n") or not text else 1)
        is_exempt = os.path.normpath(path) in exempt
        rows.append((lines, "file", path, "", is_exempt, lines > args.max_file))
        script = path.endswith((".js", ".mjs"))
        for first, last, header in functions(text, script):
            length = last - first + 1
            where = "%s:%d" % (path, first)
            rows.append((length, "function", where, name_of(header), is_exempt,
                         length > args.max_function))
    rows.sort(key=lambda r: -r[0])
    for length, kind, where, name, is_exempt, too_long in rows:
        if not (too_long or args.all):
            continue
        note = " (exempt)" if is_exempt else (" (too long)" if too_long else "")
        print("%6d %-8s %s %s%s" % (length, kind, where, name, note))
        if too_long and not is_exempt:
            over += 1
    if over:
        print("%d over the limits (function %d lines, file %d lines)"
              % (over, args.max_function, args.max_file), file=sys.stderr)
    return 1 if over else 0


if __name__ == "__main__":
    sys.exit(main())
