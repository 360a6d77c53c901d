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

/// One row of a table of enumeration names. Tables are plain arrays owned by the caller.
/// \since QvUtil 1.0
struct EnumValueName
{
    int Value; ///< the enumeration value; a single bit in a table of flags
    QString Name; ///< the name written to XML
};

/// Provides helpers for strings, paths, files and the application's folders.
///
/// \par Failures
/// Each operation documents its failure result. The reason is not reported.
///
/// \par Threads
/// Thread-safe: no operation keeps state.
/// \since QvUtil 1.0
class QVUTIL_EXPORT GeneralUtil
{
public:
    /// \name Strings
    /// @{

    /// Returns the closing counterpart of an opening brace.
    /// \param open  any character
    /// \return ')' for '('; 0 for every other character, including '[' and '{'
    [[nodiscard]] static wchar_t GetMatchingBrace(wchar_t open);
    /// Finds the brace that closes an opening brace. Braces inside quotation marks count too.
    /// \param text      any text
    /// \param position  index of a '(' in \p text, counted from 0
    /// \return index of the matching ')'; -1 if there is none, or if there is no '(' at \p position
    [[nodiscard]] static int FindMatchingBrace(const QString& text, int position);
    /// Parses a function call of the form `name(argument, argument, ...)`.
    ///
    /// Arguments are split at every comma, even inside inner braces and quotation marks, and trimmed:
    /// "Max(a, (b, c))" has the arguments "a", "(b" and "c)". Text after the closing brace is ignored.
    ///
    /// \param text       the text
    /// \param name       set to everything before the first '(', untrimmed; empty if there is no '('
    /// \param arguments  set to the arguments; empty after a failure and for "()", but one empty argument for
    ///                   "( )"
    /// \return false if there is no '(', or if the first one is not closed
    static bool ParseFunction(const QString& text, QString& name, QStringList& arguments);
    /// Removes entries that repeat an earlier one. The order and spelling of the others do not change.
    /// \param list        the list, changed in place
    /// \param ignoreCase  whether entries that differ only in case are duplicates
    /// \return the number of entries removed
    static qsizetype RemoveDuplicates(QStringList& list, bool ignoreCase);
    /// Returns an empty string. Provided for source compatibility.
    /// \param signature  ignored
    /// \return an empty string
    [[nodiscard]] static QString DYNAMIC_SLOT(const char* signature);
    /// \copydoc DYNAMIC_SLOT
    [[nodiscard]] static QString DYNAMIC_SIGNAL(const char* signature);

    /// @}
    /// \name Enumeration names
    /// @{

    /// Returns the name of an enumeration value, or the names of a set of flags.
    /// \param value  the value
    /// \param table  first row of the name table; may be null
    /// \param count  rows in \p table
    /// \param flags  false: the name of the first row with exactly this value. True: the names of all rows
    ///               that share a bit with \p value, in table order, separated by ",".
    /// \return the name or names; empty if no row matches, or if there is no table
    [[nodiscard]] static QString EnumValueToName(int value, const EnumValueName* table, int count,
                                                 bool flags);
    /// Returns the enumeration value for a name, or for a list of flag names. Names are compared
    /// case-insensitively.
    /// \param name   the name, without surrounding white space; with \p flags, names separated by ",", with
    ///               or without white space around each
    /// \param table  first row of the name table; may be null
    /// \param count  rows in \p table
    /// \param flags  false: the value of the first row with this name. True: the values of all rows whose
    ///               name is in the list, combined by OR; unknown names are ignored.
    /// \return the value; -1 if no row matches, or if there is no table
    [[nodiscard]] static int EnumNameToValue(const QString& name, EnumValueName* table, int count,
                                             bool flags);
    /// Returns the names in a name table.
    /// \param table  first row of the name table; may be null
    /// \param count  rows in \p table
    /// \return the names in table order; empty if there is no table or \p count is less than 1
    [[nodiscard]] static QStringList GetEnumNames(EnumValueName* table, int count);

    /// @}
    /// \name Paths
    /// These operations treat paths the same way on every system: a path is absolute if it contains a ':' (a
    /// drive letter or a scheme) or begins with two slashes, and a clean path has no leading slash. Paths are
    /// compared case-insensitively. No operation accesses the file system.
    /// @{

