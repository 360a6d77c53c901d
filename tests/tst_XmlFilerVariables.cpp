// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "XmlFiler.h"
#include "support/TestSupport.h"

using namespace Qt::StringLiterals;
using namespace Quorvin::Util;

using Variables = QMap<QString, QString>;

class tst_XmlFilerVariables : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();

    void Document_data();
    void Document();
    void Document_nothingToDo();
    void Document_declaration();
    void Document_keepsCursor();
    void Attributes();
    void Node();
    void Node_foreign();
};

void tst_XmlFilerVariables::init()
{
    TestSupport::FailOnAnyMessage();
}

void tst_XmlFilerVariables::Document_data()
{
    QTest::addColumn<QString>("xml");
    QTest::addColumn<int>("count");
    QTest::addColumn<QString>("expected");

    const auto same = [](const char* row, const QString& xml) { QTest::newRow(row) << xml << 0 << xml; };
    QTest::newRow("attribute") << u"<r a=\"$(dir)/bin\"/>"_s << 1 << u"<r a=\"/opt/bin\"/>"_s;
    QTest::newRow("exact name") << u"<r a=\"$(Dir)\"/>"_s << 1 << u"<r a=\"/opt\"/>"_s;
    QTest::newRow("text") << u"<r>$(DIR)/bin</r>"_s << 1 << u"<r>/opt/bin</r>"_s;
    QTest::newRow("CDATA") << u"<r><![CDATA[<$(dir)>]]></r>"_s << 1 << u"<r><![CDATA[</opt>]]></r>"_s;
    QTest::newRow("instruction inside") << u"<r><?p $(dir)?></r>"_s << 1 << u"<r><?p /opt?></r>"_s;
    QTest::newRow("instructions beside the root")
        << u"<?p $(dir)?><r/><?q $(dir)?>"_s << 2 << u"<?p /opt?><r/><?q /opt?>"_s;
    QTest::newRow("twice in one text") << u"<r>$(dir) $(dir)</r>"_s << 2 << u"<r>/opt /opt</r>"_s;
    QTest::newRow("several attributes and levels")
        << u"<r a=\"$(dir)\" b=\"$(name)\"><s a=\"$(dir)\">$(name)<t>$(dir)</t>$(dir)</s></r>"_s << 6
        << u"<r a=\"/opt\" b=\"N\"><s a=\"/opt\">N<t>/opt</t>/opt</s></r>"_s;
    QTest::newRow("a value that refers to another") << u"<r>$(deep)</r>"_s << 2 << u"<r>in /opt</r>"_s;
    QTest::newRow("known beside unknown") << u"<r>$(x)$(dir)</r>"_s << 1 << u"<r>$(x)/opt</r>"_s;
    QTest::newRow("markup characters in the value") << u"<r>$(xml)</r>"_s << 1 << u"<r>&lt;a&gt;</r>"_s;
    same("comment", u"<!--$(dir)--><r><!--$(dir)--></r><!--$(dir)-->"_s);
    same("unknown name", u"<r a=\"$(x)\">$(x)</r>"_s);
    same("not closed", u"<r>$(dir</r>"_s);
    same("blank in the name", u"<r>$( dir)</r>"_s);
    same("no reference", u"<r dir=\"dir\"><dir/>dir</r>"_s);
}

void tst_XmlFilerVariables::Document()
{
    QFETCH(const QString, xml);
    QFETCH(const int, count);
    QFETCH(const QString, expected);
    const Variables variables{
        {u"Dir"_s, u"/opt"_s}, {u"Name"_s, u"N"_s}, {u"Deep"_s, u"in $(dir)"_s}, {u"Xml"_s, u"<a>"_s}};
    XmlFiler filer;
    QVERIFY(filer.LoadFromXmlString(xml));

    QCOMPARE(filer.ResolveVariables(variables), count);

    QCOMPARE(TestSupport::DocumentMeaning(filer.GetCurrentNode()), TestSupport::XmlMeaning(expected));
    QCOMPARE(filer.ResolveVariables(variables), 0);
}

