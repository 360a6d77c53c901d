// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "FormDialog.h"
#include "MainWindow.h"
#include "Places.h"
#include "SingleInstance.h"
#include "UserSettings.h"
#include "WindowGrid.h"

#include <QApplication>
#include <QCommandLineParser>
#include <QFileInfo>
#include <QLockFile>
#include <QMenu>
#include <QMenuBar>
#include <QPainter>
#include <QTextStream>
#include <QTimer>

#include <chrono>
#include <functional>
#include <optional>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

struct Options
{
    QStringList Files;
    bool NewWindow = false;
    std::optional<QString> LanguageCode;
    QString Screenshot;
    QString Picture;
};

[[noreturn]] void Refuse(QCommandLineParser& parser, const QString& option, const QString& value)
{
    QTextStream(stderr) << "waypost: unknown " << option << ": " << value << '\n';
    parser.showHelp(2);
}

// Ends the program after --help, --version and errors. Without a QApplication, returns nothing for an unknown
// option, because QApplication may know it (for example -platform).
std::optional<Options> ParseCommandLine()
{
    QCommandLineParser parser;
    parser.setApplicationDescription(u"A diary of hiking tours."_s);
    parser.addHelpOption();
    parser.addVersionOption();
    parser.addOption({u"new-window"_s, u"open another window, in a separate process"_s});
    parser.addOption({u"language"_s, u"use this language: en, de or ja"_s, u"code"_s});
    parser.addOption({u"screenshot"_s, u"write a picture to FILE (PNG) and exit"_s, u"FILE"_s});
    parser.addOption(
        {u"picture"_s,
         u"the content of the picture: window (default), preferences or window-menu, which waits "
         "for another window"_s,
         u"name"_s, u"window"_s});
    parser.addPositionalArgument(u"files"_s, u"tours to open"_s, u"[files...]"_s);
    if (qobject_cast<QApplication*>(QCoreApplication::instance()) == nullptr
        && !parser.parse(QCoreApplication::arguments()))
        return std::nullopt;
    parser.process(QCoreApplication::arguments());

    Options options;
    const QStringList files = parser.positionalArguments();
    for (const QString& file : files)
        options.Files.append(QFileInfo(file).absoluteFilePath());
    options.NewWindow = parser.isSet(u"new-window"_s);
    if (parser.isSet(u"language"_s))
        options.LanguageCode = parser.value(u"language"_s);
    options.Screenshot = parser.value(u"screenshot"_s);
    options.Picture = parser.value(u"picture"_s);
    const QStringList pictures{u"window"_s, u"preferences"_s, u"window-menu"_s};
    if (!pictures.contains(options.Picture))
        Refuse(parser, u"picture"_s, options.Picture);
    const QStringList languages{u"en"_s, u"de"_s, u"ja"_s};
    if (options.LanguageCode && !languages.contains(*options.LanguageCode))
        Refuse(parser, u"language"_s, *options.LanguageCode);
    return options;
}

bool Write(const QPixmap& picture, const QString& file)
{
    if (picture.save(file, "PNG"))
        return true;
    QTextStream(stderr) << "waypost: cannot write " << file << '\n';
    return false;
}

// Draws the window with an open menu. The menu is a separate window, which QWidget::grab omits.
QPixmap WithMenu(MainWindow& window, const QString& name)
{
    auto* menu = window.findChild<QMenu*>(name);
    QPixmap picture = window.grab();
    menu->popup(window.mapToGlobal(QPoint(0, 0)));
    const QPoint place = window.menuWidget()->mapTo(&window, QPoint(0, 0));
    const QRect title = qobject_cast<QMenuBar*>(window.menuWidget())->actionGeometry(menu->menuAction());
    QPainter painter(&picture);
    painter.drawPixmap(place + title.bottomLeft(), menu->grab());
    menu->hide();
    return picture;
}

