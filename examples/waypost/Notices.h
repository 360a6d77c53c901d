// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef WAYPOST_NOTICES_H
#define WAYPOST_NOTICES_H

#include "InterfaceBuilder.h"
#include "Tour.h"
#include "UserSettings.h"

#include <QString>
#include <QWidget>

/// Shows messages to the user. No operation waits for the user, because other processes may be waiting for
/// this process.
class Notices
{
public:
    /// \param document  contains the dialog Notice
    /// \param builder   contains the texts of the messages
    /// \param window    the parent of the dialogs
    Notices(Quorvin::Util::XmlFiler& document, const InterfaceBuilder& builder, QWidget& window);

    void Show(const QString& text);
    /// Reports a tour that could not be opened.
    void ShowLoadError(const QString& file, const TourError& error);
    /// Reports a tour that could not be saved.
    void ShowWriteError(const QString& file);
    /// Reports settings that were damaged, or cannot be read or saved; does nothing if all is well.
    void ShowSettingsReport(const SettingsReport& report);

private:
    [[nodiscard]] QString Text(const QString& name) const { return mBuilder.Text(name); }

    Quorvin::Util::XmlFiler& mDocument;
    const InterfaceBuilder& mBuilder;
    QWidget& mWindow;
};

#endif // WAYPOST_NOTICES_H
