// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_TOOL_IPC_LATENCYCHART_H
#define QVUTIL_TOOL_IPC_LATENCYCHART_H

#include <QList>
#include <QString>

namespace Quorvin::Tool {

/// Returns the value, in microseconds, that the given share of the measurements does not exceed.
/// \param sorted  at least one measurement in nanoseconds, the shortest first
[[nodiscard]] double Percentile(const QList<qint64>& sorted, double share);

/// A named latency, such as the median.
struct LatencyMark
{
    QStringView Name;
    QStringView JsonName;
    double Share;
};
inline constexpr LatencyMark gLatencyMarks[] = {{u"median", u"medianUs", 0.5},
                                                {u"90 %", u"p90Us", 0.9},
                                                {u"99 %", u"p99Us", 0.99},
                                                {u"max", u"maxUs", 1.0}};

/// Draws the distribution of latencies as SVG: how many requests took how long, on a logarithmic scale.
/// \param title    what was measured
/// \param summary  a line below the title
/// \param sorted   at least one measurement in nanoseconds, the shortest first
[[nodiscard]] QString LatencyChart(const QString& title, const QString& summary, const QList<qint64>& sorted);

} // namespace Quorvin::Tool

#endif // QVUTIL_TOOL_IPC_LATENCYCHART_H
