// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef TOUR_SECTIONS_H
#define TOUR_SECTIONS_H

#include "Transcript.h"

/// The folders that the sections read from and write to.
struct Folders
{
    QString Database; ///< the system's database of file types
    QString Samples; ///< the sample documents and their translations
    QString Work; ///< a folder for the tour's files
};

// The sections of the tour, each in a separate file. They return false after a failure.
bool ShowDatabase(Transcript& transcript, const Folders& folders);
bool ShowValues(Transcript& transcript, const Folders& folders);
bool ShowSettings(Transcript& transcript, const Folders& folders);
bool ShowTranslation(Transcript& transcript, const Folders& folders);
bool ShowFiles(Transcript& transcript, const Folders& folders);
bool ShowLocales(Transcript& transcript, const Folders& folders);
bool ShowConditions(Transcript& transcript, const Folders& folders);

#endif // TOUR_SECTIONS_H
