// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef WAYPOST_USERSETTINGS_H
#define WAYPOST_USERSETTINGS_H

#include "Units.h"

#include <qvutil/Settings.h>

#include <QByteArray>
#include <QColor>
#include <QRect>
#include <QStringList>

#include <functional>

/// The preferences, with their defaults.
struct Preferences
{
    QString LanguageCode; // empty: the language of the system
    Units Unit = Units::Metric;
    bool OpenLast = true;
    bool Grid = true;
    bool Names = true;
    bool Profile = true;
    QColor TrackColour = QColor(0xd8, 0x1b, 0x60);
    int TrackWidth = 3;
    bool Smooth = true;

    bool operator==(const Preferences&) const = default;
};

/// The geometry of the window.
struct WindowPlace
{
    QRect Place; // null if none was saved yet
    bool Maximized = false;
    QByteArray Splitters;
};

/// The settings of Waypost, in one file that all processes of the user share.
///
/// Every change reads the file again under a lock, so that no process overwrites the changes of another.
class UserSettings
{
public:
    /// \param folder  an existing folder for settings.xml
    explicit UserSettings(const QString& folder);

    /// The state in which the constructor found the file. Report SetAside and Unreadable to the user.
    [[nodiscard]] Quorvin::Util::Settings::FileState State() const { return mState; }
    /// The name of the copy of a damaged file; empty if the file was not damaged.
    [[nodiscard]] QString SetAsideFile() const { return mSetAsideFile; }
    /// The reason why the file could not be read.
    [[nodiscard]] Quorvin::Util::XmlLoadError Error() const { return mError; }

    [[nodiscard]] Preferences ReadPreferences();
    void Write(const Preferences& preferences);

    [[nodiscard]] WindowPlace ReadWindowPlace();
    void Write(const WindowPlace& place);

    /// The files that were opened or saved last, the latest first.
    [[nodiscard]] QStringList RecentFiles();
    void AddRecentFile(const QString& file);
    /// The tours that were open when the last window was closed.
    [[nodiscard]] QStringList LastFiles();
    void WriteLastFiles(const QStringList& files);

private:
    void Change(const std::function<void(Quorvin::Util::Settings&)>& change);
    [[nodiscard]] QStringList ReadList(const QString& name);

    QString mFile;
    Quorvin::Util::Settings mStore;
    Quorvin::Util::Settings::FileState mState;
    QString mSetAsideFile;
    Quorvin::Util::XmlLoadError mError;
};

#endif // WAYPOST_USERSETTINGS_H
