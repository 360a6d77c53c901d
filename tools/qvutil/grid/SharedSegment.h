// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_TOOL_GRID_SHAREDSEGMENT_H
#define QVUTIL_TOOL_GRID_SHAREDSEGMENT_H

#include <QByteArray>
#include <QString>

#include <optional>

namespace Quorvin::Tool {

/// Reads shared memory of QSharedMemory's without leaving a trace.
/// \param nativeKey  see NativeSharedMemoryKey
/// \return its bytes; nothing if there is none. Throws Failure, about \p name, if there is one that must not
///         be read.
[[nodiscard]] std::optional<QByteArray> ReadSharedSegment(const QString& nativeKey, const QString& name);

} // namespace Quorvin::Tool

#endif // QVUTIL_TOOL_GRID_SHAREDSEGMENT_H
