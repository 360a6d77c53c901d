// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "cli/LiveLines.h"

#include "cli/Console.h"
#include "cli/Failure.h"
#include "cli/TextWidth.h"

#include <algorithm>
#include <cstdio>

#include <sys/ioctl.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace Quorvin::Tool {
namespace {

constexpr int kDefaultColumns = 80;
constexpr int kDefaultRows = 24;

winsize TerminalSize()
{
    winsize size = {};
    if (ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) != 0 || size.ws_col == 0 || size.ws_row == 0) {
        size.ws_col = kDefaultColumns;
        size.ws_row = kDefaultRows;
    }
    return size;
}

void Write(const QByteArray& bytes)
{
    const auto size = static_cast<size_t>(bytes.size());
    if (std::fwrite(bytes.constData(), 1, size, stdout) != size || std::fflush(stdout) != 0)
        throw OutputClosed(); // the terminal was closed
}

} // namespace

LiveLines::~LiveLines()
{
    if (mShown.isEmpty())
        return;
    (void)std::fputs("\r\x1b[K", stdout);
    (void)std::fflush(stdout);
}

bool LiveLines::IsPossible()
{
    return Console::IsOutputTerminal() && qgetenv("TERM") != "dumb";
}

void LiveLines::Show(const QStringList& table, const QStringList& below)
{
    const winsize size = TerminalSize();
    const qsizetype rows = std::max(size.ws_row - 1, 1);
    const qsizetype room = std::max<qsizetype>(rows - below.size(), 1);
    QStringList shown = table;
    if (shown.size() > room) {
        shown = table.first(room - 1);
        shown.append(u"and %1 more"_s.arg(table.size() - room + 1));
    }
    shown += below;
    shown = shown.first(std::min(shown.size(), rows));
    for (QString& line : shown)
        line = FirstColumns(Console::Visible(line), size.ws_col);
    if (shown == mShown && size.ws_col == mColumns)
        return;
    // Turn wrapping off while drawing, because some terminals draw characters wider than FirstColumns
    // assumes.
    QByteArray bytes = "\r\x1b[?7l";
    if (!mShown.isEmpty())
        bytes += "\x1b[" + QByteArray::number(mShown.size()) + 'A';
    for (const QString& line : std::as_const(shown))
        bytes += line.toUtf8() + "\x1b[K\n";
    bytes += "\x1b[J\x1b[?7h";
    Write(bytes);
    mShown = shown;
    mColumns = size.ws_col;
}

} // namespace Quorvin::Tool
