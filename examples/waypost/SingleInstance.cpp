// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "SingleInstance.h"

#include <QDeadlineTimer>
#include <QLockFile>
#include <QUrl>
#include <QUuid>

#include <algorithm>

using namespace Qt::StringLiterals;
using Quorvin::Util::IPCManager;

namespace {

constexpr int kTimeoutMs = 30000; // the first instance may take a long time to start
constexpr int kFirstAttemptMs = 50;
constexpr int kLongestAttemptMs = 800;
constexpr qsizetype kMaxTaken = 1000; // fewer instances start within the time-out

//! [handover]
// A message is an XML document, but the name of a file may contain characters that XML forbids.
QString Encode(const QString& file)
{
    return QString::fromLatin1(QUrl::toPercentEncoding(file));
}

QString Decode(const QString& text)
{
    return QUrl::fromPercentEncoding(text.toLatin1());
}

bool HandOver(const QString& name, const QString& id, const QStringList& files, int timeoutMs)
{
    IPCManager manager;
    manager.ConnectToServer(name, QIODeviceBase::ReadWrite);
    if (!manager.WaitForConnectionToServer(name, timeoutMs))
        return false;
    QStringList encoded;
    for (const QString& file : files)
        encoded.append(Encode(file));
    QVariantMap answer;
    manager.SendMessageAndGetResponse(name, u"Open"_s, {{u"Id"_s, id}, {u"Files"_s, encoded}}, answer,
                                      timeoutMs);
    return answer.value(u"Taken"_s).toBool(); // false if no responder has answered
}
//! [handover]

} // namespace

//! [claim]
SingleInstance::Outcome SingleInstance::Claim(QLockFile& lock, const QString& name, const QStringList& files)
{
    lock.setStaleLockTime(0); // a lock is stale if its process has died, however old it is
    // A request may still arrive after its time-out, so the first instance ignores an id that it knows.
    const QString id = QUuid::createUuid().toString();
    const QDeadlineTimer deadline(kTimeoutMs);
    for (int timeoutMs = kFirstAttemptMs; !deadline.hasExpired();
         timeoutMs = std::min(2 * timeoutMs, kLongestAttemptMs)) {
        if (lock.tryLock(0))
            return Outcome::First;
        if (lock.error() != QLockFile::LockFailedError)
            return Outcome::First; // no process can lock it: the folder may be read-only
        // The holder of the lock may not listen yet, or may be about to exit, so try both in turn.
        if (HandOver(name, id, files, timeoutMs))
            return Outcome::HandedOver;
    }
    return Outcome::NoAnswer;
}
//! [claim]

//! [listen]
SingleInstance::SingleInstance(const QString& name, QObject* parent)
    : QObject(parent)
    , mManager(this)
{
    mManager.AddMessageResponder(this);
    mManager.StartServer(name, QIODeviceBase::ReadWrite);
}

SingleInstance::~SingleInstance()
{
    mManager.RemoveMessageResponder(this);
}

bool SingleInstance::HandleMessage(const QString& messageId, const QVariantMap& params,
                                   QVariantMap& responseParams)
{
    if (messageId != "Open"_L1)
        return false;
    responseParams.insert(u"Taken"_s, true);
    const QString id = params.value(u"Id"_s).toString();
    if (mTaken.contains(id))
        return true; // this instance was busy, so the other process has asked again
    if (!id.isEmpty()) // requests without an id, for example by qvutil ipc call, may differ
        mTaken.append(id);
    if (mTaken.size() > kMaxTaken)
        mTaken.removeFirst();
    // Opening files takes time and may show dialogs. The other process does not have to wait for that.
    QStringList files;
    const QStringList encoded = params.value(u"Files"_s).toStringList();
    for (const QString& text : encoded)
        files.append(Decode(text));
    QMetaObject::invokeMethod(
        this, [this, files] { Q_EMIT FilesReceived(files); }, Qt::QueuedConnection);
    return true;
}
//! [listen]
