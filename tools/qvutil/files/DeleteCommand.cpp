// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "files/FilesCommands.h"

#include "cli/Console.h"

#include <qvutil/GeneralUtil.h>
#include <qvutil/base/QtCompat_p.h>

#include <QFile>
#include <QFileInfo>
#include <QSet>

#include <algorithm>
#include <memory>
#include <optional>
#include <utility>

#include <sys/stat.h>

using namespace Qt::StringLiterals;
using Quorvin::Util::GeneralUtil;
using Quorvin::Util::Internal::QDirCleanPath;

namespace Quorvin::Tool {
namespace {

// Returns all entries of a folder, including hidden files and dangling links.
QStringList EverythingIn(const QString& folder)
{
    constexpr QDir::Filters kEverything
        = QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot;
    QStringList paths;
    const QFileInfoList entries = QDir(folder).entryInfoList(kEverything);
    for (const QFileInfo& entry : entries)
        paths.append(QDirCleanPath(entry.absoluteFilePath()));
    return paths;
}

/// Determines what `delete` removes: the files, and then the folders below the given folder that are empty.
class DeletionPlan
{
public:
    explicit DeletionPlan(const FilesOptions& options)
        : mOptions(options)
        , mFileSystem(FileSystemOf(options.Folder))
    {
        AddFolder(options.Folder);
        mFiles.sort();
        const QSet<QString> files(mFiles.cbegin(), mFiles.cend());
        AddEmptyFolders(files);
    }

    [[nodiscard]] QStringList Paths() const { return mFiles + mFolders; }

private:
    static std::optional<dev_t> FileSystemOf(const QString& folder)
    {
        struct stat status = {};
        const bool isThere = ::stat(QFile::encodeName(folder).constData(), &status) == 0;
        return isThere ? std::optional(status.st_dev) : std::nullopt;
    }

    void AddFolder(const QString& folder)
    {
        mFiles += GeneralUtil::GetFiles(folder, mOptions.Filter(), mOptions.Filters(), false);
        if (!mOptions.Recursive)
            return;
        const QDir::Filters filters
            = (mOptions.Filters() & ~QDir::Filters(QDir::Files)) | QDir::AllDirs | QDir::NoDotAndDotDot;
        const QFileInfoList entries = QDir(folder).entryInfoList({}, filters, QDir::NoSort);
        for (const QFileInfo& entry : entries) {
            const QString path = QDirCleanPath(entry.absoluteFilePath());
            if (FileSystemOf(path) != mFileSystem)
                continue;
            mFolders.append(path);
            AddFolder(path);
        }
    }

    void AddEmptyFolders(QSet<QString> going)
    {
        QStringList folders;
        std::swap(folders, mFolders);
        std::reverse(folders.begin(), folders.end()); // check each folder after the folders in it
        for (const QString& folder : std::as_const(folders)) {
            const QStringList content = EverythingIn(folder);
            const bool becomesEmpty = std::all_of(content.cbegin(), content.cend(),
                                                  [&](const QString& path) { return going.contains(path); });
            if (becomesEmpty && QFileInfo(folder).isReadable()) {
                going.insert(folder);
                mFolders.append(folder);
            }
        }
    }

    const FilesOptions& mOptions;
    std::optional<dev_t> mFileSystem;
    QStringList mFiles;
    QStringList mFolders;
};

bool DeleteFile(const QString& path)
{
    if (!QFileInfo(path).isWritable())
        QFile::setPermissions(path, QFile::permissions(path) | QFileDevice::WriteUser);
    return QFile::remove(path);
}

ExitCode CarryOut(const QStringList& plan, bool json)
{
    auto code = ExitCode::Yes;
    QStringList gone;
    for (const QString& path : plan) {
        const bool isFolder = QFileInfo(path).isDir();
        if (isFolder ? QDir().rmdir(path) : DeleteFile(path)) {
            gone.append(path);
        } else if (!isFolder || EverythingIn(path).isEmpty()) {
            // If a folder is not empty, an entry that was not deleted is the cause, and is reported instead.
            Console::ReportError(path, u"could not be deleted"_s);
            code = ExitCode::Error;
        }
    }
    PrintPaths(gone, json);
    return code;
}

// A typo must not delete everything.
void RejectPreciousFolder(const FilesOptions& options)
{
    const QString folder = QFileInfo(options.Folder).canonicalFilePath();
    const QString home = QFileInfo(QDir::homePath()).canonicalFilePath();
    if (folder == "/"_L1)
        throw Failure(options.Folder, u"is the root folder: name a folder below it"_s);
    if (folder == home)
        throw Failure(options.Folder, u"is the home folder: name a folder below it"_s);
    if (options.Recursive && home.startsWith(folder + u'/'))
        throw Failure(options.Folder, u"contains the home folder: name a folder below it"_s);
}

ExitCode Delete(const FilesOptions& options)
{
    CheckPatterns(options.Patterns);
    // A trailing slash would hide that the path is a link.
    const QFileInfo info(QDirCleanPath(options.Folder));
    if (options.Folder.isEmpty() || (!info.exists() && !info.isSymLink()))
        throw Failure(options.Folder, u"there is no such folder"_s);
    if (info.isSymLink())
        throw Failure(options.Folder, u"is a link: name the folder itself"_s);
    if (!info.isDir())
        throw Failure(options.Folder, u"is not a folder"_s);
    if (!info.isReadable())
        throw Failure(options.Folder, u"cannot be read"_s);
    RejectPreciousFolder(options);

    const QStringList plan = DeletionPlan(options).Paths();
    if (!options.DryRun)
        return CarryOut(plan, options.Json);
    PrintPaths(plan, options.Json);
    return ExitCode::Yes;
}

} // namespace

void AddFilesDeleteCommand(CommandLine& line, CLI::App& group)
{
    auto options = std::make_shared<FilesOptions>();
    CLI::App& remove = AddFilesCommand(
        line, group, "delete", "Delete files without asking, even read-only ones, and list them",
        "qvutil files delete cache --name '*.tmp' --dry-run\n"
        "qvutil files delete cache --recursive   # also folders that are then empty",
        options, &Delete);
    AddExplanation(
        remove,
        "Deletes folders only with --recursive: those below FOLDER that are empty afterwards. FOLDER\n"
        "itself and other file systems below it are kept. Refuses the root folder and your home folder.");
    remove.add_flag("--dry-run", options->DryRun, "Delete nothing, but list what would be deleted");
}

} // namespace Quorvin::Tool
