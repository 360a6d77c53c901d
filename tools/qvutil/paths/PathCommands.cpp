// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "paths/PathCommands.h"

#include "cli/Console.h"
#include "cli/Groups.h"
#include "cli/Report.h"

#include <qvutil/GeneralUtil.h>

#include <QJsonObject>

#include <memory>

using namespace Qt::StringLiterals;
using Quorvin::Util::GeneralUtil;

namespace Quorvin::Tool {
namespace {

QJsonObject ToJson(const QString& path, const QString& result)
{
    return {{u"path"_s, path},
            {u"result"_s, result},
            {u"drive"_s, GeneralUtil::GetDrive(path)},
            {u"unc"_s, GeneralUtil::IsUNCPath(path)}};
}

ExitCode Convert(const PathOptions& options, PathConversion convert)
{
    Report report(options.Json);
    for (const QString& path : options.Paths) {
        const QString result = convert(path, options);
        report.AddItem([&] { return ToJson(path, result); }, [&] { Console::PrintLine(result); });
    }
    report.Finish();
    return ExitCode::Yes;
}

} // namespace

void AddPathConversion(CommandLine& line, CLI::App& group, const std::string& name,
                       const std::string& description, const std::string& examples, PathConversion convert,
                       const std::string& baseDescription)
{
    auto options = std::make_shared<PathOptions>();
    CLI::App& command = line.AddCommand(group, name, description, examples,
                                        [options, convert] { return Convert(*options, convert); });
    AddTexts(command, "PATH", options->Paths, "Path; it need not exist")->required();
    if (!baseDescription.empty()) {
        AddText(command, "--base,-b", options->Base, baseDescription)->type_name("FOLDER")->required();
        command.add_flag("--base-is-file", options->BaseIsFile, "The base is a file; use its folder");
    }
    AddJsonFlag(command, options->Json);
}

void AddPathComparison(CommandLine& line, CLI::App& group, const std::string& name,
                       const std::string& description, const std::string& examples, const std::string& first,
                       const std::string& second, ExitCode (*run)(const PairOptions&))
{
    auto options = std::make_shared<PairOptions>();
    CLI::App& command
        = line.AddCommand(group, name, description, examples, [options, run] { return run(*options); });
    AddText(command, first, options->First, "Path; it need not exist")->required();
    AddText(command, second, options->Second, "Path to compare with the first")->required();
    AddJsonFlag(command, options->Json);
}

ExitCode PrintPathAnswer(const QString& result, bool isYes, bool json)
{
    Report(json).Answer(
        [&] {
            return QJsonObject{{u"result"_s, result}, {u"found"_s, isYes}};
        },
        [&] {
            if (isYes || !result.isEmpty())
                Console::PrintLine(result);
        });
    return isYes ? ExitCode::Yes : ExitCode::No;
}

void AddPathCommands(CommandLine& line)
{
    CLI::App& group = line.AddGroup(
        "path",
        "Convert and compare paths by the library's rules, which support drive letters on every system");
    AddPathCleanCommand(line, group);
    AddPathRelativeCommand(line, group);
    AddPathAbsoluteCommand(line, group);
    AddPathCommonCommand(line, group);
    AddPathSubCommand(line, group);
}

} // namespace Quorvin::Tool
