// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "documents/SettingsCommands.h"

#include "cli/Command.h"
#include "cli/Groups.h"
#include "cli/OfferedValues.h"
#include "documents/ValueCommands.h"

using namespace Qt::StringLiterals;

namespace Quorvin::Tool {

void AddSettingsCommands(CommandLine& line)
{
    OfferValues(u"formats"_s, [] { return QStringList{u"json"_s, u"ini"_s}; });
    CLI::App& group = line.AddGroup("settings", "Manage settings files");
    AddGetCommand(line, group);
    AddSetCommand(line, group, MissingFile::IsCreated, "Settings");
    AddDeleteCommand(line, group);
    AddSettingsListCommand(line, group);
    AddSettingsDiffCommand(line, group);
    AddSettingsCheckCommand(line, group);
    AddSettingsWatchCommand(line, group);
    AddSettingsExportCommand(line, group);
    AddSettingsImportCommand(line, group);
}

} // namespace Quorvin::Tool
