// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef WAYPOST_POINTTABLE_H
#define WAYPOST_POINTTABLE_H

#include "PointDelegate.h"
#include "Table.h"
#include "Tour.h"

#include <QLocale>

#include <functional>

/// The table of a tour's waypoints, which can be edited. It leaves out the points of the track.
class PointTable : public Table
{
    Q_OBJECT
public:
    using KindName = std::function<QString(const QString& kind)>;

    /// \param kindName  returns the name of a kind in the current language
    explicit PointTable(KindName kindName, QWidget* parent = nullptr);

    /// Shows the waypoints again, after any change. First applies the text of an open editor.
    void Fill(const QList<Point>& points, Units units, const QLocale& locale);
    /// Selects a waypoint without emitting a signal.
    /// \param point  index into the tour's points; -1 for none
    void Select(int point);
    [[nodiscard]] bool IsEditing() const { return indexWidget(currentIndex()) != nullptr; }
    /// Applies the text of an open editor, and closes it.
    void FinishEditing();

Q_SIGNALS:
    /// The user has selected a waypoint.
    void PointSelected(int point);
    /// The user has opened or closed an editor.
    void EditingChanged();
    /// The user has edited a waypoint. PointDelegate::Edited describes the value. The editor is still in use,
    /// so do not fill the table before it is closed.
    void PointEdited(int point, PointDelegate::Column column, const QVariant& value);

protected:
    bool edit(const QModelIndex& index, EditTrigger trigger, QEvent* event) override;
    void closeEditor(QWidget* editor, QAbstractItemDelegate::EndEditHint hint) override;

private:
    [[nodiscard]] int PointAt(int row) const;

    KindName mKindName;
    PointDelegate* mDelegate;
};

#endif // WAYPOST_POINTTABLE_H
