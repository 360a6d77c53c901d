// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "expressions/ExprCommands.h"

#include "cli/Command.h"
#include "cli/Console.h"
#include "cli/InputFile.h"
#include "cli/Report.h"
#include "documents/DocumentFile.h"
#include "expressions/CommandSupport.h"
#include "expressions/ExpressionOutline.h"
#include <qvutil/xml/XmlRules_p.h>

#include <QJsonObject>
#include <QSet>
#include <QXmlStreamReader>

#include <memory>
#include <optional>
#include <utility>

using namespace Qt::StringLiterals;

namespace Quorvin::Tool {
namespace {

using Part = ExpressionOutline::Part;

struct LintOptions
{
    QStringList Expressions;
    QStringList Files;
    QStringList XmlFiles;
    QStringList Attributes;
    QStringList Known;
    bool Json = false;
};

/// Checks expressions one by one and reports problems.
class Linter
{
public:
    explicit Linter(const LintOptions& options)
        : mOptions(options)
        , mKnown(SplitNames(options.Known))
        , mReport(options.Json)
    { }

    void Inspect(const QString& place, const QString& expression)
    {
        ++mCount;
        const ExpressionOutline outline(expression);
        QList<ExpressionProblem> problems = outline.Problems();
        if (outline.Mistake() == nullptr)
            AddUnreachable(place, outline, problems);
        AddByName(outline, problems);
        for (const ExpressionProblem& problem : std::as_const(problems))
            AddProblem(place, outline, problem);
    }

    void NoteAttribute(const QString& name) { mSeen.insert(name); }

    // Reports a misspelt attribute name as an error, because the result would otherwise be "no problems".
    [[nodiscard]] ExitCode Finish()
    {
        for (const QString& attribute : mOptions.Attributes) {
            if (!mSeen.contains(attribute))
                throw Failure({}, u"no element has the attribute '%1'"_s.arg(attribute));
        }
        if (mCount == 0)
            throw Failure({}, u"there is no expression to check"_s);
        mReport.Finish([this] {
            if (mFound == 0)
                Console::PrintLine(u"no problems; expressions checked: %1"_s.arg(mCount));
        });
        return mFound == 0 ? ExitCode::Yes : ExitCode::No;
    }

private:
    static void AddUnreachable(const QString& place, const ExpressionOutline& outline,
                               QList<ExpressionProblem>& problems)
    {
        bool complete = false;
        for (const qsizetype index : outline.FindUnreachable(complete)) {
            problems.append({ExpressionProblem::Unreachable, outline.Parts().at(index).Where,
                             u"this operand is never consulted, whatever the values of the others"_s});
        }
        if (!complete)
            Console::ReportError(place, u"too many operands to determine whether each is consulted"_s);
    }

    // A known name is allowed even if it looks like an operator.
    void AddByName(const ExpressionOutline& outline, QList<ExpressionProblem>& problems) const
    {
        for (const Part& part : outline.Parts()) {
            const QString name = part.Kind == Part::Operand ? outline.TextOf(part.Where) : QString();
            if (name.isEmpty() || mKnown.contains(name))
                continue;
            if (const QString reason = WhyForeign(name); !reason.isEmpty())
                problems.append({ExpressionProblem::Foreign, part.Where, reason});
            else if (!mOptions.Known.isEmpty()) // given, even if it contains no name
                problems.append({ExpressionProblem::Unknown, part.Where, u"this operand is unknown"_s});
        }
    }

    void AddProblem(const QString& place, const ExpressionOutline& outline, const ExpressionProblem& problem)
    {
        ++mFound;
        mReport.AddItem(
            [&] {
                QJsonObject object = problem.ToJson();
                object.insert(u"place"_s, place);
                object.insert(u"expression"_s, outline.Text());
                return object;
            },
            [&] {
                Console::PrintLine(u"%1, column %2: %3"_s.arg(place, QString::number(problem.Where.Begin + 1),
                                                              problem.Reason));
                Console::PrintLine(outline.Marked(problem.Where));
            });
    }

