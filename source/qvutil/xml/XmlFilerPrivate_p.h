// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_XMLFILERPRIVATE_P_H
#define QVUTIL_XMLFILERPRIVATE_P_H

#include "XmlFiler.h"
#include "xml/DetachedTrees_p.h"
#include "xml/PathCache_p.h"

// Internal, not API: may change in any version.

namespace Quorvin::Util {

/// The data of an XmlFiler that is not part of its interface.
struct XmlFiler::Private
{
    explicit Private(const XmlFiler& filer)
        : Detached(filer.mCurrentNode, filer.mNodeStack)
    { }

    /// Returns the value of an attribute of the element at a path; a null string if there is none.
    [[nodiscard]] QString TextAt(const XmlFiler& filer, const QString& path, const QString& name)
    {
        if (const std::optional<QString> text = Paths.Read(path, name))
            return *text;
        return filer.ElementAt(path).attribute(name);
    }

    Internal::PathCache Paths;
    Internal::DetachedTrees Detached;
    XmlLoadError LoadError;
};

} // namespace Quorvin::Util

#endif // QVUTIL_XMLFILERPRIVATE_P_H
