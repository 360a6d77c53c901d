// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "grid/GridPicture.h"

#include "cli/SvgPicture.h"
#include "grid/GridReport.h"

#include <algorithm>
#include <cmath>

using namespace Qt::StringLiterals;

namespace Quorvin::Tool {
namespace {

constexpr double kTitleHeight = 58;
constexpr double kCardHeight = 74;
constexpr double kCardStep = 84;
constexpr double kLineHeight = 16;
constexpr double kMaxLaneRoom = 112; // for the arrows beside the cards
constexpr double kMaxLaneStep = 14; // for one lane of arrows
constexpr double kArrowSize = 5;

/// An arrow from a client to its server, beside the cards.
struct Arrow
{
    qsizetype From;
    qsizetype To;
    int Lane = 0;

    [[nodiscard]] qsizetype Top() const { return std::min(From, To); }
    [[nodiscard]] qsizetype Bottom() const { return std::max(From, To); }
};

// Places short arrows first, so that long ones run outside them. Arrows in one lane do not touch.
QList<Arrow> FindArrows(const GridSnapshot& snapshot)
{
    QList<Arrow> arrows;
    const QList<GridMember>& members = snapshot.Registry.Members;
    const QList<GridLinks> links = snapshot.Links.value_or(QList<GridLinks>());
    for (qsizetype from = 0; from < links.size(); ++from) {
        for (const qint64 server : links.at(from).Servers) {
            const auto to = std::find_if(members.begin(), members.end(), [server](const GridMember& member) {
                return member.ProcessId == server;
            });
            if (to != members.end() && to - members.begin() != from)
                arrows.append({.From = from, .To = to - members.begin()});
        }
    }
    std::stable_sort(arrows.begin(), arrows.end(), [](const Arrow& a, const Arrow& b) {
        return a.Bottom() - a.Top() < b.Bottom() - b.Top();
    });
    QList<QList<Arrow>> lanes;
    for (Arrow& arrow : arrows) {
        const auto isFree = [&arrow](const QList<Arrow>& lane) {
            return std::none_of(lane.begin(), lane.end(), [&arrow](const Arrow& other) {
                return other.Top() <= arrow.Bottom() && arrow.Top() <= other.Bottom();
            });
        };
        const auto lane = std::find_if(lanes.begin(), lanes.end(), isFree);
        arrow.Lane = static_cast<int>(lane - lanes.begin());
        if (lane == lanes.end())
            lanes.append(QList<Arrow>());
        lanes[arrow.Lane].append(arrow);
    }
    return arrows;
}

/// Lays out a grid from top to bottom.
class Painter
{
public:
    explicit Painter(const GridSnapshot& snapshot)
        : mSnapshot(snapshot)
        , mArrows(FindArrows(snapshot))
        , mRemarks(Remarks())
        , mPicture(u"grid %1"_s.arg(snapshot.Name), Description(), Height())
    {
        int lanes = 0;
        for (const Arrow& arrow : mArrows)
            lanes = std::max(lanes, arrow.Lane + 1);
        if (lanes > 0) {
            mLaneStep = std::min(kMaxLaneStep, kMaxLaneRoom / lanes);
            mCardWidth -= lanes * mLaneStep + 2 * kArrowSize;
        }
    }

    [[nodiscard]] QString Paint()
    {
        PaintTitle();
        for (const Arrow& arrow : mArrows)
            PaintArrow(arrow);
        for (qsizetype i = 0; i < mSnapshot.Registry.Members.size(); ++i)
            PaintMember(i);
        PaintRemarks();
        return mPicture.Finish();
    }

private:
    static constexpr double kContentWidth = SvgPicture::kWidth - 2 * SvgPicture::kMargin;

    /// A line of text below the members.
    struct Remark
    {
        QString Text;
        bool IsTitle = false; ///< whether it is the title of the lines after it
    };

    [[nodiscard]] static double TopOf(qsizetype member)
    {
        return kTitleHeight + static_cast<double>(member) * kCardStep;
    }

    [[nodiscard]] double RemarksTop() const { return TopOf(mSnapshot.Registry.Members.size()) + 8; }
    [[nodiscard]] double Height() const
    {
        return RemarksTop() + static_cast<double>(mRemarks.size()) * kLineHeight + SvgPicture::kMargin;
    }

    [[nodiscard]] QString Counts() const
    {
        const qsizetype dead = mSnapshot.DeadCount();
        if (mSnapshot.Registry.Members.isEmpty())
            return u"no members"_s;
        return u"%1 alive, %2 dead; oldest first"_s.arg(mSnapshot.Registry.Members.size() - dead).arg(dead);
    }