    const LintOptions& mOptions;
    const QStringList mKnown;
    int mCount = 0;
    int mFound = 0;
    QSet<QString> mSeen; // names of attributes in XML files
    Report mReport;
};

// Checks the expression on each line; empty lines are skipped.
void LintFile(Linter& linter, const QString& argument)
{
    const InputFile input(argument);
    const QList<QByteArray> lines = input.ReadAll().split('\n');
    for (qsizetype i = 0; i < lines.size(); ++i) {
        const QString line = QString::fromUtf8(lines.at(i)).trimmed();
        if (!line.isEmpty())
            linter.Inspect(u"%1:%2"_s.arg(input.Name(), QString::number(i + 1)), line);
    }
}

// Checks the values of all attributes with these names.
void LintXmlFile(Linter& linter, const QString& argument, const QStringList& attributes)
{
    const InputFile input(argument);
    const QByteArray content = input.ReadAll();
    RequireLoadable(input.Name(), content);
    QXmlStreamReader reader(content);
    Util::Internal::ConfigureXmlReader(reader);
    while (!reader.atEnd()) {
        if (reader.readNext() != QXmlStreamReader::StartElement)
            continue;
        const QXmlStreamAttributes found = reader.attributes();
        for (const QXmlStreamAttribute& attribute : found) {
            if (!attributes.contains(attribute.qualifiedName()))
                continue;
            linter.NoteAttribute(attribute.qualifiedName().toString());
            if (!attribute.value().trimmed().isEmpty()) {
                linter.Inspect(u"%1:%2, %3"_s.arg(input.Name(), QString::number(reader.lineNumber()),
                                                  attribute.qualifiedName()),
                               attribute.value().toString());
            }
        }
    }
}

ExitCode Lint(const LintOptions& options)
{
    if (options.Expressions.isEmpty() && options.Files.isEmpty() && options.XmlFiles.isEmpty())
        throw UsageFailure(u"EXPRESSION, --file or --xml is required"_s);
    if (options.XmlFiles.isEmpty() != options.Attributes.isEmpty())
        throw UsageFailure(u"--xml and --attribute must be used together"_s);
    RequireOneStandardInput(options.Files + options.XmlFiles);

    Linter linter(options);
    for (qsizetype i = 0; i < options.Expressions.size(); ++i)
        linter.Inspect(u"expression %1"_s.arg(i + 1), options.Expressions.at(i));
    for (const QString& file : options.Files)
        LintFile(linter, file);
    for (const QString& file : options.XmlFiles)
        LintXmlFile(linter, file, options.Attributes);
    return linter.Finish();
}

} // namespace

void AddExprLintCommand(CommandLine& line, CLI::App& group)
{
    auto options = std::make_shared<LintOptions>();
    CLI::App& lint = line.AddCommand(
        group, "lint", "Report mistakes and pitfalls in expressions; the exit code is 1 if there are any",
        "qvutil expr lint \"a & b (c)\"\n"
        "qvutil expr lint --xml Window.xml --attribute enabled --known admin,trial",
        [options] { return Lint(*options); });
    AddExplanation(
        lint,
        "Also reports operands that look like operators of other languages, such as !a, not a and a AND b,\n"
        "unless --known lists them. Expressions support only '&', '|' and parentheses.\n"
        "The exit code is 2 if there is no expression to check, or if no element has an attribute that\n"
        "--attribute names.");
    AddTexts(lint, "EXPRESSION", options->Expressions, "Expression to check");
    AddTexts(lint, "--file", options->Files, "File with one expression per line; - for standard input");
    AddTexts(lint, "--xml", options->XmlFiles, "XML file with expressions in attributes");
    AddTexts(lint, "--attribute", options->Attributes, "Name of an attribute to check; requires --xml");
    AddTexts(lint, "--known", options->Known, "Known operands, separated by commas; others are reported");
    AddJsonFlag(lint, options->Json);
}

} // namespace Quorvin::Tool
