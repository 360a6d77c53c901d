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

/// Evaluates boolean expressions of named conditions with '&' (and), '|' (or) and parentheses: "a & (b | c)".
///
/// The caller supplies the value of each operand through a callback. An operand is any text without '(', ')',
/// '&' and '|'; surrounding white space is removed, white space inside is kept.
///
/// Without parentheses, '&' has precedence over '|': "a & b | c" means "(a & b) | c". With parentheses, some
/// results differ from those of other expression languages, and applications rely on these differences:
/// - After a group, operators are applied from left to right, and evaluation stops at the first one that
///   decides the result: "(a) & b | c" is false if a is false, whatever c is.
/// - Text before a '(', back to the previous '|', is ignored unless it ends with '&': in "a & b (c)" and
///   "x (c)", only c is evaluated.
/// - Operands that cannot change the result are not evaluated: if a is true, "a | b" does not call the
///   callback for b, and succeeds even if b is unknown.
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
/// \par Failures
/// Evaluate returns false for an expression that it cannot evaluate; `qvutil expr lint` reports why.
///
/// \par Threads
/// Thread-safe if the callback is: no operation keeps state.
/// \since QvUtil 1.0
class QVUTIL_EXPORT BooleanExpressionEvaluator
{
public:
    /// Returns the value of an operand.
    /// \param operand  the text of the operand, trimmed unless it is the content of nested parentheses
    /// \param value    false on entry; receives the operand's value
    /// \return false if the operand is unknown, which ends the evaluation
    using OperandCallback = bool (*)(const QString& operand, bool& value);

    /// Does the same as OperandCallback, but may have state.
    using OperandFunction = std::function<bool(const QString& operand, bool& value)>;

    /// Constructs an evaluator with a function pointer or a lambda without captures.
    /// \param callback  returns the value of an operand; if null, every evaluation fails
    explicit BooleanExpressionEvaluator(OperandCallback callback);

    /// Constructs an evaluator with a std::function or another function object, such as a lambda with
    /// captures.
    ///
    /// \code
    /// const BooleanExpressionEvaluator evaluator([this](const QString& operand, bool& value) {
    ///     value = mConditions.value(operand);
    ///     return mConditions.contains(operand);
    /// });
    /// \endcode
    ///
    /// \param callable  returns the value of an operand; copied or moved. If it is an empty std::function,
    ///                  every evaluation fails.
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
    /// \param value       receives the result; false after a failure
    /// \return false if the expression is blank or malformed, if there is no callback, or if the callback
    ///         returned false
    bool Evaluate(const QString& expression, bool& value) const;
    /// Checks that parentheses are balanced, and removes those that enclose the whole expression: "((a & b))"
    /// becomes "a & b", while "(a) & (b)" does not change.
    /// \param expression  trimmed first, and changed in place; white space inside the removed parentheses is
    ///                    kept
    /// \return false, with \p expression only trimmed, if the parentheses are not balanced; true for a blank
    ///         expression
    bool ValidateAndFixBraces(QString& expression) const;
    /// Splits an expression at its top level: "a | b & c" into "a", "|" and "b & c". An expression without
    /// '|' and parentheses is split at '&'.
    /// \param expression  the expression, usually after ValidateAndFixBraces
    /// \param parts       set to operands and operators in turn, with the content of a group as one operand;
    ///                    empty after a failure
    /// \return false if the expression is empty, if an operand is missing before or after an operator, or if
    ///         a '(' is not closed. A missing operator between two operands is not detected.
    bool SplitByPrecedence(const QString& expression, QStringList& parts) const;
    /// Returns whether a text is an operator.
    /// \param token  any text
    /// \return true for "&" and "|", with or without surrounding white space
    [[nodiscard]] bool IsOperator(const QString& token) const;

private:
    OperandFunction mCallback;
};

#endif // QVUTIL_BOOLEANEXPRESSIONEVALUATOR_H
