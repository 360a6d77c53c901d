// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_GENERALUTIL_H
#define QVUTIL_GENERALUTIL_H

#include "QvUtilGlobal.h"

#include <QtCore/QByteArray>
#include <QtCore/QDir>
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

    // Paths
    //
    // These rules come from paths with drive letters and UNC paths, and hold on every system: absolute is
    // what has a ':' (a drive letter or a scheme) or begins with two slashes, and a clean path has no slash
    // in front. Paths and their segments are compared without regard to case. None of these operations
    // looks at the file system.

    /// Brings a path into the form in which the other operations compare paths.
    ///
    /// White space around the path goes, as do "." and "..", doubled separators and separators at the end;
    /// unless it is a UNC path, separators in front go too. A root stays: "/" is "/". In a path with a drive
    /// letter, backslashes become slashes; in other paths they do where QDir::cleanPath has it so. In a path
    /// with a scheme of two letters or more, as in a URL, backslashes become slashes and nothing else
    /// changes.
    ///
    /// \code
    /// GeneralUtil::CleanPath(u"/Users/a/b/"_s); // "Users/a/b"
    /// GeneralUtil::CleanPath(u"C:\\x\\..\\y"_s); // "C:/y"
    /// \endcode
    ///
    /// \param path  any path
    /// \return the clean path; empty for an empty one
    [[nodiscard]] static QString CleanPath(const QString& path);
    /// Gives the drive, or the scheme, of a path.
    /// \param path  any path
    /// \return the clean path up to and including its first ':'; empty if there is none
    [[nodiscard]] static QString GetDrive(const QString& path);
    /// Tells whether a path begins with two slashes, of either kind, and so names a server.
    /// \param path  any path, as it stands
    /// \return false for an empty path
    [[nodiscard]] static bool IsUNCPath(const QString& path);
    /// Makes a path absolute.
    /// \param path        the path; one that begins with '/', but has no ':', is relative like any other
    /// \param base        the folder that \p path is relative to, or a file in that folder
    /// \param baseIsFile  whether \p base is a file; a relative one is then taken from the current folder
    /// \return the path below the base folder, cleaned by QDir::cleanPath; \p path itself, so cleaned, if it
    ///         is absolute already
    [[nodiscard]] static QString RelativeToAbsolutePath(const QString& path, const QString& base,
                                                        bool baseIsFile);
    /// Makes a path relative.
    /// \param path        the path
    /// \param base        the folder that the result is relative to, or a file in that folder
    /// \param baseIsFile  whether \p base is a file
    /// \return what QDir::relativeFilePath makes of it, cleaned by QDir::cleanPath: the path unchanged where
    ///         the system knows no drives, and from one drive to another. \p path itself, so cleaned, if it
    ///         is relative already, which a path that begins with '/' but has no ':' is.
    [[nodiscard]] static QString AbsoluteToRelativePath(const QString& path, const QString& base,
                                                        bool baseIsFile);
    /// Tells whether one path lies below another, after cleaning both.
    /// \param parent  the upper path; since clean paths have no slash in front, "/" is no parent of "/a"
    /// \param child   the lower path
    /// \return false if the paths are the same; "a/b" is no parent of "a/bc"
    [[nodiscard]] static bool IsParentPath(const QString& parent, const QString& child);
    /// Tells whether one path lies below another, or is the same, after cleaning both.
    /// \param parent  the upper path
    /// \param child   the lower path
    /// \return true if \p child is \p parent or lies below it
    [[nodiscard]] static bool IsParentOrSamePath(const QString& parent, const QString& child);
    /// Finds the longest path that two paths begin with, segment by segment.
    /// \param path1  a path
    /// \param path2  another
    /// \return the clean common path, spelled as in the path with fewer segments, or as in \p path1 if they
    ///         have as many; a drive letter is in lower case. Empty if there is none, if the drives differ,
    ///         and if \p path1 has a scheme of two letters or more.
    [[nodiscard]] static QString GetCommonParentPath(const QString& path1, const QString& path2);
    /// Tells whether two paths have a beginning in common.
    /// \param path1  a path
    /// \param path2  another
    /// \return whether GetCommonParentPath has a result
    [[nodiscard]] static bool HasCommonParentPath(const QString& path1, const QString& path2);
    /// Cuts the parent off a path.
    /// \param parent  the upper path
    /// \param child   the lower path
    /// \return the clean path from \p parent to \p child; empty if they are the same; the whole of \p child,
    ///         cleaned, if it does not lie below \p parent
    [[nodiscard]] static QString GetSubPath(const QString& parent, const QString& child);

    // Files

    /// Lists the files of a folder. Links to folders are followed unless QDir::NoSymLinks is passed.
    ///
    /// \code
    /// const QStringList logs
    ///     = GeneralUtil::GetFiles(folder, u"*.log|*.txt"_s, QDir::Files | QDir::NoSymLinks, true);
    /// \endcode
    ///
    /// \param folder     the folder; if \p filter is empty also a file, whose name is then taken as the
    ///                   pattern and whose folder is listed
    /// \param filter     name patterns with wildcards, separated by '|', as QDir::entryList takes them;
    ///                   empty for "*"
    /// \param filters    what to list. With \p recursive, the patterns select files only, and QDir::Dirs or
    ///                   QDir::AllDirs adds every sub-folder. Without, QDir::Dirs lists "." and ".." too,
    ///                   unless QDir::NoDotAndDotDot is passed.
    /// \param recursive  whether to list the sub-folders' files too; hidden ones only with QDir::Hidden
    /// \return clean absolute paths, first those in the folder, then each sub-folder with its contents;
    ///         empty if there is no such folder
    [[nodiscard]] static QStringList GetFiles(QString folder, QString filter, QDir::Filters filters,
                                              bool recursive);
    /// Deletes files, and then all empty folders. Links to folders are followed, and what they lead to is
    /// deleted too, unless QDir::NoSymLinks is passed.
    ///
    /// The files are those that GetFiles lists with the same arguments; read-only ones are made writable
    /// first. Whatever \p recursive says, and also when there was nothing to delete, DeleteEmptyDirectories
    /// then removes every sub-folder that is empty, and the folder itself if it is.
    ///
    /// \code
    /// GeneralUtil::DeleteFiles(cacheFolder, u"*.tmp"_s, QDir::Files | QDir::NoSymLinks, true);
    /// \endcode
    ///
    /// \param folder     the folder; must not be empty
    /// \param filter     name patterns, as for GetFiles
    /// \param filters    what to delete, as for GetFiles; folders cannot be deleted in this way
    /// \param recursive  whether to delete the sub-folders' files too
    /// \return false if \p folder is empty (nothing is deleted then) or if a file could not be deleted (the
    ///         others are). How the removal of folders went has no influence.
    static bool DeleteFiles(const QString& folder, const QString& filter, QDir::Filters filters,
                            bool recursive);
    /// Removes a folder and the folders below it, as far as they hold nothing but empty folders. Links to
    /// folders are followed, and what they lead to is cleared too, unless QDir::NoSymLinks is passed.
    ///
    /// \code
    /// GeneralUtil::DeleteEmptyDirectories(cacheFolder, QDir::Dirs | QDir::NoSymLinks);
    /// \endcode
    ///
    /// \param folder   the folder
    /// \param filters  which folders to look into: hidden ones only with QDir::Hidden
    /// \return false if \p folder is empty text or no folder, or if it could not be removed because
    ///         something is left in it; folders below it may be gone all the same
    static bool DeleteEmptyDirectories(const QString& folder, QDir::Filters filters);
    /// Finds a file name that is not taken, by adding a tag to it while a file of that name exists.
    ///
    /// The name is free at the time of asking: when others write to the same folder, open the file with
    /// QIODevice::NewOnly and ask again if that fails.
    ///
    /// \code
    /// // "/d/a.txt", else "/d/a(2).txt", "/d/a(3).txt" and so on
    /// GeneralUtil::GetUniqueFile(u"/d/a.txt"_s, u"(%1)"_s, QString(), true, 2);
    /// \endcode
    ///
    /// \param file      the path wanted
    /// \param format    the tag, in which `%1` is replaced by a counter; empty for `%1`. Without a
    ///                  placeholder there is only the one tag.
    /// \param firstTry  a tag to try before the counted ones; none if empty
    /// \param append    true: the tag follows the name, before the suffix; false: it precedes the name, and
    ///                  takes the place of its first character if that is a digit
    /// \param start     first value of the counter, which ends before 2147483647
    /// \return \p file as given if there is no such file; otherwise a free path in the same folder; empty
    ///         if \p file is empty, or if all names are taken
    [[nodiscard]] static QString GetUniqueFile(const QString& file, const QString& format,
                                               const QString& firstTry, bool append, int start);
    /// Finds a file name that is not taken in a folder.
    /// \param folder     the folder; empty for the system's folder of temporary files
    /// \param name       the name; empty for "Temp"
    /// \param extension  the extension, with or without its '.'; if empty, \p name is taken apart: what
    ///                   follows its last '.' is the extension, what precedes its first '.' is the name
    /// \param separator  what is added if the file exists: twice the separator with '%' in between. It must
    ///                   hold a `%1` for the counter, which begins with 1: `_%1` gives `a_1%_1.txt`.
    ///                   Without it there is only one further name to try.
    /// \return path of a file that does not exist; empty if all names are taken
    [[nodiscard]] static QString GetUniqueFile(const QString& folder, const QString& name,
                                               const QString& extension, const QString& separator);
    /// Finds a file name that is not taken, with a tag behind the name and a counter that begins with 2.
    /// \param file    the path wanted
    /// \param format  the tag, in which `%1` is replaced by the counter; empty for `%1`
    /// \return see the first overload
    [[nodiscard]] static QString GetUniqueFile(const QString& file, const QString& format);
    /// Replaces the characters that some system does not allow in a file name: the backslash and
    /// `/ : * ? " < > |`.
    /// \param name         the name, without folder
    /// \param replacement  the text for each of them; every backslash that it brings in is replaced once
    ///                     more
    /// \return the name with all of them replaced
    [[nodiscard]] static QString FixInvalidCharsInFileName(const QString& name, const QString& replacement);
    /// Reads a text file in UTF-8, or with a byte order mark in UTF-16 or UTF-32.
    /// \param path   the file
    /// \param lines  receives the lines, without line ends, behind the entries that it holds; unchanged
    ///               after a failure
    /// \return false if the file cannot be opened
    static bool ReadAllLines(const QString& path, QStringList& lines);
    /// Writes a text file in UTF-8, replacing one that exists.
    /// \param path   the file
    /// \param lines  the lines; each is followed by a line feed. None at all make an empty file.
    /// \return false if the file cannot be opened; a failure later on, as on a full disk, is not reported
    static bool WriteAllLines(const QString& path, const QStringList& lines);

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
    /// \param bytes      the number; below 1024, negative ones included, it is given in bytes
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
    /// Tells whether a process runs. On macOS only applications count, not daemons and command-line tools.
    /// On Linux every process of every user counts, until it has ended, whether or not its parent has taken
    /// note of that.
    /// \param processId  the number of the process
    /// \return false also for numbers that are no process
    [[nodiscard]] static bool IsProcessRunning(const long long& processId);
    /// \return always true
    [[nodiscard]] static bool Is64BitOS();
    /// \return always true
    [[nodiscard]] static bool Is64BitApp();
    /// \param key  ignored: the systems that the library serves have no registry
    /// \return always false
    [[nodiscard]] static bool RegistryKeyExists(QString key);

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
