// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "PreferencesForm.h"

#include "FormDialog.h"

using namespace Qt::StringLiterals;

namespace PreferencesForm {

void Fill(FormDialog& form, const Preferences& preferences)
{
    form.SetValue(u"Language"_s, preferences.LanguageCode);
    form.SetValue(u"Units"_s, preferences.Unit == Units::Imperial ? u"imperial"_s : u"metric"_s);
    form.SetValue(u"OpenLast"_s, preferences.OpenLast);
    form.SetValue(u"Grid"_s, preferences.Grid);
    form.SetValue(u"Names"_s, preferences.Names);
    form.SetValue(u"Profile"_s, preferences.Profile);
    form.SetValue(u"Color"_s, preferences.TrackColour);
    form.SetValue(u"Width"_s, preferences.TrackWidth);
    form.SetValue(u"Smooth"_s, preferences.Smooth);
}

Preferences Read(const FormDialog& form)
{
    Preferences preferences;
    preferences.LanguageCode = form.Value(u"Language"_s).toString();
    preferences.Unit = form.Value(u"Units"_s).toString() == "imperial"_L1 ? Units::Imperial : Units::Metric;
    preferences.OpenLast = form.Value(u"OpenLast"_s).toBool();
    preferences.Grid = form.Value(u"Grid"_s).toBool();
    preferences.Names = form.Value(u"Names"_s).toBool();
    preferences.Profile = form.Value(u"Profile"_s).toBool();
    preferences.TrackColour = form.Value(u"Color"_s).value<QColor>();
    preferences.TrackWidth = form.Value(u"Width"_s).toInt();
    preferences.Smooth = form.Value(u"Smooth"_s).toBool();
    return preferences;
}

} // namespace PreferencesForm
