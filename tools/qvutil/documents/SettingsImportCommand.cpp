// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "documents/SettingsCommands.h"

#include "cli/Command.h"
#include "cli/Console.h"
#include "documents/DocumentChange.h"
#include "documents/ElementPath.h"
#include "documents/SettingsContent.h"

#include <QFileInfo>

#include <memory>

using namespace Qt::StringLiterals;
using Quorvin::Util::XmlFiler;

namespace Quorvin::Tool {
namespace {

struct ImportOptions : ChangeOptions
{
    QString Source;
    QString Format;
    QString Root;
    bool Replace = false;
    bool Skip = false;
};

bool IsIni(const ImportOptions& options)
{
    const QString suffix = QFileInfo(options.Source).suffix().toLower();
    const QString format = !options.Format.isEmpty() ? options.Format
        : suffix == "conf"_L1                        ? u"ini"_s
                                                     : suffix;
    if (format == "ini"_L1 || format == "json"_L1)
        return format == "ini"_L1;
    throw UsageFailure(
        options.Format.isEmpty()
            ? u"--format is required: the name of SOURCE does not end in .json, .ini or .conf"_s
            : u"there is no format '%1'; formats are json and ini"_s.arg(format));
}

void CheckRoot(const QString& wanted, const QString& root, const QString& file)
{
    if (!wanted.isEmpty() && wanted != root) {
        throw Failure(file,
                      u"the root element is %1, not %2; use --replace to replace the whole content"_s.arg(
                          root, wanted));
    }
}

ExitCode Import(const ImportOptions& options)
{
    RequireOneStandardInput({options.File, options.Source});
    const bool isIni = IsIni(options);
    const InputFile source(options.Source);
    const SettingsContent content
        = isIni ? FromIni(source.ReadAll(), source.Name()) : FromJson(source.ReadAll(), source.Name());
    for (const QString& problem : content.Problems)
        Console::ReportError(source.Name(), problem);
    if (!content.Problems.isEmpty() && !options.Skip) {
        Console::ReportError(options.File, u"nothing was changed; use --skip to import the rest"_s);
        return ExitCode::No;
    }

    const QString wanted = !options.Root.isEmpty() ? options.Root : content.Root;
    const QString newRoot = !wanted.isEmpty() ? wanted : u"Settings"_s;
    CheckXmlName(newRoot);
    DocumentChange change(options, newRoot);
    XmlFiler& filer = change.Filer();
    if (options.Replace) {
        filer.Reset();
        filer.CreateRoot(newRoot);
    } else {
        CheckRoot(wanted, filer.GetCurrentNodeName(), change.Name());
    }
    WriteContent(filer, content);
    const ExitCode code = change.Finish();
    return content.Problems.isEmpty() ? code : ExitCode::No;
}

} // namespace

void AddSettingsImportCommand(CommandLine& line, CLI::App& group)
{
    auto options = std::make_shared<ImportOptions>();
    CLI::App& command
        = line.AddCommand(group, "import", "Write the values of a JSON or INI file into a settings file",
                          "qvutil settings import app.xml app.json\n"
                          "qvutil settings import app.xml ~/.config/Maker/App.conf\n"
                          "qvutil settings import app.xml app.json --replace --dry-run",
                          [options] { return Import(*options); });
    AddExplanation(command,
                   "Keeps settings that SOURCE does not contain. All values are written in one save. If a\n"
                   "value cannot be stored in a document, it is reported, nothing is written, and the exit\n"
                   "code is 1.");
    AddChangeArguments(command, *options);
    AddText(command, "SOURCE", options->Source, "JSON or INI file to read; - for standard input")->required();
    AddText(command, "--format,-f", options->Format,
            "json or ini; default: from the suffix of SOURCE (.json, .ini or .conf)")
        ->type_name("FORMAT");
    command.add_flag("--replace", options->Replace, "Replace the whole content of FILE");
    command.add_flag("--skip", options->Skip,
                     "Import the rest if some values cannot be stored in a document");
    AddText(command, "--root", options->Root,
            "Name of the root element if the file is created or replaced; default: as in SOURCE, or Settings")
        ->type_name("NAME");
}

} // namespace Quorvin::Tool
