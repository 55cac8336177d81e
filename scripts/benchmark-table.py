#!/usr/bin/env python3
"""Prints what benchmarks have measured as one table, or beside what they measured of another commit."""

import argparse
import json
import pathlib
import statistics

# A row that costs so many times what it did is called worse.
NOTABLE = 1.1
HEADINGS = ("What", "ours", "reference", "ratio", "bar", "")
HEADINGS_BESIDE = ("What", "this commit", "the other", "ratio", "")


def figures_of(files):
    """The named figures of all files: a list of what was measured for each name, in order."""
    figures = {}
    for file in files:
        measured = json.loads(file.read_text(encoding="utf-8"))
        benchmark = measured["benchmark"].partition(":")[0]
        for figure in measured["figures"]:
            if "name" in figure:
                figures.setdefault((benchmark, figure["name"]), []).append(figure)
    return figures


def number(value):
    return f"{value:,.0f}" if value >= 1000 else f"{value:.3g}"


def amount(figure, key="value"):
    if key not in figure:
        return ""
    return f"{number(figure[key])} {figure.get('unit', '')}".strip()


def row_of(name, figure):
    if "value" not in figure:
        return name, "yes" if figure["met"] else "no", "", "", "yes", verdict(figure)
    bar = number(figure["bar"]) if "bar" in figure else ""
    if bar and "reference" not in figure:
        bar = f"{bar} {figure['unit']}"
    ratio = f"{figure['ratio']:.2f}" if "ratio" in figure else ""
    return name, amount(figure), amount(figure, "reference"), ratio, bar, verdict(figure)


def verdict(figure):
    return {None: "", True: "met", False: "MISSED"}[figure.get("met")]


def median_of(figures):
    return statistics.median(figure["value"] for figure in figures)


def row_beside(name, ours, theirs):
    """One row of a comparison."""
    if "value" not in ours[0]:
        words = ["yes" if all(figure["met"] for figure in side) else "no"
                 for side in (ours, theirs)]
        return name, *words, "", "WORSE" if words == ["no", "yes"] else ""
    unit = ours[0].get("unit", "")
    mine, other = median_of(ours), median_of(theirs)
    shown = [f"{number(value)} {unit}".strip() for value in (mine, other)]
    if not other:
        return name, *shown, "", "WORSE" if mine else ""
    ratio = mine / other
    remark = f"WORSE by {100 * (ratio - 1):.0f} %" if ratio > NOTABLE else ""
    return name, *shown, f"{ratio:.2f}", remark


def print_table(headings, groups):
    rows = [row for rows in groups.values() for row in rows]
    widths = [max(len(row[column]) for row in [headings, *rows])
              for column in range(len(headings))]

    def formed(row):
        cells = [row[0].ljust(widths[0])]
        cells += [cell.rjust(width) for cell, width in zip(row[1:-1], widths[1:-1])]
        return "  ".join([*cells, row[-1]]).rstrip()

    print(formed(headings))
    for benchmark, own in groups.items():
        print(f"\n{benchmark}")
        for row in own:
            print(formed(row))


def print_figures(figures):
    groups = {}
    for (benchmark, name), measured in figures.items():
        groups.setdefault(benchmark, []).append(row_of(name, measured[-1]))
    print_table(HEADINGS, groups)
    missed = [row for rows in groups.values() for row in rows if row[-1] == "MISSED"]
    print(f"\nBars missed: {len(missed)}" if missed else "\nAll bars met")


def print_comparison(ours, theirs):
    groups = {}
    for key in ours:
        if key in theirs:
            groups.setdefault(key[0], []).append(row_beside(key[1], ours[key], theirs[key]))
    print_table(HEADINGS_BESIDE, groups)
    worse = [row for rows in groups.values() for row in rows if row[-1]]
    print(f"\nRows worse by more than a tenth: {len(worse)}" if worse
          else "\nNo row worse by more than a tenth")
    for key in [key for key in ours if key not in theirs]:
        print(f"Only in this commit: {key[1]}")


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("results", nargs="+", type=pathlib.Path,
                        help="what benchmarks have written; the medians of what is there more often")
    parser.add_argument("--beside", nargs="+", type=pathlib.Path, default=None,
                        help="the same of another commit, to be compared with")
    arguments = parser.parse_args()
    figures = figures_of(arguments.results)
    if arguments.beside is None:
        print_figures(figures)
    else:
        print_comparison(figures, figures_of(arguments.beside))


if __name__ == "__main__":
    main()
