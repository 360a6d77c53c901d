// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

// A library that tests load in order to look for its folder.
extern "C" __attribute__((visibility("default"))) int ProbeLibraryAnswer()
{
    return 42;
}
