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

// Elements inside one another that the fast path follows; far below what a document may have.
constexpr int kMaxDepth = 200;

// Whether bytes are UTF-8 that reads the same here, in the middle of a document, as by itself, and holds
// nothing that stands for what could not be read.
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

// Every operation returns false, or turns mIsCanonical off, as soon as the document is not as the writer
// would have written it (white space between elements aside).
class FastReader
{
public:
    // The frame is what the bytes begin with.
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

    // What follows the frame that was read.
    [[nodiscard]] QByteArrayView Rest() const { return {mNext, mEnd}; }

private:
    // The text of an attribute as it stands in the document, and what stands before it.
    struct Attribute
    {
        QLatin1StringView Start;
        QByteArrayView Text = {};
        bool Present = false;
        bool Escaped = false;
        bool Wide = false;
        bool HasParenthesis = false;
    };

    // Whether nothing follows, or another document: none of what was read so far can hold the beginning of
    // one.
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

    // The size of a literal is known at compile time, so that the comparison is inlined; the overload below
    // is for texts known at run time only.
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

    // All attributes of a tag, in any order; false on a text that is not as the writer writes them. One that
    // is not among those asked for, or comes twice, is left, and nothing else can stand there.
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

    // Up to and with the closing quote. All of it is looked at even where nobody reads the text: a wrong one
    // makes the document unreadable.
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

    // To the last character of a reference.
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

    // The entries of a map from the end of its tag on: "/>", or ">", the entries and the end tag.
    bool ReadMap(QVariantMap& map, QLatin1StringView endTag, int depth)
    {
        // QMap takes it over, and has no way to take over a key.
        std::map<QString, QVariant> entries;
        const bool ok = ReadChildren(endTag, depth, [this, &entries, depth] {
            std::array<Attribute, 3> attributes = {{{kNameStart}, {kTypeStart}, {kValueStart}}};
            if (!ReadAttributes(attributes) || !attributes[0].Present)
                return false;
            QString name = Text(attributes[0]);
            QVariant value;
            if (!ReadVariant(attributes[1], attributes[2], value, depth))
                return false;
            if (!name.isEmpty()) // they come in this order mostly
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

    // The element from the end of its attributes on.
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
            // Types that have no name, or cannot travel, leave the value invalid.
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
        // Not all standard libraries have it; where they do, it takes a tenth of the time.
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
        // No mark is without a parenthesis, which nothing else can stand for.
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
    // Half a pair of surrogates would become a question mark.
    if (!frame.isValidUtf16())
        return std::nullopt;
    return DecodeMessageFast(frame.toUtf8());
}

} // namespace Quorvin::Util::Internal
