// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_TESTS_MAC_DOUBLES_H
#define QVUTIL_TESTS_MAC_DOUBLES_H

#include <QByteArray>
#include <QList>
#include <QString>
#include <QStringList>

#include <cstdint>
#include <functional>
#include <optional>

/// Test doubles for the parts of macOS that Foundation lacks on other systems, as their documentation
/// describes them. Violations of the ownership rules are counted as misuse.
namespace Doubles {

// CoreFoundation: the user's locale

/// The results of the locale functions.
struct Locale
{
    QByteArray Identifier = "en_US"; ///< UTF-8
    bool HasSystemEncodingPointer = true; ///< whether the string is available without conversion
    bool HasUtf8Pointer = true;
    bool ConvertsWithoutTerminator = false; ///< whether to convert even without room for the terminator
    std::uint32_t SystemEncoding = 0; ///< MacRoman
};

/// Sets the locale and resets the counts.
void SetLocale(const Locale& locale);

/// Calls since SetLocale.
struct LocaleCalls
{
    int Copies = 0; ///< locales returned to a caller who owns them
    int Releases = 0;
    int Misuses = 0; ///< releases without ownership, uses after release, unknown objects
    QList<std::uint32_t> PointerEncodings; ///< encodings of requests without conversion, in order
    QList<long> BufferSizes; ///< buffer sizes of conversions
    QList<std::uint32_t> ConversionEncodings;
};
[[nodiscard]] LocaleCalls GetLocaleCalls();

// copyfile

/// Sets the result of copying access control lists, and clears the record of copies.
void SetAccessListCopyResult(int result);
/// Returns the flags of the copies of file attributes since SetAccessListCopyResult.
[[nodiscard]] QList<std::uint32_t> GetFileCopies();

// The dynamic loader's image list

struct Image
{
    std::uint32_t FileType = 6; ///< Mach-O file type; 6 is a dynamic library
    std::optional<QByteArray> Path; ///< nullopt for a null name
    bool HasHeader = true;
};
void SetImages(const QList<Image>& images);
/// Returns the greatest index requested since SetImages; -1 if there was no request.
[[nodiscard]] int GetGreatestImageIndex();

// AppKit and Foundation: the real classes, observed

/// Makes NSRunningApplication return an object for each process id in \p running, and nil for others, and
/// counts the calls.
void WatchRunningApplications(const QList<qint64>& running);
struct ApplicationCalls
{
    QList<qint64> ProcessIds; ///< requested ids, in order
    int ObjectsAlive = 0; ///< returned objects that no pool has released yet
};
[[nodiscard]] ApplicationCalls GetApplicationCalls();

/// Counts pools that are created and released from now on. Call it once.
void WatchPools();
/// Returns the number of pools that the calling thread has created since WatchPools and not yet released.
[[nodiscard]] int GetOpenPools();
/// Returns the number of pools created by any thread since WatchPools.
[[nodiscard]] int GetPoolsMade();

/// Runs \p action within a new pool. \return the number of objects that it left in that pool
[[nodiscard]] int CountObjectsLeftBehind(const std::function<void()>& action);

// Foundation's own results, for comparison

enum class Folder { UserApplicationSupport, LocalApplicationSupport, SystemLibrary };
/// Returns all folders that Foundation lists, in order.
[[nodiscard]] QStringList ListFolders(Folder folder);

/// Makes Foundation list one more folder, after those that it finds. An empty text adds no folder.
void AppendFolderToSearches(const QString& folder);

/// Creates an NSString from UTF-16 code units and converts it back with the library.
[[nodiscard]] QString ConvertThroughNSString(const QString& text);
/// Converts a nil NSString.
[[nodiscard]] QString ConvertNil();

} // namespace Doubles

#endif // QVUTIL_TESTS_MAC_DOUBLES_H
