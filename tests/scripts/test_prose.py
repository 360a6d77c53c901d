# SPDX-FileCopyrightText: 2026 The QvUtil developers
# SPDX-License-Identifier: MIT

"""Tests that scripts/prose.py finds each phrase in pages and comments, and nothing in code."""

import pathlib
import sys
import tempfile
import unittest

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[2] / "scripts"))
sys.dont_write_bytecode = True

import prose  # noqa: E402  (sys.path must be set first)


class Prose(unittest.TestCase):
    def check(self, name, text):
        with tempfile.TemporaryDirectory() as folder:
            path = pathlib.Path(folder) / name
            path.parent.mkdir(parents=True, exist_ok=True)
            path.write_text(text, encoding="utf-8")
            return list(prose.problems(pathlib.Path(folder), ("*", "docs/*")))

    def test_each_rule_finds_its_example(self):
        for rule in prose.RULES:
            with self.subTest(rule.example):
                found = self.check("page.md", f"A sentence. {rule.example}\n")
                self.assertEqual(len([line for line in found if line.endswith(rule.better)]), 1, found)
                self.assertTrue(found[0].startswith("page.md:1: "), found)

    def test_plain_sentences_pass(self):
        for text in ("The receiver drops incomplete frames.", "The process tells its user which file is damaged.",
                     "There are so many that it stops.", "What is a cursor?", "Copy it to a project of your own."):
            with self.subTest(text):
                self.assertEqual(self.check("page.md", text + "\n"), [])

    def test_places(self):
        bad = "It waits in vain"
        places = {
            "paragraph": ("page.md", f"Text.\n\n{bad}.\n", 3),
            "list entry": ("page.md", f"- Text.\n- {bad}.\n", 2),
            "table cell": ("page.md", f"| a | b |\n| --- | --- |\n| c | {bad} |\n", 3),
            "heading": ("page.md", f"# {bad}\n", 1),
            "text of a link": ("page.md", f"[{bad}](page.md)\n", 1),
            "after code": ("page.md", f"```sh\ntrue\n```\n{bad}.\n", 4),
            "C++ comment": ("a.cpp", f"int a;\n// {bad}.\n", 2),
            "C++ comment after code": ("a.h", f'const char* s = "//"; ///< {bad}\n', 1),
            "phrase across C++ lines": ("a.cpp", "// It waits in\n// vain.\n", 1),
            "C++ comment after sample code": ("a.h", f"/// \\code\n/// a;\n/// \\endcode\n/// {bad}.\n", 4),
            "CMake comment": ("CMakeLists.txt", f"# {bad}.\n", 1),
            "comment after a shell command": ("run", f"echo '#' # {bad}\n", 1),
            "Python docstring": ("a.py", f'"""Text.\n\n{bad}.\n"""\n', 3),
            "Python comment": ("a.py", f"a = '#'  # {bad}\n", 1),
        }
        for name, (file, text, line) in places.items():
            with self.subTest(name):
                found = self.check(file, text)
                self.assertEqual(len(found), 1, found)
                self.assertTrue(found[0].startswith(f"{file}:{line}: "), found)

    def test_code_is_not_prose(self):
        bad = "in vain"
        for file, text in (("page.md", f"```text\n{bad}\n```\n"), ("page.md", f"Call `{bad}`.\n"),
                           ("page.md", f"<!-- {bad} -->\n"), ("page.md", "[Text](in-vain.md#in-vain)\n"),
                           ("a.cpp", f'const char* a = "// {bad}";\n'), ("a.cpp", f"int a; /{bad};\n"),
                           ("a.h", f"/// \\code\n/// {bad};\n/// \\endcode\n"),
                           ("a.cpp", "int a; // in\nint b; // vain\n"), ("a.cpp", "// NOLINT(initialize)\n"),
                           ("a.py", f'a = "{bad}"\n'), ("run", f'echo "# {bad}"\n'), ("run", f"a=${{b#{bad}}}\n"),
                           ("a.cpp", "// SPDX-" + "FileCopyrightText: in vain\n")):
            with self.subTest(text):
                self.assertEqual(self.check(file, text), [])

    def test_shape_of_pages(self):
        self.assertIn(prose.WRAPPED, self.check("page.md", "A line that ends\nin the middle of a phrase.\n")[0])
        self.assertIn(prose.WRAPPED, self.check("page.md", "- An entry that ends\n  in the middle.\n")[0])
        self.assertEqual(self.check("page.md", "First sentence.\nSecond sentence, which introduces:\n- an entry\n"), [])
        self.assertEqual(self.check("a.cpp", "// A comment that ends\n// in the middle of a phrase.\n"), [])
        self.assertIn(prose.QUESTION, self.check("page.md", "# How do I save?\n")[0])
        self.assertEqual(self.check("page.md", "# What a change needs\n"), [])


if __name__ == "__main__":
    unittest.main()
