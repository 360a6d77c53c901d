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

/// Returns the name of an element without its namespace prefix.
[[nodiscard]] QStringView LocalName(QStringView name);
/// Returns the key of a document: its file name without folders, in lower case.
[[nodiscard]] QString DocumentKey(const QString& path);
/// Returns the id under which the library finds the unit of a text: the digest of the text.
[[nodiscard]] QString UnitId(const QString& source);
/// Returns a language code in the form in which codes are compared: "de-at" for "de-AT", "de_AT" and "DE-at".
[[nodiscard]] QString LanguageKey(const QString& language);
/// Returns whether two language codes have the same key.
[[nodiscard]] bool IsSameLanguage(const QString& a, const QString& b);

/// Whether a unit is where the library looks for units, or why it is not.
enum class UnitReachability {
    Found,
    NoFileName, ///< the "original" of its `file` element does not end in a file name
    BodyNotFirst, ///< another element, such as a header, is before the body
    Nested, ///< it is in a group, not directly in the body
    Replaced, ///< a later `file` element has the same file name
};

/// The progress of a unit's translation.
enum class UnitProgress {
    Empty, ///< no target: the library returns the id
    Unfinished, ///< the state of the target is "new" or "needs-…", and the unit is not approved
    Finished,
};

/// A `trans-unit` element.
struct XliffUnit
{
    int Element = 0;
    int SourceElement = -1;
    int TargetElement = -1; ///< -1 if there is none
    int File = -1; ///< index of its file; -1 if it is not in a file
    QString Id; ///< as the library reads it
    QString Source;
    bool IsSourceComplete = true; ///< false if an inline element represents text that is not in the file
    bool HasSourceMarkup = false; ///< whether the source contains elements
    QString Target; ///< as the library reads it
    QString WholeTarget; ///< all text in the target, without markup
    bool IsTargetComplete = true; ///< like IsSourceComplete
    QString State; ///< the attribute of the target
    bool IsApproved = false;
    UnitReachability Reachability = UnitReachability::Found;

    /// Returns whether the library can find the unit: it is where the library looks, and its id is a digest.
    [[nodiscard]] bool IsReachable() const;
    [[nodiscard]] UnitProgress GetProgress() const;
    /// Returns all text in the target as the library shows it: without a mark around it, if the library
    /// removes the mark.
    [[nodiscard]] QString GetShownTarget() const;
    /// Returns whether the target still needs to be translated, as after `xliff fill`.
    [[nodiscard]] bool IsFilledIn() const;
    /// Returns whether the library certainly does not find the source under this id.
    [[nodiscard]] bool HasWrongId() const;
    /// Returns whether the right id is certainly the digest of Source.
    [[nodiscard]] bool CanCorrectId() const;
};

/// A child of the root. The library accepts any name, not only `file`.
struct XliffFile
{
    int Element = 0;
    QString Original; ///< as the library reads it
    QString Key; ///< see DocumentKey
    QString SourceLanguage;
    QString TargetLanguage;
    int FirstChild = -1; ///< the element in which the library finds units; -1 if there is none
    int Body = -1; ///< the element with the name `body`; -1 if there is none
    QList<int> Units; ///< indexes of all units in the file, even if the library does not find them
};

/// The content of a new unit.
struct NewUnit
{
    QString Source;
    QString Target; ///< empty for none
    int Line = 0; ///< line of the text in its document; 0 for no line
};

/// An XLIFF 1.2 file: its units as the library sees them, and changes to its text.
///
/// Changes are made in the text itself, which preserves the rest of the file byte for byte: notes, comments,
/// attributes and their order, indentation, line endings and encoding. GetChanged returns the text with all
/// changes; the units do not change until the file is loaded again.
class XliffDocument
{
public:
    /// Creates an XLIFF file without content.
    XliffDocument();
    /// Loads a file; throws Failure if it cannot be read or is not XLIFF 1.x.
    explicit XliffDocument(const InputFile& file);

    /// Throws Failure with the place if a change could lose text, because a unit is inside the source or
    /// target of another, or a file element with units is inside another element.
    void RequireChangeable() const;

