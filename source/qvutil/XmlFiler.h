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

/// Why a document did not load.
struct XmlLoadError
{
    /// The reason in English, such as "Opening and ending tag mismatch"; empty if nothing failed.
    QString Text;
    /// Line of the mistake, counted from 1; 0 if the file could not be opened or read at all.
    int Line = 0;
    /// Column of the mistake, counted from 1; 0 if the file could not be opened or read at all.
    int Column = 0;
};

/// A cursor over one XML document: loads and saves it, moves through it by node path, and reads and
/// writes typed values in attributes and element content.
///
/// A *node path* is a list of element names separated by '/' ('\' counts as '/'). A path that begins
/// with '/' starts at the root element, and may or may not name it: with the root "Settings",
/// "/Settings/Panel" and "/Panel" are the same place. Any other path starts at the cursor. White space
/// around the path and empty steps are ignored; a blank path is the cursor itself. Names are matched
/// exactly; there are no indexes, wildcards or "..": such text is an element name like any other.
///
/// Value operations come in two shapes. The *name-only* shape acts on the element under the cursor; the
/// *path* shape takes a node path first, and leaves the cursor where it was. Writes through a path create
/// the elements that are missing; reads never create anything. A read answers its default when the element
/// or the attribute is missing, when the attribute is empty, and, unless it says otherwise, when its text is
/// not of the type asked for; a write does nothing when the cursor is not on an element.
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
/// Documents from outside are bounded: one nested deeper than 1,000 elements, with more than 10,000
/// attributes in one element, or whose entities and attribute defaults would expand to more than 16 MiB of
/// text, does not load, like one that does not parse. A file has at most 1 GiB.
///
/// \par Failures
/// GetLoadError returns why a load failed. Failed loads and saves are also logged, with file, place and
/// reason, in the category `qvutil`.
///
/// \par Threads
/// One thread at a time for each object; distinct objects are independent.
class QVUTIL_EXPORT XmlFiler
{
public:
    /// Makes a filer with an empty document and no cursor.
    XmlFiler();
    /// Destroys the document. The translator is not owned and stays.
    virtual ~XmlFiler();
    Q_DISABLE_COPY_MOVE(XmlFiler)

    // Documents

    /// Loads the document from a file and puts the cursor on its root element.
    /// The node stack is kept.
    /// \param path  the file; remembered as the translation context once the load has succeeded
    /// \return false if there is no such file, if it cannot be opened (this alone sends a message to
    ///         GeneralUtil::OutputDebugString), or if it does not parse; after a failed parse the document is
    ///         empty and the cursor, left as it was, is on a node that belongs to no document
    bool LoadFromXmlFile(const QString& path);
    /// Loads the document from text and puts the cursor on its root element.
    /// An encoding named in the text's declaration is ignored; the remembered file path is not touched.
    /// \param xml  the markup
    /// \return false if the text does not parse; the document is empty then, and the cursor left as it was
    bool LoadFromXmlString(const QString& xml);
    /// Returns why the last load failed.
    /// \return the reason and its place; an empty text if the last load succeeded, or if there was none
    [[nodiscard]] XmlLoadError GetLoadError() const;
    /// Saves the document as UTF-8 with four blanks of indentation a level, each element's attributes sorted
    /// by name. The new content goes to a temporary file in the same folder, which replaces \p path once all
    /// of it is written: whatever happens in between, the file is the old one or the new one. Symbolic links
    /// are followed and permissions kept. Where that is not possible (the folder is not writable, or \p path
    /// is not a regular file, such as a pipe) the file is written directly.
    ///
    /// What the document holds is saved as it is, also what no parser takes: a name with a blank in it, a
    /// second root element, a character that XML does not have, "--" in a comment, "]]>" in a CDATA section.
    /// Such a file does not load again; the logging category `qvutil` tells.
    /// \param path  the file
    /// \return false if there is no document element, or if the file cannot be opened or written in full
    bool SaveAsXmlFile(const QString& path);
    /// Gives the document as text, with one blank of indentation a level, each element's attributes sorted by
    /// name.
    /// \return the text; empty if there is no document element
    [[nodiscard]] QString SaveAsXmlString();
    /// Tells whether there is no document element. A bare root element is not empty.
    /// \return false if there is a document element
    [[nodiscard]] bool IsEmpty() const;
    /// Clears the document and the cursor. Node stack, file path, translator and flag are kept.
    void Reset();
    /// Puts the declaration `<?xml version="1.0"?>` before the root, unless there is one.
    void CreateXmlDeclaration();
    /// Adds a processing instruction before the root element, or at the document's end if there is no root.
    /// The cursor stays.
    /// \param target  name of the instruction
    /// \param data    its content
    void CreateProcessingInstruction(const QString& target, const QString& data);
    /// Gives an empty document its declaration and root element, and moves the cursor to that root.
    /// Does nothing if there is a root already.
    /// \param name  the root's name; "Root" if empty
    void CreateRoot(const QString& name);

    // Movement and structure

