// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "Table.h"

#include <QHeaderView>
#include <QSignalBlocker>

#include <algorithm>

Table::Table(const QString& name, QWidget* parent)
    : QTableWidget(parent)
{
    setObjectName(name);
    setSelectionBehavior(QAbstractItemView::SelectRows);
    setSelectionMode(QAbstractItemView::SingleSelection);
    setTabKeyNavigation(false); // Tab moves to the next widget
    setAlternatingRowColors(true);
    setShowGrid(false);
    verticalHeader()->hide();
    horizontalHeader()->setStretchLastSection(true);
    horizontalHeader()->setHighlightSections(false);
}

void Table::SelectRow(int row)
{
    const QSignalBlocker blocker(this);
    if (row >= 0)
        selectRow(row);
    else
        clearSelection();
}

void Table::WidenColumn(int column, int maxWidth)
{
    const int wanted = std::min(sizeHintForColumn(column) + 1, maxWidth);
    setColumnWidth(column, std::max(columnWidth(column), wanted));
}

int Table::MaxNameWidth() const
{
    constexpr int kLetters = 16;
    return kLetters * fontMetrics().averageCharWidth();
}

QTableWidgetItem* Table::MakeCell(const QString& text, bool isNumber)
{
    auto* cell = new QTableWidgetItem(text);
    if (isNumber)
        cell->setTextAlignment(Qt::AlignRight | Qt::AlignVCenter);
    return cell;
}
