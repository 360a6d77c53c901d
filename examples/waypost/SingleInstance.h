// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef WAYPOST_SINGLEINSTANCE_H
#define WAYPOST_SINGLEINSTANCE_H

#include <qvutil/IPCManager.h>

#include <QObject>
#include <QString>
#include <QStringList>

class QLockFile;

/// One program per user: the first instance keeps a lock and listens; later ones hand it their files.
///
/// The lock decides, not the name that is listened on: of two programs that start at the same moment exactly
/// one gets the lock. The system knows that the process that holds a lock has died, so one that was killed
/// blocks nobody.
///
/// \code
/// QLockFile lock(folder + u"/instance.lock"_s);
/// if (SingleInstance::Claim(lock, name, files) != SingleInstance::Outcome::First)
///     return 0; // before any window is made
/// SingleInstance instance(name);
/// \endcode
class SingleInstance : public QObject, private Quorvin::Util::IMessageResponder
{
    Q_OBJECT
public:
    enum class Outcome {
        First, // the lock is held: go on, and make a SingleInstance
        HandedOver, // another instance has taken the files: end
        NoAnswer, // another instance runs, but does not answer
    };

    /// Takes the lock, or hands \p files to the instance that holds it.
    /// \param lock   kept locked by the first instance for as long as it runs
    /// \param name   what the first instance listens on; it should hold the user
    /// \param files  absolute paths, since the other instance has another current folder
    static Outcome Claim(QLockFile& lock, const QString& name, const QStringList& files);

    /// Listens for the instances that start later.
    explicit SingleInstance(const QString& name, QObject* parent = nullptr);
    ~SingleInstance() override;

Q_SIGNALS:
    /// A later instance has handed over its files, perhaps none. The window should come to the front.
    void FilesReceived(const QStringList& files);

private:
    bool HandleMessage(const QString& messageId, const QVariantMap& params,
                       QVariantMap& responseParams) override;

    Quorvin::Util::IPCManager mManager;
};

#endif // WAYPOST_SINGLEINSTANCE_H
