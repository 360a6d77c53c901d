#!/usr/bin/env python3
# SPDX-FileCopyrightText: 2026 The QvUtil developers
# SPDX-License-Identifier: MIT

"""Finds phrases that make our English hard to read, and suggests better ones.

    prose.py [ROOT]

Checks the pages and comments of the files in SCOPE, below ROOT (by default, the tree that contains this script). In
Markdown it reads all text but code; in other files it reads the comments, and the docstrings of Python. Each finding
is printed as FILE:LINE: "PHRASE": SUGGESTION. The exit code is 1 if there are findings.

To check more files, add their patterns to SCOPE.
"""

import ast
import io
import pathlib
import re
import sys
import tokenize
from typing import NamedTuple

# Patterns of files, relative to ROOT.
SCOPE = (
    "*.md",
    "docs/*.md",
    "docs/Doxyfile.in",
    "scripts/*",
    *(f"{folder}/**/*{suffix}" for folder in ("source", "tests", "examples", "benchmarks")
      for suffix in (".h", ".cpp", ".mm")),
    *(f"tools/qvutil/{folder}/*{suffix}"
      for folder in ("cli", "documents", "expressions", "files", "grid", "ipc", "locale", "messages", "paths",
                     "xliff")
      for suffix in (".h", ".cpp")),
    "tests/scripts/*.py",
    ".ci/*",
    ".github/workflows/*",
    ".pre-commit-config.yaml",
    ".clang-tidy",
    ".clazy",
    ".cmake-format.py",
    "CMakeLists.txt",
    "cmake/*",
    "source/**/CMakeLists.txt",
    "tools/**/CMakeLists.txt",
    "benchmarks/**/CMakeLists.txt",
    "examples/**/CMakeLists.txt",
    "examples/*.cmake",
    "tests/**/CMakeLists.txt",
    "tests/**/*.cmake",
    "debian/rules",
    "debian/tests/*",
)


class Rule(NamedTuple):
    pattern: str  # a space matches any white space; START matches the start of a sentence
    better: str
    example: str  # a sentence with a finding


