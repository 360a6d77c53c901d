// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

// A program that starts and ends. measure_Growth measures how long that takes with the library, and without
// it.
//
//   measure_Start             creates an application object
//   measure_Start manager     starts a server with an IPCManager as well

#include <QCoreApplication>

#ifdef WITH_QVUTIL
#include <qvutil/IPCManager.h>

#include <QTemporaryDir>
#endif

int main(int argc, char* argv[])
{
    const QCoreApplication application(argc, argv);
#ifdef WITH_QVUTIL
    if (argc == 2) {
        const QTemporaryDir dir;
        Quorvin::Util::IPCManager manager;
        return manager.StartServer(dir.filePath(QStringLiteral("s")), QIODeviceBase::ReadWrite) ? 0 : 1;
    }
#endif
    return 0;
}
