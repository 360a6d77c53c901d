// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "cli/Table.h"

#include "cli/Console.h"

#include <algorithm>

namespace Quorvin::Tool {

QStringList FormatTable(const QList<QStringList>& rows)
{
    QList<qsizetype> widths;
    for (const QStringList& row : rows) {
        widths.resize(std::max(widths.size(), row.size()));
        for (qsizetype i = 0; i < row.size(); ++i)
            widths[i] = std::max(widths.at(i), row.at(i).size());
    }
    QStringList lines;
    for (const QStringList& row : rows) {
        QString line;
        for (qsizetype i = 0; i < row.size(); ++i)
            line += i + 1 < row.size() ? row.at(i).leftJustified(widths.at(i) + 2) : row.at(i);
        lines.append(line);
    }
    return lines;
}

void PrintTable(const QList<QStringList>& rows)
{
    const QStringList lines = FormatTable(rows);
    for (const QString& line : lines)
        Console::PrintLine(line);
}

} // namespace Quorvin::Tool