    /// Normalises a path for comparison.
    ///
    /// Removes surrounding white space, "." and "..", doubled and trailing separators and, except in a UNC
    /// path, leading separators. The root "/" does not change. Backslashes become slashes in a path with a
    /// drive letter, and in other paths where QDir::cleanPath converts them. In a path whose scheme has two
    /// letters or more, such as a URL, backslashes become slashes and nothing else changes.
    ///
    /// \code
    /// GeneralUtil::CleanPath(u"/Users/a/b/"_s); // "Users/a/b"
    /// GeneralUtil::CleanPath(u"C:\\x\\..\\y"_s); // "C:/y"
    /// \endcode
    ///
    /// \param path  any path
    /// \return the clean path; empty for an empty one
    [[nodiscard]] static QString CleanPath(const QString& path);
    /// Returns the drive, or the scheme, of a path.
    /// \param path  any path
    /// \return the clean path up to and including its first ':'; empty if it has none
    [[nodiscard]] static QString GetDrive(const QString& path);
    /// Returns whether a path begins with two slashes or backslashes. The path is not cleaned first.
    /// \param path  any path
    /// \return false for an empty path
    [[nodiscard]] static bool IsUNCPath(const QString& path);
    /// Makes a path absolute.
    /// \param path        the path; one that begins with a single '/' and has no ':' counts as relative
    /// \param base        the folder that \p path is relative to, or a file in that folder
    /// \param baseIsFile  whether \p base is a file; if so, a relative \p base is resolved against the
    ///                    current folder
    /// \return the path below the base folder, cleaned by QDir::cleanPath; if \p path is absolute, \p path
    ///         itself, cleaned in the same way
    [[nodiscard]] static QString RelativeToAbsolutePath(const QString& path, const QString& base,
                                                        bool baseIsFile);
    /// Makes a path relative.
    /// \param path        the path
    /// \param base        the folder that the result is relative to, or a file in that folder
    /// \param baseIsFile  whether \p base is a file
    /// \return the relative path, cleaned by QDir::cleanPath. The supported systems have no drives, so only a
    ///         path that begins with two slashes is made relative. Any other path, even one that begins with
    ///         a single '/', is only cleaned.
    [[nodiscard]] static QString AbsoluteToRelativePath(const QString& path, const QString& base,
                                                        bool baseIsFile);
    /// Returns whether one path is below another. Both are cleaned first.
    /// \param parent  the upper path; "/" is not a parent of "/a", because clean paths have no leading slash
    /// \param child   the lower path
    /// \return false if the paths are equal; "a/b" is not a parent of "a/bc"
    [[nodiscard]] static bool IsParentPath(const QString& parent, const QString& child);
    /// Returns whether one path is below or equal to another. Both are cleaned first.
    /// \param parent  the upper path
    /// \param child   the lower path
    /// \return true if \p child is \p parent or below it
    [[nodiscard]] static bool IsParentOrSamePath(const QString& parent, const QString& child);
    /// Finds the longest common parent of two paths, segment by segment.
    /// \param path1  a path
    /// \param path2  another path
    /// \return the clean common path, spelled as in the path with fewer segments, or as in \p path1 if both
    ///         have the same number; a drive letter is in lower case. Empty if there is none, if the drives
    ///         differ, or if the scheme of \p path1 has two letters or more.
    [[nodiscard]] static QString GetCommonParentPath(const QString& path1, const QString& path2);
    /// Returns whether two paths have a common parent.
    /// \param path1  a path
    /// \param path2  another path
    /// \return false if GetCommonParentPath returns an empty path
    [[nodiscard]] static bool HasCommonParentPath(const QString& path1, const QString& path2);
    /// Removes the parent from a path.
    /// \param parent  the upper path
    /// \param child   the lower path
    /// \return the clean path from \p parent to \p child; empty if they are equal; all of \p child, cleaned,
    ///         if it is not below \p parent
    [[nodiscard]] static QString GetSubPath(const QString& parent, const QString& child);

    /// @}
    /// \name Files
    /// @{

