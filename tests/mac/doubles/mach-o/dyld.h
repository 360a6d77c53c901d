// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_TESTS_DYLD_H
#define QVUTIL_TESTS_DYLD_H

#include <cstdint>

struct mach_header;

extern "C" {

std::uint32_t _dyld_image_count();
const mach_header* _dyld_get_image_header(std::uint32_t index);
const char* _dyld_get_image_name(std::uint32_t index);
}

#endif // QVUTIL_TESTS_DYLD_H
