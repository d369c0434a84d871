#!/usr/bin/env python3
"""Writes the script API's declarations, reference and help texts from the
bridge's vocabulary list and the facts of each method, so that none of them
can drift from what the binding installs.

    generate_api.py --def ScriptInterface.def --facts ScriptInterface.facts
                    --globals globals.d.ts
                    [--dts OUT.d.ts] [--markdown OUT.md] [--help-header OUT.h]
                    [--check-markdown docs/api.md]

--check-markdown compares the reference the sources give with a committed
copy and fails, naming the first differing line, when the copy is stale.
"""
import argparse
import re
import sys
import textwrap

AREAS = [
    ("time", "Time and date"),
    ("apps", "Apps, memory and files"),
    ("tv", "Power, TV state and Bluetooth"),
    ("display", "Display, capture and annotations"),
    ("events", "Events, subscriptions and D-Bus"),
    ("frame", "Window methods kept for old scripts"),
]

CONSTANT_GROUPS = [
    ("APP_TYPE_", "NB_APP_TYPE", "Kinds of application (the capture option \"app_type\")"),
    ("MODE_", "NB_MODE", "What a capture takes (the capture option \"cpature_mode\")"),
    ("COMP_TYPE_", None, "Image compression of a capture (the capture option \"comp_type\")"),
    ("ON_FS_", None, "Codes of the home screen's events (tarn.on(\"event\"), after "
                     "\"registerRecentChanged\")"),
]

FIELDS = ("sig", "param", "doc", "answer", "fails", "events", "setup", "example", "output",
          "field")


class Failure(Exception):
    pass


def read_vocabulary(path):
    """[('method', place, name, handler, area) | ('constant', name, value)] in binding order."""
    items = []
    with open(path, encoding="utf-8") as f:
        for number, line in enumerate(f, 1):
            m = re.match(r'^QD_(METHOD|PENDING)\((\d+), "([^"]+)", (\w+), (\w+)\)', line)
            if m:
                if m.group(1) == "METHOD":
                    items.append(("method", int(m.group(2)), m.group(3), m.group(4),
                                  m.group(5)))
                continue
            m = re.match(r"^QD_CONSTANT\((\w+), (-?\d+)\)", line)
            if m:
                items.append(("constant", m.group(1), int(m.group(2))))
            elif line.startswith("QD_"):
                raise Failure("%s:%d: a line of the list that is not understood" %
                              (path, number))
    return items


def read_facts(path):
    """(methods by name, records in order, constants by name): each entry a
    dict of lists by field."""
    methods, records, constants = {}, [], {}
    current = None
    with open(path, encoding="utf-8") as f:
        for number, raw in enumerate(f, 1):
            line = raw.rstrip("\n")
            if not line.strip() or line.lstrip().startswith("#"):
                continue
            where = "%s:%d" % (path, number)
            m = re.match(r"^(method|record|constant) (\w+)$", line)
            if m:
                current = {"name": m.group(2), "where": where}
                if m.group(1) == "record":
                    records.append(current)
                    continue
                table = methods if m.group(1) == "method" else constants
                if m.group(2) in table:
                    raise Failure("%s: %s is described twice" % (where, m.group(2)))
                table[m.group(2)] = current
                continue
            m = re.match(r"^  (\w+)(?: ([\w?]+))?: ?(.*)$", line)
            if not m or current is None or m.group(1) not in FIELDS:
                raise Failure("%s: not an entry line: %s" % (where, line))
            key, word, value = m.group(1), m.group(2), m.group(3)
            if key in ("param", "field"):
                value = (word, value)
            elif word is not None:
                raise Failure("%s: %s takes no name" % (where, key))
            current.setdefault(key, []).append(value)
    return methods, records, constants


