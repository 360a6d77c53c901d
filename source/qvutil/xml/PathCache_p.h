// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_PATHCACHE_P_H
#define QVUTIL_PATHCACHE_P_H

#include "base/StringTable_p.h"

#include <QDomElement>
#include <QString>

// Internal, not API: may change in any version.

namespace Quorvin::Util::Internal {

/// A node that a path leads to, and those of its attributes that were read. An attribute stays the same as
/// long as its element exists: the library changes the values of attributes, but never removes or replaces
/// one.
struct CachedNode
{
    QDomNode Node;
    StringTable<QDomAttr> Attributes = {};

    /// Returns the value of an attribute; a null string if there is none.
    [[nodiscard]] QString Text(const QString& name)
    {
        constexpr size_t kMaxAttributes = 256;
        if (const auto found = Attributes.find(name); found != Attributes.end())
            return found->second.value();
        const QDomAttr attribute = Node.toElement().attributeNode(name);
        if (attribute.isNull())
            return {};
        if (Attributes.size() >= kMaxAttributes)
            Attributes.clear();
        // Copy the characters, because the caller's string may not own them.
        Attributes.emplace(QString(name.constData(), name.size()), attribute);
        return attribute.value();
    }
};

/// Caches the nodes that node paths lead to: absolute paths, and paths relative to the current cursor. Paths
/// that lead nowhere are not cached. The owner calls Invalidate when an element is removed, or inserted
/// before any of its siblings, and CursorMoved when the cursor is set.
class PathCache
{
public:
    /// \return the node, valid until the cache changes; null if the path is not cached
    [[nodiscard]] CachedNode* Find(const QString& path)
    {
        Nodes& nodes = IsAbsolute(path) ? mAbsolute : mRelative;
        const auto found = nodes.find(path);
        return found == nodes.end() ? nullptr : &found->second;
    }

    void Insert(const QString& path, const QDomNode& node)
    {
        if (!mIsEnabled)
            return;
        Nodes& nodes = IsAbsolute(path) ? mAbsolute : mRelative;
        if (nodes.size() >= kMaxNodes)
            Clear(nodes);
        // Copy the characters, because the caller's string may not own them.
        nodes.insert_or_assign(QString(path.constData(), path.size()), CachedNode{node});
    }

    void CursorMoved() { Clear(mRelative); }

    void Invalidate()
    {
        Clear(mAbsolute);
        Clear(mRelative);
    }

    /// Turns caching off for good, because the document can now change without a call to Invalidate.
    void Disable()
    {
        mIsEnabled = false;
        Invalidate();
    }

private:
    using Nodes = StringTable<CachedNode>;

    static constexpr size_t kMaxNodes = 4096;

    // clear() visits all buckets, even those of an empty table, and the cursor moves often.
    static void Clear(Nodes& nodes)
    {
        constexpr size_t kManyBuckets = 64;
        if (nodes.empty())
            return;
        if (nodes.bucket_count() > kManyBuckets)
            nodes = Nodes();
        else
            nodes.clear();
    }

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
