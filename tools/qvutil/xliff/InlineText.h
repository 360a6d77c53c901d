// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_TOOL_XLIFF_INLINETEXT_H
#define QVUTIL_TOOL_XLIFF_INLINETEXT_H

#include "xliff/XmlSource.h"

#include <QHash>
#include <QSet>
#include <QString>
#include <QStringList>

namespace Quorvin::Tool {

/// The text of a source or target that contains inline elements.
struct InlineText
{
    /// All text. An element without content stands for its `equiv-text`, or for a line break.
    QString Text;
    QStringList Markup; ///< the start tags of the elements
    QStringList Unknown; ///< of these, those that stand for text that the file does not contain
    QStringList Comments; ///< comments and processing instructions, as they are written
};

/// Reads the text of elements.
/// \param elements  numbers of the elements, none of which contains another
[[nodiscard]] QHash<int, InlineText> FindInlineTexts(const XmlSource& source, const QSet<int>& elements);

} // namespace Quorvin::Tool

#endif // QVUTIL_TOOL_XLIFF_INLINETEXT_H
