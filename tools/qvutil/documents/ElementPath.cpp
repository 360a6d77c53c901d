// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "documents/ElementPath.h"

#include "cli/Console.h"
#include "cli/Failure.h"
#include "cli/InputFile.h"
#include "cli/Suggestion.h"
#include <qvutil/xml/XmlRules_p.h>

#include <QDomElement>
#include <QXmlStreamReader>

using namespace Qt::StringLiterals;
using Quorvin::Util::XmlFiler;
using Quorvin::Util::Internal::IsXmlName;

namespace Quorvin::Tool {
namespace {

using Step = ElementPath::Step;

Step ParseStep(const QString& text)
{
    Step step{.Name = text};
    bool isStep = true;
    const qsizetype bracket = text.indexOf(u'[');
    if (bracket >= 0 && text.endsWith(u']')) {
        step.Name = text.left(bracket);
        step.Position = QStringView(text).sliced(bracket + 1).chopped(1).toInt(&isStep);
        isStep = isStep && step.Position >= 1;
    }
    if (!isStep || !IsXmlName(step.Name)) {
        throw UsageFailure(
            u"%1 is not a step of a path: the library cannot address elements by wildcards, conditions or "
            "'..'; a step is the name of an element, or a name with a position counted from 1, such as Item[2]"_s
                .arg(Console::Quoted(text)));
    }
    return step;
}

bool MoveToChild(XmlFiler& filer, const Step& step)
{
    if (!filer.MoveToImmediateChildNode(step.Name))
        return false;
    for (int position = 1; position < step.Position;) {
        if (!filer.MoveToNextSibling())
            return false;
        position += filer.GetCurrentNodeName() == step.Name ? 1 : 0;
    }
    return true;
}

int CountChildren(const XmlFiler& filer, const QString& name)
{
    int count = 0;
    QDomElement child = filer.GetCurrentNode().firstChildElement(name);
    for (; !child.isNull(); child = child.nextSiblingElement(name))
        ++count;
    return count;
}

void MoveToOrCreateChild(XmlFiler& filer, const Step& step)
{
    if (step.Position == 1) {
        if (!filer.MoveToImmediateChildNode(step.Name))
            filer.CreateImmediateChildNode(step.Name);
        return;
    }
    const int count = CountChildren(filer, step.Name);
    if (step.Position > count + 1) {
        throw Failure(
            {},
            u"%1 cannot be created: %2 has only %3 of that name"_s.arg(step.ToText(), ElementPath::Of(filer))
                .arg(count));
    }
    if (step.Position == count + 1)
        filer.CreateImmediateChildNode(step.Name);
    else
        (void)MoveToChild(filer, step);
}

} // namespace

QString ElementPath::Step::ToText() const
{
    return Position == 1 ? Name : u"%1[%2]"_s.arg(Name).arg(Position);
}

ElementPath::ElementPath(const QString& text)
    : mText(text)
{
    QString path = text.trimmed();
    path.replace(u'\\', u'/');
    mIsFromRoot = path.startsWith(u'/');
    // The library reads "//" as "/". Users of other path languages expect "//" to search the whole document,
    // but a command that writes would create an element instead.
    if (path.contains("//"_L1)) {
        throw UsageFailure(u"%1 contains an empty step: the library cannot search at any depth and reads "
                           "'//' as '/'; name each element on the way from the root, as in Panel/Main"_s.arg(
                               Console::Quoted(text)));
    }
    const QStringList steps = path.split(u'/', Qt::SkipEmptyParts);
    for (const QString& step : steps)
        mSteps.append(ParseStep(step));
}

QList<ElementPath::Step> ElementPath::StepsBelow(const QString& root) const
{
    const bool namesRoot
        = mIsFromRoot && !mSteps.isEmpty() && mSteps.front().Name == root && mSteps.front().Position == 1;
    return namesRoot ? mSteps.sliced(1) : mSteps;
}

bool ElementPath::MoveTo(XmlFiler& filer) const
{
    filer.MoveToRoot();
    const QList<Step> steps = StepsBelow(filer.GetCurrentNodeName());
    for (const Step& step : steps) {
        if (!MoveToChild(filer, step)) {
            filer.MoveToRoot();
            return false;
        }
    }
    return true;
}

/// Follows a path through the elements of a document, as far as it leads.
class ElementPath::MissingStep
{
public:
    explicit MissingStep(const ElementPath& path)
        : mPath(path)
    { }

    /// Call this when an element begins. \return whether the element is on the path
    bool Enter(const QString& name)
    {
        if (mDepth++ == 0) {
            mSteps = mPath.StepsBelow(name);
            mNames = mPath.NamesOfRoot(name);
            mParent = u'/' + name;
            return true;
        }
        if (mDepth != mFound + 2 || mFound == mSteps.size())
            return false;
        const Step& step = mSteps.at(mFound);
        mNames.append(name);
        if (name != step.Name || ++mCount != step.Position)
            return false;
        mParent += u'/' + step.ToText();
        ++mFound;
        mCount = 0;
        mNames.clear();
        return true;
    }
    /// Call this when an element ends.
    void Leave()
    {
        if (--mDepth == mFound)
            mIsOver = true;
    }

