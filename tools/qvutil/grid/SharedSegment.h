// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_TOOL_GRID_SHAREDSEGMENT_H
#define QVUTIL_TOOL_GRID_SHAREDSEGMENT_H

#include <QByteArray>
#include <QDeadlineTimer>
#include <QString>

#include <optional>

namespace Quorvin::Tool {

/// Reads a shared memory segment of QSharedMemory without leaving a trace. Throws Failure, about \p name, if
/// access is denied.
/// \param nativeKey  see NativeSharedMemoryKey
/// \return the bytes of the segment; nullopt if there is none
[[nodiscard]] std::optional<QByteArray> ReadSharedSegment(const QString& nativeKey, const QString& name);

/// The keys of a segment, and its name for messages.
struct SegmentKeys
{
    QString Memory; ///< see NativeSharedMemoryKey
    QString Semaphore; ///< see NativeSemaphoreKey
    QString Name;
};

/// A shared memory segment of QSharedMemory, attached for writing. Its semaphore is held for the lifetime of
/// the object. Does not use QSharedMemory, which waits for the semaphore without a time-out.
class LockedSegment
{
public:
    /// Throws Failure if access is denied, or if another process keeps the segment locked.
    LockedSegment(const SegmentKeys& keys, QDeadlineTimer deadline);
    ~LockedSegment();
    Q_DISABLE_COPY_MOVE(LockedSegment)

    /// Returns whether there is a segment. If not, do not call the other operations.
    [[nodiscard]] bool Exists() const { return mMemory != nullptr; }
    [[nodiscard]] QByteArray Bytes() const;
    /// Replaces the first bytes.
    void Write(const QByteArray& bytes);
    /// Detaches the segment, and destroys it if no other process is attached. Do not call the other
    /// operations afterwards.
    /// \return whether it was destroyed
    bool Leave();

private:
    void Attach(const QString& name);

    QByteArray mKeyFile;
    int mSegment = -1;
    int mSemaphore = -1;
    void* mMemory = nullptr;
    size_t mSize = 0;
};

/// Removes a semaphore of QSharedMemory and its key file. If another key file in the folder leads to the same
/// semaphore, removes only the file.
/// \param key  the key of the QSharedMemory
void RemoveSemaphore(const QString& key);

} // namespace Quorvin::Tool

#endif // QVUTIL_TOOL_GRID_SHAREDSEGMENT_H
