// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_TERMINALTOOL_H
#define QVUTIL_TERMINALTOOL_H

#include "support/ToolRunner.h"

#include <QtTest>

#include <algorithm>

#include <fcntl.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

namespace TestSupport {

/// A run of the tool in the background on a separate terminal, killed when the object is destroyed.
class TerminalTool
{
public:
    TerminalTool(const ToolRunner& tool, const QStringList& arguments, unsigned short columns = 80,
                 unsigned short rows = 24)
        : mTerminal(posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC | O_NONBLOCK))
    {
        grantpt(mTerminal);
        unlockpt(mTerminal);
        mInner = open(ptsname(mTerminal), O_RDWR | O_NOCTTY | O_CLOEXEC);
        winsize size = {};
        size.ws_col = columns;
        size.ws_row = rows;
        ioctl(mInner, TIOCSWINSZ, &size);
        mProcess.setChildProcessModifier([inner = mInner] {
            setsid();
            ioctl(inner, TIOCSCTTY, 0);
            dup2(inner, STDIN_FILENO);
            dup2(inner, STDOUT_FILENO);
            dup2(inner, STDERR_FILENO);
        });
        tool.Start(mProcess, arguments);
        mProcess.waitForStarted(ToolRunner::kTimeoutMs);
    }
    ~TerminalTool()
    {
        if (mProcess.state() != QProcess::NotRunning) {
            mProcess.kill();
            mProcess.waitForFinished(ToolRunner::kTimeoutMs);
        }
        close(mInner);
        close(mTerminal);
    }
    Q_DISABLE_COPY_MOVE(TerminalTool)

    /// Waits until a line on the screen contains a text. \return false if none does in time
    [[nodiscard]] bool WaitForLine(const QString& text)
    {
        return QTest::qWaitFor([&] { return !Screen().filter(text).isEmpty(); }, ToolRunner::kTimeoutMs);
    }
    /// Types some keys, such as "\x03" for Ctrl-C.
    void Type(const QByteArray& keys)
    {
        (void)!write(mTerminal, keys.constData(), static_cast<size_t>(keys.size()));
    }
    /// Waits for the tool to end. \return its exit code; -1 if it does not end or crashes
    [[nodiscard]] int WaitForEnd()
    {
        // A tool whose output nobody reads would wait for room in the terminal.
        const auto hasEndedMeanwhile = [this] {
            Read();
            return mProcess.state() == QProcess::NotRunning;
        };
        const bool hasEnded = QTest::qWaitFor(hasEndedMeanwhile, ToolRunner::kTimeoutMs);
        return hasEnded && mProcess.exitStatus() == QProcess::NormalExit ? mProcess.exitCode() : -1;
    }

    /// Returns the lines of the screen, without empty lines at the end.
    [[nodiscard]] QStringList Screen()
    {
        Read();
        return mScreen;
    }
    /// Returns all output so far.
    [[nodiscard]] const QByteArray& Output()
    {
        Read();
        return mOutput;
    }
    /// Returns the modes of the terminal.
    [[nodiscard]] QByteArray Modes() const
    {
        termios modes = {};
        tcgetattr(mInner, &modes);
        return QByteArray::number(modes.c_iflag) + ' ' + QByteArray::number(modes.c_oflag) + ' '
            + QByteArray::number(modes.c_lflag) + ' ' + QByteArray::number(modes.c_cflag);
    }

private:
    void Read()
    {
        char buffer[4096];
        for (;;) {
            const ssize_t count = read(mTerminal, buffer, sizeof(buffer));
            if (count <= 0)
                break;
            mOutput.append(buffer, count);
        }
        Draw();
    }

    // Interprets the few escape sequences that the tool uses.
    void Draw()
    {
        static const QRegularExpression sequence(QStringLiteral("\x1b\\[(\\?7[hl]|\\d*[AJK])|\r|\n|."),
                                                 QRegularExpression::DotMatchesEverythingOption);
        QStringList lines(1);
        qsizetype row = 0;
        qsizetype column = 0;
        QRegularExpressionMatchIterator pieces = sequence.globalMatch(QString::fromUtf8(mOutput));
        while (pieces.hasNext()) {
            const QString piece = pieces.next().captured();
            if (piece == u"\r") {
                column = 0;
            } else if (piece == u"\n") {
                ++row;
                while (lines.size() <= row)
                    lines.append(QString());
            } else if (piece.endsWith(u'A') && piece.size() > 1) {
                row -= std::min(QStringView(piece).sliced(2).chopped(1).toLongLong(), row);
            } else if (piece.endsWith(u'K') && piece.size() > 1) {
                lines[row].truncate(column);
            } else if (piece.endsWith(u'J') && piece.size() > 1) {
                lines[row].truncate(column);
                lines = lines.first(row + 1);
            } else if (piece.size() == 1) {
                lines[row] = lines.at(row).leftJustified(column).replace(column, 1, piece);
                ++column;
            }
        }
        while (!lines.isEmpty() && lines.last().isEmpty())
            lines.removeLast();
        mScreen = lines;
    }

    QProcess mProcess;
    int mTerminal;
    int mInner = -1;
    QByteArray mOutput;
    QStringList mScreen;
};

} // namespace TestSupport

#endif // QVUTIL_TERMINALTOOL_H
