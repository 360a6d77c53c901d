// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_TOOL_SESSION_H
#define QVUTIL_TOOL_SESSION_H

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QEventLoop>
#include <QSocketNotifier>

#include <exception>
#include <functional>
#include <memory>

namespace Quorvin::Tool {

/// The environment of a command that communicates with other processes: an event loop, an orderly end on
/// interruption, and the library's warnings on standard error.
///
/// \par Threads
/// The main thread; one object at a time.
class Session
{
public:
    enum Interruption {
        DiesOfSignals, ///< SIGINT, SIGTERM and SIGHUP end the process at once
        EndsOnSignals, ///< these signals end WaitFor, so that the command can clean up
    };

    explicit Session(Interruption interruption);
    ~Session();
    Q_DISABLE_COPY_MOVE(Session)

    /// Runs the event loop until a condition holds, which is checked after each call of Do. Rethrows
    /// exceptions of actions passed to Do.
    /// \return false after the deadline, or if a signal arrived
    bool WaitFor(const std::function<bool()>& isDone, QDeadlineTimer deadline = QDeadlineTimer::Forever);
    /// Runs the event loop until the deadline, or until a signal arrives. Throws as WaitFor does.
    void Pause(QDeadlineTimer deadline);
    /// Runs the event loop until a signal arrives. Throws as WaitFor does.
    void RunUntilInterrupted();
    /// Runs an action inside a slot, and keeps its exceptions out of the event loop.
    void Do(const std::function<void()>& action);
    /// Returns whether a signal has interrupted the command.
    [[nodiscard]] bool IsInterrupted() const { return mInterrupted; }

private:
    void CatchSignals();

    QtMessageHandler mPreviousHandler; // declared before mApplication, which already logs messages
    int mArgumentCount = 1;
    char mName[7] = "qvutil";
    char* mArguments[2] = {mName, nullptr};
    QCoreApplication mApplication;
    QEventLoop mLoop;
    std::unique_ptr<QSocketNotifier> mSignals;
    std::exception_ptr mException;
    bool mInterrupted = false;
};

} // namespace Quorvin::Tool

#endif // QVUTIL_TOOL_SESSION_H
