// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "Contestant.h"
#include "rep_messenger_merged.h"

#include <QCoreApplication>
#include <QRemoteObjectHost>
#include <QRemoteObjectNode>
#include <QUrl>

using namespace Qt::StringLiterals;

namespace {

QUrl UrlOf(const QString& address)
{
    return QUrl(u"local:"_s + address);
}

class RemoteObjectsContestant final : public Contestant
{
public:
    RemoteObjectsContestant(const QString& address, bool waits)
        : mWaits(waits)
    {
        mNode.connectToNode(UrlOf(address));
        mReplica.reset(mNode.acquire<MessengerReplica>());
    }

    [[nodiscard]] bool WaitForConnection() { return mReplica->waitForSource(kAnswerTimeoutMs); }

    void SetParameters(const QVariantMap& params) override { mParams = params; }

    bool Ask() override
    {
        QRemoteObjectPendingReply<QVariantMap> reply = mReplica->Ask(u"Ask"_s, mParams);
        const bool answered = reply.waitForFinished(kAnswerTimeoutMs);
        mAnswer = reply.returnValue();
        return answered;
    }

    bool IsAnswered() const override { return mAnswer == mParams; }

    bool Tell() override
    {
        if (!mWaits) {
            mReplica->Tell(u"Tell"_s, mParams);
            return true;
        }
        return mReplica->TellAndConfirm(u"Tell"_s, mParams).waitForFinished(kAnswerTimeoutMs);
    }

    int TakeCount() override
    {
        QRemoteObjectPendingReply<int> reply = mReplica->TakeCount();
        return reply.waitForFinished(kAnswerTimeoutMs) ? reply.returnValue() : -1;
    }

private:
    bool mWaits;
    QRemoteObjectNode mNode;
    std::unique_ptr<MessengerReplica> mReplica;
    QVariantMap mParams;
    QVariantMap mAnswer;
};

template <bool Waits> std::unique_ptr<Contestant> Connect(const QString& address)
{
    auto contestant = std::make_unique<RemoteObjectsContestant>(address, Waits);
    if (!contestant->WaitForConnection())
        return nullptr;
    return contestant;
}

class Messenger final : public MessengerSimpleSource
{
public:
    QVariantMap Ask(QString /*id*/, QVariantMap params) override { return params; }
    void Tell(QString /*id*/, QVariantMap /*params*/) override { ++mCount; }
    bool TellAndConfirm(QString /*id*/, QVariantMap /*params*/) override
    {
        ++mCount;
        return true;
    }
    int TakeCount() override { return std::exchange(mCount, 0); }

private:
    int mCount = 0;
};

int Serve(const QString& address)
{
    Messenger messenger;
    QRemoteObjectHost host(UrlOf(address));
    if (!host.enableRemoting(&messenger))
        return 1;
    AnnounceReady();
    return QCoreApplication::exec();
}

} // namespace

std::vector<ContestantKind> GetRemoteObjectsKinds()
{
    return {{"QtRemoteObjects", Connect<true>, Serve},
            {"QtRemoteObjects, not waiting", Connect<false>, Serve}};
}
