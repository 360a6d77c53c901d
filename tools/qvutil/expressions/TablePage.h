// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_TOOL_EXPRESSIONS_TABLEPAGE_H
#define QVUTIL_TOOL_EXPRESSIONS_TABLEPAGE_H

#include "cli/HtmlPage.h"

#include <QList>
#include <QString>
#include <QStringList>

namespace Quorvin::Tool {

/// The truth table of an expression as HTML.
class TablePage
{
public:
    TablePage(const QString& expression, const QStringList& operands);

    /// Adds a row.
    /// \param values  the values of the operands
    void AddRow(const QList<bool>& values, bool result);
    /// Returns the document.
    [[nodiscard]] QString Finish();

private:
    void AddHeading(const QString& text, const QString& styleClass);
    void AddCell(bool value, const QString& styleClass);

    HtmlPage mPage;
    int mRows = 0;
    int mTrueRows = 0;
};

} // namespace Quorvin::Tool

#endif // QVUTIL_TOOL_EXPRESSIONS_TABLEPAGE_H
