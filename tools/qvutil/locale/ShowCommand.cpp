// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "locale/LocaleCommands.h"

#include "cli/Console.h"
#include "cli/Suggestion.h"

using namespace Qt::StringLiterals;
using Quorvin::Util::Internal::LocaleRecord;

namespace Quorvin::Tool {
namespace {

ExitCode Show(const LocaleOptions& options)
{
    Report report(options.Json);
    auto code = ExitCode::Yes;
    for (const QString& text : options.Texts) {
        if (const LocaleRecord* record = FindRecord(text)) {
            AddLocale(report, *record);
        } else {
            Console::ReportError(
                text, u"there is no such locale"_s + DidYouMean(text.section(u'.', 0, 0), LocaleNames()));
            code = ExitCode::No;
        }
    }
    report.Finish();
    return code;
}

} // namespace

void AddLocaleShowCommand(CommandLine& line, CLI::App& group)
{
    AddLocaleCommand(line, group, "show", "Show locales by name or identifier",
                     "qvutil locale show en-GB 0x0804 1033", &Show, "LOCALE",
                     "Name, or identifier such as 0x0409");
}

} // namespace Quorvin::Tool
