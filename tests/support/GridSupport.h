// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_GRIDSUPPORT_H
#define QVUTIL_GRIDSUPPORT_H

#include "IPCManager.h"
#include "messaging/GridRegistry_p.h"

#include <QByteArray>
#include <QList>
#include <QSharedMemory>
#include <QString>
#include <QtEndian>

#include <cstring>

/// Helpers for tests of grids.
namespace GridSupport {

using Quorvin::Util::Internal::kRegistrySize;
static_assert(kRegistrySize == 8192);

// Accesses the registry as another program would.
class Registry
{
public:
    explicit Registry(const QString& gridName)
        : mMemory(gridName)
    { }
    [[nodiscard]] bool Attach() { return mMemory.isAttached() || mMemory.attach(); }
    [[nodiscard]] bool Create() { return mMemory.create(kRegistrySize); }
    [[nodiscard]] qsizetype Size() const { return mMemory.size(); }
    [[nodiscard]] QByteArray Bytes()
    {
        mMemory.lock();
        const QByteArray bytes(static_cast<const char*>(mMemory.constData()), mMemory.size());
        mMemory.unlock();
        return bytes;
    }
    void SetBytes(const QByteArray& bytes)
    {
        mMemory.lock();
        Replace(bytes);
        mMemory.unlock();
    }
    // Reads, changes and writes the members under one lock. Returns the changed members.
    template <typename Change> QList<Quorvin::Util::ProcessInfo> Update(Change change)
    {
        mMemory.lock();
        QList<Quorvin::Util::ProcessInfo> processes = Quorvin::Util::Internal::ParseRegistry(
            QByteArray::fromRawData(static_cast<const char*>(mMemory.constData()), kRegistrySize));
        change(processes);
        Replace(Quorvin::Util::Internal::FormatRegistry(processes));
        mMemory.unlock();
        return processes;
    }

private:
    void Replace(const QByteArray& bytes)
    {
        std::memset(mMemory.data(), 0, static_cast<size_t>(mMemory.size()));
        std::memcpy(mMemory.data(), bytes.constData(), static_cast<size_t>(bytes.size()));
    }

    QSharedMemory mMemory;
};

// Builds the bytes of a registry by hand.
[[nodiscard]] inline QByteArray Number32(quint32 value)
{
    QByteArray bytes(4, '\0');
    qToBigEndian(value, bytes.data());
    return bytes;
}

[[nodiscard]] inline QByteArray Entry(qint64 processId, const QString& name)
{
    QByteArray bytes(8, '\0');
    qToBigEndian(processId, bytes.data());
    if (name.isNull())
        return bytes + Number32(0xFFFFFFFF);
    bytes += Number32(static_cast<quint32>(name.size() * 2));
    for (const QChar c : name) {
        bytes += static_cast<char>(c.row());
        bytes += static_cast<char>(c.cell());
    }
    return bytes;
}

[[nodiscard]] inline QByteArray Image(const QByteArray& content)
{
    return content + QByteArray(kRegistrySize - content.size(), '\0');
}

/// A process id that no process has.
inline constexpr qint64 kNobody = 0x7FFFFFF0;

} // namespace GridSupport

#endif // QVUTIL_GRIDSUPPORT_H
