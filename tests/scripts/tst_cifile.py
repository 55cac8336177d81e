#!/usr/bin/env python3
"""scripts/cifile.py: the project's file passes, and each fault in it is found."""

import pathlib
import subprocess
import sys
import tempfile
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]
SCRIPT = ROOT / "scripts/cifile.py"
FILE = ROOT / ".github/workflows/tests.yml"

# What is replaced, by what, and what is said of it.
FAULTS = {
    "no YAML": ("permissions:", "permissions: [", "while parsing"),
    "a key twice": ("permissions:\n", "name: Again\npermissions:\n", "twice the same key: name"),
    "no trigger": ("on:\n", "when:\n", "on: is missing"),
    "a script that is not there": ("./scripts/fuzz.sh", "./scripts/fuzzy.sh", "no script"),
    "a command that is none of ours": ("./scripts/package.sh", "make package", "no script"),
    "a preset that is not there": ("preset: [dev, clang]", "preset: [dev, clung]",
                                   "no preset clung"),
    "a preset without tests": ("preset: [dev, clang]", "preset: [release]", "no preset release"),
    "a name that the matrix lacks": ("image: [\"debian:12\", \"debian:13\"]\n",
                                     "system: [\"debian:12\", \"debian:13\"]\n",
                                     "the matrix has no image"),
    "another system": ("image: debian:12", "image: other:12", "no Debian"),
    "a misspelt key": ("timeout-minutes: 120", "timeout-minute: 120", "unknown: ['timeout-minute']"),
    "an action without a version": ("actions/checkout@v4", "actions/checkout", "has no version"),
    "a step that does nothing": ("- run: ./scripts/check-package.sh", "- name: nothing",
                                 "either run or uses"),
}


def run(file):
    return subprocess.run([sys.executable, "-B", SCRIPT, file], capture_output=True, text=True,
                          check=False)


class CiFile(unittest.TestCase):
    def test_ours_passes(self):
        result = run(FILE)
        self.assertEqual((result.returncode, result.stdout, result.stderr), (0, "", ""))

    def test_faults_are_found(self):
        text = FILE.read_text(encoding="utf-8")
        for name, (old, new, said) in FAULTS.items():
            with self.subTest(name), tempfile.TemporaryDirectory() as folder:
                self.assertIn(old, text)
                file = pathlib.Path(folder) / "tests.yml"
                file.write_text(text.replace(old, new), encoding="utf-8")
                result = run(file)
                self.assertEqual(result.returncode, 1, result.stdout + result.stderr)
                self.assertIn(said, result.stdout)


if __name__ == "__main__":
    unittest.main()
