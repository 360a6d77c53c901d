// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "cli/Console.h"

#include "cli/Failure.h"
#include "cli/JsonStyle.h"
#include "cli/TextWidth.h"

#include <QStringDecoder>

#include <algorithm>
#include <cerrno>
#include <cstdio>

#include <sys/ioctl.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace Quorvin::Tool::Console {
namespace {

// No progress bar is shown for work that takes less time.
constexpr int kBarDelayMs = 1000;
constexpr qint64 kBarIntervalMs = 60;
constexpr int kBarWidth = 24;

// Whether the last line of the terminal is a progress bar.
constinit bool gBarDrawn = false;

void WriteToError(const QByteArray& bytes)
{
    // If writing to standard error fails, the failure cannot be reported.
    (void)std::fwrite(bytes.constData(), 1, static_cast<size_t>(bytes.size()), stderr);
    (void)std::fflush(stderr);
}

int BarDelayMs()
{
    bool isSet = false;
    const int delay = qEnvironmentVariableIntValue("QVUTIL_PROGRESS_DELAY", &isSet);
    return isSet ? delay : kBarDelayMs;
}

void HideBar()
{
    if (!gBarDrawn)
        return;
    gBarDrawn = false;
    WriteToError("\r\x1b[K");
}

[[noreturn]] void FailToWrite()
{
    const int error = errno;
    if (error == EPIPE)
        throw OutputClosed();
    throw Failure(u"standard output"_s, qt_error_string(error));
}

void WriteToOutput(const QByteArray& bytes)
{
    HideBar();
    const size_t size = static_cast<size_t>(bytes.size());
    if (std::fwrite(bytes.constData(), 1, size, stdout) != size)
        FailToWrite();
}

// Returns whether a terminal would interpret a character instead of showing it, or could not show it. This is
// true for control characters, characters that change the writing direction, and two noncharacters.
bool IsControl(QChar c)
{
    const char16_t code = c.unicode();
    return code < 0x20 || (code >= 0x7f && code < 0xa0) || (code >= 0x202a && code <= 0x202e)
        || (code >= 0x2066 && code <= 0x2069) || code >= 0xfffe;
}

void AppendEscaped(QString& to, QChar c)
{
    switch (c.unicode()) {
    case '\n':
        to += "\\n"_L1;
        break;
    case '\r':
        to += "\\r"_L1;
        break;
    case '\t':
        to += "\\t"_L1;
        break;
    default:
        to += "\\u"_L1 + QString::number(c.unicode(), 16).rightJustified(4, u'0');
    }
}

QString Escape(const QString& text, QStringView kept, QStringView escaped)
{
    const auto isSpecial
        = [&](QChar c) { return (IsControl(c) && !kept.contains(c)) || escaped.contains(c); };
    if (std::none_of(text.begin(), text.end(), isSpecial))
        return text;
    QString result;
    result.reserve(text.size() + 16);
    for (const QChar c : text) {
        if (escaped.contains(c))
            result += u'\\' + c;
        else if (isSpecial(c))
            AppendEscaped(result, c);
        else
            result += c;
    }
    return result;
}

int TerminalWidth()
{
    winsize size = {};
    if (ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0)
        return size.ws_col;
    return 80;
}

} // namespace

bool IsOutputTerminal()
{
    static const bool isTerminal = isatty(STDOUT_FILENO) == 1;
    return isTerminal;
}

bool IsErrorTerminal()
{
    static const bool isTerminal = isatty(STDERR_FILENO) == 1;
    return isTerminal;
}

void Print(const QString& text)
{
    WriteToOutput((IsOutputTerminal() ? Escape(text, u"\n\t", {}) : text).toUtf8());
}

void PrintLine(const QString& text)
{
    Print(text + u'\n');
}

void PrintBytes(const QByteArray& bytes)
{
    if (!IsOutputTerminal()) {
        WriteToOutput(bytes);
        return;
    }
    QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    const QString text = decoder(bytes);
    if (decoder.hasError() || text.contains(QChar::Null))
        throw Failure(u"standard output"_s,
                      u"binary data is not printed to a terminal; use --json, or redirect the output"_s);
    Print(text);
}

void PrintJson(const QJsonDocument& document)
{
    Print(ToText(document, AnswerFormat()));
}

void Flush()
{
    if (std::fflush(stdout) != 0)
        FailToWrite();
}

void ReportError(const QString& subject, const QString& reason)
{
    PrintError("qvutil: "_L1 + (subject.isEmpty() ? QString() : Visible(subject) + ": "_L1) + Visible(reason)
               + u'\n');
}

void PrintError(const QString& text)
{
    // Write buffered results first, to keep the order if both streams are on the same terminal. A failed
    // write is detected later.
    (void)std::fflush(stdout);
    HideBar();
    WriteToError(Escape(text, u"\n\t", {}).toUtf8());
}

QString Visible(const QString& text)
{
    return Escape(text, {}, {});
}

QString Quoted(const QString& text)
{
    return u'"' + Escape(text, {}, u"\"\\") + u'"';
}

QString CodePoint(char32_t c)
{
    return "U+"_L1 + QString::number(static_cast<uint>(c), 16).toUpper().rightJustified(4, u'0');
}

ProgressBar::ProgressBar(qint64 total)
    : mTotal(total)
    , mWanted(IsErrorTerminal() && qgetenv("TERM") != "dumb")
{
    mSinceStart.start();
}

ProgressBar::~ProgressBar()
{
    HideBar();
}

void ProgressBar::Show(qint64 done, const QString& label)
{
    if (!mWanted)
        return;
    static const int delayMs = BarDelayMs();
    const qint64 now = mSinceStart.elapsed();
    if (now < delayMs || (gBarDrawn && now - mLastDrawn < kBarIntervalMs))
        return;
    mLastDrawn = now;

    QString line;
    if (mTotal > 0) {
        const double share = std::clamp(static_cast<double>(done) / static_cast<double>(mTotal), 0.0, 1.0);
        const int filled = static_cast<int>(share * kBarWidth);
        line = u'[' + QString(filled, u'#') + QString(kBarWidth - filled, u'.')
            + u"] %1 %  "_s.arg(static_cast<int>(share * 100), 3);
    }
    line += Visible(label);
    WriteToError("\r\x1b[K" + FirstColumns(line, TerminalWidth() - 1).toUtf8());
    gBarDrawn = true;
}

} // namespace Quorvin::Tool::Console
