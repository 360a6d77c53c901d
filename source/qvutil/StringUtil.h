// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_STRINGUTIL_H
#define QVUTIL_STRINGUTIL_H

#include "QvUtilGlobal.h"

#include <QtCore/QMap>
#include <QtCore/QString>
#include <QtCore/QStringList>

#if defined(Q_OS_MACOS) || defined(QVUTIL_HAS_NSSTRING)
Q_FORWARD_DECLARE_OBJC_CLASS(NSString);
#endif

namespace Quorvin::Util {

/// Small helpers for texts: trimming, variables, wide-character buffers.
///
/// A *character* of a text is one UTF-16 unit here, as everywhere in QString.
///
/// \par Threads
/// Any thread, at any time: no operation keeps state.
class QVUTIL_EXPORT StringUtil
{
public:
    // Trimming

    /// Removes the white space at both ends of every entry, in place.
    /// \param list  any texts; an entry that is all white space becomes empty and stays in the list
    static void Trim(QStringList& list);
    /// Removes one character from the front of a text for as long as the text begins with it.
    /// \param text  the text, changed in place
    /// \param ch    the character, as a code point; of a character beyond U+FFFF only the first UTF-16
    ///              unit is looked for and removed. White space is a character like any other.
    /// \return number of characters removed; 0 for an empty text
    static int TrimLeft(QString& text, wchar_t ch);
    /// Removes one character from the end of a text for as long as the text ends with it.
    /// \param text  the text, changed in place
    /// \param ch    the character, as for TrimLeft
    /// \return number of characters removed; 0 for an empty text
    static int TrimRight(QString& text, wchar_t ch);
    /// Tells whether a text was cut short for display, that is, ends with three full stops.
    /// \param text  any text
    /// \return false for an empty text, and for one that ends with the single character U+2026
    [[nodiscard]] static bool IsTextElided(QString text);

    // Variables

    /// Replaces references of the form `$(name)` by the values of variables, in place.
    ///
    /// A name is the shortest run of at least one character, none of them white space, that ends before a
    /// ')'. References to unknown variables stay. After each reference, replaced or not, the search goes on
    /// one character after the place where that reference began. So references within a value are replaced
    /// in turn, unless the value begins with one, and so is the inner reference of `$(a$(b))` when "a$(b"
    /// is unknown.
    ///
    /// \code
    /// QString path = u"$(Home)/$(User)/data"_s;
    /// StringUtil::ResolveVariables(path, {{u"HOME"_s, u"/home"_s}, {u"User"_s, u"ada"_s}}, true); // 2
    /// // path is now "/home/ada/data"
    /// \endcode
    ///
    /// \param text        the text, changed in place; one that is no valid UTF-16 stays as it is
    /// \param variables   names and values
    /// \param ignoreCase  whether names are also found in another case, as by GetKeyValue
    /// \return number of references replaced
    /// \pre No value contains a reference that leads back to itself after its first character: the text
    ///      would grow without end.
    static int ResolveVariables(QString& text, const QMap<QString, QString>& variables, bool ignoreCase);
    /// Looks up a key, if wanted without regard to case.
    /// \param key         the key
    /// \param map         keys and values
    /// \param value       receives the value; empty if the key is not found
    /// \param ignoreCase  whether a key that differs in case will do. The exact key comes first, then the
    ///                    first one in the order of the map that is equal but for case.
    /// \return false if the key is not found
    static bool GetKeyValue(const QString& key, QMap<QString, QString> map, QString& value, bool ignoreCase);

    // Other representations of text

    /// Copies a text, or as much of it as fits, to a buffer of wide characters (UCS-4) and terminates it.
    /// \param text    the text
    /// \param buffer  receives the characters and a 0; null asks for the length alone
    /// \param size    elements in \p buffer, the terminator included; with less than 1 nothing is written
    /// \return number of UTF-16 units copied, without the terminator, which stands at that index: after
    ///         characters beyond U+FFFF, which take one element but count twice, the elements in between
    ///         keep what they held. If \p buffer is null, the length of \p text. 0 if \p size is less than 1.
    static int QStringToWchar(const QString& text, wchar_t* buffer, int size);
#if defined(Q_OS_MACOS) || defined(QVUTIL_HAS_NSSTRING)
    /// Converts a Foundation string. On macOS only.
    /// \param string  the string, not retained
    /// \return its text; empty if \p string is null
    [[nodiscard]] static QString NSStringToQString(NSString* string);
#endif
};

} // namespace Quorvin::Util

#endif // QVUTIL_STRINGUTIL_H
