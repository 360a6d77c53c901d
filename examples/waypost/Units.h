// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef WAYPOST_UNITS_H
#define WAYPOST_UNITS_H

#include <QLocale>
#include <QString>

/// The units in which lengths and heights are shown. Tours are kept in metres.
enum class Units {
    Metric,
    Imperial,
};

/// Writes a way such as "12.3 km" or "7.6 mi".
QString FormatWay(double metres, Units units, const QLocale& locale);
/// Writes a height such as "1,240 m" or "4,068 ft".
QString FormatHeight(double metres, Units units, const QLocale& locale);
/// \return metres in one unit of a way (a kilometre, a mile)
double MetresPerWay(Units units);
/// \return metres in one unit of a height (a metre, a foot)
double MetresPerHeight(Units units);

#endif // WAYPOST_UNITS_H
