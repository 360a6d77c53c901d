// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_TOOL_SVGPICTURE_H
#define QVUTIL_TOOL_SVGPICTURE_H

#include "cli/Markup.h"

#include <QString>

namespace Quorvin::Tool {

/// A picture as SVG, for light and dark displays. It is laid out for the narrow display of a phone, and shown
/// larger where there is room. Positions and sizes are in pixels of the phone.
class SvgPicture
{
public:
    static constexpr double kWidth = 360;
    static constexpr double kMargin = 12;

    /// The colours, each with a counterpart for dark displays.
    enum Ink {
        Page,
        Card, ///< the background of a card
        Line, ///< frames and scales
        Strong, ///< text
        Muted, ///< less important text
        Accent,
        Good,
        Bad,
    };
    enum Anchor { Start, Middle, End };
    struct TextStyle
    {
        Ink Color = Strong;
        double Size = 12;
        Anchor At = Start;
        bool IsBold = false;
        bool IsCode = false; ///< in a fixed-width font
    };
    struct LineStyle
    {
        Ink Color = Line;
        double Width = 1;
        bool IsDashed = false;
    };
    struct Box
    {
        double X;
        double Y;
        double Width;
        double Height;
        double Radius = 0;
    };

    /// \param title        a short title
    /// \param description  a description of the picture, for readers who cannot see it
    SvgPicture(const QString& title, const QString& description, double height);

    /// Returns how many columns of text fit into a width. See ColumnsOf.
    /// \param size  font size
    [[nodiscard]] static qsizetype FittingColumns(double width, double size);

    void AddText(double x, double y, const QString& text, const TextStyle& style);
    void AddBox(const Box& box, Ink fill);
    void AddFrame(const Box& box, Ink fill, const LineStyle& frame);
    /// Adds lines without a fill.
    /// \param path  in the syntax of the SVG attribute `d`
    void AddLines(const QString& path, const LineStyle& style);
    /// Adds a filled shape.
    void AddShape(const QString& path, Ink fill);
    /// Begin and end a part. Viewers show its title while the pointer is on the part.
    void StartPart(const QString& title);
    void EndPart() { mWriter.End(); }

    /// Returns the document.
    [[nodiscard]] QString Finish() { return mWriter.Finish(); }

private:
    MarkupWriter mWriter;
};

} // namespace Quorvin::Tool

#endif // QVUTIL_TOOL_SVGPICTURE_H
