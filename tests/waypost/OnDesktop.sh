#!/usr/bin/env bash
# SPDX-FileCopyrightText: 2026 The QvUtil developers
# SPDX-License-Identifier: MIT

# Usage: OnDesktop.sh PROGRAM [ARGUMENT...]
#
# Runs a program on a separate desktop in memory: an X server (Xvfb) with a window manager (blackbox). The
# exit code is that of the program, or 77 if there is no Xvfb.

set -euo pipefail

if ! command -v Xvfb >/dev/null; then
    echo "skipped: there is no Xvfb here; on Debian, install the package xvfb"
    exit 77
fi
if ! command -v blackbox >/dev/null; then
    echo "there is an X server, but no window manager; on Debian, install the package blackbox" >&2
    exit 1
fi

folder=$(mktemp -d)
processes=()
finish()
{
    # Stop the window manager first: it complains if its server ends.
    for ((i = ${#processes[@]} - 1; i >= 0; --i)); do
        kill "${processes[i]}" 2>/dev/null || true
        wait "${processes[i]}" 2>/dev/null || true
    done
    rm -rf "$folder"
}
trap finish EXIT

# The server chooses a free display number, and writes the number when it is ready.
mkfifo "$folder/display"
Xvfb -displayfd 3 -screen 0 1280x960x24 -nolisten tcp 3>"$folder/display" 2>"$folder/Xvfb.log" &
processes+=($!)
if ! read -r number <"$folder/display"; then
    cat "$folder/Xvfb.log" >&2
    exit 1
fi

# Windows get the focus by a click, so that the position of the mouse does not matter.
cat >"$folder/blackboxrc" <<END
session.focusModel: ClickToFocus
session.focusNewWindows: True
session.screen0.toolbar.autoHide: True
END
export DISPLAY=:$number QT_QPA_PLATFORM=xcb
HOME=$folder blackbox -rc "$folder/blackboxrc" >"$folder/blackbox.log" 2>&1 &
processes+=($!)

"$@"
