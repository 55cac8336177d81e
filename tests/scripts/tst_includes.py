#!/usr/bin/env python3
"""scripts/includes.py: what it lets pass, and what it finds."""

import pathlib
import subprocess
import sys
import tempfile
import unittest

SCRIPT = pathlib.Path(__file__).resolve().parents[2] / "scripts/includes.py"

PICTURE = """# A page

```directions
top     -> middle, bottom   what is above -> and what is below
middle  -> bottom
bottom  -> nothing
future  -> bottom           a folder that is yet to come

Exceptions:
bottom  -> top/options.h
```
"""

GOOD = {
    "top/window.cpp": ["top/window.h", "middle/view.h", "bottom/model.h"],
    "top/window.h": ["top/options.h"],
    "top/window_input.cpp": ["top/window.h"],
    "top/options.h": [],
    "middle/view.h": [],
    "middle/view.cpp": ["middle/view.h", "bottom/model.h"],
    "bottom/model.h": [],
    "bottom/model.cpp": ["bottom/model.h", "top/options.h", "model.moc"],
}


class Includes(unittest.TestCase):
    def setUp(self):
        directory = tempfile.TemporaryDirectory()
        self.addCleanup(directory.cleanup)
        self.root = pathlib.Path(directory.name)

    def check(self, files, picture=PICTURE):
        """The problems of a tree, one on each line; the exit code has to agree."""
        page = self.root / "page.md"
        page.write_text(picture, encoding="utf-8")
        for name, includes in files.items():
            path = self.root / "src" / name
            path.parent.mkdir(parents=True, exist_ok=True)
            path.write_text("#pragma once\n\n#include <QString>\n" + "".join(
                f"#include {include}\n" if include.startswith("<") else f'#include "{include}"\n'
                for include in includes), encoding="utf-8")
        result = subprocess.run(
            [sys.executable, "-B", SCRIPT, "--src", "src", "--picture", "page.md"],
            cwd=self.root, capture_output=True, text=True, check=False)
        problems = result.stdout + result.stderr
        self.assertEqual(result.returncode, 1 if problems else 0)
        return problems

    def test_good_tree(self):
        self.assertEqual(self.check(GOOD), "")

    def test_include_of_a_folder_above(self):
        self.assertEqual(self.check({**GOOD, "middle/other.cpp": ["top/window.h"]}),
                         "src/middle/other.cpp:4: middle must not include top/window.h\n")

    def test_angle_brackets_hide_nothing(self):
        self.assertEqual(self.check({**GOOD, "middle/other.cpp": ["<top/window.h>", "<vector>"]}),
                         "src/middle/other.cpp:4: middle must not include top/window.h\n")

    def test_exception_is_for_one_header(self):
        self.assertEqual(self.check({**GOOD, "bottom/other.cpp": ["top/window.h"]}),
                         "src/bottom/other.cpp:4: bottom must not include top/window.h\n")

    def test_exception_is_for_one_folder(self):
        self.assertEqual(self.check({**GOOD, "middle/other.cpp": ["top/options.h"]}),
                         "src/middle/other.cpp:4: middle must not include top/options.h\n")

    def test_folder_that_is_not_in_the_picture(self):
        self.assertEqual(self.check({**GOOD, "side/other.cpp": ["bottom/model.h"]}),
                         "src/side/other.cpp:4: side is not in the picture\n")

    def test_headers_are_named_from_the_root(self):
        self.assertEqual(self.check({**GOOD, "middle/other.cpp": ["view.h"]}),
                         "src/middle/other.cpp:4: there is no src/view.h\n")

    def test_arrow_that_nobody_uses(self):
        tree = {**GOOD, "middle/view.cpp": ["middle/view.h"]}
        self.assertEqual(self.check(tree),
                         "the picture has an arrow that no source uses: middle -> bottom\n")

    def test_exception_that_nobody_uses(self):
        tree = {**GOOD, "bottom/model.cpp": ["bottom/model.h"]}
        self.assertEqual(self.check(tree),
                         "the picture has an arrow that no source uses: bottom -> top/options.h\n")

    def test_headers_that_need_each_other(self):
        tree = {**GOOD, "middle/a.h": ["middle/b.h"], "middle/b.h": ["middle/a.h"]}
        self.assertEqual(self.check(tree), "circle: middle/a -> middle/b -> middle/a\n")

    def test_circle_of_sources(self):
        tree = {**GOOD, "middle/a.h": [], "middle/b.h": ["middle/c.h"], "middle/c.h": [],
                "middle/a.cpp": ["middle/a.h", "middle/b.h"],
                "middle/c_half.cpp": ["middle/a.h"]}
        self.assertEqual(self.check(tree), "circle: middle/a -> middle/b -> middle/c -> middle/a\n")

    def test_circle_across_folders(self):
        tree = {**GOOD, "top/options.h": ["bottom/model.h"]}
        self.assertEqual(self.check(tree),
                         "circle: bottom/model -> top/options -> bottom/model\n")

    def test_page_without_a_picture(self):
        self.assertIn("has no block", self.check(GOOD, "# A page\n"))


if __name__ == "__main__":
    unittest.main()