    [[nodiscard]] const GridLinks* LinksOf(qsizetype member) const
    {
        return mSnapshot.Links ? &mSnapshot.Links->at(member) : nullptr;
    }

    [[nodiscard]] QString StateOf(qsizetype member) const
    {
        const GridLinks* links = LinksOf(member);
        if (!mSnapshot.Registry.Members.at(member).IsAlive)
            return u"dead"_s;
        return links && !links->IsListening ? u"not listening"_s : u"alive"_s;
    }

    [[nodiscard]] QStringList LinkTexts(qsizetype member) const
    {
        const GridLinks* links = LinksOf(member);
        if (!links)
            return {u"connections unknown"_s};
        QStringList texts;
        if (!links->Servers.isEmpty())
            texts.append("connected to "_L1 + JoinIds(links->Servers));
        if (!links->Clients.isEmpty())
            texts.append("client "_L1 + JoinIds(links->Clients));
        return texts.isEmpty() ? QStringList(u"no connections"_s) : texts;
    }

    // Returns a description: "process 4711 (desk.viewer.4711): alive; connected to 4712".
    [[nodiscard]] QString TextOf(qsizetype i) const
    {
        const GridMember& member = mSnapshot.Registry.Members.at(i);
        return u"process %1 (%2): %3; %4"_s.arg(QString::number(member.ProcessId), member.ServerName,
                                                StateOf(i), LinkTexts(i).join(u", "_s));
    }

    [[nodiscard]] QString Description() const
    {
        QStringList sentences = {Counts()};
        for (qsizetype i = 0; i < mSnapshot.Registry.Members.size(); ++i)
            sentences.append(TextOf(i));
        for (const QString& problem : ProblemsOf(mSnapshot))
            sentences.append(problem);
        for (const StaleItem& item : mSnapshot.StaleItems)
            sentences.append("left behind by a crashed process: "_L1 + item.ToText());
        return sentences.join(u". "_s) + u'.';
    }

    [[nodiscard]] QList<Remark> Remarks() const
    {
        QList<Remark> remarks;
        const qsizetype columns = SvgPicture::FittingColumns(kContentWidth, 11);
        const auto addList = [&](const QString& title, const QStringList& entries) {
            if (entries.isEmpty())
                return;
            remarks.append({.Text = title, .IsTitle = true});
            for (const QString& entry : entries) {
                for (const QString& line : BreakLines(entry, columns))
                    remarks.append({.Text = line});
            }
            remarks.append(Remark());
        };
        addList(u"Problems"_s, ProblemsOf(mSnapshot));
        QStringList items;
        for (const StaleItem& item : mSnapshot.StaleItems)
            items.append(item.ToText());
        addList(u"Left behind by crashed processes"_s, items);
        if (!mArrows.isEmpty())
            remarks.append({.Text = u"An arrow leads from a client to its server."_s});
        if (!mSnapshot.Links && !mSnapshot.Registry.Members.isEmpty())
            remarks.append({.Text = u"This system does not report who is connected."_s});
        return remarks;
    }

    void PaintTitle()
    {
        const qsizetype columns = SvgPicture::FittingColumns(kContentWidth, 16);
        mPicture.AddText(SvgPicture::kMargin, 26, Elide(u"grid %1"_s.arg(mSnapshot.Name), columns),
                         {.Size = 16, .IsBold = true});
        mPicture.AddText(SvgPicture::kMargin, 45, Counts(), {.Color = SvgPicture::Muted});
    }

    // Draws a disc if all is well, a ring if the process does not listen, or a cross if it is dead.
    void PaintState(qsizetype member, double x, double y)
    {
        const QString state = StateOf(member);
        if (state == "dead"_L1) {
            mPicture.AddLines(u"M %1 %2 l 8 8 m 0 -8 l -8 8"_s.arg(NumberText(x - 4), NumberText(y - 4)),
                              {.Color = SvgPicture::Bad, .Width = 2});
            return;
        }
        const bool isListening = state == "alive"_L1;
        const SvgPicture::Ink ink = isListening ? SvgPicture::Good : SvgPicture::Bad;
        mPicture.AddFrame({.X = x - 4, .Y = y - 4, .Width = 8, .Height = 8, .Radius = 4},
                          isListening ? ink : SvgPicture::Card, {.Color = ink, .Width = 2});
    }