void tst_XmlFilerVariables::Document_nothingToDo()
{
    XmlFiler filer;
    QCOMPARE(filer.ResolveVariables({{u"a"_s, u"b"_s}}), 0);
    filer.CreateProcessingInstruction(u"p"_s, u"$(a)"_s);
    QCOMPARE(filer.ResolveVariables({{u"a"_s, u"b"_s}}), 0);
    filer.CreateRoot(u"r"_s);
    filer.WriteString(u"n"_s, u"$(a)"_s);
    QCOMPARE(filer.ResolveVariables(Variables()), 0);
    QCOMPARE(filer.ReadString(u"n"_s, QString()), u"$(a)"_s);
    QCOMPARE(filer.ResolveVariables({{u"a"_s, u"b"_s}}), 2);
    QCOMPARE(filer.ReadString(u"n"_s, QString()), u"b"_s);
}

void tst_XmlFilerVariables::Document_declaration()
{
    XmlFiler filer;
    filer.CreateProcessingInstruction(u"xml"_s, u"version=\"$(v)\""_s);
    filer.CreateRoot(u"r"_s);

    QCOMPARE(filer.ResolveVariables({{u"V"_s, u"1.0"_s}}), 1);

    QCOMPARE(filer.GetCurrentNode().previousSibling().nodeValue(), u"version=\"1.0\""_s);
}

void tst_XmlFilerVariables::Document_keepsCursor()
{
    XmlFiler filer;
    QVERIFY(filer.LoadFromXmlString(u"<r>$(a)<s/></r>"_s));
    QVERIFY(filer.MoveToNode(u"s"_s));
    QCOMPARE(filer.ResolveVariables({{u"a"_s, QString()}}), 1);
    QCOMPARE(filer.GetCurrentNodePath(), u"/r/s"_s);
    QCOMPARE(filer.ReadNodeText(u"/"_s), QString());
}

void tst_XmlFilerVariables::Attributes()
{
    XmlFiler filer;
    QVERIFY(filer.LoadFromXmlString(u"<r a=\"$(x)$(x)\" b=\"$(x)\" c=\"$(y)\">$(x)<s a=\"$(x)\"/></r>"_s));

    QCOMPARE(filer.ResolveVariables(filer.GetCurrentNode().attributes(), {{u"X"_s, u"1"_s}}), 3);

    QCOMPARE(TestSupport::DocumentMeaning(filer.GetCurrentNode()),
             TestSupport::XmlMeaning(u"<r a=\"11\" b=\"1\" c=\"$(y)\">$(x)<s a=\"$(x)\"/></r>"_s));
    QCOMPARE(filer.ResolveVariables(QDomNamedNodeMap(), {{u"x"_s, u"1"_s}}), 0);
}

void tst_XmlFilerVariables::Node()
{
    XmlFiler filer;
    QVERIFY(filer.LoadFromXmlString(u"<r a=\"$(x)\"><s a=\"$(x)\">$(x)<!--$(x)--></s>$(x)</r>"_s));
    const Variables variables{{u"X"_s, u"1"_s}};
    const QDomNode element = filer.GetCurrentNode().firstChild();

    QCOMPARE(filer.ResolveVariables(QDomNode(), variables), 0);
    QCOMPARE(filer.ResolveVariables(element.lastChild(), variables), 0);
    QCOMPARE(filer.ResolveVariables(element, variables), 2);
    QCOMPARE(TestSupport::DocumentMeaning(element),
             TestSupport::XmlMeaning(u"<r a=\"$(x)\"><s a=\"1\">1<!--$(x)--></s>$(x)</r>"_s));
    QCOMPARE(filer.ResolveVariables(filer.GetCurrentNode().lastChild(), variables), 1);
}

void tst_XmlFilerVariables::Node_foreign()
{
    // Nodes of any document can be passed; the filer's own document is not involved.
    XmlFiler filer;
    QDomDocument document;
    QVERIFY(document.setContent(u"<?p $(x)?><r a=\"$(x)\">$(x)</r>"_s));

    QCOMPARE(filer.ResolveVariables(document.documentElement().attributes(), {{u"x"_s, u"1"_s}}), 1);
    QCOMPARE(filer.ResolveVariables(document, {{u"x"_s, u"1"_s}}), 2);
    QString actual;
    TestSupport::AppendMeaning(document, QString(), actual);
    QCOMPARE(actual, TestSupport::XmlMeaning(u"<?p 1?><r a=\"1\">1</r>"_s));
    QVERIFY(filer.IsEmpty());
}

QTEST_GUILESS_MAIN(tst_XmlFilerVariables)
#include "tst_XmlFilerVariables.moc"
