#!/usr/bin/env python3
# SPDX-FileCopyrightText: 2026 The QvUtil developers
# SPDX-License-Identifier: MIT

"""Repairs the links in the reference that Doxygen has built.

    links.py HTML_FOLDER

The handbook links to examples and sources in the repository, and to headings of its pages; Doxygen does not resolve
these links. This script copies the files into HTML_FOLDER, replaces a link to a folder with one to its main.cpp or
CMakeLists.txt, and adds the files to the project file of the help collection. The exit code is 1 if a link or a picture
leads nowhere.
"""

import functools
import html
import pathlib
import re
import shutil
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
LINK = re.compile(r'((?:\bhref|\bsrc|\bdata)=")(?!\w+:)([^"#]*)(#[\w-]*)?(?=")')
FILES = re.compile(r"(?<=<files>\n).*(?=</files>)", re.DOTALL)
HEADING = re.compile(r'<h\d><a class="anchor" id="(autotoc_\w+)"></a>\s*(.*?)</h\d>', re.DOTALL)


@functools.lru_cache(maxsize=None)
def headings(page):
    """Maps the names that Markdown links use for the headings of a page to the ids of the headings."""
    ids = {}
    for identity, title in HEADING.findall(page.read_text(encoding="utf-8")):
        words = html.unescape(re.sub(r"<[^>]*>", "", title)).strip().lower()
        ids["#" + re.sub(r"[^\w -]", "", words).replace(" ", "-")] = "#" + identity
    return ids


def page_of(path, folder):
    """Returns the HTML page of a handbook page: md_docs_NAME.html up to Doxygen 1.9.7, then md_docs_2NAME.html."""
    name = pathlib.Path(path).stem
    if name == "README":
        return "index.html"
    newer = f"md_docs_2{name}.html"
    return newer if (folder / newer).exists() else f"md_docs_{name.replace('-', '_')}.html"


def copied(path, folder):
    name = re.sub(r"^(\.\./)+", "", path)
    for file in (name, f"docs/{name}", f"{name}/main.cpp", f"{name}/CMakeLists.txt"):
        if (ROOT / file).is_file():
            (folder / file).parent.mkdir(parents=True, exist_ok=True)
            shutil.copyfile(ROOT / file, folder / file)
            return file
    return path


def mended(link, page):
    attribute, path, heading = link[1], link[2], link[3] or ""
    if path and not (page.parent / path).exists():
        path = page_of(path, page.parent) if path.endswith(".md") else copied(path, page.parent)
    target = page.parent / path if path else page
    if heading and target.suffix == ".html" and target.exists():
        heading = headings(target).get(heading, heading)
    return attribute + path + heading


def list_files(project):
    """Lists all files in the project of the help collection; Doxygen lists only the files that it wrote."""
    folder = project.parent
    files = sorted(file.relative_to(folder) for file in folder.rglob("*") if file.is_file() and file != project)
    lines = "".join(f"<file>{html.escape(str(file))}</file>\n" for file in files)
    project.write_text(FILES.sub(lambda _: lines, project.read_text(encoding="utf-8")), encoding="utf-8")


def leads_nowhere(path, heading, page):
    target = page.parent / path if path else page
    is_ours = page.name == "index.html" or page.name.startswith("md_")
    return not target.exists() or bool(
        is_ours and heading[1:] and f'id="{heading[1:]}"' not in target.read_text(encoding="utf-8"))


def main():
    good = True
    folder = pathlib.Path(sys.argv[1])
    for page in sorted(folder.glob("*.html")):
        old = page.read_text(encoding="utf-8")
        new = LINK.sub(lambda link: mended(link, page), old)
        if new != old:
            page.write_text(new, encoding="utf-8")
        for _, path, heading in LINK.findall(new):
            if leads_nowhere(path, heading, page):
                print(f"{page.name}: the link to {path}{heading} leads nowhere")
                good = False
    list_files(folder / "index.qhp")
    return 0 if good else 1


if __name__ == "__main__":
    sys.exit(main())
