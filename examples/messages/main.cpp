// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

// Two processes: a shop that answers questions, and a customer who asks them. Without arguments, the program
// is the customer and starts itself a second time as the shop.

#include <qvutil/IPCManager.h>

#include <QCoreApplication>
#include <QProcess>
#include <QRandomGenerator>
#include <QTextStream>

using namespace Qt::StringLiterals;
using namespace Quorvin::Util;

namespace {

//! [responder]
class Shop final : public IMessageResponder
{
public:
    bool HandleMessage(const QString& id, const QVariantMap& params, QVariantMap& answer) override
    {
        if (id != "Price"_L1)
            return false; // the next responder is asked

        answer.insert(u"Total"_s, params.value(u"Count"_s).toInt() * 1.25);
        answer.insert(u"Colours"_s, QStringList{u"red"_s, u"blue"_s});
        return true;
    }
};
//! [responder]

//! [serve]
int Serve(const QString& name)
{
    Shop shop;
    IPCManager manager;
    manager.AddMessageResponder(&shop);
    QObject::connect(&manager, &IPCManager::MessageReceived, &manager, [&manager](const QString& id) {
        if (id == "Closing time"_L1)
            manager.SendMessage(u"Goodbye"_s, {{u"Customers"_s, 1}});
    });
    QObject::connect(&manager, &IPCManager::DisconnectedFromClient, &manager,
                     [] { QCoreApplication::quit(); });
    manager.StartServer(name, QIODeviceBase::ReadWrite);
    return QCoreApplication::exec();
}
//! [serve]

//! [ask]
int Ask(const QString& name)
{
    QTextStream out(stdout);
    //! [request]
    IPCManager manager;
    manager.ConnectToServer(name, QIODeviceBase::ReadWrite);
    if (!manager.WaitForConnectionToServer(name, 20000)) {
        out << "the shop is closed\n";
        return 1;
    }

    QVariantMap answer;
    const QVariantMap question{{u"Article"_s, u"pencil"_s}, {u"Count"_s, 3}};
    if (!manager.SendMessageAndGetResponse(name, u"Price"_s, question, answer, 20000)) {
        out << "no answer\n";
        return 1;
    }
    out << "total:   " << answer.value(u"Total"_s).toDouble() << '\n';
    out << "colours: " << answer.value(u"Colours"_s).toStringList().join(u' ') << '\n';
    //! [request]
    out.flush();

    // This message is not a request. The shop sends another message in return, which arrives as a signal.
    QObject::connect(&manager, &IPCManager::MessageReceived, &manager,
                     [&out](const QString& id, const QVariantMap& params) {
                         out << id << ", customers: " << params.value(u"Customers"_s).toInt() << '\n';
                         QCoreApplication::quit();
                     });
    manager.SendMessage(u"Closing time"_s, {});
    return QCoreApplication::exec();
}
//! [ask]

} // namespace

int main(int argc, char* argv[])
{
    const QCoreApplication application(argc, argv);
    if (argc == 3 && qstrcmp(argv[1], "serve") == 0)
        return Serve(QString::fromLocal8Bit(argv[2]));

    const QString name = u"shop-%1"_s.arg(QRandomGenerator::system()->generate());
    QProcess shop;
    shop.start(QCoreApplication::applicationFilePath(), {u"serve"_s, name});
    const int result = Ask(name);
    if (!shop.waitForFinished(20000))
        shop.kill();
    return result;
}
