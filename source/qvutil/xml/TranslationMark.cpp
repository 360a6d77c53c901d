// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "xml/TranslationMark_p.h"

#include "base/PatternSpace_p.h"

#include <algorithm>

namespace Quorvin::Util::Internal {
namespace {

QStringView TrimmedLeft(QStringView text)
{
    return {std::find_if_not(text.begin(), text.end(), IsPatternSpace), text.end()};
}

} // namespace

std::optional<QStringView> FindTranslationMark(QStringView text)
{
    QStringView rest = TrimmedLeft(text);
    if (!rest.startsWith(u"tr", Qt::CaseInsensitive))
        return std::nullopt;
    rest = TrimmedLeft(rest.sliced(2));
    if (!rest.startsWith(u'('))
        return std::nullopt;
    while (IsPatternSpace(rest.back()))
        rest.chop(1);
    if (!rest.endsWith(u')'))
        return std::nullopt;
    // A regular expression finds nothing in a text with an unpaired surrogate, so there is no mark in it.
    return text.isValidUtf16() ? std::optional(rest.sliced(1).chopped(1)) : std::nullopt;
}

} // namespace Quorvin::Util::Internal
