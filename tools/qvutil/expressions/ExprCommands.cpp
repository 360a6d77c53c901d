// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "cli/Command.h"
#include "cli/Console.h"
#include "cli/Groups.h"
#include "cli/InputFile.h"
#include "documents/DocumentFile.h"
#include "expressions/ExpressionOutline.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonObject>
#include <QXmlStreamReader>

#include <algorithm>
#include <memory>

using namespace Qt::StringLiterals;

namespace Quorvin::Tool {
namespace {

using Part = ExpressionOutline::Part;
using Range = ExpressionOutline::Range;

constexpr qsizetype kMostTableOperands = 16;
constexpr qsizetype kShownCharacters = 100;
constexpr int kShownDepth = 20;

struct EvalOptions
{
    QString Expression;
    QStringList True;
    QStringList False;
    bool Explain = false;
    bool Json = false;
};

struct LintOptions
{
    QStringList Expressions;
    QStringList Files;
    QStringList XmlFiles;
    QStringList Attributes;
    QStringList Known;
    bool Json = false;
};

struct TextOptions
{
    QString Expression;
    bool Json = false;
};

// The entries of options that take lists, "a,b".
QStringList SplitNames(const QStringList& values)
{
    QStringList names;
    for (const QString& value : values) {
        for (const QString& name : value.split(u',', Qt::SkipEmptyParts))
            names.append(name.trimmed());
    }
    return names;
}

QString Word(bool value)
{
    return value ? u"true"_s : u"false"_s;
}

[[noreturn]] void FailAt(const ExpressionOutline& outline, Range where, const QString& reason)
{
    Console::PrintError(outline.Marked(where) + u'\n');
    throw Failure(u"expression, column %1"_s.arg(where.Begin + 1), reason);
}

// Ends the command if the expression is not well formed.
void RequireWellFormed(const ExpressionOutline& outline)
{
    if (const ExpressionProblem* mistake = outline.Mistake())
        FailAt(outline, mistake->Where, mistake->Reason);
}

// --- eval

// Deeply nested groups would fill pages with the same text and with blanks.
QString ExplainPart(const ExpressionOutline& outline, const ExpressionOutline::Trace& trace, qsizetype index)
{
    const Part& part = outline.Parts().at(index);
    const qsizetype end = std::min(part.Where.End, part.Where.Begin + kShownCharacters);
    const QString text = outline.TextOf({part.Where.Begin, end}) + (end < part.Where.End ? "..."_L1 : ""_L1);
    const QString line = QString(2 * (std::min(part.Depth, kShownDepth) + 1), u' ') + Console::Visible(text);
    if (part.What != Part::Operand)
        return line;
    const qsizetype place = trace.Consulted.indexOf(index);
    return line
        + (place < 0 ? u"   skipped"_s : u"   %1. %2"_s.arg(place + 1).arg(Word(trace.Values.at(place))));
}

void Explain(const ExpressionOutline& outline, const ExpressionOutline::Trace& trace)
{
    for (qsizetype i = 0; i < outline.Parts().size(); ++i)
        Console::PrintLine(ExplainPart(outline, trace, i));
    for (const ExpressionProblem& problem : outline.Problems()) {
        Console::PrintLine(u"  note, column %1: %2"_s.arg(problem.Where.Begin + 1).arg(problem.Reason));
    }
}

QJsonObject ExplainJson(const ExpressionOutline& outline, const ExpressionOutline::Trace& trace)
{
    QJsonArray consulted;
    for (qsizetype i = 0; i < trace.Consulted.size(); ++i) {
        const Part& part = outline.Parts().at(trace.Consulted.at(i));
        consulted.append(QJsonObject{{u"operand"_s, outline.TextOf(part.Where)},
                                     {u"column"_s, part.Where.Begin + 1},
                                     {u"value"_s, trace.Values.at(i)}});
    }
    QJsonArray skipped;
    for (qsizetype i = 0; i < outline.Parts().size(); ++i) {
        const Part& part = outline.Parts().at(i);
        if (part.What == Part::Operand && !trace.Consulted.contains(i)) {
            skipped.append(
                QJsonObject{{u"operand"_s, outline.TextOf(part.Where)}, {u"column"_s, part.Where.Begin + 1}});
        }
    }
    QJsonArray notes;
    for (const ExpressionProblem& problem : outline.Problems())
        notes.append(problem.ToJson());
    return {
        {u"value"_s, trace.Value}, {u"consulted"_s, consulted}, {u"skipped"_s, skipped}, {u"notes"_s, notes}};
}

ExitCode Eval(const EvalOptions& options)
{
    const QStringList trueNames = SplitNames(options.True);
    const QStringList falseNames = SplitNames(options.False);
    for (const QString& name : trueNames) {
        if (falseNames.contains(name))
            throw UsageFailure(u"%1 is both true and false"_s.arg(Console::Quoted(name)));
    }

    const ExpressionOutline outline(options.Expression);
    bool isKnown = true;
    const ExpressionOutline::Trace trace
        = outline.Evaluate([&](const QString& operand) -> std::optional<bool> {
              if (trueNames.contains(operand))
                  return true;
              isKnown = falseNames.contains(operand);
              return isKnown ? std::optional(false) : std::nullopt;
          });
    if (!isKnown) {
        const Range where = outline.Parts().at(trace.Consulted.last()).Where;
        FailAt(
            outline, where,
            u"operand %1 is neither in --true nor in --false"_s.arg(Console::Quoted(outline.TextOf(where))));
    }
    if (!trace.Done) // a mistake in a part that is skipped does no harm
        RequireWellFormed(outline);
    if (options.Json) {
        Console::PrintJson(QJsonDocument(ExplainJson(outline, trace)));
    } else {
        if (options.Explain)
            Explain(outline, trace);
        Console::PrintLine(Word(trace.Value));
    }
    return trace.Value ? ExitCode::Yes : ExitCode::No;
}

// --- lint

/// Looks at expressions one by one and tells what is odd.
class Linter
{
public:
    explicit Linter(const LintOptions& options)
        : mOptions(options)
        , mKnown(SplitNames(options.Known))
    { }

