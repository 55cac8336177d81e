#!/usr/bin/env python3
"""Prints the longest source files and functions, the classes with most members, and how large they
usually are; fails when one is larger than a limit. Members are a class's functions, each overload
by itself, its data and its constants; not enumerators, types, friends and aliases. A class within a
class is counted by itself."""

import argparse
import pathlib
import re
import sys

# Sources of tests are lists of cases.
LIMITS = {
    "src": {"files": 400, "functions": 60, "classes": 50},
    "tests": {"files": 600, "functions": 60, "classes": 50},
}

UNITS = {"files": "lines", "functions": "lines", "classes": "members"}

PAIRS = {"(": ")", "[": "]", "{": "}"}
CLASS = re.compile(r"(?<!enum )\b(?:class|struct|union)\s+(?P<name>[A-Za-z_][\w:]*)[^;{}()=]*\{")
ACCESS = re.compile(r"(?:public|protected|private|Q_SIGNALS|signals)(?:\s+(?:Q_SLOTS|slots))?\s*:"
                    r"(?!:)")
MACRO = re.compile(r"(?:Q_OBJECT|Q_GADGET|Q_PROPERTY|Q_ENUM|Q_FLAG|Q_CLASSINFO|Q_INTERFACES"
                   r"|Q_DISABLE_COPY|Q_DISABLE_COPY_MOVE|Q_DECLARE_\w+)\b\s*(?=[^\s]|$)")
NO_MEMBER = re.compile(r"(?:using|typedef|friend|enum|static_assert|template\s*<[^;]*>\s*friend)\b")
OPERATOR = re.compile(r"\boperator\s*(?:\(\s*\)|\[\s*\]|[^\s\w(]+|[\w:<> ]+?[*&]*)\s*(?=\()")


def blank(text):
    """The text with blanks for comments, literals and preprocessor lines, lines kept."""
    pattern = re.compile(
        r'//[^\n]*|/\*.*?\*/|R"(?P<end>[^(\s]*)\(.*?\)(?P=end)"|"(?:\\.|[^"\\\n])*"'
        r"|(?<![0-9A-Fa-f])'(?:\\.|[^'\\\n])*'|^[ \t]*#(?:[^\n\\]|\\.|\\\n)*",
        re.DOTALL | re.MULTILINE)
    return pattern.sub(lambda match: re.sub(r"[^\n]", " ", match.group()), text)


def closing(text, start):
    """The place after the bracket that closes the one at the start."""
    depth = 0
    for place in range(start, len(text)):
        if text[place] in PAIRS:
            depth += 1
        elif text[place] in PAIRS.values():
            depth -= 1
            if depth == 0:
                return place + 1
    return len(text)


def outline(declaration):
    """The declaration with nothing between its brackets and without its template arguments."""
    text = OPERATOR.sub("operator_", declaration)
    result, place = "", 0
    while place < len(text):
        if text[place] in PAIRS:
            result += text[place] + PAIRS[text[place]]
            place = closing(text, place)
        else:
            result += text[place]
            place += 1
    result, longer = result.replace("->", " "), ""
    while result != longer:
        longer, result = result, re.sub(r"<[^<>]*>", " ", result)
    return result


def is_function(declaration):
    return "()" in outline(declaration).partition("=")[0].partition("{")[0]


def members_of(declaration):
    """How many members a declaration declares."""
    declaration = declaration.strip()
    if not declaration or NO_MEMBER.match(declaration):
        return 0
    head = outline(declaration)
    if re.match(r"(?:class|struct|union)\b", head):
        # A type within the class; a variable may follow its braces.
        return 1 if head.partition("{}")[2].strip(" ;\n") else 0
    if is_function(declaration):
        return 1
    return 1 + re.sub(r"=\s*[^,]*", "", head).count(",")


