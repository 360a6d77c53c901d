// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "Notices.h"

#include "FormDialog.h"

#include <QDir>

using namespace Qt::StringLiterals;
using Quorvin::Util::Settings;
using Quorvin::Util::XmlFiler;
using Quorvin::Util::XmlLoadError;

Notices::Notices(XmlFiler& document, const InterfaceBuilder& builder, QWidget& window)
    : mDocument(document)
    , mBuilder(builder)
    , mWindow(window)
{ }

void Notices::Show(const QString& text)
{
    FormDialog* dialog = FormDialog::Make(mDocument, u"Notice"_s, &mWindow);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->SetMessage(text);
    dialog->open();
}

//! [error]
void Notices::ShowLoadError(const QString& file, const TourError& error)
{
    const QString name = QDir::toNativeSeparators(file);
    switch (error.Why) {
    case TourError::Reason::Damaged:
        Show(Text(u"Damaged"_s)
                 // One call replaces all markers, because a name may contain "%2".
                 .arg(name, QString::number(error.Line), QString::number(error.Column), error.Text));
        break;
    case TourError::Reason::Unreadable:
        Show(Text(u"Unreadable"_s).arg(name, error.Text));
        break;
    case TourError::Reason::NotATour:
        Show(Text(u"NotATour"_s).arg(name));
        break;
    }
}
//! [error]

void Notices::ShowWriteError(const QString& file)
{
    Show(Text(u"NotWritten"_s).arg(QDir::toNativeSeparators(file)));
}

//! [settings]
void Notices::ShowSettingsReport(const SettingsReport& report)
{
    const XmlLoadError& error = report.Error;
    const QString file = QDir::toNativeSeparators(report.File);
    if (report.State == Settings::FileState::SetAside)
        Show(Text(u"SettingsSetAside"_s)
                 .arg(QString::number(error.Line), QString::number(error.Column), file));
    else if (report.State == Settings::FileState::Unreadable)
        Show(Text(u"SettingsUnreadable"_s).arg(error.Text));
    else if (!report.IsSaved)
        Show(Text(u"SettingsNotSaved"_s).arg(file));
}
//! [settings]
