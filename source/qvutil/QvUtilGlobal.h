// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_QVUTILGLOBAL_H
#define QVUTIL_QVUTILGLOBAL_H

#include <QtCore/QtGlobal>

/// Version of the library's interface, as text and as one comparable number (0xMMmmpp).
#define QVUTIL_VERSION_STR "1.0.0"
#define QVUTIL_VERSION 0x010000

/// \namespace Quorvin::Util
/// The library's classes and functions. BooleanExpressionEvaluator alone is outside of it, in the global
/// namespace.

/// Marks what the shared library shows to its hosts; everything else is hidden.
#define QVUTIL_EXPORT __attribute__((visibility("default")))

#endif // QVUTIL_QVUTILGLOBAL_H
