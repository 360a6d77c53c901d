// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "documents/ValueCommands.h"

#include "documents/DocumentChange.h"
#include "documents/ElementPath.h"

#include <QDomElement>
#include <QFileInfo>
#include <QSet>

#include <algorithm>
#include <memory>

using namespace Qt::StringLiterals;
using Quorvin::Util::XmlFiler;

namespace Quorvin::Tool {
namespace {

struct SetOptions : ChangeOptions
{
    QString Path;
    QStringList NamesAndValues;
    QString Type;
    QString From;
    QString Root;
    bool Create = false;
    bool NewElement = false;
};

/// One value to write.
struct Assignment
{
    QString Name; ///< empty for the element's content
    QByteArray Value;
};

// Reads the command line: VALUE for the element's content, or NAME and VALUE any number of times; with
// --from, NAME or nothing.
QList<Assignment> GetAssignments(const SetOptions& options)
{
    const QStringList& given = options.NamesAndValues;
    if (!options.From.isEmpty()) {
        RequireOneStandardInput({options.File, options.From});
        if (given.size() > 1)
            throw UsageFailure(u"unexpected argument '%1'"_s.arg(given.at(1)));
        return {{.Name = given.value(0), .Value = InputFile(options.From).ReadAll()}};
    }
    if (given.isEmpty())
        throw UsageFailure(u"VALUE is required"_s);
    if (given.size() == 1)
        return {{.Name = {}, .Value = given.front().toUtf8()}};
    if (given.size() % 2 == 1)
        throw UsageFailure(u"VALUE is required after the name '%1'"_s.arg(given.back()));
    QList<Assignment> assignments;
    for (qsizetype i = 0; i < given.size(); i += 2)
        assignments.append({.Name = given.at(i), .Value = given.at(i + 1).toUtf8()});
    return assignments;
}

bool HasName(const SetOptions& options)
{
    return options.NamesAndValues.size() > (options.From.isEmpty() ? 1 : 0);
}

void CheckAssignments(const QList<Assignment>& assignments, ValueType type)
{
    QSet<QString> names;
    for (const Assignment& assignment : assignments) {
        if (!IsContent(type)) {
            CheckXmlName(assignment.Name);
            if (names.contains(assignment.Name))
                throw UsageFailure(u"the name '%1' is given twice"_s.arg(assignment.Name));
            names.insert(assignment.Name);
        }
        if (type != ValueType::Buffer)
            CheckCharacters(QString::fromUtf8(assignment.Value));
    }
}

// Returns the stored text of a value of the element under the cursor, of any type.
QString StoredText(const XmlFiler& filer, ValueType type, const QString& name)
{
    const QDomElement element = filer.GetCurrentNode().toElement();
    return IsContent(type) ? element.firstChild().nodeValue() : element.attribute(name);
}

ExitCode Set(const SetOptions& options)
{
    const ElementPath path(options.Path);
    if (options.NewElement && path.EndsInPosition())
        throw UsageFailure(u"--new appends an element, so PATH must end in a name without a position"_s);
    const ValueType type = TypeOf(options.Type, HasName(options));
    const QList<Assignment> assignments = GetAssignments(options);
    CheckAssignments(assignments, type);
    if (options.Create)
        CheckXmlName(options.Root);

    if (!options.Create && options.File != "-"_L1 && !options.File.isEmpty()
        && !QFileInfo::exists(options.File))
        throw Failure(options.File, u"No such file or directory; use --create to create it"_s);
    DocumentChange change(options, options.Create ? options.Root : QString());
    XmlFiler& filer = change.Filer();
    path.Create(filer, options.NewElement ? ElementPath::LastStep::IsNew : ElementPath::LastStep::IsReused);
    for (const Assignment& assignment : assignments)
        WriteValue(filer, type, assignment.Name, assignment.Value);
    const ElementPath written(ElementPath::Of(filer));
    return change.Finish([&](XmlFiler& copy) {
        return written.MoveTo(copy)
            && std::all_of(assignments.begin(), assignments.end(), [&](const Assignment& assignment) {
                   return StoredText(copy, type, assignment.Name) == StoredText(filer, type, assignment.Name);
               });
    });
}

} // namespace

void AddSetCommand(CommandLine& line, CLI::App& group, MissingFile missing, const std::string& root)
{
    auto options = std::make_shared<SetOptions>();
    options->Root = QString::fromStdString(root);
    options->Create = missing == MissingFile::IsCreated;
    const std::string name = "qvutil " + group.get_name() + " set ";
    CLI::App& set = line.AddCommand(group, "set", "Write values of one element, and create missing elements",
                                    name + "app.xml Panel/Main Width 640 --type int\n" + name
                                        + "app.xml Panel/Main Width 640 Height 480\n" + name
                                        + "app.xml Notes \"Call back\"           # the element's text\n"
                                        + name + "app.xml Icon --type buffer --from icon.png",
                                    [options] { return Set(*options); });
    AddChangeArguments(set, *options);
    AddText(set, "PATH", options->Path, kPathDescription)->required();
    AddTexts(
        set, "VALUE", options->NamesAndValues,
        "Name and value of an attribute, for any number of attributes; VALUE alone is the element's content")
        ->type_name("[NAME] VALUE ...");
    AddTypeOption(set, options->Type);
    AddText(set, "--from,-f", options->From, "Read VALUE from a file; - for standard input")
        ->type_name("FILE");
    set.add_flag("--new", options->NewElement, "Append a new element even if one with that name exists");
    if (missing == MissingFile::IsError)
        set.add_flag("--create", options->Create, "Create the file if it does not exist");
    AddText(set, "--root", options->Root, "Name of the root element if the file is created; default: " + root)
        ->type_name("NAME");
}

} // namespace Quorvin::Tool
