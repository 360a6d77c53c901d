// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_IPCMANAGER_H
#define QVUTIL_IPCMANAGER_H

#include "IPC.h"
#include "QvUtilGlobal.h"

#include <QtCore/QIODevice>
#include <QtCore/QList>
#include <QtCore/QObject>
#include <QtCore/QString>
#include <QtCore/QVariant>
#include <QtNetwork/QLocalSocket>

#include <memory>

namespace Quorvin::Util {

/// One member of a grid.
/// \since QvUtil 1.0
struct ProcessInfo
{
    qint64 ProcessId = 0; ///< process id of the member
    QString ServerName; ///< name of the member's server
};

/// Exchanges messages with other processes of the same user on the same machine, through one server, one
/// client, and a grid.
///
/// A *message* has a name and a map of typed parameters; PackMessage lists the types. A *request* is a
/// message whose sender waits for an answer: the receiving server asks its IMessageResponder objects for it.
///
/// The *server* listens under a name: either the name of a socket file in the folder for temporary files, or
/// an absolute path. The whole path, including the folder, is limited to about 100 bytes. Only processes of
/// the same user, and of root, can connect. The server has one client at a time; a new client displaces the
/// previous one. The *client* connects to one server. It tries once a second until it succeeds, and again
/// when the connection is lost. It accepts only servers that run as the same user or as root.
///
/// A *grid* is a group of processes that find each other by a common name. Each member runs a server, and
/// connects to the oldest member that was alive when it joined. Messages are not forwarded to other members.
///
/// A message travels as a *frame*, which is an XML document. As long as the connection lasts, frames of up to
/// 32 KiB always arrive. Larger frames arrive up to a limit that depends on the system's socket buffers, and
/// is usually more than 256 KiB. Messages sent without a connection are dropped.
///
/// \code
/// IPCManager manager;
/// manager.AddMessageResponder(&responder);
/// manager.StartServer(u"viewer"_s, QIODeviceBase::ReadWrite);
///
/// IPCManager other; // in another process
/// other.ConnectToServer(u"viewer"_s, QIODeviceBase::ReadWrite);
/// QVariantMap answer;
/// if (other.WaitForConnectionToServer(u"viewer"_s, 5000))
///     other.SendMessageAndGetResponse(u"viewer"_s, u"Open"_s, {{u"file"_s, path}}, answer, 5000);
/// \endcode
///
/// \par Failures
/// Most operations only start something and return before it can fail. Warnings in the logging category
/// `qvutil` say why a server does not listen or rejects a client, which message may be too large to arrive,
/// and why a process was not registered in a grid. `qvutil ipc doctor NAME` examines a server from outside.
///
/// \par Threads
/// Use the object only in the thread that it lives in (QObject::thread). Called from another thread, an
/// operation does nothing, logs a line in the category "qvutil", and returns false or an empty list. The
/// owner thread needs an event loop for messages to arrive, and a QCoreApplication, which may be destroyed
/// before the object. Sockets are served by worker threads; signals are emitted and responders called in the
/// owner thread.
///
/// \par Waiting
/// Operations that wait run an event loop that excludes user input. Slots and responders are called during
/// the wait. They may send messages, disconnect, stop the server, or delete the manager. If they call an
/// operation that would have to wait as well, it returns at once: SendMessage returns true, the others return
/// false. If the application or the thread quits, the wait ends. With exit code 0, the wait then returns true
/// although nothing has arrived.
/// \since QvUtil 1.0
class QVUTIL_EXPORT IPCManager : public QObject
{
    Q_OBJECT
public:
    /// Constructs a manager without a server, client or grid.
    IPCManager();
    /// Constructs a manager with a parent.
    /// \param parent  owns and deletes the manager, and must live in the same thread; may be null
    explicit IPCManager(QObject* parent);
    /// Leaves the grid, stops the server and disconnects. Waits for the worker threads to end, as StopServer
    /// does, and up to 5 seconds for the lock of the grid.
    ~IPCManager() override;
    Q_DISABLE_COPY_MOVE(IPCManager)

