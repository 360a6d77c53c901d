// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_TOOL_HTMLPAGE_H
#define QVUTIL_TOOL_HTMLPAGE_H

#include "cli/Markup.h"

#include <QString>

namespace Quorvin::Tool {

/// A page as HTML, for light and dark displays of any width. It needs no other files and no network.
class HtmlPage
{
public:
    /// Begins a page with a heading.
    /// \param style  CSS rules for the page, without '"', '<', '>' and '&', which cannot be escaped there
    HtmlPage(const QString& title, const QString& style);

    /// Returns the writer for the content after the heading.
    [[nodiscard]] MarkupWriter& Content() { return mWriter; }
    /// Returns the document.
    [[nodiscard]] QString Finish() { return mWriter.Finish(); }

private:
    MarkupWriter mWriter;
};

} // namespace Quorvin::Tool

#endif // QVUTIL_TOOL_HTMLPAGE_H
