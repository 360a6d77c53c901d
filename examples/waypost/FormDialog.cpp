// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "FormDialog.h"

#include "InterfaceBuilder.h"

#include <QCheckBox>
#include <QColorDialog>
#include <QComboBox>
#include <QDateEdit>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QSpinBox>
#include <QTabWidget>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;
using Quorvin::Util::XmlFiler;

namespace {

// A button that shows a colour and lets the user choose another.
class ColourButton final : public QPushButton
{
public:
    ColourButton()
    {
        setAutoDefault(false);
        connect(this, &QPushButton::clicked, this, [this] {
            const QColor chosen = QColorDialog::getColor(mColour, this);
            if (chosen.isValid())
                SetColour(chosen);
        });
    }
    [[nodiscard]] QColor Colour() const { return mColour; }
    void SetColour(const QColor& colour)
    {
        mColour = colour;
        QPixmap sample(32, 16);
        sample.fill(colour);
        setIcon(sample);
        setIconSize(sample.size());
        setText(colour.name());
    }

private:
    QColor mColour;
};

// The short format of a locale, with four digits for the year.
QString DateFormat(const QLocale& locale)
{
    const QString format = locale.dateFormat(QLocale::ShortFormat);
    return format.contains("yyyy"_L1) ? format : QString(format).replace(u"yy"_s, u"yyyy"_s);
}

// Lets a label break words that are longer than its lines, such as the names of files.
QString Breakable(const QString& text)
{
    constexpr int kMaxLength = 40;
    constexpr QChar kZeroWidthSpace(0x200b);
    QString broken;
    int length = 0;
    for (const QChar c : text) {
        length = c.isSpace() ? 0 : length + 1;
        if (length > kMaxLength && !c.isLowSurrogate()) {
            broken += kZeroWidthSpace;
            length = 1;
        }
        broken += c;
    }
    return broken;
}

} // namespace

//! [build]
FormDialog::FormDialog(XmlFiler& document, QWidget* parent)
    : QDialog(parent)
{
    setObjectName(document.ReadString(u"Name"_s, QString()));
    setWindowTitle(document.ReadString(u"Title"_s, QString()));
    setLocale(parent->locale()); // for dates
    auto* layout = new QVBoxLayout(this);
    auto* pages = new QTabWidget;
    auto* form = new QFormLayout;
    auto* buttons = new QDialogButtonBox;

    ForEachChild(document, [&](const QString& element) {
        if (element == "Page"_L1) {
            auto* page = new QWidget;
            auto* pageForm = new QFormLayout(page);
            BuildPage(document, *pageForm);
            pages->addTab(page, document.ReadString(u"Title"_s, QString()));
        } else if (element == "Message"_L1) {
            mText = document.ReadNodeText();
            mMessage = new QLabel(mText);
            mMessage->setTextFormat(Qt::PlainText); // a name may contain "<b>"
            mMessage->setWordWrap(true);
            mMessage->setMinimumWidth(360);
        } else if (element == "Button"_L1) {
            BuildButton(document, *buttons);
        }
    });
    BuildPage(document, *form);

    if (mMessage != nullptr)
        layout->addWidget(mMessage);
    layout->addLayout(form);
    if (pages->count() > 0)
        layout->addWidget(pages, 1);
    else
        delete pages;
    layout->addWidget(buttons);
    resize(document.ReadSize(u"Size"_s, sizeHint()).expandedTo(sizeHint()));
}
//! [build]

FormDialog* FormDialog::Make(XmlFiler& document, const QString& name, QWidget* parent)
{
    document.MoveToRoot();
    for (bool found = document.MoveToFirstChild(); found; found = document.MoveToNextSibling()) {
        if (document.GetCurrentNodeName() == "Dialog"_L1 && document.ReadString(u"Name"_s, QString()) == name)
            break;
    }
    return new FormDialog(document, parent);
}

void FormDialog::BuildPage(XmlFiler& document, QFormLayout& form)
{
    QHash<QString, QLabel*> labels;
    form.setFieldGrowthPolicy(QFormLayout::AllNonFixedFieldsGrow);
    ForEachChild(document, [&](const QString& element) {
        if (element == "Label"_L1) {
            labels.insert(document.ReadString(u"For"_s, QString()),
                          new QLabel(document.ReadNodeText(), this));
            return;
        }
        QWidget* field = MakeField(document, element);
        if (field == nullptr)
            return;
        const QString name = document.ReadString(u"Name"_s, QString());
        field->setObjectName(name);
        field->setToolTip(document.ReadString(u"ToolTip"_s, QString()));
        mFields.insert(name, field);
        QLabel* label = labels.value(name);
        if (label == nullptr) {
            form.addRow(field);
            return;
        }
        label->setBuddy(field); // the label's mnemonic moves the focus to the field
        field->setAccessibleName(label->text().remove(u'&'));
        form.addRow(label, field);
    });
}

