// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_XMLWRITER_P_H
#define QVUTIL_XMLWRITER_P_H

#include <QByteArray>
#include <QDomDocument>
#include <QString>

// Internal, not API: may change in any version.

namespace Quorvin::Util::Internal {

/// Writes a document as a file holds it: UTF-8, four blanks of indentation a level.
[[nodiscard]] QByteArray WriteXmlFile(const QDomDocument& document);

/// Writes a document as text, with one blank of indentation a level.
[[nodiscard]] QString WriteXmlString(const QDomDocument& document);

/// Writes a node and everything in it as text, with four blanks of indentation a level.
[[nodiscard]] QString WriteXmlNode(const QDomNode& node);

/// Writes everything in a node, but not the node itself, in the form of WriteXmlNode.
[[nodiscard]] QString WriteXmlContent(const QDomNode& node);

} // namespace Quorvin::Util::Internal

#endif // QVUTIL_XMLWRITER_P_H
