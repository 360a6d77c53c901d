// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "GeneralUtil.h"

#include "StringUtil.h"

#include <QStringView>

#include <algorithm>
#include <set>
#include <span>

namespace Quorvin::Util {
namespace {

constexpr QChar kBraceOpen = u'(';
constexpr QChar kBraceClose = u')';

std::span<const EnumValueName> Rows(const EnumValueName* table, int count)
{
    if (table == nullptr || count < 1)
        return {};
    return {table, static_cast<size_t>(count)};
}

struct LessIgnoringCase
{
    bool operator()(QStringView left, QStringView right) const
    {
        return left.compare(right, Qt::CaseInsensitive) < 0;
    }
};

} // namespace

wchar_t GeneralUtil::GetMatchingBrace(wchar_t open)
{
    return open == L'(' ? L')' : L'\0';
}

int GeneralUtil::FindMatchingBrace(const QString& text, int position)
{
    if (position < 0 || position >= text.size() || text.at(position) != kBraceOpen)
        return -1;

    int depth = 0;
    for (qsizetype i = position; i < text.size(); ++i) {
        if (text.at(i) == kBraceOpen)
            ++depth;
        else if (text.at(i) == kBraceClose && --depth == 0)
            return static_cast<int>(i);
    }
    return -1;
}

bool GeneralUtil::ParseFunction(const QString& text, QString& name, QStringList& arguments)
{
    // The text may be the same object as name or as an entry of arguments.
    const QString source = text; // NOLINT(performance-unnecessary-copy-initialization)
    name.clear();
    arguments.clear();

    const qsizetype open = source.indexOf(kBraceOpen);
    if (open < 0)
        return false;
    name = source.left(open);
    const int close = FindMatchingBrace(source, static_cast<int>(open));
    if (close < 0)
        return false;
    if (close == open + 1)
        return true;

    arguments = source.mid(open + 1, close - open - 1).split(u',');
    StringUtil::Trim(arguments);
    return true;
}

qsizetype GeneralUtil::RemoveDuplicates(QStringList& list, bool ignoreCase)
{
    if (!ignoreCase)
        return list.removeDuplicates();

    // An ordered set uses the same comparison as QString. A hash would need folded text, and folding does not
    // match that comparison in every case.
    std::set<QStringView, LessIgnoringCase> seen;
    return list.removeIf([&seen](const QString& entry) { return !seen.insert(entry).second; });
}

// NOLINTNEXTLINE(readability-identifier-naming): this spelling is part of the interface
QString GeneralUtil::DYNAMIC_SLOT(const char* signature)
{
    Q_UNUSED(signature)
    return {};
}

// NOLINTNEXTLINE(readability-identifier-naming): this spelling is part of the interface
QString GeneralUtil::DYNAMIC_SIGNAL(const char* signature)
{
    Q_UNUSED(signature)
    return {};
}

QString GeneralUtil::EnumValueToName(int value, const EnumValueName* table, int count, bool flags)
{
    QString names;
    for (const EnumValueName& row : Rows(table, count)) {
        if (!flags && row.Value == value)
            return row.Name;
        if (flags && (row.Value & value) != 0) {
            if (!names.isEmpty())
                names += u',';
            names += row.Name;
        }
    }
    return names;
}

int GeneralUtil::EnumNameToValue(const QString& name, EnumValueName* table, int count, bool flags)
{
    QStringList names{name};
    if (flags) {
        names = name.split(u',', Qt::SkipEmptyParts);
        StringUtil::Trim(names);
    }

    int values = 0;
    bool found = false;
    for (const EnumValueName& row : Rows(table, count)) {
        if (!names.contains(row.Name, Qt::CaseInsensitive))
            continue;
        if (!flags)
            return row.Value;
        values |= row.Value;
        found = true;
    }
    return found ? values : -1;
}

QStringList GeneralUtil::GetEnumNames(EnumValueName* table, int count)
{
    const auto rows = Rows(table, count);
    QStringList names;
    names.reserve(static_cast<qsizetype>(rows.size()));
    std::ranges::transform(rows, std::back_inserter(names), &EnumValueName::Name);
    return names;
}

} // namespace Quorvin::Util
