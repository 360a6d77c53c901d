// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

// Stores enumerations and sets of flags by name, and replaces variables in a document.

//! [program]
#include <qvutil/XmlFiler.h>

#include <QTextStream>

#include <iterator>

using namespace Qt::StringLiterals;
using Quorvin::Util::EnumValueName;
using Quorvin::Util::XmlFiler;

namespace {
enum Side { Left = 1, Right = 2, Top = 4, Bottom = 8 };

} // namespace

int main()
{
    QTextStream out(stdout);

    //! [enum]
    EnumValueName sides[] = {{Left, u"Left"_s}, {Right, u"Right"_s}, {Top, u"Top"_s}, {Bottom, u"Bottom"_s}};
    const int count = static_cast<int>(std::size(sides));

    XmlFiler filer;
    filer.CreateRoot(u"Layout"_s);
    filer.WriteEnum(u"Toolbar"_s, u"Side"_s, Top, sides, count);
    filer.WriteEnum(u"Window"_s, u"Anchors"_s, Left | Bottom, sides, count, true);
    out << filer.ReadString(u"Toolbar"_s, u"Side"_s, QString()) << '\n';
    out << filer.ReadString(u"Window"_s, u"Anchors"_s, QString()) << '\n';
    out << filer.ReadEnum(u"Window"_s, u"Anchors"_s, 0, sides, count, true) << '\n';
    //! [enum]

    //! [variables]
    filer.WriteString(u"Window"_s, u"Icon"_s, u"$(Theme)/icons/$(App).svg"_s);
    const int replaced = filer.ResolveVariables({{u"theme"_s, u"/themes/dark"_s}, {u"app"_s, u"paint"_s}});
    out << replaced << ": " << filer.ReadString(u"Window"_s, u"Icon"_s, QString()) << '\n';
    //! [variables]
    return 0;
}
//! [program]
