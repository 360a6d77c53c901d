// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "xml/XmlLimits_p.h"

#include "xml/XmlRules_p.h"

#include <QHash>
#include <QStringConverter>
#include <QXmlStreamReader>

#include <algorithm>
#include <string_view>

namespace Quorvin::Util::Internal {
namespace {

// The scan works on bytes of any encoding that keeps ASCII, and on UTF-16 units.
template <typename Char> using Text = std::basic_string_view<Char>;

template <typename Char> constexpr Char kQuotesAndEnd[] = {'"', '\'', '>'};

template <typename Char> bool StartsWith(Text<Char> text, size_t at, std::string_view prefix)
{
    return text.size() - at >= prefix.size()
        && std::equal(prefix.begin(), prefix.end(), text.begin() + static_cast<qptrdiff>(at),
                      [](char a, Char b) { return static_cast<Char>(a) == b; });
}

// Index behind the next occurrence of an ASCII text; the text's size if there is none.
template <typename Char> size_t SkipPast(Text<Char> text, size_t from, std::string_view end)
{
    for (size_t at = text.find(static_cast<Char>(end.front()), from); at != text.npos;
         at = text.find(static_cast<Char>(end.front()), at + 1)) {
        if (StartsWith(text, at, end))
            return at + end.size();
    }
    return text.size();
}

// Index behind the '>' of a tag, which may stand in quotes too; the text's size if there is none.
template <typename Char> size_t SkipTag(Text<Char> text, size_t at)
{
    while ((at = text.find_first_of(kQuotesAndEnd<Char>, at, 3)) != text.npos) {
        if (text[at] == '>')
            return at + 1;
        at = text.find(text[at], at + 1);
        if (at == text.npos)
            break;
        ++at;
    }
    return text.size();
}

// Index behind a document type declaration, its internal subset included.
template <typename Char> size_t SkipDoctype(Text<Char> text, size_t at)
{
    int brackets = 0;
    while (at < text.size()) {
        const Char c = text[at];
        if (StartsWith(text, at, "<!--")) {
            at = SkipPast(text, at + 4, "-->");
        } else if (StartsWith(text, at, "<?")) {
            at = SkipPast(text, at + 2, "?>");
        } else if (c == '"' || c == '\'') {
            const size_t end = text.find(c, at + 1);
            at = end == text.npos ? text.size() : end + 1;
        } else {
            ++at;
            if (c == '[')
                ++brackets;
            else if (c == ']')
                --brackets;
            else if (c == '>' && brackets <= 0)
                return at;
        }
    }
    return at;
}

// Never below the depth that a parser reaches; entities do not count.
template <typename Char> bool KeepsDepth(Text<Char> text)
{
    int depth = 0;
    for (size_t at = text.find('<'); at < text.size(); at = text.find('<', at)) {
        if (StartsWith(text, at, "<!--")) {
            at = SkipPast(text, at + 4, "-->");
        } else if (StartsWith(text, at, "<![CDATA[")) {
            at = SkipPast(text, at + 9, "]]>");
        } else if (StartsWith(text, at, "<!DOCTYPE")) {
            at = SkipDoctype(text, at + 9);
        } else if (StartsWith(text, at, "<?")) {
            at = SkipPast(text, at + 2, "?>");
        } else if (StartsWith(text, at, "</")) {
            --depth;
            at += 2;
        } else {
            if (depth >= kMaxElementDepth)
                return false;
            at = SkipTag(text, at + 1);
            if (text[at - 1] != '>' || text[at - 2] != '/')
                ++depth;
        }
    }
    return true;
}

bool IsEntityNameEnd(QChar c)
{
    return c.isSpace() || c == u';' || c == u'&' || c == u'%' || c == u'<' || c == u'"' || c == u'\'';
}

QStringView EntityNameAt(QStringView text, qsizetype at)
{
    const auto begin = text.begin() + at;
    return {begin, std::find_if(begin, text.end(), IsEntityNameEnd)};
}

// Unlike trimmed(), it does not look at the end of the text, which may be far away.
QStringView SkipBlanks(QStringView text)
{
    const auto begin = std::find_if_not(text.begin(), text.end(), [](QChar c) { return c.isSpace(); });
    return {begin, text.end()};
}

// Adds up what the entity references of a document stand for. An entity may use others that were declared
// before it or after it; one that leads back to itself stands for nothing, since no parser takes it.
class EntityCounter
{
public:
    explicit EntityCounter(QStringView document)
        : mDocument(document)
    {
        CollectDeclarations();
    }

    [[nodiscard]] bool KeepsLimit()
    {
        return mEntities.isEmpty() || ExpandedSize(mDocument) - mDocument.size() <= kMaxEntityExpansion;
    }

private:
    struct Entity
    {
        QStringView Value;
        qint64 Size = -1;
        bool BeingMeasured = false;
    };

