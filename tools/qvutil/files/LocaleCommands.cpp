// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "cli/Command.h"
#include "cli/Console.h"
#include "cli/Groups.h"
#include "cli/Report.h"
#include <qvutil/locale/LocaleTable_p.h>

#include <qvutil/LocaleUtil.h>

#include <QJsonObject>

#include <memory>

using namespace Qt::StringLiterals;
using Quorvin::Util::LocaleUtil;
using Quorvin::Util::Internal::gLocales;
using Quorvin::Util::Internal::LocaleRecord;

namespace Quorvin::Tool {
namespace {

struct LocaleOptions
{
    QStringList Texts;
    bool Json = false;
};

QString IdentifierText(quint32 lcid)
{
    return u"0x%1"_s.arg(lcid, 4, 16, QLatin1Char('0'));
}

void AddLocale(Report& report, const LocaleRecord& record)
{
    const auto name = QString::fromLatin1(record.Name);
    const auto threeLetterName = QString::fromLatin1(record.ThreeLetterName);
    const auto displayName = QString::fromLatin1(record.DisplayName);
    report.AddItem(
        [&] {
            return QJsonObject{{u"name"_s, name},
                               {u"threeLetterName"_s, threeLetterName},
                               {u"lcid"_s, static_cast<qint64>(record.Lcid)},
                               {u"displayName"_s, displayName}};
        },
        [&] {
            Console::PrintLine(u"%1 %2 %3 %4"_s.arg(name, -10)
                                   .arg(threeLetterName, -3)
                                   .arg(IdentifierText(record.Lcid), displayName));
        });
}

// The record of a name, or of an identifier (0x0409 or 1033); null if there is none.
const LocaleRecord* FindRecord(const QString& text)
{
    bool isNumber = false;
    const quint32 lcid = text.toUInt(&isNumber, 0);
    const QString name = isNumber ? LocaleUtil::LCIDToLocaleName(lcid) : text;
    for (const LocaleRecord& record : gLocales) {
        if (name.compare(QLatin1StringView(record.Name), Qt::CaseInsensitive) == 0)
            return &record;
    }
    return nullptr;
}

ExitCode Show(const LocaleOptions& options)
{
    Report report(options.Json);
    auto code = ExitCode::Yes;
    for (const QString& text : options.Texts) {
        if (const LocaleRecord* record = FindRecord(text)) {
            AddLocale(report, *record);
        } else {
            Console::Complain(text, u"there is no such locale"_s);
            code = ExitCode::No;
        }
    }
    report.Finish();
    return code;
}

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

ExitCode List(const LocaleOptions& options)
{
    Report report(options.Json);
    for (const LocaleRecord& record : gLocales)
        AddLocale(report, record);
    report.Finish();
    return ExitCode::Yes;
}

ExitCode Current(const LocaleOptions& options)
{
    const QString identifier = QString::fromUtf8(LocaleUtil::GetUserDefaultLocaleForMac());
    const QString name = LocaleUtil::GetCurrentUserLocale();
    const quint32 lcid = LocaleUtil::GetUserDefaultLCIDForMac();
    const bool isKnown = FindRecord(QString(identifier).replace(u'_', u'-')) != nullptr;
    Report(options.Json)
        .Answer(
            [&] {
                return QJsonObject{{u"identifier"_s, identifier},
                                   {u"name"_s, name},
                                   {u"lcid"_s, static_cast<qint64>(lcid)},
                                   {u"known"_s, isKnown}};
            },
            [&] {
                Console::PrintLine(name + u' ' + IdentifierText(lcid));
                if (!isKnown) {
                    Console::PrintLine(
                        u"The system's locale, %1, is not in the table."_s.arg(Console::Quoted(identifier)));
                }
            });
    return isKnown ? ExitCode::Yes : ExitCode::No;
}

// Adds a command, which takes texts if they have a description.
void AddLocaleCommand(CommandLine& line, CLI::App& group, const std::string& name,
                      const std::string& description, const std::string& examples,
                      ExitCode (*run)(const LocaleOptions&), const std::string& argument = {},
                      const std::string& argumentDescription = {})
{
    auto options = std::make_shared<LocaleOptions>();
    CLI::App& command
        = line.AddCommand(group, name, description, examples, [options, run] { return run(*options); });
    if (!argument.empty())
        AddTexts(command, argument, options->Texts, argumentDescription)->required();
    AddJsonFlag(command, options->Json);
}

} // namespace

void AddLocaleCommands(CommandLine& line)
{
    CLI::App& group = line.AddGroup("locale", "Look up locale names and Windows locale identifiers");
    AddLocaleCommand(line, group, "show", "Show locales by name or identifier",
                     "qvutil locale show en-GB 0x0804 1033", &Show, "LOCALE",
                     "Name, or identifier such as 0x0409");
    AddLocaleCommand(line, group, "find", "Find the locales whose names or identifier contain all the texts",
                     "qvutil locale find canada", &Find, "TEXT", "Text to look for, in any case");
    AddLocaleCommand(
        line, group, "current",
        "Print the user's locale as the library sees it; the exit code is 1 if it is not in the table",
        "LC_ALL=de_AT.UTF-8 qvutil locale current", &Current);
    AddLocaleCommand(line, group, "list", "List all locales of the table", "qvutil locale list --json",
                     &List);
}

} // namespace Quorvin::Tool
