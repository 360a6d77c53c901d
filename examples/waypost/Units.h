// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef WAYPOST_UNITS_H
#define WAYPOST_UNITS_H

#include <QLocale>
#include <QString>

/// The units in which distances and heights are shown. Files contain metres.
enum class Units {
    Metric,
    Imperial,
};

/// Formats a distance, such as "12.3 km" or "7.6 mi".
QString FormatWay(double metres, Units units, const QLocale& locale, int decimals = 1);
/// Formats a height, such as "1,240 m" or "4,068 ft".
QString FormatHeight(double metres, Units units, const QLocale& locale);
/// \return metres in a unit of distance (a kilometre, a mile)
double MetresPerWay(Units units);
/// \return metres in a unit of height (a metre, a foot)
double MetresPerHeight(Units units);

#endif // WAYPOST_UNITS_H