    void CollectDeclarations()
    {
        constexpr QStringView kStart = u"<!ENTITY";
        for (qsizetype at = mDocument.indexOf(kStart); at >= 0; at = mDocument.indexOf(kStart, at + 1)) {
            QStringView rest = SkipBlanks(mDocument.sliced(at + kStart.size()));
            if (rest.startsWith(u'%'))
                rest = SkipBlanks(rest.sliced(1));
            const QStringView name = EntityNameAt(rest, 0);
            rest = SkipBlanks(rest.sliced(name.size()));
            if (rest.isEmpty() || (rest.front() != u'"' && rest.front() != u'\''))
                continue;
            const qsizetype end = rest.indexOf(rest.front(), 1);
            if (end > 0 && !mEntities.contains(name))
                mEntities.insert(name, {rest.sliced(1, end - 1)});
        }
    }

    qint64 ExpandedSize(QStringView text)
    {
        qint64 size = text.size();
        for (qsizetype at = 0; at < text.size() && size <= kMaxEntityExpansion + mDocument.size(); ++at) {
            if (text[at] != u'&' && text[at] != u'%')
                continue;
            const QStringView name = EntityNameAt(text, at + 1);
            const auto entity = mEntities.find(name);
            if (entity != mEntities.end())
                size += EntitySize(*entity);
        }
        return size;
    }

    qint64 EntitySize(Entity& entity)
    {
        if (entity.BeingMeasured)
            return 0;
        if (mNesting >= kMaxElementDepth)
            return kMaxEntityExpansion + mDocument.size() + 1; // as good as endless
        if (entity.Size < 0) {
            entity.BeingMeasured = true;
            ++mNesting;
            entity.Size = ExpandedSize(entity.Value);
            --mNesting;
            entity.BeingMeasured = false;
        }
        return entity.Size;
    }

    QStringView mDocument;
    QHash<QStringView, Entity> mEntities;
    int mNesting = 0;
};

// Reads the document as its parser will, when a look at the text does not tell the depth: entities may hold
// elements, and the text may be in another encoding than it seems. The reader itself needs no stack.
bool KeepsDepthWhenRead(QXmlStreamReader&& reader)
{
    reader.setNamespaceProcessing(false); // as the parser: an unknown prefix is no error
    int depth = 0;
    while (!reader.atEnd()) {
        const auto token = reader.readNext();
        if (token == QXmlStreamReader::StartElement && ++depth > kMaxElementDepth)
            return false;
        if (token == QXmlStreamReader::EndElement)
            --depth;
    }
    return true;
}

bool DeclaresOtherEncoding(std::string_view document)
{
    constexpr std::string_view kKey = "encoding";
    const std::string_view declaration = document.substr(0, document.find("?>"));
    const size_t key = declaration.starts_with("<?xml") ? declaration.find(kKey) : std::string_view::npos;
    if (key == std::string_view::npos)
        return false;
    const size_t quote = declaration.find_first_of("\"'", key);
    if (quote == std::string_view::npos)
        return false;
    const QByteArray name
        = QByteArray(declaration.data() + quote + 1, static_cast<qsizetype>(declaration.size() - quote - 1))
              .toLower();
    return !name.startsWith("utf-8") && !name.startsWith("iso-8859-") && !name.startsWith("us-ascii")
        && !name.startsWith("windows-125");
}

QString Decode(const QByteArray& document)
{
    const auto byMark = QStringConverter::encodingForData(document, u'<');
    QStringDecoder decoder = byMark ? QStringDecoder(*byMark) : QStringDecoder(QStringDecoder::Utf8);
    return decoder(document);
}

} // namespace

bool KeepsXmlLimits(QStringView document)
{
    if (!KeepsDepth(Text<char16_t>(document.utf16(), static_cast<size_t>(document.size()))))
        return false;
    if (!document.contains(u"<!ENTITY"))
        return true;
    return EntityCounter(document).KeepsLimit() && KeepsDepthWhenRead(QXmlStreamReader(document.toString()));
}

bool KeepsXmlLimits(const QByteArray& document)
{
    const Text<char> bytes(document.constData(), static_cast<size_t>(document.size()));
    // Nearly every document: an encoding that keeps ASCII, and no entities.
    const bool keepsAscii = bytes.find('\0') == bytes.npos && !DeclaresOtherEncoding(bytes);
    if (keepsAscii && bytes.find("<!ENTITY") == bytes.npos)
        return KeepsDepth(bytes);
    if (keepsAscii)
        return KeepsXmlLimits(Decode(document));
    return EntityCounter(Decode(document)).KeepsLimit() && KeepsDepthWhenRead(QXmlStreamReader(document));
}

} // namespace Quorvin::Util::Internal
