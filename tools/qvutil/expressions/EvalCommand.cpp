// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "expressions/ExprCommands.h"

#include "cli/Command.h"
#include "cli/Console.h"
#include "cli/Report.h"
#include "expressions/CommandSupport.h"
#include "expressions/ExpressionOutline.h"

#include <QJsonArray>
#include <QJsonObject>

#include <algorithm>
#include <memory>
#include <optional>

using namespace Qt::StringLiterals;

namespace Quorvin::Tool {
namespace {

using Part = ExpressionOutline::Part;
using Range = ExpressionOutline::Range;

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

// Limits the length and indentation of a part: deeply nested groups would fill pages with repeated text and
// spaces.
QString ExplainPart(const ExpressionOutline& outline, const ExpressionOutline::Trace& trace, qsizetype index)
{
    const Part& part = outline.Parts().at(index);
    const qsizetype end = std::min(part.Where.End, part.Where.Begin + kShownCharacters);
    const QString text = outline.TextOf({part.Where.Begin, end}) + (end < part.Where.End ? "..."_L1 : ""_L1);
    const QString line = QString(2 * (std::min(part.Depth, kShownDepth) + 1), u' ') + Console::Visible(text);
    if (part.Kind != Part::Operand)
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
        if (part.Kind == Part::Operand && !trace.Consulted.contains(i)) {
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
    if (!trace.Done) // a mistake in a skipped part does not matter
        RequireWellFormed(outline);
    Report(options.Json)
        .Answer([&] { return ExplainJson(outline, trace); },
                [&] {
                    if (options.Explain)
                        Explain(outline, trace);
                    Console::PrintLine(Word(trace.Value));
                });
    return trace.Value ? ExitCode::Yes : ExitCode::No;
}

} // namespace

void AddExprEvalCommand(CommandLine& line, CLI::App& group)
{
    auto options = std::make_shared<EvalOptions>();
    CLI::App& eval = line.AddCommand(group, "eval",
                                     "Evaluate an expression; the exit code is 0 for true and 1 for false",
                                     "qvutil expr eval \"admin & (licensed | trial)\" --true admin,trial "
                                     "--false licensed --explain",
                                     [options] { return Eval(*options); });
    AddText(eval, "EXPRESSION", options->Expression, "Expression, such as \"a & (b | c)\"")->required();
    AddTexts(eval, "--true", options->True, "Operands that are true, separated by commas");
    AddTexts(eval, "--false", options->False, "Operands that are false, separated by commas");
    eval.add_flag("--explain", options->Explain,
                  "Show the parts, and the order in which operands were consulted");
    AddJsonFlag(eval, options->Json);
}

} // namespace Quorvin::Tool
