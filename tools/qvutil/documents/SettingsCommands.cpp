// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "cli/Command.h"
#include "cli/Console.h"
#include "cli/Groups.h"
#include "cli/Report.h"
#include "documents/DocumentEntries.h"
#include "documents/DocumentFile.h"
#include "documents/FileCheck.h"
#include "documents/ValueCommands.h"

#include <QFileInfo>
#include <QHash>
#include <QJsonArray>
#include <QJsonObject>

#include <memory>

using namespace Qt::StringLiterals;
using Quorvin::Util::XmlFiler;

namespace Quorvin::Tool {
namespace {

struct ListOptions
{
    QString File;
    QString Path;
    bool Json = false;
};

struct DeleteOptions
{
    QString File;
    QString Path;
    QString Name;
};

struct DiffOptions
{
    QString Left;
    QString Right;
    bool Json = false;
};

struct CheckOptions
{
    QStringList Files;
    bool Json = false;
};

ExitCode List(const ListOptions& options)
{
    const InputFile file(options.File);
    XmlFiler filer;
    LoadDocument(filer, file);
    if (!filer.MoveToNode(options.Path)) {
        Console::Complain(file.Name(), u"there is no element %1"_s.arg(options.Path));
        return ExitCode::No;
    }
    Report report(options.Json);
    const QList<Entry> entries = ListEntries(filer.GetCurrentNode().toElement());
    for (const Entry& entry : entries)
        report.AddItem([&] { return entry.ToJson(); }, [&] { Console::PrintLine(entry.ToText()); });
    report.Finish();
    return ExitCode::Yes;
}

ExitCode Delete(const DeleteOptions& options)
{
    XmlFiler filer;
    LoadDocument(filer, InputFile(options.File));
    if (!filer.MoveToNode(options.Path)) {
        Console::Complain(options.File, u"there is no element %1"_s.arg(options.Path));
        return ExitCode::No;
    }
    QDomElement element = filer.GetCurrentNode().toElement();
    if (!options.Name.isEmpty()) {
        if (!element.hasAttribute(options.Name)) {
            Console::Complain(options.File,
                              u"%1 has no attribute %2"_s.arg(filer.GetCurrentNodePath(), options.Name));
            return ExitCode::No;
        }
        element.removeAttribute(options.Name);
    } else if (element.parentNode().isDocument()) {
        throw UsageFailure(u"the root element cannot be deleted"_s);
    } else {
        filer.DeleteNode();
    }
    SaveDocument(filer, options.File);
    return ExitCode::Yes;
}

/// What one of two files says and the other does not, or says differently.
struct Difference
{
    const Entry* Left; ///< null if only the right file has it
    const Entry* Right; ///< null if only the left file has it
};

QList<Difference> Compare(const QList<Entry>& left, const QList<Entry>& right)
{
    QHash<QString, const Entry*> rightByKey;
    for (const Entry& entry : right)
        rightByKey.insert(entry.Key(), &entry);
    QList<Difference> differences;
    for (const Entry& entry : left) {
        const Entry* partner = rightByKey.take(entry.Key());
        if (!partner || partner->Value != entry.Value || partner->What != entry.What)
            differences.append(Difference{.Left = &entry, .Right = partner});
    }
    for (const Entry& entry : right) {
        if (rightByKey.contains(entry.Key()))
            differences.append(Difference{.Left = nullptr, .Right = &entry});
    }
    return differences;
}

QJsonObject ToJson(const Difference& difference)
{
    QJsonObject object = (difference.Left ? difference.Left : difference.Right)->ToJson();
    object.remove(u"value"_s);
    object.remove(u"text"_s);
    object.insert(u"left"_s, difference.Left ? QJsonValue(difference.Left->Value) : QJsonValue::Null);
    object.insert(u"right"_s, difference.Right ? QJsonValue(difference.Right->Value) : QJsonValue::Null);
    return object;
}

void Print(const Difference& difference)
{
    if (difference.Left)
        Console::PrintLine("- "_L1 + difference.Left->ToText());
    if (difference.Right)
        Console::PrintLine("+ "_L1 + difference.Right->ToText());
}

QList<Entry> LoadEntries(const QString& argument)
{
    XmlFiler filer;
    LoadDocument(filer, InputFile(argument));
    return ListEntries(filer.GetCurrentNode().toElement());
}

ExitCode Diff(const DiffOptions& options)
{
    if (options.Left == "-"_L1 && options.Right == "-"_L1)
        throw UsageFailure(u"only one of the files can be standard input"_s);
    const QList<Entry> left = LoadEntries(options.Left);
    const QList<Entry> right = LoadEntries(options.Right);
    const QList<Difference> differences = Compare(left, right);
    Report report(options.Json);
    for (const Difference& difference : differences)
        report.AddItem([&] { return ToJson(difference); }, [&] { Print(difference); });
    report.Finish();
    return differences.isEmpty() ? ExitCode::Yes : ExitCode::No;
}

QJsonObject ToJson(const QString& file, const QList<FileProblem>& problems)
{
    QJsonArray array;
    for (const FileProblem& problem : problems)
        array.append(problem.ToJson());
    return {{u"file"_s, file}, {u"ok"_s, problems.isEmpty()}, {u"problems"_s, array}};
}

void Print(const QString& file, const QList<FileProblem>& problems)
{
    if (problems.isEmpty())
        Console::PrintLine(Console::Visible(file) + ": good"_L1);
    for (const FileProblem& problem : problems)
        Console::PrintLine(Console::Visible(problem.ToText(file)));
}

ExitCode Check(const CheckOptions& options)
{
    auto code = ExitCode::Yes;
    Report report(options.Json);
    for (const QString& argument : options.Files) {
        try {
            const InputFile file(argument);
            const QList<FileProblem> problems = CheckFile(file);
            if (!problems.isEmpty())
                code = std::max(code, ExitCode::No);
            report.AddItem([&] { return ToJson(file.Name(), problems); },
                           [&] { Print(file.Name(), problems); });
        } catch (const Failure& failure) { // the other files are still of interest
            Console::Complain(failure.Subject, failure.Reason);
            code = ExitCode::Error;
        }
    }
    report.Finish();
    return code;
}

void AddListCommand(CommandLine& line, CLI::App& group)
{
    auto options = std::make_shared<ListOptions>();
    CLI::App& list = line.AddCommand(group, "list", "Print all settings, one a line",
                                     "qvutil settings list app.xml\n"
                                     "qvutil settings list app.xml Panel/Main --json",
                                     [options] { return List(*options); });
    AddText(list, "FILE", options->File, "Settings file to read; - for standard input")->required();
    AddText(list, "PATH", options->Path,
            "Element, as names from the root joined by '/'; the root if not given");
    AddJsonFlag(list, options->Json);
}

void AddDeleteCommand(CommandLine& line, CLI::App& group)
{
    auto options = std::make_shared<DeleteOptions>();
    CLI::App& remove = line.AddCommand(group, "delete", "Delete a setting, or an element with all below it",
                                       "qvutil settings delete app.xml Panel/Main Width\n"
                                       "qvutil settings delete app.xml Panel",
                                       [options] { return Delete(*options); });
    AddText(remove, "FILE", options->File, "Settings file to change")->required();
    AddText(remove, "PATH", options->Path, "Element, as names from the root joined by '/'")->required();
    AddText(remove, "NAME", options->Name, "Name of one value; the whole element if not given");
}

void AddDiffCommand(CommandLine& line, CLI::App& group)
{
    auto options = std::make_shared<DiffOptions>();
    CLI::App& diff = line.AddCommand(group, "diff", "Compare two settings files by what they say",
                                     "qvutil settings diff app.xml backup/app.xml\n"
                                     "qvutil settings diff app.xml backup/app.xml --json | jq length",
                                     [options] { return Diff(*options); });
    AddExplanation(diff,
                   "The order of attributes and of elements of different names, comments and white space\n"
                   "between elements make no difference. Of elements of the same name in one place, the\n"
                   "first is compared with the first, the second with the second.");
    AddText(diff, "FILE", options->Left, "First settings file; - for standard input")->required();
    AddText(diff, "OTHER", options->Right, "Second settings file; - for standard input")->required();
    AddJsonFlag(diff, options->Json);
}

void AddCheckCommand(CommandLine& line, CLI::App& group)
{
    auto options = std::make_shared<CheckOptions>();
    CLI::App& check = line.AddCommand(group, "check", "Tell whether settings files are whole and readable",
                                      "qvutil settings check app.xml\n"
                                      "qvutil settings check ~/.config/*/*.xml --json",
                                      [options] { return Check(*options); });
    AddExplanation(check,
                   "Reports what does not parse, with line and column; files that end in the middle;\n"
                   "characters that cannot be read back; and files that interrupted saves left behind.");
    AddTexts(check, "FILE", options->Files, "Settings file to check; - for standard input")->required();
    AddJsonFlag(check, options->Json);
}

} // namespace

void AddSettingsCommands(CommandLine& line)
{
    CLI::App& group = line.AddGroup("settings", "Look after settings files");
    AddGetCommand(line, group);
    AddSetCommand(line, group, MissingFile::IsCreated, "Settings");
    AddDeleteCommand(line, group);
    AddListCommand(line, group);
    AddDiffCommand(line, group);
    AddCheckCommand(line, group);
}

} // namespace Quorvin::Tool
