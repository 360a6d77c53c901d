// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "paths/PathCommands.h"

#include <qvutil/GeneralUtil.h>

using Quorvin::Util::GeneralUtil;

namespace Quorvin::Tool {
namespace {

ExitCode Sub(const PairOptions& options)
{
    return PrintPathAnswer(GeneralUtil::GetSubPath(options.First, options.Second),
                           GeneralUtil::IsParentOrSamePath(options.First, options.Second), options.Json);
}

} // namespace

void AddPathSubCommand(CommandLine& line, CLI::App& group)
{
    AddPathComparison(
        line, group, "sub",
        "Remove the parent from a path; if the path is not below it, print the whole path and exit with 1",
        "qvutil path sub a/b A/B/c/d   # c/d: case does not matter", "PARENT", "PATH", &Sub);
}

} // namespace Quorvin::Tool
