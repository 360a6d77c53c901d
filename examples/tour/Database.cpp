// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "Sections.h"

#include <qvutil/GeneralUtil.h>
#include <qvutil/XmlFiler.h>

#include <QElapsedTimer>
#include <QFileInfo>

using namespace Qt::StringLiterals;
using Quorvin::Util::GeneralUtil;
using Quorvin::Util::XmlFiler;

namespace {
// Moves to the file type with this name.
bool FindType(XmlFiler& filer, const QString& type)
{
    filer.MoveToRoot();
    for (bool found = filer.MoveToFirstChild(); found; found = filer.MoveToNextSibling()) {
        if (filer.ReadString(u"type"_s, QString()) == type) {
            return true;
        }
    }
    return false;
}

int CountTypes(XmlFiler& filer)
{
    int count = 0;
    filer.MoveToRoot();
    for (bool found = filer.MoveToFirstChild(); found; found = filer.MoveToNextSibling()) {
        ++count;
    }
    return count;
}

// Returns the name of the current file type in a language, without moving the cursor.
QString NameIn(XmlFiler& filer, const QString& language)
{
    QString name;
    filer.PushCurrentNode();
    for (bool found = filer.MoveToFirstChild(); found && name.isEmpty(); found = filer.MoveToNextSibling()) {
        if (filer.ReadString(u"xml:lang"_s, QString()) == language) {
            name = filer.ReadNodeText();
        }
    }
    filer.PopCurrentNode();
    return name;
}

} // namespace

bool ShowDatabase(Transcript& transcript, const Folders& folders)
{
    const QString path = folders.Database;
    const QString copy = folders.Work + u"/file-types.xml"_s;
    transcript.Heading(
        u"A real document: %1, %2"_s.arg(path, GeneralUtil::BytesToString(QFileInfo(path).size(), 1)));

    XmlFiler filer;
    QElapsedTimer timer;
    timer.start();
    SHOW(transcript, filer.LoadFromXmlFile(path));
    transcript.Note(u"loaded in %1 ms"_s.arg(timer.elapsed()));
    SHOW(transcript, filer.GetCurrentNodePath());
    SHOW(transcript, CountTypes(filer));

    SHOW(transcript, FindType(filer, u"application/pdf"_s));
    SHOW(transcript, filer.ReadNodeText(u"comment"_s));
    SHOW(transcript, NameIn(filer, u"de"_s));
    SHOW(transcript, NameIn(filer, u"ja"_s));
    SHOW(transcript, filer.ReadString(u"glob"_s, u"pattern"_s, QString()));
    SHOW(transcript, filer.ReadInt(u"magic"_s, u"priority"_s, 50));
    SHOW(transcript, filer.ReadOuterXml(u"magic/match"_s).simplified());

    transcript.Note(u"add a file type to a copy of the database"_s);
    SHOW(transcript, filer.CreateNode(u"/mime-type"_s, false));
    SHOW_VOID(transcript, filer.WriteString(u"type"_s, u"application/x-tour"_s));
    SHOW_VOID(transcript, filer.WriteNodeText(u"comment"_s, u"Tour journal"_s));
    SHOW_VOID(transcript, filer.WriteString(u"glob"_s, u"pattern"_s, u"*.tour"_s));
    timer.start();
    SHOW(transcript, filer.SaveAsXmlFile(copy));
    transcript.Note(u"saved atomically in %1 ms"_s.arg(timer.elapsed()));

    XmlFiler again;
    SHOW(transcript, again.LoadFromXmlFile(copy));
    SHOW(transcript, CountTypes(again));
    SHOW(transcript, FindType(again, u"application/x-tour"_s));
    SHOW(transcript, again.ReadNodeText(u"comment"_s));
    return !filer.IsEmpty() && again.ReadString(u"glob"_s, u"pattern"_s, QString()) == u"*.tour"_s;
}
