// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_TOOL_XLIFF_XLIFFDOCUMENT_H
#define QVUTIL_TOOL_XLIFF_XLIFFDOCUMENT_H

#include "xliff/XmlSource.h"

#include <QHash>
#include <QList>
#include <QMap>
#include <QString>
#include <QStringList>

namespace Quorvin::Tool {

/// The name of an element without the prefix of its namespace.
[[nodiscard]] QStringView LocalName(QStringView name);
/// The key under which the library files a document's units: its file name without folders, in lower case.
[[nodiscard]] QString DocumentKey(const QString& path);
/// The id of the unit for a text, by which the library finds its translation: the digest of the text.
[[nodiscard]] QString UnitId(const QString& source);
/// Languages are written "de-AT", "de_AT" or "DE-at".
[[nodiscard]] bool IsSameLanguage(const QString& a, const QString& b);

/// Whether the library's translator finds a unit, and if not, why.
enum class UnitReachability {
    Found,
    NoFileName, ///< its `file` element has no "original" that ends in a file name
    BodyNotFirst, ///< another element, such as a header, stands before the body
    Nested, ///< it is in a group, not directly in the body
    Replaced, ///< a later `file` element of the same file name takes the place of its own
};

/// How far the translation of a unit is.
enum class UnitProgress {
    Empty, ///< no target: the reader shows the id
    Unfinished, ///< a target whose state says that it still needs work
    Finished,
};

/// A `trans-unit` element.
struct XliffUnit
{
    int Element = 0;
    int SourceElement = -1;
    int TargetElement = -1; ///< -1 if there is none
    int File = -1; ///< index of its file; -1 if it is in none
    QString Id; ///< as the reader takes it
    QString Source;
    bool IsSourceComplete
        = true; ///< false if an inline element stands for text that the file does not contain
    bool HasSourceMarkup = false; ///< whether the source contains elements
    QString Target; ///< as the reader takes it
    QString WholeTarget; ///< all text in the target, markup removed
    bool IsTargetComplete = true; ///< like IsSourceComplete
    QString State; ///< the attribute of the target
    bool IsApproved = false;
    UnitReachability Reachability = UnitReachability::Found;

    [[nodiscard]] UnitProgress GetProgress() const;
    /// Whether the target was only filled in for the time being.
    [[nodiscard]] bool IsFilledIn() const;
    /// Whether the id is known not to be the one under which the reader looks for the source.
    [[nodiscard]] bool HasWrongId() const;
    /// Returns whether the right id certainly is the digest of Source.
    [[nodiscard]] bool CanCorrectId() const;
};

/// A child of the root: a `file` element, but the reader takes any.
struct XliffFile
{
    int Element = 0;
    QString Original; ///< as the reader takes it
    QString Key; ///< see DocumentKey
    QString SourceLanguage;
    QString TargetLanguage;
    int FirstChild = -1; ///< what the reader takes for the body; -1 if there is none
    int Body = -1; ///< the element named so; -1 if there is none
    QList<int> Units; ///< indexes of all its units, wherever they are
};

/// What a new unit holds.
struct NewUnit
{
    QString Source;
    QString Target; ///< empty for none
    int Line = 0; ///< where the text is in its document; 0 for not said
};

/// An XLIFF 1.2 file: its units as the library's translator sees them, and changes to its text.
///
/// Changes are made to the text itself, so that everything they do not concern stays as it is, to the byte:
/// notes, comments, attributes and their order, indentation, line ends, the encoding. They show in GetChanged
/// at once, but not in the units: load again to see them there.
class XliffDocument
{
public:
    /// Makes an XLIFF file without content.
    XliffDocument();
    /// Loads a file; throws Failure if it cannot be read, or is no XLIFF 1.
    explicit XliffDocument(const InputFile& file);

    /// How to call the file in messages.
    [[nodiscard]] const QString& GetName() const { return mName; }
    [[nodiscard]] const QList<XliffFile>& GetFiles() const { return mFiles; }
    [[nodiscard]] const QList<XliffUnit>& GetUnits() const { return mUnits; }
    [[nodiscard]] Place GetPlace(int element) const { return mSource.GetElementPlace(element); }
    [[nodiscard]] int GetParent(int element) const { return mSource.GetElements().at(element).Parent; }
    [[nodiscard]] const XmlSource& GetSource() const { return mSource; }
    [[nodiscard]] const QString& GetLineEnd() const { return mLineEnd; }
    /// The white space before an element that begins its line; nothing before another.
    [[nodiscard]] QString IndentOf(int element) const;
    [[nodiscard]] QString IndentStep() const;

    /// Whether a unit's target has no content but white space.
    [[nodiscard]] bool IsTargetBlank(const XliffUnit& unit) const;
    /// Whether a unit's target contains text or elements, even if the reader finds no text in it.
    [[nodiscard]] bool HasTarget(const XliffUnit& unit) const;
    /// The content of an element as it is written.
    [[nodiscard]] QStringView GetContentText(int element) const;

