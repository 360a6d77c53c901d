// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "xml/XmlWriter_p.h"

#include <QStringConverter>
#include <QStringList>
#include <QTextStream>

#include <algorithm>
#include <vector>

using namespace Qt::StringLiterals;

// With every version of Qt, the format is that of QDomNode::save in Qt 6.4, except that attributes are sorted
// by name: QDom keeps them in a hash, whose order changes from run to run.

namespace Quorvin::Util::Internal {
namespace {

constexpr int kFileIndent = 4;
constexpr int kStringIndent = 1;

enum class Escape {
    Text,
    TextAndQuotes,
    AttributeValue,
};

QLatin1StringView EscapeFor(QChar c, Escape escape)
{
    switch (c.unicode()) {
    case u'<':
        return "&lt;"_L1;
    case u'&':
        return "&amp;"_L1;
    case u'>':
        return "&gt;"_L1;
    case u'"':
        return escape == Escape::Text ? QLatin1StringView() : "&quot;"_L1;
    case u'\r':
        return "&#xd;"_L1;
    case u'\n':
        return escape == Escape::AttributeValue ? "&#xa;"_L1 : QLatin1StringView();
    case u'\t':
        return escape == Escape::AttributeValue ? "&#x9;"_L1 : QLatin1StringView();
    default:
        return {};
    }
}

QString Quoted(const QString& text)
{
    const QChar quote = text.contains(u'\'') ? u'"' : u'\'';
    return quote + text + quote;
}

QString SaveByQt(const QDomNode& node)
{
    QString text;
    QTextStream stream(&text);
    node.save(stream, 0);
    stream.flush();
    return text;
}

std::vector<QDomNode> SortedByName(const QDomNamedNodeMap& map)
{
    std::vector<QDomNode> nodes;
    nodes.reserve(static_cast<size_t>(map.count()));
    for (int i = 0; i < map.count(); ++i)
        nodes.push_back(map.item(i));
    std::sort(nodes.begin(), nodes.end(),
              [](const QDomNode& a, const QDomNode& b) { return a.nodeName() < b.nodeName(); });
    return nodes;
}

class Writer
{
public:
    explicit Writer(int indent)
        : mIndent(indent)
    { }

    // Walks the tree without recursion, so that deep documents do not exhaust the stack.
    void Write(const QDomNode& top, int depth)
    {
        QDomNode node = top;
        bool isAfterText = top.previousSibling().isText();
        for (;;) {
            const QDomNode child = node.isElement() ? node.firstChild() : QDomNode();
            if (!child.isNull()) {
                WriteStartTag(node.toElement(), depth++, isAfterText);
                mText += child.isText() ? ">"_L1 : ">\n"_L1;
                node = child;
                isAfterText = false;
                continue;
            }
            QDomNode next = node.nextSibling();
            WriteLeaf(node, depth, isAfterText, next.isText());
            while (next.isNull() && node != top) {
                const bool isLastText = node.isText();
                node = node.parentNode();
                next = node.nextSibling();
                WriteEndTag(node, --depth, isLastText, next.isText());
            }
            if (node == top)
                return;
            isAfterText = node.isText();
            node = next;
        }
    }

    void WriteDocumentType(const QDomDocumentType& type)
    {
        if (type.name().isEmpty())
            return;
        mText += "<!DOCTYPE "_L1 + type.name();
        if (!type.publicId().isNull())
            mText += " PUBLIC "_L1 + Quoted(type.publicId());
        else if (!type.systemId().isNull())
            mText += " SYSTEM"_L1;
        if (!type.systemId().isNull())
            mText += u' ' + Quoted(type.systemId());
        if (type.entities().count() > 0 || type.notations().count() > 0) {
            mText += " [\n"_L1;
            for (const QDomNode& notation : SortedByName(type.notations()))
                mText += SaveByQt(notation);
            for (const QDomNode& entity : SortedByName(type.entities()))
                mText += SaveByQt(entity);
            mText += u']';
        }
        mText += ">\n"_L1;
    }

    void WriteXmlDeclaration() { mText += "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"_L1; }

    [[nodiscard]] const QString& GetText() const { return mText; }

private:
    void WriteIndentation(int depth) { mText.resize(mText.size() + qsizetype(depth) * mIndent, u' '); }

    void WriteEscaped(const QString& text, Escape escape)
    {
        qsizetype done = 0;
        for (qsizetype i = 0; i < text.size(); ++i) {
            const QLatin1StringView replacement = EscapeFor(text[i], escape);
            if (replacement.isEmpty())
                continue;
            if (text[i] == u'>' && !QStringView(text).first(i).endsWith(u"]]"))
                continue;
            mText += QStringView(text).sliced(done, i - done);
            mText += replacement;
            done = i + 1;
        }
        mText += QStringView(text).sliced(done);
    }

    void WriteAttribute(const QString& name, const QString& value)
    {
        mText += u' ';
        mText += name;
        mText += "=\""_L1;
        WriteEscaped(value, Escape::AttributeValue);
        mText += u'"';
    }

