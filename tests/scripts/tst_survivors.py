#!/usr/bin/env python3
"""tests/mutants/survivors.py: what it refuses in the list of faults that no test notices."""

import pathlib
import subprocess
import sys
import tempfile
import unittest

SCRIPT = pathlib.Path(__file__).resolve().parents[2] / "tests/mutants/survivors.py"
sys.path.insert(0, str(SCRIPT.parent))
import survivors  # noqa: E402 pylint: disable=wrong-import-position

SOURCE = """
bool Door::isOpen() const
{
    return m_hinges > 2
           && m_angle > 0;
}
Door::~Door() { close(); }
"""
THERE = ("src/house/door.cpp: Door::isOpen: && becomes ||: m_hinges > 2 && m_angle > 0",
         "src/house/door.cpp: Door::isOpen: constant + 1: 2",
         "src/house/door.cpp: Door::~Door: statement dropped: close() #2")
GONE = ("src/house/window.cpp: Door::isOpen: constant + 1: 2",
        "src/house/door.cpp: Door::isShut: constant + 1: 2",
        "src/house/door.cpp: Door::isOpen: constant + 1: 3",
        "src/house/door.cpp: Door::isOpen")


class Survivors(unittest.TestCase):
    def setUp(self):
        directory = tempfile.TemporaryDirectory()
        self.addCleanup(directory.cleanup)
        self.root = pathlib.Path(directory.name)
        (self.root / "src/house").mkdir(parents=True)
        (self.root / "src/house/door.cpp").write_text(SOURCE, encoding="utf-8")
        (self.root / "tests/mutants").mkdir(parents=True)
        self.list = self.root / "tests/mutants/survivors.txt"

    def check(self, *keys):
        self.list.write_text("# Faults.\n\n" + "".join(f"{key} => why\n" for key in keys),
                             encoding="utf-8")
        return subprocess.run([sys.executable, "-B", SCRIPT, self.root], capture_output=True,
                              text=True, check=False)

    def test_code_that_is_there(self):
        done = self.check(*THERE)
        self.assertEqual((done.returncode, done.stdout, done.stderr), (0, "", ""))

    def test_code_that_is_gone(self):
        for key in GONE:
            with self.subTest(key):
                done = self.check(*THERE, key)
                self.assertEqual(done.returncode, 1)
                self.assertIn(key, done.stdout)
                self.assertNotIn(THERE[0], done.stdout)

    def test_our_list(self):
        done = subprocess.run([sys.executable, "-B", SCRIPT], capture_output=True, text=True,
                              check=False)
        self.assertEqual((done.returncode, done.stdout), (0, ""))

    def test_lines_without_a_reason(self):
        for line in ("src/house/door.cpp: Door::isOpen: constant + 1: 2",
                     "src/house/door.cpp: Door::isOpen: constant + 1: 2 => "):
            with self.subTest(line):
                self.list.write_text(line + "\n", encoding="utf-8")
                with self.assertRaises(SystemExit):
                    survivors.read_reasons(self.list)

    def test_two_reasons(self):
        self.assertNotEqual(self.check(THERE[0], THERE[0]).returncode, 0)

    def test_places(self):
        """A second of its kind counts as another; other rooms are not asked."""
        reasons = dict.fromkeys((THERE[0], THERE[2], "src/yard/gate.cpp: f: kind: text"), "why")
        places = [THERE[0], THERE[2].removesuffix(" #2")]
        self.assertEqual(survivors.without_place(reasons, {"house"}, places), [THERE[2]])

    def test_report(self):
        """Rates leave out what nobody can see; a survivor without a reason fails."""
        wanted = [(key, "house", "door.cpp:4") for key in THERE]
        results = dict.fromkeys(THERE, {"status": "killed"})
        told = []
        self.assertTrue(survivors.report(results, {}, wanted, {"house": 95}, told.append))
        self.assertIn("100.0%", told[-1])
        results[THERE[1]] = {"status": "survived"}
        self.assertFalse(survivors.report(results, {}, wanted, {"house": 60}, told.append))
        self.assertIn(THERE[1], told[-1])
        open_one, equal = {THERE[1]: "open: later"}, {THERE[1]: "equivalent: the same"}
        self.assertTrue(survivors.report(results, open_one, wanted, {"house": 60}, told.append))
        self.assertFalse(survivors.report(results, open_one, wanted, {"house": 95}, told.append))
        self.assertTrue(survivors.report(results, equal, wanted, {"house": 95}, told.append))


if __name__ == "__main__":
    unittest.main()
