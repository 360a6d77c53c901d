// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "documents/SettingsCommands.h"

#include "cli/Command.h"
#include "cli/Console.h"
#include "cli/Report.h"
#include "documents/DocumentEntries.h"
#include "documents/DocumentFile.h"

#include <QHash>
#include <QJsonObject>

#include <memory>

using namespace Qt::StringLiterals;
using Quorvin::Util::XmlFiler;

namespace Quorvin::Tool {
namespace {

struct DiffOptions
{
    QString Left;
    QString Right;
    bool Json = false;
};

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

} // namespace

void AddSettingsDiffCommand(CommandLine& line, CLI::App& group)
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

} // namespace Quorvin::Tool
