// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef WAYPOST_TABLE_H
#define WAYPOST_TABLE_H

#include <QTableWidget>

/// The base class of both tables: their appearance, and helpers to fill them.
class Table : public QTableWidget
{
    Q_OBJECT
public:
    explicit Table(const QString& name, QWidget* parent = nullptr);

protected:
    /// Selects a row without emitting a signal; -1 selects none.
    void SelectRow(int row);
    /// Widens a column if its texts do not fit, but not beyond \p maxWidth.
    void WidenColumn(int column, int maxWidth = QWIDGETSIZE_MAX);
    /// \return maximum width of a column of names, which may be of any length
    [[nodiscard]] int MaxNameWidth() const;
    /// \param isNumber  aligns the text to the right
    [[nodiscard]] static QTableWidgetItem* MakeCell(const QString& text, bool isNumber = false);
};

#endif // WAYPOST_TABLE_H
