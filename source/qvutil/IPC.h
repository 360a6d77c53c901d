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

/// One message between two processes: a name, parameters, and what ties an answer to its request.
///
/// A new record is like a cleared one. It is a plain value: copied, and passed through queued signals under
/// the meta-type name "MessageInfo".
struct MessageInfo
{
    /// The message's name, chosen by the application; an automatic answer is named "Response".
    QString Id;
    /// Identity of this message; null unless somebody waits for the answer.
    QUuid UniqueId;
    /// Whether the sender wants an answer.
    bool NeedResponse = false;
    /// Whether this message is an answer.
    bool IsResponse = false;
    /// For an answer: UniqueId of the message that it answers.
    QUuid OriginalMessageUniqueId;
    /// The parameters. What types they may have, and how they travel, is told at PackMessage.
    QVariantMap Params;

    /// Resets every field: empty texts and parameters, null identities, flags false.
    void Clear() { *this = MessageInfo(); }
};

/// Answers requests. The host implements it, and registers objects of its class with
/// IPCManager::AddMessageResponder; the library never owns one.
///
/// \par Threads
/// Called in the thread in which the IPCManager lives.
class QVUTIL_EXPORT IMessageResponder
{
public:
    virtual ~IMessageResponder();

    /// Answers a request, or leaves it to the next responder. Responders are asked in the order of their
    /// registration until one returns true.
    ///
    /// The operation may open an event loop, send messages, stop the server or delete the manager. While it
    /// runs, responders must not be deleted: a responder that is unregistered now may still be asked about
    /// the request under way.
    /// \param messageId       the request's name
    /// \param params          the request's parameters
    /// \param responseParams  the answer's parameters, to be filled; holds what earlier responders wrote
    /// \return true if the request is answered; false to have the next responder asked. What was written
    ///         to \p responseParams stays in the answer in both cases.
    virtual bool HandleMessage(const QString& messageId, const QVariantMap& params,
                               QVariantMap& responseParams)
        = 0;
};

/// Writes a message as the document that travels between processes, for a channel of your own.
///
/// Parameters come back with value and type if they are of type bool, int, uint, qlonglong, double, QString,
/// QStringList, QByteArray, QVariantMap or QVariantList (whose entries are of these types again). Everything
/// else, qulonglong and QChar included, comes back as an invalid QVariant under its name. An entry with an
/// empty name is lost. Texts must hold only characters that XML allows: with a control character other than
/// tab and line ends in it, the document cannot be read.
///
/// A text of the form tr(...) comes back without the mark: "tr(Save)" as "Save".
/// \param id      the message's name
/// \param params  its parameters
/// \return the document, which ExtractMessage reads
///
/// \par Threads
/// Any thread.
[[nodiscard]] QVUTIL_EXPORT QString PackMessage(const QString& id, const QVariantMap& params);

/// Reads a message that PackMessage has written.
/// \param document  the text of exactly one document
/// \return the message's name and parameters; both empty if the text is no readable document
///
/// \par Threads
/// Any thread. Give it a stack of 2 MiB or more where documents from outside are read: they may be nested up
/// to 1,000 elements deep.
[[nodiscard]] QVUTIL_EXPORT std::pair<QString, QVariantMap> ExtractMessage(const QString& document);

} // namespace Quorvin::Util

#endif // QVUTIL_IPC_H