START = "START"
RULES = (
    # Sentences without a clear subject
    Rule(START + r"Who(?:ever)?\b(?![^.!]*\?)", 'name the actor: "A process that joins …"', "Who joins is entered."),
    Rule(r"\bwhoever\b", 'name the actor: "the process that …"', "It is locked by whoever reads it."),
    Rule(START + r"What\b(?![^.!]*\?)", 'name the thing: "Incomplete frames …"', "What does not parse is skipped."),
    Rule(START + r"Whatever\b", "name the thing", "Whatever is larger travels in a file."),
    Rule(START + r"Not to\b", "name the actor and the condition", "Not to wait could leave an empty file."),
    Rule(START + r"Nor\b", 'say "also … not", or begin with the subject', "It is not read. Nor is it written."),
    Rule(START + r"That\b[^.,;]* stays\b", 'say what is kept: "X is kept"', "That the first file counts stays."),
    Rule(START + r"Be it\b|\bbe (?:it|they|there)\b", '"even if" or "whether"', "It ends, be it true or false."),
    # Turns that readers stumble over
    Rule(r"\bthe other ones?\b", "repeat the noun", "The other one decides."),
    Rule(r"\bof (?:its|their|his) own\b", '"its own …", "separate" or "complete"', "It has a folder of its own."),
    Rule(r"\bso many (?!that\b)\w+", "give the number, or name the constant", "Up to so many bytes are whole."),
    Rule(r"\b(?:tell|tells|told) (?:\w+ ){0,2}apart\b", '"distinguish" or "test for"', "It is told apart here."),
    Rule(r"\b(?:is|are|was|were|be|been) told\b", '"is reported" or "is logged"', "The user is told."),
    Rule(r"\btells?(?= (?:why|whether|which|what|when|where|of|about|that)\b|[.;,:])", '"reports" or "shows"',
         "The result tells why."),
    Rule(r"\bspeaks? of\b", '"reports" or "mentions"', "The page speaks of limits."),
    Rule(r"\bfor (?:him|her|it)self\b", '"sole" or "exclusive"', "The saver has it for himself."),
    Rule(r"\btakes? another(?:'s|’s)", "name what is taken", "It takes another's file."),
    Rule(r"\blets? (?:it|them)(?:self|selves)\b", 'say "can be …"', "The file lets itself be read."),
    Rule(r"\bin vain\b", '"fails"', "It waits in vain."),
    Rule(r"\ba moment\b", '"briefly" or "for a short time"', "It waits a moment."),
    Rule(r"\bat (?:the )?worst\b", '"at most" or "in the worst case"', "At the worst, it is lost."),
    Rule(r"\bby turns\b", '"in turn" or "alternately"', "They are asked by turns."),
    Rule(r"\ball the same\b", '"anyway" or "still"', "It is sent all the same."),
    Rule(r"\bafresh\b|\banew\b", '"again" or "from scratch"', "The file is read afresh."),
    Rule(r"\b(?:way|ways) there and back\b", '"round trip"', "It measures the way there and back."),
    Rule(r"\bpatience\b", '"time-out"', "Its patience ends after a second."),
    Rule(r"\b(?:leftovers?|abandoned files?)\b", '"stale" file, entry or socket', "It removes leftovers."),
    Rule(r"\bgives? (?:back )?(?:true|false|-?\d+)\b|\bgave (?:true|false|-?\d+)\b", '"returns"', "It gives false."),
    Rule(r"\bwants? (?:an|the|no) answer\b", '"needs" or "waits for" an answer', "A message that wants no answer."),
    Rule(r"\b(?:stand|stands|stood) (?:in|at|on|once|before|behind|beside|there)\b", 'say where it "is"',
         "The version stands in a header."),
    Rule(r"\b(?:lie|lies) (?:in|at|on|beside|below|behind)\b", 'say where it "is"', "The file lies in the folder."),
    Rule(r"\bhand(?:s|ed)? on\b", '"forward" or "pass"', "It hands on every byte."),
    Rule(r"\b(?:is|are|was|were) to (?:be|go|get|have|come|report|make|find|build|run)\b", '"must", "will" or "should"',
         "The symbols are to be recorded."),
    Rule(r"\blook(?:s|ed|ing)? after\b", '"manage" or "maintain"', "It looks after the packages."),
    Rule(r"\bmend(?:s|ed|ing)?\b", '"fix"', "It mends the links."),
    Rule(r"\bthe house(?:'s|’s)", '"the project\'s"', "It sets the house's warnings."),
    Rule(r"\bquick(?:er|est)? reader\b|\bdirect way\b", '"fast path"', "The quick reader gives up."),
    Rule(r"\bwhat (?:it|they) takes?\b", '"requirements" or "needs"', "See what it takes."),
    Rule(r"\bsafe file\b", '"atomic write"', "It writes a safe file."),
    # Spelling and slips
    Rule(r"\b(?:colors?|colored|behaviors?|favorites?|centers?|canceled|labeled)\b",
         "British spelling", "The color is red."),
    Rule(r"\b(?:analyz|initializ|serializ|normaliz|optimiz|recogniz|organiz|localiz|synchroniz|customiz)\w+",
         "British spelling: -ise, -yse", "It initializes the list."),
    Rule(r"\blicense\b", 'British spelling of the noun: "licence"', "It has no license."),
    Rule(r"\b(?!that\b|had\b|long\b|\d)(\w+) \1\b", "a word is repeated", "It reads the the file."),
)
WRAPPED = 'end the line at the end of a sentence'
QUESTION = 'name a task or a thing: "Save a document"'

SENTENCE_START = r"(?:\A|(?<=[.!?] )|(?<=[.!?]\n)|(?<=: ))"
COMPILED = [
    (re.compile(rule.pattern.replace(START, SENTENCE_START).replace(" ", r"\s"),
                0 if rule.pattern.startswith(START) else re.IGNORECASE), rule)
    for rule in RULES
]
CODE = re.compile(r"``.*?``|`[^`\n]*`")
LINK_TARGET = re.compile(r"(?<=\])\([^)\s]*\)")
STRUCTURE = re.compile(r"\s*(?:[-*+] |\d+\. |#+ |\||>|!\[|<|---)")  # starts a new block in Markdown


class Text(NamedTuple):
    """A paragraph: its first line, counted from 1, and its lines."""

    first: int
    lines: list
    is_heading: bool = False


def markdown_texts(text):
    paragraph = None
    in_code = False
    for number, line in enumerate(text.split("\n"), 1):
        if re.match(r"\s*(?:```|~~~)", line):
            in_code = not in_code
            line = ""
        if in_code or not line.strip() or line.lstrip().startswith("<!--"):
            if paragraph:
                yield paragraph
            paragraph = None
            continue
        line = LINK_TARGET.sub("", CODE.sub("CODE", line))
        if STRUCTURE.match(line):
            if paragraph:
                yield paragraph
            heading = re.match(r"#+ (.*)", line)
            cells = line.strip().strip("|").split("|") if line.lstrip().startswith("|") else []
            if heading or cells:
                yield from (Text(number, [cell.strip()], bool(heading)) for cell in cells or [heading[1]])
                paragraph = None
            else:
                paragraph = Text(number, [re.sub(r"^\s*(?:[-*+]|\d+\.) ", "", line)])
        elif paragraph:
            paragraph.lines.append(line)
        else:
            paragraph = Text(number, [line])
    if paragraph:
        yield paragraph


