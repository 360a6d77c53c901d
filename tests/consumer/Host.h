// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef CONSUMER_HOST_H
#define CONSUMER_HOST_H

#include <IPCManager.h>

#include <QObject>
#include <QString>

/// The application's class with a meta-object. It sends messages to itself through the library.
class Host : public QObject, public Quorvin::Util::IMessageResponder
{
    Q_OBJECT
public:
    /// Counts this run in a settings file. \return the number of runs so far, including this one
    static int CountRun(const QString& file);
    /// \return whether types are the same on both sides of the library boundary: for dynamic_cast,
    ///         qobject_cast, typeid, and an exception that passes through the library
    static bool SharesTypesWithLibrary();

    /// Sends a request and a message from one IPCManager to another.
    /// \return the answer; -1 if something did not arrive within 20 seconds
    int AskItself();

    bool HandleMessage(const QString& messageId, const QVariantMap& params,
                       QVariantMap& responseParams) override;

Q_SIGNALS:
    void Heard(const QString& id);

private Q_SLOTS:
    void OnMessage(const QString& id, const QVariantMap& params);

private:
    int mConnections = 0;
};

#endif // CONSUMER_HOST_H
