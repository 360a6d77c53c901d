// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "cli/Difference.h"

#include "cli/Console.h"
#include "cli/InputFile.h"

#include <QByteArrayView>
#include <QFileInfo>

#include <algorithm>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

using namespace Qt::StringLiterals;

namespace Quorvin::Tool {
namespace {

constexpr int kContextLines = 3;
// Time and memory grow with the square of the number of changed lines. Above this number, the changed part is
// shown as one block.
constexpr int kMaxChanges = 1000;

using Lines = std::vector<QByteArrayView>;
using Numbers = std::vector<int>;

// Splits text into lines including their line feeds, so that a missing line feed at the end counts as a
// difference.
Lines SplitLines(const QByteArray& content)
{
    Lines lines;
    for (qsizetype begin = 0; begin < content.size();) {
        const qsizetype lineBreak = content.indexOf('\n', begin);
        const qsizetype end = lineBreak < 0 ? content.size() : lineBreak + 1;
        lines.push_back(QByteArrayView(content).sliced(begin, end - begin));
        begin = end;
    }
    return lines;
}

/// Finds the common lines of two contents with Myers' algorithm.
class LineMatcher
{
public:
    using Match = std::pair<int, int>; // indexes of equal lines

    LineMatcher(const Lines& before, const Lines& after)
        : mBefore(ToNumbers(before))
        , mAfter(ToNumbers(after))
    {
        while (mBegin < Size(mBefore) && mBegin < Size(mAfter) && At(mBefore, mBegin) == At(mAfter, mBegin))
            ++mBegin;
        mBeforeEnd = Size(mBefore);
        mAfterEnd = Size(mAfter);
        while (mBeforeEnd > mBegin && mAfterEnd > mBegin
               && At(mBefore, mBeforeEnd - 1) == At(mAfter, mAfterEnd - 1)) {
            --mBeforeEnd;
            --mAfterEnd;
        }
    }

    /// Returns the matches in the order of the lines.
    [[nodiscard]] std::vector<Match> Run()
    {
        std::vector<Match> matches;
        for (int i = 0; i < mBegin; ++i)
            matches.emplace_back(i, i);
        std::vector<Match> middle = MatchMiddle();
        matches.insert(matches.end(), middle.rbegin(), middle.rend());
        for (int i = mBeforeEnd; i < Size(mBefore); ++i)
            matches.emplace_back(i, i - mBeforeEnd + mAfterEnd);
        return matches;
    }

private:
    static int Size(const Numbers& numbers) { return static_cast<int>(numbers.size()); }
    static int At(const Numbers& numbers, int index) { return numbers[static_cast<std::size_t>(index)]; }

    Numbers ToNumbers(const Lines& lines)
    {
        Numbers numbers;
        numbers.reserve(lines.size());
        for (const QByteArrayView line : lines) {
            const std::string_view text(line.data(), static_cast<std::size_t>(line.size()));
            numbers.push_back(mNumberOf.try_emplace(text, static_cast<int>(mNumberOf.size())).first->second);
        }
        return numbers;
    }

    // Returns how far a path gets on diagonal k (position before minus position after), starting from the
    // adjacent diagonals.
    static int Step(const Numbers& reached, int offset, int changes, int k)
    {
        const bool isDown
            = k == -changes || (k != changes && At(reached, offset + k - 1) < At(reached, offset + k + 1));
        return isDown ? k + 1 : k - 1;
    }

    // Returns the matches between mBegin and the ends, in reverse order.
    [[nodiscard]] std::vector<Match> MatchMiddle() const
    {
        const int beforeSize = mBeforeEnd - mBegin;
        const int afterSize = mAfterEnd - mBegin;
        const int maximum = std::min(beforeSize + afterSize, kMaxChanges);
        const int offset = maximum + 1;
        Numbers reached(static_cast<std::size_t>(2 * maximum + 3), 0);
        std::vector<Numbers> history;
        for (int changes = 0; changes <= maximum; ++changes) {
            history.push_back(reached);
            for (int k = -changes; k <= changes; k += 2) {
                const int from = changes == 0 ? 0 : Step(reached, offset, changes, k);
                int x = changes == 0 ? 0 : At(reached, offset + from) + (from < k ? 1 : 0);
                while (x < beforeSize && x - k < afterSize
                       && At(mBefore, mBegin + x) == At(mAfter, mBegin + x - k))
                    ++x;
                reached[static_cast<std::size_t>(offset + k)] = x;
                if (x >= beforeSize && x - k >= afterSize)
                    return WalkBack(history, offset, beforeSize, afterSize);
            }
        }
        return {};
    }

    [[nodiscard]] std::vector<Match> WalkBack(const std::vector<Numbers>& history, int offset, int x,
                                              int y) const
    {
        std::vector<Match> matches;
        for (int changes = static_cast<int>(history.size()) - 1; changes >= 0; --changes) {
            const Numbers& reached = history[static_cast<std::size_t>(changes)];
            const int from = changes == 0 ? 0 : Step(reached, offset, changes, x - y);
            const int fromX = changes == 0 ? 0 : At(reached, offset + from);
            const int fromY = fromX - from;
            while (x > fromX && y > fromY) {
                --x;
                --y;
                matches.emplace_back(mBegin + x, mBegin + y);
            }
            x = fromX;
            y = fromY;
        }
        return matches;
    }

