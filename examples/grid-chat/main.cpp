// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

// Processes that find each other by the name of a grid, and ask each other questions.
//
//   grid-chat                starts three members and kills one; the next member that joins prunes its entry
//   grid-chat --tool QVUTIL  does the same, and shows the grid with the tool between the steps
//   grid-chat GRID NAME      runs one member, which reads commands, one per line: members, ask, turn

#include "Member.h"
#include "Story.h"

#include <QCoreApplication>
#include <QFile>
#include <QSocketNotifier>
#include <QTextStream>

using namespace Qt::StringLiterals;

namespace {

/// Carries out the commands on standard input until it ends. Meanwhile, answers the other members.
int BeMember(const QString& grid, const QString& name)
{
    QTextStream out(stdout);
    Member member(grid, name);
    out << name << " joins: " << member.Members() << "\ndone" << Qt::endl;

    QFile in;
    if (!in.open(stdin, QIODevice::ReadOnly | QIODevice::Unbuffered)) // the notifier must see unread bytes
        return 1;
    QSocketNotifier notifier(in.handle(), QSocketNotifier::Read);
    QObject::connect(&notifier, &QSocketNotifier::activated, &notifier, [&] {
        const QByteArray command = in.readLine().trimmed();
        if (command.isEmpty()) {
            QCoreApplication::quit();
            return;
        }
        notifier.setEnabled(false); // carry out one command at a time
        if (command == "members")
            out << name << " sees " << member.Members() << '\n';
        else if (command == "turn")
            member.TurnToNewest();
        else if (command == "ask")
            out << name << " asks:\n  " << member.AskQuestions().join(u"\n  "_s) << '\n';
        out << "done" << Qt::endl;
        notifier.setEnabled(true);
    });
    return QCoreApplication::exec();
}

} // namespace

int main(int argc, char* argv[])
{
    const QCoreApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.size() == 1)
        return PlayStory({});
    if (arguments.size() == 3 && arguments.at(1) == u"--tool")
        return PlayStory(arguments.at(2));
    if (arguments.size() == 3)
        return BeMember(arguments.at(1), arguments.at(2));
    QTextStream(stderr) << "usage: grid-chat [--tool QVUTIL | GRID NAME]\n";
    return 2;
}
