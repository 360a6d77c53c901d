// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_XMLFILER_H
#define QVUTIL_XMLFILER_H

#include "GeneralUtil.h"
#include "QvUtilGlobal.h"

#include <QtCore/QByteArray>
#include <QtCore/QDateTime>
#include <QtCore/QHash>
#include <QtCore/QList>
#include <QtCore/QMap>
#include <QtCore/QRect>
#include <QtCore/QSize>
#include <QtCore/QString>
#include <QtCore/QStringList>
#include <QtXml/QDomDocument>

#include <memory>
#include <optional>

namespace Quorvin::Util {

class XlfTranslator;

/// Why a document failed to load.
/// \since QvUtil 1.0
struct XmlLoadError
{
    /// The reason in English, such as "Opening and ending tag mismatch"; empty if nothing failed.
    QString Text;
    /// Line of the error, counted from 1; 0 if the file could not be opened or read, is too large, or does
    /// not fit into memory.
    int Line = 0;
    /// Column of the error, counted from 1; 0 if Line is 0.
    int Column = 0;
};

/// Loads, edits and saves an XML document through a cursor, with typed values addressed by node path.
///
/// A *node path* is a list of element names separated by '/' or '\'. A path that begins with a separator
/// starts at the root element, which it may name or omit: with the root "Settings", "/Settings/Panel" and
/// "/Panel" are the same element. Any other path starts at the cursor. A blank path is the cursor itself.
/// White space around the path and empty steps are ignored, and names are compared case-sensitively. There
/// are no indexes, wildcards or "..": such text is taken as an element name.
///
/// Operations on values have two forms. The *name-only* form acts on the element under the cursor. The
/// *path* form takes a node path first and does not move the cursor. Writing through a path creates missing
/// elements; reading never creates anything.
///
/// \code
/// XmlFiler filer;
/// filer.CreateRoot(u"Settings"_s);
/// filer.WriteInt(u"Panel/Main"_s, u"Width"_s, 640);
/// filer.SaveAsXmlFile(path);
/// // …
/// const int width = filer.ReadInt(u"/Panel/Main"_s, u"Width"_s, 320);
/// \endcode
///
/// \par Limits
/// A document does not load if its elements are nested more than 1,000 deep, if one element has more than
/// 10,000 attributes, if its entities and attribute defaults expand to more than 16 Mi characters, or if the
/// file is larger than 1 GiB.
///
/// \par Failures
/// GetLoadError returns why a load failed. Failed loads and saves are also logged, with file, position and
/// reason, in the category `qvutil`.
///
/// \par Threads
/// Reentrant: different objects can be used in different threads, but each object by one thread at a time.
/// \since QvUtil 1.0
class QVUTIL_EXPORT XmlFiler
{
public:
    /// Constructs a filer with an empty document and no cursor.
    XmlFiler();
    /// Destroys the document. Translator is not owned and is not deleted.
    virtual ~XmlFiler();
    Q_DISABLE_COPY_MOVE(XmlFiler)

    /// \name Documents
    /// @{

    /// Loads the document from a file and moves the cursor to its root element. The node stack is kept.
    ///
    /// If the file does not exist or cannot be opened, document and cursor are unchanged. After any other
    /// failure the document is empty, and the cursor points to a node that no longer belongs to a document.
    /// \param path  the file; after a successful load it is also the context for translations
    /// \return false if the file does not exist, cannot be opened (which is also reported through
    ///         GeneralUtil::OutputDebugString), cannot be read, or does not parse
    bool LoadFromXmlFile(const QString& path);
    /// Loads the document from text and moves the cursor to its root element. An encoding in the XML
    /// declaration is ignored, and the context for translations does not change.
    /// \param xml  the markup
    /// \return false if the text does not parse; the document is then empty, as after LoadFromXmlFile
    bool LoadFromXmlString(const QString& xml);
    /// Returns why the last load failed.
    /// \return the reason and its position; the text is empty if the last load succeeded or nothing was
    ///         loaded
    [[nodiscard]] XmlLoadError GetLoadError() const;
    /// Saves the document as UTF-8, indented by four spaces per level, with each element's attributes sorted
    /// by name.
    ///
    /// The write is atomic: the content goes to a temporary file in the same folder, which then replaces
    /// \p path. Symbolic links are followed. Permissions, owner, POSIX access control list and user extended
    /// attributes are kept where the user may set them, and the new file is never accessible to more users
    /// than the old one. Other hard links to the file keep the old content. If the folder is not writable, or
    /// \p path is not a regular file (a pipe, for example), the file is written directly, and a full disk can
    /// leave it incomplete.
    ///
    /// The content is not checked. A document that no parser accepts is saved and logged, for example one
    /// with a space in a name, a second root element, a character that XML does not allow, or "--" in a
    /// comment.
    /// \param path  the file
    /// \return false if there is no root element, or if the file cannot be opened or written completely
    bool SaveAsXmlFile(const QString& path);
    /// Returns the document as text, indented by one space per level, with each element's attributes sorted
    /// by name.
    /// \return the text; empty if there is no root element
    [[nodiscard]] QString SaveAsXmlString();
    /// Returns whether the document has no root element.
    /// \return false if there is a root element, even one without content
    [[nodiscard]] bool IsEmpty() const;
    /// Clears the document and the cursor. The node stack, the context for translations, Translator and
    /// TranslateEnabled are kept.
    void Reset();
    /// Inserts the declaration `<?xml version="1.0"?>` unless the document has one.
    void CreateXmlDeclaration();
    /// Inserts a processing instruction before the root element, or at the end if there is no root element.
    /// The cursor does not move.
    /// \param target  name of the instruction
    /// \param data    its content
    void CreateProcessingInstruction(const QString& target, const QString& data);
    /// Creates the declaration and the root element of an empty document, and moves the cursor to the root.
    /// Does nothing if there is a root element.
    /// \param name  the root's name; "Root" if empty
    void CreateRoot(const QString& name);

