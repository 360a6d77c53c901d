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

/// Reads and checks the tool's arguments before CLI11 does, because CLI11's error messages differ between
/// versions.
struct ArgumentScan
{
    enum Wish { Run, Help, Version };

    const CLI::App* Command = nullptr; ///< the command or group that the arguments lead to
    Wish Wanted = Run;
    QString Problem; ///< empty if the arguments are valid
    bool IsIncomplete = false; ///< whether they name a group, but none of its commands
    JsonStyle Json = JsonStyle::Automatic;
    std::vector<std::string> Arguments; ///< to pass to CLI11, which expects them in reverse order
};

[[nodiscard]] ArgumentScan ScanArguments(const CLI::App& root, int argc, const char* const* argv);

/// Returns an argument as the user typed it, from the text that CLI11 passes to a command.
[[nodiscard]] QString FromArgument(std::string_view argument);

} // namespace Quorvin::Tool

#endif // QVUTIL_TOOL_ARGUMENTS_H
