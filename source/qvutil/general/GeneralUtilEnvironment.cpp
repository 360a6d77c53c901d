// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "GeneralUtil.h"

#include "base/QtCompat_p.h"
#include "platform/Platform_p.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QLocale>

using namespace Qt::StringLiterals;

namespace Quorvin::Util {
namespace {

QString LocaleFileName(const QString& file)
{
    const QFileInfo info(file);
    return info.completeSuffix().isEmpty() ? info.fileName() + ".xlf"_L1 : info.fileName();
}

// Returns the absolute path of a file; empty if it does not exist.
QString ExistingFile(const QString& path)
{
    const QFileInfo file(Internal::CollapseSlashes(path));
    return file.exists() ? file.absoluteFilePath() : QString();
}

} // namespace

QString GeneralUtil::GetSymbolicLinkTarget(const QString& path)
{
    const QString target = Internal::QDirCleanPath(Platform::ResolveSymbolicLinks(path));
    if (!QDir::isRelativePath(target))
        return target;
    QDir folder(Internal::CollapseSlashes(path));
    folder.cdUp();
    return Internal::QDirCleanPath(folder.absoluteFilePath(target));
}

QString GeneralUtil::FindLocaleFile(const QString& file, const QString& locale, const QString& folders)
{
    if (file.isEmpty())
        return {};
    const QString localeName = locale.isEmpty() ? QLocale::system().name().replace(u'_', u'-') : locale;
    const QString tail = u'/' + localeName + u'/' + LocaleFileName(file);

    const QStringList places = folders.split(u';', Qt::SkipEmptyParts);
    for (const QString& place : places) {
        QString found = ExistingFile(place + tail);
        if (!found.isEmpty())
            return found;
    }
    return ExistingFile(GetAppDirPath() + tail);
}

QString GeneralUtil::GetAppDirPath()
{
    return Internal::QDirCleanPath(QDir(QCoreApplication::applicationDirPath()).absolutePath());
}

QString GeneralUtil::GetAppFilePath()
{
    return Internal::QDirCleanPath(QFileInfo(QCoreApplication::applicationFilePath()).absoluteFilePath());
}

QString GeneralUtil::GetAppDataPath()
{
    return Internal::QDirCleanPath(Platform::GetUserApplicationSupportFolder());
}

QString GeneralUtil::GetLocalAppDataPath()
{
    return GetAppDataPath();
}

QString GeneralUtil::GetCommonAppDataPath()
{
    return Internal::QDirCleanPath(Platform::GetMachineApplicationSupportFolder());
}

QString GeneralUtil::GetProgramDataPath()
{
    return GetCommonAppDataPath();
}

QString GeneralUtil::GetFavoritesPath()
{
    return {};
}

QString GeneralUtil::GetSystemDirectory()
{
    return Platform::GetSystemLibraryFolder();
}

QString GeneralUtil::GetModulePath(const QString& name)
{
    const QString fileName = name.contains(u'.') ? name : name + Platform::GetLibrarySuffix();
    const QStringList libraries = Platform::GetLoadedLibraries();
    for (const QString& library : libraries) {
        const QFileInfo info(library);
        const QString loaded = info.fileName();
        if (loaded == fileName || Platform::RemoveLibraryVersion(loaded) == fileName)
            return info.absoluteDir().absolutePath();
    }
    return {};
}

QString GeneralUtil::GetBuild()
{
    return u"x64/Release"_s;
}

bool GeneralUtil::IsProcessRunning(const long long& processId)
{
    return Platform::IsProcessRunning(processId);
}

bool GeneralUtil::Is64BitOS()
{
    return true;
}

bool GeneralUtil::Is64BitApp()
{
    return Is64BitOS();
}

// NOLINTNEXTLINE(performance-unnecessary-value-param): the interface takes a copy
bool GeneralUtil::RegistryKeyExists(QString /*key*/)
{
    return false;
}

void GeneralUtil::OutputDebugString(const QString& text)
{
    Platform::WriteDebugOutput(text);
}

void GeneralUtil::OutputDebugString(const wchar_t* text)
{
    Platform::WriteDebugOutput(text);
}

} // namespace Quorvin::Util