    /// @}
    /// \name Cursor and structure
    /// Where several siblings have the same name, a node path leads to the first of them.
    /// @{

    /// Moves along a node path and creates missing elements.
    /// \param path  a node path; a blank path is the cursor itself
    /// \param b     true to reuse an existing element for the last step, false to always append a new one
    /// \return true
    bool CreateNode(const QString& path, bool b);
    /// Moves along a node path, optionally creating missing elements.
    /// \param path           a node path; a blank path is the cursor itself
    /// \param create         whether to append missing elements; without a cursor, the first one is appended
    ///                       to the document itself
    /// \param alwaysNewLast  with \p create: whether to append a new element for the last step even if one
    ///                       exists
    /// \return false, with the cursor unmoved, if an element is missing and \p create is false
    bool CreateOrMoveToNode(const QString& path, bool create, bool alwaysNewLast);
    /// Appends an element to the cursor's children, or to the document if there is no cursor, and moves to
    /// it.
    /// \param name  name of the element
    void CreateImmediateChildNode(const QString& name);
    /// Moves to the root element. If there is no root element, clears the cursor.
    void MoveToRoot();
    /// Moves to the first child element, whatever its name.
    /// \return false, with the cursor unmoved, if there is none
    bool MoveToFirstChild();
    /// Moves along a node path without creating anything.
    /// \param path  a node path; a blank path is the cursor itself
    /// \return false, with the cursor unmoved, if an element is missing
    bool MoveToNode(const QString& path);
    /// Moves to the first child element with a name.
    /// \param name  name of the element; empty for any
    /// \return false, with the cursor unmoved, if there is none
    bool MoveToImmediateChildNode(const QString& name);
    /// Moves to the next sibling element, whatever its name.
    /// \return false, with the cursor unmoved, if there is none
    bool MoveToNextSibling();
    /// Moves to the parent node. The root element's parent is the document node.
    /// \return false, with the cursor unmoved, if there is none
    bool MoveToParent();
    /// Removes the node under the cursor and moves to its parent. Does nothing if it has no parent.
    void DeleteNode();
    /// Removes the element at a node path. The cursor does not move: if it was inside the removed element, it
    /// points to a node that no longer belongs to any document. If there is no cursor, it is set to the
    /// parent of the removed element.
    /// \param path  node path of the element
    void DeleteNode(const QString& path);
    /// Removes all child nodes of the node under the cursor, whatever their kind. The cursor does not move.
    void DeleteChildNodes();
    /// Removes all child nodes of the element at a node path, whatever their kind. The cursor does not move.
    /// \param path  node path of the element
    void DeleteChildNodes(const QString& path);
    /// Returns a handle to the node under the cursor.
    ///
    /// The handle is valid until this object next changes the document. Calling this operation turns the
    /// caching of node paths off for good, because the document can then be changed through the handle. Every
    /// operation with a path becomes slower, most of all if it leads through elements with many children.
    /// \return the node under the cursor; null if there is no cursor
    [[nodiscard]] QDomNode GetCurrentNode() const;
    /// Returns the cursor's path from the root, such as "/Settings/Panel". Siblings with the same name have
    /// the same path.
    /// \return the path; empty if there is no cursor
    [[nodiscard]] QString GetCurrentNodePath() const;
    /// Returns the name of the element under the cursor.
    /// \return the name; empty if the cursor is not on an element
    [[nodiscard]] QString GetCurrentNodeName() const;
    /// Returns the names of the attributes of the element under the cursor.
    /// \return the names, sorted; empty if there are none, or if the cursor is not on an element
    [[nodiscard]] QStringList GetAttributeNames() const;
    /// Pushes the cursor onto the node stack.
    void PushCurrentNode() const;
    /// Moves the cursor to the node on top of the node stack and removes it from the stack. If the stack is
    /// empty, does nothing but log a warning.
    void PopCurrentNode() const;

    /// @}
    /// \name Values in attributes
    /// A read returns its default if the element or attribute is missing, if the attribute is empty, and,
    /// unless stated otherwise, if its text does not convert to the type. A write does nothing if the cursor
    /// is not on an element.
    ///
    /// The writes of this class do not mark a Settings as changed; call Settings::MarkChanged after them.
    /// @{

    /// Reads an int in decimal notation.
    /// \param name          name of the attribute
    /// \param defaultValue  the fallback value
    /// \return the value; \p defaultValue if it is missing, empty, not a number or out of range
    [[nodiscard]] int ReadInt(const QString& name, int defaultValue) const;
    /// Reads an int from the element at \p path.
    /// \param path  node path of the element
    /// \copydetails ReadInt(const QString&, int) const
    [[nodiscard]] int ReadInt(const QString& path, const QString& name, int defaultValue) const;
    /// Writes an int in decimal notation; does not mark a Settings as changed.
    /// \param name   name of the attribute
    /// \param value  the value
    void WriteInt(const QString& name, int value);
    /// Writes an int to the element at \p path, which is created if it is missing. Does not mark a Settings
    /// as changed.
    /// \param path  node path of the element
    /// \copydetails WriteInt(const QString&, int)
    void WriteInt(const QString& path, const QString& name, int value);

