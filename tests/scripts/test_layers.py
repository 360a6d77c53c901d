# SPDX-FileCopyrightText: 2026 The QvUtil developers
# SPDX-License-Identifier: MIT

"""Tests that scripts/layers.py finds each kind of violation in a small tree, and nothing else."""

import pathlib
import sys
import tempfile
import unittest

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[2] / "scripts"))
sys.dont_write_bytecode = True

import layers  # noqa: E402  (sys.path must be set first)

LIBRARY = layers.Tree(
    "lib",
    (
        layers.Folder("low", "the bottom", (), ("Global.h",)),
        layers.Folder("system", "what systems answer", ("low",)),
        layers.Folder("high", "the top", ("low",), ("High.h",)),
    ),
    knows_systems=frozenset({"system", "High.h"}),
    is_library=True,
)
TOOL = layers.Tree("tool", (layers.Folder("cli", "shared"), layers.Folder("one", "a group", ("cli",))), top=("cli",))

GOOD = {
    "lib/Global.h": "#include <QtCore/qglobal.h>\n",
    "lib/High.h": '#include "Global.h"\n#ifdef Q_OS_MACOS\n#endif\n',
    "lib/low/Low_p.h": '// This file is not part of the interface.\n#include "Global.h"\n#include <QString>\n',
    "lib/low/Low.cpp": '#include "low/Low_p.h"\n#include "Low.moc"\n#if QT_VERSION >= 1\n#endif\n',
    "lib/system/SystemLinux.cpp": '#include "low/Low_p.h"\n#ifdef __linux__\n#endif\n',
    "lib/high/High.cpp": '#include "High.h"\n#include <qvutil/low/Low_p.h>\n// #include "system/Any_p.h"\n',
    "tool/main.cpp": '#include "cli/Tree.h"\n#include <qvutil/High.h>\n',
    "tool/cli/Tree.h": "#include <QString>\n",
    "tool/one/One.cpp": '#include "cli/Tree.h"\n',
    "docs/architecture.md": "text\n<!-- layers: lib -->\n" + layers.table(LIBRARY)
                            + "\ntext\n<!-- layers: tool -->\n" + layers.table(TOOL),
}


class Layers(unittest.TestCase):
    def check(self, changes, trees=(LIBRARY, TOOL), update=False):
        with tempfile.TemporaryDirectory() as folder:
            root = pathlib.Path(folder)
            for name, text in {**GOOD, **changes}.items():
                if text is not None:
                    path = root / name
                    path.parent.mkdir(parents=True, exist_ok=True)
                    path.write_text(text, encoding="utf-8")
            found = list(layers.problems(trees, root, update))
            self.page = (root / layers.PAGE).read_text(encoding="utf-8")
        return found

    def test_good_tree(self):
        self.assertEqual(self.check({}), [])

    def test_include_lines(self):
        cases = {
            "folder above": ("lib/low/Low.cpp", '\n#include "High.h"\n', 2, "low may not include high"),
            "folder above, in angle brackets":
                ("lib/low/Low.cpp", "#include <qvutil/High.h>\n", 1, "low may not include high"),
            "folder below that is not allowed":
                ("lib/high/High.cpp", '#include "system/System_p.h"\n', 1, "high may not include system"),
            "public header as its folder":
                ("lib/Global.h", '#include "High.h"\n', 1, "low may not include high"),
            "file that is not there": ("lib/low/Low.cpp", '#include "low/Gone_p.h"\n', 1, "is not a file of lib"),
            "name without its folder": ("lib/low/Low.cpp", '#include "Low_p.h"\n', 1, "is not a file of lib"),
            "way out of the tree":
                ("lib/low/Low.cpp", '#include "../tool/cli/Tree.h"\n', 1, "is not a file of lib"),
            "header of the tool": ("lib/high/High.cpp", '#include "cli/Tree.h"\n', 1, "is not a file of lib"),
            "spaces in the directive": ("lib/low/Low.cpp", '  #  include "High.h"\n', 1, "low may not include high"),
            "Objective-C++": ("lib/low/Low.mm", '#import "High.h"\n', 1, "low may not include high"),
            "group of the tool from the bottom": ("tool/cli/Tree.h", '#include "one/One.h"\n', 1,
                                                  "cli may not include one"),
            "group of the tool from its top": ("tool/main.cpp", '#include "one/One.h"\n', 1,
                                               "a file in the top folder may not include one"),
        }
        there = {"lib/system/System_p.h": "// Internal, not API.\n", "tool/one/One.h": ""}
        for name, (file, text, line, reason) in cases.items():
            with self.subTest(name):
                found = self.check({**there, file: text})
                self.assertEqual(len(found), 1, found)
                self.assertTrue(found[0].startswith(f"{file}:{line}: "), found)
                self.assertIn(reason, found[0])

    def test_system_outside_its_folder(self):
        for line in ("#ifdef Q_OS_LINUX", "#if defined(__APPLE__)", "# ifndef _WIN32", "#elif defined(Q_OS_MACOS)"):
            for file in ("lib/low/Low.cpp", "tool/one/One.cpp"):
                with self.subTest(line, file=file):
                    found = self.check({file: line + "\n"})
                    self.assertEqual(len(found), 1, found)
                    self.assertIn("tests for the operating system", found[0])

    def test_replaced_calls(self):
        call = "int a;\nQString b = QDir::cleanPath(a);\n"
        for file in ("source/any/Any.cpp", "tools/Any.h", "examples/any/main.cpp"):
            with self.subTest(file):
                found = self.check({file: call})
                self.assertEqual(len(found), 1, found)
                self.assertTrue(found[0].startswith(f"{file}:2: QDir::cleanPath() "), found)
        self.assertEqual(self.check({"source/qvutil/base/QtCompat_p.h": call, "tests/tst_Any.cpp": call}), [])

    def test_names(self):
        self.assertIn("must end in _p.h", self.check({"lib/low/Bare.h": "// not API\n"})[0])
        self.assertIn("is not part of the interface", self.check({"lib/low/Low_p.h": "/* not API */\n"})[0])
        self.assertIn("only public headers", self.check({"lib/Loose.cpp": ""})[0])
        self.assertIn("only public headers", self.check({"lib/Loose.h": ""})[0])

    def test_table(self):
        self.assertIn("is not in the table", self.check({"lib/extra/Extra.cpp": ""})[0])
        self.assertIn("folder system, which does not exist", self.check({"lib/system/SystemLinux.cpp": None})[0])
        missing = self.check({"lib/High.h": None, "lib/high/High.cpp": ""})
        self.assertIn("header High.h, which does not exist", missing[0])
        upside_down = layers.Tree("lib", LIBRARY.folders[::-1], LIBRARY.top, LIBRARY.knows_systems, True)
        self.assertIn("may not include low, which is not above it", self.check({}, (upside_down, TOOL))[0])

    def test_page(self):
        self.assertIn("<!-- layers: lib --> is missing", self.check({"docs/architecture.md": "text\n"})[0])
        old = {"docs/architecture.md": "a\n<!-- layers: lib -->\n| old |\nb\n<!-- layers: tool -->\nc\n"}
        self.assertIn("differ from scripts/layers.py", self.check(old)[0])
        self.assertEqual(self.check(old, update=True), [])
        self.assertEqual(self.page, "a\n<!-- layers: lib -->\n" + layers.table(LIBRARY)
                         + "b\n<!-- layers: tool -->\n" + layers.table(TOOL) + "c\n")


if __name__ == "__main__":
    unittest.main()
