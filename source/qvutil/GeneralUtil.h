// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_GENERALUTIL_H
#define QVUTIL_GENERALUTIL_H

#include "QvUtilGlobal.h"

#include <QtCore/QByteArray>
#include <QtCore/QString>
#include <QtCore/QStringList>

namespace Quorvin::Util {

/// One row of an enumeration's name table. Tables are plain arrays that belong to the caller.
struct EnumValueName
{
    int Value; ///< the enumeration value; a single bit in a table of flags
    QString Name; ///< the name written to XML
};

/// Helpers for strings, paths, files and the application's folders.
class QVUTIL_EXPORT GeneralUtil
{
public:
    [[nodiscard]] static QString EnumValueToName(int value, const EnumValueName* table, int count, bool flags);
    [[nodiscard]] static int EnumNameToValue(const QString& name, EnumValueName* table, int count, bool flags);
    [[nodiscard]] static QStringList GetEnumNames(EnumValueName* table, int count);
    [[nodiscard]] static QByteArray GetHash(const QString& text);
    static void OutputDebugString(const QString& text);
    static void OutputDebugString(const wchar_t* text);
};

} // namespace Quorvin::Util

#endif // QVUTIL_GENERALUTIL_H
