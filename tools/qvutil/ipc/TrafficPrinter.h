// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_TOOL_IPC_TRAFFICPRINTER_H
#define QVUTIL_TOOL_IPC_TRAFFICPRINTER_H

#include "ipc/MessageLines.h"
#include "messages/MessageText.h"

#include <QByteArray>
#include <QString>

namespace Quorvin::Tool {

/// Prints the messages in the bytes of one direction. Unlike the library, it joins frames that arrive in
/// several reads, and reports them.
class TrafficPrinter
{
public:
    TrafficPrinter(const MessageLines& lines, const QString& direction)
        : mLines(lines)
        , mDirection(direction)
    { }

    /// Adds the bytes of one read.
    void Take(const QByteArray& bytes);
    /// Reports the remaining bytes after the connection has ended.
    void Finish();

private:
    void PrintUnreadable(const MessagePiece& piece) const;

    const MessageLines& mLines;
    QString mDirection;
    QByteArray mPending; // an incomplete frame
    int mPendingReads = 0;
};

} // namespace Quorvin::Tool

#endif // QVUTIL_TOOL_IPC_TRAFFICPRINTER_H
