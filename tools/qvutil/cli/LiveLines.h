// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_TOOL_LIVELINES_H
#define QVUTIL_TOOL_LIVELINES_H

#include <QStringList>

namespace Quorvin::Tool {

/// A few lines on a terminal that are drawn again in the same place when they change.
///
/// No mode of the terminal stays changed between two calls, so that nothing has to be restored, however the
/// process ends. The last lines stay readable.
class LiveLines
{
public:
    LiveLines() = default;
    /// Removes what the terminal has echoed for Ctrl-C.
    ~LiveLines();
    Q_DISABLE_COPY_MOVE(LiveLines)

    /// Whether standard output is a terminal that can do this.
    [[nodiscard]] static bool IsPossible();

    /// Replaces the lines. Each is cut off at the width of the terminal, and those that do not fit its height
    /// are left out at the end.
    void Show(const QStringList& lines);

private:
    QStringList mShown;
    int mColumns = 0;
};

} // namespace Quorvin::Tool

#endif // QVUTIL_TOOL_LIVELINES_H
