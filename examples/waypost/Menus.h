// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef WAYPOST_MENUS_H
#define WAYPOST_MENUS_H

#include "WindowGrid.h"

#include <QString>
#include <QStringList>

#include <functional>

class QMenu;

/// Fills the menus whose entries change while the program runs. Each call replaces the entries.
namespace Menus {

/// \param open  called with a file when the user has chosen it
void FillRecent(QMenu& menu, const QStringList& files, const std::function<void(const QString& file)>& open);

/// \param system   text of the entry for the system's language
/// \param current  code of the current language; empty for the system's
/// \param choose   called with a code when the user has chosen a language
void FillLanguages(QMenu& menu, const QString& system, const QString& current,
                   const std::function<void(const QString& code)>& choose);

/// Adds an entry for each window, after the fixed entries of the menu.
/// \param choose  called with a process id when the user has chosen a window
void FillWindows(QMenu& menu, const QList<WindowGrid::Window>& windows,
                 const std::function<void(qint64 processId)>& choose);

} // namespace Menus

#endif // WAYPOST_MENUS_H