    /// Reads an unsigned int in decimal notation.
    /// \param name          name of the attribute
    /// \param defaultValue  the fallback value
    /// \return the value; \p defaultValue if it is missing, empty, not a number or out of range
    [[nodiscard]] unsigned int ReadUInt(const QString& name, unsigned int defaultValue);
    /// Reads an unsigned int from the element at \p path.
    /// \param path  node path of the element
    /// \copydetails ReadUInt(const QString&, unsigned int)
    [[nodiscard]] unsigned int ReadUInt(const QString& path, const QString& name, unsigned int defaultValue);
    /// Writes an unsigned int in decimal notation; does not mark a Settings as changed.
    /// \param name   name of the attribute
    /// \param value  the value
    void WriteUInt(const QString& name, unsigned int value);
    /// Writes an unsigned int to the element at \p path, which is created if it is missing. Does not mark a
    /// Settings as changed.
    /// \param path  node path of the element
    /// \copydetails WriteUInt(const QString&, unsigned int)
    void WriteUInt(const QString& path, const QString& name, unsigned int value);

    /// Reads a long in decimal notation.
    /// \param name          name of the attribute
    /// \param defaultValue  the fallback value
    /// \return the value; \p defaultValue if it is missing, empty, not a number or out of range
    [[nodiscard]] long ReadLong(const QString& name, long defaultValue);
    /// Reads a long from the element at \p path.
    /// \param path  node path of the element
    /// \copydetails ReadLong(const QString&, long)
    [[nodiscard]] long ReadLong(const QString& path, const QString& name, long defaultValue);
    /// Writes a long in decimal notation; does not mark a Settings as changed.
    /// \param name   name of the attribute
    /// \param value  the value
    void WriteLong(const QString& name, long value);
    /// Writes a long to the element at \p path, which is created if it is missing. Does not mark a Settings
    /// as changed.
    /// \param path  node path of the element
    /// \copydetails WriteLong(const QString&, long)
    void WriteLong(const QString& path, const QString& name, long value);

    /// Reads an unsigned long in decimal notation.
    /// \param name          name of the attribute
    /// \param defaultValue  the fallback value
    /// \return the value; \p defaultValue if it is missing, empty, not a number or out of range
    [[nodiscard]] unsigned long ReadULong(const QString& name, unsigned long defaultValue);
    /// Reads an unsigned long from the element at \p path.
    /// \param path  node path of the element
    /// \copydetails ReadULong(const QString&, unsigned long)
    [[nodiscard]] unsigned long ReadULong(const QString& path, const QString& name,
                                          unsigned long defaultValue);
    /// Writes an unsigned long in decimal notation; does not mark a Settings as changed.
    /// \param name   name of the attribute
    /// \param value  the value
    void WriteULong(const QString& name, unsigned long value);
    /// Writes an unsigned long to the element at \p path, which is created if it is missing. Does not mark a
    /// Settings as changed.
    /// \param path  node path of the element
    /// \copydetails WriteULong(const QString&, unsigned long)
    void WriteULong(const QString& path, const QString& name, unsigned long value);

    /// Reads a 64-bit integer in decimal notation.
    /// \param name          name of the attribute
    /// \param defaultValue  the fallback value
    /// \return the value; \p defaultValue if it is missing, empty, not a number or out of range
    [[nodiscard]] long long ReadInt64(const QString& name, long long defaultValue);
    /// Reads a 64-bit integer from the element at \p path.
    /// \param path  node path of the element
    /// \copydetails ReadInt64(const QString&, long long)
    [[nodiscard]] long long ReadInt64(const QString& path, const QString& name, long long defaultValue);
    /// Writes a 64-bit integer in decimal notation; does not mark a Settings as changed.
    /// \param name   name of the attribute
    /// \param value  the value
    void WriteInt64(const QString& name, long long value);
    /// Writes a 64-bit integer to the element at \p path, which is created if it is missing. Does not mark a
    /// Settings as changed.
    /// \param path  node path of the element
    /// \copydetails WriteInt64(const QString&, long long)
    void WriteInt64(const QString& path, const QString& name, long long value);

    /// Reads a floating-point number.
    /// \param name          name of the attribute
    /// \param defaultValue  the fallback value
    /// \return the value; \p defaultValue if it is missing, empty or not a number
    [[nodiscard]] double ReadDouble(const QString& name, double defaultValue);
    /// Reads a floating-point number from the element at \p path.
    /// \param path  node path of the element
    /// \copydetails ReadDouble(const QString&, double)
    [[nodiscard]] double ReadDouble(const QString& path, const QString& name, double defaultValue);
    /// Writes a floating-point number with up to 17 significant digits, so that it reads back as the same
    /// value. Does not mark a Settings as changed.
    /// \param name   name of the attribute
    /// \param value  the value
    void WriteDouble(const QString& name, double value);
    /// Writes a floating-point number to the element at \p path, which is created if it is missing. Does not
    /// mark a Settings as changed.
    /// \param path  node path of the element
    /// \copydetails WriteDouble(const QString&, double)
    void WriteDouble(const QString& path, const QString& name, double value);

    /// Reads a boolean: "true" or "false" in any case, or an unsigned decimal number, of which 0 is false.
    /// \param name          name of the attribute
    /// \param defaultValue  the fallback value
    /// \return the value; \p defaultValue for anything else
    [[nodiscard]] bool ReadBoolean(const QString& name, bool defaultValue) const;
    /// Reads a boolean from the element at \p path.
    /// \param path  node path of the element
    /// \copydetails ReadBoolean(const QString&, bool) const
    [[nodiscard]] bool ReadBoolean(const QString& path, const QString& name, bool defaultValue) const;
    /// Writes "True" or "False"; does not mark a Settings as changed.
    /// \param name   name of the attribute
    /// \param value  the value
    void WriteBoolean(const QString& name, bool value);
    /// Writes a boolean to the element at \p path, which is created if it is missing. Does not mark a
    /// Settings as changed.
    /// \param path  node path of the element
    /// \copydetails WriteBoolean(const QString&, bool)
    void WriteBoolean(const QString& path, const QString& name, bool value);

