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

/// Something in an expression that its writer should look at.
struct ExpressionProblem
{
    enum ProblemKind {
        Unbalanced, ///< a parenthesis without a partner
        Empty, ///< nothing where an operand belongs, or an operator in its place
        NoOperator, ///< an operand where an operator belongs
        Dropped, ///< text that takes no part
        Mixed, ///< both operators in one list, which are applied from left to right
        Unreachable, ///< an operand that is never consulted
        Unknown, ///< an operand that is not in the list of known ones
        Foreign, ///< an operand whose name looks like an operator of other languages
    };
    ProblemKind Kind;
    Util::Internal::BooleanExpressionText::Range Where;
    QString Reason;

    /// Whether the expression cannot be evaluated, at least not with all values of its operands.
    [[nodiscard]] bool IsMistake() const { return Kind == Unbalanced || Kind == Empty || Kind == NoOperator; }
    /// For programs: the kind as a word, column (from 1), length and reason.
    [[nodiscard]] QJsonObject ToJson() const;
};

/// Tells why an operand's name looks like an operator of other languages: "!a", "not a", "a AND b".
/// \return empty if it does not
[[nodiscard]] QString WhyForeign(const QString& operand);

/// The structure of an expression, as the library splits it, and everything that is odd about it.
class ExpressionOutline
{
public:
    using Range = Util::Internal::BooleanExpressionText::Range;

    /// A part of the expression. Parts follow one another as in the text, each list before what it holds.
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

    /// What an evaluation did: which operands it consulted, as indexes of Parts, in their order.
    struct Trace
    {
        QList<qsizetype> Consulted;
        QList<bool> Values; ///< the answer for each of them
        bool Done = false; ///< false if an operand was not known, or a mistake was met
        bool Value = false;
    };

    /// Answers for an operand; empty if it is not known.
    using Answer = std::function<std::optional<bool>(const QString& operand)>;

    explicit ExpressionOutline(const QString& expression);
    ~ExpressionOutline() = default;
    Q_DISABLE_COPY_MOVE(ExpressionOutline)

    [[nodiscard]] const QString& Text() const { return mText; }
    [[nodiscard]] const QList<Part>& Parts() const { return mParts; }
    /// What is odd, in the order of the text. Unknown operands and those never consulted are not part of it.
    [[nodiscard]] const QList<ExpressionProblem>& Problems() const { return mProblems; }
    /// The first mistake; null if the expression is well formed.
    [[nodiscard]] const ExpressionProblem* Mistake() const;
    /// The names of the operands, each once, in the order of the text.
    [[nodiscard]] const QStringList& Operands() const { return mOperands; }

    [[nodiscard]] QString TextOf(Range range) const { return mStructure.View(range).toString(); }
    /// Evaluates the expression with the library's own evaluation.
    [[nodiscard]] Trace Evaluate(const Answer& answer) const;
    /// Finds the operands that are consulted for no values at all, as indexes of Parts.
    /// \param complete  false afterwards if there were too many combinations to tell; nothing is found then
    [[nodiscard]] QList<qsizetype> FindUnreachable(bool& complete) const;

    /// Two lines: the expression, and marks below a range of it.
    [[nodiscard]] QString Marked(Range range) const;

private:
    void Build();
    [[nodiscard]] QString WhyNoOperand(Range operatorRange) const;
    void AddList(const Util::Internal::BooleanExpressionText::Ranges& parts, Range content, int depth);

    QString mText;
    Util::Internal::BooleanExpressionText mStructure;
    QList<Part> mParts;
    QList<ExpressionProblem> mProblems;
    QStringList mOperands;
    QList<Part> mPending; ///< while building: what is still to be looked at, the next one last
};

} // namespace Quorvin::Tool

#endif // QVUTIL_TOOL_EXPRESSIONOUTLINE_H
