// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "messaging/Base64_p.h"
#include "messaging/MessageCodec_p.h"
#include "messaging/MessageFastCodec_p.h"
#include "messaging/MessageFastTables_p.h"
#include "messaging/ParameterTypes_p.h"
#include "xml/TranslationMark_p.h"

#include <QByteArray>
#include <QStringList>

#include <algorithm>
#include <array>
#include <charconv>
#include <cstring>
#include <map>
#include <utility>

using namespace Qt::StringLiterals;

namespace Quorvin::Util::Internal {
namespace {

// Maximum nesting depth for the fast path; far below the maximum for documents.
constexpr int kMaxDepth = 200;

// Returns whether bytes are valid UTF-8 that decodes without replacement characters, and to the same text
// inside a document as on its own.
bool IsRoundTripUtf8(QByteArrayView text)
{
    constexpr QByteArrayView kByteOrderMark = "\xEF\xBB\xBF";
    constexpr QByteArrayView kEndOfPlane = "\xEF\xBF"; // U+FFC0 to U+FFFF
    if (!text.isValidUtf8() || text.startsWith(kByteOrderMark))
        return false;
    for (qsizetype at = text.indexOf(kEndOfPlane); at >= 0; at = text.indexOf(kEndOfPlane, at + 2)) {
        if (static_cast<uchar>(text[at + 2]) >= 0xBD) // U+FFFD to U+FFFF
            return false;
    }
    return true;
}

// Every operation returns false, or clears mIsCanonical, as soon as the frame differs from what the writer
// would have written (except in white space between elements).
class FastReader
{
public:
    // \param bytes  the frame, and any bytes that follow it
    explicit FastReader(QByteArrayView bytes)
        : mNext(bytes.data())
        , mEnd(bytes.data() + bytes.size())
    { }

    [[nodiscard]] bool Read(MessageInfo& message)
    {
        return Take("<?xml version=\"1.0\"?>") && TakeElement("<Message") && ReadHead(message) && Take(">")
            && TakeElement("<Params") && ReadMap(message.Params, "</Params>"_L1, 0)
            && TakeElement("</Message>") && IsAtEnd() && mIsCanonical;
    }

    // Returns the bytes after the frame.
    [[nodiscard]] QByteArrayView Rest() const { return {mNext, mEnd}; }

private:
    // The raw text of an attribute, and the text that precedes it.
    struct Attribute
    {
        QLatin1StringView Start;
        QByteArrayView Text = {};
        bool Present = false;
        bool Escaped = false;
        bool Wide = false;
        bool HasParenthesis = false;
    };

    // Returns whether the input ends here, or another frame begins. Nothing that was read so far can contain
    // the beginning of a frame.
    bool IsAtEnd()
    {
        SkipBlanks();
        return mNext == mEnd || Rest().startsWith(kFrameStartBytes);
    }

    void SkipBlanks()
    {
        while (mNext != mEnd && (*mNext == ' ' || *mNext == '\n'))
            ++mNext;
    }

    // The size of a literal is a compile-time constant, which allows the compiler to inline the comparison.
    // The overload below is for other texts.
    template <size_t Size> bool Take(const char (&text)[Size])
    {
        constexpr size_t kLength = Size - 1;
        if (static_cast<size_t>(mEnd - mNext) < kLength || std::memcmp(mNext, text, kLength) != 0)
            return false;
        mNext += kLength;
        return true;
    }

    bool Take(QLatin1StringView text)
    {
        if (mEnd - mNext < text.size()
            || std::memcmp(mNext, text.data(), static_cast<size_t>(text.size())) != 0)
            return false;
        mNext += text.size();
        return true;
    }

    template <typename Text> bool TakeElement(const Text& text)
    {
        SkipBlanks();
        return Take(text);
    }

    // Reads all attributes of a tag, in any order. Returns false if a text differs from what the writer
    // writes. Stops at an attribute that is unknown or repeated, which no caller accepts.
    template <size_t Count> bool ReadAttributes(std::array<Attribute, Count>& attributes)
    {
        const auto isNext
            = [this](const Attribute& attribute) { return !attribute.Present && Take(attribute.Start); };
        for (auto next = std::ranges::find_if(attributes, isNext); next != attributes.end();
             next = std::ranges::find_if(attributes, isNext)) {
            if (!ReadText(*next))
                return false;
        }
        return true;
    }

    // Reads up to and including the closing quote. The text is checked even if it is not used: invalid text
    // makes the whole frame malformed.
    bool ReadText(Attribute& attribute)
    {
        constexpr auto kIsPlain = [](char byte) { return KindOf(byte) == ByteKind::Plain; };
        const char* const begin = mNext;
        for (mNext = std::find_if_not(mNext, mEnd, kIsPlain); mNext != mEnd && *mNext != '"';
             mNext = std::find_if_not(mNext + 1, mEnd, kIsPlain)) {
            const ByteKind kind = KindOf(*mNext);
            if (kind == ByteKind::Wide)
                attribute.Wide = true;
            else if (kind == ByteKind::Parenthesis)
                attribute.HasParenthesis = true;
            else if (*mNext != '>' && !SkipReference(attribute))
                return false;
        }
        attribute.Present = true;
        attribute.Text = QByteArrayView(begin, mNext);
        return (!attribute.Wide || IsRoundTripUtf8(attribute.Text)) && Take("\"");
    }

