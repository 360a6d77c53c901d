// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_GENERALUTIL_H
#define QVUTIL_GENERALUTIL_H

#include "QvUtilGlobal.h"

#include <QtCore/QByteArray>
#include <QtCore/QString>
#include <QtCore/QStringList>

namespace Quorvin::Util {

/// One row of an enumeration's name table. Tables are plain arrays that belong to the caller.
struct EnumValueName
{
    int Value; ///< the enumeration value; a single bit in a table of flags
    QString Name; ///< the name written to XML
};

/// Helpers for strings, paths, files and the application's folders.
///
/// \par Threads
/// Any thread, at any time: no operation keeps state.
class QVUTIL_EXPORT GeneralUtil
{
public:
    // Strings

    /// Gives the closing partner of an opening brace.
    /// \param open  any character
    /// \return ')' for '('; 0 for every other character, '[' and '{' included
    [[nodiscard]] static wchar_t GetMatchingBrace(wchar_t open);
    /// Finds the partner of an opening brace. Quotes are not recognised: braces in quoted text count too.
    /// \param text      any text, an empty one included
    /// \param position  index of a '(' in \p text, counted from 0
    /// \return index of the ')' that closes it; -1 if none does, or if \p position holds no '('
    [[nodiscard]] static int FindMatchingBrace(const QString& text, int position);
    /// Takes apart a text of the form `name(argument, argument, ...)`.
    ///
    /// The arguments are split at every comma, also within inner braces and quotes, and each is trimmed:
    /// "Max(a, (b, c))" has the arguments "a", "(b" and "c)". Text behind the closing brace is ignored.
    ///
    /// \param text       the text
    /// \param name       receives all that stands before the first '(', untrimmed; empty if there is none
    /// \param arguments  receives the arguments, replacing what the list held; empty after a failure and for
    ///                   "()", but one empty argument for "( )"
    /// \return false if there is no '(', or no ')' that closes the first one
    static bool ParseFunction(const QString& text, QString& name, QStringList& arguments);
    /// Removes the entries that repeat an earlier one; the others keep their order and spelling.
    /// \param list        the list, changed in place
    /// \param ignoreCase  whether entries that differ in case alone are the same
    /// \return number of entries removed
    static qsizetype RemoveDuplicates(QStringList& list, bool ignoreCase);
    /// Kept for hosts that call it: the result is always empty.
    /// \param signature  ignored
    /// \return an empty text
    [[nodiscard]] static QString DYNAMIC_SLOT(const char* signature);
    /// Kept for hosts that call it: the result is always empty.
    /// \param signature  ignored
    /// \return an empty text
    [[nodiscard]] static QString DYNAMIC_SIGNAL(const char* signature);

    // Names of enumeration values

    /// Gives the name of an enumeration value, or the names of a set of flags.
    /// \param value  the value
    /// \param table  first row of the name table; may be null
    /// \param count  rows in \p table
    /// \param flags  false: the name of the first row with exactly this value. True: the names of all rows
    ///               that have a bit in common with \p value, in table order, joined by ",".
    /// \return empty if no row fits, or if there is no table
    [[nodiscard]] static QString EnumValueToName(int value, const EnumValueName* table, int count,
                                                 bool flags);
    /// Gives the enumeration value of a name, or of a list of names of flags, without regard to case.
    /// \param name   the name, which must not be padded; with \p flags, names separated by ",", which may be
    /// \param table  first row of the name table; may be null
    /// \param count  rows in \p table
    /// \param flags  false: the value of the first row of this name. True: the values of all rows whose name
    ///               is in the list, joined by OR; names without a row are ignored.
    /// \return -1 if no row fits, or if there is no table
    [[nodiscard]] static int EnumNameToValue(const QString& name, EnumValueName* table, int count,
                                             bool flags);
    /// Lists the names of a name table.
    /// \param table  first row of the name table; may be null
    /// \param count  rows in \p table
    /// \return the names in table order; empty if there is no table or \p count is less than 1
    [[nodiscard]] static QStringList GetEnumNames(EnumValueName* table, int count);

    // Hashes and sizes

    /// Computes the MD5 digest of a file that is read into memory as a whole.
    /// \param path  the file
    /// \return 32 lower-case hexadecimal digits; empty if the file cannot be opened
    [[nodiscard]] static QByteArray GetFileHash(const QString& path);
    /// Computes the MD5 digest of a text in UTF-8.
    /// \param text  any text
    /// \return 32 lower-case hexadecimal digits
    [[nodiscard]] static QByteArray GetHash(const QString& text);
    /// Computes the MD5 digest of a file that is read in pieces, so that it may be of any size.
    /// \param path  the file
    /// \return 32 lower-case hexadecimal digits, the same as those of GetFileHash; empty if the file cannot
    ///         be opened
    [[nodiscard]] static QString GenerateCheckSumMD5(const QString& path);
    /// Writes a number of bytes for people to read, in the largest unit of bytes, KB, MB and GB of which it
    /// has at least one. A KB is 1024 bytes, an MB 1024 KB, a GB 1024 MB.
    /// \param bytes      the number; below 1024, negative ones included, it is given as "%1 bytes"
    /// \param precision  digits after the point in the other units
    /// \return for example "1.50 KB"; not localised
    [[nodiscard]] static QString BytesToString(qint64 bytes, int precision);

    // Debug output

    /// Hands a message to developers. Goes to the logging category "qvutil" where the system has a channel
    /// for it, which is off until the host's logging rules turn it on; on macOS nothing happens.
    /// \param text  the message
    static void OutputDebugString(const QString& text);
    /// Hands a message to developers, like the other overload.
    /// \param text  the message, ended by a 0; null does nothing
    static void OutputDebugString(const wchar_t* text);
};

} // namespace Quorvin::Util

#endif // QVUTIL_GENERALUTIL_H
