// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "locale/LocaleCommands.h"

#include "cli/Console.h"
#include "cli/Groups.h"
#include "cli/OfferedValues.h"

#include <qvutil/LocaleUtil.h>

#include <QJsonObject>

#include <memory>

using namespace Qt::StringLiterals;
using Quorvin::Util::LocaleUtil;
using Quorvin::Util::Internal::gLocales;
using Quorvin::Util::Internal::LocaleRecord;

namespace Quorvin::Tool {

void AddLocaleCommand(CommandLine& line, CLI::App& group, const std::string& name,
                      const std::string& description, const std::string& examples,
                      ExitCode (*run)(const LocaleOptions&), const std::string& argument,
                      const std::string& argumentDescription)
{
    auto options = std::make_shared<LocaleOptions>();
    CLI::App& command
        = line.AddCommand(group, name, description, examples, [options, run] { return run(*options); });
    if (!argument.empty())
        AddTexts(command, argument, options->Texts, argumentDescription)->required();
    AddJsonFlag(command, options->Json);
}

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

QStringList LocaleNames()
{
    QStringList names;
    for (const LocaleRecord& record : gLocales)
        names.append(QString::fromLatin1(record.Name));
    return names;
}

void AddLocaleCommands(CommandLine& line)
{
    OfferValues(u"locales"_s, &LocaleNames);
    CLI::App& group = line.AddGroup("locale", "Look up locale names and Windows locale identifiers");
    AddLocaleShowCommand(line, group);
    AddLocaleFindCommand(line, group);
    AddLocaleCurrentCommand(line, group);
    AddLocaleListCommand(line, group);
}

} // namespace Quorvin::Tool