    /// Reads a rectangle from the text "x,y,width,height". A part that is not a number counts as 0.
    /// \param name          name of the attribute
    /// \param defaultValue  the fallback value
    /// \return the value; \p defaultValue unless there are exactly four parts
    [[nodiscard]] QRect ReadRect(const QString& name, const QRect& defaultValue);
    /// Reads a rectangle from the element at \p path.
    /// \param path  node path of the element
    /// \copydetails ReadRect(const QString&, const QRect&)
    [[nodiscard]] QRect ReadRect(const QString& path, const QString& name, const QRect& defaultValue);
    /// Writes a rectangle as "x,y,width,height"; does not mark a Settings as changed.
    /// \param name   name of the attribute
    /// \param value  the value
    void WriteRect(const QString& name, const QRect& value);
    /// Writes a rectangle to the element at \p path, which is created if it is missing. Does not mark a
    /// Settings as changed.
    /// \param path  node path of the element
    /// \copydetails WriteRect(const QString&, const QRect&)
    void WriteRect(const QString& path, const QString& name, const QRect& value);

    /// Reads a size from the text "width,height". A part that is not a number counts as 0.
    /// \param name          name of the attribute
    /// \param defaultValue  the fallback value
    /// \return the value; \p defaultValue unless there are exactly two parts
    [[nodiscard]] QSize ReadSize(const QString& name, const QSize& defaultValue);
    /// Reads a size from the element at \p path.
    /// \param path  node path of the element
    /// \copydetails ReadSize(const QString&, const QSize&)
    [[nodiscard]] QSize ReadSize(const QString& path, const QString& name, const QSize& defaultValue);
    /// Writes a size as "width,height"; does not mark a Settings as changed.
    /// \param name   name of the attribute
    /// \param value  the value
    void WriteSize(const QString& name, const QSize& value);
    /// Writes a size to the element at \p path, which is created if it is missing. Does not mark a Settings
    /// as changed.
    /// \param path  node path of the element
    /// \copydetails WriteSize(const QString&, const QSize&)
    void WriteSize(const QString& path, const QString& name, const QSize& value);

    /// Reads a string. A text of the form tr(...) is translated; see Translate.
    ///
    /// The arguments are a name and a default, not a path and a name: `ReadString(u"Ui"_s, u"Language"_s)`
    /// reads the attribute "Ui" of the element under the cursor, and returns "Language" if there is none. A
    /// call that looks like this mistake is logged in the category `qvutil`.
    /// \param name          name of the attribute
    /// \param defaultValue  the fallback value
    /// \return the string; \p defaultValue, untranslated, if it is missing or empty
    [[nodiscard]] QString ReadString(const QString& name, const QString& defaultValue) const;
    /// Reads a string from the element at \p path. A text of the form tr(...) is translated, and so is the
    /// default.
    /// \param path          node path of the element
    /// \param name          name of the attribute
    /// \param defaultValue  the fallback value
    /// \return the string; Translate(\p defaultValue) if it is missing or empty
    [[nodiscard]] QString ReadString(const QString& path, const QString& name,
                                     const QString& defaultValue) const;
    /// Writes a string. An empty string reads back as the default. Does not mark a Settings as changed.
    ///
    /// The arguments are a name and a value, not a path and a name.
    /// \param name   name of the attribute
    /// \param value  the value
    void WriteString(const QString& name, const QString& value);
    /// Writes a string to the element at \p path, which is created if it is missing. An empty string reads
    /// back as the default. Does not mark a Settings as changed.
    /// \param path   node path of the element
    /// \param name   name of the attribute
    /// \param value  the value
    void WriteString(const QString& path, const QString& name, const QString& value);

    /// Reads a date and time, which is stored in UTC to the second.
    /// \param name          name of the attribute
    /// \param defaultValue  the fallback value
    /// \return the date in local time; \p defaultValue if it is missing or empty; an invalid QDateTime if the
    ///         text is not an ISO 8601 date
    [[nodiscard]] QDateTime ReadDate(const QString& name, const QDateTime& defaultValue) const;
    /// Reads a date and time from the element at \p path.
    /// \param path  node path of the element
    /// \copydetails ReadDate(const QString&, const QDateTime&) const
    [[nodiscard]] QDateTime ReadDate(const QString& path, const QString& name,
                                     const QDateTime& defaultValue) const;
    /// Writes a date and time in ISO 8601 format. Does not mark a Settings as changed.
    ///
    /// Pass local time or UTC. A time in any other time zone is written with its offset, but its date and
    /// clock time are read back as if they were UTC.
    /// \param name   name of the attribute
    /// \param value  the value; local time is converted to UTC
    void WriteDate(const QString& name, const QDateTime& value);
    /// Writes a date and time in ISO 8601 format to the element at \p path, which is created if it is
    /// missing. Does not mark a Settings as changed.
    /// \param path   node path of the element
    /// \param name   name of the attribute
    /// \param value  the value, in local time or UTC; see the overload above
    void WriteDate(const QString& path, const QString& name, const QDateTime& value);