    // Moves to the last character of a reference.
    bool SkipReference(Attribute& attribute)
    {
        const CharacterReference* const reference = FindReference(QByteArrayView(mNext, mEnd));
        if (reference == nullptr)
            return false;
        attribute.Escaped = true;
        mNext += reference->Text.size() - 1;
        return true;
    }

    bool ReadHead(MessageInfo& message)
    {
        std::array<Attribute, 5> head = {{{" Id=\""_L1},
                                          {" UniqueId=\""_L1},
                                          {" OriginalMessageUniqueId=\""_L1},
                                          {" NeedResponse=\""_L1},
                                          {" IsResponse=\""_L1}}};
        if (!ReadAttributes(head) || !std::ranges::all_of(head, &Attribute::Present))
            return false;
        message.Id = Text(head[0]);
        message.UniqueId = Id(head[1]);
        message.OriginalMessageUniqueId = Id(head[2]);
        message.NeedResponse = Boolean(head[3]);
        message.IsResponse = Boolean(head[4]);
        return mIsCanonical;
    }

    // Reads the entries of a map after the attributes of its tag: "/>", or ">", the entries and the end tag.
    bool ReadMap(QVariantMap& map, QLatin1StringView endTag, int depth)
    {
        // QMap can adopt a std::map, but cannot move keys.
        std::map<QString, QVariant> entries;
        const bool ok = ReadChildren(endTag, depth, [this, &entries, depth] {
            std::array<Attribute, 3> attributes = {{{kNameStart}, {kTypeStart}, {kValueStart}}};
            if (!ReadAttributes(attributes) || !attributes[0].Present)
                return false;
            QString name = Text(attributes[0]);
            QVariant value;
            if (!ReadVariant(attributes[1], attributes[2], value, depth))
                return false;
            if (!name.isEmpty()) // usually in ascending order
                entries.emplace_hint(entries.cend(), std::move(name), QVariant())->second = std::move(value);
            return mIsCanonical;
        });
        if (!entries.empty())
            map = QVariantMap(std::move(entries));
        return ok;
    }

    bool ReadList(QVariantList& list, int depth)
    {
        return ReadChildren(kEndTag, depth, [this, &list, depth] {
            std::array<Attribute, 2> attributes = {{{kTypeStart}, {kValueStart}}};
            QVariant value;
            if (!ReadAttributes(attributes) || !ReadVariant(attributes[0], attributes[1], value, depth))
                return false;
            list.append(std::move(value));
            return mIsCanonical;
        });
    }

    bool ReadStringList(QStringList& list, int depth)
    {
        return ReadChildren(kEndTag, depth, [this, &list] {
            std::array<Attribute, 1> attributes = {{{kValueStart}}};
            if (!ReadAttributes(attributes) || !attributes[0].Present || !Take("/>"))
                return false;
            list.append(Text(attributes[0]));
            return mIsCanonical;
        });
    }

    template <typename ReadChild> bool ReadChildren(QLatin1StringView endTag, int depth, ReadChild readChild)
    {
        if (Take("/>"))
            return true;
        if (depth > kMaxDepth || !Take(">"))
            return false;
        while (!TakeElement(endTag)) {
            if (!Take("<Param") || !readChild())
                return false;
        }
        return true;
    }

    // Reads the rest of an element whose attributes have been read.
    bool ReadVariant(const Attribute& type, const Attribute& text, QVariant& value, int depth)
    {
        const QLatin1StringView typeName(type.Text);
        const int typeId = TypeIdOf(typeName);
        if (!type.Present || (typeId == 0 && !typeName.isEmpty() && typeName != "Invalid"_L1))
            return false;
        switch (typeId) {
        case QMetaType::QVariantMap:
            return ReadContainer<QVariantMap>(
                value, [&](QVariantMap& map) { return ReadMap(map, kEndTag, depth + 1); });
        case QMetaType::QVariantList:
            return ReadContainer<QVariantList>(value,
                                               [&](QVariantList& list) { return ReadList(list, depth + 1); });
        case QMetaType::QStringList:
            return ReadContainer<QStringList>(
                value, [&](QStringList& list) { return ReadStringList(list, depth + 1); });
        case QMetaType::QByteArray:
            return ReadBytes(value);
        default:
            // Types without a name, and types that cannot be sent, leave the value invalid.
            return (!HasText(typeId) || ReadScalar(typeId, text, value)) && Take("/>");
        }
    }

    template <typename Container, typename ReadInto> bool ReadContainer(QVariant& value, ReadInto readInto)
    {
        Container container;
        const bool ok = readInto(container);
        value = QVariant::fromValue(std::move(container));
        return ok;
    }

