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

/// Stands for the parts of macOS that Foundation on other systems lacks, and keeps to what their
/// documentation promises. Calls that break the rules of ownership are counted as misuse.
namespace Doubles {

// CoreFoundation: the user's locale

/// What the locale answers, and what was asked of it.
struct Locale
{
    QByteArray Identifier = "en_US"; ///< UTF-8
    bool HasSystemEncodingPointer = true; ///< whether the string can be had without conversion
    bool HasUtf8Pointer = true;
    bool ConvertsWithoutTerminator = false; ///< convert even if the buffer has no room for the terminator
    std::uint32_t SystemEncoding = 0; ///< MacRoman
};

/// Installs a locale and forgets what was counted.
void SetLocale(const Locale& locale);

/// What was asked since SetLocale.
struct LocaleCalls
{
    int Copies = 0; ///< locales handed out that the caller owns
    int Releases = 0;
    int Misuses = 0; ///< releases of what the caller does not own, uses after release, unknown objects
    QList<std::uint32_t> PointerEncodings; ///< encodings asked for without conversion, in order
    QList<long> BufferSizes; ///< buffer sizes of conversions
    QList<std::uint32_t> ConversionEncodings;
};
[[nodiscard]] LocaleCalls GetLocaleCalls();

// The dynamic loader's image list

struct Image
{
    std::uint32_t FileType = 6; ///< Mach-O file type; 6 is a dynamic library
    std::optional<QByteArray> Path; ///< nothing is a null name
    bool HasHeader = true;
};
void SetImages(const QList<Image>& images);
/// The greatest index asked for since SetImages; -1 if none was.
[[nodiscard]] int GetGreatestImageIndex();

// AppKit and Foundation: the real classes, watched

/// Answers for each process id in \p running with an object, for every other one with nil, and counts.
void WatchRunningApplications(const QList<qint64>& running);
struct ApplicationCalls
{
    QList<qint64> ProcessIds; ///< asked for, in order
    int ObjectsAlive = 0; ///< answers that no pool has released yet
};
[[nodiscard]] ApplicationCalls GetApplicationCalls();

/// Counts the pools made and released from now on. Call it once.
void WatchPools();
/// Pools made and not yet released by the calling thread since WatchPools.
[[nodiscard]] int GetOpenPools();
/// Pools made by any thread since WatchPools.
[[nodiscard]] int GetPoolsMade();

/// Runs \p action within a pool of its own. \return number of objects that it left in that pool
[[nodiscard]] int CountObjectsLeftBehind(const std::function<void()>& action);

// Foundation's own answers, to compare with

enum class Folder { UserApplicationSupport, LocalApplicationSupport, SystemLibrary };
/// All folders that Foundation lists, its first one first.
[[nodiscard]] QStringList ListFolders(Folder folder);

/// Lets Foundation list one more folder, after those that it finds; none if empty.
void AppendFolderToSearches(const QString& folder);

/// Makes an NSString of UTF-16 units and converts it back with the library.
[[nodiscard]] QString ConvertThroughNSString(const QString& text);
/// Converts a nil NSString.
[[nodiscard]] QString ConvertNil();

} // namespace Doubles

#endif // QVUTIL_TESTS_MAC_DOUBLES_H