    /// Returns the files in a folder. Links to folders are followed unless QDir::NoSymLinks is passed.
    ///
    /// \code
    /// const QStringList logs
    ///     = GeneralUtil::GetFiles(folder, u"*.log|*.txt"_s, QDir::Files | QDir::NoSymLinks, true);
    /// \endcode
    ///
    /// \param folder     the folder. If \p filter is empty, \p folder may be a file: the name of the file is
    ///                   then the pattern, and the folder that contains it is listed.
    /// \param filter     wildcard patterns separated by '|', as for QDir::entryList; empty for "*"
    /// \param filters    what to list. With \p recursive, the patterns apply to files only, and QDir::Dirs or
    ///                   QDir::AllDirs adds every sub-folder. Otherwise QDir::Dirs also lists "." and "..",
    ///                   unless QDir::NoDotAndDotDot is passed.
    /// \param recursive  whether to list sub-folders too; hidden ones only with QDir::Hidden
    /// \return clean absolute paths: those in the folder first, then each sub-folder with its contents; empty
    ///         if the folder does not exist
    [[nodiscard]] static QStringList GetFiles(QString folder, QString filter, QDir::Filters filters,
                                              bool recursive);
    /// Deletes files, and then every empty folder.
    ///
    /// Deletes the files that GetFiles returns for the same arguments; read-only files are made writable
    /// first. DeleteEmptyDirectories then removes every empty sub-folder, and the folder itself if it is
    /// empty, even if \p recursive is false or no file matched.
    ///
    /// \warning Links to folders are followed, and their targets are emptied too, unless QDir::NoSymLinks is
    /// passed.
    ///
    /// \code
    /// GeneralUtil::DeleteFiles(cacheFolder, u"*.tmp"_s, QDir::Files | QDir::NoSymLinks, true);
    /// \endcode
    ///
    /// \param folder     the folder; must not be an empty string
    /// \param filter     wildcard patterns, as for GetFiles
    /// \param filters    what to delete, as for GetFiles; folders cannot be deleted this way
    /// \param recursive  whether to delete the files of sub-folders too
    /// \return false if \p folder is an empty string, in which case nothing is deleted, or if a file could
    ///         not be deleted, in which case the others are. Folders that could not be removed do not count.
    static bool DeleteFiles(const QString& folder, const QString& filter, QDir::Filters filters,
                            bool recursive);
    /// Removes a folder and the folders below it, unless they contain files.
    ///
    /// \warning Links to folders are followed, and empty folders in their targets are removed too, unless
    /// QDir::NoSymLinks is passed.
    ///
    /// \code
    /// GeneralUtil::DeleteEmptyDirectories(cacheFolder, QDir::Dirs | QDir::NoSymLinks);
    /// \endcode
    ///
    /// \param folder   the folder
    /// \param filters  which folders to visit: hidden ones only with QDir::Hidden
    /// \return false if \p folder is an empty string or not a folder, or if it could not be removed, usually
    ///         because it is not empty; folders below it may have been removed nevertheless
    static bool DeleteEmptyDirectories(const QString& folder, QDir::Filters filters);
    /// Finds a file name that is not in use. If the file exists, adds different tags to its name until the
    /// result is not in use.
    ///
    /// Another process may create the file before you do: open it with QIODevice::NewOnly, and ask for
    /// another name if that fails.
    ///
    /// \code
    /// // "/d/a.txt", or else "/d/a(2).txt", "/d/a(3).txt" and so on
    /// GeneralUtil::GetUniqueFile(u"/d/a.txt"_s, u"(%1)"_s, QString(), true, 2);
    /// \endcode
    ///
    /// \param file      the preferred path
    /// \param format    the tag, in which `%1` is replaced by a counter; empty for `%1`. Without a
    ///                  placeholder, the tag is tried only once.
    /// \param firstTry  a tag to try before the counted ones; none if empty
    /// \param append    true: the tag follows the base name; false: it precedes the base name, and replaces
    ///                  its first character if that is a digit
    /// \param start     first value of the counter, which stops before 2147483647
    /// \return \p file unchanged if no such file exists; otherwise an unused path in the same folder; empty
    ///         if \p file is empty, or if all names are in use
    [[nodiscard]] static QString GetUniqueFile(const QString& file, const QString& format,
                                               const QString& firstTry, bool append, int start);
    /// Finds a file name that is not in use in a folder.
    /// \param folder     the folder; empty for the system's folder for temporary files
    /// \param name       the name; empty for "Temp"
    /// \param extension  the extension, with or without '.'. If empty, \p name is split: the part after its
    ///                   last '.' is the extension, the part before its first '.' is the name.
    /// \param separator  must contain `%1`, which is replaced by a counter starting at 1. If the file exists,
    ///                   the separator, '%' and the separator again are appended to the name: `_%1` gives
    ///                   `a_1%_1.txt`. Without `%1`, only one such name is tried.
    /// \return path of a file that does not exist; empty if all names are in use
    [[nodiscard]] static QString GetUniqueFile(const QString& folder, const QString& name,
                                               const QString& extension, const QString& separator);
    /// Finds a file name that is not in use, with a tag after the base name and a counter starting at 2.
    /// \param file    the preferred path
    /// \param format  the tag, in which `%1` is replaced by the counter; empty for `%1`
    /// \return as for the first overload
    [[nodiscard]] static QString GetUniqueFile(const QString& file, const QString& format);
    /// Replaces the characters that some systems do not allow in a file name: the backslash and
    /// `/ : * ? " < > |`.
    /// \param name         the name, without a folder
    /// \param replacement  the text for each of them; a backslash in it is itself replaced once
    /// \return the name with all of them replaced
    [[nodiscard]] static QString FixInvalidCharsInFileName(const QString& name, const QString& replacement);
    /// Reads the lines of a text file in UTF-8 or, if it has a byte order mark, in UTF-16 or UTF-32.
    /// \param path   the file
    /// \param lines  the lines, without line endings, are appended to it; unchanged after a failure
    /// \return false if the file cannot be opened
    static bool ReadAllLines(const QString& path, QStringList& lines);
    /// Writes a text file in UTF-8, replacing an existing one. The write is not atomic.
    /// \param path   the file
    /// \param lines  the lines, each of which is followed by a line feed; an empty list produces an empty
    ///               file
    /// \return false if the file cannot be opened; a later failure, such as a full disk, is not reported
    static bool WriteAllLines(const QString& path, const QStringList& lines);

