// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "Sections.h"

#include <qvutil/Settings.h>

using namespace Qt::StringLiterals;
using Quorvin::Util::Settings;

bool ShowSettings(Transcript& transcript, const Folders& folders)
{
    const QString file = folders.Work + u"/tour-settings.xml"_s;
    Settings settings;
    settings.OpenFile(file, u"Tour"_s);
    const int runs = settings.ReadInt(u"Runs"_s, u"Count"_s, 0);
    transcript.Heading(u"Settings in a file, run %1: %2"_s.arg(runs + 1).arg(file));

    SHOW(transcript, settings.ReadInt(u"Runs"_s, u"Count"_s, 0));
    SHOW(transcript, settings.ReadString(u"Window/Main"_s, u"Title"_s, u"none yet"_s));
    SHOW(transcript, settings.ReadBoolean(u"Window/Main"_s, u"Maximized"_s, false));

    SHOW_VOID(transcript, settings.WriteInt(u"Runs"_s, u"Count"_s, runs + 1));
    SHOW_VOID(transcript, settings.WriteString(u"Window/Main"_s, u"Title"_s, u"Run %1"_s.arg(runs + 1)));
    SHOW_VOID(transcript, settings.WriteBoolean(u"Window/Main"_s, u"Maximized"_s, true));
    transcript.Note(u"the first change is saved at once, the others at the end"_s);
    return settings.ReadInt(u"Runs"_s, u"Count"_s, 0) == runs + 1;
}
