# SPDX-FileCopyrightText: 2026 The QvUtil developers
# SPDX-License-Identifier: MIT

# Prints what zsh offers at the end of the command line in the file `line`. Completion needs the line editor, and that
# needs a terminal, where .zshrc does the work.
zmodload zsh/zpty
zpty inner 'zsh --no-globalrcs --interactive'
while zpty -r inner text; do done
cat offered 2>/dev/null
true
