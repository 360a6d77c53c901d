// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_PARAMETERTYPES_P_H
#define QVUTIL_PARAMETERTYPES_P_H

// This file is not part of the interface. It may change from one version to the next.

#include <QLatin1StringView>
#include <QMetaType>
#include <QStringView>

// The types of parameters and their names on the wire.
namespace Quorvin::Util::Internal {

/// \return the name that stands for a type in frames; empty for types that have none
[[nodiscard]] QLatin1StringView TypeName(int typeId);
/// \return the id of the type named \p name, in any case; 0 if there is none
[[nodiscard]] int TypeIdOf(QStringView name);
[[nodiscard]] int TypeIdOf(QLatin1StringView name);
/// Whether values of that type are written by type, Bool to QByteArray.
[[nodiscard]] constexpr bool IsSupportedTypeId(int typeId)
{
    return typeId >= QMetaType::Bool && typeId <= QMetaType::QByteArray;
}

} // namespace Quorvin::Util::Internal

#endif // QVUTIL_PARAMETERTYPES_P_H
