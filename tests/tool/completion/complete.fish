# SPDX-FileCopyrightText: 2026 The QvUtil developers
# SPDX-License-Identifier: MIT

# Prints what fish offers at the end of the command line in the file `line`.
source script
complete -C (cat line)
