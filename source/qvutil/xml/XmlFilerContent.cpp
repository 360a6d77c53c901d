// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "XmlFiler.h"

#include "general/VariableResolver_p.h"
#include "xml/TranslationMark_p.h"
#include "xml/XmlRules_p.h"
#include "xml/XmlWriter_p.h"

using namespace Qt::StringLiterals;

namespace Quorvin::Util {
namespace {

QByteArray DecodeContent(const QDomElement& element)
{
    const QString data = element.firstChild().toText().data();
    return QByteArray::fromBase64(data.toLatin1());
}

int ResolveAttributes(const QDomNamedNodeMap& attributes, Internal::VariableResolver& resolver)
{
    int count = 0;
    for (int i = 0; i < attributes.count(); ++i) {
        QDomAttr attribute = attributes.item(i).toAttr();
        QString value = attribute.value();
        const int substitutions = resolver.Resolve(value);
        if (substitutions > 0)
            attribute.setValue(value);
        count += substitutions;
    }
    return count;
}

int ResolveNode(QDomNode node, Internal::VariableResolver& resolver)
{
    if (node.isNull() || node.isComment())
        return 0;
    int count = ResolveAttributes(node.attributes(), resolver);
    QString value = node.nodeValue();
    const int substitutions = resolver.Resolve(value);
    if (substitutions > 0)
        node.setNodeValue(value);
    count += substitutions;
    for (QDomNode child = node.firstChild(); !child.isNull(); child = child.nextSibling())
        count += ResolveNode(child, resolver);
    return count;
}

} // namespace

// Content

void XmlFiler::ReplaceContent(QDomElement element, const QDomNode& content)
{
    RemoveChildren(element);
    element.appendChild(content);
}

void XmlFiler::WriteContentBytes(const QDomElement& element, const QByteArray& value)
{
    if (!element.isNull())
        ReplaceContent(element, mDocument.createCDATASection(QString::fromLatin1(value.toBase64())));
}

void XmlFiler::WriteContentText(const QDomElement& element, const QString& text, bool cdata)
{
    if (element.isNull())
        return;
    Internal::WarnOfNonXmlCharacters(text);
    if (cdata)
        ReplaceContent(element, mDocument.createCDATASection(text));
    else
        ReplaceContent(element, mDocument.createTextNode(text));
}

QString XmlFiler::ReadContentText(const QDomElement& element) const
{
    const QDomText text = element.firstChild().toText();
    return text.isCDATASection() ? text.data() : Translate(text.data());
}

QByteArray XmlFiler::ReadBuffer()
{
    return DecodeContent(CurrentElement());
}

QByteArray XmlFiler::ReadBuffer(const QString& path)
{
    return DecodeContent(ElementAt(path));
}

void XmlFiler::WriteBuffer(const QByteArray& value)
{
    WriteContentBytes(CurrentElement(), value);
}

void XmlFiler::WriteBuffer(const QString& path, const QByteArray& value)
{
    WriteContentBytes(CreateElementAt(path), value);
}

QString XmlFiler::ReadNodeText()
{
    return ReadContentText(CurrentElement());
}

QString XmlFiler::ReadNodeText(const QString& path)
{
    return ReadContentText(ElementAt(path));
}

void XmlFiler::WriteNodeText(const QString& text)
{
    WriteContentText(CurrentElement(), text, false);
}

void XmlFiler::WriteNodeText(const QString& text, bool cdata)
{
    WriteContentText(CurrentElement(), text, cdata);
}

void XmlFiler::WriteNodeText(const QString& path, const QString& text)
{
    WriteContentText(CreateElementAt(path), text, false);
}

void XmlFiler::WriteNodeText(const QString& path, const QString& text, bool cdata)
{
    WriteContentText(CreateElementAt(path), text, cdata);
}

QString XmlFiler::ReadInnerXml()
{
    return Internal::WriteXmlContent(CurrentElement());
}

QString XmlFiler::ReadInnerXml(const QString& path)
{
    return Internal::WriteXmlContent(ElementAt(path));
}

bool XmlFiler::WriteInnerXml(const QString& xml)
{
    const QString document = "<Root>"_L1 + xml + "</Root>"_L1;
    QDomDocument parsed;
    if ((!Internal::IsSafeToParse(document) && Internal::FindXmlProblem(document))
        || !parsed.setContent(document))
        return false;
    QDomElement wrapper = parsed.documentElement();
    if (!wrapper.hasChildNodes())
        return false;
    if (mDocument.documentElement().isNull())
        CreateOrMoveToNode(u"Root"_s, true, false);
    if (mCurrentNode.isNull())
        return false;
    for (QDomNode child = wrapper.firstChild(); !child.isNull(); child = wrapper.firstChild())
        AppendChild(mCurrentNode, child);
    return true;
}

bool XmlFiler::WriteInnerXml(const QString& path, const QString& xml)
{
    PushCurrentNode();
    const bool written = CreateOrMoveToNode(path, true, false) && WriteInnerXml(xml);
    PopCurrentNode();
    return written;
}

QString XmlFiler::ReadOuterXml()
{
    return CurrentElement().isNull() ? QString() : Internal::WriteXmlNode(mCurrentNode);
}

QString XmlFiler::ReadOuterXml(const QString& path)
{
    const QDomElement element = ElementAt(path);
    return element.isNull() ? QString() : Internal::WriteXmlNode(element);
}

void XmlFiler::WriteComment(const QString& text)
{
    const QDomNode comment = mDocument.createComment(text);
    if (mCurrentNode.isNull()) {
        CreateXmlDeclaration();
        mDocument.appendChild(comment);
    } else {
        mCurrentNode.appendChild(comment);
    }
}

void XmlFiler::WriteComment(const QString& path, const QString& text)
{
    PushCurrentNode();
    if (CreateOrMoveToNode(path, true, false))
        WriteComment(text);
    PopCurrentNode();
}

// Translation marks

bool XmlFiler::StripTr(QString& text) const
{
    const std::optional<QStringView> wrapped = Internal::FindTranslationMark(text);
    if (!wrapped)
        return false;
    text = wrapped->toString();
    return true;
}

QString XmlFiler::Translate(const QString& text) const
{
    if (!TranslateEnabled)
        return text;
    const std::optional<QStringView> wrapped = Internal::FindTranslationMark(text);
    if (!wrapped)
        return text;
    return Translator == nullptr ? wrapped->toString()
                                 : Translator->Translate(wrapped->toString(), mFilePath);
}

// Variables

int XmlFiler::ResolveVariables(const QMap<QString, QString>& variables)
{
    return IsEmpty() || variables.isEmpty() ? 0 : ResolveVariables(mDocument, variables);
}

int XmlFiler::ResolveVariables(QDomNamedNodeMap attributes, const QMap<QString, QString>& variables)
{
    Internal::VariableResolver resolver(variables, true);
    return ResolveAttributes(attributes, resolver);
}

int XmlFiler::ResolveVariables(QDomNode node, const QMap<QString, QString>& variables)
{
    Internal::VariableResolver resolver(variables, true);
    return ResolveNode(node, resolver);
}

} // namespace Quorvin::Util
