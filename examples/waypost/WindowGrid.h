// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef WAYPOST_WINDOWGRID_H
#define WAYPOST_WINDOWGRID_H

#include "XmlText.h"

#include <qvutil/IPCManager.h>

#include <QList>
#include <QObject>
#include <QSet>
#include <QString>
#include <QTimer>

#include <functional>
#include <optional>

/// Finds the windows of this user's Waypost processes, and sends messages to them.
///
/// In a grid, processes find each other's servers. A server talks to one client at a time, so members that
/// stayed connected to the oldest member would displace each other. Therefore no member stays connected:
/// each message is sent to the receiver's server over a new connection (see Courier).
class WindowGrid : public QObject, private Quorvin::Util::IMessageResponder
{
    Q_OBJECT
public:
    struct Window
    {
        qint64 ProcessId = 0;
        QString ServerName;
        QString Title; // empty until the window has answered

        bool operator==(const Window&) const = default;
    };

    /// Joins the grid. If another process keeps its registry locked, the window joins when it is unlocked.
    explicit WindowGrid(const QString& grid, QObject* parent = nullptr);
    ~WindowGrid() override;

    /// Returns the other windows, oldest first.
    [[nodiscard]] const QList<Window>& Others() const { return mOthers; }
    /// Sets the title that other windows receive when they ask for it.
    void SetTitle(const QString& title) { mTitle = XmlText(title); } // a message is an XML document
    /// Asks all windows for their titles. OthersChanged is emitted for each title that has changed.
    void AskTitles();
    /// Brings a window to the front.
    void Raise(qint64 processId);
    /// Sends a tour to a window. TourSent is emitted with the result.
    void SendTour(qint64 processId, const QString& xml);

Q_SIGNALS:
    /// A window was opened, closed or killed, or has changed its title.
    void OthersChanged();
    /// Another window asks this one to come to the front.
    void RaiseWanted();
    void TourReceived(const QString& xml);
    void TourSent(const QString& windowTitle, bool taken);

private:
    using Done = std::function<void(const std::optional<QVariantMap>&)>;

    bool HandleMessage(const QString& messageId, const QVariantMap& params,
                       QVariantMap& responseParams) override;
    void Join();
    void LookAround();
    [[nodiscard]] QList<Quorvin::Util::ProcessInfo> ReadMembers();
    void AskTitle(const Window& asked);
    void Ask(qint64 processId, const QString& question, const QVariantMap& params, const Done& done);

    Quorvin::Util::IPCManager mManager;
    QString mGrid;
    bool mIsMember = false; // the registry lists this process
    QString mTitle;
    QList<Window> mOthers;
    QSet<QString> mReceived; // ids of the tours that have arrived
    QTimer mLookTimer;
};

/// Sends one request to a server, over a new connection, and deletes itself after the answer.
///
/// If the connection is lost, the request is sent again, so it may arrive twice.
class Courier : public QObject
{
    Q_OBJECT
public:
    using Done = std::function<void(const std::optional<QVariantMap>& answer)>;

    /// \param done  called once: with the answer, or with nothing if none has arrived after 4 seconds. If
    ///              another courier is still waiting then, the call follows when that one has finished.
    Courier(const QString& server, const QString& question, const QVariantMap& params, Done done,
            QObject* parent);

private:
    void Ask();
    void Finish(const std::optional<QVariantMap>& answer);

    Quorvin::Util::IPCManager mManager;
    QString mQuestion;
    QVariantMap mParams;
    Done mDone;
    bool mIsAsking = false;
    QTimer mTimeout;
};

#endif // WAYPOST_WINDOWGRID_H
