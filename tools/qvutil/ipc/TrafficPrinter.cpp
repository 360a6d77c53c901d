// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "ipc/TrafficPrinter.h"

#include "messages/MessageText.h"

#include <qvutil/messaging/MessageCodec_p.h>

#include <algorithm>
#include <utility>

using namespace Qt::StringLiterals;
using Quorvin::Util::Internal::kFrameStartBytes;

namespace Quorvin::Tool {
namespace {

// Maximum size of an incomplete frame.
constexpr qsizetype kMaxPending = qsizetype(64) * 1024 * 1024;

// Returns whether the bytes are the beginning of a frame that the next bytes may complete.
bool MayGoOn(QByteArrayView bytes)
{
    return bytes.size() < kMaxPending
        && (bytes.startsWith(kFrameStartBytes) || kFrameStartBytes.startsWith(bytes));
}

} // namespace

void TrafficPrinter::Take(const QByteArray& bytes)
{
    const qsizetype newStart = std::max<qsizetype>(mPending.size() - kFrameStartBytes.size() + 1, 0);
    const bool wasPending = !mPending.isEmpty();
    mPending += bytes;
    ++mPendingReads;
    // Parsing a large frame from its beginning whenever another part arrives would take too long.
    const bool hasNewStart = mPending.indexOf(kFrameStartBytes, newStart) >= 0;
    const bool mayEndHere
        = QByteArrayView(mPending).last(std::min<qsizetype>(mPending.size(), 16)).trimmed().endsWith('>');
    if (wasPending && !hasNewStart && !mayEndHere && mPending.size() < kMaxPending)
        return;

    const QByteArray all = std::exchange(mPending, {});
    const int reads = std::exchange(mPendingReads, 0);
    ForEachMessagePiece(all, [&](const MessagePiece& piece) {
        QJsonObject notes{{u"bytes"_s, piece.Bytes.size()}};
        const int readsOfPiece = piece.Offset == 0 ? reads : 1;
        if (readsOfPiece > 1)
            notes.insert(u"split"_s, u"arrived in %1 reads: the library loses it"_s.arg(readsOfPiece));
        const bool isLast = piece.Offset + piece.Bytes.size() == all.size();
        if (piece.Message) {
            mLines.Print(*piece.Message, mDirection, notes);
        } else if (isLast && MayGoOn(piece.Bytes)) {
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
        return; // white space between frames is allowed
    const qsizetype size = piece.Bytes.size();
    mLines.PrintEvent(u"unreadable"_s, u"%1 bytes that are not a message: %2"_s.arg(size).arg(piece.Problem),
                      mDirection, {{u"bytes"_s, size}, {u"problem"_s, piece.Problem}});
}

} // namespace Quorvin::Tool
