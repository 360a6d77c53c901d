// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_DETACHEDTREES_P_H
#define QVUTIL_DETACHEDTREES_P_H

#include <QDomDocument>
#include <QList>

// Internal, not API: may change in any version.

namespace Quorvin::Util::Internal {

/// Keeps trees alive that were removed or replaced while the cursor or the node stack points into them. When
/// QDom destroys a tree, nodes that are still referenced keep dangling sibling pointers.
class DetachedTrees
{
public:
    DetachedTrees(const QDomNode& cursor, const QList<QDomNode>& stack)
        : mCursor(cursor)
        , mStack(stack)
    { }

    /// Keeps a tree that was just removed, if the cursor or the stack points into it.
    /// \param top       the tree
    /// \param document  the document that contained \p top: QDom still writes to it, but \p top does not keep
    ///                  it alive
    void KeepIfHeld(const QDomNode& top, const QDomDocument& document);

    /// Releases trees that neither the cursor nor the stack points into any more.
    void ReleaseUnused()
    {
        if (!mTrees.isEmpty())
            mTrees.removeIf([this](const Tree& tree) { return !IsHeld(tree.Top); });
    }

private:
    struct Tree
    {
        QDomNode Top;
        QDomDocument Document;
    };

    [[nodiscard]] bool IsHeld(const QDomNode& tree) const;

    const QDomNode& mCursor;
    const QList<QDomNode>& mStack;
    QList<Tree> mTrees;
};

} // namespace Quorvin::Util::Internal

#endif // QVUTIL_DETACHEDTREES_P_H
