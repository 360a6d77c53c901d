// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef WAYPOST_SINGLEINSTANCE_H
#define WAYPOST_SINGLEINSTANCE_H

#include <qvutil/IPCManager.h>

#include <QObject>
#include <QString>
#include <QStringList>

class QLockFile;

/// Runs one instance per user: the first one keeps a lock and a server; later ones hand over their files.
///
/// The lock decides which instance is the first, because the name of the server cannot: if two programs start
/// at the same time, exactly one gets the lock. A lock file contains the id of its process, so another
/// process can take over the lock of a killed one.
///
/// \code
/// QLockFile lock(folder + u"/instance.lock"_s);
/// if (SingleInstance::Claim(lock, name, files) != SingleInstance::Outcome::First)
///     return 0; // before any window is created
/// SingleInstance instance(name);
/// \endcode
class SingleInstance : public QObject, private Quorvin::Util::IMessageResponder
{
    Q_OBJECT
public:
    enum class Outcome {
        First, // this process holds the lock, or no process can take it: create a SingleInstance
        HandedOver, // another instance has received the files: exit
        NoAnswer, // another instance is running, but does not answer
    };

    /// Takes the lock, or hands \p files to the instance that holds it.
    /// \param lock   kept locked by the first instance for as long as it runs
    /// \param name   name of the first instance's server; the user should be part of it
    /// \param files  absolute paths, because the current folders of the instances may differ
    static Outcome Claim(QLockFile& lock, const QString& name, const QStringList& files);

    /// Starts the server for later instances.
    explicit SingleInstance(const QString& name, QObject* parent = nullptr);
    ~SingleInstance() override;

Q_SIGNALS:
    /// A later instance has handed over its files, perhaps none. Bring the window to the front.
    void FilesReceived(const QStringList& files);

private:
    bool HandleMessage(const QString& messageId, const QVariantMap& params,
                       QVariantMap& responseParams) override;

    Quorvin::Util::IPCManager mManager;
    QStringList mTaken; // ids of the requests that were taken, oldest first
};

#endif // WAYPOST_SINGLEINSTANCE_H
