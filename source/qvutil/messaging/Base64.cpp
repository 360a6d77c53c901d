// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "messaging/Base64_p.h"

#include <QtEndian>

#include <array>
#include <cstring>

namespace Quorvin::Util::Internal {
namespace {

constexpr char kDigits[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

// The digits of each pair of values: encoding two at once halves the number of steps.
using DigitPairs = std::array<std::array<char, 2>, size_t(64) * 64>;

constexpr DigitPairs kDigitPairs = [] {
    DigitPairs pairs = {};
    for (size_t value = 0; value < pairs.size(); ++value)
        pairs[value] = {kDigits[value >> 6], kDigits[value & 63]};
    return pairs;
}();

char* WritePair(quint64 value, char* text)
{
    const std::array<char, 2>& pair = kDigitPairs[value & 0xFFF];
    std::memcpy(text, pair.data(), pair.size());
    return text + pair.size();
}

// Marks a character that is not a digit, with a bit that no value uses.
constexpr quint32 kNoDigit = 0x8000'0000U;

// The value of each character, shifted to its position in a group of four.
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
    const char* in = bytes.data();
    qsizetype left = bytes.size();
    // Encodes two groups of three bytes at a time. Each step reads eight bytes. A loop over the four shifts
    // would take twice as long, because g++ -O2 does not unroll it.
    for (; left >= 8; left -= 6, in += 6, text += 8) {
        const auto eight = qFromBigEndian<quint64>(in);
        WritePair(eight >> 52, text);
        WritePair(eight >> 40, text + 2);
        WritePair(eight >> 28, text + 4);
        WritePair(eight >> 16, text + 6);
    }
    const auto byte = [&in](qsizetype i) { return quint32(static_cast<uchar>(in[i])); };
    for (; left >= 3; left -= 3, in += 3) {
        const quint32 group = byte(0) << 16 | byte(1) << 8 | byte(2);
        text = WritePair(group, WritePair(group >> 12, text));
    }
    if (left == 0)
        return text;
    const bool two = left == 2;
    const quint32 group = byte(0) << 16 | (two ? byte(1) << 8 : 0);
    text = WritePair(group >> 12, text);
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
    // Checked at the end: without an early exit, the loops are faster.
    quint32 all = 0;
    const char* const end = in + text.size() - (padding > 0 ? 4 : 0);
    // Decodes two groups at a time. Each step writes two bytes too many, which the next group overwrites, so
    // at least one more group must follow.
    for (; end - in >= 12; in += 8, out += 6) {
        const quint32 first = GroupValue(in);
        const quint32 second = GroupValue(in + 4);
        all |= first | second;
        qToBigEndian(quint64(first) << 40 | quint64(second) << 16, out);
    }
    for (; in != end; in += 4) {
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
