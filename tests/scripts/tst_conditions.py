#!/usr/bin/env python3
"""tests/conditions/conditions.py: which conditions it calls shown, and what it refuses."""

import contextlib
import io
import pathlib
import sys
import tempfile
import unittest

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[2] / "tests/conditions"))
import conditions  # noqa: E402 pylint: disable=wrong-import-position

FILE = "src/transcript/door.cpp"
SOURCE = """bool isOpen(int hinges, int angle)
{
    return hinges > 2
           && angle > 0; // && or not
}
void swing(Door *door)
{
    if (door->hinges)
        door->move();
    new Hinge(door);
}
"""
BOTH = f"{FILE}: isOpen: && angle > 0; // && or not: 2 of 2 never false"
FUNCTIONS = {
    "isOpen(int, int)": "isOpen",
    "tarn::console::Door::swing() const": "Door::swing",
    "tarn::console::(anonymous namespace)::isOpen(int)": "isOpen",
    "tarn::console::Door::swing()::{lambda(Line)#1}::operator()(Line) const": "Door::swing",
    "void tarn::console::Door::each<tarn::console::Door::swing()::{lambda()#1}>(int)": "Door::each",
}


def notes(line, missing, function="isOpen", file=FILE, terms=2):
    """What gcov says of an object in which these (condition, outcome) were not shown."""
    return {"current_working_directory": "", "files": [{
        "file": file,
        "functions": [{"name": "f", "demangled_name": f"{function}(int, int)"}],
        "lines": [{"line_number": line, "function_name": "f", "conditions": [{
            "count": 2 * terms, "covered": 2 * terms - len(missing),
            "not_covered_true": [term for term, outcome in missing if outcome == "true"],
            "not_covered_false": [term for term, outcome in missing if outcome == "false"]}]}]}]}


class Conditions(unittest.TestCase):
    def setUp(self):
        directory = tempfile.TemporaryDirectory()
        self.addCleanup(directory.cleanup)
        self.root = pathlib.Path(directory.name).resolve()
        (self.root / FILE).parent.mkdir(parents=True)
        (self.root / FILE).write_text(SOURCE, encoding="utf-8")
        self.counts = {}

    def add(self, *arguments, **options):
        told = notes(*arguments, **options)
        told["current_working_directory"] = str(self.root)
        conditions.add_notes(self.counts, told, self.root)

    def judge(self, exceptions=None):
        told = io.StringIO()
        with contextlib.redirect_stdout(told):
            good = conditions.judge(self.counts, self.root, exceptions or {})
        return good, told.getvalue()

    def test_functions(self):
        for demangled, name in FUNCTIONS.items():
            with self.subTest(demangled):
                self.assertEqual(conditions.function_of(demangled), name)

    def test_all_shown(self):
        self.add(4, [])
        good, told = self.judge()
        self.assertTrue(good)
        self.assertRegex(told, r"src/transcript +4 +4 +0 +0")

    def test_nothing_counted(self):
        self.assertFalse(self.judge()[0])

    def test_not_shown(self):
        self.add(4, [(1, "false")])
        good, told = self.judge()
        self.assertFalse(good)
        self.assertIn(f"{FILE}:4: not shown to matter: {BOTH}", told)
        self.assertRegex(told, r"src/transcript +4 +3 +0 +1")

    def test_reason(self):
        self.add(4, [(1, "false")])
        self.assertTrue(self.judge({BOTH: "why"})[0])

    def test_reason_for_what_is_shown(self):
        self.add(4, [])
        good, told = self.judge({BOTH: "why"})
        self.assertFalse(good)
        self.assertIn("shown or gone", told)

    def test_objects_are_put_together(self):
        """As of a function in a header."""
        self.add(4, [(0, "true"), (1, "false")])
        self.assertFalse(self.judge()[0])
        self.add(4, [(0, "false"), (1, "true")])
        self.assertTrue(self.judge()[0])

    def test_conditions_of_the_compiler(self):
        """For what to destroy when something throws, after a statement without a condition."""
        self.add(4, [])
        self.add(10, [(0, "true")], function="swing", terms=1)
        self.assertTrue(self.judge()[0])
        self.add(8, [(0, "true")], function="swing", terms=1)
        self.assertFalse(self.judge()[0])

    def test_other_files(self):
        self.add(4, [])
        self.add(4, [(0, "true")], file="src/window/door.cpp")
        self.add(4, [(0, "true")], file="/usr/include/door.h")
        self.assertTrue(self.judge()[0])

    def test_lines_without_a_reason(self):
        path = self.root / "exceptions.txt"
        path.write_text(f"# Conditions.\n{BOTH}\n", encoding="utf-8")
        with self.assertRaises(SystemExit):
            conditions.read_exceptions(path)
        path.write_text(f"# Conditions.\n{BOTH} => why\n", encoding="utf-8")
        self.assertEqual(conditions.read_exceptions(path), {BOTH: "why"})


if __name__ == "__main__":
    unittest.main()
