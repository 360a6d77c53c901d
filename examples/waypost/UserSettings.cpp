// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "UserSettings.h"

#include "XmlText.h"

#include <QLockFile>

#include <algorithm>

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
    , mState(mStore.OpenFile(mFile, kRoot))
    , mSetAsideFile(mStore.GetSetAsideFile())
    , mError(mStore.GetLoadError())
{ }
//! [open]

//! [change]
void UserSettings::Change(const std::function<void(Settings&)>& change)
{
    QLockFile lock(mFile + u".lock"_s);
    lock.tryLock(kLockTimeoutMs); // if it fails, the later change wins
    mStore.OpenFile(mFile, kRoot);
    change(mStore);
    mStore.MarkChanged(); // WriteRect, WriteEnum and WriteBuffer do not mark the store themselves
    mStore.Save();
}
//! [change]

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

void UserSettings::Write(const Preferences& preferences)
{
    Change([&preferences](Settings& store) {
        QList<EnumValueName> units = UnitNames();
        store.WriteString(u"General"_s, u"Language"_s, preferences.LanguageCode);
        store.WriteEnum(u"General"_s, u"Units"_s, int(preferences.Unit), units.data(), int(units.size()));
        store.WriteBoolean(u"General"_s, u"OpenLast"_s, preferences.OpenLast);
        store.WriteBoolean(u"Map"_s, u"Grid"_s, preferences.Grid);
        store.WriteBoolean(u"Map"_s, u"Names"_s, preferences.Names);
        store.WriteBoolean(u"Map"_s, u"Profile"_s, preferences.Profile);
        store.WriteString(u"Track"_s, u"Colour"_s, preferences.TrackColour.name());
        store.WriteInt(u"Track"_s, u"Width"_s, preferences.TrackWidth);
        store.WriteBoolean(u"Track"_s, u"Smooth"_s, preferences.Smooth);
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
