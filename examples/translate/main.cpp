// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

// Reads interface texts from a document, first as they are, then in German.

//! [program]
#include <qvutil/XmlFiler.h>

#include <QCoreApplication>
#include <QTextStream>

using namespace Qt::StringLiterals;
using Quorvin::Util::XlfTranslator;
using Quorvin::Util::XmlFiler;

namespace {
void PrintMenu(XmlFiler& filer)
{
    QTextStream out(stdout);
    filer.MoveToRoot();
    for (bool found = filer.MoveToFirstChild(); found; found = filer.MoveToNextSibling()) {
        const QString label = filer.ReadString(u"Label"_s, QString());
        out << (label.isEmpty() ? filer.ReadNodeText() : label) << '\n';
    }
}

} // namespace

// The command line names the folder with menu.xml and menu.de.xlf.
int main(int argc, char* argv[])
{
    const QCoreApplication application(argc, argv);
    const QString folder = application.arguments().value(1, u"."_s);

    XmlFiler filer;
    if (!filer.LoadFromXmlFile(folder + u"/menu.xml"_s)) {
        qCritical("%s/menu.xml cannot be read", qUtf8Printable(folder));
        return 1;
    }
    PrintMenu(filer);

    XlfTranslator german(folder + u"/menu.de.xlf"_s);
    filer.Translator = &german;
    PrintMenu(filer);
    return 0;
}
//! [program]
