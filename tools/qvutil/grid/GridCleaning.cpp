// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "grid/GridCleaning.h"

#include "cli/Failure.h"
#include "grid/SharedSegment.h"
#include <qvutil/GeneralUtil.h>
#include <qvutil/IPCManager.h>
#include <qvutil/base/QtCompat_p.h>
#include <qvutil/messaging/GridRegistry_p.h>
#include <qvutil/platform/Platform_p.h>

#include <QDeadlineTimer>
#include <QFile>

#include <algorithm>
#include <optional>

using namespace Qt::StringLiterals;
using Quorvin::Util::ProcessInfo;

namespace Quorvin::Tool {
namespace {

namespace Platform = Util::Platform;

constexpr int kLockTimeoutMs = 5000;

// Holds the lock that members hold while they join or leave.
class WriterLock
{
public:
    explicit WriterLock(const QString& grid)
        : mPath(Util::Internal::GridLockFilePath(grid))
        , mLock(Platform::LockFile(mPath, Platform::LockFileMode::CreateIfMissing, kLockTimeoutMs,
                                   QDeadlineTimer(Util::Internal::kMaxGridLockWaitMs)))
    {
        if (mLock == Platform::kLockTimedOut)
            throw Failure(mPath, u"another process keeps it locked"_s);
        if (mLock == Platform::kLockFailed) {
            throw Failure(mPath,
                          QFile::exists(mPath)
                              ? u"it cannot be opened, or is not a regular file of this user"_s
                              : u"the file cannot be created"_s);
        }
    }
    ~WriterLock() { Platform::UnlockFile(mLock); }
    Q_DISABLE_COPY_MOVE(WriterLock)

    [[nodiscard]] const QString& Path() const { return mPath; }

private:
    QString mPath;
    int mLock;
};

// \return the living members
QList<ProcessInfo> RemoveDeadEntries(const QList<ProcessInfo>& processes, GridCleaning& cleaning)
{
    QList<ProcessInfo> alive;
    for (const ProcessInfo& process : processes) {
        if (Util::GeneralUtil::IsProcessRunning(process.ProcessId))
            alive.append(process);
        else if (process.ProcessId != 0 || !process.ServerName.isEmpty())
            cleaning.Removed.append(
                {.Kind = StaleItem::Entry, .ProcessId = process.ProcessId, .Path = process.ServerName});
    }
    return alive;
}

// Returns the corrected content of a registry; nullopt if the registry is already correct, or if the memory
// belongs to another program.
std::optional<QByteArray> CleanEntries(const QByteArray& before, GridCleaning& cleaning)
{
    QByteArray after
        = Util::Internal::FormatRegistry(RemoveDeadEntries(Util::Internal::ParseRegistry(before), cleaning));
    if (before.size() < after.size() || before.startsWith(after))
        return std::nullopt;
    cleaning.IsRepaired = cleaning.Removed.isEmpty();
    return after;
}

// \return whether the registry is gone afterwards
bool CleanRegistry(const QString& grid, GridCleaning& cleaning)
{
    LockedSegment memory({.Memory = Util::Internal::NativeSharedMemoryKey(grid),
                          .Semaphore = Util::Internal::NativeSemaphoreKey(grid),
                          .Name = u"grid %1"_s.arg(grid)},
                         QDeadlineTimer(kLockTimeoutMs));
    if (!memory.Exists())
        return true;
    if (const std::optional<QByteArray> after = CleanEntries(memory.Bytes(), cleaning))
        memory.Write(*after);
    if (!memory.Leave())
        return false;
    cleaning.Removed.append({.Kind = StaleItem::Registry, .ProcessId = 0, .Path = {}});
    cleaning.IsRepaired = false; // the registry is gone
    return true;
}

void RemoveFile(const StaleItem& item, GridCleaning& cleaning)
{
    (QFile::remove(item.Path) ? cleaning.Removed : cleaning.Kept).append(item);
}

void RemoveSocket(const StaleItem& socket, GridCleaning& cleaning)
{
    if (!Util::GeneralUtil::IsProcessRunning(socket.ProcessId)) // a new process may have the id by now
        RemoveFile(socket, cleaning);
}

} // namespace

GridCleaning CleanGrid(const QString& grid)
{
    GridCleaning cleaning;
    const bool hadLockFile = QFile::exists(Util::Internal::GridLockFilePath(grid));
    const WriterLock lock(grid);
    const bool isGone = CleanRegistry(grid, cleaning);
    const QList<StaleItem> sockets = FindStaleSockets(grid);
    for (const StaleItem& socket : sockets)
        RemoveSocket(socket, cleaning);
    if (isGone) {
        RemoveSemaphore(grid);
        // Remove the file while it is locked: a process that waits for the lock then creates a new file.
        if (hadLockFile)
            RemoveFile({.Kind = StaleItem::LockFile, .ProcessId = 0, .Path = lock.Path()}, cleaning);
        else
            QFile::remove(lock.Path());
    }
    return cleaning;
}

GridCleaning PreviewCleaning(const GridSnapshot& snapshot)
{
    GridCleaning cleaning;
    if (const std::optional<QByteArray> bytes = ReadGridSegment(snapshot.Name))
        (void)CleanEntries(*bytes, cleaning);
    cleaning.Removed = snapshot.StaleItems;
    const bool goesAltogether
        = std::any_of(snapshot.StaleItems.begin(), snapshot.StaleItems.end(),
                      [](const StaleItem& item) { return item.Kind == StaleItem::Registry; });
    cleaning.IsRepaired = cleaning.IsRepaired && !goesAltogether;
    return cleaning;
}

} // namespace Quorvin::Tool
