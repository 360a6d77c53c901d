// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_SETTINGS_H
#define QVUTIL_SETTINGS_H

#include "XmlFiler.h" // declares Settings

#endif // QVUTIL_SETTINGS_H
