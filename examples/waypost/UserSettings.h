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

/// The result of an access to the settings file.
struct SettingsReport
{
    Quorvin::Util::Settings::FileState State = Quorvin::Util::Settings::FileState::New;
    bool IsSaved = true; // false if a change could not be saved
    QString File; // the copy of a damaged file; otherwise the settings file
    Quorvin::Util::XmlLoadError Error; // why the file was damaged or unreadable
};

/// The settings of Waypost, in one file that all processes of the user share.
///
/// Every change reads the file again under a lock, so that no process overwrites the changes of another.
class UserSettings
{
public:
    /// \param folder  an existing folder for settings.xml
    explicit UserSettings(const QString& folder);

    /// Returns the state in which the constructor found the file.
    [[nodiscard]] const SettingsReport& AtStart() const { return mAtStart; }
    /// Sets a function that is called when a change cannot be saved or finds a damaged file. The function is
    /// not called again for the same failure.
    void SetObserver(std::function<void(const SettingsReport& report)> observer);

    [[nodiscard]] Preferences ReadPreferences();
    /// Writes the preferences in which \p after differs from \p before. The others may have been changed by
    /// another process.
    void Write(const Preferences& before, const Preferences& after);

    [[nodiscard]] WindowPlace ReadWindowPlace();
    void Write(const WindowPlace& place);

    /// Returns the files that were opened or saved most recently, the latest first.
    [[nodiscard]] QStringList RecentFiles();
    void AddRecentFile(const QString& file);
    /// Returns the tours that were open when the last window was closed.
    [[nodiscard]] QStringList LastFiles();
    void WriteLastFiles(const QStringList& files);

private:
    void Change(const std::function<void(Quorvin::Util::Settings&)>& change);
    SettingsReport Open();
    void Observe(const SettingsReport& report);
    [[nodiscard]] QStringList ReadList(const QString& name);

    QString mFile;
    Quorvin::Util::Settings mStore;
    SettingsReport mAtStart;
    std::function<void(const SettingsReport&)> mObserver;
    bool mWasSaved = true;
};

#endif // WAYPOST_USERSETTINGS_H
