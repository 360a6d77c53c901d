// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_IPC_H
#define QVUTIL_IPC_H

#include "QvUtilGlobal.h"

#include <QtCore/QString>
#include <QtCore/QUuid>
#include <QtCore/QVariant>

#include <utility>

namespace Quorvin::Util {

/// One message between two processes: a name, parameters, and the link from an answer to its request.
///
/// A plain value. It travels through queued signals under the meta-type name "MessageInfo".
/// \since QvUtil 1.0
struct MessageInfo
{
    /// Name of the message, chosen by the application; automatic answers are named "Response".
    QString Id;
    /// Identifies this message; null unless its sender waits for an answer.
    QUuid UniqueId;
    /// Whether the sender waits for an answer.
    bool NeedResponse = false;
    /// Whether this message is an answer.
    bool IsResponse = false;
    /// In an answer: the UniqueId of its request.
    QUuid OriginalMessageUniqueId;
    /// The parameters; PackMessage lists the types that they may have.
    QVariantMap Params;

    /// Resets every field to its default.
    void Clear() { *this = MessageInfo(); }
};

/// Answers requests. Derive from this class, and register objects with IPCManager::AddMessageResponder.
///
/// \par Failures
/// A request that no responder answers gets an answer without parameters. See IPCManager for other failures.
///
/// \par Threads
/// Called in the thread that the IPCManager lives in.
/// \since QvUtil 1.0
class QVUTIL_EXPORT IMessageResponder
{
public:
    virtual ~IMessageResponder();

    /// Answers a request, or leaves it to the next responder. Responders are called in the order of their
    /// registration until one returns true.
    ///
    /// This operation may run an event loop, send messages, stop the server, or delete the manager. It must
    /// not delete any responder, not even one that it has just unregistered, because that responder may still
    /// be called for the same request.
    /// \param messageId       name of the request
    /// \param params          parameters of the request
    /// \param responseParams  parameters of the answer; contains what earlier responders wrote
    /// \return true if the request is answered; false to call the next responder. The content of
    ///         \p responseParams becomes part of the answer in both cases.
    virtual bool HandleMessage(const QString& messageId, const QVariantMap& params,
                               QVariantMap& responseParams)
        = 0;
};

/// Encodes a message as an XML document, the form in which IPCManager sends it, for use with other channels.
///
/// Parameters keep their value and type if they are of type bool, int, uint, qlonglong, double, QString,
/// QStringList, QByteArray, QVariantMap or QVariantList, and if the entries of maps and lists have these
/// types too. Parameters of all other types, including qulonglong and QChar, are decoded as invalid
/// QVariants. An entry with an empty name is lost. A text of the form tr(...) loses its mark: "tr(Save)" is
/// decoded as "Save". Text must not contain characters that XML forbids, such as control characters other
/// than tab and line endings: the document could not be decoded.
/// \param id      name of the message
/// \param params  its parameters
/// \return the document, for ExtractMessage
///
/// \par Threads
/// Thread-safe.
/// \since QvUtil 1.0
[[nodiscard]] QVUTIL_EXPORT QString PackMessage(const QString& id, const QVariantMap& params);

/// Decodes a message that PackMessage encoded.
/// \param document  the text of exactly one document
/// \return name and parameters of the message; both are empty if the text is malformed
///
/// \par Threads
/// Thread-safe. To decode documents from an untrusted source, the thread needs a stack of 2 MiB or more:
/// their elements may be nested up to 1,000 deep.
/// \since QvUtil 1.0
[[nodiscard]] QVUTIL_EXPORT std::pair<QString, QVariantMap> ExtractMessage(const QString& document);

} // namespace Quorvin::Util

#endif // QVUTIL_IPC_H
