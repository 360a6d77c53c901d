// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_TOOL_FAILURE_H
#define QVUTIL_TOOL_FAILURE_H

#include <QString>

#include <exception>

namespace Quorvin::Tool {

/// The exit code of a command.
enum class ExitCode {
    Yes = 0, ///< done; found; equal; no problems
    No = 1, ///< not found; different; problems found
    Error = 2, ///< wrong usage, or a file that cannot be read or written
};

/// Ends the running command with "qvutil: SUBJECT: REASON" and ExitCode::Error.
class Failure : public std::exception
{
public:
    Failure(const QString& subject, const QString& reason)
        : Subject(subject)
        , Reason(reason)
    { }
    [[nodiscard]] const char* what() const noexcept override { return "a command failed"; }

    QString Subject; ///< usually the file, with line and column; may be empty
    QString Reason;
};

/// Ends the running command like Failure, and points the user to the command's help.
class UsageFailure : public Failure
{
public:
    explicit UsageFailure(const QString& reason)
        : Failure(QString(), reason)
    { }
};

/// Ends the running command silently with ExitCode::Error, because its output is no longer read.
class OutputClosed : public std::exception
{ };

} // namespace Quorvin::Tool

#endif // QVUTIL_TOOL_FAILURE_H
