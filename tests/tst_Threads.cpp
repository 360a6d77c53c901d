// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "GeneralUtil.h"
#include "StringUtil.h"
#include "XmlFiler.h"
#include "support/TestSupport.h"

#include <QTemporaryDir>

#include <atomic>
#include <thread>
#include <vector>

using namespace Qt::StringLiterals;
using namespace Quorvin::Util;

// Calls thread-safe operations from several threads at once, for the thread sanitizer.
class tst_Threads : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void StatelessHelpers();
    void DistinctDocuments();
    void DistinctSettingsAndTranslators();

private:
    QTemporaryDir mDir;
};

namespace {
constexpr int kThreads = 4;
constexpr int kRounds = 25;

// Runs the work in all threads at once. The work receives the thread's number, and returns whether it
// succeeded.
template <typename Work> int CountFailures(const Work& work)
{
    std::atomic<int> failures = 0;
    std::atomic<int> waiting = kThreads;
    std::vector<std::thread> threads;
    for (int number = 0; number < kThreads; ++number) {
        threads.emplace_back([&, number] {
            --waiting;
            while (waiting > 0) {
                std::this_thread::yield(); // so that all start together
            }
            for (int round = 0; round < kRounds; ++round) {
                if (!work(number))
                    ++failures;
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    return failures;
}

bool WriteAndReadDocument(const QString& path, int number)
{
    XmlFiler writer;
    writer.CreateRoot(u"Root"_s);
    writer.WriteInt(u"A/B"_s, u"Number"_s, number);
    writer.WriteString(u"A"_s, u"Text"_s, u"tr($(Name))"_s);
    writer.ResolveVariables({{u"name"_s, QString::number(number)}});
    XmlFiler reader;
    return writer.SaveAsXmlFile(path) && reader.LoadFromXmlFile(path)
        && reader.ReadInt(u"/Root/A/B"_s, u"Number"_s, -1) == number
        && reader.ReadString(u"A"_s, u"Text"_s, QString()) == QString::number(number);
}

} // namespace

void tst_Threads::init()
{
    QTest::failOnWarning(QRegularExpression(u".*"_s));
    QVERIFY(mDir.isValid());
}

void tst_Threads::StatelessHelpers()
{
    const QMap<QString, QString> variables = {{u"Home"_s, u"/home"_s}};
    const int failures = CountFailures([&](int number) {
        QString text = u"$(HOME)/%1"_s.arg(number);
        QString name;
        QStringList arguments;
        return StringUtil::ResolveVariables(text, variables, true) == 1 && text == u"/home/%1"_s.arg(number)
            && GeneralUtil::ParseFunction(u"Max(1, 2)"_s, name, arguments) && arguments.size() == 2
            && GeneralUtil::GetHash(u"Save"_s) == "c9cc8cce247e49bae79f15173ce97354";
    });

    QCOMPARE(failures, 0);
}

void tst_Threads::DistinctDocuments()
{
    const int failures = CountFailures([this](int number) {
        return WriteAndReadDocument(mDir.filePath(u"document%1.xml"_s.arg(number)), number);
    });

    QCOMPARE(failures, 0);
}

void tst_Threads::DistinctSettingsAndTranslators()
{
    const int failures = CountFailures([this](int number) {
        const QString file = mDir.filePath(u"settings%1.xml"_s.arg(number));
        {
            Settings settings(file, u"Settings"_s);
            settings.WriteInt(u"Panel"_s, u"Width"_s, number);
        }
        const Settings settings(file, u"Settings"_s);
        const XlfTranslator translator(mDir.filePath(u"none.xlf"_s));
        return settings.ReadInt(u"Panel"_s, u"Width"_s, -1) == number
            && translator.Translate(u"Save"_s, u"main.xml"_s) == u"Save"_s;
    });

    QCOMPARE(failures, 0);
}

QTEST_GUILESS_MAIN(tst_Threads)
#include "tst_Threads.moc"
