// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "expressions/ExprCommands.h"

#include "cli/Command.h"
#include "cli/Console.h"
#include "cli/Report.h"
#include "expressions/CommandSupport.h"
#include "expressions/ExpressionOutline.h"

#include <QJsonObject>

#include <optional>

using namespace Qt::StringLiterals;

namespace Quorvin::Tool {
namespace {

constexpr qsizetype kMaxTableOperands = 16;

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
    if (names.size() > kMaxTableOperands) {
        throw Failure(QString(),
                      u"a table of %1 operands is too long; at most %2 are shown"_s.arg(names.size())
                          .arg(kMaxTableOperands));
    }
    const auto combinations = 1U << names.size();
    Report report(options.Json);
    report.Heading([&] { Console::PrintLine(TableHead(names)); });
    // Counts from all false to all true, the last operand changing most often.
    for (uint combination = 0; combination < combinations; ++combination) {
        const auto valueOf = [&](qsizetype i) { return ((combination >> (names.size() - 1 - i)) & 1U) != 0; };
        const bool result = outline
                                .Evaluate([&](const QString& operand) {
                                    return std::optional(valueOf(names.indexOf(operand)));
                                })
                                .Value;
        report.AddItem(
            [&] {
                QJsonObject values;
                for (qsizetype i = 0; i < names.size(); ++i)
                    values.insert(names.at(i), valueOf(i));
                return QJsonObject{{u"operands"_s, values}, {u"result"_s, result}};
            },
            [&] {
                QString line;
                for (qsizetype i = 0; i < names.size(); ++i)
                    line += Word(valueOf(i)) + u'\t';
                Console::PrintLine(line + Word(result));
            });
    }
    report.Finish();
    return ExitCode::Yes;
}

} // namespace

void AddExprTableCommand(CommandLine& line, CLI::App& group)
{
    AddTextCommand(line, group, "table", "Print the truth table of an expression",
                   "qvutil expr table \"(a) & b | c\"", &Table);
}

} // namespace Quorvin::Tool
