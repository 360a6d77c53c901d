// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "base/Clock_p.h"

#include <QDateTime>

#include <atomic>

namespace Quorvin::Util::Internal {
namespace {

constinit std::atomic<qint64 (*)()> gClock = nullptr;

} // namespace

qint64 CurrentMSecsSinceEpoch()
{
    const auto clock = gClock.load(std::memory_order_acquire);
    return clock == nullptr ? QDateTime::currentMSecsSinceEpoch() : clock();
}

void SetClockForTesting(qint64 (*clock)())
{
    gClock.store(clock, std::memory_order_release);
}

} // namespace Quorvin::Util::Internal
