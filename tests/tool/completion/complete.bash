# SPDX-FileCopyrightText: 2026 The QvUtil developers
# SPDX-License-Identifier: MIT

# Prints what bash offers for the command line whose words, as its line editor splits it, are the lines of the file
# `words`. Bash inserts these answers as they are.
source ./script
while IFS= read -r word; do
    COMP_WORDS+=("$word")
done <words
COMP_CWORD=$((${#COMP_WORDS[@]} - 1))
_qvutil
for candidate in "${COMPREPLY[@]}"; do
    printf '%s\n' "${candidate//\\/}"
done
printf '%s\n' "${COMPREPLY[@]}" >inserted
