#!/usr/bin/env python3
"""Checks that the sources include only what the picture in docs/architecture.md lets them include:
the arrows between the folders of src and the exceptions that it names, each of them in use; and
that no two files need each other, on whatever way round. The sources of a class count as one file:
its header, the source of that name, and those that add a part to the name (transcript_queries.cpp)."""

import argparse
import pathlib
import re
import sys

# The picture is a fenced block of its own language, in which these lines count:
#   folder       -> folder, folder         may include the folders
#   folder       -> folder/header.h        may include that header, an exception
#   folder       -> nothing
ARROW = re.compile(r"^(\w+)\s+->\s+([^\s,]+(?:,\s*[^\s,]+)*)")
INCLUDE = re.compile(r'^\s*#\s*include\s*(?:"([^"]+)"|<([^>]+)>)')


def read_picture(path):
    """The arrows of the picture, as {folder: set of folders and headers}."""
    block = re.search(r"^```directions\n(.*?)^```", path.read_text(encoding="utf-8"),
                      re.MULTILINE | re.DOTALL)
    if not block:
        sys.exit(f"{path} has no block ```directions")
    picture = {}
    for line in block.group(1).splitlines():
        arrow = ARROW.match(line)
        if arrow:
            targets = set(re.split(r",\s*", arrow.group(2))) - {"nothing"}
            picture.setdefault(arrow.group(1), set()).update(targets)
    return picture


def read_includes(src):
    """The (file, line, included path) of everything that is included between quotation marks, and
    of the project's own headers between angle brackets."""
    for path in sorted(src.rglob("*")):
        if path.suffix not in (".cpp", ".h"):
            continue
        for number, line in enumerate(path.read_text(encoding="utf-8").splitlines(), start=1):
            include = INCLUDE.match(line)
            if not include:
                continue
            quoted, bracketed = include.groups()
            if bracketed and (src / bracketed).is_file():
                yield path.relative_to(src), number, bracketed
            elif quoted and not quoted.endswith(".moc"):
                yield path.relative_to(src), number, quoted


def folder_of(path):
    return str(path).partition("/")[0]


def unit_of(path, src):
    """The name that a file shares with the other files of its class."""
    stem = path.with_suffix("")
    while not (src / stem).with_suffix(".h").exists() and "_" in stem.name:
        stem = stem.with_name(stem.name.rpartition("_")[0])
    return str(stem)


def wrong_arrows(src, picture, includes):
    used = set()
    for path, number, included in includes:
        here, there = folder_of(path), folder_of(included)
        where = f"{src / path}:{number}: "
        if not (src / included).exists():
            yield where + f"there is no {src / included}"
        elif here == there:
            continue
        elif here not in picture:
            yield where + f"{here} is not in the picture"
        elif there in picture[here] or included in picture[here]:
            used |= {(here, there), (here, included)}
        else:
            yield where + f"{here} must not include {included}"
    for here, targets in picture.items():
        for target in sorted(targets):
            # A folder without sources has no arrows yet.
            exists = (src / here).exists() and (src / folder_of(target)).exists()
            if exists and (here, target) not in used:
                yield f"the picture has an arrow that no source uses: {here} -> {target}"


def circles(src, includes):
    """Each circle once, as the files on the way round."""
    edges = {}
    for path, _, included in includes:
        here, there = unit_of(path, src), unit_of(pathlib.Path(included), src)
        if here != there:
            edges.setdefault(here, set()).add(there)
    done, way, found = set(), [], []

    def walk(unit):
        if unit in way:
            found.append(way[way.index(unit):] + [unit])
        elif unit not in done:
            way.append(unit)
            for other in sorted(edges.get(unit, ())):
                walk(other)
            way.pop()
            done.add(unit)

    for unit in sorted(edges):
        walk(unit)
    return found


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--src", type=pathlib.Path, default=pathlib.Path("src"),
                        help="the folder of the sources (default: %(default)s)")
    parser.add_argument("--picture", type=pathlib.Path,
                        default=pathlib.Path("docs/architecture.md"),
                        help="the page with the picture (default: %(default)s)")
    options = parser.parse_args()
    includes = list(read_includes(options.src))
    if not includes:
        sys.exit(f"{options.src} has no sources")
    problems = list(wrong_arrows(options.src, read_picture(options.picture), includes))
    problems += ["circle: " + " -> ".join(way) for way in circles(options.src, includes)]
    for problem in problems:
        print(problem)
    sys.exit(1 if problems else 0)


if __name__ == "__main__":
    main()
