// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "ipc/EndpointProcesses.h"

#include <qvutil/platform/UnixFile_p.h>

#include <QByteArray>
#include <QDir>
#include <QFile>
#include <QSet>

#include <algorithm>
#include <cstring>

#include <linux/netlink.h>
#include <linux/rtnetlink.h>
#include <linux/sock_diag.h>
#include <linux/unix_diag.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

// The kernel's list of sockets says which of them belong to which file. (The list in /proc names the path at
// which a socket was made, and Qt renames it afterwards.) Which process has a socket is seen from its open
// files.
namespace Quorvin::Tool {
namespace {

constexpr quint8 kConnected = 1; // TCP_ESTABLISHED and TCP_LISTEN of the kernel, which are used here too
constexpr quint8 kListening = 10;

struct SocketRow
{
    quint8 State = 0;
    quint32 Inode = 0;
    quint32 FileInode = 0; // of the file that it is bound to; 0 for none
    quint32 PeerInode = 0;
    quint32 QueueSize = 0; // of a listening socket: the connections that wait to be accepted
};

// A plain structure at the beginning of some bytes; zero if there are too few.
template <typename Plain> Plain ReadPlain(QByteArrayView bytes)
{
    Plain plain = {};
    if (bytes.size() >= static_cast<qsizetype>(sizeof(plain)))
        std::memcpy(&plain, bytes.data(), sizeof(plain));
    return plain;
}

// The kernel aligns headers and what follows them to four bytes.
qsizetype Aligned(qsizetype size)
{
    return (size + 3) & ~qsizetype(3);
}

SocketRow ReadRow(QByteArrayView body)
{
    const auto message = ReadPlain<unix_diag_msg>(body);
    SocketRow row;
    row.State = message.udiag_state;
    row.Inode = message.udiag_ino;
    qsizetype at = Aligned(sizeof(unix_diag_msg));
    while (at < body.size()) {
        const auto attribute = ReadPlain<rtattr>(body.sliced(at));
        if (attribute.rta_len < sizeof(attribute) || at + attribute.rta_len > body.size())
            break;
        const QByteArrayView data = body.sliced(at).first(attribute.rta_len).sliced(sizeof(attribute));
        if (attribute.rta_type == UNIX_DIAG_VFS)
            row.FileInode = ReadPlain<unix_diag_vfs>(data).udiag_vfs_ino;
        else if (attribute.rta_type == UNIX_DIAG_PEER)
            row.PeerInode = ReadPlain<quint32>(data);
        else if (attribute.rta_type == UNIX_DIAG_RQLEN)
            row.QueueSize = ReadPlain<unix_diag_rqlen>(data).udiag_rqueue;
        at += Aligned(attribute.rta_len);
    }
    return row;
}

enum class Progress { More, Done, Failed };

// One answer has many rows, each with a header and attributes.
Progress ReadRows(QByteArrayView answer, QList<SocketRow>& rows)
{
    constexpr qsizetype kHeader = sizeof(nlmsghdr);
    while (!answer.isEmpty()) {
        const auto header = ReadPlain<nlmsghdr>(answer);
        const qsizetype size = header.nlmsg_len;
        if (header.nlmsg_type == NLMSG_DONE)
            return Progress::Done;
        if (header.nlmsg_type == NLMSG_ERROR || size < kHeader || size > answer.size())
            return Progress::Failed;
        rows.append(ReadRow(answer.first(size).sliced(kHeader)));
        answer = answer.sliced(std::min(Aligned(size), answer.size()));
    }
    return Progress::More;
}

std::optional<QList<SocketRow>> ListSockets()
{
    struct
    {
        nlmsghdr Header;
        unix_diag_req Request;
    } question = {};
    question.Header.nlmsg_len = sizeof(question);
    question.Header.nlmsg_type = SOCK_DIAG_BY_FAMILY;
    question.Header.nlmsg_flags = NLM_F_REQUEST | NLM_F_DUMP;
    question.Request.sdiag_family = AF_UNIX;
    question.Request.udiag_states = (1U << kConnected) | (1U << kListening);
    question.Request.udiag_show = UDIAG_SHOW_VFS | UDIAG_SHOW_PEER | UDIAG_SHOW_RQLEN;

    const Util::Platform::FileDescriptor socket(
        ::socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC, NETLINK_SOCK_DIAG));
    if (!socket.IsOpen())
        return std::nullopt;
    QList<SocketRow> rows;
    auto progress = ::send(socket.Get(), &question, sizeof(question), 0) == sizeof(question)
        ? Progress::More
        : Progress::Failed;
    QByteArray buffer(64 * 1024, Qt::Uninitialized);
    while (progress == Progress::More) {
        const ssize_t count = ::recv(socket.Get(), buffer.data(), static_cast<size_t>(buffer.size()), 0);
        progress = count > 0 ? ReadRows(QByteArrayView(buffer).first(count), rows) : Progress::Failed;
    }
    return progress == Progress::Done ? std::optional(rows) : std::nullopt;
}

ProcessName NameOf(qint64 processId)
{
    QFile file(u"/proc/%1/comm"_s.arg(processId));
    const QByteArray name = file.open(QIODevice::ReadOnly) ? file.readAll().trimmed() : QByteArray();
    return {.Id = processId, .Name = QString::fromUtf8(name)};
}

QList<quint32> SocketsOf(const QByteArray& processId)
{
    constexpr QByteArrayView kStart = "socket:[";
    QList<quint32> sockets;
    const QString folder = u"/proc/"_s + QString::fromLatin1(processId) + u"/fd"_s;
    const QStringList files = QDir(folder).entryList(QDir::AllEntries | QDir::System | QDir::NoDotAndDotDot);
    for (const QString& file : files) {
        char target[64];
        const ssize_t size
            = ::readlink(QFile::encodeName(folder + u'/' + file).constData(), target, sizeof(target));
        const QByteArrayView link(target, qMax(size, ssize_t(0)));
        if (link.startsWith(kStart) && link.endsWith(']'))
            sockets.append(link.sliced(kStart.size()).chopped(1).toByteArray().toUInt());
    }
    return sockets;
}

} // namespace

