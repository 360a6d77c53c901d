// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "Sections.h"

#include <qvutil/BooleanExpressionEvaluator.h>

using namespace Qt::StringLiterals;

namespace {

//! [callback]
// The program defines the operands. An unknown operand makes the evaluation fail.
bool IsTrue(const QString& operand, bool& value)
{
    value = operand == "document open"_L1 || operand == "text selected"_L1;
    return value || operand == "read only"_L1;
}
//! [callback]

//! [evaluate]
QString Evaluate(const QString& expression)
{
    bool value = false;
    const bool isValid = BooleanExpressionEvaluator(&IsTrue).Evaluate(expression, value);
    return !isValid ? u"not valid"_s : value ? u"true"_s : u"false"_s;
}
//! [evaluate]

} // namespace

bool ShowConditions(Transcript& transcript, const Folders& /*folders*/)
{
    transcript.Heading(u"Boolean expressions of named conditions"_s);

    SHOW(transcript, Evaluate(u"document open & text selected"_s));
    SHOW(transcript, Evaluate(u"document open & (read only | text selected)"_s));
    SHOW(transcript, Evaluate(u"read only | (document open & read only)"_s));
    transcript.Note(u"an operand that cannot change the result is not evaluated, so it may be unknown"_s);
    SHOW(transcript, Evaluate(u"document open | no such condition"_s));
    SHOW(transcript, Evaluate(u"read only | no such condition"_s));
    SHOW(transcript, Evaluate(u"document open & (text selected"_s));
    return Evaluate(u"document open & (read only | text selected)"_s) == "true"_L1;
}
