// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "cli/Session.h"

#include "cli/Console.h"
#include "cli/Failure.h"

#include <QLoggingCategory>
#include <QTimer>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <limits>
#include <utility>

#include <fcntl.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace Quorvin::Tool {
namespace {

// A signal handler can do little more than write to a pipe.
constinit int gSignalPipe[2] = {-1, -1};
// Null until the application is created.
constinit QtMessageHandler gPreviousHandler = nullptr;

void HandleSignal(int /*signal*/)
{
    const int error = errno;
    const char byte = 0;
    (void)!write(gSignalPipe[1], &byte, 1);
    errno = error;
}

// The library logs warnings in any thread, but only the main thread may use the console.
void HandleMessage(QtMsgType type, const QMessageLogContext& context, const QString& text)
{
    if (qstrcmp(context.category, "qvutil") != 0) {
        // While the application is created, newer versions of Qt warn about a locale that is not UTF-8, and
        // then use UTF-8 anyway. The tool's users do not need that message.
        if (gPreviousHandler)
            gPreviousHandler(type, context, text);
        return;
    }
    QMetaObject::invokeMethod(
        QCoreApplication::instance(), [text] { Console::ReportError({}, text); }, Qt::AutoConnection);
}

} // namespace

Session::Session(Interruption interruption)
    : mPreviousHandler(qInstallMessageHandler(&HandleMessage))
    , mApplication(mArgumentCount, mArguments)
{
    gPreviousHandler = mPreviousHandler;
    QLoggingCategory::setFilterRules(u"qvutil=true"_s);
    // Without SIGPIPE, writing to a closed socket or pipe, such as standard output, fails with an error.
    (void)std::signal(SIGPIPE, SIG_IGN);
    if (interruption == EndsOnSignals)
        CatchSignals();
}

Session::~Session()
{
    QCoreApplication::sendPostedEvents(); // print the warnings that are still queued
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    QLoggingCategory::setFilterRules({});
    qInstallMessageHandler(mPreviousHandler);
    gPreviousHandler = nullptr;
}

void Session::CatchSignals()
{
    if (pipe(gSignalPipe) != 0)
        throw Failure({}, qt_error_string(errno));
    for (const int end : gSignalPipe) {
        fcntl(end, F_SETFD, FD_CLOEXEC);
        fcntl(end, F_SETFL, O_NONBLOCK);
    }
    mSignals = std::make_unique<QSocketNotifier>(gSignalPipe[0], QSocketNotifier::Read);
    QObject::connect(mSignals.get(), &QSocketNotifier::activated, &mApplication, [this] {
        mSignals->setEnabled(false);
        mInterrupted = true;
        mLoop.quit();
    });
    struct sigaction action = {};
    action.sa_handler = &HandleSignal;
    action.sa_flags = static_cast<int>(SA_RESTART | SA_RESETHAND); // a second signal ends the process at once
    sigemptyset(&action.sa_mask);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        struct sigaction before = {};
        sigaction(signal, nullptr, &before);
        if (before.sa_handler != SIG_IGN) // ignored by nohup, for example
            sigaction(signal, &action, nullptr);
    }
}

bool Session::WaitFor(const std::function<bool()>& isDone, QDeadlineTimer deadline)
{
    QTimer timer;
    timer.setSingleShot(true);
    timer.setTimerType(Qt::PreciseTimer);
    QObject::connect(&timer, &QTimer::timeout, &mLoop, &QEventLoop::quit);
    while (!mInterrupted && !mException) {
        if (isDone())
            return true;
        if (deadline.hasExpired())
            return false;
        if (!deadline.isForever()) {
            // Rounded up, so that the deadline has expired when the timer fires.
            const qint64 left = (deadline.remainingTimeNSecs() + 999'999) / 1'000'000;
            timer.start(static_cast<int>(std::min<qint64>(left, std::numeric_limits<int>::max())));
        }
        mLoop.exec();
    }
    if (mException)
        std::rethrow_exception(std::exchange(mException, nullptr));
    return false;
}

void Session::Pause(QDeadlineTimer deadline)
{
    (void)WaitFor([] { return false; }, deadline);
}

void Session::RunUntilInterrupted()
{
    Pause(QDeadlineTimer::Forever);
}

void Session::Do(const std::function<void()>& action)
{
    if (mException)
        return;
    try {
        action();
    } catch (...) {
        mException = std::current_exception();
    }
    mLoop.quit();
}

} // namespace Quorvin::Tool
