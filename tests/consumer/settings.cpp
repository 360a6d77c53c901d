// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "settings.h"

#include <XmlFiler.h>

int CountRun(const QString& file)
{
    Quorvin::Util::Settings settings(file, QStringLiteral("Consumer"));
    const int runs = settings.ReadInt(QStringLiteral("Runs"), QStringLiteral("Count"), 0) + 1;
    settings.WriteInt(QStringLiteral("Runs"), QStringLiteral("Count"), runs);
    return runs;
}
