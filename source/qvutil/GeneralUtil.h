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

    // Links, and files for a locale

    /// Follows the symbolic links in a path, also those in its leading folders.
    /// \param path  absolute, or relative to the current folder; need not exist. An empty path gives
    ///              the folder above the current one.
    /// \return absolute clean path with the links replaced by what they point to. From the first part on that
    ///         cannot be followed (it is missing, a link to nothing, a loop) the path is kept as it stands.
    [[nodiscard]] static QString GetSymbolicLinkTarget(const QString& path);
    /// Finds the variant of a file that is meant for a locale: a file of the same name in a sub-folder that
    /// is named after the locale.
    ///
    /// The folders are searched in their order, then the application's own. Only the full name of the locale
    /// counts: for "fr-CA" neither "fr" nor "fr-FR" is looked at.
    ///
    /// \param file     name of the file; folders in it are ignored. ".xlf" is added if it has no suffix.
    /// \param locale   for example "de-DE"; empty means the locale of the system
    /// \param folders  folders separated by ';', empty entries are ignored
    /// \return absolute path of the first file found; empty if there is none, or if \p file is empty
    [[nodiscard]] static QString FindLocaleFile(const QString& file, const QString& locale,
                                                const QString& folders);

    // The application's folders and its environment

    /// \return absolute clean path of the folder that holds the application's executable
    /// \pre a QCoreApplication exists
    [[nodiscard]] static QString GetAppDirPath();
    /// \return absolute clean path of the application's executable
    /// \pre a QCoreApplication exists
    [[nodiscard]] static QString GetAppFilePath();
    /// Gives the folder under which applications keep data for the current user: on macOS the user's
    /// application-support folder, on Linux $XDG_DATA_HOME or ~/.local/share.
    /// \return absolute clean path; the folder need not exist
    [[nodiscard]] static QString GetAppDataPath();
    /// \return the same folder as GetAppDataPath
    [[nodiscard]] static QString GetLocalAppDataPath();
    /// Gives the folder under which applications keep data for all users: on macOS the machine's
    /// application-support folder, on Linux the first folder of $XDG_DATA_DIRS or /usr/local/share.
    /// \return absolute clean path; the folder need not exist
    [[nodiscard]] static QString GetCommonAppDataPath();
    /// \return the same folder as GetCommonAppDataPath
    [[nodiscard]] static QString GetProgramDataPath();
    /// \return empty: there is no such folder on the systems that the library serves
    [[nodiscard]] static QString GetFavoritesPath();
    /// \return the folder of the system's own libraries, as the system spells it
    [[nodiscard]] static QString GetSystemDirectory();
    /// Tells where a library that is loaded into this process lies.
    /// \param name  the library's file name; matched with regard to case. Without any '.' the system's suffix
    ///              (".dylib", ".so") is added. On Linux a file also matches without its version, so that
    ///              "libFoo.so.6.4" is found as "libFoo.so" and as "libFoo".
    /// \return absolute path of the folder of the first such library in the loader's order; empty if none is
    ///         loaded. The program itself is no library.
    [[nodiscard]] static QString GetModulePath(const QString& name);
    /// \return always "x64/Release", however the library was built
    [[nodiscard]] static QString GetBuild();
    /// Tells whether a process runs. On macOS only applications count, not daemons and command-line tools. On
    /// Linux every process of every user counts until it has ended, even if its parent has not taken note
    /// yet. \param processId  the number of the process \return false also for numbers that are no process
    [[nodiscard]] static bool IsProcessRunning(const long long& processId);
    /// \return always true
    [[nodiscard]] static bool Is64BitOS();
    /// \return always true
    [[nodiscard]] static bool Is64BitApp();
    /// \param key  ignored: the systems that the library serves have no registry
    /// \return always false
    [[nodiscard]] static bool RegistryKeyExists(const QString& key);

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