    /// Walks to a node path, creating what is missing.
    /// \param path  a node path; blank is the cursor itself
    /// \param b     true to use an existing element for the last step, false to append a new one always
    /// \return true
    bool CreateNode(const QString& path, bool b);
    /// Walks to a node path, with or without creating what is missing.
    /// \param path           a node path; blank is the cursor itself
    /// \param create         whether missing elements are appended; with no cursor, the first one is appended
    ///                       to the document itself
    /// \param alwaysNewLast  with \p create: append a new element for the last step even if one exists
    /// \return false if an element is missing and \p create is false; the cursor has not moved then
    bool CreateOrMoveToNode(const QString& path, bool create, bool alwaysNewLast);
    /// Appends an element to the cursor's children (to the document if there is no cursor) and moves there.
    /// \param name  name of the element
    void CreateImmediateChildNode(const QString& name);
    /// Moves to the root element; to nowhere if there is none.
    void MoveToRoot();
    /// Moves to the first child element, whatever its name.
    /// \return false if there is none; the cursor has not moved then
    bool MoveToFirstChild();
    /// Walks to a node path without creating anything.
    /// \param path  a node path; blank is the cursor itself
    /// \return false if an element is missing; the cursor has not moved then
    bool MoveToNode(const QString& path);
    /// Moves to the first child element of that name; an empty name matches any.
    /// \param name  name of the element
    /// \return false if there is none; the cursor has not moved then
    bool MoveToImmediateChildNode(const QString& name);
    /// Moves to the next sibling element, whatever its name.
    /// \return false if there is none; the cursor has not moved then
    bool MoveToNextSibling();
    /// Moves to the parent node; the root's parent is the document node.
    /// \return false if there is none; the cursor has not moved then
    bool MoveToParent();
    /// Removes the node under the cursor and moves to its parent. Does nothing without a parent.
    void DeleteNode();
    /// Removes the node at a node path; the cursor stays, also when it was in what is removed (it is then on
    /// a node that belongs to no document). With no cursor, the cursor becomes the removed node's parent.
    /// \param path  node path of the element
    void DeleteNode(const QString& path);
    /// Removes all children of the cursor, of every kind. The cursor stays.
    void DeleteChildNodes();
    /// Removes all children of the element at a node path. The cursor stays.
    /// \param path  node path of the element
    void DeleteChildNodes(const QString& path);
    /// Gives the node under the cursor, as a handle that shares it; null if there is no cursor.
    /// The handle must not outlive this object's next change of the document. Once one has been given out,
    /// this object cannot know what changes behind its back and looks for every path step by step, which
    /// is slower for elements with many siblings.
    /// \return the node under the cursor; null if there is none
    [[nodiscard]] QDomNode GetCurrentNode() const;
    /// Gives the cursor's path from the root, such as "/Settings/Panel"; empty if there is no cursor.
    /// Of equal siblings all have the same path.
    /// \return the path; empty if there is no cursor
    [[nodiscard]] QString GetCurrentNodePath() const;
    /// Returns the name of the element under the cursor.
    /// \return the name; empty if the cursor is not on an element
    [[nodiscard]] QString GetCurrentNodeName() const;
    /// Returns the names of the attributes of the element under the cursor.
    /// \return the names, sorted; empty if there are none, or if the cursor is not on an element
    [[nodiscard]] QStringList GetAttributeNames() const;
    /// Saves the cursor on the node stack.
    void PushCurrentNode() const;
    /// Moves the cursor to the place saved last and takes that off the node stack.
    /// \pre the node stack is not empty (not checked)
    void PopCurrentNode() const;

    // Numbers, flags and texts, kept in attributes

    /// Reads a decimal int.
    /// \param name          name of the attribute
    /// \param defaultValue  what to answer if there is no such value
    /// \return \p defaultValue if missing, empty, no number or out of range
    [[nodiscard]] int ReadInt(const QString& name, int defaultValue) const;
    /// \overload
    /// \param path          node path of the element
    /// \param name          name of the attribute
    /// \param defaultValue  what to answer if there is no such value
    /// \return \p defaultValue if missing, empty, no number or out of range
    [[nodiscard]] int ReadInt(const QString& path, const QString& name, int defaultValue) const;
    /// Writes a decimal int.
    /// On a Settings this does not mark the store as changed: call Settings::MarkChanged afterwards.
    /// \param name   name of the attribute
    /// \param value  the value
    void WriteInt(const QString& name, int value);
    /// \overload
    /// \param path   node path of the element
    /// \param name   name of the attribute
    /// \param value  the value
    void WriteInt(const QString& path, const QString& name, int value);

    /// Reads a decimal unsigned int.
    /// \param name          name of the attribute
    /// \param defaultValue  what to answer if there is no such value
    /// \return \p defaultValue if missing, empty, no number or out of range
    [[nodiscard]] unsigned int ReadUInt(const QString& name, unsigned int defaultValue);
    /// \overload
    /// \param path          node path of the element
    /// \param name          name of the attribute
    /// \param defaultValue  what to answer if there is no such value
    /// \return \p defaultValue if missing, empty, no number or out of range
    [[nodiscard]] unsigned int ReadUInt(const QString& path, const QString& name, unsigned int defaultValue);
    /// Writes a decimal unsigned int.
    /// On a Settings this does not mark the store as changed: call Settings::MarkChanged afterwards.
    /// \param name   name of the attribute
    /// \param value  the value
    void WriteUInt(const QString& name, unsigned int value);
    /// \overload
    /// On a Settings this does not mark the store as changed: call Settings::MarkChanged afterwards.
    /// \param path   node path of the element
    /// \param name   name of the attribute
    /// \param value  the value
    void WriteUInt(const QString& path, const QString& name, unsigned int value);

