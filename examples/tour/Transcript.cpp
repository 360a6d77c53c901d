// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "Transcript.h"

#include <QRegularExpression>

#include <cstdio>

#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {
constexpr int kCallWidth = 72;
constexpr auto kBold = "\033[1m"_L1;
constexpr auto kDim = "\033[2m"_L1;
constexpr auto kGreen = "\033[32m"_L1;
constexpr auto kPlain = "\033[0m"_L1;

// Removes the parts of a C++ literal that only the compiler needs from the source of a call.
QString Readable(const char* source)
{
    static const QRegularExpression prefix(u"\\bu\""_s);
    QString text = QString::fromUtf8(source);
    text.replace(prefix, u"\""_s);
    text.replace("\"_s"_L1, "\""_L1);
    return text;
}

} // namespace

Transcript::Transcript()
    : mOut(stdout)
    , mColour(isatty(STDOUT_FILENO) != 0 && qEnvironmentVariableIsEmpty("NO_COLOR"))
{ }

void Transcript::Heading(const QString& text)
{
    mOut << '\n' << (mColour ? kBold : ""_L1) << text << (mColour ? kPlain : ""_L1) << "\n\n"_L1;
    mOut.flush();
}

void Transcript::Note(const QString& text)
{
    mOut << "  "_L1 << (mColour ? kDim : ""_L1) << "// "_L1 << text << (mColour ? kPlain : ""_L1) << '\n';
    mOut.flush();
}

void Transcript::Line(const QString& text)
{
    mOut << "    "_L1 << text << '\n';
    mOut.flush();
}

void Transcript::Call(const char* source, const QString& result)
{
    const QString call = Readable(source);
    mOut << "  "_L1;
    if (result.isEmpty()) {
        mOut << call << '\n';
    } else {
        mOut << call.leftJustified(kCallWidth) << (mColour ? kGreen : ""_L1) << " -> "_L1 << result
             << (mColour ? kPlain : ""_L1) << '\n';
    }
    mOut.flush();
}

QString Transcript::Text(bool value)
{
    return value ? u"true"_s : u"false"_s;
}

QString Transcript::Text(int value)
{
    return QString::number(value);
}

QString Transcript::Text(qint64 value)
{
    return QString::number(value);
}

QString Transcript::Text(double value)
{
    return QString::number(value, 'g', 17);
}

QString Transcript::Text(const QString& value)
{
    return u'"' + value + u'"';
}

QString Transcript::Text(const QByteArray& value)
{
    return u"%1 bytes: %2"_s.arg(value.size()).arg(QString::fromLatin1(value.left(8).toHex(' ')));
}

QString Transcript::Text(const QDateTime& value)
{
    return value.toString(Qt::ISODate);
}

QString Transcript::Text(const QRect& value)
{
    return u"%1 x %2 at %3, %4"_s.arg(value.width()).arg(value.height()).arg(value.x()).arg(value.y());
}

QString Transcript::Text(const QSize& value)
{
    return u"%1 x %2"_s.arg(value.width()).arg(value.height());
}
