// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

// Boolean expressions, compared with muParser, where '&' and '|' are defined as operators. Both parse the
// text each time and look up each operand by name. The result of every expression depends on all operands.
#include <qvutil/BooleanExpressionEvaluator.h>

#include <QString>

#include <benchmark/benchmark.h>
#include <muParser.h>

#include <array>
#include <string>
#include <unordered_map>

using namespace Qt::StringLiterals;

namespace {

constexpr int kOperands = 60;

// Operand "opN" is true if N is odd; "a" and "b" are true. Not a QHash, whose own cost would dominate on some
// processors (see docs/benchmarks.md).
const std::unordered_map<std::u16string, bool>& Values()
{
    static const std::unordered_map<std::u16string, bool> values = [] {
        std::unordered_map<std::u16string, bool> table{{u"a", true}, {u"b", true}};
        for (int i = 0; i < kOperands; ++i)
            table.emplace(u"op%1"_s.arg(i).toStdU16String(), i % 2 == 1);
        return table;
    }();
    return values;
}

bool LookUp(const QString& operand, bool& value)
{
    const auto found = Values().find(operand.toStdU16String());
    if (found == Values().cend())
        return false;
    value = found->second;
    return true;
}

// (op0 | op1) & (op2 | op3) & ...
QString Groups()
{
    QString text;
    for (int i = 0; i < kOperands; i += 2)
        text += (i == 0 ? u"(op%1 | op%2)"_s : u" & (op%1 | op%2)"_s).arg(i).arg(i + 1);
    return text;
}

// op1 & op0 | op3 & op2 | ...
QString Chains()
{
    QString text;
    for (int i = 0; i < kOperands; i += 2)
        text += (i == 0 ? u"op%1 & op%2"_s : u" | op%1 & op%2"_s).arg(i + 1).arg(i);
    return text;
}

mu::value_type And(mu::value_type left, mu::value_type right)
{
    return left != 0 && right != 0;
}

mu::value_type Or(mu::value_type left, mu::value_type right)
{
    return left != 0 || right != 0;
}

void Evaluate_muParser(benchmark::State& state, const QString& expression, bool expected)
{
    mu::Parser parser;
    parser.DefineOprt("&", And, mu::prLAND);
    parser.DefineOprt("|", Or, mu::prLOR);
    std::array<mu::value_type, kOperands + 2> variables{};
    std::size_t next = 0;
    for (const auto& [name, value] : Values()) {
        variables.at(next) = value ? 1 : 0;
        parser.DefineVar(QString::fromStdU16String(name).toStdString(), &variables.at(next++));
    }
    const std::string text = expression.toStdString();
    for (auto _ : state) {
        parser.SetExpr(text);
        const mu::value_type value = parser.Eval();
        if ((value != 0) != expected)
            state.SkipWithError("wrong result");
    }
}

void Evaluate_QvUtil(benchmark::State& state, const QString& expression, bool expected)
{
    const BooleanExpressionEvaluator evaluator(&LookUp);
    for (auto _ : state) {
        bool value = !expected;
        if (!evaluator.Evaluate(expression, value) || value != expected)
            state.SkipWithError("wrong result");
    }
}

BENCHMARK_CAPTURE(Evaluate_muParser, two, u"a & b"_s, true)->Name("Expression/raw muParser/a & b");
BENCHMARK_CAPTURE(Evaluate_QvUtil, two, u"a & b"_s, true)->Name("Expression/QvUtil/a & b");
BENCHMARK_CAPTURE(Evaluate_muParser, groups, Groups(), true)
    ->Name("Expression/raw muParser/30 groups of two");
BENCHMARK_CAPTURE(Evaluate_QvUtil, groups, Groups(), true)->Name("Expression/QvUtil/30 groups of two");
BENCHMARK_CAPTURE(Evaluate_muParser, chains, Chains(), false)
    ->Name("Expression/raw muParser/30 chains of two");
BENCHMARK_CAPTURE(Evaluate_QvUtil, chains, Chains(), false)->Name("Expression/QvUtil/30 chains of two");

} // namespace