    /// Gives a unit a target, or replaces the content of the one it has. Comments move behind the target.
    void SetTarget(const XliffUnit& unit, const QString& text, const QString& state);
    /// Sets the state of an existing target. A state that says that work remains also takes the approval from
    /// the unit; any other state approves it: Qt Linguist and others go by that alone.
    void SetState(const XliffUnit& unit, const QString& state);
    /// Replaces the content of a target, which keeps its attributes.
    /// \param behind  comments to put behind the target
    void SetTargetContent(const XliffUnit& unit, const QString& text, const QStringList& behind);
    /// Says whether the translation of a unit is finished.
    void SetApproved(const XliffUnit& unit, bool isApproved);
    /// Gives a unit the id under which the reader finds its source.
    void SetId(const XliffUnit& unit);
    /// Notes in which line of the document a unit's text is. \return false if it is noted already
    bool SetLine(const XliffUnit& unit, int line);
    void SetTargetLanguage(const XliffFile& file, const QString& language);
    /// Adds units to a file, behind one of its units, or before all others if \p behind is null.
    void AddUnits(const XliffFile& file, const XliffUnit* behind, const QList<NewUnit>& units);
    void AddFile(const QString& original, const QString& sourceLanguage, const QString& targetLanguage,
                 const QList<NewUnit>& units);
    void RemoveUnit(const XliffUnit& unit) { RemoveElement(unit.Element); }
    void RemoveFile(const XliffFile& file) { RemoveElement(file.Element); }
    void SetAttribute(int element, QStringView name, const QString& value);
    /// Adds text behind the last child of an element that has children.
    void AppendText(int element, const QString& text);
    /// Returns a part of the text with all changes that begin in it.
    [[nodiscard]] QString GetRange(qsizetype begin, qsizetype end);
    /// Replaces an element and all changes in it; with nothing, the lines that it fills are removed as well.
    void ReplaceElement(int element, const QString& text);

    [[nodiscard]] bool IsChanged() const { return !mEdits.isEmpty() || !mAppended.isEmpty(); }
    /// The text with all changes.
    [[nodiscard]] QString GetChanged() const;
    /// Returns what Save writes. Throws Failure if it would not load.
    /// \param path  name of the file for the failure
    [[nodiscard]] QByteArray GetContent(const QString& path) const;
    /// Writes the changed text to a file, which holds the old content or the new one whatever happens in
    /// between; throws Failure if it stays the old one.
    void Save(const QString& path) const;

private:
    struct Edit
    {
        qsizetype Begin;
        qsizetype End;
        QString Text;
        qsizetype CoveredEnd = 0; ///< further changes that begin before this have no effect
    };

    void Read();
    void ReadFile(int element);
    void ReadUnit(int element);
    [[nodiscard]] QStringView NameOf(int element) const;
    [[nodiscard]] QStringView RawText(qsizetype begin, qsizetype end) const;
    [[nodiscard]] bool HasUnits(const XliffFile& file) const;
    [[nodiscard]] UnitReachability ClassifyUnit(const XliffUnit& unit) const;

    [[nodiscard]] int FindChild(int parent, QStringView name) const;
    [[nodiscard]] QString Escape(const QString& text, bool isAttribute) const;
    [[nodiscard]] QString EscapeContent(const QString& text) const;
    [[nodiscard]] QString ComposeUnit(const NewUnit& unit, const QString& indent) const;
    [[nodiscard]] QString ComposeBody(const QList<NewUnit>& units, const QString& indent) const;
    [[nodiscard]] QString ComposeLocation(int line, const QString& indent) const;
    void AppendChild(int parent, const QString& child) { mAppended[parent].append(child); }
    [[nodiscard]] Edit ComposeAppended(int parent, const QStringList& children) const;
    void RemoveElement(int element);
    [[nodiscard]] Edit ComposeRemoval(int element) const;
    static void SortEdits(QList<Edit>& edits);
    [[nodiscard]] QString Apply(const QList<Edit>& edits, qsizetype begin, qsizetype end) const;
    void ReadInlineTexts();
    [[nodiscard]] qsizetype TagContentEnd(int element) const;
    [[nodiscard]] qsizetype LineStartOf(int element) const;
    void AddEdit(const Edit& edit);
    void Insert(qsizetype at, const QString& text) { AddEdit({at, at, text}); }

    QString mName;
    XmlSource mSource;
    QString mLineEnd;
    QList<XliffFile> mFiles;
    QList<XliffUnit> mUnits;
    QHash<QString, int> mReadFiles; // by the key: of several files, the reader uses the last that holds units
    QList<Edit> mEdits;
    bool mIsSorted = true;
    QMap<int, QStringList> mAppended; // new children, by the element that gets them
};

} // namespace Quorvin::Tool

#endif // QVUTIL_TOOL_XLIFF_XLIFFDOCUMENT_H