    void WriteAttributes(const QDomElement& element)
    {
        QStringList declaredPrefixes;
        for (const QDomNode& node : SortedByName(element.attributes())) {
            const QDomAttr attribute = node.toAttr();
            if (attribute.namespaceURI().isNull()) {
                WriteAttribute(attribute.name(), attribute.value());
                continue;
            }
            const QString prefix = attribute.prefix();
            WriteAttribute(prefix + u':' + attribute.name(), attribute.value());
            if (element.prefix() != prefix && !declaredPrefixes.contains(prefix)) {
                WriteAttribute("xmlns:"_L1 + prefix, attribute.namespaceURI());
                declaredPrefixes.append(prefix);
            }
        }
    }

    void WriteStartTag(const QDomElement& element, int depth, bool isAfterText)
    {
        if (!isAfterText)
            WriteIndentation(depth);
        mText += u'<';
        mText += element.nodeName();
        if (!element.namespaceURI().isNull()) {
            mText += element.prefix().isEmpty() ? " xmlns=\""_L1 : " xmlns:"_L1;
            if (!element.prefix().isEmpty())
                mText += element.prefix() + "=\""_L1;
            WriteEscaped(element.namespaceURI(), Escape::TextAndQuotes);
            mText += u'"';
        }
        WriteAttributes(element);
    }

    void WriteEndTag(const QDomNode& element, int depth, bool isLastText, bool isBeforeText)
    {
        if (!isLastText)
            WriteIndentation(depth);
        mText += "</"_L1;
        mText += element.nodeName();
        mText += isBeforeText ? ">"_L1 : ">\n"_L1;
    }

    void WriteLeaf(const QDomNode& node, int depth, bool isAfterText, bool isBeforeText)
    {
        switch (node.nodeType()) {
        case QDomNode::ElementNode:
            WriteStartTag(node.toElement(), depth, isAfterText);
            mText += isBeforeText ? "/>"_L1 : "/>\n"_L1;
            break;
        case QDomNode::TextNode:
            WriteEscaped(node.nodeValue(),
                         node.parentNode().isElement() ? Escape::Text : Escape::TextAndQuotes);
            break;
        case QDomNode::CDATASectionNode:
            mText += "<![CDATA["_L1 + node.nodeValue() + "]]>"_L1;
            break;
        case QDomNode::CommentNode:
            WriteComment(node.nodeValue(), depth, isAfterText, isBeforeText);
            break;
        case QDomNode::ProcessingInstructionNode:
            mText += "<?"_L1 + node.nodeName() + u' ' + node.nodeValue() + "?>\n"_L1;
            break;
        case QDomNode::EntityReferenceNode:
            mText += u'&' + node.nodeName() + u';';
            break;
        default: // no other kind of node is a child
            break;
        }
    }

    void WriteComment(const QString& text, int depth, bool isAfterText, bool isBeforeText)
    {
        if (!isAfterText)
            WriteIndentation(depth);
        mText += "<!--"_L1;
        mText += text;
        if (text.endsWith(u'-'))
            mText += u' '; // "--->" must not end a comment
        mText += isBeforeText ? "-->"_L1 : "-->\n"_L1;
    }

    const int mIndent;
    QString mText;
};

bool IsXmlDeclaration(const QDomNode& node)
{
    return node.isProcessingInstruction() && node.nodeName() == "xml"_L1;
}

} // namespace

QByteArray WriteXmlFile(const QDomDocument& document)
{
    Writer writer(kFileIndent);
    // As Qt does, replace the document's declaration with one for this encoding, drop everything before the
    // declaration, and omit the document type.
    writer.WriteXmlDeclaration();
    QDomNode first = document.firstChild();
    for (QDomNode node = first; !node.isNull(); node = node.nextSibling()) {
        if (IsXmlDeclaration(node)) {
            first = node.nextSibling();
            break;
        }
    }
    for (QDomNode node = first; !node.isNull(); node = node.nextSibling())
        writer.Write(node, 0);
    QStringEncoder encoder(QStringEncoder::Utf8); // stateful: an unpaired surrogate becomes U+FFFD
    return encoder(writer.GetText());
}

QString WriteXmlString(const QDomDocument& document)
{
    Writer writer(kStringIndent);
    bool hasWrittenType = false;
    for (QDomNode node = document.firstChild(); !node.isNull(); node = node.nextSibling()) {
        if (!hasWrittenType && !IsXmlDeclaration(node)) {
            writer.WriteDocumentType(document.doctype());
            hasWrittenType = true;
        }
        writer.Write(node, 0);
    }
    return writer.GetText();
}

QString WriteXmlNode(const QDomNode& node)
{
    Writer writer(kFileIndent);
    writer.Write(node, 1);
    return writer.GetText();
}

QString WriteXmlContent(const QDomNode& node)
{
    Writer writer(kFileIndent);
    for (QDomNode child = node.firstChild(); !child.isNull(); child = child.nextSibling())
        writer.Write(child, 1);
    return writer.GetText();
}

} // namespace Quorvin::Util::Internal
