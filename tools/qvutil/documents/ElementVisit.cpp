// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "documents/ElementVisit.h"

#include "cli/Failure.h"
#include "documents/DocumentFile.h"
#include "documents/NodeStream.h"

#include <QHash>

#include <new>

using namespace Qt::StringLiterals;
using Quorvin::Util::XmlFiler;

namespace Quorvin::Tool {
namespace {

/// Numbers the children of one element, and returns their steps.
class StepCounter
{
public:
    [[nodiscard]] QString NextStep(const QString& name)
    {
        return ElementPath::Step{.Name = name, .Position = ++mCounts[name]}.ToText();
    }

private:
    QHash<QString, int> mCounts;
};

QMap<QString, QString> StreamedAttributes(const QXmlStreamReader& node)
{
    QMap<QString, QString> attributes;
    for (const QXmlStreamAttribute& attribute : node.attributes())
        attributes.insert(attribute.qualifiedName().toString(), attribute.value().toString());
    return attributes;
}

void VisitSubtree(const QDomElement& element, int level, const QString& path, const ElementVisitor& visitor)
{
    QDomElement child = element.firstChildElement();
    visitor({.Level = level,
             .Path = path,
             .Name = element.tagName(),
             .Attributes = AttributesOf(element),
             .Text = TextOf(element),
             .IsSection = IsSection(element),
             .HasElements = !child.isNull()});
    StepCounter steps;
    for (; !child.isNull(); child = child.nextSiblingElement())
        VisitSubtree(child, level + 1, path + u'/' + steps.NextStep(child.tagName()), visitor);
}

/// Collects the text of the elements that are open.
class OpenTexts
{
public:
    void Begin(qint64 number)
    {
        if (!mOpen.isEmpty())
            mOpen.last().HasElements = true;
        mOpen.append({.Number = number, .Text = {}, .HasElements = false});
    }
    void Add(QStringView text)
    {
        if (!mOpen.isEmpty())
            mOpen.last().Text += text;
    }
    void End(QHash<qint64, QString>& mixedTexts)
    {
        if (mOpen.isEmpty())
            return;
        const OpenText ended = mOpen.takeLast();
        if (ended.HasElements && !ended.Text.isEmpty())
            mixedTexts.insert(ended.Number, ended.Text.trimmed());
    }

private:
    struct OpenText
    {
        qint64 Number;
        QString Text;
        bool HasElements;
    };
    QList<OpenText> mOpen;
};

struct Survey
{
    bool CanStream = false;
    bool HasFound = false;
    QHash<qint64, QString> MixedTexts; ///< of elements that also contain elements, by number
};

// Reads the whole document before the first visit, because nothing may be visited if the document is
// malformed. Collects the text of elements with mixed content, because an element is visited before its last
// text has been read.
Survey MakeSurvey(const QString& name, const QByteArray& document, const ElementPath& path)
{
    Survey survey;
    PathWalk walk(path);
    OpenTexts texts;
    qint64 number = 0;
    NodeStream nodes(name, document);
    while (nodes.Next()) {
        const QXmlStreamReader& node = nodes.Node();
        if (node.isStartElement()) {
            const PathWalk::Place place = walk.Enter(node.qualifiedName().toString());
            if (place == PathWalk::Place::Target || place == PathWalk::Place::Inside)
                texts.Begin(number++);
        } else if (node.isEndElement()) {
            texts.End(survey.MixedTexts);
            walk.Leave();
        } else if (node.isCharacters()) {
            texts.Add(node.text());
        }
    }
    if (nodes.IsMalformed())
        RequireLoadable(name, document);
    survey.CanStream = nodes.IsComplete();
    survey.HasFound = walk.HasFound();
    return survey;
}

/// Visits elements while the nodes of a document are read.
class StreamedVisit
{
public:
    StreamedVisit(const ElementPath& path, const Survey& survey, const ElementVisitor& visitor)
        : mWalk(path)
        , mSurvey(survey)
        , mVisitor(visitor)
    { }

    /// \return false if there is nothing left to visit
    [[nodiscard]] bool Add(const QXmlStreamReader& node)
    {
        if (node.isStartElement())
            BeginElement(node);
        else if (node.isEndElement())
            return EndElement();
        else if (mLatest)
            AddContent(node);
        return true;
    }

private:
    struct OpenElement
    {
        QString Path;
        StepCounter Steps;
    };

