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

/// Builds the menus, the toolbar and the tables of a window from a document, and gives them their texts.
///
/// Apply() makes what is missing and sets every text. Called again after a change of language, it finds all
/// objects there by their names, and changes their texts alone.
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
    /// The text of an element Text below Texts.
    [[nodiscard]] QString Text(const QString& name) const { return mTexts.value(name); }
    /// The name that is shown for a value of a choice, such as the kinds of points.
    [[nodiscard]] QString Choice(const QString& choice, const QString& value) const;

    /// Under what condition an action is enabled, as an expression; empty means always.
    /// \param object  a QAction, or the QAction of a menu
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

/// Calls \p visit with the name of each child element of the cursor, the cursor on that child.
template <typename Visit> void ForEachChild(Quorvin::Util::XmlFiler& document, Visit visit)
{
    document.PushCurrentNode();
    for (bool found = document.MoveToFirstChild(); found; found = document.MoveToNextSibling())
        visit(document.GetCurrentNodeName());
    document.PopCurrentNode();
}

#endif // WAYPOST_INTERFACEBUILDER_H
