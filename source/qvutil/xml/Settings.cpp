// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "XmlFiler.h"

#include "base/Clock_p.h"
#include "base/Logging_p.h"

#include <QFile>
#include <QFileInfo>

#include <filesystem>
#include <utility>

using namespace Qt::StringLiterals;

namespace Quorvin::Util {
namespace {

constexpr qint64 kAutoSaveSeconds = 31;
constexpr qint64 kMSecsPerSecond = 1000;
constexpr int kMaxSetAsideFiles = 1000;

std::filesystem::file_type FileType(const QString& file)
{
    std::error_code error;
    return std::filesystem::status(std::filesystem::path(QFile::encodeName(file).toStdString()), error)
        .type();
}

// Returns whether the file certainly does not exist. It may exist if its folder cannot be searched.
bool IsMissing(const QString& file)
{
    return FileType(file) == std::filesystem::file_type::not_found;
}

// Renames a damaged file to an unused name. \return the new name; empty if it cannot be renamed
QString SetAside(const QString& file)
{
    // Renames the target of a link, so that the link still leads to the settings file.
    const QString path = QFileInfo(file).canonicalFilePath();
    for (int number = 1; number <= kMaxSetAsideFiles; ++number) {
        const QString name = path + (number == 1 ? u".damaged"_s : u".damaged-%1"_s.arg(number));
        if (IsMissing(name))
            return QFile::rename(path, name) ? name : QString();
        // Since Qt 6.8, QFile warns about a name that the file system rejects, so do not try to rename.
        if (FileType(name) == std::filesystem::file_type::none)
            return {};
    }
    return {};
}

void LogIfAny(const QString& text)
{
    if (!text.isEmpty())
        qCWarning(Internal::lcQvUtil, "%ls", qUtf16Printable(text));
}

} // namespace

struct Settings::Private
{
    // Milliseconds since 1970 in UTC; empty until the first save. Not a QDateTime, because every write
    // compares it with the current time, and creating a QDateTime in local time takes forty times as long as
    // reading the clock.
    std::optional<qint64> LastSaved;
    QString SetAsideFile;
    // The content when last loaded or saved. Only kept while logging is on, for the warning about lost
    // changes.
    std::optional<QString> SavedContent;

    // Returns the line to log if the content of a store is discarded; empty if no change would be lost, or if
    // logging is off.
    static QString DescribeUnsavedChanges(Settings& store)
    {
        if (store.mSettingsFile.isEmpty() || !Internal::lcQvUtil().isWarningEnabled())
            return {};
        if (store.mDirty)
            return u"changes to the settings in %1 were not saved and are lost"_s.arg(store.mSettingsFile);
        const std::optional<QString>& saved = store.mPrivate->SavedContent;
        if (!saved || *saved == store.SaveAsXmlString())
            return {};
        return u"changes to the settings in %1 are lost: WriteRect, WriteDouble and the like do not mark the "
               "store as changed; call MarkChanged after them"_s.arg(store.mSettingsFile);
    }
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
    WarnOfLostChanges();
}

void Settings::SetFile(QString file, QString rootName)
{
    const QString unsaved = Private::DescribeUnsavedChanges(*this);
    mSettingsFile = std::move(file);
    bool isKept = !IsEmpty();
    if (!QFile::exists(mSettingsFile)) {
        CreateRoot(rootName);
    } else if (LoadFromXmlFile(mSettingsFile) || IsEmpty()) { // else the file could not be opened
        isKept = false;
        LogIfAny(unsaved);
    }
    // The content that is kept may contain changes that the destructor must log.
    if (!isKept || unsaved.isEmpty())
        NoteSavedContent();
}

Settings::FileState Settings::OpenFile(const QString& file, const QString& rootName)
{
    WarnOfLostChanges();
    mPrivate->SetAsideFile.clear();
    mPrivate->LastSaved.reset();
    mDirty = false;
    mSettingsFile = file;
    FileState state = FileState::New;
    if (!IsMissing(file)) {
        if (LoadFromXmlFile(file))
            state = FileState::Loaded;
        else if (GetLoadError().Line > 0)
            mPrivate->SetAsideFile = SetAside(file);
        if (state != FileState::Loaded)
            state = mPrivate->SetAsideFile.isEmpty() ? FileState::Unreadable : FileState::SetAside;
    }
    if (state != FileState::Loaded) {
        Reset();
        CreateRoot(rootName);
    }
    if (state == FileState::SetAside) {
        qCWarning(Internal::lcQvUtil,
                  "the settings in %ls are damaged and were kept as %ls; the store starts empty",
                  qUtf16Printable(file), qUtf16Printable(mPrivate->SetAsideFile));
    } else if (state == FileState::Unreadable) {
        qCWarning(Internal::lcQvUtil,
                  "the settings in %ls cannot be read; the store starts empty and is not saved",
                  qUtf16Printable(file));
        mSettingsFile.clear();
    }
    NoteSavedContent();
    return state;
}

QString Settings::GetSetAsideFile() const
{
    return mPrivate->SetAsideFile;
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
    NoteSavedContent();
}

void Settings::NoteSavedContent()
{
    mPrivate->SavedContent.reset();
    if (Internal::lcQvUtil().isWarningEnabled())
        mPrivate->SavedContent = SaveAsXmlString();
}

void Settings::WarnOfLostChanges()
{
    LogIfAny(Private::DescribeUnsavedChanges(*this));
}

void Settings::AutoSave()
{
    // Whole seconds, as in QDateTime::secsTo. If the clock is set back, the interval gets longer.
    const std::optional<qint64>& last = mPrivate->LastSaved;
    if (last && (Internal::CurrentMSecsSinceEpoch() - *last) / kMSecsPerSecond < kAutoSaveSeconds)
        return;
    Save();
}

} // namespace Quorvin::Util
