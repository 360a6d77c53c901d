// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "PointTable.h"

#include <QSignalBlocker>

#include <utility>

using namespace Qt::StringLiterals;

namespace {

constexpr int kPointRole = Qt::UserRole; // index into the tour's points

} // namespace

PointTable::PointTable(KindName kindName, QWidget* parent)
    : Table(u"tablePoints"_s, parent)
    , mKindName(std::move(kindName))
    , mDelegate(new PointDelegate(mKindName, this))
{
    setItemDelegate(mDelegate);
    connect(mDelegate, &PointDelegate::Edited, this,
            [this](int row, PointDelegate::Column column, const QVariant& value) {
                if (PointAt(row) >= 0)
                    Q_EMIT PointEdited(PointAt(row), column, value);
            });
    connect(this, &QTableWidget::itemSelectionChanged, this, [this] {
        if (PointAt(currentRow()) >= 0)
            Q_EMIT PointSelected(PointAt(currentRow()));
    });
}

void PointTable::Fill(const QList<Point>& points, Units units, const QLocale& locale)
{
    FinishEditing(); // while the editor's row exists and the units are still the ones that it shows
    const QSignalBlocker blocker(this);
    mDelegate->SetUnits(units);
    setRowCount(0);
    double way = 0;
    for (int i = 0; i < points.size(); ++i) {
        const Point& point = points[i];
        way += i > 0 ? Distance(points[i - 1], point) : 0;
        if (point.Kind == PointKind::Track)
            continue;
        const int row = rowCount();
        insertRow(row);
        QTableWidgetItem* name = MakeCell(point.Name);
        name->setData(kPointRole, i);
        QTableWidgetItem* kind = MakeCell(mKindName(Tour::NameOf(point.Kind)));
        kind->setData(PointDelegate::kValueRole, Tour::NameOf(point.Kind));
        QTableWidgetItem* distance = MakeCell(FormatWay(way, units, locale), true);
        distance->setFlags(distance->flags() & ~Qt::ItemIsEditable);
        QTableWidgetItem* height = MakeCell(FormatHeight(point.Elevation, units, locale), true);
        height->setData(PointDelegate::kValueRole, point.Elevation);
        setItem(row, PointDelegate::Name, name);
        setItem(row, PointDelegate::Kind, kind);
        setItem(row, PointDelegate::Way, distance);
        setItem(row, PointDelegate::Elevation, height);
    }
    for (const int column : {PointDelegate::Kind, PointDelegate::Way, PointDelegate::Elevation})
        WidenColumn(column);
    WidenColumn(PointDelegate::Name, MaxNameWidth());
}

void PointTable::Select(int point)
{
    int selected = -1;
    for (int row = 0; row < rowCount(); ++row) {
        if (PointAt(row) == point)
            selected = row;
    }
    SelectRow(selected);
}

void PointTable::FinishEditing()
{
    if (QWidget* editor = indexWidget(currentIndex())) {
        commitData(editor);
        closeEditor(editor, QAbstractItemDelegate::NoHint);
    }
}

bool PointTable::edit(const QModelIndex& index, EditTrigger trigger, QEvent* event)
{
    const bool isEditing = Table::edit(index, trigger, event);
    if (isEditing)
        Q_EMIT EditingChanged();
    return isEditing;
}

void PointTable::closeEditor(QWidget* editor, QAbstractItemDelegate::EndEditHint hint)
{
    Table::closeEditor(editor, hint);
    Q_EMIT EditingChanged();
}

int PointTable::PointAt(int row) const
{
    const QTableWidgetItem* cell = item(row, PointDelegate::Name);
    return cell != nullptr ? cell->data(kPointRole).toInt() : -1;
}
