// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_TOOL_ELEMENTVISIT_H
#define QVUTIL_TOOL_ELEMENTVISIT_H

#include "cli/InputFile.h"
#include "documents/ElementPath.h"

#include <QByteArray>
#include <QDomElement>
#include <QMap>
#include <QString>

#include <functional>
#include <optional>

namespace Quorvin::Tool {

/// An element of a document, without the elements in it.
struct VisitedElement
{
    int Level = 0; ///< number of levels below the element where the visit starts
    QString Path; ///< from the root, see ElementPath::Of
    QString Name;
    QMap<QString, QString> Attributes;
    QString Text; ///< see TextOf
    bool IsSection = false; ///< see IsSection
    bool HasElements = false; ///< whether it contains elements
};
using ElementVisitor = std::function<void(const VisitedElement&)>;

/// Visits an element of a file and all elements in it, in the order of the document. Throws Failure like
/// LoadDocument before the first call.
/// \return false if the element does not exist
[[nodiscard]] bool VisitElements(const InputFile& file, const ElementPath& path,
                                 const ElementVisitor& visitor);
/// Like VisitElements, but only for documents that can be streamed.
/// \param name      name of the file
/// \param document  content of the file
/// \return nullopt, before the first call, if the document must be loaded with LoadDocument
[[nodiscard]] std::optional<bool> StreamElements(const QString& name, const QByteArray& document,
                                                 const ElementPath& path, const ElementVisitor& visitor);

/// Visits an element of a loaded document and all elements in it, in the order of the document.
void VisitTree(const QDomElement& element, const ElementVisitor& visitor);
/// Returns the attributes of an element by name.
[[nodiscard]] QMap<QString, QString> AttributesOf(const QDomElement& element);
/// Returns the text of an element, including its CDATA sections. If the element contains elements, the text
/// is trimmed.
[[nodiscard]] QString TextOf(const QDomElement& element);
/// Returns whether an element contains a CDATA section and nothing else. The library stores bytes in this
/// way.
[[nodiscard]] bool IsSection(const QDomElement& element);

} // namespace Quorvin::Tool

#endif // QVUTIL_TOOL_ELEMENTVISIT_H
