// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_XMLWRITER_P_H
#define QVUTIL_XMLWRITER_P_H

#include <QByteArray>
#include <QDomDocument>
#include <QString>

// Internal, not API: may change in any version.

namespace Quorvin::Util::Internal {

/// Writes a document in the format of files: UTF-8, indented by four spaces per level.
[[nodiscard]] QByteArray WriteXmlFile(const QDomDocument& document);

/// Writes a document as text, indented by one space per level.
[[nodiscard]] QString WriteXmlString(const QDomDocument& document);

/// Writes a node and its content as text, indented by four spaces per level.
[[nodiscard]] QString WriteXmlNode(const QDomNode& node);

/// Writes the content of a node, without the node itself, in the format of WriteXmlNode.
[[nodiscard]] QString WriteXmlContent(const QDomNode& node);

} // namespace Quorvin::Util::Internal

#endif // QVUTIL_XMLWRITER_P_H
