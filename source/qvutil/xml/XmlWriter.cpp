// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "xml/XmlWriter_p.h"

#include <QTextStream>

namespace Quorvin::Util::Internal {
namespace {

constexpr int kFileIndent = 4;
constexpr int kStringIndent = 1;

} // namespace

QByteArray WriteXmlFile(const QDomDocument& document)
{
    QByteArray content;
    QTextStream stream(&content);
    document.save(stream, kFileIndent, QDomNode::EncodingFromTextStream);
    stream.flush();
    return content;
}

QString WriteXmlString(const QDomDocument& document)
{
    return document.toString(kStringIndent);
}

QString WriteXmlNode(const QDomNode& node)
{
    QString text;
    QTextStream stream(&text);
    node.save(stream, kFileIndent, QDomNode::EncodingFromTextStream);
    stream.flush();
    return text;
}

QString WriteXmlContent(const QDomNode& node)
{
    QString text;
    QTextStream stream(&text);
    for (QDomNode child = node.firstChild(); !child.isNull(); child = child.nextSibling())
        child.save(stream, kFileIndent, QDomNode::EncodingFromTextStream);
    stream.flush();
    return text;
}

} // namespace Quorvin::Util::Internal
