// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "documents/SettingsCommands.h"

#include "cli/Command.h"
#include "cli/Console.h"
#include "documents/DocumentFile.h"
#include "documents/SettingsContent.h"

#include <QSet>

#include <memory>

using namespace Qt::StringLiterals;
using Quorvin::Util::XmlFiler;

namespace Quorvin::Tool {
namespace {

struct ExportOptions
{
    QString File;
    QString Format = u"json"_s;
};

QString KeyOf(const Setting& setting)
{
    const QStringList parts{setting.Path, setting.Name, QString::number(setting.Kind), setting.Value};
    return parts.join(QChar::Null); // documents cannot contain this character
}

// Returns the values that an import would not restore.
QStringList FindLost(const SettingsContent& content, const SettingsContent& imported)
{
    QSet<QString> keys;
    for (const Setting& setting : imported.Settings)
        keys.insert(KeyOf(setting));
    QStringList lost;
    for (const Setting& setting : content.Settings) {
        if (keys.contains(KeyOf(setting)))
            continue;
        const QString name = setting.Path + (setting.Name.isEmpty() ? QString() : u' ' + setting.Name);
        lost += name.trimmed() + u": cannot be read back from this format"_s;
    }
    return lost;
}

ExitCode Export(const ExportOptions& options)
{
    const bool isJson = options.Format == "json"_L1;
    if (!isJson && options.Format != "ini"_L1)
        throw UsageFailure(u"there is no format '%1'; formats are json and ini"_s.arg(options.Format));
    const InputFile file(options.File);
    XmlFiler filer;
    filer.TranslateEnabled = false;
    LoadDocument(filer, file);
    const QDomElement root = filer.GetCurrentNode().toElement();
    const SettingsContent content = ReadContent(root);
    const QByteArray text = isJson ? ToJson(root) : ToIni(content);
    Console::PrintBytes(text);
    const SettingsContent imported = isJson ? FromJson(text, file.Name()) : FromIni(text, file.Name());
    const QStringList problems = content.Problems + FindLost(content, imported);
    for (const QString& problem : problems)
        Console::ReportError(file.Name(), problem);
    return problems.isEmpty() ? ExitCode::Yes : ExitCode::No;
}

} // namespace

void AddSettingsExportCommand(CommandLine& line, CLI::App& group)
{
    auto options = std::make_shared<ExportOptions>();
    CLI::App& command = line.AddCommand(group, "export", "Print a settings file as JSON or INI",
                                        "qvutil settings export app.xml > app.json\n"
                                        "qvutil settings export app.xml --format ini > app.ini",
                                        [options] { return Export(*options); });
    AddExplanation(
        command,
        "Importing the result restores the same settings. Anything that the format cannot express, such as\n"
        "comments, is omitted and reported; the exit code is then 1.");
    AddText(command, "FILE", options->File, "Settings file to read; - for standard input")->required();
    AddText(command, "--format,-f", options->Format,
            "json, or ini for the format of QSettings; default: json")
        ->type_name("FORMAT");
}

} // namespace Quorvin::Tool
