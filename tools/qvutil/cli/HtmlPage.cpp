// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "cli/HtmlPage.h"

using namespace Qt::StringLiterals;

namespace Quorvin::Tool {
namespace {

constexpr const char16_t* kStyle
    = uR"css(:root { color-scheme: light dark; --page: #ffffff; --card: #f3f5f8; --line: #c3cad3; --strong: #1f2328;
  --muted: #59636e; --accent: #0550ae; --good: #1a7035; --warn: #d99a1c; --bad: #b3261e; --soft: #d4e7da }
@media (prefers-color-scheme: dark) {
  :root { --page: #14181d; --card: #20262e; --line: #46505c; --strong: #e6edf3; --muted: #a3adb8; --accent: #6cb6ff;
    --good: #6bc46d; --warn: #d9a441; --bad: #ff8f85; --soft: #1f4029 } }
* { box-sizing: border-box }
body { margin: 0 auto; padding: 1rem; max-width: 60rem; background: var(--page); color: var(--strong);
  font: 1rem/1.45 system-ui, 'DejaVu Sans', Helvetica, Arial, sans-serif; overflow-wrap: anywhere }
h1 { font-size: 1.4rem; margin: 0 0 .75rem } h2 { font-size: 1.1rem; margin: 0 } p { margin: .5rem 0 }
code { font: .9em ui-monospace, 'DejaVu Sans Mono', Menlo, Consolas, monospace }
.muted { color: var(--muted) } .bad { color: var(--bad) }
)css";

} // namespace

HtmlPage::HtmlPage(const QString& title, const QString& style)
{
    mWriter.AddDeclaration(u"<!DOCTYPE html>"_s);
    mWriter.Start(u"html"_s, {{u"lang"_s, u"en"_s}});
    mWriter.Start(u"head"_s);
    mWriter.AddEmpty(u"meta"_s, {{u"charset"_s, u"utf-8"_s}});
    mWriter.AddEmpty(u"meta"_s,
                     {{u"name"_s, u"viewport"_s}, {u"content"_s, u"width=device-width, initial-scale=1"_s}});
    // A browser loads and runs nothing, even if the page contains foreign text.
    mWriter.AddEmpty(u"meta"_s,
                     {{u"http-equiv"_s, u"Content-Security-Policy"_s},
                      {u"content"_s, u"default-src 'none'; style-src 'unsafe-inline'"_s}});
    mWriter.AddElement(u"title"_s, {}, title);
    mWriter.AddStyle(QString::fromUtf16(kStyle) + style);
    mWriter.End();
    mWriter.Start(u"body"_s);
    mWriter.AddElement(u"h1"_s, {}, title);
}

} // namespace Quorvin::Tool
