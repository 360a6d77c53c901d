// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef WAYPOST_WINDOWGRID_H
#define WAYPOST_WINDOWGRID_H

#include <qvutil/IPCManager.h>

#include <QList>
#include <QObject>
#include <QString>
#include <QTimer>

#include <functional>
#include <optional>

/// The windows of this user's Waypost processes: who is there, what they show, and messages to one of them.
///
/// A grid is good at one thing: its members find one another's names. A server talks to one client at a time,
/// so members that all stayed connected to the oldest would push each other out. Hence nobody stays
/// connected: a message goes to the server of its receiver, over a connection made for it (see Courier).
class WindowGrid : public QObject, private Quorvin::Util::IMessageResponder
{
    Q_OBJECT
public:
    struct Window
    {
        qint64 ProcessId = 0;
        QString ServerName;
        QString Title; // empty until the window has told it

        bool operator==(const Window&) const = default;
    };

    /// Joins the grid.
    explicit WindowGrid(const QString& grid, QObject* parent = nullptr);
    ~WindowGrid() override;

    /// The other windows, the oldest first.
    [[nodiscard]] const QList<Window>& Others() const { return mOthers; }
    /// What the others are told when they ask for this window's title.
    void SetTitle(const QString& title) { mTitle = title; }
    /// Asks all windows for their titles. OthersChanged tells of those that are new.
    void AskTitles();
    /// Brings a window to the front.
    void Raise(qint64 processId);
    /// Sends a tour to a window. TourSent tells whether it has arrived.
    void SendTour(qint64 processId, const QString& xml);

Q_SIGNALS:
    /// A window was opened, closed or killed, or has another title.
    void OthersChanged();
    /// Another window wants this one to come to the front.
    void RaiseWanted();
    void TourReceived(const QString& xml);
    void TourSent(const QString& windowTitle, bool taken);

private:
    using Done = std::function<void(const std::optional<QVariantMap>&)>;

    bool HandleMessage(const QString& messageId, const QVariantMap& params,
                       QVariantMap& responseParams) override;
    void LookAround();
    void AskTitle(const Window& window);
    void Ask(qint64 processId, const QString& question, const QVariantMap& params, const Done& done);

    Quorvin::Util::IPCManager mManager;
    QString mTitle;
    QList<Window> mOthers;
    QTimer mTimer;
};

/// Asks a server one question over a connection of its own, and then deletes itself.
class Courier : public QObject
{
    Q_OBJECT
public:
    using Done = std::function<void(const std::optional<QVariantMap>& answer)>;

    /// \param done  called once, with nothing if no answer came
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