    /// Returns whether the last element on the path has ended.
    [[nodiscard]] bool IsOver() const { return mIsOver; }

    [[nodiscard]] QString ToText() const
    {
        const QString reason = u"there is no element %1"_s.arg(mPath.Text());
        if (mCount == 0)
            return reason + DidYouMean(mSteps.value(mFound).Name, mNames);
        return reason + u"; %1 has only %2 of that name"_s.arg(mParent, QString::number(mCount));
    }

private:
    const ElementPath& mPath;
    QList<Step> mSteps;
    QStringList mNames; ///< of the elements that the next step could have led to
    QString mParent; ///< path of the last element on the path
    qsizetype mCount = 0; ///< children of that element with the name of the next step
    qsizetype mFound = 0; ///< steps that lead to an element
    qsizetype mDepth = 0;
    bool mIsOver = false;
};

void ElementPath::Follow(const QDomElement& element, MissingStep& missing)
{
    if (missing.Enter(element.tagName())) {
        QDomElement child = element.firstChildElement();
        for (; !child.isNull() && !missing.IsOver(); child = child.nextSiblingElement())
            Follow(child, missing);
    }
    missing.Leave();
}

QString ElementPath::WhyMissing(const XmlFiler& filer) const
{
    MissingStep missing(*this);
    Follow(filer.GetCurrentNode().ownerDocument().documentElement(), missing);
    return missing.ToText();
}

QString ElementPath::WhyMissing(const QByteArray& document) const
{
    QXmlStreamReader reader(document);
    reader.setNamespaceProcessing(false);
    MissingStep missing(*this);
    while (!reader.atEnd() && !missing.IsOver()) {
        reader.readNext();
        if (reader.isStartElement())
            missing.Enter(reader.qualifiedName().toString());
        else if (reader.isEndElement())
            missing.Leave();
    }
    return missing.ToText();
}

QStringList ElementPath::NamesOfRoot(const QString& root) const
{
    return mIsFromRoot && StepsBelow(root).size() == mSteps.size() ? QStringList(root) : QStringList();
}

bool ElementPath::MoveToOrComplain(XmlFiler& filer, const QString& file) const
{
    if (MoveTo(filer))
        return true;
    Console::ReportError(file, WhyMissing(filer));
    return false;
}

void ElementPath::Complain(const InputFile& file) const
{
    Console::ReportError(file.Name(), WhyMissing(file.ReadAll()));
}

void ElementPath::Create(XmlFiler& filer, LastStep last) const
{
    filer.MoveToRoot();
    const QList<Step> steps = StepsBelow(filer.GetCurrentNodeName());
    for (qsizetype i = 0; i < steps.size(); ++i) {
        if (last == LastStep::IsNew && i == steps.size() - 1)
            filer.CreateImmediateChildNode(steps.at(i).Name);
        else
            MoveToOrCreateChild(filer, steps.at(i));
    }
}

QString ElementPath::Of(const QDomElement& element)
{
    QString path;
    for (QDomElement current = element; !current.isNull(); current = current.parentNode().toElement()) {
        Step step{.Name = current.tagName()};
        QDomElement before = current.previousSiblingElement(step.Name);
        for (; !before.isNull(); before = before.previousSiblingElement(step.Name))
            ++step.Position;
        path.prepend(u'/' + step.ToText());
    }
    return path;
}

QString ElementPath::Of(const XmlFiler& filer)
{
    return Of(filer.GetCurrentNode().toElement());
}

PathWalk::Place PathWalk::Enter(const QString& name)
{
    const bool isBelowPath = mDepth == mOnPath && !mIsOver;
    ++mDepth;
    if (mDepth == 1) {
        mRoot = name;
        mSteps = mPath.StepsBelow(name);
    } else if (mHasFound) {
        return mIsOver ? Place::Aside : Place::Inside;
    } else {
        const Step* const step = isBelowPath ? &mSteps.at(mOnPath - 1) : nullptr;
        if (!step || step->Name != name)
            return Place::Aside;
        if (++mPosition < step->Position)
            return Place::Before;
    }
    mOnPath = mDepth;
    mPosition = 0;
    mHasFound = mOnPath > mSteps.size();
    return mHasFound ? Place::Target : Place::Above;
}

void PathWalk::Leave()
{
    // A path leads to one element per step. If that element ends without the next step, no other element is
    // tried.
    mIsOver = mIsOver || mDepth == mOnPath;
    --mDepth;
}

QString PathWalk::TargetPath() const
{
    QString path = u'/' + mRoot;
    for (const Step& step : mSteps)
        path += u'/' + step.ToText();
    return path;
}

void CheckXmlName(const QString& text)
{
    if (!IsXmlName(text))
        throw UsageFailure(u"%1 is not a valid name of an element or attribute"_s.arg(Console::Quoted(text)));
}

} // namespace Quorvin::Tool
