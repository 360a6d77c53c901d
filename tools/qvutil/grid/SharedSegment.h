// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_TOOL_GRID_SHAREDSEGMENT_H
#define QVUTIL_TOOL_GRID_SHAREDSEGMENT_H

#include <QByteArray>
#include <QString>

#include <optional>

namespace Quorvin::Tool {

/// Reads a shared memory segment of QSharedMemory without leaving a trace. Throws Failure, about \p name, if
/// access is denied.
/// \param nativeKey  see NativeSharedMemoryKey
/// \return the bytes of the segment; nothing if there is none
[[nodiscard]] std::optional<QByteArray> ReadSharedSegment(const QString& nativeKey, const QString& name);

} // namespace Quorvin::Tool

#endif // QVUTIL_TOOL_GRID_SHAREDSEGMENT_H
