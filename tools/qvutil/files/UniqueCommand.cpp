// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "files/FilesCommands.h"

#include "cli/Console.h"

#include <qvutil/GeneralUtil.h>

#include <memory>

using namespace Qt::StringLiterals;
using Quorvin::Util::GeneralUtil;

namespace Quorvin::Tool {
namespace {

struct UniqueOptions
{
    QString File;
    QString Format;
    QString FirstTry;
    bool Prefix = false;
    int Start = 2;
};

ExitCode Unique(const UniqueOptions& options)
{
    if (options.File.isEmpty())
        throw UsageFailure(u"FILE is empty"_s);
    const QString file = GeneralUtil::GetUniqueFile(options.File, options.Format, options.FirstTry,
                                                    !options.Prefix, options.Start);
    if (file.isEmpty()) {
        Console::ReportError(options.File, u"all names are in use"_s);
        return ExitCode::No;
    }
    Console::PrintLine(file);
    return ExitCode::Yes;
}

} // namespace

void AddFilesUniqueCommand(CommandLine& line, CLI::App& group)
{
    auto options = std::make_shared<UniqueOptions>();
    CLI::App& unique = line.AddCommand(group, "unique", "Print an unused file name, with a tag if necessary",
                                       "qvutil files unique report.txt --format \"(%1)\"   # report(2).txt\n"
                                       "cp report.txt \"$(qvutil files unique report.txt --first -backup)\"",
                                       [options] { return Unique(*options); });
    AddText(unique, "FILE", options->File, "Preferred name; printed unchanged if it is unused")->required();
    AddText(unique, "--format", options->Format, "Tag, in which %1 stands for the counter; default: %1");
    AddText(unique, "--first", options->FirstTry, "Tag to try before the counter");
    unique.add_flag("--prefix", options->Prefix, "Put the tag before the name instead of after it");
    AddNumber(unique, "--start", options->Start, {}, "First value of the counter; default: 2");
}

} // namespace Quorvin::Tool
