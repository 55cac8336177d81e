#!/usr/bin/env python3
"""scripts/benchmark-table.py: which rows it prints, and which it calls worse."""

import json
import pathlib
import subprocess
import sys
import tempfile
import unittest

SCRIPT = pathlib.Path(__file__).resolve().parents[2] / "scripts/benchmark-table.py"


def timed(name, value, **more):
    return {"name": name, "unit": "ms", "value": value, **more}


class BenchmarkTable(unittest.TestCase):
    def setUp(self):
        directory = tempfile.TemporaryDirectory()
        self.addCleanup(directory.cleanup)
        self.folder = pathlib.Path(directory.name)

    def written(self, name, *figures, benchmark="fill: all of it"):
        file = self.folder / name
        file.write_text(json.dumps({"benchmark": benchmark, "figures": figures}), encoding="utf-8")
        return file

    def output_of(self, *arguments):
        return subprocess.run([sys.executable, "-B", SCRIPT, *arguments], capture_output=True,
                              text=True, check=True).stdout

    def line_of(self, output, name):
        return next(line for line in output.splitlines() if line.startswith(name)).split()

    def test_one_table_of_all_benchmarks(self):
        output = self.output_of(
            self.written("a", timed("filled", 20.0, reference=10.0, ratio=2.0, bar=1.5, met=False),
                         {"name": "same", "met": True}),
            self.written("b", timed("zoomed", 49.5, bar=50, met=True), timed("noted", 3),
                         {"series": "curve", "x": 1, "value": 2}, benchmark="operations: some"))
        self.assertEqual(self.line_of(output, "filled"),
                         ["filled", "20", "ms", "10", "ms", "2.00", "1.5", "MISSED"])
        self.assertEqual(self.line_of(output, "same"), ["same", "yes", "yes", "met"])
        self.assertEqual(self.line_of(output, "zoomed"),
                         ["zoomed", "49.5", "ms", "50", "ms", "met"])
        self.assertEqual(self.line_of(output, "noted"), ["noted", "3", "ms"])
        self.assertIn("Bars missed: 1", output)
        self.assertNotIn("curve", output)

    def test_medians_are_compared(self):
        ours = [self.written(f"o{i}", timed("row", value)) for i, value in enumerate((10, 12, 99))]
        theirs = [self.written(f"t{i}", timed("row", value)) for i, value in enumerate((1, 10, 10))]
        output = self.output_of(*ours, "--beside", *theirs)
        self.assertEqual(self.line_of(output, "row"),
                         ["row", "12", "ms", "10", "ms", "1.20", "WORSE", "by", "20", "%"])
        self.assertIn("a tenth: 1", output)

    def test_a_tenth_is_not_worse(self):
        output = self.output_of(self.written("o", timed("row", 11), {"name": "kept", "met": True}),
                                "--beside",
                                self.written("t", timed("row", 10), {"name": "kept", "met": False}))
        self.assertEqual(self.line_of(output, "row"), ["row", "11", "ms", "10", "ms", "1.10"])
        self.assertIn("No row worse", output)

    def test_what_no_longer_holds_is_worse(self):
        output = self.output_of(self.written("o", {"name": "kept", "met": False}, timed("idle", 2)),
                                "--beside",
                                self.written("t", {"name": "kept", "met": True}, timed("idle", 0)))
        self.assertEqual(self.line_of(output, "kept"), ["kept", "no", "yes", "WORSE"])
        self.assertEqual(self.line_of(output, "idle")[-1], "WORSE")

    def test_rows_of_one_side_only(self):
        output = self.output_of(self.written("o", timed("row", 1), timed("new", 1)), "--beside",
                                self.written("t", timed("row", 1), timed("gone", 1)))
        self.assertIn("Only in this commit: new", output)
        self.assertNotIn("gone", output)


if __name__ == "__main__":
    unittest.main()
