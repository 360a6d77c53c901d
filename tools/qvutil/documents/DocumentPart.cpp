// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "documents/DocumentPart.h"

#include "cli/Failure.h"
#include "documents/DocumentFile.h"
#include "documents/NodeStream.h"

#include <QDomDocument>

#include <new>
#include <utility>

using namespace Qt::StringLiterals;
using Quorvin::Util::XmlFiler;

namespace Quorvin::Tool {
namespace {

/// Builds the tree of a part. Elements that only lead to the part get neither attributes nor content. The
/// exception is text before or after the part, because text determines whether an element is written on a
/// separate line.
class PartBuilder
{
public:
    PartBuilder(XmlFiler& filer, const ElementPath& path, PartContent content)
        : mFiler(filer)
        , mWalk(path)
        , mContent(content)
    { }

    void Add(const QXmlStreamReader& node)
    {
        const bool isAfterTarget = std::exchange(mIsAfterTarget, false);
        switch (node.tokenType()) {
        case QXmlStreamReader::StartElement:
            BeginElement(node);
            break;
        case QXmlStreamReader::EndElement:
            EndElement();
            break;
        case QXmlStreamReader::Characters:
            if (isAfterTarget || TakesContent())
                AppendText(node.text().toString(), node.isCDATA());
            break;
        case QXmlStreamReader::Comment:
            if (TakesContent())
                Append(mTree.createComment(node.text().toString()));
            break;
        case QXmlStreamReader::ProcessingInstruction:
            if (TakesContent())
                Append(mTree.createProcessingInstruction(node.processingInstructionTarget().toString(),
                                                         node.processingInstructionData().toString()));
            break;
        default:
            break;
        }
        mIsAfterText = node.isCharacters();
    }

private:
    using Place = PathWalk::Place;

    struct OpenElement
    {
        QDomElement Element; ///< null if it is not in the tree
        Place Where;
    };

    void BeginElement(const QXmlStreamReader& node)
    {
        const QString name = node.qualifiedName().toString();
        const Place place = mWalk.Enter(name);
        OpenElement open{.Element = {}, .Where = place};
        if (place != Place::Aside && (place != Place::Inside || TakesContent())) {
            if (place == Place::Target && mIsAfterText)
                AppendText(u"text"_s, false);
            open.Element = AppendElement(name);
            if (place == Place::Target || place == Place::Inside) {
                for (const QXmlStreamAttribute& attribute : node.attributes())
                    open.Element.setAttribute(attribute.qualifiedName().toString(),
                                              attribute.value().toString());
            }
        }
        mOpen.append(open);
    }

    void EndElement()
    {
        mWalk.Leave();
        const OpenElement ended = mOpen.takeLast();
        mIsAfterTarget = ended.Where == Place::Target && !mOpen.isEmpty();
    }

    [[nodiscard]] bool TakesContent() const
    {
        const OpenElement& parent = mOpen.constLast();
        if (mContent == PartContent::Values)
            return parent.Where == Place::Target && !parent.Element.hasChildNodes();
        return parent.Where == Place::Target || parent.Where == Place::Inside;
    }

    QDomElement AppendElement(const QString& name)
    {
        if (mOpen.isEmpty()) {
            mFiler.CreateRoot(name);
            mTree = mFiler.GetCurrentNode().ownerDocument();
            return mTree.documentElement();
        }
        const QDomElement element = mTree.createElement(name);
        Append(element);
        return element;
    }

    void AppendText(const QString& text, bool isSection)
    {
        if (isSection)
            Append(mTree.createCDATASection(text));
        else
            Append(mTree.createTextNode(text));
    }

    void Append(const QDomNode& node) { mOpen.last().Element.appendChild(node); }

    XmlFiler& mFiler;
    PathWalk mWalk;
    PartContent mContent;
    QDomDocument mTree;
    QList<OpenElement> mOpen;
    bool mIsAfterText = false; ///< whether the previous node is text
    bool mIsAfterTarget = false; ///< whether the previous node is the end of the element at the path
};

} // namespace

void LoadPart(XmlFiler& filer, const InputFile& file, const ElementPath& path, PartContent content)
{
    try {
        if (StreamPart(filer, file.Name(), file.ReadAll(), path, content))
            return;
    } catch (const std::bad_alloc&) {
        throw Failure(file.Name(), u"not enough memory"_s);
    }
    LoadDocument(filer, file);
}

bool StreamPart(XmlFiler& filer, const QString& name, const QByteArray& document, const ElementPath& path,
                PartContent content)
{
    NodeStream nodes(name, document);
    PartBuilder builder(filer, path, content);
    while (nodes.Next())
        builder.Add(nodes.Node());
    if (nodes.IsComplete())
        return true;
    if (nodes.IsMalformed())
        RequireLoadable(name, document);
    filer.Reset();
    return false;
}

} // namespace Quorvin::Tool
