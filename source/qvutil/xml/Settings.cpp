// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "XmlFiler.h"

#include "base/Clock_p.h"

#include <QFile>

#include <utility>

namespace Quorvin::Util {
namespace {

constexpr qint64 kAutoSaveSeconds = 31;
constexpr qint64 kMSecsPerSecond = 1000;

} // namespace

struct Settings::Private
{
    // Milliseconds since 1970 in UTC; empty until the first save. A number, since making a QDateTime of
    // the local time costs forty times as much as reading the clock, and every write asks.
    std::optional<qint64> LastSaved;
};

Settings::Settings()
    : mPrivate(std::make_unique<Private>())
{ }

Settings::Settings(QString file, QString rootName)
    : Settings()
{
    SetFile(std::move(file), std::move(rootName));
}

Settings::~Settings()
{
    Save();
}

void Settings::SetFile(QString file, QString rootName)
{
    mSettingsFile = std::move(file);
    if (QFile::exists(mSettingsFile))
        LoadFromXmlFile(mSettingsFile);
    else
        CreateRoot(rootName);
}

bool Settings::ReadBoolean(const QString& path, const QString& name, bool defaultValue) const
{
    return XmlFiler::ReadBoolean(path, name, defaultValue);
}

int Settings::ReadInt(const QString& path, const QString& name, int defaultValue) const
{
    return XmlFiler::ReadInt(path, name, defaultValue);
}

QString Settings::ReadString(const QString& path, const QString& name, const QString& defaultValue) const
{
    return XmlFiler::ReadString(path, name, defaultValue);
}

QDateTime Settings::ReadDate(const QString& path, const QString& name, const QDateTime& defaultValue) const
{
    return XmlFiler::ReadDate(path, name, defaultValue);
}

QString Settings::ReadNodeText(const QString& path)
{
    return XmlFiler::ReadNodeText(path);
}

void Settings::WriteBoolean(const QString& path, const QString& name, bool value)
{
    XmlFiler::WriteBoolean(path, name, value);
    MarkChanged();
}

void Settings::WriteInt(const QString& path, const QString& name, int value)
{
    XmlFiler::WriteInt(path, name, value);
    MarkChanged();
}

void Settings::WriteString(const QString& path, const QString& name, const QString& value)
{
    XmlFiler::WriteString(path, name, value);
    MarkChanged();
}

void Settings::WriteDate(const QString& path, const QString& name, const QDateTime& value)
{
    XmlFiler::WriteDate(path, name, value);
    MarkChanged();
}

void Settings::WriteNodeText(const QString& path, const QString& text)
{
    XmlFiler::WriteNodeText(path, text);
    MarkChanged();
}

void Settings::DeleteNode(const QString& path)
{
    XmlFiler::DeleteNode(path);
    MarkChanged();
}

void Settings::MarkChanged()
{
    mDirty = true;
    AutoSave();
}

void Settings::Save()
{
    if (mDirty)
        SaveInternal();
}

void Settings::SaveInternal()
{
    if (mSettingsFile.isEmpty() || !SaveAsXmlFile(mSettingsFile))
        return;
    mDirty = false;
    mPrivate->LastSaved = Internal::CurrentMSecsSinceEpoch();
}

void Settings::AutoSave()
{
    // Whole seconds count, as QDateTime::secsTo tells them; a clock that was put back keeps waiting.
    const std::optional<qint64>& last = mPrivate->LastSaved;
    if (last && (Internal::CurrentMSecsSinceEpoch() - *last) / kMSecsPerSecond < kAutoSaveSeconds)
        return;
    Save();
}

} // namespace Quorvin::Util
