// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_TOOL_DIFFERENCE_H
#define QVUTIL_TOOL_DIFFERENCE_H

#include "cli/Command.h"

#include <QByteArray>
#include <QString>

#include <optional>

namespace Quorvin::Tool {

/// Compares two versions of a file line by line.
/// \param name    name of the file, for the two header lines
/// \param before  the old content; nullopt if the file does not exist yet
/// \return a unified diff with three lines of context, as `patch` reads it; empty if the versions are equal
[[nodiscard]] QByteArray UnifiedDifference(const QString& name, const std::optional<QByteArray>& before,
                                           const QByteArray& after);

/// Prints a unified diff, for a command that was called with --dry-run.
/// \return No if there is a difference
ExitCode PrintDifference(const QString& name, const std::optional<QByteArray>& before,
                         const QByteArray& after);

/// Reads a file for the comparison. Throws Failure if it exists but cannot be read.
/// \return nullopt if the file does not exist
[[nodiscard]] std::optional<QByteArray> ReadIfExists(const QString& file);

CLI::Option* AddDryRunFlag(CLI::App& command, bool& target);

} // namespace Quorvin::Tool

#endif // QVUTIL_TOOL_DIFFERENCE_H
