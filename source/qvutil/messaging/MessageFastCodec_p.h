// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_MESSAGEFASTCODEC_P_H
#define QVUTIL_MESSAGEFASTCODEC_P_H

// Internal, not API: may change in any version.

#include "IPC.h"

#include <QByteArray>
#include <QByteArrayView>
#include <QStringView>

#include <optional>

// The fast path of the message codec. It reads and writes frames of exactly the form shown in
// MessageCodec_p.h, without a tree and without UTF-16, which is an order of magnitude faster than the DOM
// path. Anything else, even if valid, is left to the DOM path. Where both succeed, the results are equal.
namespace Quorvin::Util::Internal {

/// \return the frame; nullopt if a text may contain a character that XML does not allow
[[nodiscard]] std::optional<QByteArray> EncodeMessageFast(const MessageInfo& message);
/// Removes one frame from the front of \p bytes. The frame must extend to the end of \p bytes or to another
/// frame.
/// \return false, with \p bytes unchanged but \p message partly set, if the frame is not exactly as the
///         library writes it
[[nodiscard]] bool TakeMessageFast(QByteArrayView& bytes, MessageInfo& message);
/// \return the message; nullopt if the frame is not exactly as the library writes it
[[nodiscard]] std::optional<MessageInfo> DecodeMessageFast(QByteArrayView frame);
[[nodiscard]] std::optional<MessageInfo> DecodeMessageFast(QStringView frame);

} // namespace Quorvin::Util::Internal

#endif // QVUTIL_MESSAGEFASTCODEC_P_H
