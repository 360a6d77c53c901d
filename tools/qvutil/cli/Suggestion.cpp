// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "cli/Suggestion.h"

#include <QList>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace Quorvin::Tool {
namespace {

constexpr qsizetype kMaxSuggestions = 3;
// Longer words are not compared, because no name is that long.
constexpr qsizetype kMaxLength = 100;

QString Folded(const QString& text)
{
    return text.toCaseFolded().replace(u'_', u'-');
}

// Returns how many characters must be inserted, removed, replaced or swapped with their neighbour to turn one
// text into the other.
qsizetype Distance(QStringView a, QStringView b)
{
    QList<qsizetype> beforeLast(b.size() + 1);
    QList<qsizetype> last(b.size() + 1);
    for (qsizetype j = 0; j <= b.size(); ++j)
        last[j] = j;
    for (qsizetype i = 1; i <= a.size(); ++i) {
        QList<qsizetype> row(b.size() + 1);
        row[0] = i;
        for (qsizetype j = 1; j <= b.size(); ++j) {
            const qsizetype replaced = last.at(j - 1) + (a.at(i - 1) == b.at(j - 1) ? 0 : 1);
            row[j] = std::min({last.at(j) + 1, row.at(j - 1) + 1, replaced});
            if (i > 1 && j > 1 && a.at(i - 1) == b.at(j - 2) && a.at(i - 2) == b.at(j - 1))
                row[j] = std::min(row.at(j), beforeLast.at(j - 2) + 1);
        }
        beforeLast = last;
        last = row;
    }
    return last.last();
}

} // namespace

QStringList FindClosest(const QString& word, const QStringList& candidates)
{
    constexpr qsizetype kLettersPerMistake = 3;
    const QString folded = Folded(word);
    const qsizetype letters = folded.size() - folded.count(u'-');
    if (letters < 2 || folded.size() > kMaxLength)
        return {};
    qsizetype best = std::max<qsizetype>(letters / kLettersPerMistake, 1);
    QStringList closest;
    for (const QString& candidate : candidates) {
        if (candidate == word || candidate.size() > kMaxLength || closest.contains(candidate))
            continue;
        const QString other = Folded(candidate);
        qsizetype distance = Distance(folded, other);
        if (letters >= kLettersPerMistake && other.startsWith(folded))
            distance = std::min<qsizetype>(distance, 1);
        if (distance < best)
            closest.clear();
        if (distance <= best && closest.size() < kMaxSuggestions)
            closest.append(candidate);
        best = std::min(best, distance);
    }
    return closest;
}

QString DidYouMean(const QString& word, const QStringList& candidates)
{
    QStringList names;
    const QStringList closest = FindClosest(word, candidates);
    for (const QString& name : closest)
        names.append(u'\'' + name + u'\'');
    if (names.isEmpty())
        return {};
    const QString last = names.takeLast();
    const QString all = names.isEmpty() ? last : names.join(", "_L1) + " or "_L1 + last;
    return u"; did you mean %1?"_s.arg(all);
}

} // namespace Quorvin::Tool