    /// Reads an enumeration value or a set of flags, which is stored by name.
    /// \param name          name of the attribute
    /// \param defaultValue  the fallback value
    /// \param table         \p count rows; not owned
    /// \param count         rows in \p table
    /// \param flags         whether the value is a set of flags, stored as names separated by ','
    /// \return the value; \p defaultValue if it is missing, empty, negative or not in the table
    [[nodiscard]] int ReadEnum(const QString& name, int defaultValue, EnumValueName* table, int count,
                               bool flags);
    /// Reads an enumeration value.
    /// \param name          name of the attribute
    /// \param defaultValue  the fallback value
    /// \param table         \p count rows; not owned
    /// \param count         rows in \p table
    /// \return the value; \p defaultValue if it is missing, empty, negative or not in the table
    [[nodiscard]] int ReadEnum(const QString& name, int defaultValue, EnumValueName* table, int count);
    /// Reads an enumeration value or a set of flags from the element at \p path.
    /// \param path  node path of the element
    /// \copydetails ReadEnum(const QString&, int, EnumValueName*, int, bool)
    [[nodiscard]] int ReadEnum(const QString& path, const QString& name, int defaultValue,
                               EnumValueName* table, int count, bool flags);
    /// Reads an enumeration value from the element at \p path.
    /// \param path  node path of the element
    /// \copydetails ReadEnum(const QString&, int, EnumValueName*, int)
    [[nodiscard]] int ReadEnum(const QString& path, const QString& name, int defaultValue,
                               EnumValueName* table, int count);
    /// Writes an enumeration value or a set of flags by name; does not mark a Settings as changed.
    /// \param name   name of the attribute
    /// \param value  the value; if the table has no name for it, the attribute keeps its old text
    /// \param table  \p count rows; not owned
    /// \param count  rows in \p table
    /// \param flags  whether the value is a set of flags, stored as names separated by ','
    void WriteEnum(const QString& name, int value, EnumValueName* table, int count, bool flags);
    /// Writes an enumeration value by name; does not mark a Settings as changed.
    /// \param name   name of the attribute
    /// \param value  the value; if the table has no name for it, the attribute keeps its old text
    /// \param table  \p count rows; not owned
    /// \param count  rows in \p table
    void WriteEnum(const QString& name, int value, EnumValueName* table, int count);
    /// Writes an enumeration value or a set of flags to the element at \p path, which is created if it is
    /// missing, even for a value without a name. Does not mark a Settings as changed.
    /// \param path  node path of the element
    /// \copydetails WriteEnum(const QString&, int, EnumValueName*, int, bool)
    void WriteEnum(const QString& path, const QString& name, int value, EnumValueName* table, int count,
                   bool flags);
    /// Writes an enumeration value to the element at \p path, which is created if it is missing, even for a
    /// value without a name. Does not mark a Settings as changed.
    /// \param path  node path of the element
    /// \copydetails WriteEnum(const QString&, int, EnumValueName*, int)
    void WriteEnum(const QString& path, const QString& name, int value, EnumValueName* table, int count);

    /// \copydoc GeneralUtil::EnumValueToName
    [[nodiscard]] static QString EnumValueToName(int value, const EnumValueName* table, int count,
                                                 bool flags);
    /// \copydoc GeneralUtil::EnumNameToValue
    [[nodiscard]] static int EnumNameToValue(const QString& name, EnumValueName* table, int count,
                                             bool flags);
    /// \copydoc GeneralUtil::GetEnumNames
    [[nodiscard]] static QStringList GetEnumNames(EnumValueName* table, int count);

    /// @}
    /// \name Element content
    /// A read returns an empty value if the cursor is not on an element, or if there is no element at the
    /// path. Unless stated otherwise, a write does nothing if the cursor is not on an element.
    ///
    /// The writes of this class do not mark a Settings as changed; call Settings::MarkChanged after them.
    /// @{

    /// Reads binary data, stored as base64 in the element's first child node (text or CDATA).
    /// \return the data; empty if the element has none
    [[nodiscard]] QByteArray ReadBuffer();
    /// Reads binary data from the element at \p path.
    /// \param path  node path of the element
    /// \copydetails ReadBuffer()
    [[nodiscard]] QByteArray ReadBuffer(const QString& path);
    /// Replaces the element's content with one CDATA section that holds binary data as base64. Does not mark
    /// a Settings as changed.
    /// \param value  the data
    void WriteBuffer(const QByteArray& value);
    /// Replaces the content of the element at \p path, which is created if it is missing, with one CDATA
    /// section that holds binary data as base64. Does not mark a Settings as changed.
    /// \param path   node path of the element
    /// \param value  the data
    void WriteBuffer(const QString& path, const QByteArray& value);

    /// Reads the element's first child node if it is text. Plain text of the form tr(...) is translated; a
    /// CDATA section is not.
    /// \return the text; empty if the first child is not text
    [[nodiscard]] QString ReadNodeText();
    /// Reads text from the element at \p path. Plain text of the form tr(...) is translated; a CDATA section
    /// is not.
    /// \param path  node path of the element
    /// \return the text; empty if the first child is not text
    [[nodiscard]] QString ReadNodeText(const QString& path);
    /// Replaces the element's content with one text node. Does not mark a Settings as changed.
    /// \param text  the text
    void WriteNodeText(const QString& text);
    /// Replaces the element's content with one text node or CDATA section. Does not mark a Settings as
    /// changed.
    /// \param text   the text
    /// \param cdata  true for a CDATA section, false for plain text
    void WriteNodeText(const QString& text, bool cdata);
    /// Replaces the content of the element at \p path, which is created if it is missing, with one text node.
    /// Does not mark a Settings as changed.
    /// \param path  node path of the element
    /// \param text  the text
    void WriteNodeText(const QString& path, const QString& text);
    /// Replaces the content of the element at \p path, which is created if it is missing, with one text node
    /// or CDATA section. Does not mark a Settings as changed.
    /// \param path   node path of the element
    /// \param text   the text
    /// \param cdata  true for a CDATA section, false for plain text
    void WriteNodeText(const QString& path, const QString& text, bool cdata);
    /// Deleted: a string literal would silently convert to the flag \a cdata. Pass u"…"_s instead.
    void WriteNodeText(const QString& path, const char* text) = delete;
    /// \overload
    template <typename Char> void WriteNodeText(const QString& path, const Char* text) = delete;

