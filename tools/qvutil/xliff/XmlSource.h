// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_TOOL_XLIFF_XMLSOURCE_H
#define QVUTIL_TOOL_XLIFF_XMLSOURCE_H

#include "cli/InputFile.h"

#include <qvutil/XmlFiler.h>

#include <QByteArray>
#include <QList>
#include <QString>
#include <QStringList>
#include <QStringView>

#include <memory>

namespace Quorvin::Tool {

/// A place in a text file. Both numbers are counted from 1; 0 means unknown.
struct Place
{
    int Line = 0;
    int Column = 0;
};

/// Returns the comments and processing instructions in a part of an XML text, as they are written.
/// \param markup  complete elements, or the content of an element
[[nodiscard]] QStringList FindComments(QStringView markup);

/// An XML file as the library reads it, together with its text and the place of each element in that text.
///
/// The library reads the values, so they are the same as in an application. The document tree contains
/// neither the places of elements nor the order of attributes, so these come from a second pass over the
/// text. Elements are numbered in document order; the root is 0.
class XmlSource
{
public:
    /// An attribute, with offsets into the text.
    struct Attribute
    {
        QStringView Name;
        qsizetype Begin = 0; ///< of the name
        qsizetype ValueBegin = 0; ///< after the opening quote
        qsizetype ValueEnd = 0; ///< at the closing quote
    };

    /// An element, with offsets into the text.
    struct Element
    {
        QStringView Name;
        int Parent = -1;
        qsizetype Begin = 0; ///< at '<'
        qsizetype TagEnd = 0; ///< after the '>' of the start tag
        qsizetype ContentEnd = 0; ///< at the end tag; TagEnd if there is none
        qsizetype End = 0; ///< after the element
        qsizetype FirstAttribute = 0;
        qsizetype AttributeCount = 0;

        [[nodiscard]] bool IsSelfClosing() const { return ContentEnd == End; }
    };

    XmlSource();

    /// Loads a file. Throws Failure with the place and the reason if the library does not load it.
    void Load(const InputFile& file);
    /// Loads \p text like the content of a UTF-8 file. \return false if the library does not load it
    bool LoadText(const QString& text);

    /// Returns the filer with the document. You may move its cursor, but must not change the document.
    [[nodiscard]] Util::XmlFiler& GetFiler() { return *mFiler; }
    [[nodiscard]] const Util::XmlFiler& GetFiler() const { return *mFiler; }

    /// Returns whether the places of elements are known. They are not if an entity contains markup;
    /// GetElements is then empty.
    [[nodiscard]] bool HasPlaces() const { return !mElements.isEmpty(); }
    [[nodiscard]] const QString& GetText() const { return mText; }
    [[nodiscard]] const QList<Element>& GetElements() const { return mElements; }
    [[nodiscard]] QList<Attribute> GetAttributes(int element) const;
    /// Returns an attribute; null if the element does not have it.
    [[nodiscard]] const Attribute* FindAttribute(int element, QStringView name) const;
    [[nodiscard]] Place GetPlace(qsizetype offset) const;
    /// Returns the place where an element begins.
    [[nodiscard]] Place GetElementPlace(int element) const;
    /// Encodes text in the encoding of the file, which must be able to represent all of its characters.
    [[nodiscard]] QByteArray Encode(const QString& text) const;
    /// Returns whether the file's encoding can represent all characters of a text.
    [[nodiscard]] bool CanEncode(const QString& text) const;
    /// Returns whether the file's encoding can represent every Unicode character.
    [[nodiscard]] bool IsUnicode() const { return mUnicode; }

    /// Calls `visit(number)` for each element in document order, with the filer's cursor on it. The visitor
    /// may read with the filer, but must not move the cursor.
    template <typename Visitor> void ForEachElement(Visitor visit)
    {
        mFiler->MoveToRoot();
        if (mFiler->GetCurrentNode().isNull())
            return;
        int depth = 0;
        for (int number = 0;; ++number) {
            visit(number);
            if (mFiler->MoveToFirstChild()) {
                ++depth;
                continue;
            }
            while (depth > 0 && !mFiler->MoveToNextSibling()) {
                mFiler->MoveToParent();
                --depth;
            }
            if (depth == 0)
                return;
        }
    }

private:
    bool Decode(const QByteArray& content);
    void FindPlaces();

    std::unique_ptr<Util::XmlFiler> mFiler;
    QString mText;
    QByteArray mEncoding;
    bool mUnicode = true;
    bool mByteOrderMark = false;
    QList<Element> mElements;
    QList<Attribute> mAttributes;
    QList<qsizetype> mLineStarts;
};

} // namespace Quorvin::Tool

#endif // QVUTIL_TOOL_XLIFF_XMLSOURCE_H
