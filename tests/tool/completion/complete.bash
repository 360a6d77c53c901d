# SPDX-FileCopyrightText: 2026 The QvUtil developers
# SPDX-License-Identifier: MIT

# Prints what bash offers for a command line. Each line of the file `words` is a word of the command line, as bash's
# line editor splits it. Bash inserts what is printed, unchanged.
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
