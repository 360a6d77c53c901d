// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "cli/Command.h"
#include "cli/Console.h"
#include "cli/Groups.h"
#include "cli/Report.h"

#include <qvutil/GeneralUtil.h>

#include <QJsonArray>
#include <QJsonObject>

#include <memory>

using namespace Qt::StringLiterals;
using Quorvin::Util::GeneralUtil;

namespace Quorvin::Tool {
namespace {

// Said in the help of each command that it decides, because it is not what a Unix shell leads to expect.
constexpr const char* kRules = " (absolute is what has a ':' or begins with two slashes)";

struct PathOptions
{
    QStringList Paths;
    QString Base;
    bool BaseIsFile = false;
    bool Json = false;
};

struct PairOptions
{
    QString First;
    QString Second;
    bool Json = false;
};

QString Clean(const QString& path, const PathOptions&)
{
    return GeneralUtil::CleanPath(path);
}

QString MakeRelative(const QString& path, const PathOptions& options)
{
    return GeneralUtil::AbsoluteToRelativePath(path, options.Base, options.BaseIsFile);
}

QString MakeAbsolute(const QString& path, const PathOptions& options)
{
    return GeneralUtil::RelativeToAbsolutePath(path, options.Base, options.BaseIsFile);
}

using Conversion = QString (*)(const QString& path, const PathOptions& options);

QJsonObject ToJson(const QString& path, const QString& result)
{
    return {{u"path"_s, path},
            {u"result"_s, result},
            {u"drive"_s, GeneralUtil::GetDrive(path)},
            {u"unc"_s, GeneralUtil::IsUNCPath(path)}};
}

ExitCode Convert(const PathOptions& options, Conversion convert)
{
    Report report(options.Json);
    for (const QString& path : options.Paths) {
        const QString result = convert(path, options);
        report.AddItem([&] { return ToJson(path, result); }, [&] { Console::PrintLine(result); });
    }
    report.Finish();
    return ExitCode::Yes;
}

ExitCode PrintAnswer(const QString& result, bool isYes, bool json)
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

ExitCode Common(const PairOptions& options)
{
    const QString common = GeneralUtil::GetCommonParentPath(options.First, options.Second);
    return PrintAnswer(common, !common.isEmpty(), options.Json);
}

ExitCode Sub(const PairOptions& options)
{
    return PrintAnswer(GeneralUtil::GetSubPath(options.First, options.Second),
                       GeneralUtil::IsParentOrSamePath(options.First, options.Second), options.Json);
}

void AddConversion(CommandLine& line, CLI::App& group, const std::string& name,
                   const std::string& description, const std::string& examples, Conversion convert,
                   const std::string& baseDescription = {})
{
    auto options = std::make_shared<PathOptions>();
    CLI::App& command = line.AddCommand(group, name, description, examples,
                                        [options, convert] { return Convert(*options, convert); });
    AddTexts(command, "PATH", options->Paths, "Path; it need not exist")->required();
    if (!baseDescription.empty()) {
        AddText(command, "--base,-b", options->Base, baseDescription)->type_name("FOLDER")->required();
        command.add_flag("--base-is-file", options->BaseIsFile, "The base is a file: its folder is meant");
    }
    AddJsonFlag(command, options->Json);
}

void AddComparison(CommandLine& line, CLI::App& group, const std::string& name,
                   const std::string& description, const std::string& examples, const std::string& first,
                   const std::string& second, ExitCode (*run)(const PairOptions&))
{
    auto options = std::make_shared<PairOptions>();
    CLI::App& command
        = line.AddCommand(group, name, description, examples, [options, run] { return run(*options); });
    AddText(command, first, options->First, "Path; it need not exist")->required();
    AddText(command, second, options->Second, "Path to compare with it")->required();
    AddJsonFlag(command, options->Json);
}

} // namespace

void AddPathCommands(CommandLine& line)
{
    CLI::App& group = line.AddGroup(
        "path", "Apply the library's rules for paths with drive letters, which hold on every system");
    AddConversion(line, group, "clean",
                  "Print paths as the library compares them: without slashes in front, unless two",
                  "qvutil path clean /Users/a/b/      # Users/a/b\n"
                  "qvutil path clean 'C:\\x\\..\\y'      # C:/y",
                  &Clean);
    AddConversion(line, group, "relative", std::string("Make absolute paths relative to a folder") + kRules,
                  "qvutil path relative C:/a/b --base C:/a\n"
                  "qvutil path relative /a/b --base /a  # /a/b: without a drive it counts as relative",
                  &MakeRelative, "Folder that the results are relative to");
    AddConversion(line, group, "absolute", std::string("Make relative paths absolute") + kRules,
                  "qvutil path absolute images/a.png --base /home/me/ui.xml --base-is-file\n"
                  "qvutil path absolute /x --base /b    # /b/x: without a drive it counts as relative",
                  &MakeAbsolute, "Folder that the paths are relative to");
    AddComparison(line, group, "common",
                  "Print what two paths begin with, in any case; the exit code is 1 if that is nothing",
                  "qvutil path common /Users/a/x /users/A/y   # Users/a\n"
                  "qvutil path common C:/a D:/a               # nothing: the drives differ",
                  "PATH1", "PATH2", &Common);
    AddComparison(line, group, "sub",
                  "Cut a parent off a path; the exit code is 1, and the path whole, if it is not below",
                  "qvutil path sub a/b A/B/c/d   # c/d: case does not matter", "PARENT", "PATH", &Sub);
}

} // namespace Quorvin::Tool