def check_facts(vocabulary, methods, records, constants):
    bound = [item[2] for item in vocabulary if item[0] == "method"]
    for name in bound:
        if name not in methods:
            raise Failure("%s is bound but has no facts" % name)
    for name, entry in methods.items():
        if name not in bound:
            raise Failure("%s: %s is not a bound method" % (entry["where"], name))
        for key in ("sig", "doc", "answer", "fails", "example", "output"):
            if key not in entry:
                raise Failure("%s: %s has no %s" % (entry["where"], name, key))
        names = set()
        for sig in entry["sig"]:
            names.update(re.findall(r"(\w+)\??: ", sig.split("=>")[0]))
        for word, _ in entry.get("param", []):
            if word not in names:
                raise Failure("%s: %s describes no argument %s" % (entry["where"], name, word))
    named = [item[1] for item in vocabulary if item[0] == "constant"]
    for name in named:
        if "doc" not in constants.get(name, {}):
            raise Failure("the constant %s has no doc" % name)
    for name, entry in constants.items():
        if name not in named:
            raise Failure("%s: %s is not a constant of the list" % (entry["where"], name))
    for record in records:
        if "field" not in record or "doc" not in record:
            raise Failure("%s: record %s needs doc and fields" % (record["where"],
                                                                  record["name"]))


def para(entry, key):
    return " ".join(entry.get(key, []))


# --- declarations -------------------------------------------------------------

def qualified(sig, records):
    for record in records:
        sig = re.sub(r"\b%s\b" % record["name"], "QDUtil." + record["name"], sig)
    return sig


def comment(lines, indent):
    body = []
    for line in lines:
        line = line.replace("*/", "*\\/")  # a comment's text cannot end it
        wrapped = textwrap.wrap(line, 96 - len(indent), break_on_hyphens=False) or [""]
        body.extend(wrapped)
    out = [indent + "/**"]
    out += [(indent + " * " + line).rstrip() for line in body]
    out.append(indent + " */")
    return out


def method_comment(entry):
    lines = [para(entry, "doc")]
    for word, text in entry.get("param", []):
        lines.append("@param %s %s" % (word, text))
    answer = "@returns " + para(entry, "answer") + "; on failure: " + para(entry, "fails")
    lines.append(answer)
    if "events" in entry:
        lines.append("Then: " + para(entry, "events"))
    lines.append("@example " + para(entry, "example"))
    return lines


def declarations(vocabulary, methods, records, constants, globals_text):
    out = ["// The script API of tarn-run and the QDUtil bridge, for editors and the",
           "// TypeScript checker. Generated from the bridge's vocabulary list: do not edit.",
           "// Print it with `tarn-run --types > qdutil.d.ts`.", ""]
    out += comment(["The TV utility class: one object per construction, all backed by the "
                    "one bridge. Method names are case-sensitive and some are irregular on "
                    "purpose (\"powerStanby\", \"registEXTRA\", \"SetXPropertyCover\"). A "
                    "failed platform call answers the method's own neutral value; nothing "
                    "is thrown for it."], "")
    out.append("declare class QDUtil {")
    out.append("  constructor();")
    for item in vocabulary:
        if item[0] == "method":
            entry = methods[item[2]]
            out.append("")
            out += comment(method_comment(entry), "  ")
            for sig in entry["sig"]:
                out.append("  %s%s;" % (item[2], qualified(sig, records)))
        else:
            out += comment([constant_doc(item[1], constants)], "  ")
            out.append("  readonly %s: %d;" % (item[1], item[2]))
    out.append("}")
    out.append("")
    out.append("declare namespace QDUtil {")
    for record in records:
        out += comment([para(record, "doc")], "  ")
        out.append("  interface %s {" % record["name"])
        for word, text in record["field"]:
            kind, _, meaning = text.partition(" -- ")
            out += comment([meaning], "    ")
            out.append("    %s: %s;" % (word, kind))
        out.append("  }")
    codes = " | ".join(str(item[2]) for item in vocabulary
                       if item[0] == "constant" and item[1].startswith("ON_FS_"))
    out += comment(["A code of tarn.on(\"event\"): the ON_FS_ constants."], "  ")
    out.append("  type HomeScreenEventCode = %s;" % codes)
    out.append("}")
    out.append("")
    out.append(globals_text.rstrip("\n"))
    return "\n".join(out) + "\n"


