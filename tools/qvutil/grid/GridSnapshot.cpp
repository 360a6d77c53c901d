// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "grid/GridSnapshot.h"

#include "cli/Failure.h"
#include "grid/SharedSegment.h"
#include "ipc/EndpointProcesses.h"
#include <qvutil/GeneralUtil.h>
#include <qvutil/IPCManager.h>
#include <qvutil/base/QtCompat_p.h>
#include <qvutil/messaging/GridRegistry_p.h>
#include <qvutil/messaging/MessageSocket_p.h>
#include <qvutil/platform/Platform_p.h>

#include <QDeadlineTimer>
#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QSet>
#include <QtEndian>

#include <algorithm>

#include <sys/stat.h>

using namespace Qt::StringLiterals;
using Quorvin::Util::ProcessInfo;

namespace Quorvin::Tool {
namespace {

namespace Platform = Util::Platform;

// Members lock the registry for a few milliseconds when they join and leave.
constexpr int kLockTimeoutMs = 2000;
constexpr int kMaxLockWaitMs = 10'000; // in total, because many members may take turns

constexpr qsizetype kDigestSize = 40;
constexpr QLatin1StringView kLockFileEnd = ".lock"_L1;
constexpr QLatin1StringView kMemoryFileStart = "qipc_sharedmemory_"_L1;

// Holds the lock of a grid's registry for reading, if the grid has a lock file.
class ReaderLock
{
public:
    explicit ReaderLock(const QString& path)
        : mPath(path)
        , mLock(Platform::LockFile(mPath, Platform::LockFileMode::OpenExisting, kLockTimeoutMs,
                                   QDeadlineTimer(kMaxLockWaitMs)))
    { }
    ~ReaderLock() { Platform::UnlockFile(mLock); }
    Q_DISABLE_COPY_MOVE(ReaderLock)

