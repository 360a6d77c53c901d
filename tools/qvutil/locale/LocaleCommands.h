// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_TOOL_LOCALE_LOCALECOMMANDS_H
#define QVUTIL_TOOL_LOCALE_LOCALECOMMANDS_H

#include "cli/Command.h"
#include "cli/Report.h"
#include <qvutil/locale/LocaleTable_p.h>

#include <QString>
#include <QStringList>

#include <string>

namespace Quorvin::Tool {

// The commands of `qvutil locale`, in the order of its help.
void AddLocaleShowCommand(CommandLine& line, CLI::App& group);
void AddLocaleFindCommand(CommandLine& line, CLI::App& group);
void AddLocaleCurrentCommand(CommandLine& line, CLI::App& group);
void AddLocaleListCommand(CommandLine& line, CLI::App& group);

/// The options of a command of `qvutil locale`.
struct LocaleOptions
{
    QStringList Texts;
    bool Json = false;
};
/// Adds a command. It takes arguments if their name and description are passed.
void AddLocaleCommand(CommandLine& line, CLI::App& group, const std::string& name,
                      const std::string& description, const std::string& examples,
                      ExitCode (*run)(const LocaleOptions&), const std::string& argument = {},
                      const std::string& argumentDescription = {});

/// Formats an identifier in the usual way: 0x0409.
[[nodiscard]] QString IdentifierText(quint32 lcid);
/// Adds a locale to a list.
void AddLocale(Report& report, const Util::Internal::LocaleRecord& record);
/// Returns the names of all locales.
[[nodiscard]] QStringList LocaleNames();
/// Returns the record for a name or an identifier (0x0409 or 1033); null if there is none.
[[nodiscard]] const Util::Internal::LocaleRecord* FindRecord(const QString& text);

} // namespace Quorvin::Tool

#endif // QVUTIL_TOOL_LOCALE_LOCALECOMMANDS_H
