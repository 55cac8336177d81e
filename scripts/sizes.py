#!/usr/bin/env python3
"""Prints the longest source files and functions, and how long they usually are: what grows should
be seen growing. Reads the braces of a formatted function, which stand in the first column."""

import argparse
import pathlib


def functions(path):
    """The (length, file, line, name) of each function of a file."""
    start, name = 0, ""
    lines = path.read_text(encoding="utf-8").splitlines()
    for number, line in enumerate(lines, start=1):
        if line == "{":
            head = number - 1
            while head > 1 and lines[head - 1].startswith((" ", ")")):
                head -= 1
            start, name = head, lines[head - 1].partition("(")[0].split()[-1].lstrip("*&")
        elif line == "}" and start:
            yield number - start + 1, path, start, name
            start = 0


def summary(what, lengths):
    lengths = sorted(lengths)
    return (f"{len(lengths)} {what}: half of them up to {lengths[len(lengths) // 2]} lines, "
            f"nine of ten up to {lengths[len(lengths) * 9 // 10]}, all up to {lengths[-1]}")


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--longest", type=int, default=5, metavar="N",
                        help="how many to name (default: %(default)s)")
    parser.add_argument("folders", nargs="*", default=["src", "tests"],
                        help="where to look (default: src tests)")
    options = parser.parse_args()
    for folder in options.folders:
        paths = [path for path in pathlib.Path(folder).rglob("*") if path.suffix in (".cpp", ".h")]
        files = sorted(((len(path.read_text(encoding="utf-8").splitlines()), path)
                        for path in paths), reverse=True)
        found = sorted((entry for path in paths for entry in functions(path)), reverse=True)
        print(f"{folder}: " + summary("files", [length for length, _ in files]))
        for length, path in files[:options.longest]:
            print(f"  {length:5}  {path}")
        print(f"{folder}: " + summary("functions", [entry[0] for entry in found]))
        for length, path, line, name in found[:options.longest]:
            print(f"  {length:5}  {path}:{line} {name}")


if __name__ == "__main__":
    main()
