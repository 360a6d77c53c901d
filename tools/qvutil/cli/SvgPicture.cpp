// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "cli/SvgPicture.h"

#include "cli/Palette.h"

using namespace Qt::StringLiterals;

namespace Quorvin::Tool {
namespace {

// The picture is laid out for a phone. Wider displays show it larger, by up to this factor.
constexpr double kScale = 1.5;

// The assumed width of a letter, relative to its height. Most letters are narrower.
constexpr double kColumnWidth = 0.61;

QString LightOf(SvgPicture::Ink ink)
{
    return Palette::gColors[ink].Light.toString();
}

QString NameOf(SvgPicture::Ink ink)
{
    return Palette::gColors[ink].Name.toString();
}

// Returns the colours for dark displays. Viewers without media queries use the colours in the attributes.
QString DarkStyle()
{
    QString style = u"@media (prefers-color-scheme: dark) {"_s;
    for (const Palette::Color& color : Palette::gColors)
        style += u" .%1 { fill: %2 } .%1-line { stroke: %2 }"_s.arg(color.Name, color.Dark);
    return style + u" }"_s;
}

} // namespace

SvgPicture::SvgPicture(const QString& title, const QString& description, double height)
{
    mWriter.Start(u"svg"_s,
                  {{u"xmlns"_s, u"http://www.w3.org/2000/svg"_s},
                   {u"viewBox"_s, u"0 0 %1 %2"_s.arg(NumberText(kWidth), NumberText(height))},
                   {u"width"_s, NumberText(kWidth * kScale)},
                   {u"height"_s, NumberText(height * kScale)},
                   {u"style"_s, u"max-width: 100%; height: auto; color-scheme: light dark"_s},
                   {u"role"_s, u"img"_s},
                   {u"aria-labelledby"_s, u"title desc"_s},
                   {u"font-family"_s, Palette::kTextFonts.toString()}});
    mWriter.AddElement(u"title"_s, {{u"id"_s, u"title"_s}}, title);
    mWriter.AddElement(u"desc"_s, {{u"id"_s, u"desc"_s}}, description);
    mWriter.AddStyle(DarkStyle());
    AddBox({.X = 0, .Y = 0, .Width = kWidth, .Height = height}, Page);
}

qsizetype SvgPicture::FittingColumns(double width, double size)
{
    return static_cast<qsizetype>(width / (size * kColumnWidth));
}

void SvgPicture::AddText(double x, double y, const QString& text, const TextStyle& style)
{
    static const QString anchors[] = {u"start"_s, u"middle"_s, u"end"_s};
    const QString family = style.IsCode ? Palette::kCodeFonts.toString() : u"inherit"_s;
    mWriter.AddElement(u"text"_s,
                       {{u"x"_s, NumberText(x)},
                        {u"y"_s, NumberText(y)},
                        {u"class"_s, NameOf(style.Color)},
                        {u"fill"_s, LightOf(style.Color)},
                        {u"font-size"_s, NumberText(style.Size)},
                        {u"font-weight"_s, style.IsBold ? u"bold"_s : u"normal"_s},
                        {u"font-family"_s, family},
                        {u"text-anchor"_s, anchors[style.At]}},
                       text);
}

void SvgPicture::AddBox(const Box& box, Ink fill)
{
    mWriter.AddEmpty(u"rect"_s,
                     {{u"x"_s, NumberText(box.X)},
                      {u"y"_s, NumberText(box.Y)},
                      {u"width"_s, NumberText(box.Width)},
                      {u"height"_s, NumberText(box.Height)},
                      {u"rx"_s, NumberText(box.Radius)},
                      {u"class"_s, NameOf(fill)},
                      {u"fill"_s, LightOf(fill)}});
}

void SvgPicture::AddFrame(const Box& box, Ink fill, const LineStyle& frame)
{
    mWriter.AddEmpty(u"rect"_s,
                     {{u"x"_s, NumberText(box.X)},
                      {u"y"_s, NumberText(box.Y)},
                      {u"width"_s, NumberText(box.Width)},
                      {u"height"_s, NumberText(box.Height)},
                      {u"rx"_s, NumberText(box.Radius)},
                      {u"class"_s, u"%1 %2-line"_s.arg(NameOf(fill), NameOf(frame.Color))},
                      {u"fill"_s, LightOf(fill)},
                      {u"stroke"_s, LightOf(frame.Color)},
                      {u"stroke-width"_s, NumberText(frame.Width)},
                      {u"stroke-dasharray"_s, frame.IsDashed ? u"4 3"_s : u"none"_s}});
}

void SvgPicture::AddLines(const QString& path, const LineStyle& style)
{
    mWriter.AddEmpty(u"path"_s,
                     {{u"d"_s, path},
                      {u"class"_s, NameOf(style.Color) + u"-line"_s},
                      {u"style"_s, u"fill: none"_s},
                      {u"stroke"_s, LightOf(style.Color)},
                      {u"stroke-width"_s, NumberText(style.Width)},
                      {u"stroke-dasharray"_s, style.IsDashed ? u"4 3"_s : u"none"_s}});
}

void SvgPicture::AddShape(const QString& path, Ink fill)
{
    mWriter.AddEmpty(u"path"_s, {{u"d"_s, path}, {u"class"_s, NameOf(fill)}, {u"fill"_s, LightOf(fill)}});
}

void SvgPicture::StartPart(const QString& title)
{
    mWriter.Start(u"g"_s);
    mWriter.AddElement(u"title"_s, {}, title);
}

} // namespace Quorvin::Tool