    // Returns "process 4711", or only the number if the state needs the space.
    [[nodiscard]] QString Name(const GridMember& member, const QString& state) const
    {
        constexpr double kBoldLetter = 8.7;
        constexpr double kLetter = 6.7;
        constexpr double kGaps = 44;
        const QString name = u"process %1"_s.arg(member.ProcessId);
        const double width = static_cast<double>(name.size()) * kBoldLetter
            + static_cast<double>(state.size()) * kLetter + kGaps;
        return width <= mCardWidth ? name : QString::number(member.ProcessId);
    }

    void PaintMember(qsizetype i)
    {
        const GridMember& member = mSnapshot.Registry.Members.at(i);
        const double left = SvgPicture::kMargin;
        const double top = TopOf(i);
        const bool isWell = StateOf(i) == "alive"_L1;
        const qsizetype columns = SvgPicture::FittingColumns(mCardWidth - 20, 11);
        mPicture.StartPart(TextOf(i));
        mPicture.AddFrame({.X = left, .Y = top, .Width = mCardWidth, .Height = kCardHeight, .Radius = 6},
                          SvgPicture::Card, {.Color = SvgPicture::Line, .IsDashed = !member.IsAlive});
        PaintState(i, left + 14, top + 16);
        mPicture.AddText(left + 26, top + 20, Name(member, StateOf(i)), {.IsBold = true});
        mPicture.AddText(
            left + mCardWidth - 10, top + 20, StateOf(i),
            {.Color = isWell ? SvgPicture::Good : SvgPicture::Bad, .Size = 11, .At = SvgPicture::End});
        mPicture.AddText(left + 10, top + 37, Elide(member.ServerName, columns),
                         {.Size = 11, .IsCode = true});
        double y = top + 52;
        const QStringList links = LinkTexts(i);
        for (const QString& text : links) {
            mPicture.AddText(left + 10, y, Elide(text, columns), {.Color = SvgPicture::Muted, .Size = 11});
            y += 14;
        }
        mPicture.EndPart();
    }

    // Draws an arrow from the lower half of the client's card to the upper half of the server's.
    void PaintArrow(const Arrow& arrow)
    {
        const double start = SvgPicture::kMargin + mCardWidth;
        const double lane = start + 2 * kArrowSize + (arrow.Lane + 0.5) * mLaneStep;
        const double from = TopOf(arrow.From) + kCardHeight * 0.7;
        const double to = TopOf(arrow.To) + kCardHeight * 0.3;
        const double radius = std::min(4.0, mLaneStep / 2) * (to < from ? -1 : 1);
        const double across = std::abs(radius);
        mPicture.StartPart(u"process %1 is connected to process %2"_s
                               .arg(mSnapshot.Registry.Members.at(arrow.From).ProcessId)
                               .arg(mSnapshot.Registry.Members.at(arrow.To).ProcessId));
        const auto point = [](double x, double y) { return NumberText(x) + u' ' + NumberText(y); };
        mPicture.AddLines(u"M %1 H %2 Q %3 %4 V %5 Q %6 %7 H %8"_s.arg(
                              point(start, from), NumberText(lane - across), point(lane, from),
                              point(lane, from + radius), NumberText(to - radius), point(lane, to),
                              point(lane - across, to), NumberText(start + kArrowSize)),
                          {.Color = SvgPicture::Accent, .Width = 1.5});
        mPicture.AddShape(u"M %1 l %2 %3 v %4 z"_s.arg(point(start, to), NumberText(kArrowSize * 1.6),
                                                       NumberText(-kArrowSize), NumberText(2 * kArrowSize)),
                          SvgPicture::Accent);
        mPicture.EndPart();
    }

    void PaintRemarks()
    {
        double y = RemarksTop();
        for (const Remark& remark : mRemarks) {
            y += kLineHeight;
            if (!remark.Text.isEmpty()) {
                mPicture.AddText(SvgPicture::kMargin, y - 4, remark.Text,
                                 {.Color = remark.IsTitle ? SvgPicture::Bad : SvgPicture::Muted,
                                  .Size = remark.IsTitle ? 12.0 : 11.0,
                                  .IsBold = remark.IsTitle});
            }
        }
    }

    const GridSnapshot& mSnapshot;
    QList<Arrow> mArrows;
    QList<Remark> mRemarks;
    SvgPicture mPicture;
    double mCardWidth = kContentWidth;
    double mLaneStep = 0;
};

} // namespace

QString GridPicture(const GridSnapshot& snapshot)
{
    return Painter(snapshot).Paint();
}

} // namespace Quorvin::Tool
