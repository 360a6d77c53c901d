// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "support/ToolTest.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

using namespace Qt::StringLiterals;
using TestSupport::EnvironmentGuard;
using TestSupport::ToolResult;

class tst_ToolLocale : public TestSupport::ToolTest
{
    Q_OBJECT

private Q_SLOTS:
    void Run_data();
    void Run();
    void Show_json();
    void Find_json();
    void List();
    void List_json();
    void Current_data();
    void Current();
};

void tst_ToolLocale::Run_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QString>("expected");

    const auto row = [](const char* circumstance, const QStringList& arguments, const QString& expected) {
        QTest::newRow(circumstance) << arguments << expected;
    };
    const QString britain = u"en-GB      eng 0x0809 English (Kingdom)\n"_s;
    row("show by name", {u"show"_s, u"en-GB"_s}, britain + u"=> 0\n"_s);
    row("show in any case", {u"show"_s, u"EN-gb"_s}, britain + u"=> 0\n"_s);
    row("show by hexadecimal identifier", {u"show"_s, u"0x0809"_s}, britain + u"=> 0\n"_s);
    row("show by decimal identifier", {u"show"_s, u"2057"_s}, britain + u"=> 0\n"_s);
    row("show in the order of the arguments", {u"show"_s, u"zh-CHT"_s, u"en-GB"_s},
        u"zh-CHT     cht 0x7c04 Chinese (Traditional)\n"_s + britain + u"=> 0\n"_s);
    row("show two-letter name", {u"show"_s, u"cy-GB"_s}, u"cy-GB      cy  0x0452 Welsh\n=> 0\n"_s);
    row("show a name with '_'", {u"show"_s, u"de_DE"_s},
        u"! qvutil: de_DE: there is no such locale; did you mean 'de-DE'?\n=> 1\n"_s);
    row("show a name from the environment", {u"show"_s, u"en_GB.UTF-8"_s},
        u"! qvutil: en_GB.UTF-8: there is no such locale; did you mean 'en-GB'?\n=> 1\n"_s);
    row("show unknown name", {u"show"_s, u"xx"_s}, u"! qvutil: xx: there is no such locale\n=> 1\n"_s);
    row("show unknown identifier", {u"show"_s, u"0x9999"_s},
        u"! qvutil: 0x9999: there is no such locale\n=> 1\n"_s);
    row("show identifier too large", {u"show"_s, u"0x100000809"_s},
        u"! qvutil: 0x100000809: there is no such locale\n=> 1\n"_s);
    row("show an unknown and a known name", {u"show"_s, u"xx"_s, u"en-GB"_s},
        britain + u"! qvutil: xx: there is no such locale\n=> 1\n"_s);
    row("find by region", {u"find"_s, u"CANADA"_s},
        u"en-CA      eng 0x1009 English (Canada)\nfr-CA      fra 0x0c0c French (Canada)\n"
        "iu-Latn-CA iu  0x085d Inuktitut (Latin,Canada)\n=> 0\n"_s);
    row("find by two texts", {u"find"_s, u"canada"_s, u"fr"_s},
        u"fr-CA      fra 0x0c0c French (Canada)\n=> 0\n"_s);
    row("find by identifier", {u"find"_s, u"0c0c"_s}, u"fr-CA      fra 0x0c0c French (Canada)\n=> 0\n"_s);
    row("find by three-letter name", {u"find"_s, u"csy"_s, u"-"_s},
        u"cs-CZ      csy 0x0405 Czech (Republic)\n=> 0\n"_s);
    row("find nothing", {u"find"_s, u"atlantis"_s}, u"=> 1\n"_s);
}

void tst_ToolLocale::Run()
{
    QFETCH(const QStringList, arguments);
    QFETCH(const QString, expected);

    QCOMPARE(mTool->Run(QStringList{u"locale"_s} + arguments).ToText(), expected);
}

void tst_ToolLocale::Show_json()
{
    const ToolResult result = mTool->Run({u"locale"_s, u"show"_s, u"nb-NO"_s, u"--json"_s});
    const QJsonArray expected{QJsonObject{{u"name"_s, u"nb-NO"_s},
                                          {u"threeLetterName"_s, u"nob"_s},
                                          {u"lcid"_s, 0x0414},
                                          {u"displayName"_s, u"Norwegian, Bokml (Norway)"_s}}};
    QCOMPARE(QJsonDocument::fromJson(result.Output).array(), expected);
    QCOMPARE(result.ExitCode, 0);
}

void tst_ToolLocale::Find_json()
{
    const ToolResult result = mTool->Run({u"locale"_s, u"find"_s, u"atlantis"_s, u"--json"_s});
    QCOMPARE(result.Output, QByteArray("[]\n"));
    QCOMPARE(result.ExitCode, 1);
}

void tst_ToolLocale::List()
{
    const ToolResult result = mTool->Run({u"locale"_s, u"list"_s});
    QCOMPARE(result.ExitCode, 0);
    QCOMPARE(result.Output.count('\n'), 234);
    QVERIFY(result.Output.startsWith("af         afr 0x0036 Afrikaans\n"));
    QVERIFY(result.Output.endsWith("\nzu-ZA      zu  0x0435 Zulu\n"));
}

void tst_ToolLocale::List_json()
{
    const ToolResult result = mTool->Run({u"locale"_s, u"list"_s, u"--json"_s});
    QCOMPARE(QJsonDocument::fromJson(result.Output).array().size(), 234);
    QCOMPARE(result.ExitCode, 0);
}

void tst_ToolLocale::Current_data()
{
    QTest::addColumn<QByteArray>("variable");
    QTest::addColumn<QStringList>("options");
    QTest::addColumn<QString>("expected");

    QTest::newRow("known") << QByteArray("en_GB.UTF-8") << QStringList() << u"en-GB 0x0809\n=> 0\n"_s;
    QTest::newRow("unknown")
        << QByteArray("zh-Hans_CN.UTF-8") << QStringList()
        << u"en-US 0x0409\nthe system's locale, \"zh-Hans_CN\", is not in the table\n=> 1\n"_s;
    QTest::newRow("known, as JSON")
        << QByteArray("de_AT") << QStringList{u"--json"_s}
        << u"{\"identifier\":\"de_AT\",\"known\":true,\"lcid\":3079,\"name\":\"de-AT\"}\n=> 0\n"_s;
}

void tst_ToolLocale::Current()
{
    QFETCH(const QByteArray, variable);
    QFETCH(const QStringList, options);
    QFETCH(const QString, expected);
#ifndef Q_OS_LINUX
    QSKIP("the user's locale cannot be set on this system");
#endif

    const EnvironmentGuard guard("LC_ALL", variable);
    const EnvironmentGuard encoding("LC_CTYPE");

    QCOMPARE(mTool->Run(QStringList{u"locale"_s, u"current"_s} + options).ToText(), expected);
}

QTEST_GUILESS_MAIN(tst_ToolLocale)

#include "tst_ToolLocale.moc"
