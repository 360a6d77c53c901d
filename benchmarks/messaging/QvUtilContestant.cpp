// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "Contestant.h"

#include <qvutil/IPCManager.h>

#include <QCoreApplication>

using namespace Qt::StringLiterals;
using namespace Quorvin::Util;

namespace {

class QvUtilContestant final : public Contestant
{
public:
    explicit QvUtilContestant(const QString& name)
        : mName(name)
    {
        mManager.ConnectToServer(name, QIODeviceBase::ReadWrite);
    }

    [[nodiscard]] bool WaitForConnection()
    {
        return mManager.WaitForConnectionToServer(mName, kAnswerTimeoutMs);
    }

    void SetParameters(const QVariantMap& params) override { mParams = params; }

    bool Ask() override { return Ask(u"Ask"_s, mParams); }

    bool IsAnswered() const override { return mAnswer == mParams; }

    bool Tell() override { return mManager.SendMessage(u"Tell"_s, mParams); }

    int TakeCount() override { return Ask(u"Count"_s, {}) ? mAnswer.value(u"count"_s, -1).toInt() : -1; }

private:
    bool Ask(const QString& id, const QVariantMap& params)
    {
        return mManager.SendMessageAndGetResponse(mName, id, params, mAnswer, kAnswerTimeoutMs);
    }

    QString mName;
    IPCManager mManager;
    QVariantMap mParams;
    QVariantMap mAnswer;
};

std::unique_ptr<Contestant> Connect(const QString& address)
{
    auto contestant = std::make_unique<QvUtilContestant>(address);
    if (!contestant->WaitForConnection())
        return nullptr;
    return contestant;
}

class Responder final : public IMessageResponder
{
public:
    bool HandleMessage(const QString& messageId, const QVariantMap& params,
                       QVariantMap& responseParams) override
    {
        if (messageId == "Count"_L1)
            responseParams.insert(u"count"_s, std::exchange(Count, 0));
        else
            responseParams = params;
        return true;
    }

    int Count = 0;
};

int Serve(const QString& address)
{
    Responder responder;
    IPCManager manager;
    manager.AddMessageResponder(&responder);
    QObject::connect(&manager, &IPCManager::MessageReceived, &manager, [&] { ++responder.Count; });
    manager.StartServer(address, QIODeviceBase::ReadWrite);
    AnnounceReady();
    return QCoreApplication::exec();
}

} // namespace

std::vector<ContestantKind> GetQvUtilKinds()
{
    return {{"QvUtil", Connect, Serve}};
}
