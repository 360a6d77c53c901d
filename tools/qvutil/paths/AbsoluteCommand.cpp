// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "paths/PathCommands.h"

#include <qvutil/GeneralUtil.h>

using Quorvin::Util::GeneralUtil;

namespace Quorvin::Tool {
namespace {

QString MakeAbsolute(const QString& path, const PathOptions& options)
{
    return GeneralUtil::RelativeToAbsolutePath(path, options.Base, options.BaseIsFile);
}

} // namespace

void AddPathAbsoluteCommand(CommandLine& line, CLI::App& group)
{
    AddPathConversion(line, group, "absolute", std::string("Make relative paths absolute") + kAbsoluteRules,
                      "qvutil path absolute images/a.png --base /home/me/ui.xml --base-is-file\n"
                      "qvutil path absolute /x --base /b    # /b/x: without a drive it counts as relative",
                      &MakeAbsolute, "Folder that the paths are relative to");
}

} // namespace Quorvin::Tool
