// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_BOOLEANEXPRESSIONEVALUATOR_H
#define QVUTIL_BOOLEANEXPRESSIONEVALUATOR_H

#include "QvUtilGlobal.h"

#include <QtCore/QString>
#include <QtCore/QStringList>

#include <functional>
#include <type_traits>
#include <utility>

/// Evaluates expressions of named conditions, joined by '&' (and), '|' (or) and parentheses: "a & (b | c)".
///
/// What a condition means is up to the caller, who is asked for each operand that matters. An operand is any
/// text without '(', ')', '&' and '|'; blanks around it are removed, blanks in it are kept.
///
/// '&' binds more tightly than '|' as long as no parenthesis is involved: "a & b | c" is "(a & b) | c". These
/// rules follow from the way in which an expression is split, and hosts rely on them:
/// - Behind a group, operators are applied from left to right, and the first one that decides ends the list:
///   "(a) & b | c" is false if a is false, whatever c is.
/// - Text before a '(' takes part only if it ends with '&': in "a & b (c)" and "x (c)" only c counts.
/// - An operand that cannot change the result any more is not looked at: "a | b" does not ask for b if a is
///   true, and succeeds even if b is unknown.
///
/// \code
/// const BooleanExpressionEvaluator evaluator([](const QString& operand, bool& value) {
///     value = operand == QLatin1String("licensed");
///     return true; // every operand is known
/// });
/// bool enabled = false;
/// if (!evaluator.Evaluate(expression, enabled))
///     reportMistake(expression);
/// \endcode
///
/// A callback may also be a function object with a state, such as a lambda that captures a window.
///
/// \par Threads
/// Any thread, at any time, as far as the callback allows it: no operation keeps state.
class QVUTIL_EXPORT BooleanExpressionEvaluator
{
public:
    /// Answers for an operand.
    /// \param operand  its text, trimmed unless it is the content of nested parentheses
    /// \param value    false when called; receives the operand's truth
    /// \return false if there is no such operand, which ends the evaluation
    using OperandCallback = bool (*)(const QString& operand, bool& value);

    /// Answers for an operand, as OperandCallback, and may hold a state.
    using OperandFunction = std::function<bool(const QString& operand, bool& value)>;

    /// \param callback  answers for the operands; with null no expression can be evaluated
    explicit BooleanExpressionEvaluator(OperandCallback callback);

    /// Takes a std::function, or any other function object that is no OperandCallback.
    ///
    /// \code
    /// const BooleanExpressionEvaluator evaluator([this](const QString& operand, bool& value) {
    ///     value = mConditions.value(operand);
    ///     return mConditions.contains(operand);
    /// });
    /// \endcode
    ///
    /// \param callable  answers for the operands; copied or moved. With an empty std::function no expression
    ///                  can be evaluated.
    template <
        typename Callable,
        std::enable_if_t<
            !std::is_convertible_v<
                Callable, OperandCallback> && std::is_invocable_r_v<bool, Callable&, const QString&, bool&>,
            int> = 0>
    explicit BooleanExpressionEvaluator(Callable callable)
        : mCallback(std::move(callable))
    { }

    /// Evaluates an expression.
    /// \param expression  the expression; groups may be nested to any depth
    /// \param value       receives its truth; false after a failure
    /// \return false if the expression is empty, blank or not well formed, if there is no callback, or if the
    ///         callback does not know an operand that it was asked for
    bool Evaluate(const QString& expression, bool& value) const;
    /// Checks that the parentheses of an expression balance, and removes those around the whole of it:
    /// "((a & b))" becomes "a & b", while "(a) & (b)" is left whole.
    /// \param expression  the expression; trimmed first, and not again between or after its parentheses
    /// \return false if they do not balance; \p expression is only trimmed then. True for a blank one.
    bool ValidateAndFixBraces(QString& expression) const;
    /// Splits an expression at its uppermost level: "a | b & c" into "a", "|" and "b & c". An expression
    /// without '|' and parentheses is split at '&'.
    /// \param expression  the expression, usually after ValidateAndFixBraces
    /// \param parts       receives operands and operators by turns, the content of a group in one piece;
    ///                    empty after a failure. Two operands without an operator between them are not
    ///                    found here.
    /// \return false if there is nothing to split, an operator stands where an operand is due or at the
    ///         end, or a '(' is not closed
    bool SplitByPrecedence(const QString& expression, QStringList& parts) const;
    /// \param token  any text
    /// \return whether it is "&" or "|", apart from blanks around it
    [[nodiscard]] bool IsOperator(const QString& token) const;

private:
    OperandFunction mCallback;
};

#endif // QVUTIL_BOOLEANEXPRESSIONEVALUATOR_H