    /// Returns the element's content as markup.
    /// \return the markup; empty if the cursor is not on an element
    [[nodiscard]] QString ReadInnerXml();
    /// Returns the content of the element at \p path as markup.
    /// \param path  node path of the element
    /// \return the markup; empty if there is no element at \p path
    [[nodiscard]] QString ReadInnerXml(const QString& path);
    /// Parses markup and appends it to the element's content. If the document has no root element, an element
    /// "Root" is created first. Does not mark a Settings as changed.
    /// \param xml  the markup
    /// \return false, with the document unchanged, if the markup is malformed or empty, or if there is a root
    ///         element but no cursor
    bool WriteInnerXml(const QString& xml);
    /// Parses markup and appends it to the content of the element at \p path. Missing elements of the path
    /// are created even if the markup is malformed. Does not mark a Settings as changed.
    /// \param path  node path of the element
    /// \param xml   the markup
    /// \return false if the markup is malformed or empty
    bool WriteInnerXml(const QString& path, const QString& xml);

    /// Returns the element under the cursor as markup, including its own tags and attributes.
    /// \return the markup; empty if the cursor is not on an element
    [[nodiscard]] QString ReadOuterXml();
    /// Returns the element at \p path as markup, including its own tags and attributes.
    /// \param path  node path of the element
    /// \return the markup; empty if there is no element at \p path
    [[nodiscard]] QString ReadOuterXml(const QString& path);

    /// Appends a comment to the element's content or, without a cursor, to the end of the document, which
    /// then also gets a declaration if it has none. Does not mark a Settings as changed.
    /// \param text  the text
    void WriteComment(const QString& text);
    /// Appends a comment to the content of the element at \p path, which is created if it is missing. Does
    /// not mark a Settings as changed.
    /// \param path  node path of the element
    /// \param text  the text
    void WriteComment(const QString& path, const QString& text);

    /// @}
    /// \name Translation marks
    /// @{

    /// Strips the mark from a text of the form tr(...), in any case and with white space around its parts.
    /// Quotation marks inside are kept.
    /// \param text  the text, changed in place
    /// \return false, with \p text unchanged, if it has no mark
    bool StripTr(QString& text) const;
    /// Translates a text of the form tr(...) with Translator. The context is the file that was loaded last.
    /// \param text  the text
    /// \return the translation; the text without its mark if there is no translator; \p text unchanged if it
    ///         has no mark, or if TranslateEnabled is false
    [[nodiscard]] QString Translate(const QString& text) const;

    /// @}
    /// \name Variables
    /// References have the form $(name); names are compared case-insensitively. See
    /// StringUtil::ResolveVariables for the rules.
    /// @{

    /// Replaces references in the attribute values, text, CDATA sections and processing instructions of the
    /// whole document. Element names and comments are not changed.
    /// \param variables  names and values; a value must not contain a reference to itself
    /// \return the number of replacements
    int ResolveVariables(const QMap<QString, QString>& variables);
    /// Replaces references in attribute values.
    /// \param attributes  attributes of one element
    /// \param variables   names and values
    /// \return the number of replacements
    int ResolveVariables(QDomNamedNodeMap attributes, const QMap<QString, QString>& variables);
    /// Replaces references in a node and its descendants.
    /// \param node       any node; a null node has no references
    /// \param variables  names and values
    /// \return the number of replacements
    int ResolveVariables(QDomNode node, const QMap<QString, QString>& variables);

    /// @}

private:
    void RemoveContent();
    bool FinishLoad(bool loaded);
    bool MoveTo(const QDomNode& node);
    [[nodiscard]] QDomElement CurrentElement() const;
    [[nodiscard]] QDomElement ElementAt(const QString& path) const;
    [[nodiscard]] QDomElement CreateElementAt(const QString& path);
    [[nodiscard]] QDomNode TakeStart(QStringView& path) const;
    [[nodiscard]] std::optional<QDomNode> FindNode(const QString& path) const;
    [[nodiscard]] std::optional<QDomNode> WalkTo(QStringView path) const;
    [[nodiscard]] QDomNode FindOrCreateNode(const QString& path, bool alwaysNewLast);
    [[nodiscard]] QDomNode AppendElement(const QDomNode& parent, const QString& name);
    [[nodiscard]] QString ReadText(const QDomElement& element, const QString& name,
                                   const QString& defaultValue) const;
    [[nodiscard]] QString ReadContentText(const QDomElement& element) const;
    void ReplaceContent(QDomElement element, const QDomNode& content);
    void WriteContentText(const QDomElement& element, const QString& text, bool cdata);
    void WriteContentBytes(const QDomElement& element, const QByteArray& value);

    void SetCursor(const QDomNode& node) const;
    void AppendChild(QDomNode parent, const QDomNode& child);
    void RemoveChild(QDomNode parent, const QDomNode& child);
    void RemoveChildren(const QDomNode& parent);

