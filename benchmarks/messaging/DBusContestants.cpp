// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "Contestant.h"

#include <QCoreApplication>
#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusServer>
#include <QDeadlineTimer>
#include <QFile>
#include <QProcess>
#include <QStandardPaths>

#include <optional>

using namespace Qt::StringLiterals;

namespace {

const QString kPath = u"/messenger"_s;
const QString kInterface = u"org.qvutil.Messenger"_s;

QString BusAddress(const QString& address)
{
    return u"unix:path="_s + address;
}

class DBusContestant final : public Contestant
{
public:
    DBusContestant(const QDBusConnection& connection, const QString& service)
        : mConnection(connection)
        , mService(service)
    { }
    ~DBusContestant() override
    {
        QDBusConnection::disconnectFromPeer(mConnection.name());
        QDBusConnection::disconnectFromBus(mConnection.name());
    }
    Q_DISABLE_COPY_MOVE(DBusContestant)

    // The other process may not have registered its object yet.
    [[nodiscard]] bool WaitForConnection()
    {
        const QDeadlineTimer deadline(kAnswerTimeoutMs);
        while (TakeCount() < 0) {
            if (deadline.hasExpired())
                return false;
        }
        return true;
    }

    void SetParameters(const QVariantMap& params) override { mParams = params; }

    bool Ask() override
    {
        const std::optional<QVariant> answer = Call(MakeCall(u"Ask"_s) << u"Ask"_s << mParams);
        if (answer)
            mAnswer = qdbus_cast<QVariantMap>(*answer);
        return answer.has_value();
    }

    bool IsAnswered() const override { return mAnswer == mParams; }

    bool Tell() override { return mConnection.send(MakeCall(u"Tell"_s) << u"Tell"_s << mParams); }

    int TakeCount() override
    {
        const std::optional<QVariant> answer = Call(MakeCall(u"TakeCount"_s));
        return answer ? answer->toInt() : -1;
    }

private:
    [[nodiscard]] QDBusMessage MakeCall(const QString& method) const
    {
        return QDBusMessage::createMethodCall(mService, kPath, kInterface, method);
    }

    [[nodiscard]] std::optional<QVariant> Call(const QDBusMessage& message) const
    {
        const QDBusMessage reply = mConnection.call(message, QDBus::Block, kAnswerTimeoutMs);
        if (reply.type() != QDBusMessage::ReplyMessage || reply.arguments().isEmpty())
            return std::nullopt;
        return reply.arguments().constFirst();
    }

    QDBusConnection mConnection;
    QString mService;
    QVariantMap mParams;
    QVariantMap mAnswer;
};

std::unique_ptr<Contestant> Use(const QDBusConnection& connection, const QString& service)
{
    if (!connection.isConnected())
        return nullptr;
    auto contestant = std::make_unique<DBusContestant>(connection, service);
    if (!contestant->WaitForConnection())
        return nullptr;
    return contestant;
}

std::unique_ptr<Contestant> ConnectToPeer(const QString& address)
{
    return Use(QDBusConnection::connectToPeer(BusAddress(address), address), {});
}

std::unique_ptr<Contestant> ConnectToBus(const QString& address)
{
    return Use(QDBusConnection::connectToBus(BusAddress(address), address), kInterface);
}

class Messenger final : public QObject
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.qvutil.Messenger")
public Q_SLOTS:
    QVariantMap Ask(const QString& /*id*/, const QVariantMap& params) { return params; }
    void Tell(const QString& /*id*/, const QVariantMap& /*params*/) { ++mCount; }
    int TakeCount() { return std::exchange(mCount, 0); }

private:
    int mCount = 0;
};

int ServePeer(const QString& address)
{
    Messenger messenger;
    QDBusServer server(BusAddress(address));
    if (!server.isConnected())
        return 1;
    QObject::connect(&server, &QDBusServer::newConnection, &messenger, [&](QDBusConnection connection) {
        connection.registerObject(kPath, &messenger, QDBusConnection::ExportAllSlots);
    });
    AnnounceReady();
    return QCoreApplication::exec();
}

// Starts a private bus, which carries no other traffic.
bool StartBus(QProcess& daemon, const QString& address)
{
    QFile config(address + u".conf"_s);
    if (!config.open(QIODevice::WriteOnly))
        return false;
    config.write("<busconfig><type>session</type><auth>EXTERNAL</auth><listen>" + BusAddress(address).toUtf8()
                 + "</listen><policy context='default'><allow send_destination='*'/><allow "
                   "receive_sender='*'/><allow own='*'/></policy>"
                   "</busconfig>");
    config.close();
    daemon.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    daemon.start(u"dbus-daemon"_s,
                 {u"--nofork"_s, u"--print-address"_s, u"--config-file"_s, config.fileName()});
    return daemon.waitForReadyRead(kAnswerTimeoutMs); // the daemon prints its address when it listens
}

int ServeBus(const QString& address)
{
    QProcess daemon;
    if (!StartBus(daemon, address))
        return 1;
    Messenger messenger;
    QDBusConnection connection = QDBusConnection::connectToBus(BusAddress(address), address);
    if (!connection.registerService(kInterface)
        || !connection.registerObject(kPath, &messenger, QDBusConnection::ExportAllSlots))
        return 1;
    AnnounceReady();
    const int result = QCoreApplication::exec();
    daemon.terminate();
    daemon.waitForFinished();
    return result;
}

} // namespace

std::vector<ContestantKind> GetDBusKinds()
{
    std::vector<ContestantKind> kinds = {{"QtDBus, peer to peer", ConnectToPeer, ServePeer}};
    if (!QStandardPaths::findExecutable(u"dbus-daemon"_s).isEmpty())
        kinds.push_back({"QtDBus, over the bus", ConnectToBus, ServeBus});
    return kinds;
}

#include "DBusContestants.moc"
