// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_PATHCACHE_P_H
#define QVUTIL_PATHCACHE_P_H

#include "base/StringTable_p.h"

#include <QDomElement>
#include <QString>

#include <optional>

// Internal, not API: may change in any version.

namespace Quorvin::Util::Internal {

/// Caches the nodes that node paths lead to: absolute paths, and paths relative to the current cursor. Paths
/// that lead nowhere are not cached. The owner calls Invalidate when an element is removed, or inserted
/// before any of its siblings, and CursorMoved when the cursor is set.
///
/// Also caches the attributes that are read at these paths. Their handles stay valid as long as the element
/// exists, because the library changes the values of attributes, but never removes or replaces an attribute.
class PathCache
{
public:
    /// \return the node, valid until the cache changes; null if the path is not cached
    [[nodiscard]] const QDomNode* Find(const QString& path) const
    {
        const Places& places = TableFor(path).Nodes;
        const auto found = places.find(path);
        return found == places.cend() ? nullptr : &found->second.Node;
    }

    /// \return the value of an attribute of the node, a null string if there is none; nullopt if the path is
    ///         not cached
    [[nodiscard]] std::optional<QString> Read(const QString& path, const QString& name)
    {
        Table& table = TableFor(path);
        const auto found = table.Nodes.find(path);
        if (found == table.Nodes.end())
            return std::nullopt;
        Place& place = found->second;
        if (const auto known = place.Attributes.find(name); known != place.Attributes.end())
            return known->second.value();
        const QDomAttr attribute = place.Node.toElement().attributeNode(name);
        QString value = attribute.value();
        if (attribute.isNull() || place.Reads < kFewReads) {
            ++place.Reads;
        } else if (table.AttributeCount >= kMaxAttributes) {
            table.Clear();
        } else {
            ++table.AttributeCount;
            place.Attributes.emplace(Copy(name), attribute);
        }
        return value;
    }

    void Insert(const QString& path, const QDomNode& node)
    {
        if (!mIsEnabled)
            return;
        Table& table = TableFor(path);
        if (table.Nodes.size() >= kMaxNodes)
            table.Clear();
        table.Nodes.insert_or_assign(Copy(path), Place{node});
    }

    void CursorMoved() { mRelative.Clear(); }

    void Invalidate()
    {
        mAbsolute.Clear();
        mRelative.Clear();
    }

    /// Turns caching off for good, because the document can now change without a call to Invalidate.
    void Disable()
    {
        mIsEnabled = false;
        Invalidate();
    }

private:
    struct Place
    {
        QDomNode Node;
        StringTable<QDomAttr> Attributes = {};
        unsigned int Reads = 0; // of attributes that are not cached
    };
    using Places = StringTable<Place>;

    struct Table
    {
        // clear() visits all buckets, even those of an empty table, and the cursor moves often.
        void Clear()
        {
            constexpr size_t kManyBuckets = 64;
            if (Nodes.empty())
                return;
            if (Nodes.bucket_count() > kManyBuckets)
                Nodes = Places();
            else
                Nodes.clear();
            AttributeCount = 0;
        }

        Places Nodes;
        size_t AttributeCount = 0; // of all nodes
    };

    static constexpr size_t kMaxNodes = 4096;
    static constexpr size_t kMaxAttributes = 16'384;

    // The first reads at a path do not cache their attributes, because a program that reads each attribute
    // of an element once would gain nothing from the cache.
    static constexpr unsigned int kFewReads = 16;

    [[nodiscard]] Table& TableFor(const QString& path) { return IsAbsolute(path) ? mAbsolute : mRelative; }
    [[nodiscard]] const Table& TableFor(const QString& path) const
    {
        return IsAbsolute(path) ? mAbsolute : mRelative;
    }

    [[nodiscard]] static bool IsAbsolute(const QString& path)
    {
        return !path.isEmpty() && (path.front() == u'/' || path.front() == u'\\');
    }

    // Copies the characters, because the caller's string may not own them.
    [[nodiscard]] static QString Copy(const QString& text) { return QString(text.constData(), text.size()); }

    Table mAbsolute;
    Table mRelative;
    bool mIsEnabled = true;
};

} // namespace Quorvin::Util::Internal

#endif // QVUTIL_PATHCACHE_P_H
