# SPDX-FileCopyrightText: 2026 The QvUtil developers
# SPDX-License-Identifier: MIT

"""Tests which results scripts/torture.py counts as failures."""

import contextlib
import io
import pathlib
import sys
import unittest

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[2] / "scripts"))
sys.dont_write_bytecode = True

import torture  # noqa: E402  (sys.path must be set first)


def experiment(tried, failures=0, reason=None):
    made = torture.Experiment("a name")
    with contextlib.redirect_stdout(io.StringIO()):
        for number in range(tried):
            made.check(number >= failures, "a failure")
    if reason:
        made.cut_short(reason)
    return made


class ExitCode(unittest.TestCase):
    def check(self, expected, *experiments, is_strict=False):
        with contextlib.redirect_stdout(io.StringIO()) as output:
            self.assertEqual(torture.exit_code(experiments, is_strict), expected)
        return output.getvalue()

    def test_everything_held(self):
        for is_strict in (False, True):
            self.assertEqual(self.check(0, experiment(3), experiment(1), is_strict=is_strict), "")

    def test_something_did_not_hold(self):
        for is_strict in (False, True):
            output = self.check(1, experiment(3), experiment(2, failures=1), is_strict=is_strict)
            self.assertIn("1 did not hold", output)

    def test_an_experiment_that_was_not_tried_is_named(self):
        output = self.check(0, experiment(3), experiment(0, reason="strace is not installed"))
        self.assertEqual(output, "not tried: a name: strace is not installed\n")

    def test_an_experiment_that_was_not_tried_fails_a_strict_run(self):
        self.check(1, experiment(3), experiment(0, reason="strace is not installed"), is_strict=True)
        self.check(1, experiment(0), is_strict=True)

    def test_an_experiment_that_was_cut_short_fails_a_strict_run(self):
        output = self.check(1, experiment(3, reason="strace does not work here"), is_strict=True)
        self.assertEqual(output, "tried only in part: a name: strace does not work here\n")


if __name__ == "__main__":
    unittest.main()