    /// Returns the name of the file for messages.
    [[nodiscard]] const QString& GetName() const { return mName; }
    [[nodiscard]] const QList<XliffFile>& GetFiles() const { return mFiles; }
    [[nodiscard]] const QList<XliffUnit>& GetUnits() const { return mUnits; }
    [[nodiscard]] Place GetPlace(int element) const { return mSource.GetElementPlace(element); }
    [[nodiscard]] int GetParent(int element) const { return mSource.GetElements().at(element).Parent; }
    [[nodiscard]] const XmlSource& GetSource() const { return mSource; }
    [[nodiscard]] const QString& GetLineEnd() const { return mLineEnd; }
    /// Returns the indentation of an element; empty if something else precedes the element on its line.
    [[nodiscard]] QString IndentOf(int element) const;
    /// Returns the additional indentation of a child element.
    [[nodiscard]] QString IndentStep() const;

    /// Returns whether a unit has no target, or one that contains only white space.
    [[nodiscard]] bool IsTargetBlank(const XliffUnit& unit) const;
    /// Returns whether a unit's target contains text or elements, even if the library reads no text in it.
    [[nodiscard]] bool HasTarget(const XliffUnit& unit) const;
    /// Returns the content of an element as it is written.
    [[nodiscard]] QStringView GetContentText(int element) const;

    /// Adds a target to a unit, or replaces the content of its target. Comments move after the target.
    void SetTarget(const XliffUnit& unit, const QString& text, const QString& state);
    /// Sets the state of an existing target. Also sets `approved` of the unit, because some programs, such as
    /// Qt Linguist, ignore the state: "no" for the states "new" and "needs-…", "yes" for all others.
    void SetState(const XliffUnit& unit, const QString& state);
    /// Replaces the content of a target and keeps its attributes.
    /// \param after  comments to insert after the target
    void SetTargetContent(const XliffUnit& unit, const QString& text, const QStringList& after);
    /// Sets the `approved` attribute of a unit.
    void SetApproved(const XliffUnit& unit, bool isApproved);
    /// Sets the id of a unit to the one under which the library finds its source.
    void SetId(const XliffUnit& unit);
    /// Records the line of a unit's text in its document. \return false if nothing changed
    bool SetLine(const XliffUnit& unit, int line);
    void SetTargetLanguage(const XliffFile& file, const QString& language);
    /// Adds units to a file, after one of its units, or before all others if \p after is null.
    void AddUnits(const XliffFile& file, const XliffUnit* after, const QList<NewUnit>& units);
    void AddFile(const QString& original, const QString& sourceLanguage, const QString& targetLanguage,
                 const QList<NewUnit>& units);
    void RemoveUnit(const XliffUnit& unit) { RemoveElement(unit.Element); }
    void RemoveFile(const XliffFile& file) { RemoveElement(file.Element); }
    void SetAttribute(int element, QStringView name, const QString& value);
    /// Adds text after the last child of an element that has children.
    void AppendText(int element, const QString& text);
    /// Returns a part of the text, with the changes that begin in it.
    [[nodiscard]] QString GetRange(qsizetype begin, qsizetype end);
    /// Replaces an element and all changes in it. If \p text is empty, also removes the lines of the element.
    void ReplaceElement(int element, const QString& text);

    [[nodiscard]] bool IsChanged() const { return !mEdits.isEmpty() || !mAppended.isEmpty(); }
    /// Returns the text with all changes.
    [[nodiscard]] QString GetChanged() const;
    /// Returns the bytes that Save writes. Throws Failure if they would not load.
    /// \param path  name of the file for the error message
    [[nodiscard]] QByteArray GetContent(const QString& path) const;
    /// Saves the changed text with an atomic write. Throws Failure if that fails; the file then has its old
    /// content.
    void Save(const QString& path) const;

private:
    struct Edit
    {
        qsizetype Begin;
        qsizetype End;
        QString Text;
        qsizetype CoveredEnd = 0; ///< further changes that begin before this offset have no effect
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
    QHash<QString, int> mReadFiles; // by key: the library uses the last file with units
    QList<Edit> mEdits;
    bool mIsSorted = true;
    QMap<int, QStringList> mAppended; // new children, by parent element
};

} // namespace Quorvin::Tool

#endif // QVUTIL_TOOL_XLIFF_XLIFFDOCUMENT_H
