// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "Menus.h"

#include <QActionGroup>
#include <QDir>
#include <QFileInfo>
#include <QLocale>
#include <QMenu>

using namespace Qt::StringLiterals;

namespace {

// A '&' marks a mnemonic in a menu, unless it is doubled.
QString Escape(QString text)
{
    return text.replace(u'&', u"&&"_s);
}

// A long name would make the menu as wide as the screen.
QString Shorten(const QMenu& menu, const QString& text)
{
    constexpr int kMaxCharacters = 60;
    const QFontMetrics metrics = menu.fontMetrics();
    return Escape(metrics.elidedText(text, Qt::ElideMiddle, kMaxCharacters * metrics.averageCharWidth()));
}

QString NameOfLanguage(const QString& code)
{
    return code == "en"_L1 ? u"English"_s
                           : QLocale(code).nativeLanguageName(); // "en" gives "American English"
}

} // namespace

namespace Menus {

// The connections are queued, because the functions that they call replace the entries.

void FillRecent(QMenu& menu, const QStringList& files, const std::function<void(const QString& file)>& open)
{
    menu.clear();
    menu.setToolTipsVisible(true);
    for (int i = 0; i < files.size(); ++i) {
        const QString& file = files[i];
        QAction* action
            = menu.addAction(u"&%1 %2"_s.arg(i + 1).arg(Shorten(menu, QFileInfo(file).fileName())));
        action->setToolTip(QDir::toNativeSeparators(file));
        QObject::connect(
            action, &QAction::triggered, &menu, [open, file] { open(file); }, Qt::QueuedConnection);
    }
}

void FillLanguages(QMenu& menu, const QString& system, const QString& current,
                   const std::function<void(const QString& code)>& choose)
{
    menu.clear();
    delete menu.findChild<QActionGroup*>();
    auto* group = new QActionGroup(&menu);
    const QStringList codes{QString(), u"en"_s, u"de"_s, u"ja"_s};
    for (const QString& code : codes) {
        QAction* action = menu.addAction(code.isEmpty() ? system : NameOfLanguage(code));
        action->setObjectName(u"actionLanguage"_s + code);
        action->setCheckable(true);
        action->setChecked(code == current);
        group->addAction(action);
        QObject::connect(
            action, &QAction::triggered, &menu, [choose, code] { choose(code); }, Qt::QueuedConnection);
    }
}

void FillWindows(QMenu& menu, const QList<WindowGrid::Window>& windows,
                 const std::function<void(qint64 processId)>& choose)
{
    menu.setToolTipsVisible(true);
    const QList<QAction*> actions = menu.actions();
    for (QAction* action : actions) {
        if (action->property("window").isValid())
            delete action;
    }
    for (const WindowGrid::Window& window : windows) {
        const qint64 processId = window.ProcessId;
        const QString title = window.Title.isEmpty() ? u"Waypost (%1)"_s.arg(processId) : window.Title;
        QAction* action = menu.addAction(Shorten(menu, title));
        action->setToolTip(title);
        action->setProperty("window", processId);
        QObject::connect(
            action, &QAction::triggered, &menu, [choose, processId] { choose(processId); },
            Qt::QueuedConnection);
    }
}

} // namespace Menus
