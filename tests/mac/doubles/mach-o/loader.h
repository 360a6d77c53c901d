// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_TESTS_LOADER_H
#define QVUTIL_TESTS_LOADER_H

#include <cstdint>

struct mach_header
{
    std::uint32_t magic;
    std::int32_t cputype;
    std::int32_t cpusubtype;
    std::uint32_t filetype;
};

#define MH_EXECUTE 0x2
#define MH_DYLIB 0x6
#define MH_BUNDLE 0x8
#define MH_DYLIB_STUB 0x9

#endif // QVUTIL_TESTS_LOADER_H
