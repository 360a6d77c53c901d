// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_TOOL_MARKUP_H
#define QVUTIL_TOOL_MARKUP_H

#include <QString>
#include <QStringList>
#include <QXmlStreamWriter>

#include <initializer_list>

namespace Quorvin::Tool {

/// Writes SVG, or HTML that is also well-formed XML. Text and attributes may contain any characters: those
/// with a meaning in the markup are escaped, and control characters appear as on a terminal.
class MarkupWriter
{
public:
    struct Attribute
    {
        QString Name;
        QString Value;
    };
    using Attributes = std::initializer_list<Attribute>;

    MarkupWriter();
    Q_DISABLE_COPY_MOVE(MarkupWriter)

    /// Writes a declaration such as `<!DOCTYPE html>`.
    void AddDeclaration(const QString& text) { mWriter.writeDTD(text); }
    void Start(const QString& name, Attributes attributes = {});
    void End();
    void AddText(const QString& text);
    /// Writes an element that contains only text.
    void AddElement(const QString& name, Attributes attributes, const QString& text = {});
    /// Writes an element that never has content, such as `meta`.
    void AddEmpty(const QString& name, Attributes attributes);

    /// Writes a `style` element.
    /// \param rules  without '"', '<', '>' and '&', which HTML cannot escape there
    void AddStyle(const QString& rules);

    /// Returns the document, followed by a line feed.
    [[nodiscard]] QString Finish();

private:
    void AddAttributes(Attributes attributes);

    QString mText;
    QXmlStreamWriter mWriter; // writes to mText
    bool mIsEmpty = false; // whether the current element is still empty
};

/// Formats a number for an attribute, with at most one decimal place.
[[nodiscard]] QString NumberText(double value);

/// Shortens text to a number of columns, with "…" in place of its middle.
[[nodiscard]] QString Elide(const QString& text, qsizetype columns);
/// Breaks text into lines, at spaces if there are any.
[[nodiscard]] QStringList BreakLines(const QString& text, qsizetype columns);

} // namespace Quorvin::Tool

#endif // QVUTIL_TOOL_MARKUP_H
