// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "ipc/EndpointProcesses.h"

#include <qvutil/platform/UnixFile_p.h>

#include <QByteArray>
#include <QDir>
#include <QFile>
#include <QHash>
#include <QSet>

#include <algorithm>
#include <cstring>
#include <utility>

#include <fcntl.h>
#include <linux/netlink.h>
#include <linux/rtnetlink.h>
#include <linux/sock_diag.h>
#include <linux/unix_diag.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

// The kernel's list of sockets, requested over netlink, identifies the file of each socket. (/proc/net/unix
// only has the path at which a socket was created, and the library renames sockets afterwards.) The open
// files of all processes show which processes own a socket.
namespace Quorvin::Tool {
namespace {

constexpr quint8 kConnected = 1; // TCP_ESTABLISHED; the kernel uses the states of TCP for these sockets too
constexpr quint8 kListening = 10; // TCP_LISTEN

struct SocketRow
{
    quint8 Type = 0; // such as SOCK_STREAM
    quint8 State = 0;
    quint32 Inode = 0;
    quint32 FileInode = 0; // inode of the file that the socket is bound to; 0 if there is none
    quint32 FileDevice = 0; // device of the file, in the kernel's own format
    QByteArray Name; // the path that was passed to bind()
    quint32 PeerInode = 0;
    quint32 QueueSize = 0; // for a listening socket: connections that wait to be accepted
};

// Returns the plain structure at the beginning of \p bytes; all zero if there are too few bytes.
template <typename Plain> Plain ReadPlain(QByteArrayView bytes)
{
    Plain plain = {};
    if (bytes.size() >= static_cast<qsizetype>(sizeof(plain)))
        std::memcpy(&plain, bytes.data(), sizeof(plain));
    return plain;
}

// The kernel aligns headers and the data after them to four bytes.
qsizetype Aligned(qsizetype size)
{
    return (size + 3) & ~qsizetype(3);
}

SocketRow ReadRow(QByteArrayView body)
{
    const auto message = ReadPlain<unix_diag_msg>(body);
    SocketRow row;
    row.Type = message.udiag_type;
    row.State = message.udiag_state;
    row.Inode = message.udiag_ino;
    qsizetype at = Aligned(sizeof(unix_diag_msg));
    while (at < body.size()) {
        const auto attribute = ReadPlain<rtattr>(body.sliced(at));
        if (attribute.rta_len < sizeof(attribute) || at + attribute.rta_len > body.size())
            break;
        const QByteArrayView data = body.sliced(at).first(attribute.rta_len).sliced(sizeof(attribute));
        if (attribute.rta_type == UNIX_DIAG_VFS) {
            const auto file = ReadPlain<unix_diag_vfs>(data);
            row.FileInode = file.udiag_vfs_ino;
            row.FileDevice = file.udiag_vfs_dev;
        } else if (attribute.rta_type == UNIX_DIAG_NAME)
            row.Name = data.toByteArray();
        else if (attribute.rta_type == UNIX_DIAG_PEER)
            row.PeerInode = ReadPlain<quint32>(data);
        else if (attribute.rta_type == UNIX_DIAG_RQLEN)
            row.QueueSize = ReadPlain<unix_diag_rqlen>(data).udiag_rqueue;
        at += Aligned(attribute.rta_len);
    }
    return row;
}

enum class Progress { More, Done, Failed };

// Reads one answer, which has many rows, each with a header and attributes.
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
    question.Request.udiag_states = ~0U;
    question.Request.udiag_show = UDIAG_SHOW_NAME | UDIAG_SHOW_VFS | UDIAG_SHOW_PEER | UDIAG_SHOW_RQLEN;

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

// Returns the processes that have a socket open, by the inode of the socket.
QHash<quint32, QList<qint64>> ListOwners()
{
    QHash<quint32, QList<qint64>> owners;
    const QStringList folders = QDir(u"/proc"_s).entryList({u"[1-9]*"_s}, QDir::Dirs);
    for (const QString& folder : folders) {
        const qint64 processId = folder.toLongLong();
        const QList<quint32> sockets = SocketsOf(folder.toLatin1());
        for (const quint32 socket : sockets) {
            QList<qint64>& processes = owners[socket];
            if (processes.isEmpty() || processes.last() != processId)
                processes.append(processId);
        }
    }
    return owners;
}

// Returns the device of a file as in the kernel's list of sockets; nullopt if unknown. It is the device of
// the mount, which differs from st_dev on file systems with subvolumes.
std::optional<quint32> FindKernelDevice(const QByteArray& path)
{
#ifdef STATX_MNT_ID
    struct statx file = {};
    if (::statx(AT_FDCWD, path.constData(), AT_STATX_DONT_SYNC, STATX_MNT_ID, &file) != 0
        || (file.stx_mask & STATX_MNT_ID) == 0)
        return std::nullopt;
    QFile mounts(u"/proc/self/mountinfo"_s);
    if (!mounts.open(QIODevice::ReadOnly))
        return std::nullopt;
    const QByteArray start = QByteArray::number(static_cast<quint64>(file.stx_mnt_id)) + ' ';
    const QList<QByteArray> lines = mounts.readAll().split('\n');
    for (const QByteArray& line : lines) {
        if (!line.startsWith(start))
            continue;
        const QList<QByteArray> device = line.split(' ').value(2).split(':');
        constexpr int kMinorBits = 20;
        return (device.value(0).toUInt() << kMinorBits) | device.value(1).toUInt();
    }
#else
    (void)path;
#endif
    return std::nullopt; // the mount is outside the root folder of this process
}

QList<ProcessName> NamesOf(const QSet<quint32>& sockets, const QHash<quint32, QList<qint64>>& owners)
{
    QSet<qint64> ids;
    for (const quint32 socket : sockets) {
        for (const qint64 processId : owners.value(socket))
            ids.insert(processId);
    }
    QList<qint64> sorted(ids.begin(), ids.end());
    std::sort(sorted.begin(), sorted.end());
    QList<ProcessName> names;
    for (const qint64 processId : std::as_const(sorted))
        names.append(NameOf(processId));
    return names;
}

} // namespace

struct SocketSnapshot::Data
{
    std::optional<QList<SocketRow>> Rows;
    QHash<quint32, QList<qint64>> Owners;
};

SocketSnapshot::SocketSnapshot()
    : mData(std::make_unique<Data>())
{
    mData->Rows = ListSockets();
    if (mData->Rows)
        mData->Owners = ListOwners();
}

SocketSnapshot::~SocketSnapshot() = default;

std::optional<EndpointProcesses> SocketSnapshot::Find(const QString& path) const
{
    const QByteArray name = QFile::encodeName(path);
    struct stat file = {};
    if (!mData->Rows || ::stat(name.constData(), &file) != 0)
        return std::nullopt;
    const std::optional<quint32> device = FindKernelDevice(name);

    EndpointProcesses result;
    QSet<quint32> servers;
    QSet<quint32> clients;
    for (const SocketRow& row : std::as_const(*mData->Rows)) {
        if (row.FileInode != static_cast<quint32>(file.st_ino) || (device && row.FileDevice != *device))
            continue;
        if (row.Type != SOCK_STREAM || (row.State != kListening && row.State != kConnected)) {
            result.IsOtherSocket = true;
        } else if (row.State == kListening) {
            servers.insert(row.Inode);
            result.Waiting += static_cast<int>(row.QueueSize);
            result.BoundPath = row.Name;
        } else {
            ++result.Connections;
            clients.insert(row.PeerInode);
        }
    }
    result.Servers = NamesOf(servers, mData->Owners);
    result.Clients = NamesOf(clients, mData->Owners);
    result.IsListening = !servers.isEmpty();
    return result;
}

std::optional<bool> HasLibraryLoaded(qint64 processId)
{
    QFile maps(u"/proc/%1/maps"_s.arg(processId));
    const QByteArray text = maps.open(QIODevice::ReadOnly) ? maps.readAll() : QByteArray();
    if (text.isEmpty())
        return std::nullopt;
    return text.contains("/libQvUtil.so");
}

std::optional<quint32> FindProcessUser(qint64 processId)
{
    QFile status(u"/proc/%1/status"_s.arg(processId));
    if (!status.open(QIODevice::ReadOnly))
        return std::nullopt;
    // Followed by the real, effective, saved and file system user ids.
    constexpr QByteArrayView kStart = "Uid:\t";
    const QList<QByteArray> lines = status.readAll().split('\n');
    for (const QByteArray& line : lines) {
        if (line.startsWith(kStart))
            return line.split('\t').value(2).toUInt();
    }
    return std::nullopt;
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
