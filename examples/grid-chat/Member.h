// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef GRID_CHAT_MEMBER_H
#define GRID_CHAT_MEMBER_H

#include <qvutil/IPCManager.h>

#include <QStringList>

//! [responder]
/// Answers the questions of other members.
class Answers : public Quorvin::Util::IMessageResponder
{
public:
    explicit Answers(const QString& name)
        : mName(name)
    { }
    bool HandleMessage(const QString& question, const QVariantMap& params, QVariantMap& answer) override;

private:
    QString mName;
};
//! [responder]

/// A member of a grid: joins, answers questions and carries out commands.
class Member
{
public:
    Member(const QString& grid, const QString& name);

    /// Describes the members of the grid: "3 alive, 1 dead".
    [[nodiscard]] QString Members();
    /// Sends requests to the member to which this one is connected.
    [[nodiscard]] QStringList AskQuestions();
    /// Connects to the newest member. Only the first member can do this; the others are already connected.
    void TurnToNewest();

private:
    [[nodiscard]] QVariant Ask(const QString& question, const QVariantMap& params);

    Answers mAnswers;
    Quorvin::Util::IPCManager mManager;
    bool mHasServer = false; // true if connected to another member; at first, the first member is not
};

#endif // GRID_CHAT_MEMBER_H