    /// @}
    /// \name Hashes and sizes
    /// @{

    /// Computes the MD5 digest of a file. The whole file is read into memory; GenerateCheckSumMD5 avoids
    /// that.
    /// \param path  the file
    /// \return 32 lower-case hexadecimal digits; empty if the file cannot be opened
    [[nodiscard]] static QByteArray GetFileHash(const QString& path);
    /// Computes the MD5 digest of a text in UTF-8.
    /// \param text  any text
    /// \return 32 lower-case hexadecimal digits
    [[nodiscard]] static QByteArray GetHash(const QString& text);
    /// Computes the MD5 digest of a file of any size, which is read in blocks.
    /// \param path  the file
    /// \return 32 lower-case hexadecimal digits, as from GetFileHash; empty if the file cannot be opened
    [[nodiscard]] static QString GenerateCheckSumMD5(const QString& path);
    /// Formats a number of bytes in the largest of the units bytes, KB, MB and GB in which it is at least 1.
    /// Each unit is 1,024 times the previous one.
    /// \param bytes      the number; numbers below 1,024, including negative ones, are formatted in bytes
    /// \param precision  decimal places in the other units
    /// \return for example "1.50 KB"; not localised
    [[nodiscard]] static QString BytesToString(qint64 bytes, int precision);

    /// @}
    /// \name Links and localised files
    /// @{

