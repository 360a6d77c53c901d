// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "Sections.h"

#include <qvutil/XmlFiler.h>

#include <QTimeZone>

using namespace Qt::StringLiterals;
using Quorvin::Util::EnumValueName;
using Quorvin::Util::XmlFiler;

bool ShowValues(Transcript& transcript, const Folders& /*folders*/)
{
    transcript.Heading(u"Typed values by path"_s);

    XmlFiler filer;
    const QDateTime moon(QDate(1969, 7, 20), QTime(20, 17, 40), QTimeZone::utc());
    SHOW_VOID(transcript, filer.CreateRoot(u"Log"_s));
    SHOW_VOID(transcript, filer.WriteInt(u"Flight/Crew"_s, u"Count"_s, 3));
    SHOW_VOID(transcript, filer.WriteDouble(u"Flight/Crew"_s, u"Mass"_s, 15103.5));
    SHOW_VOID(transcript, filer.WriteBoolean(u"Flight"_s, u"Landed"_s, true));
    SHOW_VOID(transcript, filer.WriteDate(u"Flight"_s, u"Touchdown"_s, moon));
    SHOW_VOID(transcript, filer.WriteRect(u"Window"_s, u"Place"_s, QRect(10, 20, 300, 200)));
    SHOW_VOID(transcript, filer.WriteSize(u"Window"_s, u"Icon"_s, QSize(32, 32)));
    SHOW_VOID(transcript, filer.WriteBuffer(u"Key"_s, QByteArray("\x00\xff\x7f", 3)));
    SHOW_VOID(transcript, filer.WriteNodeText(u"Note"_s, u"2 < 3 & \"so on\""_s));

    EnumValueName stages[] = {{1, u"Ascent"_s}, {2, u"Orbit"_s}, {4, u"Descent"_s}};
    SHOW_VOID(transcript, filer.WriteEnum(u"Flight"_s, u"Stages"_s, 1 | 4, stages, 3, true));

    transcript.Note(u"the same, read back"_s);
    SHOW(transcript, filer.ReadInt(u"/Log/Flight/Crew"_s, u"Count"_s, 0));
    SHOW(transcript, filer.ReadDouble(u"/Flight/Crew"_s, u"Mass"_s, 0.0));
    SHOW(transcript, filer.ReadBoolean(u"Flight"_s, u"Landed"_s, false));
    SHOW(transcript, filer.ReadDate(u"Flight"_s, u"Touchdown"_s, QDateTime()).toUTC());
    SHOW(transcript, filer.ReadRect(u"Window"_s, u"Place"_s, QRect()));
    SHOW(transcript, filer.ReadSize(u"Window"_s, u"Icon"_s, QSize()));
    SHOW(transcript, filer.ReadBuffer(u"Key"_s));
    SHOW(transcript, filer.ReadNodeText(u"Note"_s));
    SHOW(transcript, filer.ReadEnum(u"Flight"_s, u"Stages"_s, 0, stages, 3, true));
    SHOW(transcript, filer.ReadString(u"Flight"_s, u"Stages"_s, QString()));
    transcript.Note(u"a value that is missing or of another type reads as the default"_s);
    SHOW(transcript, filer.ReadInt(u"Flight"_s, u"Landed"_s, -1));
    SHOW(transcript, filer.ReadInt(u"No/Such/Place"_s, u"Count"_s, -1));
    SHOW(transcript, filer.GetCurrentNodePath());

    transcript.Note(u"the document"_s);
    const QStringList lines = filer.SaveAsXmlString().trimmed().split(u'\n');
    for (const QString& line : lines) {
        transcript.Line(line);
    }
    return filer.ReadInt(u"/Flight/Crew"_s, u"Count"_s, 0) == 3;
}
