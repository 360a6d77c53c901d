// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_TOOL_NODESTREAM_H
#define QVUTIL_TOOL_NODESTREAM_H

#include "cli/Console.h"

#include <QByteArray>
#include <QString>
#include <QXmlStreamReader>

namespace Quorvin::Tool {

/// Reads the nodes of a document one by one, without building the library's tree of it. This takes a fraction
/// of the tree's memory.
///
/// The stream only accepts documents that it certainly reads as the library does. It stops at everything
/// else: an error, a limit, a document type, an encoding that does not extend ASCII, and white space that
/// versions of Qt treat differently. Such a document must be read with LoadDocument.
class NodeStream
{
public:
    /// \param name      name of the file, for the progress bar; there is no bar if it is empty
    /// \param document  content of the file
    NodeStream(const QString& name, const QByteArray& document);

    /// Moves to the start or end of the next element, or to the next text, CDATA section, comment or
    /// processing instruction in the root element. Skips text that the tree does not hold.
    /// \return false at the end, or where the stream stops
    [[nodiscard]] bool Next();
    /// Returns the reader at the current node.
    [[nodiscard]] const QXmlStreamReader& Node() const { return mReader; }
    /// Returns whether the document has been read to its end. If so, the library loads it, and its tree holds
    /// exactly the nodes that were read.
    [[nodiscard]] bool IsComplete() const;
    /// Returns whether the stream has stopped because the document is malformed.
    [[nodiscard]] bool IsMalformed() const { return mReader.hasError(); }

private:
    [[nodiscard]] bool HoldsTreeText();

    QString mName;
    QXmlStreamReader mReader;
    Console::ProgressBar mBar;
    int mDepth = 0;
    int mNodesUntilProgress = 0;
    bool mIsAccepted;
};

} // namespace Quorvin::Tool

#endif // QVUTIL_TOOL_NODESTREAM_H
