// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_BARESOCKET_H
#define QVUTIL_BARESOCKET_H

#include <QByteArray>
#include <QDir>
#include <QFile>
#include <QString>

#include <algorithm>
#include <utility>

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace TestSupport {

/// Returns the path of a server's socket file.
[[nodiscard]] inline QString PathOf(const QString& serverName)
{
    return QDir::cleanPath(QDir::tempPath()) + u'/' + serverName;
}

/// A socket file whose process never reads. With a backlog, it accepts as much as the system's buffers hold.
/// Without a backlog, it is like the stale socket of a killed server.
class BareSocket
{
public:
    BareSocket(const QString& path, bool listens, int backlog = 10)
        : mPath(QFile::encodeName(path))
        , mSocket(::socket(AF_UNIX, SOCK_STREAM, 0))
    {
        sockaddr_un address = {};
        address.sun_family = AF_UNIX;
        std::copy(mPath.begin(), mPath.end(), address.sun_path);
        mGood = ::bind(mSocket, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) == 0
            && (!listens || ::listen(mSocket, backlog) == 0);
        if (!listens)
            ::close(std::exchange(mSocket, -1));
    }
    ~BareSocket()
    {
        if (mSocket != -1)
            ::close(mSocket);
        ::unlink(mPath.constData());
    }
    Q_DISABLE_COPY_MOVE(BareSocket)
    [[nodiscard]] bool IsGood() const { return mGood; }

private:
    QByteArray mPath;
    int mSocket;
    bool mGood = false;
};

} // namespace TestSupport

#endif // QVUTIL_BARESOCKET_H
