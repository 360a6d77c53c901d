// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "cli/TextWidth.h"

#include <QList>
#include <QTextBoundaryFinder>

#include <algorithm>
#include <iterator>

namespace Quorvin::Tool {
namespace {

struct CodeRange
{
    char32_t First;
    char32_t Last;
};

// Code points that take two columns, in ascending order: East_Asian_Width W and F of Unicode. Ranges extend
// over unassigned code points.
constexpr CodeRange gWide[] = {
    {0x1100, 0x115f},   {0x231a, 0x231b},   {0x2329, 0x232a},   {0x23e9, 0x23ec},   {0x23f0, 0x23f0},
    {0x23f3, 0x23f3},   {0x25fd, 0x25fe},   {0x2614, 0x2615},   {0x2648, 0x2653},   {0x267f, 0x267f},
    {0x2693, 0x2693},   {0x26a1, 0x26a1},   {0x26aa, 0x26ab},   {0x26bd, 0x26be},   {0x26c4, 0x26c5},
    {0x26ce, 0x26ce},   {0x26d4, 0x26d4},   {0x26ea, 0x26ea},   {0x26f2, 0x26f3},   {0x26f5, 0x26f5},
    {0x26fa, 0x26fa},   {0x26fd, 0x26fd},   {0x2705, 0x2705},   {0x270a, 0x270b},   {0x2728, 0x2728},
    {0x274c, 0x274c},   {0x274e, 0x274e},   {0x2753, 0x2755},   {0x2757, 0x2757},   {0x2795, 0x2797},
    {0x27b0, 0x27b0},   {0x27bf, 0x27bf},   {0x2b1b, 0x2b1c},   {0x2b50, 0x2b50},   {0x2b55, 0x2b55},
    {0x2e80, 0x303e},   {0x3041, 0x4dbf},   {0x4e00, 0xa4cf},   {0xa960, 0xa97f},   {0xac00, 0xd7a3},
    {0xf900, 0xfaff},   {0xfe10, 0xfe19},   {0xfe30, 0xfe6f},   {0xff01, 0xff60},   {0xffe0, 0xffe6},
    {0x16fe0, 0x18d7f}, {0x1aff0, 0x1b2ff}, {0x1f004, 0x1f004}, {0x1f0cf, 0x1f0cf}, {0x1f18e, 0x1f18e},
    {0x1f191, 0x1f19a}, {0x1f200, 0x1f265}, {0x1f300, 0x1f320}, {0x1f32d, 0x1f335}, {0x1f337, 0x1f37c},
    {0x1f37e, 0x1f393}, {0x1f3a0, 0x1f3ca}, {0x1f3cf, 0x1f3d3}, {0x1f3e0, 0x1f3f0}, {0x1f3f4, 0x1f3f4},
    {0x1f3f8, 0x1f43e}, {0x1f440, 0x1f440}, {0x1f442, 0x1f4fc}, {0x1f4ff, 0x1f53d}, {0x1f54b, 0x1f54e},
    {0x1f550, 0x1f567}, {0x1f57a, 0x1f57a}, {0x1f595, 0x1f596}, {0x1f5a4, 0x1f5a4}, {0x1f5fb, 0x1f64f},
    {0x1f680, 0x1f6c5}, {0x1f6cc, 0x1f6cc}, {0x1f6d0, 0x1f6d2}, {0x1f6d5, 0x1f6df}, {0x1f6eb, 0x1f6ec},
    {0x1f6f4, 0x1f6fc}, {0x1f7e0, 0x1f7f0}, {0x1f90c, 0x1f93a}, {0x1f93c, 0x1f945}, {0x1f947, 0x1f9ff},
    {0x1fa70, 0x1faff}, {0x20000, 0x3fffd},
};

// No reasonable character, including its combining marks, has more code units.
constexpr qsizetype kMaxUnitsPerColumn = 64;

bool IsWide(char32_t c)
{
    const CodeRange* const range = std::lower_bound(
        std::begin(gWide), std::end(gWide), c,
        [](const CodeRange& candidate, char32_t wanted) { return candidate.Last < wanted; });
    return range != std::end(gWide) && range->First <= c;
}

bool IsCombining(char32_t c)
{
    constexpr char32_t kSoftHyphen = 0xad;
    const QChar::Category category = QChar::category(c);
    return category == QChar::Mark_NonSpacing || category == QChar::Mark_Enclosing
        || (category == QChar::Other_Format && c != kSoftHyphen)
        || (c >= 0x1160 && c <= 0x11ff); // vowels and finals of a Korean syllable
}

} // namespace

qsizetype ColumnsOf(QStringView text)
{
    qsizetype columns = 0;
    for (const char32_t c : text.toUcs4()) {
        if (!IsCombining(c))
            columns += IsWide(c) ? 2 : 1;
    }
    return columns;
}

QString FirstColumns(const QString& text, qsizetype columns)
{
    // Avoid scanning all of a very long text.
    const QString start = text.left((std::max<qsizetype>(columns, 0) + 1) * kMaxUnitsPerColumn);
    QTextBoundaryFinder characters(QTextBoundaryFinder::Grapheme, start);
    qsizetype end = 0;
    qsizetype next = characters.toNextBoundary();
    while (next >= 0) {
        columns -= ColumnsOf(QStringView(start).sliced(end, next - end));
        if (columns < 0)
            break;
        end = next;
        next = characters.toNextBoundary();
    }
    return start.first(end);
}

QString LastColumns(const QString& text, qsizetype columns)
{
    const QString rest = text.right((std::max<qsizetype>(columns, 0) + 1) * kMaxUnitsPerColumn);
    QTextBoundaryFinder characters(QTextBoundaryFinder::Grapheme, rest);
    characters.toEnd();
    qsizetype start = rest.size();
    qsizetype previous = characters.toPreviousBoundary();
    while (previous >= 0) {
        columns -= ColumnsOf(QStringView(rest).sliced(previous, start - previous));
        if (columns < 0)
            break;
        start = previous;
        previous = characters.toPreviousBoundary();
    }
    return rest.sliced(start);
}

} // namespace Quorvin::Tool
