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

/// Provides helpers for strings: trimming, variables and wide-character buffers.
///
/// A *character* is one UTF-16 code unit, as in QString.
///
/// \par Failures
/// Each operation documents its failure result. The reason is not reported.
///
/// \par Threads
/// Thread-safe: no operation keeps state.
/// \since QvUtil 1.0
class QVUTIL_EXPORT StringUtil
{
public:
    /// \name Trimming
    /// @{

    /// Removes white space from both ends of every entry.
    /// \param list  the list, changed in place; an entry that contains only white space becomes empty but is
    ///              kept
    static void Trim(QStringList& list);
    /// Removes all leading occurrences of a character. White space is not treated specially.
    /// \param text  the text, changed in place
    /// \param ch    the character as a code point; beyond U+FFFF, only its first UTF-16 code unit is compared
    ///              and removed
    /// \return the number of characters removed
    static int TrimLeft(QString& text, wchar_t ch);
    /// Removes all trailing occurrences of a character.
    /// \param text  the text, changed in place
    /// \param ch    the character, as for TrimLeft
    /// \return the number of characters removed
    static int TrimRight(QString& text, wchar_t ch);
    /// Returns whether a text ends with "...", as a text that was shortened for display does.
    /// \param text  any text
    /// \return false for an empty text, and for one that ends with the single character U+2026
    [[nodiscard]] static bool IsTextElided(QString text);

    /// @}
    /// \name Variables
    /// @{

    /// Replaces references of the form `$(name)` with the values of variables.
    ///
    /// A name is the shortest run of one or more characters other than white space that is followed by ')'.
    /// References to unknown variables are left unchanged. The search resumes one character after the start
    /// of each reference, replaced or not. References in a value are therefore replaced too, unless the value
    /// begins with one; and in `$(a$(b))`, if "a$(b" is unknown, the inner reference is replaced.
    ///
    /// \code
    /// QString path = u"$(Home)/$(User)/data"_s;
    /// StringUtil::ResolveVariables(path, {{u"HOME"_s, u"/home"_s}, {u"User"_s, u"ada"_s}}, true); // 2
    /// // path is now "/home/ada/data"
    /// \endcode
    ///
    /// \param text        the text, changed in place; left unchanged if it is not valid UTF-16
    /// \param variables   names and values
    /// \param ignoreCase  whether names are compared case-insensitively, as in GetKeyValue
    /// \return the number of references replaced
    /// \pre No value contains, after its first character, a reference that leads back to itself: the text
    ///      would grow without end.
    static int ResolveVariables(QString& text, const QMap<QString, QString>& variables, bool ignoreCase);
    /// Looks up a key in a map, optionally case-insensitively.
    /// \param key         the key
    /// \param map         keys and values
    /// \param value       set to the value; empty if the key is not found
    /// \param ignoreCase  whether a key that differs only in case matches. An exact match takes precedence,
    ///                    then the first match in the order of the map.
    /// \return false if the key is not found
    static bool GetKeyValue(const QString& key, QMap<QString, QString> map, QString& value, bool ignoreCase);

    /// @}
    /// \name Conversions
    /// @{

    /// Copies as much of a text as fits into a wide-character (UCS-4) buffer, and terminates it with 0.
    ///
    /// The terminator is written at the index that is returned. A character beyond U+FFFF takes one element
    /// but counts as two, so elements between the text and the terminator may keep their old values.
    /// \param text    the text
    /// \param buffer  the buffer; null to ask only for the length
    /// \param size    elements in \p buffer, including the terminator; if less than 1, nothing is written
    /// \return the number of UTF-16 code units copied, without the terminator; the length of \p text if
    ///         \p buffer is null; 0 if \p size is less than 1
    static int QStringToWchar(const QString& text, wchar_t* buffer, int size);
#if defined(Q_OS_MACOS) || defined(QVUTIL_HAS_NSSTRING)
    /// Converts a Foundation string. Only available on macOS.
    /// \param string  the string; not retained
    /// \return its text; empty if \p string is null
    [[nodiscard]] static QString NSStringToQString(NSString* string);
#endif

    /// @}
};

} // namespace Quorvin::Util

#endif // QVUTIL_STRINGUTIL_H