    /// Reads a decimal 64-bit number.
    /// \param name          name of the attribute
    /// \param defaultValue  what to answer if there is no such value
    /// \return \p defaultValue if missing, empty, no number or out of range
    [[nodiscard]] long ReadLong(const QString& name, long defaultValue);
    /// \overload
    /// \param path          node path of the element
    /// \param name          name of the attribute
    /// \param defaultValue  what to answer if there is no such value
    /// \return \p defaultValue if missing, empty, no number or out of range
    [[nodiscard]] long ReadLong(const QString& path, const QString& name, long defaultValue);
    /// Writes a decimal 64-bit number.
    /// On a Settings this does not mark the store as changed: call Settings::MarkChanged afterwards.
    /// \param name   name of the attribute
    /// \param value  the value
    void WriteLong(const QString& name, long value);
    /// \overload
    /// On a Settings this does not mark the store as changed: call Settings::MarkChanged afterwards.
    /// \param path   node path of the element
    /// \param name   name of the attribute
    /// \param value  the value
    void WriteLong(const QString& path, const QString& name, long value);

    /// Reads a decimal unsigned 64-bit number.
    /// \param name          name of the attribute
    /// \param defaultValue  what to answer if there is no such value
    /// \return \p defaultValue if missing, empty, no number or out of range
    [[nodiscard]] unsigned long ReadULong(const QString& name, unsigned long defaultValue);
    /// \overload
    /// \param path          node path of the element
    /// \param name          name of the attribute
    /// \param defaultValue  what to answer if there is no such value
    /// \return \p defaultValue if missing, empty, no number or out of range
    [[nodiscard]] unsigned long ReadULong(const QString& path, const QString& name,
                                          unsigned long defaultValue);
    /// Writes a decimal unsigned 64-bit number.
    /// On a Settings this does not mark the store as changed: call Settings::MarkChanged afterwards.
    /// \param name   name of the attribute
    /// \param value  the value
    void WriteULong(const QString& name, unsigned long value);
    /// \overload
    /// On a Settings this does not mark the store as changed: call Settings::MarkChanged afterwards.
    /// \param path   node path of the element
    /// \param name   name of the attribute
    /// \param value  the value
    void WriteULong(const QString& path, const QString& name, unsigned long value);

    /// Reads a decimal 64-bit number.
    /// \param name          name of the attribute
    /// \param defaultValue  what to answer if there is no such value
    /// \return \p defaultValue if missing, empty, no number or out of range
    [[nodiscard]] long long ReadInt64(const QString& name, long long defaultValue);
    /// \overload
    /// \param path          node path of the element
    /// \param name          name of the attribute
    /// \param defaultValue  what to answer if there is no such value
    /// \return \p defaultValue if missing, empty, no number or out of range
    [[nodiscard]] long long ReadInt64(const QString& path, const QString& name, long long defaultValue);
    /// Writes a decimal 64-bit number.
    /// On a Settings this does not mark the store as changed: call Settings::MarkChanged afterwards.
    /// \param name   name of the attribute
    /// \param value  the value
    void WriteInt64(const QString& name, long long value);
    /// \overload
    /// On a Settings this does not mark the store as changed: call Settings::MarkChanged afterwards.
    /// \param path   node path of the element
    /// \param name   name of the attribute
    /// \param value  the value
    void WriteInt64(const QString& path, const QString& name, long long value);

    /// Reads a floating-point number.
    /// \param name          name of the attribute
    /// \param defaultValue  what to answer if there is no such value
    /// \return \p defaultValue if missing, empty or no number
    [[nodiscard]] double ReadDouble(const QString& name, double defaultValue);
    /// \overload
    /// \param path          node path of the element
    /// \param name          name of the attribute
    /// \param defaultValue  what to answer if there is no such value
    /// \return \p defaultValue if missing, empty or no number
    [[nodiscard]] double ReadDouble(const QString& path, const QString& name, double defaultValue);
    /// Writes a floating-point number with the 17 digits that bring back the same value.
    /// On a Settings this does not mark the store as changed: call Settings::MarkChanged afterwards.
    /// \param name   name of the attribute
    /// \param value  the value
    void WriteDouble(const QString& name, double value);
    /// \overload
    /// On a Settings this does not mark the store as changed: call Settings::MarkChanged afterwards.
    /// \param path   node path of the element
    /// \param name   name of the attribute
    /// \param value  the value
    void WriteDouble(const QString& path, const QString& name, double value);

    /// Reads a flag: "true" or "false" in any case, or an unsigned decimal number (0 is false).
    /// \param name          name of the attribute
    /// \param defaultValue  what to answer if there is no such value
    /// \return \p defaultValue for anything else
    [[nodiscard]] bool ReadBoolean(const QString& name, bool defaultValue) const;
    /// \overload
    /// \param path          node path of the element
    /// \param name          name of the attribute
    /// \param defaultValue  what to answer if there is no such value
    /// \return \p defaultValue for anything else
    [[nodiscard]] bool ReadBoolean(const QString& path, const QString& name, bool defaultValue) const;
    /// Writes "True" or "False".
    /// On a Settings this does not mark the store as changed: call Settings::MarkChanged afterwards.
    /// \param name   name of the attribute
    /// \param value  the value
    void WriteBoolean(const QString& name, bool value);
    /// \overload
    /// \param path   node path of the element
    /// \param name   name of the attribute
    /// \param value  the value
    void WriteBoolean(const QString& path, const QString& name, bool value);

