# SPDX-FileCopyrightText: 2026 The QvUtil developers
# SPDX-License-Identifier: MIT

# The configuration of cmake-lint for `scripts/lint cmake`. The formatter of the same package is not used, because it
# does not know newer arguments such as FILE_SET and formats them badly.

with section("format"):
    line_width = 120
    tab_size = 4

with section("lint"):
    disabled_codes = [
        "C0103",  # names: in one scope, local variables are in lower case and options in upper case
        "C0111",  # comments on functions are before the function, as usual in CMake
        "C0113",  # some custom targets need no COMMENT
        "E1120",  # these three are false: cmake-lint knows only older forms of the commands
        "E1122",
        "E1126",
    ]
