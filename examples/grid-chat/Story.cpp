// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "Story.h"

#include <QCoreApplication>
#include <QProcess>
#include <QRandomGenerator>

#include <cstdio>
#include <initializer_list>

using namespace Qt::StringLiterals;

namespace {

constexpr int kTimeoutMs = 60000;

void Print(const QString& line)
{
    std::puts(qPrintable(line));
    std::fflush(stdout);
}

/// A member in a separate process, which receives one command per line.
class Actor
{
public:
    Actor(const QString& grid, const QString& name)
        : mName(name)
    {
        mProcess.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        mProcess.start(QCoreApplication::applicationFilePath(), {grid, name});
        PrintAnswer();
    }
    ~Actor()
    {
        mProcess.closeWriteChannel();
        mProcess.waitForFinished(kTimeoutMs);
    }
    Q_DISABLE_COPY_MOVE(Actor)

    [[nodiscard]] QString NameAndId() const
    {
        return u"%1 is process %2"_s.arg(mName).arg(mProcess.processId());
    }
    void Do(const QByteArray& command)
    {
        mProcess.write(command + '\n');
        PrintAnswer();
    }
    void Kill()
    {
        Print(u"%1 is killed"_s.arg(mName));
        mProcess.kill();
        mProcess.waitForFinished(kTimeoutMs);
    }

private:
    // Prints the member's output up to the line "done", which ends the answer to a command.
    void PrintAnswer()
    {
        for (;;) {
            while (!mProcess.canReadLine() && mProcess.waitForReadyRead(kTimeoutMs)) { }
            const QString line = QString::fromUtf8(mProcess.readLine()).chopped(1);
            if (line.isNull() || line == u"done")
                return;
            Print(line);
        }
    }

    QString mName;
    QProcess mProcess;
};

// Runs a command of the tool. Writes its output to a file if one is given, otherwise to the terminal.
void RunTool(const QString& tool, const QStringList& arguments, const QString& file = {})
{
    if (tool.isEmpty())
        return;
    Print(u"$ qvutil %1%2"_s.arg(arguments.join(u' '), file.isEmpty() ? QString() : u" > "_s + file));
    QProcess process;
    process.setProcessChannelMode(file.isEmpty() ? QProcess::ForwardedChannels
                                                 : QProcess::ForwardedErrorChannel);
    if (!file.isEmpty())
        process.setStandardOutputFile(file);
    process.start(tool, arguments);
    process.waitForFinished(kTimeoutMs);
}

void ShowGrid(const QString& tool, const QString& grid, std::initializer_list<const Actor*> actors)
{
    if (tool.isEmpty())
        return;
    for (const Actor* actor : actors)
        Print(actor->NameAndId());
    RunTool(tool, {u"grid"_s, u"list"_s, grid});
}

} // namespace

int PlayStory(const QString& tool)
{
    const QString grid = u"chat-%1"_s.arg(QRandomGenerator::system()->generate());
    Actor anna(grid, u"anna"_s);
    Actor ben(grid, u"ben"_s);
    ben.Do("ask");
    anna.Do("turn");
    anna.Do("ask");
    Actor cleo(grid, u"cleo"_s);
    cleo.Do("ask");
    ShowGrid(tool, grid, {&anna, &ben, &cleo});
    RunTool(tool, {u"grid"_s, u"show"_s, grid, u"--svg"_s}, u"grid.svg"_s);
    RunTool(tool, {u"grid"_s, u"watch"_s, grid, u"--count"_s, u"1"_s});
    ben.Kill();
    cleo.Do("members");
    ShowGrid(tool, grid, {});
    // A joining process prunes the entries of dead members.
    Actor newBen(grid, u"ben"_s);
    ShowGrid(tool, grid, {&newBen});
    // The socket file of the killed member remains. No other process uses it.
    RunTool(tool, {u"grid"_s, u"clean"_s, grid});
    return 0;
}
