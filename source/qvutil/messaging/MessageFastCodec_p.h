// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_MESSAGEFASTCODEC_P_H
#define QVUTIL_MESSAGEFASTCODEC_P_H

// This file is not part of the interface. It may change from one version to the next.

#include "IPC.h"

#include <QByteArray>
#include <QByteArrayView>
#include <QStringView>

#include <optional>

// The fast path of the message codec. It writes and reads frames of exactly the shape that MessageCodec_p.h
// shows, without building a tree and without UTF-16: an order of magnitude faster than the DOM path. Anything
// else, even if valid, is left to the DOM path. Where both succeed, the results are equal.
namespace Quorvin::Util::Internal {

/// \return the frame; nothing if a text holds a character that XML may not be able to hold
[[nodiscard]] std::optional<QByteArray> EncodeMessageFast(const MessageInfo& message);
/// Takes one frame off the front of \p bytes. It must end at the end of \p bytes or at another frame.
/// \return false if the frame is not exactly of the shape that the library itself writes; \p message holds a
///         part of it then, and \p bytes are unchanged
[[nodiscard]] bool TakeMessageFast(QByteArrayView& bytes, MessageInfo& message);
/// \return the message; nothing if the frame is not exactly of the shape that the library itself writes
[[nodiscard]] std::optional<MessageInfo> DecodeMessageFast(QByteArrayView frame);
[[nodiscard]] std::optional<MessageInfo> DecodeMessageFast(QStringView frame);

} // namespace Quorvin::Util::Internal

#endif // QVUTIL_MESSAGEFASTCODEC_P_H
