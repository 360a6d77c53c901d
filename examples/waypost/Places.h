// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef WAYPOST_PLACES_H
#define WAYPOST_PLACES_H

#include <QString>

/// Where Waypost finds and keeps its files, and what its processes are called by one another.
namespace Places {

/// The folder with the interface documents, the translations, the help and the sample tours.
QString DataFolder();
/// The folder for this user's settings; it is made if it does not exist.
QString UserFolder();
/// A name for messages between this user's processes. Names are shared by all users of the machine, so the
/// user is a part of it. So is the folder, so that two sets of settings mean two independent programs.
QString ProcessName();

} // namespace Places

#endif // WAYPOST_PLACES_H