    /// Returns whether another process kept the lock.
    [[nodiscard]] bool IsRefused() const { return mLock < 0 && QFile::exists(mPath); }

private:
    QString mPath;
    int mLock;
};

qsizetype EntrySize(const ProcessInfo& process)
{
    return qsizetype(sizeof(qint64) + sizeof(quint32))
        + process.ServerName.size() * qsizetype(sizeof(char16_t));
}

// If the registry's count is too high, zero bytes are read as additional members, which do not exist.
bool IsNobody(const ProcessInfo& process)
{
    return process.ProcessId == 0 && process.ServerName.isEmpty();
}

void FindDamage(const QByteArray& image, qsizetype readable, GridRegistry& registry)
{
    if (image.size() < Util::Internal::kRegistrySize)
        registry.Problems.append(
            u"the memory has %1 bytes instead of %2"_s.arg(image.size()).arg(Util::Internal::kRegistrySize));
    const qint32 count
        = image.size() >= qsizetype(sizeof(qint32)) ? qFromBigEndian<qint32>(image.constData()) : 0;
    if (count != readable)
        registry.Problems.append(
            u"the registry should have %1 members, but %2 can be read"_s.arg(count).arg(readable));
    const QByteArrayView rest = QByteArrayView(image).sliced(std::min(registry.UsedBytes, image.size()));
    const QByteArrayView own = rest.first(
        std::clamp(Util::Internal::kRegistrySize - registry.UsedBytes, qsizetype(0), rest.size()));
    if (std::any_of(own.begin(), own.end(), [](char c) { return c != 0; }))
        registry.Problems.append(u"there is data after the last member"_s);
}

GridRegistry ParseGridRegistry(const QByteArray& image)
{
    GridRegistry registry;
    registry.Exists = true;
    QList<ProcessInfo> processes = Util::Internal::ParseRegistry(image);
    while (!processes.isEmpty() && IsNobody(processes.last()))
        processes.removeLast();
    registry.UsedBytes = sizeof(qint32);
    for (const ProcessInfo& process : processes) {
        registry.Members.append({.ProcessId = process.ProcessId,
                                 .ServerName = process.ServerName,
                                 .IsAlive = Util::GeneralUtil::IsProcessRunning(process.ProcessId)});
        registry.UsedBytes += EntrySize(process);
    }
    FindDamage(image, processes.size(), registry);
    return registry;
}

// The three parts of a server's name: grid, program, process id.
struct NameParts
{
    QString Grid;
    qint64 ProcessId = 0;
};

std::optional<NameParts> SplitServerName(const QString& name)
{
    const qsizetype idDot = name.lastIndexOf(u'.');
    const qsizetype programDot = idDot > 0 ? name.lastIndexOf(u'.', idDot - 1) : -1;
    bool ok = false;
    const qint64 processId = QStringView(name).sliced(idDot + 1).toLongLong(&ok);
    if (programDot <= 0 || !ok || processId <= 0)
        return std::nullopt;
    return NameParts{.Grid = name.first(programDot), .ProcessId = processId};
}

bool IsSocket(const QString& path)
{
    struct stat file = {};
    return ::lstat(QFile::encodeName(path).constData(), &file) == 0 && S_ISSOCK(file.st_mode);
}

// If the system does not report who listens, assume that no process does.
bool IsInUse(const QString& path, const SocketSnapshot& sockets)
{
    const std::optional<EndpointProcesses> processes = sockets.Find(path);
    return processes && (!processes->Servers.isEmpty() || processes->Connections > 0);
}

std::optional<QList<GridLinks>> FindLinks(const QList<GridMember>& members)
{
    QList<GridLinks> all(members.size());
    const SocketSnapshot sockets;
    for (qsizetype i = 0; i < members.size(); ++i) {
        const QString path = Util::Internal::GetSocketPath(members.at(i).ServerName);
        if (!members.at(i).IsAlive || !IsSocket(path))
            continue;
        const std::optional<EndpointProcesses> processes = sockets.Find(path);
        if (!processes)
            return std::nullopt;
        all[i].IsListening = !processes->Servers.isEmpty();
        for (const ProcessName& client : processes->Clients) {
            all[i].Clients.append(client.Id);
            for (qsizetype j = 0; j < members.size(); ++j) {
                if (members.at(j).ProcessId == client.Id)
                    all[j].Servers.append(members.at(i).ProcessId);
            }
        }
    }
    return all;
}

// Returns the lock file that belongs to a shared memory file. Both names contain the digest of the grid's
// name.
QString LockFileOf(const QString& memoryFile)
{
    const QString digest = memoryFile.last(kDigestSize);
    const QString ofNothing = Util::Internal::GridLockFilePath({});
    return ofNothing.left(ofNothing.size() - kDigestSize - kLockFileEnd.size()) + digest + kLockFileEnd;
}

// Adds the names of the grids whose members have entries in the registry. Only the members' server names
// contain the name of a grid.
void AddGridsWithEntries(const QString& memoryFile, QSet<QString>& grids)
{
    // Hold the lock, so that no member leaves meanwhile: the last one cannot destroy memory that is attached
    // here.
    const QString lockFile = LockFileOf(memoryFile);
    if (!QFile::exists(lockFile))
        return; // another program's memory, or a grid that has just ended
    const ReaderLock lock(lockFile);
    try {
        const std::optional<QByteArray> image = ReadSharedSegment(memoryFile, memoryFile);
        for (const ProcessInfo& process : Util::Internal::ParseRegistry(image.value_or(QByteArray()))) {
            if (const auto parts = SplitServerName(process.ServerName))
                grids.insert(parts->Grid);
        }
    } catch (const Failure&) { // another user's memory
    }
}

} // namespace

QString StaleItem::ToText() const
{
    switch (Kind) {
    case Entry:
        return u"the entry of process %1, %2"_s.arg(ProcessId).arg(Path);
    case Socket:
        return u"the socket %1"_s.arg(Path);
    case Registry:
        return u"the registry, which has no living member"_s;
    case LockFile:
        return u"the lock file %1"_s.arg(Path);
    }
    return {};
}

qsizetype GridSnapshot::DeadCount() const
{
    return std::count_if(Registry.Members.begin(), Registry.Members.end(),
                         [](const GridMember& member) { return !member.IsAlive; });
}

bool GridSnapshot::IsHealthy() const
{
    if (!Registry.Exists || Registry.IsLocked || !Registry.Problems.isEmpty() || !StaleItems.isEmpty())
        return false;
    return !Links || std::all_of(Links->begin(), Links->end(), [](const GridLinks& links) {
        return links.IsListening;
    });
}

std::optional<QByteArray> ReadGridSegment(const QString& grid)
{
    return ReadSharedSegment(Util::Internal::NativeSharedMemoryKey(grid), u"grid %1"_s.arg(grid));
}

GridRegistry ReadGridRegistry(const QString& grid)
{
    const ReaderLock lock(Util::Internal::GridLockFilePath(grid));
    const std::optional<QByteArray> image = ReadGridSegment(grid);
    GridRegistry registry;
    if (image)
        registry = ParseGridRegistry(*image);
    registry.IsLocked = lock.IsRefused();
    return registry;
}

QList<StaleItem> FindStaleSockets(const QString& grid)
{
    QList<StaleItem> sockets;
    const QFileInfo place(Util::Internal::GetSocketPath(grid));
    QDirIterator files(place.absolutePath(), QDir::Files | QDir::System | QDir::Hidden);
    while (files.hasNext()) {
        const QString path = files.next();
        const auto parts = SplitServerName(files.fileName());
        if (parts && parts->Grid == place.fileName() && IsSocket(path)
            && !Util::GeneralUtil::IsProcessRunning(parts->ProcessId))
            sockets.append({.Kind = StaleItem::Socket, .ProcessId = parts->ProcessId, .Path = path});
    }
    if (sockets.isEmpty())
        return sockets;
    // Take only one snapshot for all files: each takes milliseconds, and there can be thousands of files.
    const SocketSnapshot inUse;
    sockets.removeIf([&inUse](const StaleItem& socket) { return IsInUse(socket.Path, inUse); });
    std::sort(sockets.begin(), sockets.end(),
              [](const StaleItem& a, const StaleItem& b) { return a.Path < b.Path; });
    return sockets;
}

GridSnapshot InspectGrid(const QString& grid)
{
    GridSnapshot snapshot;
    snapshot.Name = grid;
    snapshot.Registry = ReadGridRegistry(grid);
    const QList<GridMember>& members = snapshot.Registry.Members;
    snapshot.Links = FindLinks(members);
    for (const GridMember& member : members) {
        if (!member.IsAlive)
            snapshot.StaleItems.append(
                {.Kind = StaleItem::Entry, .ProcessId = member.ProcessId, .Path = member.ServerName});
    }
    snapshot.StaleItems += FindStaleSockets(grid);
    if (snapshot.Registry.Exists && snapshot.DeadCount() == members.size())
        snapshot.StaleItems.append({.Kind = StaleItem::Registry, .ProcessId = 0, .Path = {}});
    const QString lockFile = Util::Internal::GridLockFilePath(grid);
    if (snapshot.DeadCount() == members.size() && QFile::exists(lockFile))
        snapshot.StaleItems.append({.Kind = StaleItem::LockFile, .ProcessId = 0, .Path = lockFile});
    return snapshot;
}

QStringList FindGrids()
{
    // Only entries of members and the names of their sockets contain the grid's name. The names of all other
    // files contain a digest of it.
    const QDir folder(QDir::tempPath());
    QSet<QString> candidates;
    const QStringList files = folder.entryList(QDir::Files | QDir::System | QDir::Hidden);
    for (const QString& file : files) {
        if (const auto parts = SplitServerName(file); parts && IsSocket(folder.filePath(file)))
            candidates.insert(parts->Grid);
        if (file.startsWith(kMemoryFileStart) && file.size() > kMemoryFileStart.size() + kDigestSize - 1)
            AddGridsWithEntries(folder.filePath(file), candidates);
    }
    QStringList grids;
    for (const QString& grid : std::as_const(candidates)) {
        if (QFile::exists(Util::Internal::GridLockFilePath(grid)))
            grids.append(grid);
    }
    grids.sort();
    return grids;
}

} // namespace Quorvin::Tool
