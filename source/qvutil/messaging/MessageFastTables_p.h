// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_MESSAGEFASTTABLES_P_H
#define QVUTIL_MESSAGEFASTTABLES_P_H

// Internal, not API: may change in any version.

#include <QByteArrayView>
#include <QLatin1StringView>

#include <algorithm>
#include <array>

// Tables for the writer and the reader of the fast path.
namespace Quorvin::Util::Internal {

// At least one of a message's two ids is null. Both are null if nobody waits for an answer.
inline constexpr QLatin1StringView kNullId = QLatin1StringView("{00000000-0000-0000-0000-000000000000}");

// A character and its reference in attribute texts. White space other than spaces must be written as
// references, because XML parsers would turn it into spaces.
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

// Returns the reference at the beginning of a text; null if there is none that the writer uses.
[[nodiscard]] inline const CharacterReference* FindReference(QByteArrayView text)
{
    const auto row = std::ranges::find_if(
        kReferences, [text](const CharacterReference& reference) { return text.startsWith(reference.Text); });
    return row != kReferences.end() ? &*row : nullptr;
}

// The kind of a byte in an attribute's text.
enum class ByteKind : quint8 {
    Plain, // written as it is
    Parenthesis, // written as it is, and may be part of a translation mark
    Special, // may need a reference, or begins one
    Wide, // part of a character above U+007F
    Forbidden // not allowed in XML
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
