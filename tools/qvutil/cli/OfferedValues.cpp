// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "cli/OfferedValues.h"

#include <QHash>

namespace Quorvin::Tool {
namespace {

QHash<QString, QStringList (*)()>& Lists()
{
    static QHash<QString, QStringList (*)()> lists;
    return lists;
}

} // namespace

void OfferValues(const QString& kind, QStringList (*list)())
{
    Lists().insert(kind, list);
}

QStringList ListValues(const QString& kind)
{
    const auto list = Lists().value(kind);
    return list ? list() : QStringList();
}

} // namespace Quorvin::Tool
