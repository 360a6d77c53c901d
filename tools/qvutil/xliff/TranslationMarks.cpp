// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "xliff/TranslationMarks.h"

#include <QDomElement>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace Quorvin::Tool {
namespace {

class MarkFinder
{
public:
    explicit MarkFinder(XmlSource& document)
        : mDocument(document)
        , mFiler(document.GetFiler())
    { }

    QList<TranslationMark> Run()
    {
        mDocument.ForEachElement([this](int element) { InspectElement(element); });
        return mMarks;
    }

private:
    void InspectElement(int element)
    {
        const QDomElement node = mFiler.GetCurrentNode().toElement();
        // Attributes have no defined order in the tree, and access by index is slow.
        if (!mDocument.HasPlaces()) {
            InspectUnplacedAttributes(node);
        } else if (mDocument.GetElements().at(element).AttributeCount > 0) {
            for (const XmlSource::Attribute& attribute : mDocument.GetAttributes(element))
                InspectAttribute(node, attribute.Name.toString(), attribute.Begin);
        }
        InspectContent(node, element);
    }

    void InspectUnplacedAttributes(const QDomElement& node)
    {
        const QDomNamedNodeMap attributes = node.attributes();
        QStringList names;
        for (int i = 0; i < attributes.count(); ++i)
            names.append(attributes.item(i).nodeName());
        names.sort();
        for (const QString& name : std::as_const(names))
            InspectAttribute(node, name, -1);
    }

    void InspectAttribute(const QDomElement& node, const QString& name, qsizetype offset)
    {
        QString source = node.attribute(name);
        if (mFiler.StripTr(source)) {
            const QString path = mFiler.GetCurrentNodePath() + u'@' + name;
            mMarks.append({source, mFiler.ReadString(name, {}), path, PlaceOf(node, offset)});
        }
    }

    void InspectContent(const QDomElement& node, int element)
    {
        const QDomNode content = node.firstChild();
        if (!content.isText() || content.isCDATASection())
            return;
        QString source = content.nodeValue();
        if (mFiler.StripTr(source)) {
            const qsizetype offset = mDocument.HasPlaces() ? mDocument.GetElements().at(element).Begin : -1;
            mMarks.append(
                {source, mFiler.ReadNodeText(), mFiler.GetCurrentNodePath(), PlaceOf(node, offset)});
        }
    }

    [[nodiscard]] Place PlaceOf(const QDomNode& node, qsizetype offset) const
    {
        return offset < 0 ? Place{node.lineNumber(), 0} : mDocument.GetPlace(offset);
    }

    XmlSource& mDocument;
    Util::XmlFiler& mFiler;
    QList<TranslationMark> mMarks;
};

} // namespace

QList<TranslationMark> FindTranslationMarks(XmlSource& document)
{
    return MarkFinder(document).Run();
}

} // namespace Quorvin::Tool
