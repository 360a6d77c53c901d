// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_TOOL_DOCUMENTPART_H
#define QVUTIL_TOOL_DOCUMENTPART_H

#include "cli/InputFile.h"
#include "documents/ElementPath.h"

#include <qvutil/XmlFiler.h>

namespace Quorvin::Tool {

/// How much of an element is loaded.
enum class PartContent {
    Values, ///< what the library's read operations return: attributes, and the first node of the content
    Everything,
};

/// Loads the part of a document that is needed to look at one element. ElementPath::MoveTo has the same
/// result as in the whole document. Throws Failure like LoadDocument.
void LoadPart(Util::XmlFiler& filer, const InputFile& file, const ElementPath& path, PartContent content);

/// Like LoadPart, but only for documents that can be streamed.
/// \param name      name of the file
/// \param document  content of the file
/// \return false, with an empty filer, if the document must be loaded with LoadDocument
[[nodiscard]] bool StreamPart(Util::XmlFiler& filer, const QString& name, const QByteArray& document,
                              const ElementPath& path, PartContent content);

} // namespace Quorvin::Tool

#endif // QVUTIL_TOOL_DOCUMENTPART_H
