// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_TOOL_EXPRESSIONOUTLINE_H
#define QVUTIL_TOOL_EXPRESSIONOUTLINE_H

#include <qvutil/expressions/BooleanExpressionText_p.h>

#include <QJsonObject>
#include <QList>
#include <QString>
#include <QStringList>

#include <functional>
#include <optional>

namespace Quorvin::Tool {

/// A problem or an oddity in an expression, reported to its author.
struct ExpressionProblem
{
    enum ProblemKind {
        Unbalanced, ///< a parenthesis without a partner
        Empty, ///< an operand is missing
        NoOperator, ///< an operator is missing
        Dropped, ///< text that is ignored
        Mixed, ///< both operators in one list, which is evaluated from left to right
        Unreachable, ///< an operand that is never consulted
        Unknown, ///< an operand that is not in the list of known ones
        Foreign, ///< an operand whose name looks like an operator of another language
    };
    ProblemKind Kind;
    Util::Internal::BooleanExpressionText::Range Where;
    QString Reason;

    /// Returns whether evaluation fails because of the problem, at least for some values of the operands.
    [[nodiscard]] bool IsMistake() const { return Kind == Unbalanced || Kind == Empty || Kind == NoOperator; }
    /// Returns the kind as a word, the column (counted from 1), the length and the reason.
    [[nodiscard]] QJsonObject ToJson() const;
};

/// Returns why an operand's name looks like an operator of another language: "!a", "not a", "a AND b"; empty
/// if it does not.
[[nodiscard]] QString WhyForeign(const QString& operand);

/// The structure of an expression, as the library splits it, and its problems and oddities.
class ExpressionOutline
{
public:
    using Range = Util::Internal::BooleanExpressionText::Range;

    /// A part of the expression. Parts are in the order of the text, and each list precedes its entries.
    struct Part
    {
        enum PartKind {
            Operand,
            Operator,
            List,
        };
        PartKind Kind;
        Range Where;
        int Depth; ///< number of lists around it
    };

    /// The steps of an evaluation: the operands that it consulted, in order, as indexes into Parts().
    struct Trace
    {
        QList<qsizetype> Consulted;
        QList<bool> Values; ///< the value of each consulted operand
        bool Done = false; ///< false if the evaluation met an unknown operand or a mistake
        bool Value = false;
    };

    /// Returns the value of an operand; nullopt if it is unknown.
    using Answer = std::function<std::optional<bool>(const QString& operand)>;

    explicit ExpressionOutline(const QString& expression);
    ~ExpressionOutline() = default;
    Q_DISABLE_COPY_MOVE(ExpressionOutline)

    [[nodiscard]] const QString& Text() const { return mText; }
    [[nodiscard]] const QList<Part>& Parts() const { return mParts; }
    /// Returns the problems in the order of the text, without unknown and unreachable operands.
    [[nodiscard]] const QList<ExpressionProblem>& Problems() const { return mProblems; }
    /// Returns the first mistake; null if the expression is well formed.
    [[nodiscard]] const ExpressionProblem* Mistake() const;
    /// Returns the names of the operands in the order of the text, without duplicates.
    [[nodiscard]] const QStringList& Operands() const { return mOperands; }

    [[nodiscard]] QString TextOf(Range range) const { return mStructure.View(range).toString(); }
    /// Evaluates the expression with the library's evaluator.
    [[nodiscard]] Trace Evaluate(const Answer& answer) const;
    /// Finds the operands that are never consulted, whatever the values of the others, as indexes into
    /// Parts().
    /// \param complete  set to false if there are too many combinations; the result is then empty
    [[nodiscard]] QList<qsizetype> FindUnreachable(bool& complete) const;

    /// Returns two lines: the expression, and marks below a range of it.
    [[nodiscard]] QString Marked(Range range) const;

private:
    void Build();
    [[nodiscard]] QString WhyOperandIsMissing(Range operatorRange) const;
    void AddList(const Util::Internal::BooleanExpressionText::Ranges& parts, Range content, int depth);

    QString mText;
    Util::Internal::BooleanExpressionText mStructure;
    QList<Part> mParts;
    QList<ExpressionProblem> mProblems;
    QStringList mOperands;
    QList<Part> mPending; ///< used by Build: parts that are not split yet, the next one last
};

} // namespace Quorvin::Tool

#endif // QVUTIL_TOOL_EXPRESSIONOUTLINE_H
