// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "locale/LocaleCommands.h"

using namespace Qt::StringLiterals;
using Quorvin::Util::Internal::gLocales;
using Quorvin::Util::Internal::LocaleRecord;

namespace Quorvin::Tool {
namespace {

ExitCode Find(const LocaleOptions& options)
{
    Report report(options.Json);
    auto code = ExitCode::No;
    for (const LocaleRecord& record : gLocales) {
        const QString everything
            = QStringList{QString::fromLatin1(record.Name), QString::fromLatin1(record.ThreeLetterName),
                          IdentifierText(record.Lcid), QString::fromLatin1(record.DisplayName)}
                  .join(u'\n');
        bool fits = true;
        for (const QString& text : options.Texts)
            fits = fits && everything.contains(text, Qt::CaseInsensitive);
        if (fits) {
            AddLocale(report, record);
            code = ExitCode::Yes;
        }
    }
    report.Finish();
    return code;
}

} // namespace

void AddLocaleFindCommand(CommandLine& line, CLI::App& group)
{
    AddLocaleCommand(line, group, "find", "Find locales whose names or identifiers contain each TEXT",
                     "qvutil locale find canada", &Find, "TEXT", "Text to search for, ignoring case");
}

} // namespace Quorvin::Tool