    /// Reads a rectangle written as "x,y,width,height"; a part that is no number counts as 0.
    /// \param name          name of the attribute
    /// \param defaultValue  what to answer if there is no such value
    /// \return \p defaultValue unless there are exactly four parts
    [[nodiscard]] QRect ReadRect(const QString& name, const QRect& defaultValue);
    /// \overload
    /// \param path          node path of the element
    /// \param name          name of the attribute
    /// \param defaultValue  what to answer if there is no such value
    /// \return \p defaultValue unless there are exactly four parts
    [[nodiscard]] QRect ReadRect(const QString& path, const QString& name, const QRect& defaultValue);
    /// Writes a rectangle as "x,y,width,height".
    /// On a Settings this does not mark the store as changed: call Settings::MarkChanged afterwards.
    /// \param name   name of the attribute
    /// \param value  the value
    void WriteRect(const QString& name, const QRect& value);
    /// \overload
    /// On a Settings this does not mark the store as changed: call Settings::MarkChanged afterwards.
    /// \param path   node path of the element
    /// \param name   name of the attribute
    /// \param value  the value
    void WriteRect(const QString& path, const QString& name, const QRect& value);

    /// Reads a size written as "width,height"; a part that is no number counts as 0.
    /// \param name          name of the attribute
    /// \param defaultValue  what to answer if there is no such value
    /// \return \p defaultValue unless there are exactly two parts
    [[nodiscard]] QSize ReadSize(const QString& name, const QSize& defaultValue);
    /// \overload
    /// \param path          node path of the element
    /// \param name          name of the attribute
    /// \param defaultValue  what to answer if there is no such value
    /// \return \p defaultValue unless there are exactly two parts
    [[nodiscard]] QSize ReadSize(const QString& path, const QString& name, const QSize& defaultValue);
    /// Writes a size as "width,height".
    /// On a Settings this does not mark the store as changed: call Settings::MarkChanged afterwards.
    /// \param name   name of the attribute
    /// \param value  the value
    void WriteSize(const QString& name, const QSize& value);
    /// \overload
    /// On a Settings this does not mark the store as changed: call Settings::MarkChanged afterwards.
    /// \param path   node path of the element
    /// \param name   name of the attribute
    /// \param value  the value
    void WriteSize(const QString& path, const QString& name, const QSize& value);

    /// Reads a text, translated if it is a tr(...) mark (see Translate).
    ///
    /// With two texts this overload is called, never one with a path: `ReadString(u"Ui"_s, u"Language"_s)`
    /// reads the attribute "Ui" of the cursor and answers "Language" if there is none. To read by path, give
    /// all three arguments. The category `qvutil` logs a call that looks like this mistake.
    /// \param name          name of the attribute
    /// \param defaultValue  what to answer if there is no such value
    /// \return \p defaultValue, as it is, if missing or empty
    [[nodiscard]] QString ReadString(const QString& name, const QString& defaultValue) const;
    /// Reads a text, translated if it is a tr(...) mark; here the default is translated too.
    /// \param path          node path of the element
    /// \param name          name of the attribute
    /// \param defaultValue  what to answer if there is no such value
    /// \return \p defaultValue through Translate if missing or empty
    [[nodiscard]] QString ReadString(const QString& path, const QString& name,
                                     const QString& defaultValue) const;
    /// Writes a text. An empty one reads back as the default.
    ///
    /// The two texts are a name and a value, never a path and a name.
    /// On a Settings this does not mark the store as changed: call Settings::MarkChanged afterwards.
    /// \param name   name of the attribute
    /// \param value  the value
    void WriteString(const QString& name, const QString& value);
    /// \overload
    /// \param path   node path of the element
    /// \param name   name of the attribute
    /// \param value  the value
    void WriteString(const QString& path, const QString& name, const QString& value);

    /// Reads a point in time, kept in UTC with a resolution of one second.
    /// \param name          name of the attribute
    /// \param defaultValue  what to answer if there is no such value
    /// \return the time as local time; \p defaultValue if missing or empty; an invalid QDateTime if the text
    ///         is no ISO date
    [[nodiscard]] QDateTime ReadDate(const QString& name, const QDateTime& defaultValue) const;
    /// \overload
    /// \param path          node path of the element
    /// \param name          name of the attribute
    /// \param defaultValue  what to answer if there is no such value
    /// \return the time as local time; \p defaultValue if missing or empty; an invalid QDateTime if the text
    ///         is no ISO date
    [[nodiscard]] QDateTime ReadDate(const QString& path, const QString& name,
                                     const QDateTime& defaultValue) const;
    /// Writes a point in time in ISO form, local times in UTC. A time with a fixed offset or a time zone is
    /// written with its own clock reading and comes back as if that had been UTC: pass local or UTC times.
    /// On a Settings this does not mark the store as changed: call Settings::MarkChanged afterwards.
    /// \param name   name of the attribute
    /// \param value  the value
    void WriteDate(const QString& name, const QDateTime& value);
    /// \overload
    /// \param path   node path of the element
    /// \param name   name of the attribute
    /// \param value  the value
    void WriteDate(const QString& path, const QString& name, const QDateTime& value);

