// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "cli/HtmlPage.h"

#include "cli/Palette.h"

using namespace Qt::StringLiterals;

namespace Quorvin::Tool {
namespace {

constexpr const char16_t* kStyle = uR"css(* { box-sizing: border-box }
body { margin: 0 auto; padding: 1rem; max-width: 60rem; background: var(--page); color: var(--strong);
  font: 1rem/1.45 @TEXT@; overflow-wrap: anywhere }
h1 { font-size: 1.4rem; margin: 0 0 .75rem } h2 { font-size: 1.1rem; margin: 0 } p { margin: .5rem 0 }
code { font: .9em @CODE@ }
.muted { color: var(--muted) } .bad { color: var(--bad) }
)css";

// Returns the colours as CSS variables.
QString ColorStyle()
{
    QString light = u":root { color-scheme: light dark;"_s;
    QString dark = u"@media (prefers-color-scheme: dark) { :root {"_s;
    for (const Palette::Color& color : Palette::gColors) {
        light += u" --%1: %2;"_s.arg(color.Name, color.Light);
        dark += u" --%1: %2;"_s.arg(color.Name, color.Dark);
    }
    return light + u" }\n"_s + dark + u" } }\n"_s;
}

QString CommonStyle()
{
    return ColorStyle()
        + QString::fromUtf16(kStyle)
              .replace("@TEXT@"_L1, Palette::kTextFonts.toString())
              .replace("@CODE@"_L1, Palette::kCodeFonts.toString());
}

} // namespace

HtmlPage::HtmlPage(const QString& title, const QString& style)
{
    mWriter.AddDeclaration(u"<!DOCTYPE html>"_s);
    mWriter.Start(u"html"_s, {{u"lang"_s, u"en"_s}});
    mWriter.Start(u"head"_s);
    mWriter.AddEmpty(u"meta"_s, {{u"charset"_s, u"utf-8"_s}});
    mWriter.AddEmpty(u"meta"_s,
                     {{u"name"_s, u"viewport"_s}, {u"content"_s, u"width=device-width, initial-scale=1"_s}});
    // The browser must not load or run anything, even if text in the page looks like markup.
    mWriter.AddEmpty(u"meta"_s,
                     {{u"http-equiv"_s, u"Content-Security-Policy"_s},
                      {u"content"_s, u"default-src 'none'; style-src 'unsafe-inline'"_s}});
    mWriter.AddElement(u"title"_s, {}, title);
    mWriter.AddStyle(CommonStyle() + style);
    mWriter.End();
    mWriter.Start(u"body"_s);
    mWriter.AddElement(u"h1"_s, {}, title);
}

} // namespace Quorvin::Tool
