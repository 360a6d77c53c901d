// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_QVUTILGLOBAL_H
#define QVUTIL_QVUTILGLOBAL_H

#include <QtCore/QtGlobal>

/// Version of the library as text, and as a number of the form 0xMMmmpp for comparisons.
#define QVUTIL_VERSION_STR "1.0.0"
#define QVUTIL_VERSION 0x010000

/// \namespace Quorvin::Util Contains all classes and functions of the library except
/// BooleanExpressionEvaluator, which is in the global namespace.

/// Exports a class or function from the shared library, where everything else is hidden.
#define QVUTIL_EXPORT __attribute__((visibility("default")))

#endif // QVUTIL_QVUTILGLOBAL_H
