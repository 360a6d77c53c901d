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
struct ProcessInfo
{
    qint64 ProcessId = 0; ///< the member's process id
    QString ServerName; ///< the name at which the member's server listens
};

/// Exchanges messages with other processes of the same machine: one server, one client, and the grid.
///
/// A *message* is a name and a map of typed parameters (PackMessage tells which types). It either is sent and
/// forgotten, or is a *request*: the IMessageResponder objects at the receiving end are asked for an answer,
/// and the sender waits for it.
///
/// The *server* publishes an endpoint under a name (a socket file in the folder for temporary files, or an
/// absolute path; about 100 bytes in all, fewer on macOS) which only the same user can reach. It talks to one
/// client at a time: a new one replaces the one before. The *client* connects to one server, and does so
/// again whenever the connection is lost, once a second. It talks only to servers that run as the same user
/// or as root.
///
/// A *grid* is a group of processes that find one another by a common name. Each member runs a server, and
/// connects to the oldest member alive when it joined. Messages travel one hop: nothing is forwarded.
///
/// A document of up to 32 KiB always arrives; larger ones do up to a size that follows from the system's
/// limit for socket buffers (more than 256 KiB usually). A message to nobody is dropped.
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
/// \par Threads
/// One thread, the one that the object lives in; it needs an event loop for messages to arrive, and a
/// QCoreApplication, which may end before the object does. An operation that another thread calls does
/// nothing, logs one line in the category "qvutil" and returns false, or an empty list. Sockets are served by
/// threads of their own. All signals are emitted, and responders asked, in the object's thread.
///
/// The operations that wait run an event loop that leaves out user input: slots and responders are called
/// meanwhile. They may send messages (a wait within a wait fails at once), disconnect, stop the server, or
/// delete the manager. When the application or the thread is told to quit meanwhile, the wait ends as well:
/// with code 0, the usual one, its result is true although nothing has come.
class QVUTIL_EXPORT IPCManager : public QObject
{
    Q_OBJECT
public:
    /// Makes a manager without server, client and grid.
    IPCManager();
    /// Makes a manager that belongs to another object.
    /// \param parent  deletes the manager when it is deleted itself; it must live in the same thread. May be
    ///                null.
    explicit IPCManager(QObject* parent);
    /// Leaves the grid, stops the server and disconnects. Waits for the threads to end.
    ~IPCManager() override;
    Q_DISABLE_COPY_MOVE(IPCManager)

    // Server

    /// Starts the server. It does not wait until the server listens, and a name that cannot be listened on
    /// gives a server that nobody reaches, and a line in the log category "qvutil". With the server started,
    /// nothing changes.
    ///
    /// A server that is stopped and started again announces each message and connection once more for each
    /// start.
    /// \param serverName  the name; a server that has it loses it to this one. A file that is no socket is
    ///                    not replaced: nobody can connect then.
    /// \param mode        ReadOnly in it: messages and connections are announced by signals. WriteOnly in it:
    ///                    SendMessage sends to the server's client. Requests are answered in any mode.
    /// \return false if the signals could not be connected
    bool StartServer(const QString& serverName, QIODeviceBase::OpenMode mode);
    /// Stops the server, if there is one. What has arrived but was not yet announced is lost; the client's
    /// disconnection is not announced. \return true
    bool StopServer();
    /// \return whether the server is started; it need not listen (see IsServerListening)
    [[nodiscard]] bool IsServerRunning() const;
    /// Returns whether clients can connect to the server: it listens, and its name leads to it. StartServer
    /// does not wait for that, so this becomes true shortly afterwards, without a signal.
    ///
    /// The call looks at the socket's file. If somebody has deleted the file, the result is false at once;
    /// the server listens again within some seconds, and the result is true again. It stays false if another
    /// server, or another file, has taken the name. A connected client stays connected in both cases.
    /// \return false if the server is not started, does not listen yet, cannot listen on its name, or has
    ///         lost its file; also if another thread calls
    [[nodiscard]] bool IsServerListening() const;
    /// \return whether a client was announced that was not announced as gone
    [[nodiscard]] bool IsConnectedToAnyClient() const;

    // Client

