// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef TOUR_TRANSCRIPT_H
#define TOUR_TRANSCRIPT_H

#include <QByteArray>
#include <QDateTime>
#include <QRect>
#include <QSize>
#include <QString>
#include <QStringList>
#include <QTextStream>

/// Prints calls and their results in two columns, with colours if the output is a terminal.
class Transcript
{
public:
    Transcript();

    /// Prints the heading of a section.
    void Heading(const QString& text);
    /// Prints a remark.
    void Note(const QString& text);
    /// Prints a line of a document.
    void Line(const QString& text);
    /// Prints the source text of a call, and its result.
    void Call(const char* source, const QString& result);

    static QString Text(bool value);
    static QString Text(int value);
    static QString Text(qint64 value);
    static QString Text(double value);
    static QString Text(const QString& value);
    static QString Text(const QByteArray& value);
    static QString Text(const QDateTime& value);
    static QString Text(const QRect& value);
    static QString Text(const QSize& value);

private:
    QTextStream mOut;
    bool mColour;
};

/// Makes a call and prints its source text and its result.
#define SHOW(transcript, ...) (transcript).Call(#__VA_ARGS__, Transcript::Text(__VA_ARGS__))
/// Makes a call without a result and prints its source text.
#define SHOW_VOID(transcript, ...) ((__VA_ARGS__), (transcript).Call(#__VA_ARGS__, QString()))

#endif // TOUR_TRANSCRIPT_H
