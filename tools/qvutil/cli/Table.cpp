// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "cli/Table.h"

#include "cli/Console.h"
#include "cli/TextWidth.h"

#include <algorithm>

namespace Quorvin::Tool {

QStringList FormatTable(const QList<QStringList>& rows)
{
    QList<qsizetype> widths;
    for (const QStringList& row : rows) {
        widths.resize(std::max(widths.size(), row.size()));
        for (qsizetype i = 0; i < row.size(); ++i)
            widths[i] = std::max(widths.at(i), ColumnsOf(row.at(i)));
    }
    QStringList lines;
    for (const QStringList& row : rows) {
        QString line;
        for (qsizetype i = 0; i < row.size(); ++i) {
            line += row.at(i);
            if (i + 1 < row.size())
                line += QString(widths.at(i) + 2 - ColumnsOf(row.at(i)), u' ');
        }
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