    QString mFilePath;
    QDomDocument mDocument;
    mutable QDomNode mCurrentNode;
    mutable QList<QDomNode> mNodeStack;

public:
    /// For the application's own use; the library neither reads nor writes it.
    QString ExtraText;
    /// Translates texts of the form tr(...) when they are read. Not owned; null by default.
    XlfTranslator* Translator = nullptr;
    /// Whether texts of the form tr(...) are stripped of their mark and translated when they are read; true
    /// by default.
    bool TranslateEnabled = true;

private:
    struct Private;
    const std::unique_ptr<Private> mPrivate;
};

/// Stores application settings in an XML file, and saves changes automatically. Values have types and are
/// addressed by node path and name.
///
/// Each change through an operation of this class marks the store as changed and saves it, unless it was
/// saved less than 31 seconds ago. Changes within that time are written by the first later change, by Save,
/// or by the destructor; there is no timer. The operations inherited from XmlFiler do not mark the store as
/// changed: call MarkChanged after WriteRect, WriteDouble, WriteBuffer and so on.
///
/// Open the file with OpenFile, which renames a damaged file and never overwrites a file that it could not
/// read:
///
/// \code
/// Settings settings;
/// if (settings.OpenFile(path, u"Settings"_s) == Settings::FileState::SetAside)
///     warn(settings.GetSetAsideFile());
/// settings.WriteInt(u"Panel/Main"_s, u"Width"_s, 640);
/// settings.WriteRect(u"Panel/Main"_s, u"Place"_s, place);
/// settings.MarkChanged();
/// \endcode
///
/// The constructor with a file name, and SetFile, do not protect a damaged or unreadable file: the store of a
/// new object is then empty, and the next save replaces the file. Check IsEmpty after construction. An empty
/// store has no cursor; call CreateRoot, because otherwise every write with a relative path appends another
/// root element, and a file with several root elements does not load.
///
/// \par Failures
/// OpenFile returns the state of the file, and GetLoadError returns why it could not be read. Failed saves,
/// stores that start empty, and lost changes are logged in the category `qvutil`. Changes are lost if nothing
/// marks the store as changed, or if the content of another file replaces them.
///
/// \par Threads
/// Reentrant, like XmlFiler. Two objects with the same file are not synchronised: the last save wins.
/// \since QvUtil 1.0
class QVUTIL_EXPORT Settings : public XmlFiler
{
public:
    /// Constructs a store without a file. Nothing is saved until SetFile or OpenFile sets one.
    Settings();
    /// Constructs a store and loads its file, or creates an empty root element if the file does not exist.
    /// Writes nothing.
    /// \param file      the file to save to; may be empty
    /// \param rootName  name of a new root; "Root" if empty
    Settings(QString file, QString rootName);
    /// Saves unsaved changes. Logs a failed save, and changes that were never marked.
    ~Settings() override;
    Q_DISABLE_COPY_MOVE(Settings)

    using XmlFiler::DeleteNode;
    using XmlFiler::ReadBoolean;
    using XmlFiler::ReadDate;
    using XmlFiler::ReadInt;
    using XmlFiler::ReadNodeText;
    using XmlFiler::ReadString;
    using XmlFiler::WriteBoolean;
    using XmlFiler::WriteDate;
    using XmlFiler::WriteInt;
    using XmlFiler::WriteNodeText;
    using XmlFiler::WriteString;

    /// \name File
    /// @{

    /// Sets the file to save to, and loads it if it exists. Does not mark the store as changed.
    ///
    /// If the file does not exist, the content is kept, and an empty document gets the root \p rootName. If
    /// the file cannot be opened, the content is kept. If it does not parse, the content is lost. If the
    /// content is replaced, unsaved changes are lost, and the loss is logged.
    /// \param file      the file to save to
    /// \param rootName  name of a new root; "Root" if empty
    void SetFile(QString file, QString rootName);

    /// The result of OpenFile.
    enum class FileState {
        New, ///< the file does not exist; the first save creates it
        Loaded, ///< the file was loaded
        SetAside, ///< the file was damaged and has been renamed, see GetSetAsideFile; the store is empty
        Unreadable, ///< the file could not be read or set aside; the store is empty and has no file
    };
    /// Sets the file to save to, and replaces the content of the store with that of the file. Unless the file
    /// is loaded, the store then holds only the root \p rootName. Unsaved changes are lost, and the loss is
    /// logged. No file is written.
    ///
    /// A file that does not parse is renamed to "FILE.damaged", or "FILE.damaged-2" and so on if that exists,
    /// so that its content can still be rescued. A file that exists but cannot be opened or read is left
    /// alone, and nothing is saved until SetFile or OpenFile sets a file again.
    /// \param file      the file to save to
    /// \param rootName  name of a new root; "Root" if empty
    /// \return the state of the file; after SetAside and Unreadable, GetLoadError returns the reason
    FileState OpenFile(const QString& file, const QString& rootName);
    /// Returns the new name of the damaged file that the last OpenFile renamed.
    /// \return the path; empty unless that OpenFile returned SetAside
    [[nodiscard]] QString GetSetAsideFile() const;

    /// @}
    /// \name Values
    /// The writes mark the store as changed and, if the last save was 31 seconds ago or more, save it. A
    /// missing element is created.
    /// @{

    /// Reads a boolean from the element at \p path.
    /// \copydetails XmlFiler::ReadBoolean(const QString&, const QString&, bool) const
    [[nodiscard]] bool ReadBoolean(const QString& path, const QString& name, bool defaultValue) const;
    /// Reads an int from the element at \p path.
    /// \copydetails XmlFiler::ReadInt(const QString&, const QString&, int) const
    [[nodiscard]] int ReadInt(const QString& path, const QString& name, int defaultValue) const;
    /// \copydoc XmlFiler::ReadString(const QString&, const QString&, const QString&) const
    [[nodiscard]] QString ReadString(const QString& path, const QString& name,
                                     const QString& defaultValue) const;
    /// Reads a date and time from the element at \p path.
    /// \copydetails XmlFiler::ReadDate(const QString&, const QString&, const QDateTime&) const
    [[nodiscard]] QDateTime ReadDate(const QString& path, const QString& name,
                                     const QDateTime& defaultValue) const;
    /// \copydoc XmlFiler::ReadNodeText(const QString&)
    [[nodiscard]] QString ReadNodeText(const QString& path);

