// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_PARAMETERTYPES_P_H
#define QVUTIL_PARAMETERTYPES_P_H

// Internal, not API: may change in any version.

#include <QLatin1StringView>
#include <QMetaType>
#include <QStringView>

// The types of parameters, and their names on the wire.
namespace Quorvin::Util::Internal {

/// \return the name of a type in frames; empty if it has none
[[nodiscard]] QLatin1StringView TypeName(int typeId);
/// \return the id of the type with the name \p name, compared case-insensitively; 0 if there is none
[[nodiscard]] int TypeIdOf(QStringView name);
[[nodiscard]] int TypeIdOf(QLatin1StringView name);
/// Returns whether the type is one of those from Bool to QByteArray. Frames contain their names, and the
/// values of all but ULongLong and QChar.
[[nodiscard]] constexpr bool IsSupportedTypeId(int typeId)
{
    return typeId >= QMetaType::Bool && typeId <= QMetaType::QByteArray;
}

} // namespace Quorvin::Util::Internal

#endif // QVUTIL_PARAMETERTYPES_P_H
