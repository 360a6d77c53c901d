// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

// A library to load; the tests look for the folder it lies in.
extern "C" __attribute__((visibility("default"))) int ProbeLibraryAnswer()
{
    return 42;
}
