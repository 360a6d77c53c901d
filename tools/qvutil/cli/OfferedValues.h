// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_TOOL_OFFEREDVALUES_H
#define QVUTIL_TOOL_OFFEREDVALUES_H

#include <QString>
#include <QStringList>

namespace Quorvin::Tool {

/// Makes completion offer values. Called by the functions that add groups of commands.
/// \param kind  for example "types", "locales" or "servers"
/// \param list  returns the values as they are now
void OfferValues(const QString& kind, QStringList (*list)());
/// Returns the values of a kind; empty if no group offers that kind.
[[nodiscard]] QStringList ListValues(const QString& kind);

} // namespace Quorvin::Tool

#endif // QVUTIL_TOOL_OFFEREDVALUES_H
