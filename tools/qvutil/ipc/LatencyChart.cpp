// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "ipc/LatencyChart.h"

#include "cli/SvgPicture.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <iterator>

using namespace Qt::StringLiterals;

namespace Quorvin::Tool {
namespace {

constexpr int kBinCount = 40;
// The area of the bars.
constexpr double kLeft = 62;
constexpr double kRight = 312;
constexpr double kTop = 122;
constexpr double kBottom = 270;
constexpr double kHeight = 354;
constexpr double kSmall = 11;
// Minimum distance of the numbers below the bars, so that they do not touch.
constexpr double kMinTickDistance = 52;

// Formats a time with a suitable unit: 0.9 µs, 12 µs, 3.4 ms, 2 s.
QString TimeText(double microseconds)
{
    const auto text = [](double value, const QString& unit) {
        return QString::number(value, 'g', value < 1000 ? 3 : 6) + u' ' + unit;
    };
    if (microseconds >= 999'500)
        return text(microseconds / 1e6, u"s"_s);
    return microseconds >= 999.5 ? text(microseconds / 1e3, u"ms"_s) : text(microseconds, u"µs"_s);
}

QString CountText(qint64 count)
{
    if (count >= 1'000'000)
        return QString::number(static_cast<double>(count) / 1e6) + u" M"_s;
    return count >= 10'000 ? QString::number(static_cast<double>(count) / 1e3) + u" k"_s
                           : QString::number(count);
}

/// Requests with similar latencies, in microseconds.
struct Bin
{
    double From;
    double To;
    qint64 Count = 0;
};

class Chart
{
public:
    explicit Chart(const QList<qint64>& sorted)
        : mSorted(sorted)
    {
        // Leave a margin on both sides, so that equal latencies are visible too.
        constexpr double kMargin = 1.1;
        const double shortest = std::max(Percentile(sorted, 0), 0.001);
        mFrom = shortest / kMargin;
        mTo = std::max(Percentile(sorted, 1), shortest) * kMargin;
        const double step = std::log(mTo / mFrom) / kBinCount;
        for (int i = 0; i < kBinCount; ++i)
            mBins.append({.From = mFrom * std::exp(step * i), .To = mFrom * std::exp(step * (i + 1))});
        for (const qint64 latency : sorted) {
            const double place
                = std::log(std::max(static_cast<double>(latency) / 1000, mFrom) / mFrom) / step;
            ++mBins[std::clamp(static_cast<int>(place), 0, kBinCount - 1)].Count;
        }
        for (const Bin& bin : mBins)
            mMostInBin = std::max(mMostInBin, bin.Count);
    }

    [[nodiscard]] QString Description(const QString& summary) const
    {
        QStringList parts = {summary};
        for (const LatencyMark& mark : gLatencyMarks)
            parts.append(u"%1: %2"_s.arg(mark.Name.toString(), TimeText(Percentile(mSorted, mark.Share))));
        return u"How many requests took how long, on a logarithmic scale. "_s + parts.join(u"; "_s) + u'.';
    }

    void Paint(SvgPicture& picture) const
    {
        PaintCounts(picture);
        for (const Bin& bin : mBins)
            PaintBin(picture, bin);
        picture.AddLines(u"M %1 %2 H %3"_s.arg(NumberText(kLeft), NumberText(kBottom), NumberText(kRight)),
                         {.Color = SvgPicture::Muted});
        PaintTimes(picture);
        PaintMarks(picture);
    }

private:
    [[nodiscard]] double PlaceOf(double microseconds) const
    {
        return kLeft + std::log(microseconds / mFrom) / std::log(mTo / mFrom) * (kRight - kLeft);
    }
    [[nodiscard]] double HeightOf(double count) const
    {
        return count / static_cast<double>(mMostInBin) * (kBottom - kTop);
    }

    // Draws two to four lines, at round numbers.
    void PaintCounts(SvgPicture& picture) const
    {
        qint64 step = 1;
        const qint64 factors[] = {2, 5, 10};
        for (qint64 decade = 1; mMostInBin / step > 4; decade *= 10) {
            for (const qint64 factor : factors) {
                if (mMostInBin / step > 4)
                    step = decade * factor;
            }
        }
        picture.AddText(SvgPicture::kMargin, kTop - 12, u"requests"_s,
                        {.Color = SvgPicture::Muted, .Size = kSmall});
        for (qint64 count = step; count <= mMostInBin; count += step) {
            const double y = kBottom - HeightOf(static_cast<double>(count));
            picture.AddLines(u"M %1 %2 H %3"_s.arg(NumberText(kLeft), NumberText(y), NumberText(kRight)),
                             {.Color = SvgPicture::Line, .Width = 0.5});
            picture.AddText(kLeft - 5, y + 4, CountText(count),
                            {.Color = SvgPicture::Muted, .Size = kSmall, .At = SvgPicture::End});
        }
    }

    void PaintBin(SvgPicture& picture, const Bin& bin) const
    {
        if (bin.Count == 0)
            return;
        // A single request must be visible even beside a million.
        const double height = std::max(HeightOf(static_cast<double>(bin.Count)), 1.0);
        const double left = PlaceOf(bin.From);
        picture.StartPart(u"%1 to %2: %3 %4"_s.arg(TimeText(bin.From), TimeText(bin.To))
                              .arg(bin.Count)
                              .arg(bin.Count == 1 ? u"request"_s : u"requests"_s));
        picture.AddBox(
            {.X = left, .Y = kBottom - height, .Width = PlaceOf(bin.To) - left - 1, .Height = height},
            SvgPicture::Accent);
        picture.EndPart();
    }

    void PaintTimes(SvgPicture& picture) const
    {
        constexpr double kWide[] = {1, 2, 5};
        constexpr double kNarrow[] = {1, 1.2, 1.5, 2, 2.5, 3, 4, 5, 6, 7, 8, 9};
        constexpr double kManyDecades = 10;
        const bool isWide = mTo / mFrom > kManyDecades;
        double last = 0;
        for (double decade = std::pow(10, std::floor(std::log10(mFrom))); decade <= mTo; decade *= 10) {
            const auto paint = [&](double factor) {
                const double time = decade * factor;
                const double x = PlaceOf(time);
                if (time < mFrom || time > mTo || x - last < kMinTickDistance)
                    return;
                last = x;
                picture.AddLines(u"M %1 %2 v 4"_s.arg(NumberText(x), NumberText(kBottom)),
                                 {.Color = SvgPicture::Muted});
                picture.AddText(x, kBottom + 17, TimeText(time),
                                {.Color = SvgPicture::Muted, .Size = kSmall, .At = SvgPicture::Middle});
            };
            if (isWide)
                std::for_each(std::begin(kWide), std::end(kWide), paint);
            else
                std::for_each(std::begin(kNarrow), std::end(kNarrow), paint);
        }
    }

    // Draws a dashed line for each time except the longest, which is the end of the scale. Each name is to
    // the right of its line and below the names of shorter times, so that no line crosses a name.
    void PaintMarks(SvgPicture& picture) const
    {
        double y = kTop - 44;
        double tableY = kBottom + 48;
        for (std::size_t i = 0; i < std::size(gLatencyMarks); ++i) {
            const LatencyMark& mark = gLatencyMarks[i];
            const double time = Percentile(mSorted, mark.Share);
            const double column = SvgPicture::kMargin + (i % 2 == 0 ? 0 : 180);
            picture.AddText(column, tableY, mark.Name.toString(), {.Color = SvgPicture::Muted});
            picture.AddText(column + 140, tableY, TimeText(time), {.At = SvgPicture::End, .IsBold = true});
            tableY += i % 2 == 0 ? 0 : 22;
            if (mark.Share >= 1)
                continue;
            const double x = PlaceOf(time);
            picture.AddLines(u"M %1 %2 V %3"_s.arg(NumberText(x), NumberText(y - 4), NumberText(kBottom)),
                             {.Color = SvgPicture::Strong, .IsDashed = true});
            picture.AddText(x + 5, y + 4, mark.Name.toString(), {.Size = kSmall});
            y += 15;
        }
    }

    const QList<qint64>& mSorted;
    double mFrom = 0;
    double mTo = 0;
    QList<Bin> mBins;
    qint64 mMostInBin = 1;
};

} // namespace

double Percentile(const QList<qint64>& sorted, double share)
{
    const auto rank = static_cast<qsizetype>(std::ceil(share * static_cast<double>(sorted.size())));
    return static_cast<double>(sorted.at(std::max<qsizetype>(rank, 1) - 1)) / 1000.0;
}

QString LatencyChart(const QString& title, const QString& summary, const QList<qint64>& sorted)
{
    constexpr double kTitleSize = 16;
    const double width = SvgPicture::kWidth - 2 * SvgPicture::kMargin;
    const Chart chart(sorted);
    SvgPicture picture(title, chart.Description(summary), kHeight);
    picture.AddText(SvgPicture::kMargin, 26, Elide(title, SvgPicture::FittingColumns(width, kTitleSize)),
                    {.Size = kTitleSize, .IsBold = true});
    double y = 45;
    for (const QString& line : BreakLines(summary, SvgPicture::FittingColumns(width, 12))) {
        picture.AddText(SvgPicture::kMargin, y, line, {.Color = SvgPicture::Muted});
        y += 15;
    }
    chart.Paint(picture);
    return picture.Finish();
}

} // namespace Quorvin::Tool
