// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_PATHCACHE_P_H
#define QVUTIL_PATHCACHE_P_H

#include <QDomNode>
#include <QHash>
#include <QString>

// Internal, not API: may change in any version.

namespace Quorvin::Util::Internal {

/// The nodes that node paths led to: absolute paths, and relative ones from the present cursor. The owner
/// calls Invalidate whenever an element comes or goes, and CursorMoved whenever the cursor is set.
class PathCache
{
public:
    /// \return the node, good until the next change of the cache; null if the path has to be walked
    [[nodiscard]] const QDomNode* Find(const QString& path) const
    {
        const Nodes& nodes = IsAbsolute(path) ? mAbsolute : mRelative;
        const auto found = nodes.constFind(path);
        return found == nodes.cend() ? nullptr : &*found;
    }

    void Insert(const QString& path, const QDomNode& node)
    {
        if (!mIsEnabled)
            return;
        Nodes& nodes = IsAbsolute(path) ? mAbsolute : mRelative;
        if (nodes.size() >= kMaxNodes)
            nodes.clear();
        // A copy of the characters, since the caller's string may not own them.
        nodes.insert(QString(path.constData(), path.size()), node);
    }

    void CursorMoved() { mRelative.clear(); }

    void Invalidate()
    {
        mAbsolute.clear();
        mRelative.clear();
    }

    /// Ends caching for good, because the document can now change without a call of Invalidate.
    void Disable()
    {
        mIsEnabled = false;
        Invalidate();
    }

private:
    using Nodes = QHash<QString, QDomNode>;

    static constexpr qsizetype kMaxNodes = 4096;

    [[nodiscard]] static bool IsAbsolute(const QString& path)
    {
        return !path.isEmpty() && (path.front() == u'/' || path.front() == u'\\');
    }

    Nodes mAbsolute;
    Nodes mRelative;
    bool mIsEnabled = true;
};

} // namespace Quorvin::Util::Internal

#endif // QVUTIL_PATHCACHE_P_H