// Takes the picture as soon as its content is ready, and ends the program.
void TakePicture(MainWindow& window, const Options& options)
{
    const auto finish = [options](const QPixmap& picture) {
        QCoreApplication::exit(Write(picture, options.Screenshot) ? 0 : 1);
    };
    if (options.Picture == "preferences"_L1) {
        FormDialog* dialog = window.ShowPreferences();
        QTimer::singleShot(0, dialog, [finish, dialog] { finish(dialog->grab()); });
    } else if (options.Picture == "window-menu"_L1) {
        const auto look = [&window, finish] {
            const auto others = window.Grid()->Others();
            if (!others.isEmpty() && !others.first().Title.isEmpty())
                finish(WithMenu(window, u"menuWindow"_s));
        };
        QObject::connect(window.Grid(), &WindowGrid::OthersChanged, &window, look, Qt::QueuedConnection);
        QTimer::singleShot(30s, &window, [] {
            QTextStream(stderr) << "waypost: found no other window within 30 seconds\n";
            QCoreApplication::exit(1);
        });
        look();
    } else {
        QTimer::singleShot(0, &window, [finish, &window] { finish(window.grab()); });
    }
}

int Run(QApplication& application, const Options& options, bool isFirst)
{
    const bool isPicture = !options.Screenshot.isEmpty();
    // Start the server before creating the window, because later instances wait for it. The window opens
    // their files when it is ready.
    std::optional<SingleInstance> instance;
    QStringList files = options.Files;
    if (isFirst) {
        instance.emplace(Places::ProcessName());
        QObject::connect(&*instance, &SingleInstance::FilesReceived, &*instance,
                         [&files](const QStringList& received) { files += received; });
    }
    UserSettings settings(Places::UserFolder());
    MainWindow window(settings, Places::DataFolder(),
                      isPicture && options.Picture != "window-menu"_L1 ? QString() : Places::ProcessName());
    if (!window.IsComplete()) {
        QTextStream(stderr) << "waypost: MainWindow.xml or Preferences.xml is missing or damaged in "
                            << Places::DataFolder() << '\n';
        return 1;
    }
    if (options.LanguageCode)
        window.SelectLanguageOnce(*options.LanguageCode);

    if (instance) {
        instance->disconnect();
        QObject::connect(&*instance, &SingleInstance::FilesReceived, &window,
                         [&window](const QStringList& received) {
                             window.OpenFiles(received);
                             window.ComeForward();
                         });
    }
    if (!isPicture)
        window.RestorePlace();
    window.show();
    if (!options.NewWindow && !isPicture && options.Files.isEmpty())
        window.OpenLastFiles();
    window.OpenFiles(files);
    if (isPicture)
        TakePicture(window, options);
    else
        window.ReportSettings();
    return application.exec();
}

// Returns the exit code if another instance has received the files or does not answer; nothing if this
// process must open a window.
//! [claim]
std::optional<int> ClaimInstance(const Options& options, QLockFile& lock)
{
    if (options.NewWindow || !options.Screenshot.isEmpty() || lock.isLocked())
        return std::nullopt;
    switch (SingleInstance::Claim(lock, Places::ProcessName(), options.Files)) {
    case SingleInstance::Outcome::First:
        return std::nullopt;
    case SingleInstance::Outcome::HandedOver:
        return 0;
    case SingleInstance::Outcome::NoAnswer:
        break;
    }
    QTextStream(stderr) << "waypost: another instance is running, but does not answer\n";
    return 1;
}
//! [claim]

} // namespace

//! [main]
int main(int argc, char* argv[])
{
    QCoreApplication::setApplicationName(u"Waypost"_s);
    QCoreApplication::setApplicationVersion(u"1.0"_s);
    QLockFile lock(Places::UserFolder() + u"/instance.lock"_s);
    {
        // No window is needed to hand over files, and a QCoreApplication starts faster than a QApplication.
        int count = argc;
        const QCoreApplication early(count, argv);
        const std::optional<Options> options = ParseCommandLine();
        const std::optional<int> result = options ? ClaimInstance(*options, lock) : std::nullopt;
        if (result)
            return *result;
    }
    QApplication application(argc, argv);
    const std::optional<Options> options = ParseCommandLine();
    const std::optional<int> result = ClaimInstance(*options, lock);
    return result ? *result : Run(application, *options, lock.isLocked());
}
//! [main]
