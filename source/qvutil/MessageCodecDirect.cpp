// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "IPC_p.h"
#include "MessageCodec_p.h"
#include "TranslationMark_p.h"
#include "VariantMapEncoder_p.h"

#include <QByteArray>
#include <QStringList>

#include <algorithm>
#include <array>
#include <charconv>

using namespace Qt::StringLiterals;

namespace Quorvin::Util {
namespace {

// Elements inside one another that the direct reader follows; far below what a document may have.
constexpr int kMaxDepth = 200;

// What stands for a character in the text of an attribute. White space other than blanks has to be written
// so too: a reader turns it into blanks.
struct CharacterReference
{
    char16_t Character;
    QStringView Text;
};

constexpr std::array<CharacterReference, 7> kReferences = {{{u'<', u"&lt;"},
                                                            {u'>', u"&gt;"},
                                                            {u'&', u"&amp;"},
                                                            {u'"', u"&quot;"},
                                                            {u'\t', u"&#x9;"},
                                                            {u'\n', u"&#xa;"},
                                                            {u'\r', u"&#xd;"}}};

// The reference at the beginning of a text; null if there is none that the writer writes.
const CharacterReference* FindReference(QStringView text)
{
    const auto row = std::ranges::find_if(
        kReferences, [text](const CharacterReference& reference) { return text.startsWith(reference.Text); });
    return row != kReferences.end() ? &*row : nullptr;
}

// Whether every XML reader and writer passes a character on as it is, wherever it stands.
constexpr bool IsPlain(char16_t c)
{
    return c >= 0x20 && c < 0xD800;
}

// Length of the character at \p text: 2 for a pair of surrogates, 0 for what XML cannot hold.
qsizetype CharacterLength(const char16_t* text, const char16_t* end)
{
    if (IsPlain(*text) || (*text > 0xDFFF && *text < 0xFFFE))
        return 1;
    return QChar::isHighSurrogate(*text) && end - text > 1 && QChar::isLowSurrogate(text[1]) ? 2 : 0;
}

class DirectWriter
{
public:
    [[nodiscard]] std::optional<QString> Write(const MessageInfo& message)
    {
        mText.reserve(400 + 100 * message.Params.size());
        mText += "<?xml version=\"1.0\"?>\n<Message"_L1;
        WriteText(" Id=\""_L1, message.Id);
        Append(" UniqueId=\""_L1, message.UniqueId.toString());
        Append("\" OriginalMessageUniqueId=\""_L1, message.OriginalMessageUniqueId.toString());
        Append("\" NeedResponse=\""_L1, BooleanText(message.NeedResponse));
        Append("\" IsResponse=\""_L1, BooleanText(message.IsResponse), "\">\n <Params"_L1);
        if (message.Params.isEmpty()) {
            mText += "/>\n"_L1;
        } else {
            mText += ">\n"_L1;
            WriteMap(message.Params, 2);
            mText += " </Params>\n"_L1;
        }
        mText += "</Message>\n"_L1;
        if (!mCertain)
            return std::nullopt;
        return std::move(mText);
    }

private:
    static QLatin1StringView BooleanText(bool value) { return value ? "True"_L1 : "False"_L1; }

    template <typename... Texts> void Append(const Texts&... texts) { (mText.append(texts), ...); }

    void WriteIndent(int depth)
    {
        static constexpr QLatin1StringView kBlanks = "                                "_L1;
        for (qsizetype rest = depth; rest > 0; rest -= kBlanks.size())
            mText += kBlanks.first(std::min(rest, kBlanks.size()));
    }

    // An attribute, from the blank before its name on.
    void WriteText(QLatin1StringView start, QStringView value)
    {
        mText += start;
        const char16_t* const end = value.utf16() + value.size();
        const char16_t* plain = value.utf16(); // what is not yet written
        for (const char16_t* c = plain; c != end;) {
            const qsizetype length = CharacterLength(c, end);
            const QStringView reference = Reference(c, value.utf16());
            if (!reference.isEmpty()) {
                Append(QStringView(plain, c), reference);
                plain = ++c;
            } else if (length > 0) {
                c += length;
            } else {
                mCertain = false;
                return;
            }
        }
        Append(QStringView(plain, end), u'"');
    }

    // What stands for a character in an attribute; empty where it stands for itself.
    static QStringView Reference(const char16_t* c, const char16_t* begin)
    {
        if (*c > u'>' || *c == u' ' || (*c == u'>' && (c - begin < 2 || c[-1] != u']' || c[-2] != u']')))
            return {};
        const auto row = std::ranges::find(kReferences, *c, &CharacterReference::Character);
        return row != kReferences.end() ? row->Text : QStringView();
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
            mText += "<Param"_L1;
            WriteVariant(item, depth);
        }
    }

    void WriteStringList(const QStringList& list, int depth)
    {
        for (const QString& text : list) {
            WriteIndent(depth);
            WriteText("<Param Value=\""_L1, text);
            mText += "/>\n"_L1;
        }
    }

