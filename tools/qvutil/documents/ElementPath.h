// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_TOOL_ELEMENTPATH_H
#define QVUTIL_TOOL_ELEMENTPATH_H

#include <qvutil/XmlFiler.h>

#include <QDomElement>
#include <QList>
#include <QString>

namespace Quorvin::Tool {

class InputFile;

/// The path of an element as the tool reads and prints it: a node path from the root in which "Item[2]" is
/// the second of the siblings named Item. Every path on the command line is resolved here.
class ElementPath
{
public:
    /// One step of a path.
    struct Step
    {
        QString Name;
        int Position = 1; ///< among the siblings with that name, counted from 1

        /// Returns "Item", or "Item[2]".
        [[nodiscard]] QString ToText() const;
    };

    /// Creates the path of the root.
    ElementPath() = default;
    /// Throws UsageFailure if a step is neither a name nor a name with a position, or is empty. Ignores a
    /// separator at either end.
    explicit ElementPath(const QString& text);

    /// Returns the path as it was typed.
    [[nodiscard]] const QString& Text() const { return mText; }
    /// Returns the steps, including the root's name if the path begins with it.
    [[nodiscard]] const QList<Step>& Steps() const { return mSteps; }
    /// Returns whether the path ends in a position, as in "Item[1]".
    [[nodiscard]] bool EndsInPosition() const { return mText.trimmed().endsWith(u']'); }

    /// Moves to the element.
    /// \return false, with the cursor on the root, if it does not exist
    [[nodiscard]] bool MoveTo(Util::XmlFiler& filer) const;
    /// Moves to the element, and reports an error if it does not exist.
    /// \param file  name of the file for the error message
    /// \return false, with the cursor on the root, if it does not exist
    [[nodiscard]] bool MoveToOrComplain(Util::XmlFiler& filer, const QString& file) const;
    /// Reports that the element does not exist.
    void Complain(const InputFile& file) const;

    /// Returns why the element does not exist, with suggestions for the first step that leads nowhere. The
    /// document must be loaded completely.
    [[nodiscard]] QString WhyMissing(const Util::XmlFiler& filer) const;
    /// \overload
    /// \param document  content of the file
    [[nodiscard]] QString WhyMissing(const QByteArray& document) const;

    enum class LastStep {
        IsReused, ///< an existing element is used
        IsNew, ///< a new element is appended even if one with that name exists
    };
    /// Moves to the element and creates what is missing. Throws Failure if a position leaves a gap.
    void Create(Util::XmlFiler& filer, LastStep last = LastStep::IsReused) const;

    /// Returns the path of an element, from the root.
    [[nodiscard]] static QString Of(const QDomElement& element);
    /// Returns the path of the element under the cursor, from the root.
    [[nodiscard]] static QString Of(const Util::XmlFiler& filer);

    /// Returns the steps below the root element of a document.
    [[nodiscard]] QList<Step> StepsBelow(const QString& root) const;

private:
    // The name of the root, if the first step may be a misspelling of it.
    [[nodiscard]] QStringList NamesOfRoot(const QString& root) const;
    class MissingStep;
    static void Follow(const QDomElement& element, MissingStep& missing);

    QString mText;
    QList<Step> mSteps;
    bool mIsFromRoot = false; ///< begins with a separator: the first step may name the root
};

/// Follows a path through the elements of a document as they begin and end, and finds what MoveTo finds.
class PathWalk
{
public:
    explicit PathWalk(const ElementPath& path)
        : mPath(path)
    { }

    /// How an element is related to the one at the path.
    enum class Place {
        Aside, ///< any other element
        Before, ///< a sibling that a position in the path counts
        Above, ///< an ancestor
        Target, ///< the element itself
        Inside, ///< a descendant
    };
    /// Call this when an element begins. \return how that element is related to the one at the path
    Place Enter(const QString& name);
    /// Call this when an element ends.
    void Leave();

    /// Returns whether the element has been found.
    [[nodiscard]] bool HasFound() const { return mHasFound; }
    /// Returns the path of the element in the form of ElementPath::Of. Only call this after the root has
    /// begun.
    [[nodiscard]] QString TargetPath() const;

private:
    const ElementPath& mPath;
    QString mRoot;
    QList<ElementPath::Step> mSteps;
    qsizetype mDepth = 0; ///< open elements
    qsizetype mOnPath = 0; ///< open elements on the path, including the root
    int mPosition = 0; ///< of the last sibling with the name of the next step
    bool mHasFound = false;
    bool mIsOver = false; ///< the last element on the path has ended
};

/// Throws UsageFailure if text is not the name of an element or attribute.
void CheckXmlName(const QString& text);

} // namespace Quorvin::Tool

#endif // QVUTIL_TOOL_ELEMENTPATH_H
