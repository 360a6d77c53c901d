// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "xliff/SourceText.h"

#include <algorithm>
#include <array>

using namespace Qt::StringLiterals;

namespace Quorvin::Tool {
namespace {

constexpr QStringView kAccentedLower = u"áƀçđéƒğĥíĵķļɱñöþɋŕšţüṽŵẋýž";
constexpr QStringView kAccentedUpper = u"ÁƁÇĐÉƑĞĤÍĴĶĻṀÑÖÞɊŔŠŢÜṼŴẊÝŽ";
static_assert(kAccentedLower.size() == 26 && kAccentedUpper.size() == 26);

bool IsDigit(QChar c)
{
    return c >= u'0' && c <= u'9';
}

bool IsLetter(QChar c)
{
    return (c >= u'a' && c <= u'z') || (c >= u'A' && c <= u'Z');
}

/// Returns the length of the placeholder at the start of \p text; 0 if there is none.
qsizetype PlaceholderLength(QStringView text)
{
    if (text.startsWith(u"$(")) {
        const qsizetype end = text.indexOf(u')');
        return end > 2 ? end + 1 : 0;
    }
    if (!text.startsWith(u'%'))
        return 0;
    const qsizetype begin = text.size() > 1 && text.at(1) == u'L' ? 2 : 1;
    if (text.size() <= begin)
        return 0;
    if (text.at(begin) == u'n')
        return begin + 1;
    if (!IsDigit(text.at(begin)))
        return 0;
    return begin + (text.size() > begin + 1 && IsDigit(text.at(begin + 1)) ? 2 : 1);
}

/// Returns the length of the tag or character reference at the start of \p text; 0 if there is none.
qsizetype MarkupLength(QStringView text)
{
    if (text.size() < 3)
        return 0;
    const QChar next = text.at(1);
    if (text.startsWith(u'<') && (IsLetter(next) || next == u'/')) {
        const qsizetype end = text.indexOf(u'>');
        return end < 0 ? 0 : end + 1;
    }
    if (text.startsWith(u'&') && (IsLetter(next) || next == u'#')) {
        qsizetype end = 2;
        while (end < text.size() && (IsLetter(text.at(end)) || IsDigit(text.at(end))))
            ++end;
        return end < text.size() && text.at(end) == u';' ? end + 1 : 0;
    }
    return 0;
}

QChar Accented(QChar c)
{
    if (c >= u'a' && c <= u'z')
        return kAccentedLower.at(c.unicode() - u'a');
    if (c >= u'A' && c <= u'Z')
        return kAccentedUpper.at(c.unicode() - u'A');
    return c;
}

} // namespace

QStringList FindPlaceholders(QStringView text)
{
    QStringList result;
    for (qsizetype i = 0; i < text.size();) {
        const qsizetype length = PlaceholderLength(text.mid(i));
        if (length > 0)
            result.append(text.mid(i, length).toString());
        i += std::max<qsizetype>(length, 1);
    }
    result.sort();
    result.removeDuplicates();
    return result;
}

QString PseudoTranslate(QStringView text)
{
    QString result = u"["_s;
    qsizetype letters = 0;
    for (qsizetype i = 0; i < text.size();) {
        const QStringView rest = text.mid(i);
        const qsizetype kept = std::max(PlaceholderLength(rest), MarkupLength(rest));
        if (kept > 0) {
            result += rest.left(kept);
            i += kept;
        } else {
            result += Accented(text.at(i++));
            ++letters;
        }
    }
    result += QString((letters + 2) / 3, u'~');
    return result + u']';
}

} // namespace Quorvin::Tool
