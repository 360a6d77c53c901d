// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_TESTS_COPYFILE_H
#define QVUTIL_TESTS_COPYFILE_H

// The part of copyfile that the macOS backend uses, for other systems.

#include <cstdint>

extern "C" {

using copyfile_state_t = struct _copyfile_state*;
using copyfile_flags_t = std::uint32_t;

constexpr copyfile_flags_t COPYFILE_ACL = 1 << 0;
constexpr copyfile_flags_t COPYFILE_XATTR = 1 << 2;

int fcopyfile(int from, int to, copyfile_state_t state, copyfile_flags_t flags);
}

#endif // QVUTIL_TESTS_COPYFILE_H
