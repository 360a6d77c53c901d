// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "Host.h"

#include <BooleanExpressionEvaluator.h>
#include <XmlFiler.h>

#include <QCoreApplication>
#include <QEventLoop>
#include <QTimer>

#include <memory>
#include <typeinfo>

using Quorvin::Util::IMessageResponder;
using Quorvin::Util::IPCManager;
using Quorvin::Util::Settings;
using Quorvin::Util::XmlFiler;

namespace {
class Refusal : public IMessageResponder
{
public:
    bool HandleMessage(const QString&, const QVariantMap&, QVariantMap&) override { return false; }
};

bool Refuse(const QString&, bool&)
{
    throw Refusal();
}

} // namespace

int Host::CountRun(const QString& file)
{
    Settings settings(file, QStringLiteral("Consumer"));
    const int runs = settings.ReadInt(QStringLiteral("Runs"), QStringLiteral("Count"), 0) + 1;
    settings.WriteInt(QStringLiteral("Runs"), QStringLiteral("Count"), runs);
    return runs;
}

bool Host::SharesTypesWithLibrary()
{
    const std::unique_ptr<XmlFiler> settings = std::make_unique<Settings>();
    const std::unique_ptr<XmlFiler> filer = std::make_unique<XmlFiler>();
    const XmlFiler& stored = *settings;
    IPCManager manager;
    QObject* const object = &manager;
    if (dynamic_cast<Settings*>(settings.get()) == nullptr || dynamic_cast<Settings*>(filer.get()) != nullptr
        || typeid(stored) != typeid(Settings) || qobject_cast<IPCManager*>(object) != &manager
        || !object->inherits("Quorvin::Util::IPCManager"))
        return false;

    try {
        bool value = false;
        BooleanExpressionEvaluator(Refuse).Evaluate(QStringLiteral("a & b"), value);
    } catch (const IMessageResponder& refusal) {
        return typeid(refusal) == typeid(Refusal);
    }
    return false;
}

int Host::AskItself()
{
    constexpr int timeoutMs = 20000;
    const QString name = QStringLiteral("consumer-%1").arg(QCoreApplication::applicationPid());

    IPCManager server;
    server.AddMessageResponder(this);
    connect(&server, &IPCManager::ConnectedToClient, this, [this] { ++mConnections; });
    connect(&server, SIGNAL(MessageReceived(QString, QVariantMap)), this,
            SLOT(OnMessage(QString, QVariantMap)));
    server.StartServer(name, QIODevice::ReadWrite);

    IPCManager client;
    connect(&client, &IPCManager::ConnectedToServer, this, [this] { ++mConnections; });
    client.ConnectToServer(name, QIODevice::ReadWrite);
    QVariantMap answer;
    if (!client.WaitForConnectionToServer(name, timeoutMs)
        || !client.SendMessageAndGetResponse(name, QStringLiteral("Double"), {{QStringLiteral("Number"), 21}},
                                             answer, timeoutMs))
        return -1;

    QEventLoop loop;
    connect(this, &Host::Heard, &loop, &QEventLoop::quit);
    QTimer::singleShot(timeoutMs, &loop, [&loop] { loop.exit(1); });
    client.SendMessage(QStringLiteral("Goodbye"), {});
    if (loop.exec() != 0 || mConnections != 2)
        return -1;
    server.RemoveMessageResponder(this);
    return answer.value(QStringLiteral("Number")).toInt();
}

bool Host::HandleMessage(const QString& messageId, const QVariantMap& params, QVariantMap& responseParams)
{
    if (messageId != QStringLiteral("Double"))
        return false;
    responseParams.insert(QStringLiteral("Number"), params.value(QStringLiteral("Number")).toInt() * 2);
    return true;
}

void Host::OnMessage(const QString& id, const QVariantMap&)
{
    Q_EMIT Heard(id);
}
