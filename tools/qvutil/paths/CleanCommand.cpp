// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "paths/PathCommands.h"

#include <qvutil/GeneralUtil.h>

using Quorvin::Util::GeneralUtil;

namespace Quorvin::Tool {
namespace {

QString Clean(const QString& path, const PathOptions&)
{
    return GeneralUtil::CleanPath(path);
}

} // namespace

void AddPathCleanCommand(CommandLine& line, CLI::App& group)
{
    AddPathConversion(
        line, group, "clean",
        "Print paths in the form in which the library compares them; a single leading slash is removed",
        "qvutil path clean /Users/a/b/      # Users/a/b\n"
        "qvutil path clean 'C:\\x\\..\\y'      # C:/y",
        &Clean);
}

} // namespace Quorvin::Tool