    static bool HasText(int typeId)
    {
        return IsSupportedTypeId(typeId) && typeId != QMetaType::ULongLong && typeId != QMetaType::QChar;
    }

    bool ReadScalar(int typeId, const Attribute& attribute, QVariant& value)
    {
        switch (typeId) {
        case QMetaType::Bool:
            value = Boolean(attribute);
            return attribute.Present;
        case QMetaType::Int:
            return ReadNumber<int>(attribute, value);
        case QMetaType::UInt:
            return ReadNumber<uint>(attribute, value);
        case QMetaType::LongLong:
            return ReadNumber<qlonglong>(attribute, value);
        case QMetaType::Double:
            return ReadDouble(attribute, value);
        default:
            value = Text(attribute);
            return attribute.Present;
        }
    }

    template <typename Number> static bool ReadNumber(const Attribute& attribute, QVariant& value)
    {
        Number number = 0;
        const char* const end = attribute.Text.data() + attribute.Text.size();
        const auto [next, error] = std::from_chars(attribute.Text.data(), end, number);
        value = number;
        return error == std::errc() && next == end;
    }

    static bool ReadDouble(const Attribute& attribute, QVariant& value)
    {
#ifdef __cpp_lib_to_chars
        // Not all standard libraries have from_chars for double; where they do, it takes a tenth of the time.
        if (!attribute.Text.isEmpty() && (IsDigit(attribute.Text.front()) || attribute.Text.startsWith('-'))
            && IsDigit(attribute.Text.back()) && ReadNumber<double>(attribute, value))
            return true;
#endif
        bool ok = false;
        value = QString::fromLatin1(attribute.Text).toDouble(&ok);
        return ok && !attribute.Wide;
    }

    static constexpr bool IsDigit(char character)
    {
        return character >= '0' && character <= '9';
    }

    bool ReadBytes(QVariant& value)
    {
        if (!Take("><![CDATA["))
            return false;
        const QByteArrayView rest(mNext, mEnd);
        const qsizetype size = rest.indexOf(']');
        if (size < 0)
            return false;
        std::optional<QByteArray> bytes = ReadBase64(rest.first(size));
        if (!bytes)
            return false;
        value = *std::move(bytes);
        mNext += size;
        return Take("]]></Param>");
    }

    bool Boolean(const Attribute& attribute)
    {
        const bool value = attribute.Text == "True";
        mIsCanonical = mIsCanonical && (value || attribute.Text == "False");
        return value;
    }

    QUuid Id(const Attribute& attribute)
    {
        if (QLatin1StringView(attribute.Text) == kNullId)
            return {};
        mIsCanonical
            = mIsCanonical && attribute.Text.startsWith('{') && !attribute.Escaped && !attribute.Wide;
        return QUuid::fromString(QLatin1StringView(attribute.Text));
    }

    QString Text(const Attribute& attribute)
    {
        if (attribute.Text.isEmpty())
            return {};
        const QString text = attribute.Escaped ? QString::fromUtf8(Unescaped(attribute.Text))
            : attribute.Wide                   ? QString::fromUtf8(attribute.Text)
                                               : QString::fromLatin1(attribute.Text);
        // Every mark contains a parenthesis, which is never escaped.
        mIsCanonical = mIsCanonical && (!attribute.HasParenthesis || !FindTranslationMark(text));
        return text;
    }

    static QByteArray Unescaped(QByteArrayView text)
    {
        QByteArray result;
        result.reserve(text.size());
        for (qsizetype at = text.indexOf('&'); at >= 0; at = text.indexOf('&')) {
            const CharacterReference* const reference = FindReference(text.sliced(at));
            result.append(text.first(at)).append(reference->Character);
            text = text.sliced(at + reference->Text.size());
        }
        return result.append(text);
    }

    static constexpr QLatin1StringView kEndTag = "</Param>"_L1;
    static constexpr QLatin1StringView kNameStart = " Name=\""_L1;
    static constexpr QLatin1StringView kTypeStart = " Type=\""_L1;
    static constexpr QLatin1StringView kValueStart = " Value=\""_L1;

    const char* mNext;
    const char* mEnd;
    bool mIsCanonical = true;
};

} // namespace

bool TakeMessageFast(QByteArrayView& bytes, MessageInfo& message)
{
    FastReader reader(bytes);
    if (!reader.Read(message))
        return false;
    bytes = reader.Rest();
    return true;
}

std::optional<MessageInfo> DecodeMessageFast(QByteArrayView frame)
{
    MessageInfo message;
    if (!TakeMessageFast(frame, message) || !frame.isEmpty())
        return std::nullopt;
    return message;
}

std::optional<MessageInfo> DecodeMessageFast(QStringView frame)
{
    // An unpaired surrogate would become a question mark.
    if (!frame.isValidUtf16())
        return std::nullopt;
    return DecodeMessageFast(frame.toUtf8());
}

} // namespace Quorvin::Util::Internal
