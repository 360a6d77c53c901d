// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "BooleanExpressionEvaluator.h"

#include "expressions/BooleanExpressionEvaluation_p.h"
#include "expressions/BooleanExpressionText_p.h"

using Quorvin::Util::Internal::BooleanExpressionEvaluation;
using Quorvin::Util::Internal::BooleanExpressionText;

BooleanExpressionEvaluator::BooleanExpressionEvaluator(OperandCallback callback)
    : mCallback(callback)
{ }

bool BooleanExpressionEvaluator::Evaluate(const QString& expression, bool& value) const
{
    value = false;
    if (!mCallback)
        return false;
    // The callback may change the caller's text. NOLINTNEXTLINE(performance-unnecessary-copy-initialization)
    const QString copy = expression;
    const BooleanExpressionText text(copy);
    BooleanExpressionEvaluation evaluation(text,
                                           [&](BooleanExpressionText::Range operand, bool& operandValue) {
                                               return mCallback(text.View(operand).toString(), operandValue);
                                           });
    return evaluation.Run(value);
}

bool BooleanExpressionEvaluator::ValidateAndFixBraces(QString& expression) const
{
    expression = expression.trimmed();
    const BooleanExpressionText text(expression);
    if (text.FindUnpaired(text.Whole()) >= 0)
        return false;
    expression = text.View(text.WithoutBraces(text.Whole())).toString();
    return true;
}

bool BooleanExpressionEvaluator::SplitByPrecedence(const QString& expression, QStringList& parts) const
{
    // The expression may be one of the parts. NOLINTNEXTLINE(performance-unnecessary-copy-initialization)
    const QString copy = expression;
    parts.clear();
    const BooleanExpressionText text(copy);
    BooleanExpressionText::Ranges ranges;
    if (!text.Split(text.Whole(), ranges))
        return false;
    parts.reserve(ranges.size());
    for (const BooleanExpressionText::Range range : ranges)
        parts.append(text.View(range).toString());
    return true;
}

bool BooleanExpressionEvaluator::IsOperator(const QString& token) const
{
    const QStringView trimmed = QStringView(token).trimmed();
    return trimmed == u'&' || trimmed == u'|';
}
