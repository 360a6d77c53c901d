// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "messaging/Base64_p.h"
#include "messaging/IPC_p.h"
#include "messaging/MessageFastCodec_p.h"
#include "messaging/MessageFastTables_p.h"
#include "messaging/ParameterTypes_p.h"

#include <QStringList>

#include <algorithm>
#include <charconv>
#include <cstring>
#include <utility>

using namespace Qt::StringLiterals;

namespace Quorvin::Util::Internal {
namespace {

// Enough for most messages. (For 1 KiB or more, overhead included, malloc first consolidates freed chunks.)
constexpr qsizetype kUsualSize = 960;

// A growing byte buffer.
class Output
{
public:
    explicit Output(qsizetype capacity)
        : mBytes(capacity, Qt::Uninitialized)
        , mEnd(mBytes.data())
        , mLimit(mEnd + capacity)
    { }

    // Returns the end of the bytes, with space for \p size more. Bytes written there only count once the new
    // end is set.
    [[nodiscard]] char* Room(qsizetype size)
    {
        if (mLimit - mEnd < size)
            Grow(size);
        return mEnd;
    }
    void SetEnd(char* end) { mEnd = end; }

    template <typename... Texts> void Append(Texts... texts) { (AppendOne(texts), ...); }

    [[nodiscard]] QByteArray Take()
    {
        mBytes.truncate(mEnd - mBytes.constData());
        return std::move(mBytes);
    }

private:
    void AppendOne(QLatin1StringView text)
    {
        mEnd = std::copy(text.begin(), text.end(), Room(text.size())); // an empty text may be null
    }

    void Grow(qsizetype size)
    {
        const qsizetype used = mEnd - mBytes.constData();
        mBytes.resize(2 * used + size);
        mEnd = mBytes.data() + used;
        mLimit = mBytes.data() + mBytes.size();
    }

    QByteArray mBytes;
    char* mEnd;
    char* mLimit;
};

// Returns the character at \p text, of one or two UTF-16 units; 0 if XML does not allow it.
char32_t CharacterAt(const char16_t* text, const char16_t* end)
{
    if (!QChar::isSurrogate(*text))
        return *text < 0xFFFE ? *text : 0;
    if (QChar::isHighSurrogate(*text) && end - text > 1 && QChar::isLowSurrogate(text[1]))
        return QChar::surrogateToUcs4(text[0], text[1]);
    return 0;
}

// Writes a character above U+007F in UTF-8.
char* WriteWide(char32_t character, char* out)
{
    const auto following
        = [character](int shift) { return static_cast<char>(0x80 | (character >> shift & 0x3F)); };
    if (character < 0x800) {
        *out++ = static_cast<char>(0xC0 | character >> 6);
    } else {
        if (character < 0x10000) {
            *out++ = static_cast<char>(0xE0 | character >> 12);
        } else {
            *out++ = static_cast<char>(0xF0 | character >> 18);
            *out++ = following(12);
        }
        *out++ = following(6);
    }
    *out++ = following(0);
    return out;
}

class FastWriter
{
public:
    [[nodiscard]] std::optional<QByteArray> Write(const MessageInfo& message)
    {
        mOutput.Append("<?xml version=\"1.0\"?>\n<Message"_L1);
        WriteText(" Id=\""_L1, message.Id);
        WriteId(" UniqueId=\""_L1, message.UniqueId);
        WriteId(" OriginalMessageUniqueId=\""_L1, message.OriginalMessageUniqueId);
        mOutput.Append(" NeedResponse=\""_L1, BooleanText(message.NeedResponse), "\" IsResponse=\""_L1,
                       BooleanText(message.IsResponse), "\">\n <Params"_L1);
        if (message.Params.isEmpty()) {
            mOutput.Append("/>\n"_L1);
        } else {
            mOutput.Append(">\n"_L1);
            WriteMap(message.Params, 2);
            mOutput.Append(" </Params>\n"_L1);
        }
        mOutput.Append("</Message>\n"_L1);
        if (!mIsCanonical)
            return std::nullopt;
        return mOutput.Take();
    }

private:
    static QLatin1StringView BooleanText(bool value) { return value ? "True"_L1 : "False"_L1; }

    void WriteIndent(int depth)
    {
        char* const out = mOutput.Room(depth);
        std::memset(out, ' ', static_cast<size_t>(depth));
        mOutput.SetEnd(out + depth);
    }

    void WriteId(QLatin1StringView start, const QUuid& id)
    {
        if (id.isNull())
            mOutput.Append(start, kNullId, "\""_L1);
        else
            mOutput.Append(start, QLatin1StringView(id.toByteArray()), "\""_L1);
    }

    // Writes an attribute, including the space before its name.
    void WriteText(QLatin1StringView start, QStringView value)
    {
        constexpr qsizetype kPart = 256;
        constexpr qsizetype kMaxReference = 6;
        mOutput.Append(start);
        const char16_t* const begin = value.utf16();
        const char16_t* const end = begin + value.size();
        for (const char16_t* c = begin; c < end;) {
            const char16_t* const partEnd = c + std::min(kPart, qsizetype(end - c));
            char* out = mOutput.Room((partEnd - c) * kMaxReference);
            while (c < partEnd && mIsCanonical) {
                if (*c < 0x80)
                    out = WriteNarrow(c++, begin, out);
                else
                    out = WriteWide(TakeWide(c, end), out);
            }
            mOutput.SetEnd(out);
            if (!mIsCanonical)
                return;
        }
        mOutput.Append("\""_L1);
    }