    // The element from its type on.
    void WriteVariant(const QVariant& value, int depth)
    {
        const int type = value.typeId();
        Append(" Type=\""_L1, TypeName(type), u'"');
        switch (type) {
        case QMetaType::QVariantMap:
            WriteChildren(*static_cast<const QVariantMap*>(value.constData()), &DirectWriter::WriteMap,
                          depth);
            break;
        case QMetaType::QVariantList:
            WriteChildren(*static_cast<const QVariantList*>(value.constData()), &DirectWriter::WriteList,
                          depth);
            break;
        case QMetaType::QStringList:
            WriteChildren(*static_cast<const QStringList*>(value.constData()), &DirectWriter::WriteStringList,
                          depth);
            break;
        case QMetaType::QByteArray:
            Append("><![CDATA["_L1, QLatin1StringView(value.toByteArray().toBase64()), "]]></Param>\n"_L1);
            break;
        default:
            WriteScalar(value, type);
            mText += "/>\n"_L1;
            break;
        }
    }

    template <typename Container>
    void WriteChildren(const Container& children, void (DirectWriter::*write)(const Container&, int),
                       int depth)
    {
        if (children.isEmpty()) {
            mText += "/>\n"_L1;
            return;
        }
        mText += ">\n"_L1;
        (this->*write)(children, depth + 1);
        WriteIndent(depth);
        mText += "</Param>\n"_L1;
    }

    void WriteScalar(const QVariant& value, int type)
    {
        static constexpr QLatin1StringView kStart = " Value=\""_L1;
        switch (type) {
        case QMetaType::Bool:
            Append(kStart, BooleanText(value.toBool()), u'"');
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
            Append(kStart, QString::number(value.toDouble(), 'g', 17), u'"');
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
        std::array<char, 24> digits;
        const char* const end = std::to_chars(digits.data(), digits.data() + digits.size(), value).ptr;
        Append(" Value=\""_L1, QLatin1StringView(digits.data(), end), u'"');
    }

    QString mText;
    bool mCertain = true;
};

// Every operation returns false, or turns mCertain off, as soon as the document is not as the writer would
// have written it (white space between elements aside).
class DirectReader
{
public:
    explicit DirectReader(QStringView document)
        : mNext(document.utf16())
        , mEnd(document.utf16() + document.size())
    { }

    [[nodiscard]] bool Read(MessageInfo& message)
    {
        return Take(u"<?xml version=\"1.0\"?>") && TakeElement(u"<Message") && ReadHead(message) && Take(u">")
            && TakeElement(u"<Params") && ReadMap(message.Params, u"</Params>", 0)
            && TakeElement(u"</Message>") && SkipBlanks() == mEnd && mCertain;
    }

private:
    // The text of an attribute as it stands in the document.
    struct Attribute
    {
        QStringView Name;
        QStringView Text = {};
        bool Present = false;
        bool Escaped = false;
    };

    const char16_t* SkipBlanks()
    {
        while (mNext != mEnd && (*mNext == u' ' || *mNext == u'\n'))
            ++mNext;
        return mNext;
    }

    bool Take(QStringView text)
    {
        if (mEnd - mNext < text.size() || QStringView(mNext, text.size()) != text)
            return false;
        mNext += text.size();
        return true;
    }

    bool TakeElement(QStringView text)
    {
        SkipBlanks();
        return Take(text);
    }

    // All attributes of a tag, in any order; false on one that is not among those asked for, or comes twice.
    template <size_t Count> bool ReadAttributes(std::array<Attribute, Count>& attributes)
    {
        while (Take(u" ")) {
            const char16_t* const equals = std::find(mNext, mEnd, u'=');
            const QStringView name(mNext, equals);
            const auto attribute = std::find_if(attributes.begin(), attributes.end(),
                                                [name](const Attribute& a) { return a.Name == name; });
            mNext = equals;
            if (attribute == attributes.end() || attribute->Present || !Take(u"=\"") || !ReadText(*attribute))
                return false;
        }
        return true;
    }

    // Up to and with the closing quote.
    bool ReadText(Attribute& attribute)
    {
        const char16_t* const begin = mNext;
        while (mNext != mEnd && *mNext != u'"') {
            qsizetype length = CharacterLength(mNext, mEnd);
            if (*mNext == u'&') {
                // Looked at even where nobody reads the text: a wrong one makes the document unreadable.
                const CharacterReference* const reference = FindReference(QStringView(mNext, mEnd));
                length = reference != nullptr ? reference->Text.size() : 0;
                attribute.Escaped = true;
            }
            if (length == 0 || *mNext == u'<')
                return false;
            mNext += length;
        }
        attribute.Present = true;
        attribute.Text = QStringView(begin, mNext);
        return Take(u"\"");
    }

    bool ReadHead(MessageInfo& message)
    {
        std::array<Attribute, 5> head
            = {{{u"Id"}, {u"UniqueId"}, {u"OriginalMessageUniqueId"}, {u"NeedResponse"}, {u"IsResponse"}}};
        if (!ReadAttributes(head) || !std::ranges::all_of(head, &Attribute::Present))
            return false;
        message.Id = Text(head[0]);
        message.UniqueId = QUuid::fromString(Text(head[1]));
        message.OriginalMessageUniqueId = QUuid::fromString(Text(head[2]));
        message.NeedResponse = Boolean(head[3]);
        message.IsResponse = Boolean(head[4]);
        return mCertain;
    }

