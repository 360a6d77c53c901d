#!/usr/bin/env python3
# SPDX-FileCopyrightText: 2026 The QvUtil developers
# SPDX-License-Identifier: MIT

"""Checks which folders of the library and of the tool include each other, and which functions of Qt they avoid.

    layers.py [--update] [ROOT]

The tables below define which includes are allowed. docs/architecture.md shows them: --update writes them there, and
without it a difference is an error. ROOT is the tree to check, by default the one that contains this script. Each
problem is printed as FILE:LINE: REASON, and the exit code is then 1.
"""

import pathlib
import re
import sys
from dataclasses import dataclass, field


@dataclass(frozen=True)
class Folder:
    name: str
    subject: str
    includes: tuple = ()  # names of folders above this one in the table
    headers: tuple = ()  # files in the top folder that count as part of this folder


@dataclass(frozen=True)
class Tree:
    """A source tree and its folders, lowest layer first."""

    path: str
    folders: tuple
    top: tuple = ()  # folders that the files in the top folder may include
    # Files and folders that may test for the operating system.
    knows_systems: frozenset = field(default_factory=frozenset)
    is_library: bool = False


TREES = (
    Tree(
        "source/qvutil",
        (
            Folder("base", "logging, the clock, differences between versions of Qt", (), ("QvUtilGlobal.h",)),
            Folder("platform", "everything that depends on the operating system", ("base",)),
            Folder("general", "strings, paths, files, hashes, application folders", ("base", "platform"),
                   ("GeneralUtil.h", "StringUtil.h")),
            Folder("locale", "the table of locales and its look-ups", ("base", "platform", "general"),
                   ("LocaleUtil.h",)),
            Folder("expressions", "the evaluator of boolean expressions and its parser", ("base",),
                   ("BooleanExpressionEvaluator.h",)),
            Folder("xml", "documents, settings, translation, limits on input", ("base", "platform", "general"),
                   ("Settings.h", "XlfTranslator.h", "XmlFiler.h")),
            Folder("messaging", "messages, codecs, server, client, manager, the registry of a grid",
                   ("base", "platform", "general", "xml"), ("IPC.h", "IPCManager.h")),
        ),
        # StringUtil.h declares one operation on macOS only.
        knows_systems=frozenset({"platform", "StringUtil.h"}),
        is_library=True,
    ),
    Tree(
        "tools/qvutil",
        (
            Folder("cli", "the command tree, output, errors, completion, the manual page"),
            Folder("documents", "`xml`, `settings` and the values in documents", ("cli",)),
            Folder("files", "`files` and `hash`", ("cli",)),
            Folder("paths", "`path`", ("cli",)),
            Folder("locale", "`locale`", ("cli",)),
            Folder("expressions", "`expr`", ("cli", "documents")),
            Folder("xliff", "`xliff`", ("cli", "documents")),
            Folder("messages", "`message`: messages as files and as JSON", ("cli", "documents")),
            Folder("ipc", "`ipc`: talking to servers", ("cli", "messages")),
            Folder("grid", "`grid`: inspecting and cleaning grids", ("cli", "ipc")),
        ),
        top=("cli",),
    ),
)

@dataclass(frozen=True)
class Replaced:
    """A function that only one file may call."""

    call: str
    file: str
    better: str


REPLACED = (
    Replaced("QDir::cleanPath(", "source/qvutil/base/QtCompat_p.h",
             "keeps doubled slashes since Qt 6.8: call QDirCleanPath, or QDir::canonicalPath in an example"),
)
CALLERS = ("source", "tools", "examples")

SOURCES = {".h", ".cpp", ".mm"}
INCLUDE = re.compile(r'^\s*#\s*(?:include|import)\s*(["<])([^">]+)[">]')
SYSTEM = re.compile(r"^\s*#\s*(?:if|ifdef|ifndef|elif)\b.*\b(?:Q_OS_\w+|__linux__|__APPLE__|__unix__|_WIN32)\b")
NOT_API = re.compile(r"^// .*\bnot (?:API|part of the interface)\b", re.MULTILINE)
PAGE = pathlib.PurePosixPath("docs/architecture.md")


def check_table(tree, root):
    """Yields the mistakes in the table itself."""
    known = set()
    for folder in tree.folders:
        for below in folder.includes:
            if below not in known:
                yield f"{tree.path}: {folder.name} may not include {below}, which is not above it in the table"
        known.add(folder.name)
        if not (root / tree.path / folder.name).is_dir():
            yield f"{tree.path}: the table names the folder {folder.name}, which does not exist"
        for header in folder.headers:
            if not (root / tree.path / header).is_file():
                yield f"{tree.path}: the table names the header {header}, which does not exist"
    for path in sorted((root / tree.path).iterdir()):
        if path.is_dir() and path.name not in known:
            yield f"{tree.path}: the folder {path.name} is not in the table of scripts/layers.py"


