#!/usr/bin/env python3
# SPDX-FileCopyrightText: 2026 The QvUtil developers
# SPDX-License-Identifier: MIT

"""Compares the code in the documentation with the examples, which the tests compile and run.

    snippets.py [--update]

A comment <!-- snippet: FILE [NAME] --> precedes each fenced block that repeats FILE, without the licence lines at the
top. With NAME, the block repeats only the part of FILE between two lines `//! [NAME]`. The exit code is 1 if a block
differs. With --update, the script rewrites such blocks.
"""

import pathlib
import re
import sys
import textwrap

ROOT = pathlib.Path(__file__).resolve().parent.parent
BLOCK = re.compile(r"(<!-- snippet: (\S+?)(?: (\S+))? -->\n```\w*\n)(.*?)(^```$)", re.DOTALL | re.MULTILINE)
LICENCE = re.compile(r"\A(?:(?://|#) SPDX-[^\n]*\n)+\n*")


def wanted(file, name):
    text = (ROOT / file).read_text(encoding="utf-8")
    if name:
        parts = re.split(r"^[ \t]*(?://|#)! \[%s\]\n" % re.escape(name), text, flags=re.MULTILINE)
        if len(parts) != 3:
            sys.exit(f"{file} has no part [{name}]")
        text = parts[1]
    text = re.sub(r"^[ \t]*(?://|#)! \[\S+\]\n", "", text, flags=re.MULTILINE)
    return textwrap.dedent(LICENCE.sub("", text))


def links_that_lead_nowhere(page, text):
    for target in re.findall(r"\]\(([^)#\s]+)(?:#[^)]*)?\)", text):
        if "://" not in target and not (page.parent / target).exists():
            yield target


def main():
    update = sys.argv[1:] == ["--update"]
    good = True
    blocks = 0
    for page in sorted(ROOT.glob("*.md")) + sorted((ROOT / "docs").glob("*.md")):
        old = page.read_text(encoding="utf-8")
        blocks += len(BLOCK.findall(old))
        new = BLOCK.sub(lambda match: match[1] + wanted(match[2], match[3]) + match[5], old)
        if old.count("<!-- snippet:") != len(BLOCK.findall(old)):
            print(f"{page.name}: a snippet comment is not followed by a code block")
            good = False
        for target in links_that_lead_nowhere(page, old):
            print(f"{page.name}: the link to {target} leads nowhere")
            good = False
        if new != old and update:
            page.write_text(new, encoding="utf-8")
            print(f"{page.name}: updated")
        elif new != old:
            print(f"{page.name}: a code block differs from its example; run scripts/docs --update")
            good = False
    print(f"{blocks} code blocks checked")
    return 0 if good else 1


if __name__ == "__main__":
    sys.exit(main())