    char* WriteNarrow(const char16_t* c, const char16_t* begin, char* out)
    {
        const char character = static_cast<char>(*c);
        const ByteKind kind = KindOf(character);
        if (kind == ByteKind::Special && (*c != u'>' || IsEndOfSection(c, begin))) {
            const QLatin1StringView text
                = std::ranges::find(kReferences, character, &CharacterReference::Character)->Text;
            return std::copy(text.begin(), text.end(), out);
        }
        mIsCanonical = mIsCanonical && kind != ByteKind::Forbidden;
        *out++ = character;
        return out;
    }

    // Returns whether a '>' ends "]]>".
    static bool IsEndOfSection(const char16_t* c, const char16_t* begin)
    {
        return c - begin >= 2 && c[-1] == u']' && c[-2] == u']';
    }

    char32_t TakeWide(const char16_t*& c, const char16_t* end)
    {
        const char32_t character = CharacterAt(c, end);
        mIsCanonical = mIsCanonical && character != 0;
        c += QChar::requiresSurrogates(character) ? 2 : 1;
        return character;
    }

    void WriteMap(const QVariantMap& map, int depth)
    {
        for (auto entry = map.cbegin(); entry != map.cend(); ++entry) {
            WriteIndent(depth);
            WriteText("<Param Name=\""_L1, entry.key());
            WriteVariant(entry.value(), depth);
        }
    }

    void WriteList(const QVariantList& list, int depth)
    {
        for (const QVariant& item : list) {
            WriteIndent(depth);
            mOutput.Append("<Param"_L1);
            WriteVariant(item, depth);
        }
    }

    void WriteStringList(const QStringList& list, int depth)
    {
        for (const QString& text : list) {
            WriteIndent(depth);
            WriteText("<Param Value=\""_L1, text);
            mOutput.Append("/>\n"_L1);
        }
    }

    // Writes the type of an element and everything after it.
    void WriteVariant(const QVariant& value, int depth)
    {
        const int type = value.typeId();
        mOutput.Append(" Type=\""_L1, TypeName(type), "\""_L1);
        switch (type) {
        case QMetaType::QVariantMap:
            WriteChildren(*static_cast<const QVariantMap*>(value.constData()), &FastWriter::WriteMap, depth);
            break;
        case QMetaType::QVariantList:
            WriteChildren(*static_cast<const QVariantList*>(value.constData()), &FastWriter::WriteList,
                          depth);
            break;
        case QMetaType::QStringList:
            WriteChildren(*static_cast<const QStringList*>(value.constData()), &FastWriter::WriteStringList,
                          depth);
            break;
        case QMetaType::QByteArray:
            WriteBytes(*static_cast<const QByteArray*>(value.constData()));
            break;
        default:
            WriteScalar(value, type);
            mOutput.Append("/>\n"_L1);
            break;
        }
    }

    template <typename Container>
    void WriteChildren(const Container& children, void (FastWriter::*write)(const Container&, int), int depth)
    {
        if (children.isEmpty()) {
            mOutput.Append("/>\n"_L1);
            return;
        }
        mOutput.Append(">\n"_L1);
        (this->*write)(children, depth + 1);
        WriteIndent(depth);
        mOutput.Append("</Param>\n"_L1);
    }

    void WriteBytes(const QByteArray& bytes)
    {
        mOutput.Append("><![CDATA["_L1);
        mOutput.SetEnd(WriteBase64(bytes, mOutput.Room(Base64Size(bytes.size()))));
        mOutput.Append("]]></Param>\n"_L1);
    }

    void WriteScalar(const QVariant& value, int type)
    {
        static constexpr QLatin1StringView kStart = " Value=\""_L1;
        switch (type) {
        case QMetaType::Bool:
            mOutput.Append(kStart, BooleanText(value.toBool()), "\""_L1);
            break;
        case QMetaType::Int:
            WriteInteger(value.toInt());
            break;
        case QMetaType::UInt:
            WriteInteger(value.toUInt());
            break;
        case QMetaType::LongLong:
            WriteInteger(value.toLongLong());
            break;
        case QMetaType::Double:
            mOutput.Append(kStart, QLatin1StringView(QByteArray::number(value.toDouble(), 'g', 17)), "\""_L1);
            break;
        case QMetaType::QString:
            WriteText(kStart, *static_cast<const QString*>(value.constData()));
            break;
        case QMetaType::ULongLong:
        case QMetaType::QChar:
            break;
        default:
            WriteText(kStart, kUnsupportedTypeText);
            break;
        }
    }

    template <typename Integer> void WriteInteger(Integer value)
    {
        constexpr qsizetype kMaxDigits = 20;
        mOutput.Append(" Value=\""_L1);
        char* const out = mOutput.Room(kMaxDigits);
        mOutput.SetEnd(std::to_chars(out, out + kMaxDigits, value).ptr);
        mOutput.Append("\""_L1);
    }

    Output mOutput{kUsualSize};
    bool mIsCanonical = true;
};

} // namespace

std::optional<QByteArray> EncodeMessageFast(const MessageInfo& message)
{
    return FastWriter().Write(message);
}

} // namespace Quorvin::Util::Internal