    /// Resolves the symbolic links in a path, including those in its leading folders.
    /// \param path  an absolute path, or one relative to the current folder; it need not exist. For an empty
    ///              path, the result is the parent of the current folder.
    /// \return the absolute clean path. From the first segment that cannot be resolved (it is missing, a
    ///         dangling link, or a loop of links) the path is kept unchanged.
    [[nodiscard]] static QString GetSymbolicLinkTarget(const QString& path);
    /// Finds the variant of a file for a locale: a file of the same name in a sub-folder named after the
    /// locale.
    ///
    /// Searches \p folders in order, then the application's folder. Only the full locale name is tried:
    /// "fr-CA" does not fall back to "fr" or "fr-FR".
    ///
    /// \param file     name of the file; any folders in it are ignored. ".xlf" is appended if it has no
    ///                 suffix.
    /// \param locale   for example "de-DE"; empty for the system's locale
    /// \param folders  folders separated by ';'; empty entries are ignored
    /// \return absolute path of the first file found; empty if there is none, or if \p file is empty
    [[nodiscard]] static QString FindLocaleFile(const QString& file, const QString& locale,
                                                const QString& folders);

    /// @}
    /// \name Application folders and environment
    /// @{

    /// Returns the folder of the application's executable.
    /// \return the absolute clean path
    /// \pre A QCoreApplication exists.
    [[nodiscard]] static QString GetAppDirPath();
    /// Returns the path of the application's executable.
    /// \return the absolute clean path
    /// \pre A QCoreApplication exists.
    [[nodiscard]] static QString GetAppFilePath();
    /// Returns the folder for the current user's application data: the user's Application Support folder on
    /// macOS; $XDG_DATA_HOME, or else ~/.local/share, on Linux.
    /// \return the absolute clean path; the folder need not exist
    [[nodiscard]] static QString GetAppDataPath();
    /// Returns the same folder as GetAppDataPath.
    /// \return the absolute clean path; the folder need not exist
    [[nodiscard]] static QString GetLocalAppDataPath();
    /// Returns the folder for the application data of all users: the machine's Application Support folder on
    /// macOS; the first folder of $XDG_DATA_DIRS, or else /usr/local/share, on Linux.
    /// \return the absolute clean path; the folder need not exist
    [[nodiscard]] static QString GetCommonAppDataPath();
    /// Returns the same folder as GetCommonAppDataPath.
    /// \return the absolute clean path; the folder need not exist
    [[nodiscard]] static QString GetProgramDataPath();
    /// Returns an empty path: the supported systems have no folder for favourites.
    /// \return an empty string
    [[nodiscard]] static QString GetFavoritesPath();
    /// Returns the folder of the system's libraries.
    /// \return the path as the system spells it
    [[nodiscard]] static QString GetSystemDirectory();
    /// Returns the folder of a library that is loaded into this process.
    /// \param name  file name of the library, compared case-sensitively. If it has no '.', the system's
    ///              suffix (".dylib" or ".so") is appended. On Linux, the version in a file name is optional:
    ///              "libFoo.so.6.4" is also found as "libFoo.so" and "libFoo".
    /// \return absolute path of the folder of the first match in the loader's order; empty if there is none.
    ///         The program itself does not count.
    [[nodiscard]] static QString GetModulePath(const QString& name);
    /// Returns "x64/Release", whatever the build type of the library.
    /// \return always "x64/Release"
    [[nodiscard]] static QString GetBuild();
    /// Returns whether a process is running. On macOS only applications count, not daemons or command-line
    /// tools. On Linux the processes of all users count; a zombie process does not.
    /// \param processId  the process id
    /// \return false if it is not running, or if the number is not a valid process id
    [[nodiscard]] static bool IsProcessRunning(const long long& processId);
    /// Returns true: only 64-bit systems are supported.
    /// \return always true
    [[nodiscard]] static bool Is64BitOS();
    /// Returns true: only 64-bit builds are supported.
    /// \return always true
    [[nodiscard]] static bool Is64BitApp();
    /// Returns false: the supported systems have no registry.
    /// \param key  ignored
    /// \return always false
    [[nodiscard]] static bool RegistryKeyExists(QString key);

    /// @}
    /// \name Debug output
    /// @{

    /// Logs a message for developers. On Linux it goes to the logging category "qvutil", which is off unless
    /// the application's logging rules enable it; on macOS it is dropped.
    /// \param text  the message
    static void OutputDebugString(const QString& text);
    /// \overload
    /// \param text  the message, terminated by 0; null does nothing
    static void OutputDebugString(const wchar_t* text);

    /// @}
};

} // namespace Quorvin::Util

#endif // QVUTIL_GENERALUTIL_H
