// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "XmlFiler.h"

#include "base/Logging_p.h"
#include "xml/XmlFilerPrivate_p.h"

#include <algorithm>

using namespace Qt::StringLiterals;

namespace Quorvin::Util {
namespace {

bool IsSeparator(QChar c)
{
    return c == u'/' || c == u'\\';
}

// Removes the next step from the front of a path. Returns the step; empty at the end of the path.
QStringView TakeStep(QStringView& path)
{
    const auto begin = std::find_if_not(path.begin(), path.end(), IsSeparator);
    const auto end = std::find_if(begin, path.end(), IsSeparator);
    const QStringView step(begin, end);
    path = QStringView(end, path.end());
    return step;
}

QDomElement FindChildElement(const QDomNode& parent, const QString& name)
{
    if (name.isEmpty())
        return parent.firstChildElement();
    // Unlike firstChildElement, namedItem does not create a handle for each node it visits.
    const QDomNode child = parent.namedItem(name);
    if (child.isNull() || child.isElement())
        return child.toElement();
    return parent.firstChildElement(name); // another kind of node with this name precedes the element
}

// Returns a step as a QString for QDom, without copying it. Valid as long as the path is.
QString AsString(QStringView step)
{
    return QString::fromRawData(step.data(), step.size());
}

} // namespace

// Cursor and structure

bool XmlFiler::CreateNode(const QString& path, bool b)
{
    return CreateOrMoveToNode(path, true, !b);
}

bool XmlFiler::CreateOrMoveToNode(const QString& path, bool create, bool alwaysNewLast)
{
    const std::optional<QDomNode> node = create ? FindOrCreateNode(path, alwaysNewLast) : FindNode(path);
    if (!node)
        return false;
    SetCursor(*node);
    return true;
}

// Returns the node where a path starts, the cursor or the root, and removes the root's name from the path.
QDomNode XmlFiler::TakeStart(QStringView& path) const
{
    path = path.trimmed();
    if (path.isEmpty() || !IsSeparator(path.front()))
        return mCurrentNode;
    const QDomElement root = mDocument.documentElement();
    QStringView rest = path;
    if (TakeStep(rest) == root.tagName())
        path = rest;
    return root;
}

// Returns nullopt if an element is missing. A null node is a valid result: the parent of an empty document's
// root.
std::optional<QDomNode> XmlFiler::WalkTo(QStringView path) const
{
    QDomNode node = TakeStart(path);
    for (QStringView step = TakeStep(path); !step.isEmpty(); step = TakeStep(path)) {
        node = FindChildElement(node, AsString(step));
        if (node.isNull())
            return std::nullopt;
    }
    return node;
}

std::optional<QDomNode> XmlFiler::FindNode(const QString& path) const
{
    if (const QDomNode* const node = mPrivate->Paths.Find(path))
        return *node;
    std::optional<QDomNode> node = WalkTo(path);
    if (node && !node->isNull())
        mPrivate->Paths.Insert(path, *node);
    return node;
}

QDomNode XmlFiler::FindOrCreateNode(const QString& path, bool alwaysNewLast)
{
    if (!alwaysNewLast) {
        if (const std::optional<QDomNode> node = FindNode(path))
            return *node;
    }
    QStringView rest = path;
    QDomNode node = TakeStart(rest);
    QStringView step = TakeStep(rest);
    while (!step.isEmpty()) {
        const QStringView next = TakeStep(rest);
        const bool lookUp = !(alwaysNewLast && next.isEmpty());
        const QDomNode child = lookUp ? FindChildElement(node, AsString(step)) : QDomNode();
        node = child.isNull() ? AppendElement(node, step.toString()) : child;
        step = next;
    }
    return node;
}

QDomNode XmlFiler::AppendElement(const QDomNode& parent, const QString& name)
{
    const QDomNode element = mDocument.createElement(name);
    AppendChild(parent.isNull() ? mDocument : parent, element);
    return element;
}

void XmlFiler::CreateImmediateChildNode(const QString& name)
{
    SetCursor(AppendElement(mCurrentNode, name));
}

void XmlFiler::MoveToRoot()
{
    SetCursor(mDocument.documentElement());
}

bool XmlFiler::MoveTo(const QDomNode& node)
{
    if (node.isNull())
        return false;
    SetCursor(node);
    return true;
}

bool XmlFiler::MoveToFirstChild()
{
    return MoveTo(mCurrentNode.firstChildElement());
}

bool XmlFiler::MoveToNode(const QString& path)
{
    return CreateOrMoveToNode(path, false, false);
}

bool XmlFiler::MoveToImmediateChildNode(const QString& name)
{
    return MoveTo(FindChildElement(mCurrentNode, name));
}

bool XmlFiler::MoveToNextSibling()
{
    return MoveTo(mCurrentNode.nextSiblingElement());
}

bool XmlFiler::MoveToParent()
{
    return MoveTo(mCurrentNode.parentNode());
}

void XmlFiler::DeleteNode()
{
    const QDomNode parent = mCurrentNode.parentNode();
    if (parent.isNull())
        return;
    const QDomNode node = mCurrentNode;
    SetCursor(parent);
    RemoveChild(parent, node);
}

void XmlFiler::DeleteNode(const QString& path)
{
    const std::optional<QDomNode> node = FindNode(path);
    if (!node)
        return;
    const QDomNode parent = node->parentNode();
    if (parent.isNull()) {
        SetCursor(*node); // the document itself, or the missing root of an empty document
        return;
    }
    RemoveChild(parent, *node);
    if (mCurrentNode.isNull())
        SetCursor(parent);
}

void XmlFiler::DeleteChildNodes()
{
    RemoveChildren(mCurrentNode);
}

void XmlFiler::DeleteChildNodes(const QString& path)
{
    if (const std::optional<QDomNode> node = FindNode(path))
        RemoveChildren(*node);
}

QDomNode XmlFiler::GetCurrentNode() const
{
    mPrivate->Paths.Disable();
    return mCurrentNode;
}

QString XmlFiler::GetCurrentNodePath() const
{
    QStringList names;
    const QDomElement root = mDocument.documentElement();
    for (QDomNode node = mCurrentNode; !node.isNull(); node = node.parentNode()) {
        names.prepend(node.nodeName());
        if (node == root)
            break;
    }
    return names.isEmpty() ? QString() : u'/' + names.join(u'/');
}

QString XmlFiler::GetCurrentNodeName() const
{
    return CurrentElement().tagName();
}

QStringList XmlFiler::GetAttributeNames() const
{
    const QDomNamedNodeMap attributes = CurrentElement().attributes();
    QStringList names;
    names.reserve(attributes.count());
    for (int i = 0; i < attributes.count(); ++i)
        names.append(attributes.item(i).nodeName());
    names.sort();
    return names;
}

void XmlFiler::PushCurrentNode() const
{
    mNodeStack.append(mCurrentNode);
}

void XmlFiler::PopCurrentNode() const
{
    if (mNodeStack.isEmpty()) {
        qCWarning(Internal::lcQvUtil, "the node stack is empty: PopCurrentNode without PushCurrentNode");
        return;
    }
    SetCursor(mNodeStack.takeLast());
}

// The cursor and what it keeps alive

void XmlFiler::SetCursor(const QDomNode& node) const
{
    mCurrentNode = node;
    mPrivate->Paths.CursorMoved();
    mPrivate->Detached.ReleaseUnused();
}

// All elements are added here and removed in RemoveChild. Appending leaves the path cache valid: a path leads
// to the first child of each name, so a new last child does not change where cached paths lead.
void XmlFiler::AppendChild(QDomNode parent, const QDomNode& child)
{
    parent.appendChild(child);
}

void XmlFiler::RemoveChild(QDomNode parent, const QDomNode& child)
{
    if (child.isElement()) // paths lead to elements only
        mPrivate->Paths.Invalidate();
    parent.removeChild(child);
    mPrivate->Detached.KeepIfHeld(child, parent.ownerDocument());
}

void XmlFiler::RemoveChildren(const QDomNode& parent)
{
    for (QDomNode child = parent.firstChild(); !child.isNull(); child = parent.firstChild())
        RemoveChild(parent, child);
}

} // namespace Quorvin::Util