def constant_doc(name, constants):
    for prefix, count, text in CONSTANT_GROUPS:
        if name.startswith(prefix) or name == count:
            return "%s: %s." % (text, para(constants[name], "doc"))
    raise Failure("constant %s belongs to no group" % name)


# --- reference ----------------------------------------------------------------

def example_block(entry):
    code = ["const q = new QDUtil();"] + entry.get("setup", []) + entry["example"]
    return ["```js", *code, "```", "", "```text output", *entry["output"], "```"]


def method_markdown(item, entry, records):
    place, name, area = item[1], item[2], item[4]
    out = ["### %s" % name, ""]
    for sig in entry["sig"]:
        out.append("`q.%s%s`  " % (name, sig))
    out.append("Place %d of the table." % place)
    out += ["", para(entry, "doc"), ""]
    for word, text in entry.get("param", []):
        out.append("- `%s`: %s" % (word, text))
    out.append("- Answers: %s." % para(entry, "answer"))
    out.append("- Fails: %s." % para(entry, "fails"))
    if "events" in entry:
        out.append("- Then: %s." % para(entry, "events"))
    out.append("")
    out += example_block(entry)
    out.append("")
    return out


def reference(vocabulary, methods, records, constant_facts):
    bound = [item for item in vocabulary if item[0] == "method"]
    constants = [item for item in vocabulary if item[0] == "constant"]
    out = ["# The QDUtil script API", "",
           "Every method and constant of the `QDUtil` class, by area and in binding",
           "order within each area. This page is generated from",
           "`src/bridge/ScriptInterface.def` and `src/bridge/ScriptInterface.facts`",
           "(`tools/apidoc/generate_api.py`); the same source gives the type",
           "declarations (`tarn-run --types`) and the prompt's `.help NAME`. Each",
           "example runs as shown against the simulated TV, with its built-in state",
           "(`docs.api`).", "",
           "A method that meets a platform failure answers its neutral value (given",
           "under Fails) and writes a log line; only wrong receivers and arguments whose",
           "conversion throws give a script error. Arguments are converted by the",
           "language's rules: numbers are truncated toward zero, a missing argument is",
           "`undefined`.", ""]
    out.append("| Area | Methods |")
    out.append("|---|---|")
    for key, title in AREAS:
        names = [item[2] for item in bound if item[4] == key]
        anchor = re.sub(r"[^a-z0-9 -]", "", title.lower()).replace(" ", "-")
        out.append("| [%s](#%s) | %d |" % (title, anchor, len(names)))
    out.append("| [Constants](#constants) | %d |" % len(constants))
    out.append("| [Records](#records) | %d |" % len(records))
    out.append("")
    for key, title in AREAS:
        out += ["## " + title, ""]
        for item in bound:
            if item[4] == key:
                out += method_markdown(item, methods[item[2]], records)
    out += ["## Constants", "",
            "Numbers on every `QDUtil` object, read-only in effect (assigning a number is",
            "ignored), between \"registEXTRA\" and \"changeNormal\" in the table.", ""]
    for prefix, count, text in CONSTANT_GROUPS:
        out += [text + ":", "", "| Name | Value | Meaning |", "|---|---|---|"]
        for item in constants:
            if item[1].startswith(prefix) or item[1] == count:
                out.append("| `%s` | %d | %s |" % (item[1], item[2],
                                                     para(constant_facts[item[1]], "doc")))
        out.append("")
    out += ["```js", "const q = new QDUtil();",
            "console.log(q.NB_MODE, q.COMP_TYPE_JPEG, q.ON_FS_BROWSER_NOTIFY);", "```", "",
            "```text output", "5 1 6", "```", "", "## Records", ""]
    for record in records:
        out += ["### " + record["name"], "", para(record, "doc"), ""]
        out += ["| Member | Type | Meaning |", "|---|---|---|"]
        for word, text in record["field"]:
            kind, _, meaning = text.partition(" -- ")
            out.append("| `%s` | `%s` | %s |" % (word, kind.replace("|", "\\|"), meaning))
        out.append("")
    return "\n".join(out)


# --- help texts ---------------------------------------------------------------

