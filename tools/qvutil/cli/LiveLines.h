// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_TOOL_LIVELINES_H
#define QVUTIL_TOOL_LIVELINES_H

#include <QStringList>

namespace Quorvin::Tool {

/// Updates lines on a terminal in place.
///
/// Each call restores the modes of the terminal, so nothing has to be restored when the process ends. The
/// last lines remain on the terminal.
class LiveLines
{
public:
    LiveLines() = default;
    /// Removes the terminal's echo of Ctrl-C.
    ~LiveLines();
    Q_DISABLE_COPY_MOVE(LiveLines)

    /// Returns whether standard output is a terminal that supports this.
    [[nodiscard]] static bool IsPossible();

    /// Replaces the lines. Long lines are truncated to the width of the terminal.
    /// \param table  lines of the table; if the terminal has too few rows, the last ones are omitted, and a
    ///               line says how many
    /// \param below  lines below the table
    void Show(const QStringList& table, const QStringList& below);

private:
    QStringList mShown;
    int mColumns = 0;
};

} // namespace Quorvin::Tool

#endif // QVUTIL_TOOL_LIVELINES_H
