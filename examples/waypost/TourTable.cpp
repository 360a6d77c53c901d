// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "TourTable.h"

#include "TourBook.h"

#include <QHeaderView>
#include <QLabel>
#include <QPixmap>
#include <QStackedLayout>
#include <QTextDocument>

using namespace Qt::StringLiterals;

TourTable::TourTable(QWidget* parent)
    : Table(u"tableTours"_s, parent)
    , mEmpty(new QLabel(viewport()))
{
    setEditTriggers(QAbstractItemView::NoEditTriggers);
    setIconSize({48, 32});
    verticalHeader()->setDefaultSectionSize(38);

    // The label covers the empty table. Mouse events pass through it.
    mEmpty->setObjectName(u"labelEmpty"_s);
    mEmpty->setAlignment(Qt::AlignCenter);
    mEmpty->setWordWrap(true);
    mEmpty->setMargin(24);
    mEmpty->setAttribute(Qt::WA_TransparentForMouseEvents);
    auto* layout = new QStackedLayout(viewport());
    layout->addWidget(mEmpty);

    connect(this, &QTableWidget::itemSelectionChanged, this, [this] { Q_EMIT TourSelected(currentRow()); });
}

void TourTable::SetEmptyText(const QString& text)
{
    mEmpty->setText(text);
}

void TourTable::Fill(const TourBook& tours, Units units, const QLocale& locale, const QString& untitled,
                     int current)
{
    {
        const QSignalBlocker blocker(this);
        setRowCount(tours.Count());
        for (int i = 0; i < tours.Count(); ++i) {
            const Tour& tour = tours.At(i).Content;
            QTableWidgetItem* date = MakeCell(locale.toString(tour.Date.date(), QLocale::ShortFormat));
            QPixmap thumbnail;
            if (!tour.Thumbnail.isEmpty() && thumbnail.loadFromData(tour.Thumbnail))
                date->setIcon(thumbnail);
            const QString title = tour.Name.isEmpty() ? untitled : tour.Name;
            QTableWidgetItem* name = MakeCell(title + (tours.IsModified(i) ? u" *"_s : QString()));
            if (!tour.Notes.isEmpty())
                name->setToolTip(Qt::convertFromPlainText(tour.Notes)); // notes may contain "<b>"
            setItem(i, Date, date);
            setItem(i, Name, name);
            setItem(i, Length, MakeCell(FormatWay(tour.Length(), units, locale), true));
            setItem(i, Ascent, MakeCell(FormatHeight(tour.Ascent(), units, locale), true));
        }
    }
    for (const int column : {Date, Length, Ascent})
        WidenColumn(column);
    WidenColumn(Name, MaxNameWidth());
    SelectRow(current);
    mEmpty->setVisible(tours.Count() == 0);
}
