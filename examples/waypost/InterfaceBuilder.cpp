// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "InterfaceBuilder.h"

#include <QAction>
#include <QHeaderView>
#include <QMainWindow>
#include <QMenu>
#include <QMenuBar>
#include <QStyle>
#include <QTableWidget>
#include <QToolBar>

using namespace Qt::StringLiterals;
using Quorvin::Util::EnumValueName;
using Quorvin::Util::XmlFiler;

namespace {

constexpr char kCondition[] = "condition";

// Returns the icon that the current element names in the attribute Icon: a standard icon of Qt's style.
QIcon ReadIcon(XmlFiler& document, const QWidget& widget)
{
    EnumValueName names[] = {
        {QStyle::SP_FileIcon, u"File"_s},           {QStyle::SP_DialogOpenButton, u"Open"_s},
        {QStyle::SP_DialogSaveButton, u"Save"_s},   {QStyle::SP_ArrowBack, u"Back"_s},
        {QStyle::SP_ArrowForward, u"Forward"_s},    {QStyle::SP_DialogHelpButton, u"Help"_s},
        {QStyle::SP_FileDialogNewFolder, u"Add"_s},
    };
    const int icon = document.ReadEnum(u"Icon"_s, -1, names, int(std::size(names)));
    return icon < 0 ? QIcon() : widget.style()->standardIcon(static_cast<QStyle::StandardPixmap>(icon));
}

} // namespace

InterfaceBuilder::InterfaceBuilder(XmlFiler& document, QMainWindow& window)
    : mDocument(document)
    , mWindow(window)
{ }

//! [apply]
void InterfaceBuilder::Apply()
{
    mDocument.MoveToRoot();
    ForEachChild(mDocument, [this](const QString& element) {
        if (element == "MenuBar"_L1)
            ApplyMenu(nullptr);
        else if (element == "ToolBar"_L1)
            ApplyToolBar();
        else if (element == "Table"_L1)
            ApplyTable();
    });
    ReadTexts();
    mIsBuilt = true;
}
//! [apply]

//! [menu]
void InterfaceBuilder::ApplyMenu(QMenu* menu)
{
    ForEachChild(mDocument, [this, menu](const QString& element) {
        if (element == "Menu"_L1) {
            const QString name = mDocument.ReadString(u"Name"_s, QString());
            QMenu* child = Menu(name);
            if (child == nullptr) {
                child = new QMenu(&mWindow);
                child->setObjectName(u"menu"_s + name);
                child->menuAction()->setProperty(kCondition, mDocument.ReadString(u"Enabled"_s, QString()));
                menu != nullptr ? menu->addMenu(child) : mWindow.menuBar()->addMenu(child);
            }
            child->setTitle(mDocument.ReadString(u"Text"_s, QString())); // translated as it is read
            ApplyMenu(child);
        } else if (element == "Action"_L1 && menu != nullptr) {
            ApplyAction(*menu);
        } else if (element == "Separator"_L1 && menu != nullptr && !mIsBuilt) {
            menu->addSeparator();
        }
    });
}
//! [menu]

//! [action]
void InterfaceBuilder::ApplyAction(QMenu& menu)
{
    const QString name = mDocument.ReadString(u"Name"_s, QString());
    QAction* action = Action(name);
    if (action == nullptr) {
        action = menu.addAction(QString());
        action->setParent(&mWindow);
        action->setObjectName(u"action"_s + name);
        action->setIcon(ReadIcon(mDocument, mWindow));
        action->setCheckable(mDocument.ReadBoolean(u"Checkable"_s, false));
        action->setShortcut(QKeySequence(mDocument.ReadString(u"Shortcut"_s, QString())));
        action->setProperty(kCondition, mDocument.ReadString(u"Enabled"_s, QString()));
        if (name == "Quit"_L1)
            action->setMenuRole(QAction::QuitRole);
        mWindow.addAction(action);
    }
    action->setText(mDocument.ReadString(u"Text"_s, QString()));
    action->setIconText(mDocument.ReadString(u"ShortText"_s, action->text().remove(u'&')));
    action->setToolTip(mDocument.ReadString(u"ToolTip"_s, action->iconText()));
    action->setStatusTip(mDocument.ReadString(u"ToolTip"_s, QString()));
}
//! [action]

void InterfaceBuilder::ApplyToolBar()
{
    auto* bar = mWindow.findChild<QToolBar*>(u"toolBar"_s);
    if (bar == nullptr) {
        bar = mWindow.addToolBar(QString());
        bar->setObjectName(u"toolBar"_s);
        bar->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
        bar->setMovable(false);
        bar->setContextMenuPolicy(Qt::PreventContextMenu);
        ForEachChild(mDocument, [this, bar](const QString& element) {
            QAction* action = Action(mDocument.ReadString(u"Action"_s, QString()));
            if (element == "Separator"_L1)
                bar->addSeparator();
            else if (action != nullptr)
                bar->addAction(action);
        });
    }
    bar->setWindowTitle(mDocument.ReadString(u"Title"_s, QString()));
}

void InterfaceBuilder::ApplyTable()
{
    QTableWidget* table = Table(mDocument.ReadString(u"Name"_s, QString()));
    if (table == nullptr)
        return; // the window has no such table
    QStringList titles;
    QList<int> widths;
    ForEachChild(mDocument, [this, &titles, &widths](const QString& element) {
        if (element != "Column"_L1)
            return;
        titles.append(mDocument.ReadNodeText());
        widths.append(mDocument.ReadInt(u"Width"_s, 100));
    });
    table->setAccessibleName(mDocument.ReadString(u"Title"_s, QString()));
    table->setColumnCount(static_cast<int>(titles.size()));
    table->setHorizontalHeaderLabels(titles);
    if (mIsBuilt)
        return;
    for (int column = 0; column < table->columnCount(); ++column)
        table->setColumnWidth(column, widths[column]);
}

void InterfaceBuilder::ReadTexts()
{
    mTexts.clear();
    mDocument.MoveToRoot();
    ForEachChild(mDocument, [this](const QString& element) {
        const QString group = mDocument.ReadString(u"Name"_s, QString());
        if (element != "Texts"_L1 && element != "Choice"_L1 && element != "Table"_L1)
            return;
        ForEachChild(mDocument, [this, &group, &element](const QString& child) {
            const QString text = mDocument.ReadNodeText();
            if (element == "Choice"_L1)
                mTexts.insert(group + u'/' + mDocument.ReadString(u"Value"_s, QString()), text);
            else if (element == "Table"_L1 && child == "Empty"_L1)
                mTexts.insert(group + u"/Empty"_s, text);
            else
                mTexts.insert(mDocument.ReadString(u"Name"_s, QString()), text);
        });
    });
    mTexts.insert(u"Title"_s, mDocument.ReadString(u"Title"_s, QString()));
}

QAction* InterfaceBuilder::Action(const QString& name) const
{
    return mWindow.findChild<QAction*>(u"action"_s + name);
}

QMenu* InterfaceBuilder::Menu(const QString& name) const
{
    return mWindow.findChild<QMenu*>(u"menu"_s + name);
}

QTableWidget* InterfaceBuilder::Table(const QString& name) const
{
    return mWindow.findChild<QTableWidget*>(u"table"_s + name);
}

QString InterfaceBuilder::Choice(const QString& choice, const QString& value) const
{
    return mTexts.value(choice + u'/' + value);
}

QString InterfaceBuilder::Condition(const QAction& action)
{
    return action.property(kCondition).toString();
}
