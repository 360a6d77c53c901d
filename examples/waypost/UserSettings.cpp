// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "UserSettings.h"

#include "XmlText.h"

#include <QLockFile>

#include <algorithm>
#include <utility>

using namespace Qt::StringLiterals;
using Quorvin::Util::EnumValueName;
using Quorvin::Util::Settings;

namespace {

constexpr qsizetype kRecentFiles = 8;
constexpr int kLockTimeoutMs = 2000;
const QString kRoot = u"Waypost"_s; // clazy:exclude=non-pod-global-static

QList<EnumValueName> UnitNames()
{
    return {{int(Units::Metric), u"metric"_s}, {int(Units::Imperial), u"imperial"_s}};
}

} // namespace

//! [open]
UserSettings::UserSettings(const QString& folder)
    : mFile(folder + u"/settings.xml"_s)
{
    QLockFile lock(mFile + u".lock"_s);
    lock.tryLock(kLockTimeoutMs); // another process may be about to rename a damaged file
    mAtStart = Open();
    mWasSaved = mAtStart.IsSaved;
}

SettingsReport UserSettings::Open()
{
    const Settings::FileState state = mStore.OpenFile(mFile, kRoot);
    return {state, state != Settings::FileState::Unreadable,
            state == Settings::FileState::SetAside ? mStore.GetSetAsideFile() : mFile, mStore.GetLoadError()};
}
//! [open]

//! [change]
void UserSettings::Change(const std::function<void(Settings&)>& change)
{
    QLockFile lock(mFile + u".lock"_s);
    lock.tryLock(kLockTimeoutMs); // if it fails, the later change wins
    SettingsReport report = Open(); // other processes may have changed the file
    change(mStore);
    // Unlike Save, SaveAsXmlFile reports a failure. After OpenFile, nothing is left to save later.
    report.IsSaved = report.IsSaved && mStore.SaveAsXmlFile(mFile);
    mStore.OpenFile(mFile, kRoot);
    lock.unlock();
    Observe(report);
}
//! [change]

void UserSettings::SetObserver(std::function<void(const SettingsReport& report)> observer)
{
    mObserver = std::move(observer);
}

void UserSettings::Observe(const SettingsReport& report)
{
    const bool isNewFailure = std::exchange(mWasSaved, report.IsSaved) && !report.IsSaved;
    if (mObserver && (isNewFailure || report.State == Settings::FileState::SetAside))
        mObserver(report);
}

Preferences UserSettings::ReadPreferences()
{
    QList<EnumValueName> units = UnitNames();
    Preferences read;
    read.LanguageCode = mStore.ReadString(u"General"_s, u"Language"_s, QString());
    read.Unit = static_cast<Units>(
        mStore.ReadEnum(u"General"_s, u"Units"_s, int(read.Unit), units.data(), int(units.size())));
    read.OpenLast = mStore.ReadBoolean(u"General"_s, u"OpenLast"_s, read.OpenLast);
    read.Grid = mStore.ReadBoolean(u"Map"_s, u"Grid"_s, read.Grid);
    read.Names = mStore.ReadBoolean(u"Map"_s, u"Names"_s, read.Names);
    read.Profile = mStore.ReadBoolean(u"Map"_s, u"Profile"_s, read.Profile);
    const QColor colour(mStore.ReadString(u"Track"_s, u"Colour"_s, read.TrackColour.name()));
    if (colour.isValid())
        read.TrackColour = colour;
    read.TrackWidth = std::clamp(mStore.ReadInt(u"Track"_s, u"Width"_s, read.TrackWidth), 1, 12);
    read.Smooth = mStore.ReadBoolean(u"Track"_s, u"Smooth"_s, read.Smooth);
    return read;
}

void UserSettings::Write(const Preferences& before, const Preferences& after)
{
    Change([&before, &after](Settings& store) {
        QList<EnumValueName> units = UnitNames();
        if (after.LanguageCode != before.LanguageCode)
            store.WriteString(u"General"_s, u"Language"_s, after.LanguageCode);
        if (after.Unit != before.Unit)
            store.WriteEnum(u"General"_s, u"Units"_s, int(after.Unit), units.data(), int(units.size()));
        if (after.OpenLast != before.OpenLast)
            store.WriteBoolean(u"General"_s, u"OpenLast"_s, after.OpenLast);
        if (after.Grid != before.Grid)
            store.WriteBoolean(u"Map"_s, u"Grid"_s, after.Grid);
        if (after.Names != before.Names)
            store.WriteBoolean(u"Map"_s, u"Names"_s, after.Names);
        if (after.Profile != before.Profile)
            store.WriteBoolean(u"Map"_s, u"Profile"_s, after.Profile);
        if (after.TrackColour != before.TrackColour)
            store.WriteString(u"Track"_s, u"Colour"_s, after.TrackColour.name());
        if (after.TrackWidth != before.TrackWidth)
            store.WriteInt(u"Track"_s, u"Width"_s, after.TrackWidth);
        if (after.Smooth != before.Smooth)
            store.WriteBoolean(u"Track"_s, u"Smooth"_s, after.Smooth);
    });
}

//! [place]
WindowPlace UserSettings::ReadWindowPlace()
{
    return {mStore.ReadRect(u"Window"_s, u"Place"_s, QRect()),
            mStore.ReadBoolean(u"Window"_s, u"Maximized"_s, false), mStore.ReadBuffer(u"Window/Splitters"_s)};
}

void UserSettings::Write(const WindowPlace& place)
{
    Change([&place](Settings& store) {
        store.WriteRect(u"Window"_s, u"Place"_s, place.Place);
        store.WriteBoolean(u"Window"_s, u"Maximized"_s, place.Maximized);
        store.WriteBuffer(u"Window/Splitters"_s, place.Splitters);
    });
}
//! [place]

//! [lists]
// A path finds only the first element with a name, so each entry has a different name: File0, File1...
QStringList UserSettings::ReadList(const QString& name)
{
    QStringList files;
    for (int i = 0;; ++i) {
        const QString file = mStore.ReadString(u"%1/File%2"_s.arg(name).arg(i), u"Path"_s, QString());
        if (file.isEmpty())
            return files;
        files.append(file);
    }
}

namespace {

void WriteList(Settings& store, const QString& name, const QStringList& files)
{
    store.DeleteNode(name);
    int count = 0;
    for (const QString& file : files) {
        if (XmlText(file) == file) // a settings file cannot contain any other path
            store.WriteString(u"%1/File%2"_s.arg(name).arg(count++), u"Path"_s, file);
    }
}

} // namespace

void UserSettings::AddRecentFile(const QString& file)
{
    Change([this, &file](Settings& store) {
        QStringList files = RecentFiles();
        files.removeAll(file);
        files.prepend(file);
        WriteList(store, u"Recent"_s, files.mid(0, kRecentFiles));
    });
}
//! [lists]

QStringList UserSettings::RecentFiles()
{
    return ReadList(u"Recent"_s);
}

QStringList UserSettings::LastFiles()
{
    return ReadList(u"Last"_s);
}

void UserSettings::WriteLastFiles(const QStringList& files)
{
    Change([&files](Settings& store) { WriteList(store, u"Last"_s, files); });
}
