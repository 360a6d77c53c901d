// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "Places.h"

#include <qvutil/GeneralUtil.h>

#include <QDir>

#include <unistd.h>

using namespace Qt::StringLiterals;
using Quorvin::Util::GeneralUtil;

namespace Places {

QString DataFolder()
{
    const QString program = GeneralUtil::GetAppDirPath();
    for (const QString& folder : {program + u"/data"_s, program + u"/../share/waypost"_s}) {
        if (QDir(folder).exists())
            return QDir(folder).canonicalPath();
    }
    return program;
}

QString UserFolder()
{
    const QString folder = GeneralUtil::GetAppDataPath() + u"/Waypost"_s;
    QDir().mkpath(folder); // saving the settings does not create folders
    return folder;
}

//! [name]
QString ProcessName()
{
    const QByteArray folder = GeneralUtil::GetHash(UserFolder()).left(8);
    return u"waypost-%1-%2"_s.arg(::getuid()).arg(QLatin1StringView(folder));
}
//! [name]

} // namespace Places
