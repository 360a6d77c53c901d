// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_LOCALEUTIL_H
#define QVUTIL_LOCALEUTIL_H

#include "QvUtilGlobal.h"

#include <QtCore/QString>

namespace Quorvin::Util {

/// Converts between locale names ("en-US"), Windows locale identifiers (0x0409), three-letter names ("enu")
/// and English display names, tells the current user's locale, and finds translation files.
///
/// The conversions look into one fixed table of 234 locales. Names are matched without regard to case, and
/// only as a whole: an unknown region is not replaced by its language alone.
///
/// \par Threads
/// Conversions from an identifier, to a three-letter name and to a display name: any thread, at any time. The
/// operations that look at the user's locale (GetUserDefaultLocaleForMac, GetUserDefaultLCIDForMac,
/// GetCurrentUserLocale, and LocaleNameToLCID for a name that is not in the table) share one buffer without a
/// lock: not in two threads at once.
class QVUTIL_EXPORT LocaleUtil
{
public:
    // Conversions

    /// Gives the identifier of a locale.
    /// \param name  for example "en-US"
    /// \return its identifier; that of the user's locale, as from GetUserDefaultLCIDForMac, if \p name is
    ///         unknown, empty or "C"
    [[nodiscard]] static quint32 LocaleNameToLCID(const QString& name);
    /// Gives the name of a locale.
    /// \param lcid  for example 0x0409
    /// \return its name in the table's spelling; empty if the identifier is unknown
    [[nodiscard]] static QString LCIDToLocaleName(quint32 lcid);
    /// Gives the short name of a locale's language.
    /// \param name  for example "de-AT"
    /// \return two or three letters; empty if \p name is unknown
    [[nodiscard]] static QString LocaleNameToThreeLetterLocaleName(const QString& name);
    /// Gives the English name of a locale.
    /// \param name  for example "fr-CA"
    /// \return language, mostly with the last word of the region: "French (Canada)", but "English (Kingdom)";
    ///         empty if \p name is unknown
    [[nodiscard]] static QString LocaleNameToDisplayName(const QString& name);

    // The current user

    /// Reads the identifier of the user's locale from the system, afresh on each call. Despite its name it
    /// serves every system; on Linux the first non-empty of LC_ALL, LC_MESSAGES and LANG counts.
    /// \return language and region joined by '_' ("en_GB"), 0-terminated and cut to 255 bytes; empty if the
    ///         user has chosen none. The library owns the text; the next call overwrites it.
    [[nodiscard]] static const char* GetUserDefaultLocaleForMac();
    /// \return identifier of the user's locale; 0x0409, that of en-US, if it is not in the table
    [[nodiscard]] static quint32 GetUserDefaultLCIDForMac();
    /// \return name of the user's locale, "en-GB", as the system spells it but with '-' for '_'; "en-US"
    ///         if it is not in the table
    [[nodiscard]] static QString GetCurrentUserLocale();

    // Files

    /// Returns a path as it is. GeneralUtil::GetSymbolicLinkTarget follows links.
    /// \param path  any path
    /// \return \p path
    [[nodiscard]] static QString GetSymbolicLinkTarget(const QString& path);
    /// Finds the compiled translation of a library: in \p folder alone if one is given; otherwise in the
    /// application's folder, in its sub-folder, and then in the same two places beside the loaded library.
    /// \param module     file name of the library, with its suffix, as for GeneralUtil::GetModulePath
    /// \param file       name of the translation file; empty means that of \p module without what follows its
    ///                   last '.'. ".qm" is added to a name without any '.'.
    /// \param subFolder  name of the sub-folder
    /// \param folder     the only folder to look in; empty means the search described above
    /// \return path of the first file that exists; empty if there is none, if \p module is empty, or if no
    ///         QCoreApplication exists
    [[nodiscard]] static QString ResolveTranslatorFile(const QString& module, const QString& file,
                                                       const QString& subFolder, const QString& folder);
};

} // namespace Quorvin::Util

#endif // QVUTIL_LOCALEUTIL_H