std::optional<EndpointProcesses> FindEndpointProcesses(const QString& path)
{
    struct stat file = {};
    if (::stat(QFile::encodeName(path).constData(), &file) != 0)
        return std::nullopt;
    const std::optional<QList<SocketRow>> rows = ListSockets();
    if (!rows)
        return std::nullopt;

    EndpointProcesses result;
    QSet<quint32> servers;
    QSet<quint32> clients;
    for (const SocketRow& row : *rows) {
        if (row.FileInode != static_cast<quint32>(file.st_ino))
            continue;
        if (row.State == kListening) {
            servers.insert(row.Inode);
            result.Waiting += static_cast<int>(row.QueueSize);
        } else {
            ++result.Connections;
            clients.insert(row.PeerInode);
        }
    }
    const QStringList folders = QDir(u"/proc"_s).entryList({u"[1-9]*"_s}, QDir::Dirs);
    for (const QString& folder : folders) {
        const QList<quint32> sockets = SocketsOf(folder.toLatin1());
        const auto hasOneOf = [&sockets](const QSet<quint32>& wanted) {
            return std::any_of(sockets.begin(), sockets.end(),
                               [&wanted](quint32 socket) { return wanted.contains(socket); });
        };
        if (hasOneOf(servers))
            result.Servers.append(NameOf(folder.toLongLong()));
        if (hasOneOf(clients))
            result.Clients.append(NameOf(folder.toLongLong()));
    }
    return result;
}

std::optional<ProcessName> FindPeerProcess(qintptr socket)
{
    ucred peer = {};
    socklen_t length = sizeof(peer);
    if (::getsockopt(static_cast<int>(socket), SOL_SOCKET, SO_PEERCRED, &peer, &length) == -1)
        return std::nullopt;
    return NameOf(peer.pid);
}

} // namespace Quorvin::Tool
