// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_TESTS_LITTLEMEMORY_H
#define QVUTIL_TESTS_LITTLEMEMORY_H

#include "support/TestSupport.h"

#include <QString>

#include <functional>

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

/// Helpers for loading documents with a limited amount of memory.
namespace TestSupport {

enum class Outcome {
    Refused,
    Loaded,
    OutOfMemory, // but the library survived it
    Died,
};

inline constexpr rlim_t kMiB = 1024 * 1024;

/// Runs a load in a child process that may allocate only a limited amount of memory, in bytes.
inline Outcome RunWithLittleMemory(const std::function<bool()>& load, rlim_t memory = 512 * kMiB)
{
    const pid_t child = fork();
    if (child == 0) {
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
        const rlimit limit{memory, memory};
        setrlimit(RLIMIT_DATA, &limit);
#else
        Q_UNUSED(memory)
#endif
        const LogGuard log;
        const bool loaded = load();
        const bool outOfMemory
            = log.Messages().join(QLatin1Char(' ')).contains(QStringLiteral("not enough memory"));
        _exit(outOfMemory ? int(Outcome::OutOfMemory) : int(loaded ? Outcome::Loaded : Outcome::Refused));
    }
    int status = 0;
    if (child < 0 || waitpid(child, &status, 0) != child || !WIFEXITED(status))
        return Outcome::Died;
    return Outcome(WEXITSTATUS(status));
}

} // namespace TestSupport

#endif // QVUTIL_TESTS_LITTLEMEMORY_H