def help_text(item, entry):
    lines = ["q.%s%s" % (item[2], sig) for sig in entry["sig"]]
    lines.append("  Place %d of the table; %s." % (item[1], dict(AREAS)[item[4]].lower()))
    wrap = lambda text, lead="  ": textwrap.wrap(text, 78, initial_indent=lead, break_on_hyphens=False,
                                                  subsequent_indent="    ")
    lines += wrap(para(entry, "doc"))
    for word, text in entry.get("param", []):
        lines += wrap("%s: %s" % (word, text))
    lines += wrap("Answers: " + para(entry, "answer"))
    lines += wrap("Fails: " + para(entry, "fails"))
    if "events" in entry:
        lines += wrap("Then: " + para(entry, "events"))
    for setup in entry.get("setup", []):
        lines.append("  Example: " + setup)
    lines.append(("           " if "setup" in entry else "  Example: ") + para(entry, "example"))
    for output in entry["output"]:
        lines.append("    // " + output)
    return "\n".join(lines) + "\n"


def cxx_string(text):
    escaped = text.replace("\\", "\\\\").replace('"', '\\"').replace("\n", "\\n")
    return '"%s"' % escaped


def constant_help(item, constants):
    lines = ["q.%s = %d" % (item[1], item[2]), "  A constant, read-only in effect."]
    lines += textwrap.wrap(constant_doc(item[1], constants), 78, initial_indent="  ",
                           subsequent_indent="    ", break_on_hyphens=False)
    return "\n".join(lines) + "\n"


def help_header(vocabulary, methods, constants):
    out = ["// The prompt's reference text of each QDUtil method and constant. Generated by",
           "// tools/apidoc/generate_api.py: do not edit.",
           "#pragma once", "", "namespace tarn {", "namespace host {", "",
           "struct ApiHelpEntry {", "  const char* name;", "  const char* text;", "};", "",
           "// In binding order.", "constexpr ApiHelpEntry kApiHelp[] = {"]
    for item in vocabulary:
        if item[0] == "method":
            name, text = item[2], help_text(item, methods[item[2]])
        else:
            name, text = item[1], constant_help(item, constants)
        out.append("    {%s,\n     %s}," % (cxx_string(name), cxx_string(text)))
    out += ["};", "", "}  // namespace host", "}  // namespace tarn", ""]
    return "\n".join(out)


def write(path, text):
    # Unchanged outputs keep their time, so nothing that depends on them rebuilds.
    try:
        with open(path, encoding="utf-8") as f:
            if f.read() == text:
                return
    except OSError:
        pass
    with open(path, "w", encoding="utf-8") as f:
        f.write(text)


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--def", dest="vocabulary", required=True)
    parser.add_argument("--facts", required=True)
    parser.add_argument("--globals", required=True)
    parser.add_argument("--dts")
    parser.add_argument("--markdown")
    parser.add_argument("--help-header")
    parser.add_argument("--check-markdown")
    args = parser.parse_args()
    try:
        vocabulary = read_vocabulary(args.vocabulary)
        methods, records, constants = read_facts(args.facts)
        check_facts(vocabulary, methods, records, constants)
        with open(args.globals, encoding="utf-8") as f:
            globals_text = f.read()
    except (Failure, OSError) as e:
        print("generate_api.py: %s" % e, file=sys.stderr)
        return 1
    if args.dts:
        write(args.dts, declarations(vocabulary, methods, records, constants, globals_text))
    text = reference(vocabulary, methods, records, constants)
    if args.markdown:
        write(args.markdown, text)
    if args.help_header:
        write(args.help_header, help_header(vocabulary, methods, constants))
    if args.check_markdown:
        with open(args.check_markdown, encoding="utf-8") as f:
            committed = f.read()
        if committed != text:
            old, new = committed.split("\n"), text.split("\n")
            line = next((i for i in range(min(len(old), len(new))) if old[i] != new[i]),
                        min(len(old), len(new)))
            print("%s is stale from line %d; regenerate it with\n"
                  "  cmake --build build --target api-doc" % (args.check_markdown, line + 1))
            return 1
        print("%s matches its sources" % args.check_markdown)
    return 0


if __name__ == "__main__":
    sys.exit(main())
