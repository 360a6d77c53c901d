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
    AddPathComparison(line, group, "sub",
                      "Cut a parent off a path; the exit code is 1, and the path whole, if it is not below",
                      "qvutil path sub a/b A/B/c/d   # c/d: case does not matter", "PARENT", "PATH", &Sub);
}

} // namespace Quorvin::Tool