    std::unordered_map<std::string_view, int> mNumberOf;
    Numbers mBefore;
    Numbers mAfter;
    int mBegin = 0;
    int mBeforeEnd = 0;
    int mAfterEnd = 0;
};

/// Collects the lines of a unified diff.
class DifferenceWriter
{
public:
    DifferenceWriter(const Lines& before, const Lines& after)
        : mBefore(before)
        , mAfter(after)
    { }

    [[nodiscard]] QByteArray Write(const std::vector<LineMatcher::Match>& matches)
    {
        for (const auto& [before, after] : matches) {
            AddChanges(before, after);
            AddCommon();
        }
        AddChanges(static_cast<int>(mBefore.size()), static_cast<int>(mAfter.size()));
        FinishHunk();
        return mText;
    }

private:
    void AddChanges(int beforeEnd, int afterEnd)
    {
        if (mNextBefore == beforeEnd && mNextAfter == afterEnd)
            return;
        if (mHunk.isEmpty())
            BeginHunk();
        mTrailing = 0;
        while (mNextBefore < beforeEnd)
            AddLine('-', mBefore[static_cast<std::size_t>(mNextBefore++)]);
        while (mNextAfter < afterEnd)
            AddLine('+', mAfter[static_cast<std::size_t>(mNextAfter++)]);
    }

    void AddCommon()
    {
        if (!mHunk.isEmpty()) {
            AddLine(' ', mBefore[static_cast<std::size_t>(mNextBefore)]);
            if (++mTrailing > 2 * kContextLines)
                FinishHunk();
        }
        ++mNextBefore;
        ++mNextAfter;
    }

    void BeginHunk()
    {
        const int context = std::min({kContextLines, mNextBefore - mHunkEnd, mNextAfter});
        mHunkBefore = mNextBefore - context;
        mHunkAfter = mNextAfter - context;
        for (int i = mHunkBefore; i < mNextBefore; ++i)
            AddLine(' ', mBefore[static_cast<std::size_t>(i)]);
    }

    void AddLine(char sign, QByteArrayView line)
    {
        QByteArray text = sign + line.toByteArray();
        if (!text.endsWith('\n'))
            text += "\n\\ No newline at end of file\n";
        mHunk.append(text);
        mSigns += sign;
    }

    // Common lines beyond the context are omitted.
    void FinishHunk()
    {
        if (mHunk.isEmpty())
            return;
        const qsizetype surplus = std::max(mTrailing - kContextLines, 0);
        mHunk.resize(mHunk.size() - surplus);
        mSigns.chop(surplus);
        const auto beforeCount = static_cast<int>(mSigns.size() - mSigns.count('+'));
        const auto afterCount = static_cast<int>(mSigns.size() - mSigns.count('-'));
        mText += "@@ -" + RangeText(mHunkBefore, beforeCount) + " +" + RangeText(mHunkAfter, afterCount)
            + " @@\n" + mHunk.join();
        mHunkEnd = mHunkBefore + beforeCount;
        mHunk.clear();
        mSigns.clear();
        mTrailing = 0;
    }

    static QByteArray RangeText(int begin, int count)
    {
        const QByteArray start = QByteArray::number(count == 0 ? begin : begin + 1);
        return count == 1 ? start : start + ',' + QByteArray::number(count);
    }

    const Lines& mBefore;
    const Lines& mAfter;
    QByteArray mText;
    QByteArrayList mHunk;
    QByteArray mSigns;
    int mNextBefore = 0;
    int mNextAfter = 0;
    int mHunkBefore = 0;
    int mHunkAfter = 0;
    int mHunkEnd = 0;
    int mTrailing = 0; // common lines at the end of the hunk
};

} // namespace

QByteArray UnifiedDifference(const QString& name, const std::optional<QByteArray>& before,
                             const QByteArray& after)
{
    const QByteArray old = before.value_or(QByteArray());
    if (before && old == after)
        return {};
    const QByteArray shownName = Console::Visible(name).toUtf8();
    const Lines oldLines = SplitLines(old);
    const Lines newLines = SplitLines(after);
    return "--- " + (before ? shownName : QByteArray("/dev/null")) + "\n+++ " + shownName + '\n'
        + DifferenceWriter(oldLines, newLines).Write(LineMatcher(oldLines, newLines).Run());
}

ExitCode PrintDifference(const QString& name, const std::optional<QByteArray>& before,
                         const QByteArray& after)
{
    const QByteArray difference = UnifiedDifference(name, before, after);
    if (difference.isEmpty())
        return ExitCode::Yes;
    if (Console::IsOutputTerminal()) // the old content may contain control characters
        Console::Print(QString::fromUtf8(difference));
    else
        Console::PrintBytes(difference);
    return ExitCode::No;
}

std::optional<QByteArray> ReadIfExists(const QString& file)
{
    return QFileInfo::exists(file) ? std::optional(InputFile(file).ReadAll()) : std::nullopt;
}

CLI::Option* AddDryRunFlag(CLI::App& command, bool& target)
{
    return command.add_flag("--dry-run", target,
                            "Write nothing; print the difference and exit with 1 if there is one");
}

} // namespace Quorvin::Tool
