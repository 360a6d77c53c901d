// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef WAYPOST_FORMDIALOG_H
#define WAYPOST_FORMDIALOG_H

#include <qvutil/XmlFiler.h>

#include <QDialog>
#include <QHash>
#include <QString>
#include <QVariant>

class QFormLayout;

/// A dialog built from an element Dialog of a document: fields, on pages or in one form, and buttons.
///
/// | element  | becomes                                          | its value                |
/// |----------|--------------------------------------------------|--------------------------|
/// | `Page`   | a tab; a dialog without pages has one form       |                          |
/// | `Label`  | the label of the field with the name in For      |                          |
/// | `Text`   | a line of text; several lines with Lines="True"  | QString                  |
/// | `Number` | a number between Min and Max, with a Suffix      | int                      |
/// | `Check`  | a check box                                      | bool                     |
/// | `Choice` | a list of Items                                  | QString: the item's Value |
/// | `Date`   | a date                                           | QDate                    |
/// | `Color`  | a colour                                         | QColor                   |
/// | `Button` | a button: Ok, Cancel, Apply, Discard...          |                          |
///
/// The object name of a field is its Name. The object name of a button is "button" followed by its Name.
class FormDialog : public QDialog
{
    Q_OBJECT
public:
    /// \param document  a document with the cursor on an element Dialog; the cursor does not move
    /// \param parent    the parent, whose locale the dialog uses
    FormDialog(Quorvin::Util::XmlFiler& document, QWidget* parent);
    /// Creates a dialog from the element Dialog with this Name, a child of the document's root.
    static FormDialog* Make(Quorvin::Util::XmlFiler& document, const QString& name, QWidget* parent);

    [[nodiscard]] QVariant Value(const QString& name) const;
    void SetValue(const QString& name, const QVariant& value);
    /// Returns the Name of the button that closed the dialog; empty if it was closed without a button.
    [[nodiscard]] QString PressedButton() const { return mPressed; }
    /// Sets the text above the fields. By default it is the document's text, which may contain "%1".
    void SetMessage(const QString& text);
    [[nodiscard]] QString Message() const;

Q_SIGNALS:
    void Applied();

private:
    void BuildPage(Quorvin::Util::XmlFiler& document, QFormLayout& form);
    [[nodiscard]] QWidget* MakeField(Quorvin::Util::XmlFiler& document, const QString& kind);
    void BuildButton(Quorvin::Util::XmlFiler& document, class QDialogButtonBox& box);

    QHash<QString, QWidget*> mFields;
    class QLabel* mMessage = nullptr;
    QString mText; // as passed to SetMessage, without the breaks that the label shows
    QString mPressed;
};

#endif // WAYPOST_FORMDIALOG_H