    /// Reads an enumeration value stored by name.
    /// \param name          name of the attribute
    /// \param defaultValue  what to answer if there is no such value
    /// \param table         \p count rows; not owned
    /// \param count         rows in \p table
    /// \param flags         whether the value is a set of bits, stored as names separated by ','
    /// \return \p defaultValue if missing, empty or not in the table, and for every negative value
    [[nodiscard]] int ReadEnum(const QString& name, int defaultValue, EnumValueName* table, int count,
                               bool flags);
    /// \overload
    /// \param name          name of the attribute
    /// \param defaultValue  what to answer if there is no such value
    /// \param table         first of \p count rows; not owned
    /// \param count         rows in \p table
    /// \return \p defaultValue if missing, empty or not in the table, and for every negative value
    [[nodiscard]] int ReadEnum(const QString& name, int defaultValue, EnumValueName* table, int count);
    /// \overload
    /// \param path          node path of the element
    /// \param name          name of the attribute
    /// \param defaultValue  what to answer if there is no such value
    /// \param table         first of \p count rows; not owned
    /// \param count         rows in \p table
    /// \param flags         whether the value is a set of bits, stored as names separated by ','
    /// \return \p defaultValue if missing, empty or not in the table, and for every negative value
    [[nodiscard]] int ReadEnum(const QString& path, const QString& name, int defaultValue,
                               EnumValueName* table, int count, bool flags);
    /// \overload
    /// \param path          node path of the element
    /// \param name          name of the attribute
    /// \param defaultValue  what to answer if there is no such value
    /// \param table         first of \p count rows; not owned
    /// \param count         rows in \p table
    /// \return \p defaultValue if missing, empty or not in the table, and for every negative value
    [[nodiscard]] int ReadEnum(const QString& path, const QString& name, int defaultValue,
                               EnumValueName* table, int count);
    /// Writes an enumeration value by name. A value without a name is not written: what was there stays.
    /// On a Settings this does not mark the store as changed: call Settings::MarkChanged afterwards.
    /// \param name   name of the attribute
    /// \param value  the value
    /// \param table  \p count rows; not owned
    /// \param count  rows in \p table
    /// \param flags  whether the value is a set of bits, stored as names separated by ','
    void WriteEnum(const QString& name, int value, EnumValueName* table, int count, bool flags);
    /// \overload
    /// On a Settings this does not mark the store as changed: call Settings::MarkChanged afterwards.
    /// \param name   name of the attribute
    /// \param value  the value
    /// \param table  first of \p count rows; not owned
    /// \param count  rows in \p table
    void WriteEnum(const QString& name, int value, EnumValueName* table, int count);
    /// \overload
    /// On a Settings this does not mark the store as changed: call Settings::MarkChanged afterwards.
    /// \param path   node path of the element
    /// \param name   name of the attribute
    /// \param value  the value
    /// \param table  first of \p count rows; not owned
    /// \param count  rows in \p table
    /// \param flags  whether the value is a set of bits, stored as names separated by ','
    void WriteEnum(const QString& path, const QString& name, int value, EnumValueName* table, int count,
                   bool flags);
    /// \overload
    /// On a Settings this does not mark the store as changed: call Settings::MarkChanged afterwards.
    /// \param path   node path of the element
    /// \param name   name of the attribute
    /// \param value  the value
    /// \param table  first of \p count rows; not owned
    /// \param count  rows in \p table
    void WriteEnum(const QString& path, const QString& name, int value, EnumValueName* table, int count);

    /// See GeneralUtil::EnumValueToName.
    /// \param value  the value
    /// \param table  first of \p count rows; not owned
    /// \param count  rows in \p table
    /// \param flags  whether the value is a set of bits, stored as names separated by ','
    /// \return empty if no row fits, or if there is no table
    [[nodiscard]] static QString EnumValueToName(int value, const EnumValueName* table, int count,
                                                 bool flags);
    /// See GeneralUtil::EnumNameToValue.
    /// \param name   a name
    /// \param table  first of \p count rows; not owned
    /// \param count  rows in \p table
    /// \param flags  whether the value is a set of bits, stored as names separated by ','
    /// \return -1 if no row fits, or if there is no table
    [[nodiscard]] static int EnumNameToValue(const QString& name, EnumValueName* table, int count,
                                             bool flags);
    /// See GeneralUtil::GetEnumNames.
    /// \param table  first of \p count rows; not owned
    /// \param count  rows in \p table
    /// \return the names in table order; empty if there is no table
    [[nodiscard]] static QStringList GetEnumNames(EnumValueName* table, int count);

    // Bytes, text and markup, kept as element content

    /// Reads bytes kept as base64 in the element's first child node (text or CDATA).
    /// \return the bytes; empty if there are none
    [[nodiscard]] QByteArray ReadBuffer();
    /// \overload
    /// \param path  node path of the element
    /// \return the bytes; empty if there are none
    [[nodiscard]] QByteArray ReadBuffer(const QString& path);
    /// Replaces the element's content by one CDATA section that holds the bytes as base64.
    /// On a Settings this does not mark the store as changed: call Settings::MarkChanged afterwards.
    /// \param value  the value
    void WriteBuffer(const QByteArray& value);
    /// \overload
    /// On a Settings this does not mark the store as changed: call Settings::MarkChanged afterwards.
    /// \param path   node path of the element
    /// \param value  the value
    void WriteBuffer(const QString& path, const QByteArray& value);

