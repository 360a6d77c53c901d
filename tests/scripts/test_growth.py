# SPDX-FileCopyrightText: 2026 The QvUtil developers
# SPDX-License-Identifier: MIT

"""Tests scripts/growth.py with curves whose slopes are known."""

import pathlib
import subprocess
import sys
import tempfile
import unittest
from xml.etree import ElementTree

SCRIPTS = pathlib.Path(__file__).resolve().parents[2] / "scripts"
sys.path.insert(0, str(SCRIPTS))
sys.dont_write_bytecode = True

import growth  # noqa: E402  (sys.path must be set first)

SVG = "{http://www.w3.org/2000/svg}"


class Slopes(unittest.TestCase):
    def test_powers(self):
        self.assertAlmostEqual(growth.slope((10, 5), (100, 5)), 0)
        self.assertAlmostEqual(growth.slope((10, 5), (100, 50)), 1)
        self.assertAlmostEqual(growth.slope((2, 3), (4, 12)), 2)

    def test_ends(self):
        first, last = growth.ends([(1, 1), (10, 1), (100, 10)])
        self.assertAlmostEqual(first, 0)
        self.assertAlmostEqual(last, 1)

    def test_steepest_step(self):
        start, end, slope = growth.steepest([(1, 1), (10, 1), (100, 100), (1000, 1000)])
        self.assertEqual((start, end), (10, 100))
        self.assertAlmostEqual(slope, 2)


class Axes(unittest.TestCase):
    def test_units(self):
        self.assertEqual([growth.show_power(exponent, "seconds") for exponent in (0, -1, -3, -5, -6, -9)],
                         ["1 s", "100 ms", "1 ms", "10 µs", "1 µs", "1 ns"])
        self.assertEqual([growth.show_power(exponent, "siblings") for exponent in (0, 2, 3, 5, 6, 9)],
                         ["1", "100", "1 k", "100 k", "1 M", "1 G"])


class Program(unittest.TestCase):
    def run_program(self, lines):
        self.folder = tempfile.TemporaryDirectory()
        self.addCleanup(self.folder.cleanup)
        folder = pathlib.Path(self.folder.name)
        (folder / "in.csv").write_text("\n".join(lines), encoding="utf-8")
        subprocess.run([sys.executable, str(SCRIPTS / "growth.py"), str(folder / "in.csv"), str(folder / "out")],
                       check=True)
        return folder / "out"

    def test_chart(self):
        out = self.run_program(['load,"A, quick",1000,0.001', 'load,"A, quick",10000,0.1', "load,B <b>,1000,0.002",
                                "load,B <b>,10000,0.02"])
        chart = ElementTree.parse(out / "growth-load.svg").getroot()
        lines = chart.findall(f"{SVG}polyline")
        self.assertEqual(len(lines), 2)
        self.assertEqual(len(chart.findall(f"{SVG}circle")), 4)
        texts = [text.text for text in chart.findall(f"{SVG}text")]
        for text in ("Load a document", "bytes of the document", "A, quick", "B <b>", "1 k", "10 k", "1 ms"):
            self.assertIn(text, texts)
        # The first line spans two decades of time, the second only one. Values grow upwards.
        heights = [[float(point.split(",")[1]) for point in line.get("points").split()] for line in lines]
        self.assertGreater(heights[0][0], heights[0][1])
        self.assertGreater(heights[0][0] - heights[0][1], 1.9 * (heights[1][0] - heights[1][1]))
        page = (out / "growth.md").read_text(encoding="utf-8")
        self.assertIn("| A, quick | 2.00 | 2.00 | 2.00 from 1,000 to 10,000 |", page)
        self.assertIn("![Load a document](growth-load.svg)", page)
        self.assertNotIn("growth-save.svg", page)

    def test_interrupted_sweep(self):
        page = (self.run_program(["load,A,1000,0.001", "load,A,10000,0.01", "load,B,1000,0.001"])
                / "growth.md").read_text(encoding="utf-8")
        self.assertIn("| A | 1.00", page)
        self.assertNotIn("| B |", page)

    def test_figures(self):
        page = (self.run_program(['figure,"start (s)",0,0.0042', 'figure,"memory of a thing (bytes)",0,1234.4'])
                / "growth.md").read_text(encoding="utf-8")
        self.assertIn("| start | 4.2 ms |", page)
        self.assertIn("| memory of a thing | 1,234 bytes |", page)


if __name__ == "__main__":
    unittest.main()
