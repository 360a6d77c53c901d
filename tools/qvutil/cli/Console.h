// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_TOOL_CONSOLE_H
#define QVUTIL_TOOL_CONSOLE_H

#include <QElapsedTimer>
#include <QJsonDocument>
#include <QString>

/// Output of the tool's commands: results on standard output, errors and progress on standard error.
///
/// \par Threads
/// The main thread only.
namespace Quorvin::Tool::Console {

/// Return whether standard output or standard error is a terminal.
[[nodiscard]] bool IsOutputTerminal();
[[nodiscard]] bool IsErrorTerminal();

/// Prints text. On a terminal, control characters other than line feeds and tabs are escaped, so that no
/// document can send commands to the terminal. If the output cannot be written, the command ends with an
/// error; if the output is a closed pipe, the command ends silently.
void Print(const QString& text);
/// Prints text and a line feed.
void PrintLine(const QString& text);
/// Prints bytes unchanged. If standard output is a terminal and the bytes are not text, the command ends with
/// an error instead.
void PrintBytes(const QByteArray& bytes);
/// Prints a JSON document and a line feed. See JsonStyle.
void PrintJson(const QJsonDocument& document);
/// Writes buffered output. This is done at the end of each command, so only commands that wait need it.
void Flush();

/// Prints "qvutil: SUBJECT: REASON" on standard error. \p subject is usually a file, and may be empty.
void ReportError(const QString& subject, const QString& reason);
/// Prints text on standard error, with control characters escaped.
void PrintError(const QString& text);

/// Returns text with its control characters escaped: \n, \t, \u001b.
[[nodiscard]] QString Visible(const QString& text);
/// Returns text in double quotes on one line, with '"', '\' and control characters escaped.
[[nodiscard]] QString Quoted(const QString& text);
/// Returns the name of a code point: U+0001.
[[nodiscard]] QString CodePoint(char32_t c);

/// A progress bar on standard error, which is only shown on a terminal. It appears after one second, or after
/// the number of milliseconds in the environment variable QVUTIL_PROGRESS_DELAY, and disappears when the
/// object is destroyed. Results and errors can be printed meanwhile: they replace the bar.
class ProgressBar
{
public:
    /// \param total  amount of work, in any unit; 0 to show only the label
    explicit ProgressBar(qint64 total);
    ~ProgressBar();
    Q_DISABLE_COPY_MOVE(ProgressBar)

    /// Sets the progress. Cheap enough to be called for each step.
    /// \param label  the current item, shown next to the bar
    void Show(qint64 done, const QString& label);

private:
    qint64 mTotal;
    bool mWanted;
    qint64 mLastDrawn = 0;
    QElapsedTimer mSinceStart;
};

} // namespace Quorvin::Tool::Console

#endif // QVUTIL_TOOL_CONSOLE_H
