// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_RUNNINGTOOL_H
#define QVUTIL_RUNNINGTOOL_H

#include "support/ToolRunner.h"

#include <QtTest>

#include <csignal>
#include <memory>
#include <utility>

#include <sys/wait.h>

namespace TestSupport {

/// A run of the tool in the background, killed when the object is destroyed. Waiting runs the event loop, so
/// that the test's own sockets are served.
class RunningTool
{
public:
    RunningTool(const ToolRunner& tool, const QStringList& arguments)
    {
        tool.Start(mProcess, arguments);
        mProcess.waitForStarted(ToolRunner::kTimeoutMs);
    }
    /// Runs a shell command line in the background, with the tool as $TOOL.
    RunningTool(const ToolRunner& tool, const QString& shellLine)
    {
        tool.StartShell(mProcess, shellLine);
        mProcess.waitForStarted(ToolRunner::kTimeoutMs);
    }
    ~RunningTool()
    {
        if (mProcess.state() != QProcess::NotRunning) {
            mProcess.kill();
            mProcess.waitForFinished(ToolRunner::kTimeoutMs);
        }
    }
    Q_DISABLE_COPY_MOVE(RunningTool)

    /// Waits for a text on standard output or standard error.
    /// \return false if it does not appear within a minute, or if the tool ends first
    [[nodiscard]] bool WaitForOutput(const QByteArray& text) { return WaitFor(mOutput, text, 1); }
    [[nodiscard]] bool WaitForError(const QByteArray& text, int count = 1)
    {
        return WaitFor(mErrorText, text, count);
    }

    /// Waits for the tool to end. \return all of its output; the exit code is -1 if it does not end
    [[nodiscard]] ToolResult WaitForEnd()
    {
        const bool hasEnded = QTest::qWaitFor([this] { return mProcess.state() == QProcess::NotRunning; },
                                              ToolRunner::kTimeoutMs);
        Read();
        const bool isNormal = hasEnded && mProcess.exitStatus() == QProcess::NormalExit;
        return {.ExitCode = isNormal ? mProcess.exitCode() : -1, .Output = mOutput, .Errors = mErrorText};
    }
    /// Sends a signal and waits for the tool to end.
    [[nodiscard]] ToolResult End(int signal = SIGTERM)
    {
        Signal(signal);
        return WaitForEnd();
    }
    void Signal(int signal) const { ::kill(static_cast<pid_t>(mProcess.processId()), signal); }
    /// Stops the process and waits until it has stopped. SIGCONT resumes it. \return false if it has ended
    [[nodiscard]] bool Freeze() const
    {
        siginfo_t info = {};
        Signal(SIGSTOP);
        return ::waitid(P_PID, static_cast<id_t>(mProcess.processId()), &info, WSTOPPED | WNOWAIT) == 0;
    }

    [[nodiscard]] bool IsRunning() const { return mProcess.state() == QProcess::Running; }
    [[nodiscard]] qint64 Id() const { return mProcess.processId(); }
    /// Returns the output so far.
    [[nodiscard]] const QByteArray& Output() const { return mOutput; }

private:
    void Read()
    {
        mOutput += mProcess.readAllStandardOutput();
        mErrorText += mProcess.readAllStandardError();
    }

    [[nodiscard]] bool WaitFor(const QByteArray& bytes, const QByteArray& text, int count)
    {
        const bool isThere = QTest::qWaitFor(
            [&] {
                const bool hasEnded = mProcess.state() == QProcess::NotRunning;
                Read();
                return bytes.count(text) >= count || hasEnded;
            },
            ToolRunner::kTimeoutMs);
        return isThere && bytes.count(text) >= count;
    }

    QProcess mProcess;
    QByteArray mOutput;
    QByteArray mErrorText;
};

/// Returns the arguments of a command that talks to a server: call, send, doctor or bench. Unless they
/// contain a time-out, adds one longer than any test, so that a busy machine makes no difference.
[[nodiscard]] inline QStringList IpcArguments(const QStringList& arguments)
{
    QStringList all = QStringList{QStringLiteral("ipc")} + arguments;
    const bool isTimed = QStringList{QStringLiteral("call"), QStringLiteral("send"), QStringLiteral("doctor"),
                                     QStringLiteral("bench")}
                             .contains(all.value(1));
    const QString option = QStringLiteral("--timeout");
    if (isTimed && !all.contains(option)) {
        all.insert(2, option); // before message parameters, which may look like options
        all.insert(3, QString::number(10 * ToolRunner::kTimeoutMs));
    }
    return all;
}

/// Runs a command of the group ipc while the event loop runs.
[[nodiscard]] inline ToolResult RunIpc(const ToolRunner& tool, const QStringList& arguments)
{
    return RunningTool(tool, IpcArguments(arguments)).WaitForEnd();
}

/// Starts a message server and waits until it listens. \return null if it does not
[[nodiscard]] inline std::unique_ptr<RunningTool> StartListener(const ToolRunner& tool, const QString& name,
                                                                const QStringList& options = {})
{
    auto listener = std::make_unique<RunningTool>(
        tool, QStringList{QStringLiteral("ipc"), QStringLiteral("listen"), name} + options);
    return listener->WaitForError("qvutil: listening at ") ? std::move(listener) : nullptr;
}

} // namespace TestSupport

#endif // QVUTIL_RUNNINGTOOL_H
