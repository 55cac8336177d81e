#!/usr/bin/env python3
"""Which conditions of the sources no test has shown to matter by themselves (modified
condition/decision coverage), from what a build with g++'s -fcondition-coverage has counted.

A condition is one operand of && and || or all of an if, a loop or a choice. It is shown for an
outcome when it alone brought the decision about. What objects count of the same line, as of a
function in a header, is put together. A condition that is not shown has to be in the list of
exceptions, as "name => reason"; an exception that is shown or gone fails as well."""

import argparse
import collections
import json
import pathlib
import re
import subprocess
import sys

LIST = pathlib.Path(__file__).resolve().parent / "exceptions.txt"
# What is asked about, as paths from the root of the tree.
SCOPE = (r"src/transcript/\w+\.(cpp|h)",
         r"src/session/(programsession|programrun|programrun_input|sessionreaper)\.(cpp|h)",
         r"src/widgets/(paragraph\w+|blockpresentation|draftpresentation)\.(cpp|h)",
         r"src/textlayout/escapedisplay\.(cpp|h)")


def function_of(demangled):
    """The name of a function without its types, and of a lambda the function around it."""
    name, before = demangled.replace("(anonymous namespace)::", ""), None
    while before != name:
        before, name = name, re.sub(r"<[^<>]*>", "", name)
    return name.split("(", maxsplit=1)[0].split(" ")[-1].removeprefix("tarn::console::")


def conditions_written(lines, line):
    """How many conditions stand in the statement that ends, or whose decision ends, on a line. The
    compiler adds others: for what to destroy, and in functions that it writes."""
    def code(number):
        return re.sub(r"//.*", "", lines[number]).strip()

    first = line - 1
    while first > 0 and not re.search(r"[;{}]$|^$", code(first - 1)):
        first -= 1
    text = " ".join(code(number) for number in range(first, line))
    if line < len(lines) and code(line).startswith("?"):
        text += " ?"
    # Not what is a reference to a temporary.
    joints = len(re.findall(r"\s&&\s(?!\w+[,)]\s*$)|\|\|", text))
    decisions = len(re.findall(r"\b(?:if|while|for)\b|\?", text))
    return joints + max(decisions, min(joints, 1))


class Count:
    """What is known of the conditions of one decision."""

    def __init__(self, terms):
        self.terms = terms
        everything = {(term, outcome) for term in range(terms) for outcome in ("true", "false")}
        self.missing = everything
        self.shown = set()
        self.everything = everything

    def add(self, condition):
        missing = {(term, "true") for term in condition["not_covered_true"]}
        missing |= {(term, "false") for term in condition["not_covered_false"]}
        self.missing = self.missing & missing


def add_notes(counts, notes, root):
    """Adds what gcov says of one object."""
    for file in notes["files"]:
        path = pathlib.Path(notes.get("current_working_directory", "."), file["file"]).resolve()
        if not path.is_relative_to(root):
            continue
        name = str(path.relative_to(root))
        if not any(re.fullmatch(each, name) for each in SCOPE):
            continue
        names = {each["name"]: function_of(each["demangled_name"]) for each in file["functions"]}
        for line in file["lines"]:
            function = names.get(line.get("function_name"), "")
            for place, condition in enumerate(line.get("conditions", [])):
                terms = condition["count"] // 2
                key = (name, line["line_number"], function, place, terms)
                counts.setdefault(key, Count(terms)).add(condition)


def read_counts(build, root):
    counts = {}
    for path in sorted(build.rglob("*.gcda")):
        done = subprocess.run(["gcov", "--json-format", "--conditions", "--stdout", path],
                              capture_output=True, check=False)
        if done.returncode != 0:
            raise SystemExit(f"{path}: {done.stderr.decode()}This was built anew: run the tests.")
        for text in done.stdout.decode().splitlines():
            add_notes(counts, json.loads(text), root)
    return counts


def written(counts, root):
    """The counts of decisions that stand in the sources, and the text of their lines."""
    sources, kept, taken = {}, {}, collections.Counter()
    # What has several conditions was written.
    for key, count in sorted(counts.items(), key=lambda each: (-each[0][-1], each[0])):
        file, line, function, _, terms = key
        if file not in sources:
            sources[file] = (root / file).read_text(encoding="utf-8").splitlines()
        taken[file, line, function] += terms
        if taken[file, line, function] <= conditions_written(sources[file], line):
            kept[key] = count, sources[file][line - 1].strip()
    return dict(sorted(kept.items()))


def gaps(kept):
    """Pairs of a name, which lasts while its line does, and a place."""
    seen, found = collections.Counter(), []
    for (file, line, function, _, terms), (count, text) in kept.items():
        for term, outcome in sorted(count.missing):
            key = f"{file}: {function}: {text}: {term + 1} of {terms} never {outcome}"
            seen[key] += 1
            found.append((key if seen[key] == 1 else f"{key} #{seen[key]}", f"{file}:{line}"))
    return found


def read_exceptions(path):
    exceptions = {}
    for line in path.read_text(encoding="utf-8").splitlines():
        if line and not line.startswith("#"):
            key, arrow, reason = line.partition(" => ")
            if not arrow or not reason.strip():
                raise SystemExit(f"{path.name}: no reason: {line}")
            exceptions[key] = reason
    return exceptions


def judge(counts, root, exceptions):
    """Tells of what is not as it should be; returns whether all is."""
    kept = written(counts, root)
    found = gaps(kept)
    good = bool(kept)
    for key, place in found:
        if key not in exceptions:
            good = False
            print(f"{place}: not shown to matter: {key}")
    for key in exceptions.keys() - {key for key, _ in found}:
        good = False
        print(f"in the list of exceptions, and shown or gone: {key}")
    rooms = collections.defaultdict(lambda: [0, 0, 0])
    for (file, *_), (count, _) in kept.items():
        room = rooms[str(pathlib.PurePath(file).parent)]
        for total in (room, rooms["all"]):
            total[0] += len(count.everything)
            total[1] += len(count.missing)
    for key, _ in found:
        if key in exceptions:
            rooms[str(pathlib.PurePath(key.split(":")[0]).parent)][2] += 1
            rooms["all"][2] += 1
    print(f"\n{'folder':<18}{'outcomes':>9}{'shown':>7}{'with a reason':>15}{'open':>6}")
    for room, (outcomes, missing, reasons) in sorted(rooms.items(), key=lambda r: (r[0] == "all", r)):
        print(f"{room:<18}{outcomes:>9}{outcomes - missing:>7}{reasons:>15}{missing - reasons:>6}")
    return good


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n\n", maxsplit=1)[0])
    parser.add_argument("build", type=pathlib.Path)
    parser.add_argument("--exceptions", type=pathlib.Path, default=LIST)
    options = parser.parse_args()
    root = pathlib.Path.cwd().resolve()
    counts = read_counts(options.build, root)
    sys.exit(0 if judge(counts, root, read_exceptions(options.exceptions)) else 1)


if __name__ == "__main__":
    main()
