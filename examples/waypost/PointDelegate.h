// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef WAYPOST_POINTDELEGATE_H
#define WAYPOST_POINTDELEGATE_H

#include "Units.h"

#include <QStyledItemDelegate>

#include <functional>

/// Edits the cells of PointTable: a name, a kind from a list, a height in the current units.
class PointDelegate : public QStyledItemDelegate
{
    Q_OBJECT
public:
    enum Column {
        Name,
        Kind,
        Way, // cannot be edited
        Elevation,
    };
    /// The role of the value that is edited: the name of a kind, or the height in metres.
    static constexpr int kValueRole = Qt::UserRole + 1;

    /// \param kindName  returns the name of a kind in the current language
    PointDelegate(std::function<QString(const QString& kind)> kindName, QObject* parent);
    void SetUnits(Units units) { mUnits = units; }

    QWidget* createEditor(QWidget* parent, const QStyleOptionViewItem& option,
                          const QModelIndex& index) const override;
    void setEditorData(QWidget* editor, const QModelIndex& index) const override;
    void setModelData(QWidget* editor, QAbstractItemModel* model, const QModelIndex& index) const override;

Q_SIGNALS:
    /// The user has changed a cell.
    /// \param value  the name, the name of the kind in files, or the height in metres
    void Edited(int row, PointDelegate::Column column, const QVariant& value) const;

private:
    std::function<QString(const QString&)> mKindName;
    Units mUnits = Units::Metric;
};

#endif // WAYPOST_POINTDELEGATE_H
