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

/// One process of a grid: it joins, answers questions, and does what it is told.
class Member
{
public:
    Member(const QString& grid, const QString& name);

    /// Tells who else is there: "3 alive, 1 dead".
    [[nodiscard]] QString Members();
    /// Asks the member to which this one is connected some questions.
    [[nodiscard]] QStringList AskQuestions();
    /// Connects to the newest member. Only the first one can choose: the others are connected already.
    void TurnToNewest();

private:
    [[nodiscard]] QVariant Ask(const QString& question, const QVariantMap& params);

    Answers mAnswers;
    Quorvin::Util::IPCManager mManager;
    bool mHasServer = false; // the first member is connected to nobody
};

#endif // GRID_CHAT_MEMBER_H
