// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "PointDelegate.h"

#include "Tour.h"

#include <QComboBox>
#include <QLineEdit>
#include <QSpinBox>

#include <utility>

PointDelegate::PointDelegate(std::function<QString(const QString& kind)> kindName, QObject* parent)
    : QStyledItemDelegate(parent)
    , mKindName(std::move(kindName))
{ }

QWidget* PointDelegate::createEditor(QWidget* parent, const QStyleOptionViewItem& option,
                                     const QModelIndex& index) const
{
    switch (static_cast<Column>(index.column())) {
    case Kind: {
        auto* choice = new QComboBox(parent);
        for (const PointKind kind : {PointKind::Start, PointKind::Summit, PointKind::Hut, PointKind::View,
                                     PointKind::Water, PointKind::End})
            choice->addItem(mKindName(Tour::NameOf(kind)), Tour::NameOf(kind));
        return choice;
    }
    case Elevation: {
        auto* height = new QSpinBox(parent);
        height->setRange(-1500, 30000);
        return height;
    }
    case Name:
        return QStyledItemDelegate::createEditor(parent, option, index);
    case Way:
        break;
    }
    return nullptr;
}

void PointDelegate::setEditorData(QWidget* editor, const QModelIndex& index) const
{
    const QVariant value = index.data(kValueRole);
    if (auto* choice = qobject_cast<QComboBox*>(editor))
        choice->setCurrentIndex(choice->findData(value));
    else if (auto* height = qobject_cast<QSpinBox*>(editor))
        height->setValue(qRound(value.toDouble() / MetresPerHeight(mUnits)));
    else
        QStyledItemDelegate::setEditorData(editor, index);
}

// Does not change the model: the table is filled again from the changed tour.
void PointDelegate::setModelData(QWidget* editor, QAbstractItemModel* /*model*/,
                                 const QModelIndex& index) const
{
    const auto column = static_cast<Column>(index.column());
    if (const auto* choice = qobject_cast<const QComboBox*>(editor))
        Q_EMIT Edited(index.row(), column, choice->currentData());
    else if (const auto* height = qobject_cast<const QSpinBox*>(editor)) {
        // The editor shows rounded heights. Closing it without a change must not round the point's height.
        const double unit = MetresPerHeight(mUnits);
        if (height->value() != qRound(index.data(kValueRole).toDouble() / unit))
            Q_EMIT Edited(index.row(), column, height->value() * unit);
    } else if (const auto* name = qobject_cast<const QLineEdit*>(editor))
        Q_EMIT Edited(index.row(), column, name->text());
}
