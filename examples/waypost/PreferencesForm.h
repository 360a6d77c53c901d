// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef WAYPOST_PREFERENCESFORM_H
#define WAYPOST_PREFERENCESFORM_H

#include "UserSettings.h"

class FormDialog;

/// Copies preferences to and from the dialog that is built from Preferences.xml.
namespace PreferencesForm {

void Fill(FormDialog& form, const Preferences& preferences);
[[nodiscard]] Preferences Read(const FormDialog& form);

} // namespace PreferencesForm

#endif // WAYPOST_PREFERENCESFORM_H