def folder_of(tree, relative):
    """Returns the folder that a file belongs to; empty for a file in the top folder that belongs to none."""
    if len(relative.parts) > 1:
        return relative.parts[0]
    return next((folder.name for folder in tree.folders if relative.name in folder.headers), "")


def check_names(tree, relative, text):
    if not tree.is_library or relative.suffix not in SOURCES:
        return
    on_top = len(relative.parts) == 1
    if on_top and not folder_of(tree, relative):
        yield 1, "only public headers belong here, and the table of scripts/layers.py must name each of them"
    if not on_top and relative.suffix == ".h" and not relative.stem.endswith("_p"):
        yield 1, "the name of a private header must end in _p.h"
    if not on_top and relative.suffix == ".h" and not NOT_API.search(text):
        yield 1, "a private header must say in a comment that it is not part of the interface"


def check_lines(tree, root, relative, text):
    here = folder_of(tree, relative)
    row = next((folder for folder in tree.folders if folder.name == here), None)
    allowed = {here, *(row.includes if row else tree.top)}
    may_ask = bool(tree.knows_systems & {here, relative.as_posix()})
    for number, line in enumerate(text.splitlines(), 1):
        if SYSTEM.match(line) and not may_ask:
            yield number, "tests for the operating system: move this to platform, or to a file that is compiled on one system only"
        match = INCLUDE.match(line)
        if not match or match[2].endswith(".moc"):
            continue
        name = match[2].removeprefix("qvutil/") if tree.is_library else match[2]
        if ".." in pathlib.PurePosixPath(name).parts or not (root / tree.path / name).is_file():
            if match[1] == '"':
                yield number, f'"{match[2]}" is not a file of {tree.path}; paths in quotes are relative to that folder'
            continue
        target = folder_of(tree, pathlib.PurePosixPath(name))
        if target not in allowed:
            yield number, f"{here or 'a file in the top folder'} may not include {target or name}"


def check_tree(tree, root):
    yield from check_table(tree, root)
    top = root / tree.path
    for path in sorted(top.rglob("*")):
        relative = path.relative_to(top)
        if path.suffix not in SOURCES:
            continue
        text = path.read_text(encoding="utf-8")
        for number, reason in [*check_names(tree, relative, text), *check_lines(tree, root, relative, text)]:
            yield f"{tree.path}/{relative}:{number}: {reason}"


def check_calls(root):
    for path in sorted(path for folder in CALLERS for path in (root / folder).rglob("*") if path.suffix in SOURCES):
        name = path.relative_to(root).as_posix()
        for number, line in enumerate(path.read_text(encoding="utf-8").splitlines(), 1):
            for function in REPLACED:
                if function.call in line and name != function.file:
                    yield f"{name}:{number}: {function.call}) {function.better}"


def table(tree):
    """Returns the table in Markdown."""
    quoted = lambda names: ", ".join(f"`{name}`" for name in names) or "–"
    rows = ["| folder | subject | may include |", "| --- | --- | --- |"]
    if tree.is_library:
        rows = ["| folder | subject | public headers | may include |", "| --- | --- | --- | --- |"]
    for folder in tree.folders:
        cells = [f"`{folder.name}`", folder.subject, quoted(folder.includes)]
        if tree.is_library:
            cells.insert(2, quoted(folder.headers))
        rows.append("| " + " | ".join(cells) + " |")
    return "\n".join(rows) + "\n"


def check_page(trees, root, update):
    page = root / PAGE
    old = new = page.read_text(encoding="utf-8") if page.is_file() else ""
    for tree in trees:
        begin = f"<!-- layers: {tree.path} -->\n"
        if begin not in new:
            yield f"{PAGE}: the line {begin.strip()} is missing"
            continue
        new = re.sub(re.escape(begin) + r"(?:\|[^\n]*\n)*", lambda match, text=begin + table(tree): text, new)
    if new != old and update:
        page.write_text(new, encoding="utf-8")
    elif new != old:
        yield f"{PAGE}: its tables differ from scripts/layers.py; run scripts/layers.py --update"


def problems(trees, root, update=False):
    for tree in trees:
        yield from check_tree(tree, root)
    yield from check_calls(root)
    yield from check_page(trees, root, update)


def main():
    arguments = [argument for argument in sys.argv[1:] if argument != "--update"]
    root = pathlib.Path(arguments[0] if arguments else pathlib.Path(__file__).parent.parent).resolve()
    found = list(problems(TREES, root, "--update" in sys.argv))
    print("\n".join(found) if found else "Every folder includes only what it may")
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main())
