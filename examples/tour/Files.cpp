// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "Sections.h"

#include <qvutil/GeneralUtil.h>

#include <QDir>

using namespace Qt::StringLiterals;
using Quorvin::Util::GeneralUtil;

bool ShowFiles(Transcript& transcript, const Folders& folders)
{
    transcript.Heading(u"Paths, files and hashes"_s);

    //! [paths]
    SHOW(transcript, GeneralUtil::CleanPath(u"C:\\work\\..\\data\\"_s));
    SHOW(transcript, GeneralUtil::CleanPath(u"/Users/ada/notes/"_s));
    SHOW(transcript, GeneralUtil::RelativeToAbsolutePath(u"icons/open.png"_s, u"/opt/app/ui.xml"_s, true));
    SHOW(transcript, GeneralUtil::IsParentPath(u"Projects/Moon"_s, u"projects/moon/lander"_s));
    SHOW(transcript, GeneralUtil::GetCommonParentPath(u"/Users/ada/notes"_s, u"/users/Ada/maps"_s));
    SHOW(transcript, GeneralUtil::GetSubPath(u"a/b"_s, u"a/b/c/d"_s));
    //! [paths]

    const QString folder = folders.Work + "/tour-files"_L1;
    const QString file = folder + "/report.txt"_L1;
    QDir().mkpath(folder);
    SHOW(transcript, GeneralUtil::WriteAllLines(file, {u"first line"_s, u"second line"_s}));
    SHOW(transcript, GeneralUtil::GetUniqueFile(file, u" (%1)"_s));
    SHOW(transcript, GeneralUtil::FixInvalidCharsInFileName(u"a:b?c\\d"_s, u"_"_s));
    SHOW(transcript, GeneralUtil::GenerateCheckSumMD5(file));
    SHOW(transcript, GeneralUtil::BytesToString(1536, 1));
    transcript.Note(u"links to folders are followed unless QDir::NoSymLinks is passed"_s);
    SHOW(transcript, GeneralUtil::DeleteFiles(folder, u"*.txt"_s, QDir::Files | QDir::NoSymLinks, true));
    return !QDir(folder).exists(); // DeleteFiles also deletes the empty folder
}