    /// \name Server
    /// @{

    /// Starts the server. Does nothing if it is running.
    ///
    /// This operation does not wait until the server listens; IsServerListening returns whether it does. If
    /// the server cannot listen, a line is logged in the category "qvutil", and no client can connect. Each
    /// start connects the signals again: after StopServer and a second start, every message is announced
    /// twice.
    /// \param serverName  the name. If another server uses it, this server takes it over. A file that is not
    ///                    a socket is not replaced, and no client can then connect.
    /// \param mode        with ReadOnly, messages and connections are announced by signals. With WriteOnly,
    ///                    SendMessage sends to the server's client. Requests are answered in every mode.
    /// \return false if the signals could not be connected
    bool StartServer(const QString& serverName, QIODeviceBase::OpenMode mode);
    /// Stops the server, if there is one. Messages that have arrived but were not yet announced are lost, and
    /// the client's disconnection is not announced.
    ///
    /// Waits for the worker thread to end. If that thread is parsing a frame, it finishes that frame first,
    /// which takes seconds for a hostile frame of several megabytes.
    /// \return true
    bool StopServer();
    /// Returns whether the server is started. It need not be listening; see IsServerListening.
    /// \return false if it was never started, or has been stopped
    [[nodiscard]] bool IsServerRunning() const;
    /// Returns whether clients can connect to the server: whether it listens, and its name leads to it.
    ///
    /// StartServer does not wait for this; the result becomes true shortly afterwards, without a signal. If
    /// the socket file is deleted, the result is false until the server listens again some seconds later. If
    /// a client cannot be accepted, for example because the process has run out of file descriptors, the
    /// server stops listening and begins again some seconds later; until then, the result may still be true.
    /// If another server or another file has taken the name, the result stays false. A connected client stays
    /// connected in all these cases.
    /// \return false if the server is not started, does not listen yet, or cannot listen on its name, or if
    ///         its socket file is gone
    [[nodiscard]] bool IsServerListening() const;
    /// Returns whether a client of the server is connected, as far as the signals have announced it.
    /// \return false if there is no client or no server
    [[nodiscard]] bool IsConnectedToAnyClient() const;

    /// @}
    /// \name Client
    /// There is only one client, so only ConnectToServer uses \a serverName. The other operations ignore it.
    /// @{

    /// Connects to a server, and reconnects whenever the connection is lost. Does not wait for the
    /// connection. Does nothing if there is a client, even for another server; call DisconnectFromServer
    /// first.
    /// \param serverName  the name that the server was started with
    /// \param mode        must contain WriteOnly to send messages, and ReadOnly to receive messages and
    ///                    answers
    /// \return true
    bool ConnectToServer(const QString& serverName, QIODeviceBase::OpenMode mode);
    /// Waits until the client is connected.
    /// \param serverName  ignored
    /// \param timeoutMs   in milliseconds; if negative, there is no time-out
    /// \return true at once if the client is already connected; false after the time-out, if another wait is
    ///         running, or if ConnectToServer was not called
    bool WaitForConnectionToServer(const QString& serverName, int timeoutMs);
    /// Disconnects and deletes the client. The disconnection is not announced.
    /// \param serverName  ignored
    /// \return false if there was no client
    bool DisconnectFromServer(const QString& serverName);
    /// Returns whether the client is connected.
    /// \param serverName  ignored
    /// \return false if it is not connected, or if there is no client
    [[nodiscard]] bool IsConnectedToServer(const QString& serverName) const;

    /// @}
    /// \name Messages
    /// @{

