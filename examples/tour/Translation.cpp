// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "Sections.h"

#include <qvutil/XmlFiler.h>

#include <QDir>

using namespace Qt::StringLiterals;
using Quorvin::Util::XlfTranslator;
using Quorvin::Util::XmlFiler;

namespace {
void ShowTexts(Transcript& transcript, XmlFiler& filer)
{
    SHOW(transcript, filer.ReadString(u"MenuBar/Menu"_s, u"Text"_s, QString()));
    SHOW(transcript, filer.ReadString(u"MenuBar/Menu/Action"_s, u"ToolTip"_s, QString()));
    SHOW(transcript, filer.ReadNodeText(u"Table/Empty"_s));
}

} // namespace

bool ShowTranslation(Transcript& transcript, const Folders& folders)
{
    const QString path = folders.Samples + u"/MainWindow.xml"_s;
    transcript.Heading(u"Texts in two languages: %1"_s.arg(path));

    XmlFiler filer;
    SHOW(transcript, filer.LoadFromXmlFile(path));
    transcript.Note(u"as written in the document"_s);
    SHOW_VOID(transcript, filer.TranslateEnabled = false);
    ShowTexts(transcript, filer);
    transcript.Note(u"without a translator"_s);
    SHOW_VOID(transcript, filer.TranslateEnabled = true);
    ShowTexts(transcript, filer);
    const QString source = filer.ReadNodeText(u"Table/Empty"_s);

    bool good = true;
    const QStringList files = QDir(folders.Samples).entryList({u"*.xlf"_s}, QDir::Files, QDir::Name);
    for (const QString& file : files) {
        XlfTranslator translator(folders.Samples + u'/' + file);
        transcript.Note(u"with the translations in %1"_s.arg(file));
        SHOW_VOID(transcript, filer.Translator = &translator);
        ShowTexts(transcript, filer);
        good = good && filer.ReadNodeText(u"Table/Empty"_s) != source;
        filer.Translator = nullptr;
    }
    return good && files.size() >= 2;
}
