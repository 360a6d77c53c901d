// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "Base64_p.h"

#include <array>

namespace Quorvin::Util::Internal {
namespace {

constexpr char kDigits[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

// Has a bit set that no digit's value has.
constexpr quint32 kNoDigit = 0x8000'0000U;

// The value of each character, moved to its place in a group of four.
using Values = std::array<quint32, 256>;

constexpr Values MakeValues(int shift)
{
    Values values = {};
    values.fill(kNoDigit);
    for (quint32 value = 0; value < 64; ++value)
        values[static_cast<uchar>(kDigits[value])] = value << shift;
    return values;
}

constexpr std::array<Values, 4> kValues = {MakeValues(18), MakeValues(12), MakeValues(6), MakeValues(0)};

quint32 GroupValue(const char* text)
{
    const auto at = [text](size_t i) { return kValues[i][static_cast<uchar>(text[i])]; };
    return at(0) | at(1) | at(2) | at(3);
}

} // namespace

char* WriteBase64(QByteArrayView bytes, char* text)
{
    const auto byte = [next = bytes.data()](qsizetype i) { return quint32(static_cast<uchar>(next[i])); };
    const qsizetype whole = bytes.size() - bytes.size() % 3;
    for (qsizetype i = 0; i < whole; i += 3) {
        const quint32 group = byte(i) << 16 | byte(i + 1) << 8 | byte(i + 2);
        *text++ = kDigits[group >> 18];
        *text++ = kDigits[group >> 12 & 63];
        *text++ = kDigits[group >> 6 & 63];
        *text++ = kDigits[group & 63];
    }
    if (whole == bytes.size())
        return text;
    const bool two = bytes.size() - whole == 2;
    const quint32 group = byte(whole) << 16 | (two ? byte(whole + 1) << 8 : 0);
    *text++ = kDigits[group >> 18];
    *text++ = kDigits[group >> 12 & 63];
    *text++ = two ? kDigits[group >> 6 & 63] : '=';
    *text++ = '=';
    return text;
}

std::optional<QByteArray> ReadBase64(QByteArrayView text)
{
    if (text.size() % 4 != 0)
        return std::nullopt;
    const qsizetype padding = text.endsWith("==") ? 2 : text.endsWith('=') ? 1 : 0;
    QByteArray bytes(text.size() / 4 * 3 - padding, Qt::Uninitialized);
    char* out = bytes.data();
    const char* in = text.data();
    // Looked at in the end: without a way out the loop is a fast one.
    quint32 all = 0;
    for (const char* const end = in + text.size() - (padding > 0 ? 4 : 0); in != end; in += 4) {
        const quint32 group = GroupValue(in);
        all |= group;
        *out++ = static_cast<char>(group >> 16);
        *out++ = static_cast<char>(group >> 8);
        *out++ = static_cast<char>(group);
    }
    if (padding > 0) {
        const std::array<char, 4> last = {in[0], in[1], padding == 2 ? 'A' : in[2], 'A'};
        const quint32 group = GroupValue(last.data());
        all |= group;
        *out++ = static_cast<char>(group >> 16);
        if (padding == 1)
            *out++ = static_cast<char>(group >> 8);
    }
    return (all & kNoDigit) == 0 ? std::optional(bytes) : std::nullopt;
}

} // namespace Quorvin::Util::Internal
