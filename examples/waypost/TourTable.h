// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef WAYPOST_TOURTABLE_H
#define WAYPOST_TOURTABLE_H

#include "Table.h"
#include "Units.h"

#include <QLocale>

class QLabel;
class TourBook;

/// The table of the open tours.
class TourTable : public Table
{
    Q_OBJECT
public:
    enum Column {
        Date,
        Name,
        Length,
        Ascent,
    };

    explicit TourTable(QWidget* parent = nullptr);

    /// Sets the text that is shown while no tour is open.
    void SetEmptyText(const QString& text);
    /// Shows the tours again, after any change.
    /// \param untitled  shown for a tour without a name
    /// \param current   index of the selected tour; -1 if none is
    void Fill(const TourBook& tours, Units units, const QLocale& locale, const QString& untitled,
              int current);

Q_SIGNALS:
    /// The user has selected a tour.
    void TourSelected(int index);

private:
    QLabel* mEmpty;
};

#endif // WAYPOST_TOURTABLE_H
