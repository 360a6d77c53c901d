// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_MESSAGEFASTTABLES_P_H
#define QVUTIL_MESSAGEFASTTABLES_P_H

// This file is not part of the interface. It may change from one version to the next.

#include <QByteArrayView>
#include <QLatin1StringView>

#include <algorithm>
#include <array>

// What writer and reader of the fast path share.
namespace Quorvin::Util::Internal {

// At least one of a message's two is null, and both are where nobody waits for an answer.
inline constexpr QLatin1StringView kNullId = QLatin1StringView("{00000000-0000-0000-0000-000000000000}");

// What stands for a character in the text of an attribute. White space other than blanks has to be written
// so too: a reader turns it into blanks.
struct CharacterReference
{
    char Character;
    QLatin1StringView Text;
};

inline constexpr std::array<CharacterReference, 7> kReferences = {{{'<', QLatin1StringView("&lt;")},
                                                                   {'>', QLatin1StringView("&gt;")},
                                                                   {'&', QLatin1StringView("&amp;")},
                                                                   {'"', QLatin1StringView("&quot;")},
                                                                   {'\t', QLatin1StringView("&#x9;")},
                                                                   {'\n', QLatin1StringView("&#xa;")},
                                                                   {'\r', QLatin1StringView("&#xd;")}}};

// The reference at the beginning of a text; null if there is none that the writer writes.
[[nodiscard]] inline const CharacterReference* FindReference(QByteArrayView text)
{
    const auto row = std::ranges::find_if(
        kReferences, [text](const CharacterReference& reference) { return text.startsWith(reference.Text); });
    return row != kReferences.end() ? &*row : nullptr;
}

// What a byte of an attribute's text is.
enum class ByteKind : quint8 {
    Plain, // stands for itself wherever it is
    Parenthesis, // stands for itself, and may be part of a translation mark
    Special, // may have to be written as a reference, or is the beginning of one
    Wide, // belongs to a character above U+007F
    Forbidden // XML cannot hold it
};

inline constexpr std::array<ByteKind, 256> kByteKinds = [] {
    std::array<ByteKind, 256> kinds = {};
    std::fill(kinds.begin(), kinds.begin() + 0x20, ByteKind::Forbidden);
    std::fill(kinds.begin() + 0x80, kinds.end(), ByteKind::Wide);
    for (const CharacterReference& reference : kReferences)
        kinds[static_cast<uchar>(reference.Character)] = ByteKind::Special;
    kinds['('] = ByteKind::Parenthesis;
    return kinds;
}();

[[nodiscard]] constexpr ByteKind KindOf(char byte)
{
    return kByteKinds[static_cast<uchar>(byte)];
}

} // namespace Quorvin::Util::Internal

#endif // QVUTIL_MESSAGEFASTTABLES_P_H
