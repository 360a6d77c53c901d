// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "Host.h"

#include <qvutil/GeneralUtil.h>
#include <qvutil/QvUtilGlobal.h>
#include <qvutil/XmlFiler.h>

#include <QCoreApplication>

#include <cstdio>

// The counter is stored in the file named on the command line.
int main(int argc, char* argv[])
{
    const QCoreApplication application(argc, argv);

    Quorvin::Util::XmlFiler filer;
    filer.CreateRoot(QStringLiteral("Window"));
    filer.WriteRect(QStringLiteral("Main"), QStringLiteral("Place"), QRect(10, 20, 300, 200));
    const QRect place = filer.ReadRect(QStringLiteral("/Main"), QStringLiteral("Place"), QRect());

    std::printf("QvUtil %s\n", QVUTIL_VERSION_STR);
    std::printf("place %d %d %d %d\n", place.x(), place.y(), place.width(), place.height());
    std::printf("hash %s\n", Quorvin::Util::GeneralUtil::GetHash(QStringLiteral("Save")).constData());
    std::printf("types %s\n", Host::SharesTypesWithLibrary() ? "shared" : "apart");
    std::printf("answer %d\n", Host().AskItself());
    std::printf("run %d\n", Host::CountRun(application.arguments().at(1)));
    return 0;
}
