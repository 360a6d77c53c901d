// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "platform/Platform_p.h"

#include "base/Logging_p.h"
#include "platform/DebugOutput_p.h"

#include <QDir>
#include <QFile>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <limits>
#include <memory>
#include <optional>

#include <link.h>
#include <linux/sockios.h>
#include <signal.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/types.h>
#include <sys/un.h>
#include <sys/xattr.h>

using namespace Qt::StringLiterals;

namespace Quorvin::Util::Platform {
namespace {

// Returns the first absolute path in a colon-separated variable. Relative paths are skipped: their meaning
// would depend on the current folder.
QString FirstAbsolutePath(const char* variable)
{
    const QString value = QFile::decodeName(qgetenv(variable));
    for (const QStringView path : value.tokenize(u':')) {
        if (path.startsWith(u'/'))
            return path.toString();
    }
    return {};
}

// Returns the canonical form of a path; empty if it does not exist.
QByteArray CanonicalPath(const QByteArray& path)
{
    if (path.contains('\0'))
        return {}; // not a file name: the system would stop reading at the zero
    const std::unique_ptr<char, decltype(&std::free)> resolved(::realpath(path.constData(), nullptr),
                                                               &std::free);
    return QByteArray(resolved.get());
}

bool ProcessExists(pid_t processId)
{
    return ::kill(processId, 0) == 0 || errno == EPERM; // EPERM: the process belongs to another user
}

// The fields of a process's status file.
struct ProcessStatus
{
    char State = 0;
    qint64 ThreadGroup = 0;
    int Threads = 0;
};

// Reads /proc/<id>/status, which has lines of the form "Name:\tvalue". If it cannot be read, nothing is set.
ProcessStatus ReadProcessStatus(pid_t processId)
{
    ProcessStatus status;
    QFile file(u"/proc/%1/status"_s.arg(processId));
    if (!file.open(QIODevice::ReadOnly))
        return status;
    const QByteArray page = file.readAll();
    for (const QByteArray& line : page.split('\n')) {
        const qsizetype colon = line.indexOf(':');
        const QByteArray name = line.left(colon);
        const QByteArray value = line.mid(colon + 1).trimmed();
        if (name == "State" && !value.isEmpty())
            status.State = value.front();
        else if (name == "Tgid")
            status.ThreadGroup = value.toLongLong();
        else if (name == "Threads")
            status.Threads = value.toInt();
    }
    return status;
}

int AppendLibrary(dl_phdr_info* info, std::size_t /*size*/, void* context)
{
    static_cast<QStringList*>(context)->append(QFile::decodeName(info->dlpi_name));
    return 0; // continue the iteration
}

constexpr const char* kAccessList = "system.posix_acl_access";

// Returns whether a call failed because the file has no such attribute, or its file system has none at all.
bool IsWithoutAttribute(int error)
{
    return error == ENODATA || error == ENOTSUP || error == ENOSYS;
}

// Returns the value of an extended attribute of an open file; nullopt, with errno set, if there is none or it
// cannot be read.
std::optional<QByteArray> ReadAttribute(int file, const char* name)
{
    const ssize_t size = ::fgetxattr(file, name, nullptr, 0);
    if (size < 0)
        return std::nullopt;
    QByteArray value(static_cast<qsizetype>(size), Qt::Uninitialized);
    if (::fgetxattr(file, name, value.data(), static_cast<size_t>(size)) != size)
        return std::nullopt;
    return value;
}

bool WriteAttribute(int file, const char* name, const QByteArray& value)
{
    return ::fsetxattr(file, name, value.constData(), static_cast<size_t>(value.size()), 0) == 0;
}

// Returns the names of the extended attributes of an open file.
QList<QByteArray> ListAttributes(int file)
{
    const ssize_t size = ::flistxattr(file, nullptr, 0);
    if (size <= 0)
        return {};
    QByteArray names(static_cast<qsizetype>(size), Qt::Uninitialized);
    names.truncate(qMax<ssize_t>(::flistxattr(file, names.data(), static_cast<size_t>(size)), 0));
    return names.split('\0');
}

bool IsVersionPart(QStringView part)
{
    return !part.isEmpty() && part.front() >= u'0' && part.front() <= u'9';
}

} // namespace

QByteArray GetUserLocaleIdentifier()
{
    for (const char* const variable : {"LC_ALL", "LC_MESSAGES", "LANG"}) {
        const QByteArray value = qgetenv(variable);
        if (!value.isEmpty()) {
            const auto end
                = std::find_if(value.cbegin(), value.cend(), [](char c) { return c == '.' || c == '@'; });
            return value.left(end - value.cbegin());
        }
    }
    return {};
}

QString GetUserApplicationSupportFolder()
{
    const QString folder = QFile::decodeName(qgetenv("XDG_DATA_HOME"));
    return folder.startsWith(u'/') ? folder : QDir::homePath() + "/.local/share"_L1;
}

QString GetMachineApplicationSupportFolder()
{
    const QString folder = FirstAbsolutePath("XDG_DATA_DIRS");
    return folder.isEmpty() ? u"/usr/local/share"_s : folder;
}

QString GetSystemLibraryFolder()
{
    return u"/usr/lib"_s;
}

QString ResolveSymbolicLinks(const QString& path)
{
    if (path.isEmpty())
        return path;

    const QByteArray whole
        = QFile::encodeName(path.startsWith(u'/') ? path : QDir::currentPath() + u'/' + path);
    // Resolve the longest leading part that exists; "/" always does.
    for (qsizetype length = whole.size(); length > 0; length = whole.lastIndexOf('/', length - 1)) {
        const QByteArray resolved = CanonicalPath(whole.left(length));
        if (!resolved.isEmpty())
            return QFile::decodeName(resolved + whole.mid(length));
    }
    return QFile::decodeName(whole);
}

AccessListCopy CopyFileAttributes(int from, int to, bool isSameGroup)
{
    const QList<QByteArray> names = ListAttributes(from);
    for (const QByteArray& name : names) {
        // Other attributes are only valid for the old content (a signature, a capability), or belong to the
        // file system.
        if (!name.startsWith("user.") && name != "security.selinux")
            continue;
        if (const std::optional<QByteArray> value = ReadAttribute(from, name.constData()))
            WriteAttribute(to, name.constData(), *value);
    }

    const std::optional<QByteArray> list = ReadAttribute(from, kAccessList);
    if (list && isSameGroup && WriteAttribute(to, kAccessList, *list))
        return AccessListCopy::Complete;
    const bool isOldWithout = !list && IsWithoutAttribute(errno);
    // The new file may have inherited a list from its folder.
    const bool isNewWithout = ::fremovexattr(to, kAccessList) == 0 || IsWithoutAttribute(errno);
    return isOldWithout && isNewWithout ? AccessListCopy::Complete : AccessListCopy::Failed;
}

bool IsProcessRunning(qint64 processId)
{
    // 0 and negative numbers address process groups, and a larger number would be truncated to the id of
    // another process.
    if (processId < 1 || processId > std::numeric_limits<pid_t>::max())
        return false;
    const auto id = static_cast<pid_t>(processId);
    if (!ProcessExists(id))
        return false;

    const ProcessStatus status = ReadProcessStatus(id);
    if (status.State == 0)
        return ProcessExists(id); // it has just ended, or its status is not accessible
    if (status.ThreadGroup != processId)
        return false; // the id is that of a thread
    // If the main thread ends before the others, the process looks like a zombie but is still running.
    return (status.State != 'Z' && status.State != 'X') || status.Threads > 1;
}

QStringList GetLoadedLibraries()
{
    QStringList paths;
    ::dl_iterate_phdr(&AppendLibrary, &paths);
    paths.pop_front(); // the program, which is always first
    paths.removeIf([](const QString& path) { return !path.contains(u'/'); }); // the vDSO has no file
    return paths;
}

QLatin1StringView GetLibrarySuffix()
{
    return ".so"_L1;
}

QStringView RemoveLibraryVersion(QStringView fileName)
{
    QStringView name = fileName;
    while (!name.endsWith(GetLibrarySuffix())) {
        const qsizetype dot = name.lastIndexOf(u'.');
        if (dot < 0 || !IsVersionPart(name.mid(dot + 1)))
            return fileName;
        name.truncate(dot);
    }
    return name;
}

qsizetype EnlargeSendBuffer(qintptr socket, int bytes)
{
    const int descriptor = static_cast<int>(socket);
    int size = 0;
    socklen_t length = sizeof(size);
    if (::getsockopt(descriptor, SOL_SOCKET, SO_SNDBUF, &size, &length) == -1)
        return 0;
    // The kernel doubles the requested size, limited to twice net.core.wmem_max, and returns the doubled
    // size.
    if (size / 2 < bytes) {
        ::setsockopt(descriptor, SOL_SOCKET, SO_SNDBUF, &bytes, sizeof(bytes));
        ::getsockopt(descriptor, SOL_SOCKET, SO_SNDBUF, &size, &length);
    }
    // The kernel's overhead is up to 4 KiB for every 36 KiB of data.
    return size - size / 8;
}

qint64 GetUnreadBytes(qintptr socket)
{
    int bytes = 0;
    return ::ioctl(static_cast<int>(socket), SIOCOUTQ, &bytes) == -1 ? 0 : bytes;
}

std::optional<quint32> GetPeerUserId(qintptr socket)
{
    ucred peer = {};
    socklen_t length = sizeof(peer);
    if (::getsockopt(static_cast<int>(socket), SOL_SOCKET, SO_PEERCRED, &peer, &length) == -1)
        return std::nullopt;
    return peer.uid;
}

qsizetype GetMaxSocketPathLength()
{
    // Qt reserves a byte at each end of the path, as for an abstract name.
    return static_cast<qsizetype>(sizeof(sockaddr_un::sun_path)) - 2;
}

bool HasDebugOutput()
{
    return true;
}

void WriteDebugOutput(const QString& text)
{
    qCDebug(Internal::lcQvUtil).noquote() << text;
}

void WriteDebugOutput(const wchar_t* text)
{
    if (text != nullptr && Internal::lcQvUtil().isDebugEnabled())
        WriteDebugOutput(QString::fromWCharArray(text));
}

} // namespace Quorvin::Util::Platform