    /// Sends a message to the server's client, if the server was started with WriteOnly, and to the server
    /// that the client is connected to. The message is dropped where there is no connection.
    /// \param id      name of the message
    /// \param params  parameters of the types that PackMessage lists; others arrive as invalid values
    /// \return true, even if the message was dropped
    bool SendMessage(const QString& id, const QVariantMap& params);
    /// Sends a message, and optionally waits until the client has written it to its socket.
    /// \param id           name of the message
    /// \param params       parameters of the types that PackMessage lists; others arrive as invalid values
    /// \param waitForSent  whether to wait, for up to 15 seconds
    /// \return true, even if the message was dropped
    bool SendMessage(const QString& id, const QVariantMap& params, bool waitForSent);
    /// Sends a request to the server that the client is connected to, and waits for the answer.
    /// \param serverName  ignored
    /// \param id          name of the request
    /// \param params      parameters, as for SendMessage; may be the same map as \p response
    /// \param response    set to the answer's parameters; empty if there was no answer, unchanged if there is
    ///                    no client
    /// \param timeoutMs   in milliseconds; if negative, 30 seconds
    /// \return false if there is no connection, no answer arrived in time, or another wait is running. If the
    ///         connection is lost and restored during the wait, the result is true, without an answer.
    bool SendMessageAndGetResponse(const QString& serverName, const QString& id, const QVariantMap& params,
                                   QVariantMap& response, int timeoutMs);
    /// Registers an object that answers the requests that reach the server. The server need not be started.
    /// \param responder  not owned; does nothing if it is null or already registered
    void AddMessageResponder(IMessageResponder* responder);
    /// Unregisters a responder. Call this before the responder is deleted.
    /// \param responder  does nothing if it is not registered
    void RemoveMessageResponder(IMessageResponder* responder);

    /// @}
    /// \name Grid
    /// The registry is the shared memory in which the members of a grid are listed. The operations on it are
    /// meant for tools, and act on the grid that CreateGridConnection named last.
    /// @{

    /// Joins a grid: starts a server under a generated name, connects to the oldest member that is alive,
    /// prunes dead entries from the registry, and registers this process. Does nothing if this object is
    /// already a member of a grid.
    ///
    /// If another process keeps the registry locked for 5 seconds (0.1 seconds if such a wait has failed in
    /// the last 10 seconds), or if the registry is full, the server is started but this process is not
    /// registered, and a line is logged in the category "qvutil". If the registry was locked, a later call
    /// tries again.
    /// \param gridName  name of the grid. The server's name consists of this name, the program's name and the
    ///                  process id.
    /// \param mode      as for StartServer and ConnectToServer
    /// \return true
    bool CreateGridConnection(const QString& gridName, QIODeviceBase::OpenMode mode);
    /// Leaves the grid, stops the server and deletes the client.
    /// \return true
    bool DeleteAllConnections();
    /// Attaches to the registry, and creates it if necessary.
    /// \return false if that failed, or if no grid was named
    bool CreateSharedMemory();
    /// Attaches to the registry.
    /// \return false if there is none, or if no grid was named
    bool AttachToSharedMemory();
    /// Reads the registry.
    /// \return the members, oldest first; empty if there is no registry or it stays locked. If it is damaged,
    ///         the members before the damage.
    [[nodiscard]] QList<ProcessInfo> ReadFromSharedMemory();
    /// Replaces the registry's content.
    /// \param processes  the members, oldest first
    /// \return false, with the registry unchanged, if there is none, if it stays locked, or if the members do
    ///         not fit into its 8192 bytes
    bool WriteToSharedMemory(const QList<ProcessInfo>& processes);

    /// @}

Q_SIGNALS:
    /// A message arrived, through the server or the client. Requests and answers are not announced.
    void MessageReceived(QString id, QVariantMap paramMap);
    /// A client connected to the server. Use \p socket only to distinguish clients: it belongs to a worker
    /// thread, and may already be deleted.
    void ConnectedToClient(QLocalSocket* socket);
    /// A client disconnected from the server. Use \p socket as in ConnectedToClient.
    void DisconnectedFromClient(QLocalSocket* socket);
    /// The client connected to the server \p name.
    void ConnectedToServer(QString name);
    /// The client lost its connection to the server \p name. It tries to reconnect.
    void DisconnectedFromServer(QString name);

private:
    class Private;

    const std::unique_ptr<Private> mPrivate;
};

} // namespace Quorvin::Util

#endif // QVUTIL_IPCMANAGER_H
