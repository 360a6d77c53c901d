// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "TrafficPrinter.h"

#include "../MessageText.h"

#include <utility>

using namespace Qt::StringLiterals;

namespace Quorvin::Tool {
namespace {

// What never becomes a document is not collected for ever.
constexpr qsizetype kMostPending = qsizetype(64) * 1024 * 1024;

} // namespace

void TrafficPrinter::Take(const QByteArray& bytes)
{
    const QByteArray all = std::exchange(mPending, {}) + bytes;
    const int reads = std::exchange(mPendingReads, 0) + 1;
    ForEachMessagePiece(all, [&](const MessagePiece& piece) {
        QJsonObject notes{{u"bytes"_s, piece.Bytes.size()}};
        const int readsOfPiece = piece.Offset == 0 ? reads : 1;
        if (readsOfPiece > 1)
            notes.insert(u"split"_s, u"came in %1 reads: the library loses it"_s.arg(readsOfPiece));
        const bool isLast = piece.Offset + piece.Bytes.size() == all.size();
        if (piece.Message) {
            mLines.Print(*piece.Message, mDirection, notes);
        } else if (isLast && piece.Bytes.size() < kMostPending) {
            mPending = piece.Bytes.toByteArray();
            mPendingReads = readsOfPiece;
        } else {
            PrintUnreadable(piece);
        }
    });
}

void TrafficPrinter::Finish()
{
    const QByteArray bytes = std::exchange(mPending, {});
    mPendingReads = 0;
    ForEachMessagePiece(bytes, [this](const MessagePiece& piece) { PrintUnreadable(piece); });
}

void TrafficPrinter::PrintUnreadable(const MessagePiece& piece) const
{
    if (piece.Bytes.trimmed().isEmpty())
        return; // white space between documents is allowed to everybody
    const qsizetype size = piece.Bytes.size();
    mLines.PrintEvent(u"unreadable"_s, u"%1 bytes that are no message: %2"_s.arg(size).arg(piece.Problem),
                      mDirection, {{u"bytes"_s, size}, {u"problem"_s, piece.Problem}});
}

} // namespace Quorvin::Tool
