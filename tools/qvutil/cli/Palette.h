// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_TOOL_PALETTE_H
#define QVUTIL_TOOL_PALETTE_H

#include <QStringView>

/// The colours and fonts of pictures and pages.
namespace Quorvin::Tool::Palette {

struct Color
{
    QStringView Name;
    QStringView Light; ///< for light displays
    QStringView Dark;
};

/// The colours, in the order of SvgPicture::Ink, followed by those that only pages use. Text has a contrast
/// of at least 4.5 to 1 with pages and cards.
inline constexpr Color gColors[] = {
    {u"page", u"#ffffff", u"#14181d"},  {u"card", u"#f3f5f8", u"#20262e"},
    {u"line", u"#aab2bd", u"#56606c"},  {u"strong", u"#1f2328", u"#e6edf3"},
    {u"muted", u"#59636e", u"#a3adb8"}, {u"accent", u"#0550ae", u"#6cb6ff"},
    {u"good", u"#1a7035", u"#6bc46d"},  {u"bad", u"#b3261e", u"#ff8f85"},
    {u"warn", u"#d99a1c", u"#d9a441"},  {u"soft", u"#d4e7da", u"#1f4029"},
};

inline constexpr QStringView kTextFonts = u"system-ui, 'DejaVu Sans', Helvetica, Arial, sans-serif";
inline constexpr QStringView kCodeFonts = u"ui-monospace, 'DejaVu Sans Mono', Menlo, Consolas, monospace";

} // namespace Quorvin::Tool::Palette

#endif // QVUTIL_TOOL_PALETTE_H