    void Look(const QString& place, const QString& expression)
    {
        ++mCount;
        const ExpressionOutline outline(expression);
        QList<ExpressionProblem> problems = outline.Problems();
        if (outline.Mistake() == nullptr)
            AddUnreachable(place, outline, problems);
        if (!mOptions.Known.isEmpty()) // a list without a name is one too
            AddUnknown(outline, problems);
        for (const ExpressionProblem& problem : std::as_const(problems))
            Report(place, outline, problem);
    }

    [[nodiscard]] ExitCode Finish() const
    {
        if (mCount == 0) // a wrong name of an attribute would look like a clean result
            throw Failure({}, u"there is no expression to look at"_s);
        if (mOptions.Json)
            Console::PrintJson(QJsonDocument(mProblems));
        else if (mFound == 0)
            Console::PrintLine(u"no problems; expressions looked at: %1"_s.arg(mCount));
        return mFound == 0 ? ExitCode::Yes : ExitCode::No;
    }

private:
    static void AddUnreachable(const QString& place, const ExpressionOutline& outline,
                               QList<ExpressionProblem>& problems)
    {
        bool complete = false;
        for (const qsizetype index : outline.FindUnreachable(complete)) {
            problems.append({ExpressionProblem::Unreachable, outline.Parts().at(index).Where,
                             u"this operand is never consulted, whatever the others are"_s});
        }
        if (!complete)
            Console::Complain(place, u"too many operands to tell whether each is consulted"_s);
    }

    void AddUnknown(const ExpressionOutline& outline, QList<ExpressionProblem>& problems) const
    {
        for (const Part& part : outline.Parts()) {
            if (part.What == Part::Operand && !mKnown.contains(outline.TextOf(part.Where)))
                problems.append({ExpressionProblem::Unknown, part.Where, u"this operand is not known"_s});
        }
    }

