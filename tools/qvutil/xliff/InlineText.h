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
    /// All text. An element without content is replaced by its `equiv-text` or by a line break. White space
    /// with a line break between elements is indentation unless `xml:space` is "preserve": it becomes a
    /// space, or nothing at either end.
    QString Text;
    QStringList Markup; ///< the start tags of the elements
    QStringList Unknown; ///< the elements that represent text that is not in the file
    QStringList Comments; ///< comments and processing instructions, as they are written
};

/// Returns the text of elements, by element number.
/// \param elements  numbers of the elements; none may contain another
[[nodiscard]] QHash<int, InlineText> FindInlineTexts(const XmlSource& source, const QSet<int>& elements);

} // namespace Quorvin::Tool

#endif // QVUTIL_TOOL_XLIFF_INLINETEXT_H
