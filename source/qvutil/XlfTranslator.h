// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_XLFTRANSLATOR_H
#define QVUTIL_XLFTRANSLATOR_H

#include "XmlFiler.h" // declares XlfTranslator

#endif // QVUTIL_XLFTRANSLATOR_H