    void Report(const QString& place, const ExpressionOutline& outline, const ExpressionProblem& problem)
    {
        ++mFound;
        if (mOptions.Json) {
            QJsonObject object = problem.ToJson();
            object.insert(u"place"_s, place);
            object.insert(u"expression"_s, outline.Text());
            mProblems.append(object);
            return;
        }
        Console::PrintLine(
            u"%1, column %2: %3"_s.arg(place).arg(problem.Where.Begin + 1).arg(problem.Reason));
        Console::PrintLine(outline.Marked(problem.Where));
    }

    const LintOptions& mOptions;
    const QStringList mKnown;
    int mCount = 0;
    int mFound = 0;
    QJsonArray mProblems;
};

// One expression a line; empty lines are passed over.
void LintFile(Linter& linter, const QString& argument)
{
    const InputFile input(argument);
    QFile file(input.Path());
    if (!file.open(QIODevice::ReadOnly))
        throw Failure(input.Name(), file.errorString());
    for (int number = 1; !file.atEnd(); ++number) {
        const QString line = QString::fromUtf8(file.readLine()).trimmed();
        if (!line.isEmpty())
            linter.Look(u"%1:%2"_s.arg(input.Name()).arg(number), line);
    }
}

// The values of attributes of these names, wherever they stand.
void LintXmlFile(Linter& linter, const QString& argument, const QStringList& attributes)
{
    const InputFile input(argument);
    if (const std::optional<ParseProblem> problem = FindParseProblem(input.Path())) {
        throw Failure(u"%1:%2:%3"_s.arg(input.Name()).arg(problem->Line).arg(problem->Column),
                      problem->Reason);
    }
    QFile file(input.Path());
    if (!file.open(QIODevice::ReadOnly))
        throw Failure(input.Name(), file.errorString());
    QXmlStreamReader reader(&file);
    reader.setNamespaceProcessing(false); // as the library: an unknown prefix is no error
    while (!reader.atEnd()) {
        if (reader.readNext() != QXmlStreamReader::StartElement)
            continue;
        const QXmlStreamAttributes found = reader.attributes();
        for (const QXmlStreamAttribute& attribute : found) {
            if (attributes.contains(attribute.qualifiedName()) && !attribute.value().trimmed().isEmpty()) {
                linter.Look(
                    u"%1:%2, %3"_s.arg(input.Name()).arg(reader.lineNumber()).arg(attribute.qualifiedName()),
                    attribute.value().toString());
            }
        }
    }
    if (reader.hasError()) // what follows was not looked at
        throw Failure(input.Name(), LimitsReason());
}

ExitCode Lint(const LintOptions& options)
{
    if (options.Expressions.isEmpty() && options.Files.isEmpty() && options.XmlFiles.isEmpty())
        throw UsageFailure(u"EXPRESSION, --file or --xml is required"_s);
    if (options.XmlFiles.isEmpty() != options.Attributes.isEmpty())
        throw UsageFailure(u"--xml and --attribute need each other"_s);

    Linter linter(options);
    for (qsizetype i = 0; i < options.Expressions.size(); ++i)
        linter.Look(u"expression %1"_s.arg(i + 1), options.Expressions.at(i));
    for (const QString& file : options.Files)
        LintFile(linter, file);
    for (const QString& file : options.XmlFiles)
        LintXmlFile(linter, file, options.Attributes);
    return linter.Finish();
}

// --- table

QString TableHead(const QStringList& names)
{
    QString head;
    for (const QString& name : names)
        head += Console::Visible(name) + u'\t';
    return head + u"result"_s;
}

ExitCode Table(const TextOptions& options)
{
    const ExpressionOutline outline(options.Expression);
    RequireWellFormed(outline);
    const QStringList& names = outline.Operands();
    if (names.size() > kMostTableOperands) {
        throw Failure(QString(),
                      u"a table of %1 operands is too long; at most %2 are shown"_s.arg(names.size())
                          .arg(kMostTableOperands));
    }
    QJsonArray rows;
    if (!options.Json)
        Console::PrintLine(TableHead(names));
    // Counts from all false to all true, the last operand changing most often.
    for (uint combination = 0; combination < 1U << names.size(); ++combination) {
        const auto valueOf = [&](qsizetype i) { return ((combination >> (names.size() - 1 - i)) & 1U) != 0; };
        const bool result = outline
                                .Evaluate([&](const QString& operand) {
                                    return std::optional(valueOf(names.indexOf(operand)));
                                })
                                .Value;
        QJsonObject values;
        QString line;
        for (qsizetype i = 0; i < names.size(); ++i) {
            values.insert(names.at(i), valueOf(i));
            line += Word(valueOf(i)) + u'\t';
        }
        if (options.Json)
            rows.append(QJsonObject{{u"operands"_s, values}, {u"result"_s, result}});
        else
            Console::PrintLine(line + Word(result));
    }
    if (options.Json)
        Console::PrintJson(QJsonDocument(rows));
    return ExitCode::Yes;
}

// --- operands

ExitCode Operands(const TextOptions& options)
{
    const ExpressionOutline outline(options.Expression);
    RequireWellFormed(outline);
    if (options.Json) {
        Console::PrintJson(QJsonDocument(QJsonArray::fromStringList(outline.Operands())));
        return ExitCode::Yes;
    }
    for (const QString& name : outline.Operands())
        Console::PrintLine(Console::Visible(name));
    return ExitCode::Yes;
}

void AddEval(CommandLine& line, CLI::App& group)
{
    auto options = std::make_shared<EvalOptions>();
    CLI::App& eval = line.AddCommand(group, "eval",
                                     "Evaluate an expression; the exit code is 0 for true and 1 for false",
                                     "qvutil expr eval \"admin & (licensed | trial)\" --true admin,trial "
                                     "--false licensed --explain",
                                     [options] { return Eval(*options); });
    AddText(eval, "EXPRESSION", options->Expression, "The expression")->required();
    AddTexts(eval, "--true", options->True, "Operands that are true, separated by commas");
    AddTexts(eval, "--false", options->False, "Operands that are false, separated by commas");
    eval.add_flag("--explain", options->Explain,
                  "Show the parts, and which operands were consulted in which order");
    AddJsonFlag(eval, options->Json);
}

void AddLint(CommandLine& line, CLI::App& group)
{
    auto options = std::make_shared<LintOptions>();
    CLI::App& lint = line.AddCommand(
        group, "lint", "Report mistakes and traps in expressions; the exit code is 1 if there are any",
        "qvutil expr lint \"a & b (c)\"\n"
        "qvutil expr lint --xml Window.xml --attribute enabled --known admin,trial",
        [options] { return Lint(*options); });
    AddExplanation(
        lint, "If there is no expression to look at, the exit code is 2: check the names after --attribute.");
    AddTexts(lint, "EXPRESSION", options->Expressions, "Expression to look at");
    AddTexts(lint, "--file", options->Files, "File with one expression a line; - for standard input");
    AddTexts(lint, "--xml", options->XmlFiles, "XML file with expressions in attributes");
    AddTexts(lint, "--attribute", options->Attributes, "Name of the attributes to look at, with --xml");
    AddTexts(lint, "--known", options->Known,
             "Operands that exist, separated by commas: others are reported");
    AddJsonFlag(lint, options->Json);
}

void AddTextCommand(CommandLine& line, CLI::App& group, const std::string& name,
                    const std::string& description, const std::string& examples,
                    ExitCode (*run)(const TextOptions&))
{
    auto options = std::make_shared<TextOptions>();
    CLI::App& command
        = line.AddCommand(group, name, description, examples, [options, run] { return run(*options); });
    AddText(command, "EXPRESSION", options->Expression, "The expression")->required();
    AddJsonFlag(command, options->Json);
}

} // namespace

void AddExprCommands(CommandLine& line)
{
    CLI::App& group = line.AddGroup("expr", "Evaluate and check boolean expressions");
    AddEval(line, group);
    AddLint(line, group);
    AddTextCommand(line, group, "table", "Print the truth table of an expression",
                   "qvutil expr table \"(a) & b | c\"", &Table);
    AddTextCommand(line, group, "operands", "List the operands of an expression",
                   "qvutil expr operands \"admin & (licensed | trial)\"", &Operands);
}

} // namespace Quorvin::Tool
