// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "Units.h"

using namespace Qt::StringLiterals;

double MetresPerWay(Units units)
{
    return units == Units::Imperial ? 1609.344 : 1000.0;
}

double MetresPerHeight(Units units)
{
    return units == Units::Imperial ? 0.3048 : 1.0;
}

QString FormatWay(double metres, Units units, const QLocale& locale, int decimals)
{
    return locale.toString(metres / MetresPerWay(units), 'f', decimals)
        + (units == Units::Imperial ? u"\u00a0mi"_s : u"\u00a0km"_s);
}

QString FormatHeight(double metres, Units units, const QLocale& locale)
{
    return locale.toString(qRound(metres / MetresPerHeight(units)))
        + (units == Units::Imperial ? u"\u00a0ft"_s : u"\u00a0m"_s);
}