    /// Reads the element's first child node if it is text; plain text is translated if it is a tr(...)
    /// mark, a CDATA section never is.
    /// \return the text; empty if the first child is no text
    [[nodiscard]] QString ReadNodeText();
    /// \overload
    /// \param path  node path of the element
    /// \return the text; empty if the first child is no text
    [[nodiscard]] QString ReadNodeText(const QString& path);
    /// Replaces the element's content by one text node.
    /// On a Settings this does not mark the store as changed: call Settings::MarkChanged afterwards.
    /// \param text  the text
    void WriteNodeText(const QString& text);
    /// Replaces the element's content by one text node or CDATA section.
    /// On a Settings this does not mark the store as changed: call Settings::MarkChanged afterwards.
    /// \param text   the text
    /// \param cdata  true for a CDATA section, false for plain text
    void WriteNodeText(const QString& text, bool cdata);
    /// Replaces the content of the element at a node path by one text node.
    /// \param path  node path of the element
    /// \param text  the text
    void WriteNodeText(const QString& path, const QString& text);
    /// Replaces the content of the element at a node path by one text node or CDATA section.
    /// On a Settings this does not mark the store as changed: call Settings::MarkChanged afterwards.
    /// \param path   node path of the element
    /// \param text   the text
    /// \param cdata  true for a CDATA section, false for plain text
    void WriteNodeText(const QString& path, const QString& text, bool cdata);
    /// A literal that is no QString would silently become the flag: use u"…"_s.
    void WriteNodeText(const QString& path, const char* text) = delete;
    /// \overload
    template <typename Char> void WriteNodeText(const QString& path, const Char* text) = delete;

    /// Gives the element's content as markup.
    /// \return the markup; empty if the cursor is not on an element
    [[nodiscard]] QString ReadInnerXml();
    /// \overload
    /// \param path  node path of the element
    /// \return the markup; empty if the cursor is not on an element
    [[nodiscard]] QString ReadInnerXml(const QString& path);
    /// Parses markup and appends it to the element's content. If the document has no root element, a root
    /// "Root" is made to hold it.
    /// On a Settings this does not mark the store as changed: call Settings::MarkChanged afterwards.
    /// \param xml  the markup
    /// \return false if the markup does not parse or holds nothing, or if there is a root element but no
    ///         cursor; the document is unchanged then
    bool WriteInnerXml(const QString& xml);
    /// \overload
    /// Missing elements of the path are created even if the markup then turns out not to parse.
    /// On a Settings this does not mark the store as changed: call Settings::MarkChanged afterwards.
    /// \param path  node path of the element
    /// \param xml   the markup
    /// \return false if the markup does not parse or holds nothing
    bool WriteInnerXml(const QString& path, const QString& xml);

    /// Gives the element itself as markup, its tags and attributes included.
    /// \return the markup; empty if the cursor is not on an element
    [[nodiscard]] QString ReadOuterXml();
    /// \overload
    /// \param path  node path of the element
    /// \return the markup; empty if the cursor is not on an element
    [[nodiscard]] QString ReadOuterXml(const QString& path);

    /// Appends a comment to the element's content; with no cursor, to the document after its declaration.
    /// On a Settings this does not mark the store as changed: call Settings::MarkChanged afterwards.
    /// \param text  the text
    void WriteComment(const QString& text);
    /// \overload
    /// On a Settings this does not mark the store as changed: call Settings::MarkChanged afterwards.
    /// \param path  node path of the element
    /// \param text  the text
    void WriteComment(const QString& path, const QString& text);

    // Translation marks

    /// Unwraps a text of the form tr(...), in any case and with white space around its parts.
    /// Nothing but the mark is removed: quotes inside stay.
    /// \param text  the text
    /// \return false if \p text is no such mark; it is unchanged then
    bool StripTr(QString& text) const;
    /// Translates a text of the form tr(...) with Translator, in the context of the file loaded last.
    /// \param text  the text
    /// \return the translation; the unwrapped text without a translator; \p text itself if it is no mark, or
    ///         if TranslateEnabled is false
    [[nodiscard]] QString Translate(const QString& text) const;

    // Variables

    /// Substitutes the references $(name) in attribute values, texts, CDATA sections and processing
    /// instructions of the whole document; never in names and comments. Names are looked up in any case.
    /// \param variables  name to value; a value must not contain a reference to itself
    /// \return the number of substitutions
    int ResolveVariables(const QMap<QString, QString>& variables);
    /// Substitutes the references $(name) in the values of \p attributes.
    /// \param attributes  attributes of one element
    /// \param variables   names and values
    /// \return the number of substitutions
    int ResolveVariables(QDomNamedNodeMap attributes, const QMap<QString, QString>& variables);
    /// Substitutes the references $(name) in \p node and everything below it.
    /// \param node       any node; null has no references
    /// \param variables  names and values
    /// \return the number of substitutions
    int ResolveVariables(QDomNode node, const QMap<QString, QString>& variables);

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
    /// On a Settings this does not mark the store as changed: call Settings::MarkChanged afterwards.
    void WriteContentText(const QDomElement& element, const QString& text, bool cdata);
    /// On a Settings this does not mark the store as changed: call Settings::MarkChanged afterwards.
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
    /// For the host's use; the library neither reads nor writes it.
    QString ExtraText;
    /// Translates texts of the form tr(...) as they are read. Not owned; null by default.
    XlfTranslator* Translator = nullptr;
    /// Whether texts of the form tr(...) are unwrapped and translated as they are read; true by default.
    bool TranslateEnabled = true;

private:
    struct Private;
    const std::unique_ptr<Private> mPrivate;
};

