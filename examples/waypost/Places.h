// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef WAYPOST_PLACES_H
#define WAYPOST_PLACES_H

#include <QString>

/// The folders of Waypost, and the name that its processes use to find each other.
namespace Places {

/// Returns the folder with the interface documents, the translations, the help and the sample tours.
QString DataFolder();
/// Returns the folder for this user's settings. Creates it if it does not exist.
QString UserFolder();
/// Returns the name for servers and grids. It contains the user id, because all users of a machine share
/// these names, and a hash of the settings folder, so that instances with different settings are independent.
QString ProcessName();

} // namespace Places

#endif // WAYPOST_PLACES_H
