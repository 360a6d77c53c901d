// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "GeneralUtil.h"

#include "StringUtil.h"
#include "base/QtCompat_p.h"

#include <QDir>
#include <QFileInfo>
#include <QStringView>
#include <QUrl>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace Quorvin::Util {
namespace {

constexpr wchar_t kSeparator = L'/';
// A ':' at this index or later ends a scheme. Before it, a ':' can only end a drive letter.
constexpr qsizetype kMinimumSchemeLength = 2;

bool HasScheme(const QString& path)
{
    return path.indexOf(u':') >= kMinimumSchemeLength;
}

bool HasDriveLetter(QStringView path)
{
    if (path.size() < 2 || path.at(1) != u':')
        return false;
    const char16_t letter = path.front().unicode();
    return (letter >= u'A' && letter <= u'Z') || (letter >= u'a' && letter <= u'z');
}

bool IsRoot(const QString& path)
{
    return QFileInfo(path).isRoot();
}

bool IsSame(QStringView left, QStringView right)
{
    return left.compare(right, Qt::CaseInsensitive) == 0;
}

// IsCleanParent and IsCleanParentOrSame expect clean paths.
bool IsCleanParent(const QString& parent, const QString& child)
{
    const QStringView start = QStringView(parent).chopped(IsRoot(parent) ? 1 : 0);
    return start.size() < child.size() && child.startsWith(start, Qt::CaseInsensitive)
        && child.at(start.size()) == u'/';
}

bool IsCleanParentOrSame(const QString& parent, const QString& child)
{
    return IsSame(parent, child) || IsCleanParent(parent, child);
}

// On every system, a path is absolute if it has a drive letter or a scheme, or is a UNC path.
bool IsAbsolute(const QString& path)
{
    return path.contains(u':') || GeneralUtil::IsUNCPath(path);
}

QString BaseFolder(const QString& base, bool baseIsFile)
{
    return Internal::QDirCleanPath(baseIsFile ? QFileInfo(Internal::CollapseSlashes(base)).absolutePath()
                                              : base);
}

// The parts of a clean path.
struct PathParts
{
    QString Scheme; // including ':', in lower case; empty if there is none
    QStringList Segments;
};

PathParts Split(const QString& cleanPath)
{
    const QString scheme = QUrl(cleanPath, QUrl::TolerantMode).scheme();
    if (scheme.isEmpty())
        return {{}, cleanPath.split(u'/')};
    return {scheme + u':', GeneralUtil::CleanPath(cleanPath.mid(scheme.size() + 1)).split(u'/')};
}

} // namespace

QString GeneralUtil::CleanPath(const QString& path)
{
    if (path.isEmpty())
        return {};

    QString result = path;
    if (HasScheme(path))
        return result.replace(u'\\', u'/');
    if (HasDriveLetter(path))
        result.replace(u'\\', u'/'); // Qt does this on Windows only
    result = Internal::QDirCleanPath(result.trimmed());
    if (IsRoot(result))
        return result;
    if (!IsUNCPath(result))
        StringUtil::TrimLeft(result, kSeparator);
    StringUtil::TrimRight(result, kSeparator);
    return result;
}

QString GeneralUtil::GetDrive(const QString& path)
{
    const QString clean = CleanPath(path);
    return clean.left(clean.indexOf(u':') + 1);
}

bool GeneralUtil::IsUNCPath(const QString& path)
{
    const auto start = QStringView(path).left(2);
    return start.size() == 2 && std::ranges::all_of(start, [](QChar c) { return c == u'/' || c == u'\\'; });
}

QString GeneralUtil::RelativeToAbsolutePath(const QString& path, const QString& base, bool baseIsFile)
{
    if (IsAbsolute(path))
        return Internal::QDirCleanPath(path);
    const QString withFolder = u"%1/%2"_s.arg(BaseFolder(base, baseIsFile));
    return Internal::QDirCleanPath(withFolder.arg(path));
}

QString GeneralUtil::AbsoluteToRelativePath(const QString& path, const QString& base, bool baseIsFile)
{
    if (!IsAbsolute(path))
        return Internal::QDirCleanPath(path);
    return Internal::QDirCleanPath(
        QDir(BaseFolder(base, baseIsFile)).relativeFilePath(Internal::CollapseSlashes(path)));
}

bool GeneralUtil::IsParentPath(const QString& parent, const QString& child)
{
    return IsCleanParent(CleanPath(parent), CleanPath(child));
}

bool GeneralUtil::IsParentOrSamePath(const QString& parent, const QString& child)
{
    return IsCleanParentOrSame(CleanPath(parent), CleanPath(child));
}

QString GeneralUtil::GetCommonParentPath(const QString& path1, const QString& path2)
{
    if (HasScheme(path1))
        return {};
    PathParts shorter = Split(CleanPath(path1));
    PathParts longer = Split(CleanPath(path2));
    if (!IsSame(shorter.Scheme, longer.Scheme))
        return {};
    if (longer.Segments.size() < shorter.Segments.size())
        std::swap(shorter, longer);

    QString common = shorter.Scheme;
    for (qsizetype i = 0; i < shorter.Segments.size(); ++i) {
        if (!IsSame(shorter.Segments.at(i), longer.Segments.at(i)))
            break;
        common += u'/' + shorter.Segments.at(i);
    }
    return CleanPath(common);
}

bool GeneralUtil::HasCommonParentPath(const QString& path1, const QString& path2)
{
    return !GetCommonParentPath(path1, path2).isEmpty();
}

QString GeneralUtil::GetSubPath(const QString& parent, const QString& child)
{
    const QString cleanParent = CleanPath(parent);
    const QString cleanChild = CleanPath(child);
    if (!IsCleanParentOrSame(cleanParent, cleanChild))
        return CleanPath(child);

    QString subPath = cleanChild.mid(cleanParent.size());
    StringUtil::TrimLeft(subPath, kSeparator);
    return CleanPath(subPath);
}

} // namespace Quorvin::Util
