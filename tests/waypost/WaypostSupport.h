// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef TESTS_WAYPOSTSUPPORT_H
#define TESTS_WAYPOSTSUPPORT_H

// Shared by the test programs of Waypost.

#include "FormDialog.h"
#include "MainWindow.h"
#include "Places.h"
#include "UserSettings.h"

#include <QAction>
#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QGuiApplication>
#include <QProcess>
#include <QProcessEnvironment>
#include <QPushButton>
#include <QTableWidget>
#include <QTemporaryDir>
#include <QTimer>
#include <QtTest>

#include <functional>

namespace WaypostSupport {

using namespace Qt::StringLiterals;

inline constexpr int kLongMs = 30000; // longer than anything takes, except a hang

inline const QString kData = QStringLiteral(WAYPOST_DATA); // clazy:exclude=non-pod-global-static

// A separate folder for the program's data, so that tests do not affect a user's Waypost.
class Home
{
public:
    Home() { qputenv("XDG_DATA_HOME", mFolder.path().toLocal8Bit()); }
    // Removes what killed processes have left behind: shared memory, semaphores, sockets and the lock file.
    ~Home()
    {
        const QString name = Places::ProcessName();
        QProcess cleaning;
        cleaning.setStandardOutputFile(QProcess::nullDevice());
        cleaning.setStandardErrorFile(QProcess::nullDevice());
        cleaning.start(QStringLiteral(QVUTIL_TOOL), {u"grid"_s, u"clean"_s, name});
        cleaning.waitForFinished(kLongMs);
        QFile::remove(QDir::tempPath() + u'/' + name); // the socket of the first instance
    }
    Q_DISABLE_COPY_MOVE(Home)
    [[nodiscard]] QString File(const QString& name) const { return mFolder.filePath(name); }
    // Copies a sample tour, which a test may then change. \return the path of the copy; empty after a failure
    [[nodiscard]] QString CopyTour(const QString& name) const
    {
        const QString copy = File(name + u".tour"_s);
        return QFile::copy(kData + u"/tours/"_s + name + u".tour"_s, copy) ? copy : QString();
    }
    [[nodiscard]] static QString SettingsFile() { return Places::UserFolder() + u"/settings.xml"_s; }

private:
    QTemporaryDir mFolder;
};

// Returns the files of a grid, and of servers whose names begin with the grid's name.
inline QStringList FindTraces(const QString& grid)
{
    const QString digest
        = QString::fromLatin1(QCryptographicHash::hash(grid.toUtf8(), QCryptographicHash::Sha1).toHex());
    return QDir::temp().entryList({grid + u'*', u'*' + digest + u'*'}, QDir::Files | QDir::System);
}

inline void WriteFile(const QString& name, const QByteArray& content)
{
    QFile file(name);
    QVERIFY(file.open(QIODevice::WriteOnly));
    QCOMPARE(file.write(content), content.size());
}

inline QByteArray ReadFile(const QString& name)
{
    QFile file(name);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

// A window that is visible and active, with the objects that it needs.
struct Shown
{
    explicit Shown(const QString& grid = {})
        : Store(Places::UserFolder())
        , Window(Store, kData, grid)
    {
        Window.show();
        IsActive = QTest::qWaitForWindowActive(&Window, kLongMs);
    }
    [[nodiscard]] QAction* Action(const QString& name) const
    {
        return Window.findChild<QAction*>(u"action"_s + name);
    }
    [[nodiscard]] QTableWidget* Points() const { return Window.findChild<QTableWidget*>(u"tablePoints"_s); }
    [[nodiscard]] QTableWidget* Tours() const { return Window.findChild<QTableWidget*>(u"tableTours"_s); }
    void ClickCell(QTableWidget* table, int row, int column) const
    {
        QTest::mouseClick(table->viewport(), Qt::LeftButton, {},
                          table->visualItemRect(table->item(row, column)).center());
    }
    // Closes the message that the window shows, and returns its text.
    [[nodiscard]] QString TakeNotice() const
    {
        auto* notice = Window.findChild<FormDialog*>(u"Notice"_s);
        if (notice == nullptr)
            return {};
        const QString text = notice->Message();
        QTest::mouseClick(notice->findChild<QPushButton*>(u"buttonOk"_s), Qt::LeftButton);
        return text;
    }

    UserSettings Store;
    MainWindow Window;
    bool IsActive = false;
};

// Calls a function with a dialog as soon as the window shows it.
template <typename Dialog>
void WithDialog(MainWindow& window, const QString& name, const std::function<void(Dialog& dialog)>& call)
{
    auto* timer = new QTimer(&window);
    QObject::connect(timer, &QTimer::timeout, &window, [&window, name, call, timer] {
        if (auto* dialog = window.findChild<Dialog*>(name)) {
            timer->stop();
            timer->deleteLater();
            call(*dialog);
        }
    });
    timer->start(10);
}

// Presses a button of a question as soon as the question appears.
inline void AnswerQuestion(MainWindow& window, const QString& button,
                           const QString& question = u"CloseTour"_s)
{
    WithDialog<FormDialog>(window, question, [button](FormDialog& dialog) {
        QTest::mouseClick(dialog.findChild<QPushButton*>(button), Qt::LeftButton);
    });
}

// A Waypost process, killed at the end.
class Program
{
public:
    explicit Program(const QStringList& arguments)
    {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(u"QT_QPA_PLATFORM"_s, QGuiApplication::platformName());
        mProcess.setProcessEnvironment(environment);
        mProcess.start(QStringLiteral(WAYPOST_PROGRAM), arguments);
    }
    ~Program() { Kill(); }
    Q_DISABLE_COPY_MOVE(Program)

    // Ends the process as a crash would.
    void Kill()
    {
        mProcess.kill();
        mProcess.waitForFinished(kLongMs);
    }
    [[nodiscard]] bool IsRunning() const { return mProcess.state() != QProcess::NotRunning; }
    [[nodiscard]] qint64 ProcessId() const { return mProcess.processId(); }
    // \return the exit code; -1 if the program does not end by itself
    [[nodiscard]] int Result()
    {
        if (IsRunning() && !mProcess.waitForFinished(kLongMs))
            return -1;
        return mProcess.exitStatus() == QProcess::NormalExit ? mProcess.exitCode() : -1;
    }
    [[nodiscard]] QString Output() { return QString::fromUtf8(mProcess.readAllStandardOutput()); }
    [[nodiscard]] QString Errors() { return QString::fromUtf8(mProcess.readAllStandardError()); }

private:
    QProcess mProcess;
};

// The helper process of the messaging tests, killed at the end unless it has ended before.
class Peer
{
public:
    // \param line  what it prints when it is ready
    Peer(const QStringList& arguments, const QByteArray& line)
    {
        mProcess.start(QStringLiteral(MESSAGE_PEER), arguments);
        QByteArray output;
        while (!output.contains(line) && mProcess.waitForReadyRead(kLongMs))
            output += mProcess.readAllStandardOutput();
        IsReady = output.contains(line);
    }
    ~Peer()
    {
        mProcess.kill();
        mProcess.waitForFinished(kLongMs);
    }
    Q_DISABLE_COPY_MOVE(Peer)

    [[nodiscard]] bool End()
    {
        mProcess.closeWriteChannel();
        return mProcess.waitForFinished(kLongMs);
    }
    [[nodiscard]] qint64 ProcessId() const { return mProcess.processId(); }

    bool IsReady = false;

private:
    QProcess mProcess;
};

} // namespace WaypostSupport

#endif // TESTS_WAYPOSTSUPPORT_H
