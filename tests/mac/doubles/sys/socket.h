// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_TESTS_SOCKET_H
#define QVUTIL_TESTS_SOCKET_H

// The system's header, with what macOS adds to it.
#include_next <sys/socket.h>
#include <sys/types.h>

#define SO_NWRITE 0x1024

extern "C" int getpeereid(int socket, uid_t* user, gid_t* group);

#endif // QVUTIL_TESTS_SOCKET_H
