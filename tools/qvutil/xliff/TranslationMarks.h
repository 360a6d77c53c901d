// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_TOOL_XLIFF_TRANSLATIONMARKS_H
#define QVUTIL_TOOL_XLIFF_TRANSLATIONMARKS_H

#include "xliff/XmlSource.h"

#include <QList>
#include <QString>

namespace Quorvin::Tool {

/// A text of the form tr(...) in a document.
struct TranslationMark
{
    QString Source; ///< the text in the mark
    QString Shown; ///< the text that the library reads here, translated if the filer has a translator
    QString Path; ///< where it is: "/Window/Button@Text" for an attribute, "/Window/Label" for content
    Place Where;
};

/// Returns the marks of a loaded document, in document order. Marks are in attributes, and in the text that
/// the library reads for an element: its first child node, if that is plain text.
[[nodiscard]] QList<TranslationMark> FindTranslationMarks(XmlSource& document);

} // namespace Quorvin::Tool

#endif // QVUTIL_TOOL_XLIFF_TRANSLATIONMARKS_H
