// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "paths/PathCommands.h"

#include <qvutil/GeneralUtil.h>

using Quorvin::Util::GeneralUtil;

namespace Quorvin::Tool {
namespace {

QString MakeRelative(const QString& path, const PathOptions& options)
{
    return GeneralUtil::AbsoluteToRelativePath(path, options.Base, options.BaseIsFile);
}

} // namespace

void AddPathRelativeCommand(CommandLine& line, CLI::App& group)
{
    AddPathConversion(line, group, "relative",
                      std::string("Make absolute paths relative to a folder") + kAbsoluteRules,
                      "qvutil path relative C:/a/b --base C:/a\n"
                      "qvutil path relative /a/b --base /a  # /a/b: without a drive it counts as relative",
                      &MakeRelative, "Folder that the results are relative to");
}

} // namespace Quorvin::Tool
