// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_MAILBOX_P_H
#define QVUTIL_MAILBOX_P_H

// Internal, not API: may change in any version.

#include <QCoreApplication>
#include <QEvent>
#include <QObject>

#include <iterator>
#include <mutex>
#include <utility>
#include <vector>

namespace Quorvin::Util::Internal {

/// Hands items to an object that lives in another thread, in order. One event announces all items that the
/// object has not yet taken, because an event for each item would cost more than handling most items.
/// An event may also arrive when there is nothing to take.
///
/// \par Threads
/// Any thread can call Add. Everything else is for the receiver's thread only.
template <typename Item> class Mailbox
{
public:
    /// The type of the event that announces items to the receiver.
    static constexpr QEvent::Type kEvent = QEvent::User;

    /// Starts closed.
    Mailbox() = default;
    Q_DISABLE_COPY_MOVE(Mailbox)
    /// \param receiver  takes the items in its customEvent; must call Close before it is destroyed, unless it
    ///                  owns the mailbox
    void Open(QObject* receiver)
    {
        {
            const std::scoped_lock lock(mReceiverLock, mLock);
            mReceiver = receiver;
            mIsAnnounced = !mItems.empty(); // an event that was posted before Close might never arrive
            if (!mIsAnnounced)
                return;
        }
        Announce();
    }

    /// Adds an item, unless the mailbox is closed. Any thread.
    void Add(Item item)
    {
        {
            const std::lock_guard lock(mLock);
            if (mReceiver == nullptr)
                return;
            mItems.push_back(std::move(item));
            if (std::exchange(mIsAnnounced, true))
                return;
        }
        Announce();
    }
    /// Appends all items to \p taken. The next Add or CallAgain posts an event again.
    template <typename Container> void TakeAll(Container& taken)
    {
        std::vector<Item> items;
        {
            const std::lock_guard lock(mLock);
            mIsAnnounced = false;
            items.swap(mItems);
        }
        taken.insert(taken.end(), std::make_move_iterator(items.begin()),
                     std::make_move_iterator(items.end()));
    }
    /// Posts an event even if there is nothing to take.
    void CallAgain()
    {
        {
            const std::lock_guard lock(mLock);
            if (std::exchange(mIsAnnounced, true))
                return;
        }
        Announce();
    }
    /// Drops all items, including those that are added later.
    void Close()
    {
        const std::scoped_lock lock(mReceiverLock, mLock);
        mReceiver = nullptr;
        mItems.clear();
    }

private:
    // Posting the event wakes the receiver's thread, which calls TakeAll at once. So mLock must not be held
    // here: that thread would go to sleep again.
    void Announce()
    {
        const std::lock_guard lock(mReceiverLock);
        if (mReceiver != nullptr)
            QCoreApplication::postEvent(mReceiver, new QEvent(kEvent));
    }

    // Not QMutexes, because race detectors cannot see inside them.
    std::mutex mReceiverLock; // keeps the receiver alive while an event is posted
    std::mutex mLock; // guards everything else
    QObject* mReceiver = nullptr; // null while closed; either lock allows reading, both allow writing
    std::vector<Item> mItems;
    bool mIsAnnounced = false; // an event is posted, or is about to be, and not yet handled
};

} // namespace Quorvin::Util::Internal

#endif // QVUTIL_MAILBOX_P_H
