// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_TOOL_IPC_TRAFFICPRINTER_H
#define QVUTIL_TOOL_IPC_TRAFFICPRINTER_H

#include "ipc/MessageLines.h"
#include "messages/MessageText.h"

#include <QByteArray>
#include <QString>

namespace Quorvin::Tool {

/// Prints the messages in the bytes that go one way. Unlike the library it puts together what comes in
/// several reads, and says so.
class TrafficPrinter
{
public:
    TrafficPrinter(const MessageLines& lines, const QString& direction)
        : mLines(lines)
        , mDirection(direction)
    { }

    /// Takes what one read has brought.
    void Take(const QByteArray& bytes);
    /// Says what is left when the connection has ended.
    void Finish();

private:
    void PrintUnreadable(const MessagePiece& piece) const;

    const MessageLines& mLines;
    QString mDirection;
    QByteArray mPending; // the beginning of a document
    int mPendingReads = 0;
};

} // namespace Quorvin::Tool

#endif // QVUTIL_TOOL_IPC_TRAFFICPRINTER_H
