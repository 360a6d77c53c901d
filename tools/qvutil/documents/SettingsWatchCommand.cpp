// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "documents/SettingsCommands.h"

#include "cli/Command.h"
#include "cli/Console.h"
#include "cli/Difference.h"
#include "cli/JsonStyle.h"
#include "cli/Session.h"
#include "documents/DocumentEntries.h"
#include "documents/DocumentFile.h"
#include "documents/ElementPath.h"

#include <QDateTime>
#include <QDir>
#include <QFileInfo>
#include <QFileSystemWatcher>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTimer>

#include <memory>
#include <optional>

using namespace Qt::StringLiterals;
using Quorvin::Util::XmlFiler;

namespace Quorvin::Tool {
namespace {

// Programs that write a file in place are given this time to finish before the file counts as malformed.
constexpr int kSettlingMs = 250;

struct WatchOptions
{
    QString File;
    QString Path;
    int Count = 0;
    bool Json = false;
};

/// Watches a settings file and prints its changes.
class SettingsFollower
{
public:
    SettingsFollower(Session& session, const WatchOptions& options)
        : mSession(session)
        , mOptions(options)
        , mPath(options.Path)
    {
        const QFileInfo info(options.File);
        if (options.File.isEmpty() || options.File == "-"_L1)
            throw UsageFailure(u"standard input cannot be watched; FILE must be a file"_s);
        if (!info.dir().exists())
            throw Failure(options.File, u"there is no folder %1"_s.arg(info.path()));
        if (info.isDir())
            throw Failure(options.File, u"is a folder"_s);
        mSettling.setSingleShot(true);
        mSettling.setInterval(kSettlingMs);
        const auto update = [this] { mSession.Do([this] { Update(false); }); };
        QObject::connect(&mWatcher, &QFileSystemWatcher::fileChanged, &mSettling, update);
        QObject::connect(&mWatcher, &QFileSystemWatcher::directoryChanged, &mSettling, update);
        QObject::connect(&mSettling, &QTimer::timeout, &mSettling,
                         [this] { mSession.Do([this] { Update(true); }); });
        Update(true);
        mIsFirst = false;
        Console::ReportError({}, u"watching %1"_s.arg(Subject()));
    }

    // Returns the name of the watched file or element, for messages.
    [[nodiscard]] QString Subject() const
    {
        return mOptions.Path.isEmpty() ? mOptions.File : u"%1 in %2"_s.arg(mOptions.Path, mOptions.File);
    }
    [[nodiscard]] bool IsDone() const { return mOptions.Count > 0 && mReported >= mOptions.Count; }

private:
    // The watcher stops watching a file that is replaced, so watch the folder too to notice the new file. For
    // a link, watch the folder of its target.
    void Arm()
    {
        const QFileInfo info(mOptions.File);
        QStringList paths{info.absoluteFilePath(), info.absolutePath()};
        if (const QString target = info.canonicalFilePath(); !target.isEmpty() && target != paths.front())
            paths += {target, QFileInfo(target).absolutePath()};
        const QStringList watched = mWatcher.files() + mWatcher.directories();
        for (const QString& path : std::as_const(paths)) {
            if (!watched.contains(path) && QFileInfo::exists(path))
                mWatcher.addPath(path);
        }
    }

    void Update(bool hasSettled)
    {
        Arm(); // before reading, so that no change is missed
        try {
            const std::optional<QByteArray> content = ReadIfExists(mOptions.File);
            if (content == mContent && !mIsFirst)
                return;
            if (content) {
                Load(content, hasSettled);
            } else {
                mContent = content;
                Console::ReportError(mOptions.File, mIsFirst ? u"does not exist yet"_s : u"was removed"_s);
            }
        } catch (const Failure& failure) { // the next change may make the file readable
            if (hasSettled)
                Console::ReportError(failure.Subject, failure.Reason);
            else
                mSettling.start();
        }
        Console::Flush();
    }

    void Load(const std::optional<QByteArray>& content, bool hasSettled)
    {
        XmlFiler filer;
        filer.TranslateEnabled = false;
        if (hasSettled)
            mContent = content; // set it first, so that a failed load is reported only once
        const InputFile file(mOptions.File);
        // The library logs failed loads, and the session prints its log.
        RequireLoadable(file.Name(), file.ReadAll());
        LoadDocument(filer, file);
        mContent = content;
        const bool isThere = mPath.MoveTo(filer);
        if (!isThere && mIsFirst)
            Console::ReportError(file.Name(), mPath.WhyMissing(filer));
        const QList<Entry> entries
            = isThere ? ListEntries(filer.GetCurrentNode().toElement()) : QList<Entry>();
        const QList<Entry> before = mEntries;
        mEntries = entries;
        if (mIsFirst)
            return;
        const QList<EntryDifference> differences = CompareEntries(before, entries);
        for (const EntryDifference& difference : differences)
            Report(difference);
    }

    void Report(const EntryDifference& difference)
    {
        if (IsDone())
            return;
        ++mReported;
        const QDateTime now = QDateTime::currentDateTime();
        if (mOptions.Json) {
            QJsonObject object = difference.ToJson();
            object.insert(u"time"_s, now.toUTC().toString(Qt::ISODateWithMs));
            Console::Print(ToText(QJsonDocument(object), StreamFormat()));
            return;
        }
        const QStringList lines = difference.ToLines();
        for (const QString& line : lines)
            Console::PrintLine(now.toString(u"HH:mm:ss.zzz"_s) + u"  "_s + line);
    }

    Session& mSession;
    const WatchOptions& mOptions;
    const ElementPath mPath;
    QFileSystemWatcher mWatcher;
    QTimer mSettling;
    std::optional<QByteArray> mContent;
    QList<Entry> mEntries;
    int mReported = 0;
    bool mIsFirst = true;
};

ExitCode Watch(const WatchOptions& options)
{
    Session session(Session::EndsOnSignals);
    SettingsFollower follower(session, options);
    session.WaitFor([&follower] { return follower.IsDone(); });
    return ExitCode::Yes;
}

} // namespace

void AddSettingsWatchCommand(CommandLine& line, CLI::App& group)
{
    auto options = std::make_shared<WatchOptions>();
    CLI::App& watch
        = line.AddCommand(group, "watch", "Print the changes of a settings file, until interrupted",
                          "qvutil settings watch app.xml\n"
                          "qvutil settings watch app.xml Panel/Main\n"
                          "qvutil settings watch app.xml --json | jq --unbuffered -r .path",
                          [options] { return Watch(*options); });
    AddExplanation(watch,
                   "Prints the values that change, as settings diff does. The file may be replaced, written\n"
                   "in place, removed or created later. The same applies to the element at\n"
                   "PATH.");
    AddText(watch, "FILE", options->File, "Settings file to watch")->required();
    AddText(watch, "PATH", options->Path,
            "Path of the element: names below the root, joined by '/'; Item[2] is the second Item; default: "
            "the root");
    AddNumber(watch, "--count", options->Count, {.Min = 1, .Max = 1000000000},
              "Stop after this number of changes")
        ->type_name("N");
    AddJsonFlag(watch, options->Json);
}

} // namespace Quorvin::Tool
