// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "xliff/PlaceList.h"

#include "cli/Console.h"
#include "xliff/CommandSupport.h"

#include <QHash>
#include <QStringList>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace Quorvin::Tool {
namespace {

constexpr qsizetype kMaxSeparate = 3;
constexpr qsizetype kMaxPlaces = 3;

QString KeyOf(const PlaceLine& line)
{
    return line.File + u'\n' + line.Tag + u'\n' + line.Prefix + u'\n' + line.Shared;
}

QString PlacesText(const QList<PlaceLine>& lines, const QList<qsizetype>& members)
{
    QStringList places;
    for (qsizetype i = 0; i < std::min(kMaxPlaces, members.size()); ++i) {
        const PlaceLine& line = lines.at(members.at(i));
        const QString label = line.Label.isEmpty() ? QString() : u' ' + Console::Quoted(line.Label);
        places += PlaceText({}, line.Where).mid(1) + label;
    }
    QString text = places.join(", "_L1);
    if (members.size() > kMaxPlaces)
        text += u" and %1 more"_s.arg(members.size() - kMaxPlaces);
    return text;
}

} // namespace

void PrintPlaceLines(const QList<PlaceLine>& lines)
{
    QHash<QString, QList<qsizetype>> groups;
    for (qsizetype i = 0; i < lines.size(); ++i) {
        if (!lines.at(i).Shared.isEmpty())
            groups[KeyOf(lines.at(i))].append(i);
    }
    for (qsizetype i = 0; i < lines.size(); ++i) {
        const PlaceLine& line = lines.at(i);
        const QList<qsizetype> members = groups.value(KeyOf(line));
        const bool isShared = members.size() > kMaxSeparate;
        if (isShared && members.constFirst() != i)
            continue;
        const QString text = isShared
            ? u"%1 %2 (%3)"_s.arg(Count(members.size(), line.Noun), line.Shared, PlacesText(lines, members))
            : line.Text;
        Console::PrintLine(
            u"%1: %2%3 [%4]"_s.arg(PlaceText(line.File, line.Where), line.Prefix, text, line.Tag));
    }
}

} // namespace Quorvin::Tool