/// A settings file kept as an XML document: typed values by node path and name, saved by itself.
///
/// Each change through an operation of this class marks the store as changed and saves it, unless it was
/// saved less than 31 seconds ago; what is still unsaved is written by the next change after that time, by
/// Save, or by the destructor. There is no timer. The other operations of XmlFiler are reachable too, but
/// do not mark the store as changed: call MarkChanged after WriteRect, WriteDouble, WriteBuffer and the like.
///
/// Open the file with OpenFile. It keeps a damaged file under another name and never overwrites a file that
/// could not be read:
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
/// With the constructor and SetFile, a file that exists but cannot be opened or parsed leaves a new store
/// empty, and the next save replaces it: check IsEmpty after construction. Such a store has no cursor: give
/// it a root with CreateRoot, since otherwise each write with a relative path adds one more root element, and
/// a file with several does not load.
///
/// \par Failures
/// OpenFile returns how the file was found, GetLoadError why it could not be read. A failed save, a store
/// that starts empty, and changes that are lost because nothing marked the store, are logged in the category
/// `qvutil`.
///
/// \par Threads
/// One thread at a time. Two objects on one file are not coordinated: the later save wins.
class QVUTIL_EXPORT Settings : public XmlFiler
{
public:
    /// Makes a store without a file; nothing is saved until SetFile names one.
    Settings();
    /// Makes a store on a file: loads it if it exists, else begins with an empty root element.
    /// Nothing is written.
    /// \param file      the file that saves go to; may be empty
    /// \param rootName  name of a new root; "Root" if empty
    Settings(QString file, QString rootName);
    /// Saves what is still unsaved. A failure is logged, and so are changes that nothing marked.
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

    /// Changes the file that saves go to, and loads it if it exists. If it does not, the present content is
    /// kept, and an empty document gets the root \p rootName. The content is kept, too, if the file cannot be
    /// opened; it is lost if the file does not parse. Does not mark the store as changed.
    /// \param file      the file that saves go to
    /// \param rootName  name of a new root; "Root" if empty
    void SetFile(QString file, QString rootName);

    /// What OpenFile found.
    enum class FileState {
        New, ///< there is no such file; the first save makes it
        Loaded, ///< the file was read
        SetAside, ///< the file was damaged and has another name now, GetSetAsideFile; the store is empty
        Unreadable, ///< the file could not be read, or not be renamed; the store is empty and has no file
    };
    /// Changes the file that saves go to, and replaces the content of the store by that of the file. Unless
    /// it is loaded, the store holds only the root \p rootName afterwards. Changes that were not saved before
    /// are dropped. Writes no file.
    ///
    /// A file that does not parse is renamed to "FILE.damaged" ("FILE.damaged-2" and so on if that exists),
    /// so that the next save does not destroy what can still be rescued. A file that exists but cannot be
    /// opened or read, perhaps only for now, is left alone: nothing is saved until a file is named again.
    /// \param file      the file that saves go to
    /// \param rootName  name of a new root; "Root" if empty
    /// \return how the file was found; after SetAside and Unreadable, GetLoadError returns the reason
    FileState OpenFile(const QString& file, const QString& rootName);
    /// Returns the name under which the last OpenFile kept a damaged file.
    /// \return the path; empty unless that OpenFile returned SetAside
    [[nodiscard]] QString GetSetAsideFile() const;

    /// See XmlFiler::ReadBoolean.
    /// \param path          node path of the element
    /// \param name          name of the attribute
    /// \param defaultValue  what to answer if there is no such value
    /// \return \p defaultValue if there is no such flag
    [[nodiscard]] bool ReadBoolean(const QString& path, const QString& name, bool defaultValue) const;
    /// See XmlFiler::ReadInt.
    /// \param path          node path of the element
    /// \param name          name of the attribute
    /// \param defaultValue  what to answer if there is no such value
    /// \return \p defaultValue if there is no such number
    [[nodiscard]] int ReadInt(const QString& path, const QString& name, int defaultValue) const;
    /// See XmlFiler::ReadString; the default is translated too.
    /// \param path          node path of the element
    /// \param name          name of the attribute
    /// \param defaultValue  what to answer if there is no such value
    /// \return \p defaultValue through Translate if missing or empty
    [[nodiscard]] QString ReadString(const QString& path, const QString& name,
                                     const QString& defaultValue) const;
    /// See XmlFiler::ReadDate.
    /// \param path          node path of the element
    /// \param name          name of the attribute
    /// \param defaultValue  what to answer if there is no such value
    /// \return the time as local time; \p defaultValue if missing or empty; an invalid QDateTime if the text
    ///         is no ISO date
    [[nodiscard]] QDateTime ReadDate(const QString& path, const QString& name,
                                     const QDateTime& defaultValue) const;
    /// See XmlFiler::ReadNodeText.
    /// \param path  node path of the element
    /// \return the text; empty if there is none
    [[nodiscard]] QString ReadNodeText(const QString& path);

