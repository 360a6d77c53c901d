// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_TOOL_CONSOLE_H
#define QVUTIL_TOOL_CONSOLE_H

#include <QElapsedTimer>
#include <QJsonDocument>
#include <QString>

/// What the tool's commands say: results on standard output, complaints and progress on standard error.
///
/// \par Threads
/// The main thread only.
namespace Quorvin::Tool::Console {

/// Whether standard output, or standard error, is a terminal.
[[nodiscard]] bool IsOutputTerminal();
[[nodiscard]] bool IsErrorTerminal();

/// Prints text as it is. On a terminal, control characters other than line breaks and tabs are shown as
/// escapes, so that no document can send commands to the terminal.
/// Output that cannot be written ends the command with an error; a closed pipe ends it silently.
void Print(const QString& text);
/// Prints text and a line break.
void PrintLine(const QString& text);
/// Prints bytes exactly. On a terminal, bytes that are not text end the command with an error instead.
void PrintBytes(const QByteArray& bytes);
/// Prints a JSON document, with a line break at its end. See JsonStyle.
void PrintJson(const QJsonDocument& document);
/// Writes what is still buffered. Called at the end anyway: only commands that wait need it.
void Flush();

/// Prints "qvutil: SUBJECT: REASON" on standard error; \p subject is a file, mostly, and may be empty.
void ReportError(const QString& subject, const QString& reason);
/// Prints text on standard error as it is, but for control characters.
void PrintError(const QString& text);

/// Gives text with its control characters as escapes: \n, \t, \u001b.
[[nodiscard]] QString Visible(const QString& text);
/// Gives text in double quotes on one line, with '"', '\' and control characters as escapes.
[[nodiscard]] QString Quoted(const QString& text);
/// Names a character by its number: U+0001.
[[nodiscard]] QString CodePoint(char32_t c);

/// A progress bar on standard error while it is a terminal; nothing at all elsewhere. It appears after a
/// second, or after the milliseconds in the environment variable QVUTIL_PROGRESS_DELAY, and disappears with
/// the object. Results and complaints may be printed meanwhile: they replace the bar.
class ProgressBar
{
public:
    /// \param total  amount of work, in any unit, of which the bar shows the share; 0 to show only the label
    explicit ProgressBar(qint64 total);
    ~ProgressBar();
    Q_DISABLE_COPY_MOVE(ProgressBar)

    /// Says how far the work is. Cheap enough to be called for each step.
    /// \param label  what is being worked on, shown beside the bar
    void Show(qint64 done, const QString& label);

private:
    qint64 mTotal;
    bool mWanted;
    qint64 mLastDrawn = 0;
    QElapsedTimer mSinceStart;
};

} // namespace Quorvin::Tool::Console

#endif // QVUTIL_TOOL_CONSOLE_H
