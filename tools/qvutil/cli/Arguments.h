// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_TOOL_ARGUMENTS_H
#define QVUTIL_TOOL_ARGUMENTS_H

#include "cli/JsonStyle.h"

#include <QString>

#include <CLI/CLI.hpp>

#include <string>
#include <string_view>
#include <vector>

namespace Quorvin::Tool {

/// The arguments of the tool, read and checked before CLI11 sees them: what it says of wrong ones changes
/// from version to version.
struct ArgumentScan
{
    enum Wish { Run, Help, Version };

    const CLI::App* Command = nullptr; ///< the command or group that the arguments lead to
    Wish Wanted = Run;
    QString Problem; ///< empty if the arguments are right
    bool IsIncomplete = false; ///< whether a command of the group is missing
    JsonStyle Json = JsonStyle::Automatic;
    std::vector<std::string> Arguments; ///< for CLI11, the last one first
};

[[nodiscard]] ArgumentScan ScanArguments(const CLI::App& root, int argc, const char* const* argv);

/// Returns an argument as it was typed, from what CLI11 hands to a command.
[[nodiscard]] QString FromArgument(std::string_view argument);

} // namespace Quorvin::Tool

#endif // QVUTIL_TOOL_ARGUMENTS_H
