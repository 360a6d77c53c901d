// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

// Tests the parts of the example application that need a window manager. OnDesktop.sh starts one.

#include "Places.h"
#include "SingleInstance.h"
#include "WaypostSupport.h"
#include "WindowGrid.h"
#include "support/TestSupport.h"

#include <QLockFile>
#include <QSignalSpy>

#include <memory>
#include <optional>

using namespace WaypostSupport;

namespace {

// A window in this process, to which later instances hand their files, as in main().
struct FirstInstance : Shown
{
    FirstInstance()
        : Lock(Places::UserFolder() + u"/instance.lock"_s)
    {
        Outcome = SingleInstance::Claim(Lock, Places::ProcessName(), {});
        Instance.emplace(Places::ProcessName());
        QObject::connect(&*Instance, &SingleInstance::FilesReceived, &Window,
                         [this](const QStringList& files) {
                             Window.OpenFiles(files);
                             Window.ComeForward();
                         });
    }

    QLockFile Lock;
    SingleInstance::Outcome Outcome = SingleInstance::Outcome::NoAnswer;
    std::optional<SingleInstance> Instance;
};

} // namespace

class tst_WaypostDesktop : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();

    void Window_comesBackInItsPlace();
    void Window_comesBackMaximized();
    void Dialog_takesTheFocus();
    void HandOver_comesToTheFront_data();
    void HandOver_comesToTheFront();
    void Grid_raisesAWindow();

private:
    std::unique_ptr<Home> mHome;
};

// Waits until the window manager is ready: it then puts a frame around a window.
void tst_WaypostDesktop::initTestCase()
{
    QWidget window;
    window.show();
    EVENTUALLY(window.frameGeometry() != window.geometry());
}

void tst_WaypostDesktop::init()
{
    qputenv("LC_ALL", "en_GB.UTF-8");
    mHome = std::make_unique<Home>();
}

void tst_WaypostDesktop::cleanup()
{
    const QString grid = Places::ProcessName();
    mHome.reset();
    QCOMPARE(FindTraces(grid), QStringList());
}

void tst_WaypostDesktop::Window_comesBackInItsPlace()
{
    const QRect place(160, 150, 720, 500);
    {
        Shown shown;
        QVERIFY(shown.IsActive);
        shown.Window.setGeometry(place);
        EVENTUALLY_EQUAL(shown.Window.geometry(), place);
        QVERIFY(shown.Window.close());
    }
    for (int start = 0; start < 2; ++start) { // twice: the frame must not move the window a little each time
        UserSettings settings(Places::UserFolder());
        MainWindow window(settings, kData, {});
        window.RestorePlace();
        window.show();
        QVERIFY(QTest::qWaitForWindowActive(&window, kLongMs));
        EVENTUALLY_EQUAL(window.geometry(), place);
        QVERIFY(window.close());
    }
}

void tst_WaypostDesktop::Window_comesBackMaximized()
{
    const QRect place(160, 150, 720, 500);
    {
        Shown shown;
        QVERIFY(shown.IsActive);
        shown.Window.setGeometry(place);
        EVENTUALLY_EQUAL(shown.Window.geometry(), place);
        shown.Window.showMaximized();
        EVENTUALLY(shown.Window.width() > 1000);
        QVERIFY(shown.Window.close());
    }
    UserSettings settings(Places::UserFolder());
    MainWindow window(settings, kData, {});
    window.RestorePlace();
    window.show();
    EVENTUALLY(window.isMaximized() && window.width() > 1000);
    window.showNormal();
    EVENTUALLY_EQUAL(window.size(), place.size());
}

void tst_WaypostDesktop::Dialog_takesTheFocus()
{
    Shown shown;
    QVERIFY(shown.IsActive);
    FormDialog* dialog = shown.Window.ShowPreferences();
    QVERIFY(QTest::qWaitForWindowActive(dialog, kLongMs));
    QTest::keyClick(dialog, Qt::Key_Escape);
    QVERIFY(QTest::qWaitForWindowActive(&shown.Window, kLongMs));
}

void tst_WaypostDesktop::HandOver_comesToTheFront_data()
{
    QTest::addColumn<Qt::WindowStates>("state");
    QTest::addColumn<Qt::WindowStates>("expected");

    const Qt::WindowStates normal = Qt::WindowNoState;
    const Qt::WindowStates maximized = Qt::WindowMaximized;
    QTest::newRow("normal") << normal << normal;
    QTest::newRow("minimized") << Qt::WindowStates(Qt::WindowMinimized) << normal;
    QTest::newRow("maximized") << maximized << maximized;
    QTest::newRow("maximized, then minimized") << (maximized | Qt::WindowMinimized) << maximized;
}

void tst_WaypostDesktop::HandOver_comesToTheFront()
{
    QFETCH(const Qt::WindowStates, state);
    QFETCH(const Qt::WindowStates, expected);

    const QString file = mHome->CopyTour(u"lake-circuit"_s);
    FirstInstance first;
    MainWindow& window = first.Window;
    QVERIFY(first.IsActive);
    QVERIFY(first.Outcome == SingleInstance::Outcome::First);
    if (state.testFlag(Qt::WindowMaximized)) {
        window.setWindowState(Qt::WindowMaximized);
        EVENTUALLY(window.width() > 1000);
    }
    window.setWindowState(state);
    EVENTUALLY(window.windowState() == state);
    const Program other({u"--new-window"_s}); // a window of another process, which gets the focus
    EVENTUALLY(!window.isActiveWindow());
    EVENTUALLY(QGuiApplication::focusWindow() == nullptr);

    Program second({file});
    EVENTUALLY(!second.IsRunning()); // this process answers meanwhile
    QCOMPARE(second.Result(), 0);
    EVENTUALLY(window.isActiveWindow());
    QCOMPARE(window.windowState() & ~Qt::WindowActive, expected);
    QCOMPARE(window.Tours().Count(), 1);
    QVERIFY(other.IsRunning());
}

void tst_WaypostDesktop::Grid_raisesAWindow()
{
    const Shown shown(Places::ProcessName());
    QVERIFY(shown.IsActive);
    WindowGrid* grid = shown.Window.Grid();
    const Program other({u"--new-window"_s});
    EVENTUALLY_EQUAL(grid->Others().size(), 1);
    EVENTUALLY(!shown.Window.isActiveWindow());
    Q_EMIT grid->RaiseWanted();
    EVENTUALLY(shown.Window.isActiveWindow());
    grid->Raise(other.ProcessId()); // raises the window of the other process
    EVENTUALLY(!shown.Window.isActiveWindow());
}

QTEST_MAIN(tst_WaypostDesktop)
#include "tst_WaypostDesktop.moc"