    void BeginElement(const QXmlStreamReader& node)
    {
        const QString name = node.qualifiedName().toString();
        const PathWalk::Place place = mWalk.Enter(name);
        if (place != PathWalk::Place::Target && place != PathWalk::Place::Inside)
            return;
        if (mLatest) {
            mLatest->HasElements = true;
            mLatest->IsSection = false;
            mLatest->Text = mSurvey.MixedTexts.value(mNumber);
            VisitLatest();
        }
        ++mNumber;
        const QString path = mOpen.isEmpty() ? mWalk.TargetPath()
                                             : mOpen.last().Path + u'/' + mOpen.last().Steps.NextStep(name);
        mLatest = VisitedElement{.Level = static_cast<int>(mOpen.size()),
                                 .Path = path,
                                 .Name = name,
                                 .Attributes = StreamedAttributes(node),
                                 .Text = {},
                                 .IsSection = false,
                                 .HasElements = false};
        mIsEmpty = true;
        mOpen.append({.Path = path, .Steps = {}});
    }

    bool EndElement()
    {
        mWalk.Leave();
        if (mOpen.isEmpty())
            return true;
        if (mLatest)
            VisitLatest();
        mOpen.removeLast();
        return !mOpen.isEmpty();
    }

    // Adds text, a CDATA section, a comment or a processing instruction.
    void AddContent(const QXmlStreamReader& node)
    {
        mLatest->IsSection = mIsEmpty && node.isCharacters() && node.isCDATA();
        mIsEmpty = false;
        if (node.isCharacters())
            mLatest->Text += node.text();
    }

    void VisitLatest()
    {
        mVisitor(*mLatest);
        mLatest.reset();
    }

    PathWalk mWalk;
    const Survey& mSurvey;
    const ElementVisitor& mVisitor;
    std::optional<VisitedElement> mLatest; ///< whose content has not been seen yet
    bool mIsEmpty = true; ///< whether nothing in that element has been read
    qint64 mNumber = -1; ///< of that element
    QList<OpenElement> mOpen;
};

} // namespace

bool VisitElements(const InputFile& file, const ElementPath& path, const ElementVisitor& visitor)
{
    try {
        if (const std::optional<bool> found = StreamElements(file.Name(), file.ReadAll(), path, visitor))
            return *found;
    } catch (const std::bad_alloc&) {
        throw Failure(file.Name(), u"not enough memory"_s);
    }
    XmlFiler filer;
    LoadDocument(filer, file);
    if (!path.MoveTo(filer))
        return false;
    VisitTree(filer.GetCurrentNode().toElement(), visitor);
    return true;
}

std::optional<bool> StreamElements(const QString& name, const QByteArray& document, const ElementPath& path,
                                   const ElementVisitor& visitor)
{
    const Survey survey = MakeSurvey(name, document, path);
    if (!survey.CanStream)
        return std::nullopt;
    if (!survey.HasFound)
        return false;
    NodeStream nodes({}, document);
    StreamedVisit visit(path, survey, visitor);
    while (nodes.Next() && visit.Add(nodes.Node())) { }
    return true;
}

void VisitTree(const QDomElement& element, const ElementVisitor& visitor)
{
    VisitSubtree(element, 0, ElementPath::Of(element), visitor);
}

QMap<QString, QString> AttributesOf(const QDomElement& element)
{
    QMap<QString, QString> attributes;
    const QDomNamedNodeMap nodes = element.attributes();
    for (int i = 0; i < nodes.count(); ++i)
        attributes.insert(nodes.item(i).nodeName(), nodes.item(i).nodeValue());
    return attributes;
}

QString TextOf(const QDomElement& element)
{
    QString text;
    bool hasElements = false;
    for (QDomNode child = element.firstChild(); !child.isNull(); child = child.nextSibling()) {
        if (child.isText()) // true for a CDATA section too
            text += child.nodeValue();
        hasElements = hasElements || child.isElement();
    }
    return hasElements ? text.trimmed() : text;
}

bool IsSection(const QDomElement& element)
{
    return element.firstChild().isCDATASection() && element.firstChild().nextSibling().isNull();
}

} // namespace Quorvin::Tool
