// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef CONSUMER_SETTINGS_H
#define CONSUMER_SETTINGS_H

#include <QString>

/// Counts the runs in a settings file. \return the number of runs so far, this one included
int CountRun(const QString& file);

#endif // CONSUMER_SETTINGS_H
