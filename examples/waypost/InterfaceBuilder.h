// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef WAYPOST_INTERFACEBUILDER_H
#define WAYPOST_INTERFACEBUILDER_H

#include <qvutil/XmlFiler.h>

#include <QHash>
#include <QString>

class QAction;
class QMainWindow;
class QMenu;
class QTableWidget;

/// Builds the menus, the toolbar and the columns of tables from a document, and sets their texts.
///
/// Apply() creates missing objects and sets all texts. After a change of language, call it again: it finds
/// the existing objects by their names and only changes their texts.
///
/// | element               | becomes                                | its object name |
/// |-----------------------|----------------------------------------|-----------------|
/// | Menu                  | a QMenu                                | menuNAME        |
/// | Action                | a QAction of the window                | actionNAME      |
/// | Separator             | a separator                            |                 |
/// | ToolBar/Use           | a button for an action                 |                 |
/// | Table/Column          | a column of the QTableWidget tableNAME |                 |
class InterfaceBuilder
{
public:
    /// \param document  a loaded document, with the translator to use
    InterfaceBuilder(Quorvin::Util::XmlFiler& document, QMainWindow& window);

    void Apply();

    [[nodiscard]] QAction* Action(const QString& name) const;
    [[nodiscard]] QMenu* Menu(const QString& name) const;
    [[nodiscard]] QTableWidget* Table(const QString& name) const;
    /// Returns the text of the element Text with that name, below Texts.
    [[nodiscard]] QString Text(const QString& name) const { return mTexts.value(name); }
    /// Returns the text for a value of a choice, such as the kind of a waypoint.
    [[nodiscard]] QString Choice(const QString& choice, const QString& value) const;

    /// Returns the expression that enables an action or a menu; empty if it is always enabled.
    [[nodiscard]] static QString Condition(const QAction& action);

private:
    void ApplyMenu(QMenu* menu);
    void ApplyAction(QMenu& menu);
    void ApplyToolBar();
    void ApplyTable();
    void ReadTexts();

    Quorvin::Util::XmlFiler& mDocument;
    QMainWindow& mWindow;
    QHash<QString, QString> mTexts;
    bool mIsBuilt = false;
};

/// Moves the cursor to each child element in turn and calls \p visit with its name. Finally, the cursor
/// returns to where it was.
template <typename Visit> void ForEachChild(Quorvin::Util::XmlFiler& document, Visit visit)
{
    document.PushCurrentNode();
    for (bool found = document.MoveToFirstChild(); found; found = document.MoveToNextSibling())
        visit(document.GetCurrentNodeName());
    document.PopCurrentNode();
}

#endif // WAYPOST_INTERFACEBUILDER_H
