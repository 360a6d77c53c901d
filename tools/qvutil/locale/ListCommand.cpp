// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "locale/LocaleCommands.h"

using Quorvin::Util::Internal::gLocales;
using Quorvin::Util::Internal::LocaleRecord;

namespace Quorvin::Tool {
namespace {

ExitCode List(const LocaleOptions& options)
{
    Report report(options.Json);
    for (const LocaleRecord& record : gLocales)
        AddLocale(report, record);
    report.Finish();
    return ExitCode::Yes;
}

} // namespace

void AddLocaleListCommand(CommandLine& line, CLI::App& group)
{
    AddLocaleCommand(line, group, "list", "List all locales in the table", "qvutil locale list --json",
                     &List);
}

} // namespace Quorvin::Tool
