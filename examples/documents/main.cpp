// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

// Creates a document with typed values, saves it, and reads it back.

//! [program]
#include <qvutil/XmlFiler.h>

#include <QTextStream>

using namespace Qt::StringLiterals;
using Quorvin::Util::XmlFiler;

int main()
{
    QTextStream out(stdout);

    //! [write]
    XmlFiler writer;
    writer.CreateRoot(u"Drawing"_s);
    writer.WriteString(u"Page"_s, u"Title"_s, u"Grüße & more"_s);
    writer.WriteRect(u"Page/Frame"_s, u"Place"_s, QRect(10, 20, 300, 200));
    writer.WriteBoolean(u"Page/Frame"_s, u"Visible"_s, true);
    writer.CreateNode(u"Page/Note"_s, false); // false: a new element each time
    writer.WriteNodeText(u"Drawn to scale."_s);
    writer.SaveAsXmlFile(u"drawing.xml"_s);
    //! [write]

    //! [read]
    XmlFiler reader;
    if (!reader.LoadFromXmlFile(u"drawing.xml"_s)) {
        out << "drawing.xml cannot be read\n";
        return 1;
    }
    const QRect place = reader.ReadRect(u"/Drawing/Page/Frame"_s, u"Place"_s, QRect());
    out << "title:   " << reader.ReadString(u"Page"_s, u"Title"_s, u"untitled"_s) << '\n';
    out << "frame:   " << place.width() << " x " << place.height() << '\n';
    out << "visible: " << (reader.ReadBoolean(u"Page/Frame"_s, u"Visible"_s, false) ? "yes" : "no") << '\n';
    out << "note:    " << reader.ReadNodeText(u"Page/Note"_s) << '\n';
    out << "missing: " << reader.ReadInt(u"Page/Nowhere"_s, u"Count"_s, -1) << '\n';
    //! [read]

    //! [walk]
    reader.MoveToNode(u"/Page"_s);
    if (reader.MoveToFirstChild()) {
        do {
            out << "child:   " << reader.GetCurrentNodePath() << '\n';
        } while (reader.MoveToNextSibling());
    }
    //! [walk]
    return 0;
}
//! [program]
