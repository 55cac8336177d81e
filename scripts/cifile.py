#!/usr/bin/env python3
"""Checks a workflow file of a public CI service, which cannot run here: that it is YAML of the right
structure, and that the scripts and presets it names exist in the project."""

import argparse
import itertools
import json
import os
import pathlib
import re
import shlex
import sys

import yaml

JOB_KEYS = {"name", "runs-on", "needs", "strategy", "container", "env", "steps", "timeout-minutes",
            "continue-on-error"}
STEP_KEYS = {"name", "uses", "with", "run", "env"}
EXPRESSION = re.compile(r"\$\{\{\s*(.*?)\s*\}\}")


class Faults(list):
    """What is wrong, each with its place."""

    def expect(self, condition, place, message):
        if not condition:
            self.append(f"{place}: {message}")
        return bool(condition)


class UniqueLoader(yaml.SafeLoader):
    """YAML lets the last of two equal keys win, in silence."""

    def construct_mapping(self, node, deep=False):
        keys = [self.construct_object(key, deep=True) for key, _ in node.value]
        twice = sorted({str(key) for key in keys if keys.count(key) > 1})
        if twice:
            raise yaml.constructor.ConstructorError(
                None, None, f"twice the same key: {', '.join(twice)}", node.start_mark)
        return super().construct_mapping(node, deep)


def combinations(matrix):
    """Every choice of one value for each name of the matrix."""
    names = list(matrix)
    for values in itertools.product(*[matrix[name] for name in names]):
        yield dict(zip(names, values))


def filled_in(text, choice, faults, place):
    """The text with the values of the matrix; what is compared to them is left alone."""
    def value(match):
        name = match.group(1)
        if not name.startswith("matrix."):
            return match.group()
        key = name.removeprefix("matrix.").split()[0]
        faults.expect(key in choice, place, f"the matrix has no {key}")
        return str(choice.get(key, ""))

    return EXPRESSION.sub(value, str(text))


def check_command(line, root, presets, faults, place):
    """A command is a script of the project, executable, with presets that exist."""
    words = shlex.split(line)
    script = root / words[0]
    if not faults.expect(words[0].startswith("./") and script.is_file() and os.access(script, os.X_OK),
                         place, f"{words[0]} is no script of the project"):
        return
    if script.name == "test.sh" and len(words) > 1:
        faults.expect(words[1] in presets, place, f"there is no preset {words[1]} with tests")


def check_step(step, choice, root, presets, faults, place):
    if not faults.expect(isinstance(step, dict), place, "is no step"):
        return
    faults.expect(set(step) <= STEP_KEYS, place, f"unknown: {sorted(set(step) - STEP_KEYS)}")
    faults.expect(("run" in step) != ("uses" in step), place, "either run or uses")
    if "uses" in step:
        faults.expect(re.fullmatch(r"[\w.-]+/[\w./-]+@[\w.-]+", step["uses"]), place,
                      f"{step['uses']} has no version")
    for line in filled_in(step.get("run", ""), choice, faults, place).splitlines():
        check_command(line, root, presets, faults, place)


def check_job(name, job, root, presets, faults):
    if not faults.expect(isinstance(job, dict), name, "is no job"):
        return
    faults.expect(set(job) <= JOB_KEYS, name, f"unknown: {sorted(set(job) - JOB_KEYS)}")
    for key, kind in [("runs-on", str), ("timeout-minutes", int), ("container", dict), ("steps", list)]:
        faults.expect(isinstance(job.get(key), kind), name, f"{key} is missing or of another kind")
    matrix = job.get("strategy", {}).get("matrix", {})
    for key, values in matrix.items():
        faults.expect(isinstance(values, list) and values, name, f"{key} of the matrix is no list")
    if any(not isinstance(values, list) for values in matrix.values()):
        return
    for choice in combinations(matrix):
        place = " ".join([name, *map(str, choice.values())])
        image = filled_in((job.get("container") or {}).get("image", ""), choice, faults, place)
        faults.expect(re.fullmatch(r"debian:\w+", image), place, f"{image!r} is no Debian")
        filled_in(job.get("name", ""), choice, faults, place)
        for number, step in enumerate(job.get("steps") or [], 1):
            check_step(step, choice, root, presets, faults, f"{place}, step {number}")


def check_file(path, root):
    faults = Faults()
    try:
        content = yaml.load(path.read_text(encoding="utf-8"), UniqueLoader)
    except yaml.YAMLError as error:
        return [str(error)]
    if not isinstance(content, dict):
        return ["is no mapping"]
    # YAML reads the word "on" as true.
    faults.expect(isinstance(content.get(True), dict), "on", "is missing")
    faults.expect(set(content) <= {"name", True, "permissions", "env", "jobs"}, "file", "unknown keys")
    presets = [preset["name"] for preset
               in json.loads((root / "CMakePresets.json").read_text())["testPresets"]
               if not preset.get("hidden")]
    jobs = content.get("jobs")
    if faults.expect(isinstance(jobs, dict) and jobs, "jobs", "are missing"):
        for name, job in jobs.items():
            check_job(name, job, root, presets, faults)
    return faults


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("file", nargs="?", type=pathlib.Path,
                        help="default: .github/workflows/tests.yml")
    parser.add_argument("--root", type=pathlib.Path,
                        default=pathlib.Path(__file__).resolve().parent.parent,
                        help="the project (default: this one)")
    options = parser.parse_args()
    path = options.file or options.root / ".github/workflows/tests.yml"
    faults = check_file(path, options.root)
    for fault in faults:
        print(f"{path.name}: {fault}")
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())
