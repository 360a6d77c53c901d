// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_TESTS_COREFOUNDATION_H
#define QVUTIL_TESTS_COREFOUNDATION_H

// The part of CoreFoundation that the macOS backend uses, for other systems.

#include <cstdint>

extern "C" {

using CFTypeRef = const void*;
using CFLocaleRef = const struct __CFLocale*;
using CFStringRef = const struct __CFString*;
using CFIndex = long;
using CFStringEncoding = std::uint32_t;
using Boolean = unsigned char;

constexpr CFStringEncoding kCFStringEncodingMacRoman = 0;
constexpr CFStringEncoding kCFStringEncodingUTF8 = 0x08000100;

CFLocaleRef CFLocaleCopyCurrent();
CFStringRef CFLocaleGetIdentifier(CFLocaleRef locale);
CFStringEncoding CFStringGetSystemEncoding();
const char* CFStringGetCStringPtr(CFStringRef string, CFStringEncoding encoding);
Boolean CFStringGetCString(CFStringRef string, char* buffer, CFIndex bufferSize, CFStringEncoding encoding);
CFIndex CFStringGetLength(CFStringRef string);
void CFRelease(CFTypeRef object);
}

#endif // QVUTIL_TESTS_COREFOUNDATION_H
