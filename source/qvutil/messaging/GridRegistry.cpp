// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "messaging/GridRegistry_p.h"

#include "IPCManager.h"

#include <QCryptographicHash>
#include <QDataStream>
#include <QDir>

using namespace Qt::StringLiterals;

namespace Quorvin::Util::Internal {

QList<ProcessInfo> ParseRegistry(const QByteArray& image)
{
    QList<ProcessInfo> processes;
    QDataStream stream(image);
    qint32 count = 0;
    stream >> count;
    for (; count > 0; --count) {
        ProcessInfo process;
        stream >> process.ProcessId >> process.ServerName;
        if (stream.status() != QDataStream::Ok)
            break;
        processes.append(process);
    }
    return processes;
}

QByteArray FormatRegistry(const QList<ProcessInfo>& processes)
{
    QByteArray image(kRegistrySize, '\0');
    QDataStream stream(&image, QIODevice::ReadWrite);
    stream << static_cast<qint32>(processes.size());
    for (const ProcessInfo& process : processes)
        stream << process.ProcessId << process.ServerName;
    return image;
}

QString GridLockFilePath(const QString& gridName)
{
    const QByteArray digest = QCryptographicHash::hash(gridName.toUtf8(), QCryptographicHash::Sha1).toHex();
    return QDir::tempPath() + u"/qvutil-grid-%1.lock"_s.arg(QLatin1StringView(digest));
}

} // namespace Quorvin::Util::Internal
