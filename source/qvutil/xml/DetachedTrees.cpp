// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "xml/DetachedTrees_p.h"

#include <algorithm>

namespace Quorvin::Util::Internal {

void DetachedTrees::KeepIfHeld(const QDomNode& top, const QDomDocument& document)
{
    if (IsHeld(top))
        mTrees.append({top, document});
}

bool DetachedTrees::IsHeld(const QDomNode& tree) const
{
    const auto isInTree = [&tree](QDomNode node) {
        while (!node.isNull() && node != tree)
            node = node.parentNode();
        return !node.isNull();
    };
    return isInTree(mCursor) || std::any_of(mStack.cbegin(), mStack.cend(), isInTree);
}

} // namespace Quorvin::Util::Internal
