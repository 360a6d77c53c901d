// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

// Keeps settings in a file from one run to the next.

//! [program]
#include <qvutil/Settings.h>

#include <QTextStream>

using namespace Qt::StringLiterals;
using Quorvin::Util::Settings;

int main()
{
    Settings settings;
    if (settings.OpenFile(u"settings.xml"_s, u"Settings"_s) == Settings::FileState::SetAside)
        qWarning("the damaged settings are kept as %ls", qUtf16Printable(settings.GetSetAsideFile()));

    const int runs = settings.ReadInt(u"Program"_s, u"Runs"_s, 0);
    const int width = settings.ReadInt(u"Panel/Main"_s, u"Width"_s, 320);
    QTextStream(stdout) << "runs before this one: " << runs << ", width: " << width << '\n';

    settings.WriteInt(u"Program"_s, u"Runs"_s, runs + 1);
    settings.WriteInt(u"Panel/Main"_s, u"Width"_s, width * 2);
    return 0;
}
//! [program]
