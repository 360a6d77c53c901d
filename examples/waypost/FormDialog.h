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

/// A dialog made from an element Dialog of a document: fields in pages or in one form, and buttons.
///
/// | element | becomes                                          | its value              |
/// |---------|--------------------------------------------------|------------------------|
/// | Page    | a tab; a dialog without pages has one form       |                        |
/// | Label   | the label of the field that For names            |                        |
/// | Text    | a line of text; several lines with Lines="True"  | QString                |
/// | Number  | a number between Min and Max, with a Suffix      | int                    |
/// | Check   | a check box                                      | bool                   |
/// | Choice  | a list of Items                                  | QString, the Value     |
/// | Date    | a day                                            | QDate                  |
/// | Color   | a colour                                         | QColor                 |
/// | Button  | Ok, Cancel, Apply, Discard...                    |                        |
///
/// The object name of a field is its Name, that of a button is "button" and its Name.
class FormDialog : public QDialog
{
    Q_OBJECT
public:
    /// \param document  the cursor is on the element Dialog; it comes back to it
    explicit FormDialog(Quorvin::Util::XmlFiler& document, QWidget* parent);

    [[nodiscard]] QVariant Value(const QString& name) const;
    void SetValue(const QString& name, const QVariant& value);
    /// The Name of the button that closed the dialog; empty if it was closed otherwise.
    [[nodiscard]] QString PressedButton() const { return mPressed; }
    /// Sets what stands above the fields; the document's text, which may hold "%1", by default.
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
    QString mPressed;
};

#endif // WAYPOST_FORMDIALOG_H
