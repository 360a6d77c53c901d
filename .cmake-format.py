# SPDX-FileCopyrightText: 2026 The QvUtil developers
# SPDX-License-Identifier: MIT

# What `scripts/lint cmake` asks of CMake files, by cmake-lint. The formatter of the same package is not used: it
# does not know newer arguments such as FILE_SET, and scatters them.

with section("format"):
    line_width = 120
    tab_size = 4

with section("lint"):
    disabled_codes = [
        "C0103",  # names: locals are in lower case and switches in upper case, in the same scope
        "C0111",  # a comment stands before a function, where readers of CMake look for it
        "C0113",  # some custom targets have nothing to announce
        "E1120",  # these three come from commands that cmake-lint knows too old a form of
        "E1122",
        "E1126",
    ]