    /// Writes "True" or "False", marks the store as changed and saves it if due.
    /// \param path   node path of the element
    /// \param name   name of the attribute
    /// \param value  the value
    void WriteBoolean(const QString& path, const QString& name, bool value);
    /// Writes an int, marks the store as changed and saves it if due.
    /// \param path   node path of the element
    /// \param name   name of the attribute
    /// \param value  the value
    void WriteInt(const QString& path, const QString& name, int value);
    /// Writes a string, marks the store as changed and saves it if due.
    /// \param path   node path of the element
    /// \param name   name of the attribute
    /// \param value  the value; an empty string reads back as the default
    void WriteString(const QString& path, const QString& name, const QString& value);
    /// Writes a date and time, marks the store as changed and saves it if due.
    /// \param path   node path of the element
    /// \param name   name of the attribute
    /// \param value  the value, in local time or UTC; see XmlFiler::WriteDate
    void WriteDate(const QString& path, const QString& name, const QDateTime& value);
    /// Replaces an element's content with one text node, marks the store as changed and saves it if due.
    /// \param path  node path of the element
    /// \param text  the text
    void WriteNodeText(const QString& path, const QString& text);
    /// Deleted: a string literal would silently convert to the flag \a cdata. Pass u"…"_s instead.
    void WriteNodeText(const QString& path, const char* text) = delete;
    /// Removes an element, marks the store as changed and saves it if due, even if there is no element at
    /// \p path.
    /// \param path  node path of the element
    void DeleteNode(const QString& path);

    /// @}
    /// \name Saving
    /// A failed save is logged and leaves the store marked as changed.
    /// @{

    /// Marks the store as changed and saves it if due. Call this after writes that do not do so themselves,
    /// such as WriteRect, WriteDouble, WriteEnum and WriteBuffer.
    void MarkChanged();
    /// Saves the store if it is marked as changed.
    void Save();
    /// Saves the store, changed or not. Does nothing without a file.
    void SaveInternal();
    /// Saves the store if it is marked as changed and was last saved 31 seconds ago or more, or never.
    void AutoSave();

    /// @}

private:
    void NoteSavedContent();
    void WarnOfLostChanges();

    bool mDirty = false;
    QString mSettingsFile;

    struct Private;
    const std::unique_ptr<Private> mPrivate;
};

/// Translates texts with an XLIFF 1.2 file.
///
/// Translations are grouped by the file name in the "original" attribute of their `file` element, so that
/// different documents can translate the same text differently. The "id" of each unit must be the MD5 digest
/// of its source text (GeneralUtil::GetHash). In each `file` element the `body` must come first; units inside
/// groups are not found. A unit with an empty target translates to its id, which makes missing translations
/// visible.
///
/// The first call to Translate reads the file. If SetXlfFile sets a different file after that, the object has
/// no translations until ParseXlfFile is called.
///
/// \par Failures
/// A file that is missing, malformed or without translations is logged in the category `qvutil`, and texts
/// stay untranslated.
///
/// \par Threads
/// Reentrant. Each object may be used by one thread at a time, even for Translate: it is const, but the first
/// call reads the file.
/// \since QvUtil 1.0
class QVUTIL_EXPORT XlfTranslator
{
public:
    /// Constructs a translator without a file: every text translates to itself.
    XlfTranslator();
    /// Constructs a translator for an XLIFF file. The file is read by the first translation.
    /// \param file  the XLIFF file
    explicit XlfTranslator(const QString& file);
    /// Destroys the translator.
    ~XlfTranslator();
    /// Copies the file name and the translations read so far.
    /// \param other  the translator to copy
    XlfTranslator(const XlfTranslator& other);
    /// Moves the file name and the translations read so far.
    /// \param other  the translator to move from
    XlfTranslator(XlfTranslator&& other) noexcept;
    /// Copies the file name and the translations read so far.
    /// \param other  the translator to copy
    /// \return this translator
    XlfTranslator& operator=(const XlfTranslator& other);
    /// Moves the file name and the translations read so far.
    /// \param other  the translator to move from
    /// \return this translator
    XlfTranslator& operator=(XlfTranslator&& other) noexcept;

    /// Sets the XLIFF file and clears all translations. Does nothing if the name is the same or differs only
    /// in case. Unless a file was read before, the next call to Translate reads the new file.
    /// \param file  the XLIFF file
    void SetXlfFile(const QString& file);
    /// Reads the XLIFF file now. Its translations replace those of the same documents; translations of other
    /// documents are kept. If the file is missing or does not parse, the translations are unchanged.
    void ParseXlfFile();
    /// Translates a text.
    /// \param text     the source text
    /// \param context  path of the document that shows the text. Its file name, compared case-insensitively,
    ///                 selects the translations; without a file name, those of the document whose name sorts
    ///                 last are used.
    /// \return the translation; \p text itself if there is none
    [[nodiscard]] QString Translate(const QString& text, const QString& context) const;

private:
    // The digest of a source text, which is its id in hexadecimal digits.
    struct Digest
    {
        quint64 High = 0;
        quint64 Low = 0;

        friend bool operator==(const Digest& left, const Digest& right)
        {
            return left.High == right.High && left.Low == right.Low;
        }
        friend size_t qHash(const Digest& digest, size_t seed)
        {
            return qHashMulti(seed, digest.High, digest.Low);
        }
    };
    // Digest of the source to the translation.
    using Units = QHash<Digest, QString>;

    [[nodiscard]] const Units& FindUnits(const QString& context) const;
    void Parse() const;

    QString mXlfFile;
    // Lower-case file name of the document to its units.
    mutable QMap<QString, Units> mTable;
    mutable bool mParsed = false;

    struct Private;
    mutable std::unique_ptr<Private> mPrivate;
};

} // namespace Quorvin::Util

#endif // QVUTIL_XMLFILER_H