def declarations(body):
    """The declarations that stand in the body of a class, and where each begins."""
    place = start = 0
    while place < len(body):
        begin = body[start:place + 1].lstrip()
        if start == place or not begin:
            rest = re.compile(r"\s*").match(body, place).end()
            skip = ACCESS.match(body, rest)
            macro = MACRO.match(body, rest)
            if skip:
                place = start = skip.end()
                continue
            if macro:
                end = macro.end()
                place = start = closing(body, end) if body[end:end + 1] == "(" else end
                continue
            place = start = rest
            if place >= len(body):
                return
        if body[place] == "{":
            head = body[start:place]
            place = closing(body, place)
            after = body[place:].lstrip()[:1]
            is_type = re.match(r"\s*(?:class|struct|union|enum)\b", head)
            if not is_type and is_function(head) and after not in ("{", ",", ";"):
                yield start, body[start:place]
                start = place
        elif body[place] in "([":
            place = closing(body, place)
        elif body[place] == ";":
            yield start, body[start:place]
            place = start = place + 1
        else:
            place += 1


def line_of(text, place):
    return text.count("\n", 0, place) + 1


def class_bodies(text):
    """The (name, place, declarations) of each class; the declarations with their places."""
    for match in CLASS.finditer(text):
        begin = match.end()
        body = text[begin:closing(text, begin - 1) - 1]
        yield (match["name"], match.start(),
               [(begin + place, declaration) for place, declaration in declarations(body)])


def classes(path, text):
    """The (members, file, line, name) of each class of a file."""
    for name, place, found in class_bodies(text):
        members = sum(members_of(declaration) for _, declaration in found)
        yield members, path, line_of(text, place), name


def functions(path, text):
    """The (length, file, line, name) of each function of a formatted file: those whose braces stand
    in the first column, and those that are written within their class."""
    start, name = 0, ""
    lines = text.splitlines()
    for number, line in enumerate(lines, start=1):
        if line == "{":
            head = number - 1
            while head > 1 and lines[head - 1].startswith((" ", ")")):
                head -= 1
            start, name = head, lines[head - 1].partition("(")[0].split()[-1].lstrip("*&")
        elif line == "}" and start:
            yield number - start + 1, path, start, name
            start = 0
    for name, _, found in class_bodies(text):
        for place, declaration in found:
            head = declaration.partition("{")[0]
            if declaration.endswith("}") and is_function(head):
                function = outline(head).partition("(")[0].split()[-1]
                yield (declaration.count("\n") + 1, path, line_of(text, place),
                       f"{name}::{function}")


def summary(what, sizes):
    sizes = sorted(sizes)
    return (f"{len(sizes)} {what}: half of them up to {sizes[len(sizes) // 2]} {UNITS[what]}, "
            f"nine of ten up to {sizes[len(sizes) * 9 // 10]}, all up to {sizes[-1]}")


def measure(folder):
    """The sizes of everything in a folder, the largest first."""
    found = {what: [] for what in UNITS}
    for path in pathlib.Path(folder).rglob("*"):
        if path.suffix not in (".cpp", ".h"):
            continue
        text = path.read_text(encoding="utf-8")
        found["files"].append((len(text.splitlines()), path, 1, ""))
        text = blank(text)
        found["functions"] += functions(path, text)
        found["classes"] += classes(path, text)
    return {what: sorted(entries, reverse=True) for what, entries in found.items() if entries}


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--longest", type=int, default=5, metavar="N",
                        help="how many to name (default: %(default)s)")
    parser.add_argument("folders", nargs="*", default=list(LIMITS),
                        help="where to look (default: src tests); the limits are those of a folder "
                             "of that name, else of src")
    options = parser.parse_args()
    problems = []
    for folder in options.folders:
        limits = LIMITS.get(pathlib.Path(folder).name, LIMITS["src"])
        for what, entries in measure(folder).items():
            print(f"{folder}: " + summary(what, [entry[0] for entry in entries]))
            for size, path, line, name in entries[:options.longest]:
                print(f"  {size:5}  {path}" + (f":{line} {name}" if name else ""))
            limit = limits.get(what, sys.maxsize)
            problems += [f"{path}:{line} {name or 'the file'} has {size} {UNITS[what]}, {limit} are the limit"
                         for size, path, line, name in entries if size > limit]
    for problem in problems:
        print(problem)
    sys.exit(1 if problems else 0)


if __name__ == "__main__":
    main()
