// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "paths/PathCommands.h"

#include <qvutil/GeneralUtil.h>

using Quorvin::Util::GeneralUtil;

namespace Quorvin::Tool {
namespace {

ExitCode Common(const PairOptions& options)
{
    const QString common = GeneralUtil::GetCommonParentPath(options.First, options.Second);
    return PrintPathAnswer(common, !common.isEmpty(), options.Json);
}

} // namespace

void AddPathCommonCommand(CommandLine& line, CLI::App& group)
{
    AddPathComparison(
        line, group, "common",
        "Print the common parent of two paths, ignoring case; the exit code is 1 if there is none",
        "qvutil path common /Users/a/x /users/A/y   # Users/a\n"
        "qvutil path common C:/a D:/a               # nothing: the drives differ",
        "PATH1", "PATH2", &Common);
}

} // namespace Quorvin::Tool