    /// Writes a flag, marks the store as changed and saves it when due.
    /// \param path   node path of the element
    /// \param name   name of the attribute
    /// \param value  the value
    void WriteBoolean(const QString& path, const QString& name, bool value);
    /// Writes an int, marks the store as changed and saves it when due.
    /// \param path   node path of the element
    /// \param name   name of the attribute
    /// \param value  the value
    void WriteInt(const QString& path, const QString& name, int value);
    /// Writes a text, marks the store as changed and saves it when due.
    /// \param path   node path of the element
    /// \param name   name of the attribute
    /// \param value  the value
    void WriteString(const QString& path, const QString& name, const QString& value);
    /// Writes a point in time, marks the store as changed and saves it when due.
    /// \param path   node path of the element
    /// \param name   name of the attribute
    /// \param value  the value
    void WriteDate(const QString& path, const QString& name, const QDateTime& value);
    /// Writes an element's text, marks the store as changed and saves it when due.
    /// \param path  node path of the element
    /// \param text  the text
    void WriteNodeText(const QString& path, const QString& text);
    /// A literal that is no QString would silently become the flag: use u"…"_s.
    void WriteNodeText(const QString& path, const char* text) = delete;
    /// Removes an element, marks the store as changed (even if there was no such element) and saves it when
    /// due.
    /// \param path  node path of the element
    void DeleteNode(const QString& path);

    /// Marks the store as changed and saves it when due. To be called after writes that do not do so
    /// themselves, such as WriteRect, WriteDouble, WriteEnum and WriteBuffer.
    void MarkChanged();
    /// Saves the store if it is marked as changed. A failure is logged and leaves the mark.
    void Save();
    /// Saves the store, changed or not. A failure is logged and leaves the mark.
    void SaveInternal();
    /// Saves the store if it is marked as changed and was last saved 31 seconds ago or more, or never.
    void AutoSave();

private:
    void NoteSavedContent();
    void WarnOfLostChanges();

    bool mDirty = false;
    QString mSettingsFile;

    struct Private;
    const std::unique_ptr<Private> mPrivate;
};

/// Translates texts from an XLIFF file.
///
/// Units are found by the MD5 digest of their source text (GeneralUtil::GetHash), which must be their "id",
/// and are grouped by the file name in the "original" attribute of their `file` element: the same text can
/// read differently in different documents. In each `file` element the `body` must come first; units in
/// groups are not found. A unit with an empty target translates into its id, so that missing translations
/// are seen.
///
/// The file is read at the first translation. After that, naming another file with SetXlfFile leaves the
/// object without translations: make a new object for another file.
///
/// \par Failures
/// A file that is missing, malformed or without translations is logged in the category `qvutil`; its texts
/// stay untranslated.
///
/// \par Threads
/// One thread at a time: Translate is const, but reads the file when it is first called.
class QVUTIL_EXPORT XlfTranslator
{
public:
    /// Makes a translator without a file: every text translates to itself.
    XlfTranslator();
    /// Makes a translator on an XLIFF file, which is read at the first translation.
    /// \param file  the XLIFF file
    explicit XlfTranslator(const QString& file);
    /// Destroys the translations.
    ~XlfTranslator();
    /// Copies the file's name and the translations that have been read.
    /// \param other  the translator to copy
    XlfTranslator(const XlfTranslator& other);
    /// Takes over the file's name and the translations that have been read.
    /// \param other  the translator to move from
    XlfTranslator(XlfTranslator&& other) noexcept;
    /// Copies the file's name and the translations that have been read.
    /// \param other  the translator to copy
    /// \return this translator
    XlfTranslator& operator=(const XlfTranslator& other);
    /// Takes over the file's name and the translations that have been read.
    /// \param other  the translator to move from
    /// \return this translator
    XlfTranslator& operator=(XlfTranslator&& other) noexcept;

    /// Names the XLIFF file and forgets all translations; does nothing if the file is the same but for case.
    /// \param file  the XLIFF file
    void SetXlfFile(const QString& file);
    /// Reads the XLIFF file now. A file that is missing or does not parse leaves the translations unchanged.
    void ParseXlfFile();
    /// Translates a text.
    /// \param text     the source text
    /// \param context  path of the document that shows the text; its file name, in any case, selects the
    ///                 translations. If it has no file name, the last document by name answers.
    /// \return the translation; \p text itself if there is none
    [[nodiscard]] QString Translate(const QString& text, const QString& context) const;

private:
    // Unit id, in UTF-8, to translation.
    using Units = QHash<QByteArray, QString>;

    [[nodiscard]] const Units& FindUnits(const QString& context) const;
    void Parse() const;

    QString mXlfFile;
    // File name of the document in lower case to its units.
    mutable QMap<QString, Units> mTable;
    mutable bool mParsed = false;

    struct Private;
    mutable std::unique_ptr<Private> mPrivate;
};

} // namespace Quorvin::Util

#endif // QVUTIL_XMLFILER_H