    // The entries of a map from the end of its tag on: "/>", or ">", the entries and the end tag.
    bool ReadMap(QVariantMap& map, QStringView endTag, int depth)
    {
        return ReadChildren(endTag, depth, [this, &map, depth] {
            std::array<Attribute, 3> attributes = {{{u"Type"}, {u"Name"}, {u"Value"}}};
            if (!ReadAttributes(attributes) || !attributes[1].Present)
                return false;
            const QString name = Text(attributes[1]);
            QVariant value;
            if (!ReadVariant(attributes[0], attributes[2], value, depth))
                return false;
            if (!name.isEmpty())
                map.insert(name, value);
            return mCertain;
        });
    }

    bool ReadList(QVariantList& list, int depth)
    {
        return ReadChildren(kEndTag, depth, [this, &list, depth] {
            std::array<Attribute, 2> attributes = {{{u"Type"}, {u"Value"}}};
            QVariant value;
            if (!ReadAttributes(attributes) || !ReadVariant(attributes[0], attributes[1], value, depth))
                return false;
            list.append(std::move(value));
            return mCertain;
        });
    }

    bool ReadStringList(QStringList& list, int depth)
    {
        return ReadChildren(kEndTag, depth, [this, &list] {
            std::array<Attribute, 1> attributes = {{{u"Value"}}};
            if (!ReadAttributes(attributes) || !attributes[0].Present || !Take(u"/>"))
                return false;
            list.append(Text(attributes[0]));
            return mCertain;
        });
    }

    template <typename ReadChild> bool ReadChildren(QStringView endTag, int depth, ReadChild readChild)
    {
        if (Take(u"/>"))
            return true;
        if (depth > kMaxDepth || !Take(u">"))
            return false;
        while (!TakeElement(endTag)) {
            if (!Take(u"<Param") || !readChild())
                return false;
        }
        return true;
    }

    // The element from the end of its attributes on.
    bool ReadVariant(const Attribute& type, const Attribute& text, QVariant& value, int depth)
    {
        const int typeId = TypeIdOf(type.Text);
        if (!type.Present || (typeId == 0 && !type.Text.isEmpty() && type.Text != u"Invalid"))
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
            return (!HasText(typeId) || ReadScalar(typeId, text, value)) && Take(u"/>");
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
        bool ok = attribute.Present;
        switch (typeId) {
        case QMetaType::Bool:
            value = Boolean(attribute);
            break;
        case QMetaType::Int:
            value = attribute.Text.toInt(&ok);
            break;
        case QMetaType::UInt:
            value = attribute.Text.toUInt(&ok);
            break;
        case QMetaType::LongLong:
            value = attribute.Text.toLongLong(&ok);
            break;
        case QMetaType::Double:
            value = attribute.Text.toDouble(&ok);
            break;
        default:
            value = Text(attribute);
            break;
        }
        return ok;
    }

    bool ReadBytes(QVariant& value)
    {
        if (!Take(u"><![CDATA["))
            return false;
        const QStringView rest(mNext, mEnd);
        const qsizetype size = rest.indexOf(u']');
        if (size < 0)
            return false;
        const QStringView base64 = rest.first(size);
        mNext += size;
        // All of it is looked at even after a bad character: without a way out the loop is a fast one.
        bool plain = true;
        for (const QChar c : base64)
            plain &= IsPlain(c.unicode());
        value = QByteArray::fromBase64(base64.toLatin1());
        return plain && Take(u"]]></Param>");
    }

    bool Boolean(const Attribute& attribute)
    {
        const bool value = attribute.Text == u"True";
        mCertain = mCertain && (value || attribute.Text == u"False");
        return value;
    }

    QString Text(const Attribute& attribute)
    {
        if (attribute.Text.isEmpty())
            return {};
        const QString text = attribute.Escaped ? Unescaped(attribute.Text) : attribute.Text.toString();
        mCertain = mCertain && !Internal::FindTranslationMark(text);
        return text;
    }

    static QString Unescaped(QStringView text)
    {
        QString result;
        result.reserve(text.size());
        for (qsizetype at = text.indexOf(u'&'); at >= 0; at = text.indexOf(u'&')) {
            const CharacterReference* const reference = FindReference(text.sliced(at));
            result.append(text.first(at)).append(QChar(reference->Character));
            text = text.sliced(at + reference->Text.size());
        }
        return result.append(text);
    }

    static constexpr QStringView kEndTag = u"</Param>";

    const char16_t* mNext;
    const char16_t* mEnd;
    bool mCertain = true;
};

} // namespace

std::optional<QString> WriteMessageDirectly(const MessageInfo& message)
{
    return DirectWriter().Write(message);
}

std::optional<MessageInfo> ReadMessageDirectly(QStringView document)
{
    MessageInfo message;
    if (!DirectReader(document).Read(message))
        return std::nullopt;
    return message;
}

} // namespace Quorvin::Util
