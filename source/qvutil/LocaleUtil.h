// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_LOCALEUTIL_H
#define QVUTIL_LOCALEUTIL_H

#include "QvUtilGlobal.h"

#include <QtCore/QString>

namespace Quorvin::Util {

/// Converts between locale names ("en-US"), Windows locale identifiers (0x0409), three-letter language names
/// ("enu") and English display names, determines the current user's locale, and finds translation files.
///
/// Conversions use a fixed table of 234 locales. Names are compared case-insensitively and in full: a
/// language with an unknown region does not match the language alone.
///
/// \par Failures
/// Each operation documents its failure result, such as an empty string for an unknown locale.
///
/// \par Threads
/// The conversions are thread-safe, except LocaleNameToLCID for a name that is not in the table: it then
/// determines the user's locale. This case, GetUserDefaultLocaleForMac, GetUserDefaultLCIDForMac and
/// GetCurrentUserLocale share a buffer without a lock: call them in one thread at a time.
/// \since QvUtil 1.0
class QVUTIL_EXPORT LocaleUtil
{
public:
    /// \name Conversions
    /// @{

    /// Returns the identifier of a locale.
    /// \param name  for example "en-US"
    /// \return the identifier; that of the user's locale (GetUserDefaultLCIDForMac) if \p name is unknown,
    ///         empty or "C"
    [[nodiscard]] static quint32 LocaleNameToLCID(const QString& name);
    /// Returns the name of a locale.
    /// \param lcid  for example 0x0409
    /// \return the name as spelled in the table; empty if the identifier is unknown
    [[nodiscard]] static QString LCIDToLocaleName(quint32 lcid);
    /// Returns the short name of a locale's language.
    /// \param name  for example "de-AT"
    /// \return two or three letters; empty if \p name is unknown
    [[nodiscard]] static QString LocaleNameToThreeLetterLocaleName(const QString& name);
    /// Returns the English name of a locale.
    /// \param name  for example "fr-CA"
    /// \return the language, usually with the last word of the region: "French (Canada)", but
    ///         "English (Kingdom)"; empty if \p name is unknown
    [[nodiscard]] static QString LocaleNameToDisplayName(const QString& name);

    /// @}
    /// \name Current user
    /// The system is queried on each call. On Linux, the first of the variables LC_ALL, LC_MESSAGES and LANG
    /// that is not empty is used.
    /// @{

    /// Returns the identifier of the user's locale, on every supported system.
    /// \return language and region joined by '_' ("en_GB"), terminated by 0 and truncated to 255 bytes; empty
    ///         if no locale is set. The library owns the buffer, and the next call overwrites it.
    [[nodiscard]] static const char* GetUserDefaultLocaleForMac();
    /// Returns the Windows locale identifier of the user's locale.
    /// \return the identifier; 0x0409 (en-US) if the locale is not in the table
    [[nodiscard]] static quint32 GetUserDefaultLCIDForMac();
    /// Returns the name of the user's locale.
    /// \return the name as the system spells it, but with '-' in place of '_', such as "en-GB"; "en-US" if
    ///         the locale is not in the table
    [[nodiscard]] static QString GetCurrentUserLocale();

    /// @}
    /// \name Files
    /// @{

    /// Returns a path unchanged. Use GeneralUtil::GetSymbolicLinkTarget to resolve links.
    /// \param path  any path
    /// \return \p path
    [[nodiscard]] static QString GetSymbolicLinkTarget(const QString& path);
    /// Finds the compiled translation of a library. Without \p folder, searches the application's folder and
    /// then the folder of the loaded library: in each, first the folder itself and then \p subFolder.
    /// \param module     file name of the library, with its suffix, as for GeneralUtil::GetModulePath
    /// \param file       name of the translation file; empty for \p module up to its last '.'. ".qm" is
    ///                   appended to a name without '.'.
    /// \param subFolder  name of the sub-folder
    /// \param folder     the only folder to search; empty for the search described above
    /// \return path of the first file that exists; empty if there is none, if \p module is empty, or if no
    ///         QCoreApplication exists
    [[nodiscard]] static QString ResolveTranslatorFile(const QString& module, const QString& file,
                                                       const QString& subFolder, const QString& folder);

    /// @}
};

} // namespace Quorvin::Util

#endif // QVUTIL_LOCALEUTIL_H
