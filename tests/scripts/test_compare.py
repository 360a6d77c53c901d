# SPDX-FileCopyrightText: 2026 The QvUtil developers
# SPDX-License-Identifier: MIT

"""Tests scripts/compare.py with fixed samples; the p values are from published tables, or computed by hand."""

import json
import pathlib
import subprocess
import sys
import tempfile
import unittest

SCRIPTS = pathlib.Path(__file__).resolve().parents[2] / "scripts"
sys.path.insert(0, str(SCRIPTS))
sys.dont_write_bytecode = True

import compare  # noqa: E402  (sys.path must be set first)

STEADY = [100.0, 101.0, 99.0, 102.0, 98.0, 100.5, 99.5, 101.5, 98.5, 100.2]


class Statistics(unittest.TestCase):
    def test_median(self):
        self.assertEqual(compare.median([3, 1, 2]), 2)
        self.assertEqual(compare.median([4, 1, 2, 3]), 2.5)

    def test_u_counts_ties_half(self):
        self.assertEqual(compare.u_statistic([1, 2], [2, 3]), 3.5)

    def test_exact_p(self):
        # All three values are above all three others: 2 of the 20 orders are this extreme.
        self.assertAlmostEqual(compare.mann_whitney([1, 2, 3], [4, 5, 6]), 0.1)
        self.assertAlmostEqual(compare.mann_whitney([4, 5, 6], [1, 2, 3]), 0.1)
        # The critical value for samples of five and five is U = 2 at 5 %, and U = 0 at 1 %.
        self.assertLess(compare.exact_p(2, 5, 5), 0.05)
        self.assertGreater(compare.exact_p(3, 5, 5), 0.05)
        self.assertLess(compare.exact_p(0, 5, 5), 0.01)
        self.assertGreater(compare.exact_p(1, 5, 5), 0.01)
        self.assertEqual(compare.exact_p(12.5, 5, 5), 1.0)

    def test_normal_p(self):
        # U is 20.5 of 25, and the variance 25/12 * (11 - 30/90), with three 2s and two 3s: z = 7.5/4.714 = 1.591.
        self.assertAlmostEqual(compare.mann_whitney([1, 2, 2, 3, 4], [2, 3, 5, 6, 7]), 0.1116, places=4)
        self.assertEqual(compare.mann_whitney([1, 1, 1], [1, 1, 1]), 1.0)

    def test_holm(self):
        self.assertEqual([round(p, 6) for p in compare.holm([0.01, 0.04, 0.03])], [0.03, 0.06, 0.06])
        self.assertEqual(compare.holm([0.9, 0.8]), [1.0, 1.0])

    def test_interval_contains_the_ratio(self):
        low, high = compare.ratio_interval(STEADY, [1.3 * value for value in STEADY])
        self.assertLess(low, 1.3)
        self.assertGreater(high, 1.3)
        self.assertGreater(low, 1.25)
        self.assertLess(high, 1.35)


class Verdicts(unittest.TestCase):
    def verdict(self, before, after):
        return compare.compare({"x": before}, {"x": after})[0].verdict

    def test_slower_and_faster(self):
        self.assertEqual(self.verdict(STEADY, [1.1 * value for value in STEADY]), "slower")
        self.assertEqual(self.verdict(STEADY, [0.9 * value for value in STEADY]), "faster")

    def test_same(self):
        self.assertEqual(self.verdict(STEADY, list(reversed(STEADY))), "")

    def test_too_little_to_matter(self):
        self.assertEqual(self.verdict(STEADY, [1.012 * value for value in STEADY]), "")

    def test_noise_hides_it(self):
        noisy = [80.0, 150.0, 90.0, 200.0, 100.0, 300.0, 85.0, 120.0, 95.0, 110.0]
        self.assertEqual(self.verdict(noisy, [1.1 * value for value in noisy]), "")

    def test_too_few_runs_give_no_verdict(self):
        self.assertEqual(self.verdict([1.0, 1.1, 1.2], [9.0, 9.1, 9.2]), "")

    def test_only_benchmarks_in_both_files(self):
        names = [c.name for c in compare.compare({"a": STEADY, "b": STEADY}, {"b": STEADY, "c": STEADY})]
        self.assertEqual(names, ["b"])


class Program(unittest.TestCase):
    def run_with(self, factor, *options, instructions=None):
        with tempfile.TemporaryDirectory() as folder:
            files = {}
            for side, values in (("before", STEADY), ("after", [factor * value for value in STEADY])):
                files[side] = []
                for i, value in enumerate(values):
                    path = pathlib.Path(folder, f"{side}{i}.json")
                    path.write_text(json.dumps({"benchmarks": [
                        {"name": "A/QvUtil", "run_name": "A/QvUtil", "run_type": "iteration", "real_time": value,
                         "time_unit": "us"},
                        {"name": "A/raw", "run_name": "A/raw", "run_type": "iteration", "real_time": 7 * value,
                         "time_unit": "us"}]}), encoding="utf-8")
                    files[side].append(str(path))
            command = [sys.executable, str(SCRIPTS / "compare.py"), "--before", *files["before"], "--after",
                       *files["after"], *options]
            if instructions:
                for side, count in zip(("before", "after"), instructions):
                    path = pathlib.Path(folder, side)
                    path.write_text(f"A\t{count}\n", encoding="utf-8")
                    command += [f"--instructions-{side}", str(path)]
            return subprocess.run(command, capture_output=True, text=True, check=False)

    def test_exit_codes(self):
        self.assertEqual(self.run_with(1.2, "--fail").returncode, 1)
        self.assertEqual(self.run_with(1.2).returncode, 0)
        self.assertEqual(self.run_with(1.0, "--fail").returncode, 0)
        self.assertEqual(self.run_with(0.8, "--fail").returncode, 0)

    def test_output(self):
        output = self.run_with(1.2).stdout
        self.assertIn("slower", output)
        self.assertIn("1.200", output)
        self.assertNotIn("raw", output)

    def test_instructions(self):
        self.assertEqual(self.run_with(1.0, "--fail", instructions=(1000, 1020)).returncode, 0)
        result = self.run_with(1.0, "--fail", instructions=(1000, 1100))
        self.assertEqual(result.returncode, 1)
        self.assertIn("1.100", result.stdout)


if __name__ == "__main__":
    unittest.main()
