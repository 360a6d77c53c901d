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
    QString Source; ///< what the mark wraps
    QString Shown; ///< what the library's reader gives for it, with the translator of the filer, if any
    QString Path; ///< where it is: "/Window/Button@Text" for an attribute, "/Window/Label" for content
    Place Where;
};

/// Finds the marks of a loaded document in document order: in each attribute, and in each element's content
/// where the reader would take it for the element's text (its first child node, if that is plain text).
[[nodiscard]] QList<TranslationMark> FindTranslationMarks(XmlSource& document);

} // namespace Quorvin::Tool

#endif // QVUTIL_TOOL_XLIFF_TRANSLATIONMARKS_H