QWidget* FormDialog::MakeField(XmlFiler& document, const QString& kind)
{
    if (kind == "Text"_L1) {
        if (document.ReadBoolean(u"Lines"_s, false)) {
            auto* text = new QPlainTextEdit;
            text->setTabChangesFocus(true);
            return text;
        }
        return new QLineEdit;
    }
    if (kind == "Check"_L1) {
        auto* check = new QCheckBox(document.ReadString(u"Text"_s, QString()));
        check->setChecked(document.ReadBoolean(u"Default"_s, false));
        return check;
    }
    if (kind == "Number"_L1) {
        auto* number = new QSpinBox;
        number->setRange(document.ReadInt(u"Min"_s, 0), document.ReadInt(u"Max"_s, 100));
        number->setSuffix(document.ReadString(u"Suffix"_s, QString()));
        number->setValue(document.ReadInt(u"Default"_s, 0));
        return number;
    }
    if (kind == "Choice"_L1) {
        auto* choice = new QComboBox;
        ForEachChild(document, [&document, choice](const QString&) {
            choice->addItem(document.ReadNodeText(), document.ReadString(u"Value"_s, QString()));
        });
        return choice;
    }
    if (kind == "Date"_L1) {
        auto* date = new QDateEdit(QDate::currentDate());
        date->setCalendarPopup(true);
        date->setDisplayFormat(DateFormat(locale()));
        return date;
    }
    if (kind == "Color"_L1) {
        auto* colour = new ColourButton;
        colour->SetColour(QColor(document.ReadString(u"Default"_s, u"#000000"_s)));
        return colour;
    }
    return nullptr;
}

void FormDialog::BuildButton(XmlFiler& document, QDialogButtonBox& box)
{
    const QString name = document.ReadString(u"Name"_s, QString());
    const auto role = name == "Cancel"_L1 ? QDialogButtonBox::RejectRole
        : name == "Apply"_L1              ? QDialogButtonBox::ApplyRole
        : name == "Discard"_L1            ? QDialogButtonBox::DestructiveRole
                                          : QDialogButtonBox::AcceptRole;
    QPushButton* button = box.addButton(document.ReadString(u"Text"_s, QString()), role);
    button->setObjectName(u"button"_s + name);
    button->setToolTip(document.ReadString(u"ToolTip"_s, QString()));
    button->setDefault(role == QDialogButtonBox::AcceptRole);
    connect(button, &QPushButton::clicked, this, [this, name, role] {
        if (role == QDialogButtonBox::ApplyRole) {
            Q_EMIT Applied();
            return;
        }
        mPressed = name;
        done(role == QDialogButtonBox::RejectRole ? QDialog::Rejected : QDialog::Accepted);
    });
}

QVariant FormDialog::Value(const QString& name) const
{
    const QWidget* field = mFields.value(name);
    if (const auto* line = qobject_cast<const QLineEdit*>(field))
        return line->text();
    if (const auto* text = qobject_cast<const QPlainTextEdit*>(field))
        return text->toPlainText();
    if (const auto* check = qobject_cast<const QCheckBox*>(field))
        return check->isChecked();
    if (const auto* number = qobject_cast<const QSpinBox*>(field))
        return number->value();
    if (const auto* choice = qobject_cast<const QComboBox*>(field))
        return choice->currentData();
    if (const auto* date = qobject_cast<const QDateEdit*>(field))
        return date->date();
    if (const auto* colour = dynamic_cast<const ColourButton*>(field))
        return colour->Colour();
    return {};
}

void FormDialog::SetValue(const QString& name, const QVariant& value)
{
    QWidget* field = mFields.value(name);
    if (auto* line = qobject_cast<QLineEdit*>(field))
        line->setText(value.toString());
    else if (auto* text = qobject_cast<QPlainTextEdit*>(field))
        text->setPlainText(value.toString());
    else if (auto* check = qobject_cast<QCheckBox*>(field))
        check->setChecked(value.toBool());
    else if (auto* number = qobject_cast<QSpinBox*>(field))
        number->setValue(value.toInt());
    else if (auto* choice = qobject_cast<QComboBox*>(field))
        choice->setCurrentIndex(std::max(0, choice->findData(value)));
    else if (auto* date = qobject_cast<QDateEdit*>(field))
        date->setDate(value.toDate());
    else if (auto* colour = dynamic_cast<ColourButton*>(field))
        colour->SetColour(value.value<QColor>());
}

void FormDialog::SetMessage(const QString& text)
{
    if (mMessage == nullptr)
        return;
    mText = text;
    mMessage->setText(Breakable(text));
    adjustSize(); // the new text may need more lines
}

QString FormDialog::Message() const
{
    return mText;
}