    /// Connects to a server, without waiting for it, now and whenever the connection is lost. With a client
    /// already there, nothing changes, whatever the name.
    /// \param serverName  the name that the server was started with
    /// \param mode        must hold WriteOnly for messages to be sent, and ReadOnly for messages and answers
    ///                    to be received
    /// \return true
    bool ConnectToServer(const QString& serverName, QIODeviceBase::OpenMode mode);
    /// Waits for the client to be connected.
    /// \param serverName  not looked at
    /// \param timeoutMs   milliseconds; negative waits without limit
    /// \return false if the time is over, another wait is running, or ConnectToServer was not called
    bool WaitForConnectionToServer(const QString& serverName, int timeoutMs);
    /// Disconnects and deletes the client. The disconnection is not announced.
    /// \param serverName  not looked at
    /// \return whether there was a client
    bool DisconnectFromServer(const QString& serverName);
    /// \param serverName  not looked at
    /// \return whether the client is connected
    [[nodiscard]] bool IsConnectedToServer(const QString& serverName) const;

    // Messages

    /// Sends a message to the server's client, if the server was started to write, and to the server that the
    /// client is connected to. Where there is no connection it is dropped.
    /// \param id      the message's name
    /// \param params  of the types that messages carry; values of others arrive invalid
    /// \return true
    bool SendMessage(const QString& id, const QVariantMap& params);
    /// Sends a message.
    /// \param id           the message's name
    /// \param params       as above
    /// \param waitForSent  whether to wait up to 15 seconds until the client has written it
    /// \return true
    bool SendMessage(const QString& id, const QVariantMap& params, bool waitForSent);
    /// Sends a request to the server that the client is connected to, and waits for the answer.
    /// \param serverName  not looked at
    /// \param id          the request's name
    /// \param params      as for SendMessage; it may be the same map as \p response
    /// \param response    set to the answer's parameters; empty if no answer came, unchanged without a client
    /// \param timeoutMs   milliseconds; negative waits for 30 seconds
    /// \return false without client or connection, if no answer came in time, or if another wait is running.
    ///         A connection that was lost and comes back ends the wait with true, and without an answer.
    bool SendMessageAndGetResponse(const QString& serverName, const QString& id, const QVariantMap& params,
                                   QVariantMap& response, int timeoutMs);
    /// Registers an object that answers requests to the server; it may be done before the server is started.
    /// \param responder  not owned; null, and one that is registered, change nothing
    void AddMessageResponder(IMessageResponder* responder);
    /// Removes a responder; to be called before it is deleted.
    /// \param responder  one that is not registered changes nothing
    void RemoveMessageResponder(IMessageResponder* responder);

    // Grid

    /// Joins a grid: starts a server under a name of its own, connects to the oldest member that runs,
    /// removes those that have died from the registry, and enters this process. With a grid joined, nothing
    /// changes.
    ///
    /// Another process that keeps the grid locked is waited for, 5 seconds at most. After that the server is
    /// started all the same, but this process is not entered in the registry; a line in the log category
    /// "qvutil" says so, and a later call tries again.
    /// \param gridName  with the program's name and the process id it makes the server's name
    /// \param mode      as for StartServer and ConnectToServer
    /// \return true
    bool CreateGridConnection(const QString& gridName, QIODeviceBase::OpenMode mode);
    /// Leaves the grid, stops the server and deletes the client. \return true
    bool DeleteAllConnections();

    // The grid's registry: for tools. The grid is the one that CreateGridConnection named last.

    /// Attaches to the registry, or makes it.
    /// \return false if neither is possible, or no grid was named
    bool CreateSharedMemory();
    /// Attaches to the registry. \return false if there is none, or no grid was named
    bool AttachToSharedMemory();
    /// Reads the registry.
    /// \return its members, the oldest first; empty if there is no registry. Where its content is damaged,
    ///         those before the damage.
    [[nodiscard]] QList<ProcessInfo> ReadFromSharedMemory();
    /// Replaces the registry's content.
    /// \param processes  the members, the oldest first
    /// \return false if there is no registry, or if the members do not fit its 8192 bytes; it is unchanged
    ///         then
    bool WriteToSharedMemory(const QList<ProcessInfo>& processes);

Q_SIGNALS:
    /// A message came that wants no answer, over the server or the client.
    void MessageReceived(QString id, QVariantMap paramMap);
    /// A client has connected to the server. The socket tells clients apart and must not be used: it belongs
    /// to another thread, and may be gone.
    void ConnectedToClient(QLocalSocket* socket);
    /// A client of the server is gone.
    void DisconnectedFromClient(QLocalSocket* socket);
    /// The client has connected to the server \p name.
    void ConnectedToServer(QString name);
    /// The client has lost the server \p name. It goes on trying to connect.
    void DisconnectedFromServer(QString name);

private:
    class Private;

    const std::unique_ptr<Private> mPrivate;
};

} // namespace Quorvin::Util

#endif // QVUTIL_IPCMANAGER_H