def paragraphs(comments, starts=frozenset()):
    """Joins comments, pairs of line number and text, that follow each other and do not begin on a line in STARTS."""
    paragraph = None
    for number, line in comments:
        line = re.sub(r"NOLINT\S*", "", line)
        if not line.strip() or re.match(r"\s*(?:SPDX-|shellcheck |!|clang-format )", line):
            continue
        if paragraph and number == paragraph.first + len(paragraph.lines) and number not in starts:
            paragraph.lines.append(CODE.sub("CODE", line.strip()))
            continue
        if paragraph:
            yield paragraph
        paragraph = Text(number, [CODE.sub("CODE", line.strip())])
    if paragraph:
        yield paragraph


def hash_texts(text):
    comments = []
    for number, line in enumerate(text.split("\n"), 1):
        match = re.match(r"""(?:[^'"#]|'[^']*'|"(?:\\.|[^"\\])*"|(?<=\S)#)*?(?:(?<=\s)|^)#(.*)""", line)
        if match:
            comments.append((number, match[1]))
    return paragraphs(comments)


def cpp_texts(text):
    comments = []
    behind_code = set()
    in_code = False
    for number, line in enumerate(text.split("\n"), 1):
        match = re.match(r"""((?:[^"'/]|"(?:\\.|[^"\\])*"|'(?:\\.|[^'\\])*'|/(?!/))*)//+[/!<]*(.*)""", line)
        if not match:
            continue
        if re.match(r"\s*\\(?:end)?code\b", match[2]):
            in_code = "\\code" in match[2]
        elif not in_code:
            comments.append((number, match[2]))
            if match[1].strip():
                behind_code.add(number)
    return paragraphs(comments, behind_code)


def python_texts(text):
    comments = [(token.start[0], token.string[1:]) for token in tokenize.generate_tokens(io.StringIO(text).readline)
                if token.type == tokenize.COMMENT]
    yield from paragraphs(comments)
    for node in ast.walk(ast.parse(text)):
        if isinstance(node, (ast.Module, ast.ClassDef, ast.FunctionDef)) and ast.get_docstring(node):
            first = node.body[0].lineno
            yield from paragraphs(enumerate(ast.get_docstring(node, clean=False).split("\n"), first))


def texts_of(path, text):
    """Returns the paragraphs of a file that people read."""
    if path.suffix == ".md":
        return markdown_texts(text)
    if path.suffix in (".h", ".cpp", ".mm"):
        return cpp_texts(text)
    if path.suffix == ".py" or text.startswith("#!/usr/bin/env python3"):
        return python_texts(text)
    return hash_texts(text)


def findings_of(text):
    """Yields line, phrase and suggestion for each finding in a paragraph."""
    joined = "\n".join(line.rstrip() for line in text.lines)
    for pattern, rule in COMPILED:
        if text.is_heading and rule.pattern.startswith(START):
            continue  # "What a change needs" is a good heading
        for match in pattern.finditer(joined):
            yield text.first + joined.count("\n", 0, match.start()), " ".join(match[0].split()), rule.better


def shape_findings(text):
    """Yields the findings that only pages can have."""
    if text.is_heading and text.lines[0].endswith("?"):
        yield text.first, text.lines[0], QUESTION
    for number, line in enumerate(text.lines[:-1], text.first):
        if not re.search(r"[.:!?][\")*_\]]*\s*$", line):
            yield number, line.split()[-1], WRAPPED


def check(path, text):
    for paragraph in texts_of(path, text):
        yield from findings_of(paragraph)
        if path.suffix == ".md":
            yield from shape_findings(paragraph)


def problems(root, scope=SCOPE):
    files = sorted({path for pattern in scope for path in root.glob(pattern) if path.is_file()})
    for path in files:
        name = path.relative_to(root).as_posix()
        if path.suffix == ".pyc":
            continue
        for line, phrase, better in sorted(check(path, path.read_text(encoding="utf-8"))):
            yield f'{name}:{line}: "{phrase}": {better}'


def main():
    root = pathlib.Path(sys.argv[1] if len(sys.argv) > 1 else pathlib.Path(__file__).parent.parent).resolve()
    found = list(problems(root))
    print("\n".join(found) if found else "The prose has none of the phrases that we avoid")
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main())
