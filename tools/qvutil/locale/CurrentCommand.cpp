// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "locale/LocaleCommands.h"

#include "cli/Console.h"

#include <qvutil/LocaleUtil.h>

#include <QJsonObject>

using namespace Qt::StringLiterals;
using Quorvin::Util::LocaleUtil;

namespace Quorvin::Tool {
namespace {

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
                        u"the system's locale, %1, is not in the table"_s.arg(Console::Quoted(identifier)));
                }
            });
    return isKnown ? ExitCode::Yes : ExitCode::No;
}

} // namespace

void AddLocaleCurrentCommand(CommandLine& line, CLI::App& group)
{
    AddLocaleCommand(
        line, group, "current",
        "Print the user's locale as the library sees it; the exit code is 1 if it is not in the table",
        "LC_ALL=de_AT.UTF-8 qvutil locale current", &Current);
}

} // namespace Quorvin::Tool
