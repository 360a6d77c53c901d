// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "expressions/ExprCommands.h"

#include "cli/Command.h"
#include "cli/Console.h"
#include "cli/OutputFormat.h"
#include "cli/Report.h"
#include "expressions/CommandSupport.h"
#include "expressions/ExpressionOutline.h"
#include "expressions/TablePage.h"

#include <QJsonObject>

#include <memory>
#include <optional>

using namespace Qt::StringLiterals;

namespace Quorvin::Tool {
namespace {

constexpr qsizetype kMaxTableOperands = 16;

struct TableOptions : TextOptions
{
    bool Html = false;
};

QString TableHead(const QStringList& names)
{
    QString head;
    for (const QString& name : names)
        head += Console::Visible(name) + u'\t';
    return head + u"result"_s;
}

// Calls `addRow` with the values and the result of each row, from all false to all true. The value of the
// last operand changes from row to row.
template <typename AddRow> void ForEachRow(const ExpressionOutline& outline, const AddRow& addRow)
{
    const QStringList& names = outline.Operands();
    const auto combinations = 1U << names.size();
    for (uint combination = 0; combination < combinations; ++combination) {
        QList<bool> values;
        for (qsizetype i = 0; i < names.size(); ++i)
            values.append(((combination >> (names.size() - 1 - i)) & 1U) != 0);
        const auto valueOf
            = [&](const QString& operand) { return std::optional(values.at(names.indexOf(operand))); };
        addRow(values, outline.Evaluate(valueOf).Value);
    }
}

ExitCode Table(const TableOptions& options)
{
    RequireOneFormat(options.Json, options.Html, u"--html"_s);
    const ExpressionOutline outline(options.Expression);
    RequireWellFormed(outline);
    const QStringList& names = outline.Operands();
    if (names.size() > kMaxTableOperands) {
        throw Failure(QString(),
                      u"a table of %1 operands is too long; at most %2 are shown"_s.arg(names.size())
                          .arg(kMaxTableOperands));
    }
    if (options.Html) {
        TablePage page(outline.Text(), names);
        ForEachRow(outline, [&page](const QList<bool>& values, bool result) { page.AddRow(values, result); });
        Console::Print(page.Finish());
        return ExitCode::Yes;
    }
    Report report(options.Json);
    report.Heading([&] { Console::PrintLine(TableHead(names)); });
    ForEachRow(outline, [&](const QList<bool>& values, bool result) {
        report.AddItem(
            [&] {
                QJsonObject operands;
                for (qsizetype i = 0; i < names.size(); ++i)
                    operands.insert(names.at(i), values.at(i));
                return QJsonObject{{u"operands"_s, operands}, {u"result"_s, result}};
            },
            [&] {
                QString line;
                for (const bool value : values)
                    line += Word(value) + u'\t';
                Console::PrintLine(line + Word(result));
            });
    });
    report.Finish();
    return ExitCode::Yes;
}

} // namespace

void AddExprTableCommand(CommandLine& line, CLI::App& group)
{
    auto options = std::make_shared<TableOptions>();
    CLI::App& table = line.AddCommand(group, "table", "Print the truth table of an expression",
                                      "qvutil expr table \"(a) & b | c\"\n"
                                      "qvutil expr table \"(a) & b | c\" --html > table.html",
                                      [options] { return Table(*options); });
    AddText(table, "EXPRESSION", options->Expression, "Expression, such as \"a & (b | c)\"")->required();
    AddJsonFlag(table, options->Json);
    table.add_flag("--html", options->Html, "Print the table as an HTML page");
}

} // namespace Quorvin::Tool
