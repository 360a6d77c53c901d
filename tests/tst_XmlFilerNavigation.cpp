// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "XmlFiler.h"
#include "support/TestSupport.h"

using namespace Qt::StringLiterals;
using namespace Quorvin::Util;

namespace {

/// Returns a document in which every element follows nodes that a path could mistake for an element.
QString Sample()
{
    return u"<!DOCTYPE Settings><?Settings x?><!--Settings-->"
           "<Settings id=\"root\" Panel=\"attribute\">Panel<?Panel x?><!--Panel--><![CDATA[Panel]]>"
           "<Panel id=\"p1\"><?Item x?><Item id=\"p1i1\"/>Item<Item id=\"p1i2\"><Leaf "
           "id=\"leaf\"/></Item></Panel>"
           "<Panel id=\"p2\"><Other id=\"other\"/><Only id=\"only\"/></Panel>"
           "<Settings id=\"inner\"><Panel id=\"innerPanel\"/></Settings>"
           "<x:Item id=\"prefixed\" xmlns:x=\"urn:x\"/>"
           "</Settings><?Tail x?>"_s;
}

QString Id(const XmlFiler& filer)
{
    return filer.GetCurrentNode().toElement().attribute(u"id"_s);
}

/// Loads a document and clears the cursor.
void LoadWithoutCursor(XmlFiler& filer, const QString& xml)
{
    filer.Reset();
    filer.PushCurrentNode();
    QVERIFY(filer.LoadFromXmlString(xml));
    filer.PopCurrentNode();
    QVERIFY(filer.GetCurrentNode().isNull());
}

/// Returns the names of the child elements of \p node.
QStringList Children(const QDomNode& node)
{
    QStringList names;
    for (QDomElement child = node.firstChildElement(); !child.isNull(); child = child.nextSiblingElement())
        names.append(child.tagName());
    return names;
}

} // namespace

class tst_XmlFilerNavigation : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();

    void MoveToNode_data();
    void MoveToNode();
    void MoveToNode_noSecondTry();
    void MoveToNode_emptyDocument();
    void MoveToNode_withoutCursor();
    void MoveToNode_documentNode();
    void MoveToNode_detachedCursor();

    void CreateOrMoveToNode_data();
    void CreateOrMoveToNode();
    void CreateOrMoveToNode_findsLikeMoveToNode_data();
    void CreateOrMoveToNode_findsLikeMoveToNode();
    void CreateOrMoveToNode_twice();
    void CreateOrMoveToNode_emptyDocument_data();
    void CreateOrMoveToNode_emptyDocument();
    void CreateOrMoveToNode_withoutCursor();
    void CreateOrMoveToNode_documentNode();
    void CreateOrMoveToNode_detachedCursor();
    void CreateNode();

    void CreateImmediateChildNode();
    void CreateImmediateChildNode_withoutCursor();
    void CreateImmediateChildNode_nameIsNotAPath();
    void MoveToRoot();
    void MoveToFirstChild();
    void MoveToImmediateChildNode_data();
    void MoveToImmediateChildNode();
    void MoveToNextSibling();
    void MoveToParent();
    void Movement_withoutCursor();

    void DeleteNode();
    void DeleteNode_root();
    void DeleteNode_withoutParent();
    void DeleteNode_path_data();
    void DeleteNode_path();
    void DeleteNode_path_cursorInside();
    void DeleteNode_path_itself();
    void DeleteNode_path_withoutCursor();
    void DeleteNode_path_withoutParent();
    void DeleteChildNodes();
    void DeleteChildNodes_documentNode();
    void DeleteChildNodes_path_data();
    void DeleteChildNodes_path();
    void DeleteChildNodes_cursorInside();

    void GetCurrentNode();
    void GetCurrentNode_changesThroughTheHandle();
    void GetCurrentNodePath();
    void GetCurrentNodePath_besideTheRoot();
    void GetCurrentNodeName();
    void GetAttributeNames();
    void Stack();
    void Stack_empty();
    void Stack_survivesDeletion();

    void DetachedSiblings_data();
    void DetachedSiblings();
};

void tst_XmlFilerNavigation::init()
{
    TestSupport::FailOnAnyMessage();
}

// Paths

void tst_XmlFilerNavigation::MoveToNode_data()
{
    QTest::addColumn<QString>("start");
    QTest::addColumn<QString>("path");
    QTest::addColumn<bool>("expected");
    QTest::addColumn<QString>("id");

    const QString root = u"/"_s;
    const QString panel = u"/Panel"_s;
    QTest::newRow("empty") << panel << u""_s << true << u"p1"_s;
    QTest::newRow("null") << panel << QString() << true << u"p1"_s;
    QTest::newRow("blanks") << panel << u"  "_s << true << u"p1"_s;
    QTest::newRow("all kinds of white space") << panel << u"\t\n\r\v\f\u00A0\u2003"_s << true << u"p1"_s;
    QTest::newRow("root by slash") << panel << u"/"_s << true << u"root"_s;
    QTest::newRow("root by backslash") << panel << u"\\"_s << true << u"root"_s;
    QTest::newRow("root by slashes") << panel << u"//\\/"_s << true << u"root"_s;
    QTest::newRow("root by slash in blanks") << panel << u" / "_s << true << u"root"_s;
    QTest::newRow("root by name") << panel << u"/Settings"_s << true << u"root"_s;
    QTest::newRow("root by name, slash after it") << panel << u"/Settings/"_s << true << u"root"_s;
    QTest::newRow("root by name, slashes before it") << panel << u"//Settings"_s << true << u"root"_s;
    QTest::newRow("root name in different case") << panel << u"/settings"_s << false << u"p1"_s;
    QTest::newRow("only one root step is dropped") << root << u"/Settings/Settings"_s << true << u"inner"_s;
    QTest::newRow("root step dropped twice")
        << root << u"/Settings/Settings/Settings"_s << false << u"root"_s;
    QTest::newRow("relative path that names the root") << root << u"Settings"_s << true << u"inner"_s;
    QTest::newRow("relative path that names the root, elsewhere")
        << panel << u"Settings"_s << false << u"p1"_s;
    QTest::newRow("absolute without root")
        << u"/Settings/Settings"_s << u"/Panel/Item"_s << true << u"p1i1"_s;
    QTest::newRow("absolute with root")
        << u"/Settings/Settings"_s << u"/Settings/Panel/Item"_s << true << u"p1i1"_s;
    QTest::newRow("absolute with root step dropped, then not")
        << root << u"/Settings/Settings/Panel"_s << true << u"innerPanel"_s;
    QTest::newRow("child") << root << u"Panel"_s << true << u"p1"_s;
    QTest::newRow("grandchild") << root << u"Panel/Item"_s << true << u"p1i1"_s;
    QTest::newRow("backslashes") << root << u"Panel\\Item"_s << true << u"p1i1"_s;
    QTest::newRow("absolute with backslashes") << panel << u"\\Settings\\Panel/Item"_s << true << u"p1i1"_s;
    QTest::newRow("empty steps") << root << u"Panel//\\Item//"_s << true << u"p1i1"_s;
    QTest::newRow("blanks around") << root << u" \tPanel/Item\n"_s << true << u"p1i1"_s;
    QTest::newRow("no-break space around") << root << u"\u00A0Panel\u0085"_s << true << u"p1"_s;
    QTest::newRow("blank inside, before a step") << root << u"Panel/ Item"_s << false << u"root"_s;
    QTest::newRow("blank inside, after a step") << root << u"Panel /Item"_s << false << u"root"_s;
    QTest::newRow("blank after the first slash") << panel << u"/ Panel"_s << false << u"p1"_s;
    QTest::newRow("step of blanks") << root << u"Panel/ /Item"_s << false << u"root"_s;
    QTest::newRow("different case") << root << u"panel"_s << false << u"root"_s;
    QTest::newRow("first step missing") << root << u"Missing/Panel"_s << false << u"root"_s;
    QTest::newRow("middle step missing") << root << u"Panel/Missing/Leaf"_s << false << u"root"_s;
    QTest::newRow("last step missing") << root << u"Panel/Item/Missing"_s << false << u"root"_s;
    QTest::newRow("absolute with missing step") << panel << u"/Settings/Panel/Missing"_s << false << u"p1"_s;
    QTest::newRow("dot") << panel << u"."_s << false << u"p1"_s;
    QTest::newRow("two dots") << panel << u".."_s << false << u"p1"_s;
    QTest::newRow("index") << root << u"Panel[2]"_s << false << u"root"_s;
    QTest::newRow("wildcard") << root << u"*"_s << false << u"root"_s;
    QTest::newRow("attribute") << root << u"@id"_s << false << u"root"_s;
    QTest::newRow("attribute's plain name") << root << u"id"_s << false << u"root"_s;
    QTest::newRow("name of an instruction") << panel << u"Item/Tail"_s << false << u"p1"_s;
    QTest::newRow("prefixed name as written") << root << u"x:Item"_s << true << u"prefixed"_s;
    QTest::newRow("prefixed name without prefix") << root << u"Item"_s << false << u"root"_s;
    QTest::newRow("text node's name") << root << u"#text"_s << false << u"root"_s;
    QTest::newRow("comment's name") << root << u"#comment"_s << false << u"root"_s;
    QTest::newRow("CDATA section's name") << root << u"#cdata-section"_s << false << u"root"_s;
    QTest::newRow("document's name") << root << u"/#document"_s << false << u"root"_s;
    QTest::newRow("part of a name") << root << u"Pane"_s << false << u"root"_s;
    QTest::newRow("more than a name") << root << u"Panels"_s << false << u"root"_s;
}

void tst_XmlFilerNavigation::MoveToNode()
{
    QFETCH(const QString, start);
    QFETCH(const QString, path);
    QFETCH(const bool, expected);
    QFETCH(const QString, id);
    XmlFiler filer;
    QVERIFY(filer.LoadFromXmlString(Sample()));
    const QString before = filer.SaveAsXmlString();
    QVERIFY(filer.MoveToNode(start));
    filer.PushCurrentNode();

    QCOMPARE(filer.MoveToNode(path), expected);
    QCOMPARE(Id(filer), id);

    // Without creation, the second flag has no effect.
    for (const bool alwaysNewLast : {false, true}) {
        filer.PopCurrentNode();
        filer.PushCurrentNode();
        QCOMPARE(filer.CreateOrMoveToNode(path, false, alwaysNewLast), expected);
        QCOMPARE(Id(filer), id);
    }
    QCOMPARE(filer.SaveAsXmlString(), before);
}

void tst_XmlFilerNavigation::MoveToNode_noSecondTry()
{
    // The first element of each name is used, even if only a later one would lead further.
    XmlFiler filer;
    QVERIFY(filer.LoadFromXmlString(u"<r><A id=\"1\"/><A id=\"2\"><B/></A></r>"_s));

    QVERIFY(!filer.MoveToNode(u"A/B"_s));
    QCOMPARE(filer.GetCurrentNodePath(), u"/r"_s);

    QVERIFY(filer.CreateOrMoveToNode(u"A/B"_s, true, false));
    QVERIFY(filer.MoveToParent());
    QCOMPARE(Id(filer), u"1"_s);
}

void tst_XmlFilerNavigation::MoveToNode_emptyDocument()
{
    XmlFiler filer;

    QVERIFY(filer.MoveToNode(u" "_s));
    QVERIFY(filer.MoveToNode(u"/"_s));
    QVERIFY(!filer.MoveToNode(u"A"_s));
    QVERIFY(!filer.MoveToNode(u"/A"_s));
    QVERIFY(!filer.CreateOrMoveToNode(u"/A"_s, false, true));

    QVERIFY(filer.GetCurrentNode().isNull());
    QVERIFY(filer.IsEmpty());
}

void tst_XmlFilerNavigation::MoveToNode_withoutCursor()
{
    XmlFiler filer;
    LoadWithoutCursor(filer, Sample());

    QVERIFY(filer.MoveToNode(u""_s));
    QVERIFY(filer.GetCurrentNode().isNull());
    QVERIFY(!filer.MoveToNode(u"Settings"_s));
    QVERIFY(filer.GetCurrentNode().isNull());
    QVERIFY(!filer.MoveToNode(u"/Missing"_s));
    QVERIFY(filer.GetCurrentNode().isNull());
    QVERIFY(filer.MoveToNode(u"/Panel"_s));
    QCOMPARE(Id(filer), u"p1"_s);
}

void tst_XmlFilerNavigation::MoveToNode_documentNode()
{
    XmlFiler filer;
    QVERIFY(filer.LoadFromXmlString(Sample()));
    QVERIFY(filer.MoveToParent());
    QVERIFY(filer.GetCurrentNode().isDocument());

    QVERIFY(!filer.MoveToNode(u"Panel"_s));
    QVERIFY(filer.GetCurrentNode().isDocument());
    QVERIFY(!filer.MoveToNode(u"Tail"_s));
    QVERIFY(filer.GetCurrentNode().isDocument());
    QVERIFY(filer.MoveToNode(u"Settings/Settings"_s));
    QCOMPARE(Id(filer), u"inner"_s);
}

void tst_XmlFilerNavigation::MoveToNode_detachedCursor()
{
    XmlFiler filer;
    QVERIFY(filer.LoadFromXmlString(u"<Old><A/></Old>"_s));
    QVERIFY(!filer.LoadFromXmlString(u"<"_s));

    QVERIFY(!filer.MoveToNode(u"B"_s));
    QCOMPARE(filer.GetCurrentNode().nodeName(), u"Old"_s);
    QVERIFY(!filer.MoveToNode(u"/Old"_s));
    QCOMPARE(filer.GetCurrentNode().nodeName(), u"Old"_s);
    QVERIFY(filer.MoveToNode(u"A"_s));
    QCOMPARE(filer.GetCurrentNode().nodeName(), u"A"_s);
    // The root of an empty document is a null node.
    QVERIFY(filer.MoveToNode(u"/"_s));
    QVERIFY(filer.GetCurrentNode().isNull());
}

// Creation

void tst_XmlFilerNavigation::CreateOrMoveToNode_data()
{
    QTest::addColumn<QString>("start");
    QTest::addColumn<QString>("path");
    QTest::addColumn<bool>("alwaysNewLast");
    QTest::addColumn<QString>("cursor");
    QTest::addColumn<QString>("expected");

    const QString root = u"/"_s;
    QTest::newRow("blank") << u"/A"_s << u" "_s << true << u"/r/A"_s << u"<r><A/></r>"_s;
    QTest::newRow("slash") << u"/A"_s << u"/"_s << true << u"/r"_s << u"<r><A/></r>"_s;
    QTest::newRow("the root is never created again")
        << u"/A"_s << u"/r"_s << true << u"/r"_s << u"<r><A/></r>"_s;
    QTest::newRow("existing") << root << u"A"_s << false << u"/r/A"_s << u"<r><A/></r>"_s;
    QTest::newRow("existing, always new") << root << u"A"_s << true << u"/r/A"_s << u"<r><A/><A/></r>"_s;
    QTest::newRow("missing") << root << u"B"_s << false << u"/r/B"_s << u"<r><A/><B/></r>"_s;
    QTest::newRow("missing, always new") << root << u"B"_s << true << u"/r/B"_s << u"<r><A/><B/></r>"_s;
    QTest::newRow("two missing steps")
        << root << u"B/C"_s << false << u"/r/B/C"_s << u"<r><A/><B><C/></B></r>"_s;
    QTest::newRow("first step exists") << root << u"A/C"_s << false << u"/r/A/C"_s << u"<r><A><C/></A></r>"_s;
    QTest::newRow("first step is found, last is new")
        << root << u"A/A/A"_s << true << u"/r/A/A/A"_s << u"<r><A><A><A/></A></A></r>"_s;
    QTest::newRow("absolute without root")
        << u"/A"_s << u"/B"_s << false << u"/r/B"_s << u"<r><A/><B/></r>"_s;
    QTest::newRow("absolute with root") << u"/A"_s << u"/r/B"_s << false << u"/r/B"_s << u"<r><A/><B/></r>"_s;
    QTest::newRow("absolute, root step twice")
        << u"/A"_s << u"/r/r"_s << false << u"/r/r"_s << u"<r><A/><r/></r>"_s;
    QTest::newRow("absolute, root in different case")
        << u"/A"_s << u"/R/B"_s << false << u"/r/R/B"_s << u"<r><A/><R><B/></R></r>"_s;
    QTest::newRow("relative") << u"/A"_s << u"A"_s << false << u"/r/A/A"_s << u"<r><A><A/></A></r>"_s;
    QTest::newRow("backslashes and empty steps")
        << root << u"\\\\r\\B//C\\"_s << false << u"/r/B/C"_s << u"<r><A/><B><C/></B></r>"_s;
    QTest::newRow("blanks around") << root << u"  B  "_s << false << u"/r/B"_s << u"<r><A/><B/></r>"_s;
}

void tst_XmlFilerNavigation::CreateOrMoveToNode()
{
    QFETCH(const QString, start);
    QFETCH(const QString, path);
    QFETCH(const bool, alwaysNewLast);
    QFETCH(const QString, cursor);
    QFETCH(const QString, expected);
    XmlFiler filer;
    QVERIFY(filer.LoadFromXmlString(u"<r><A/></r>"_s));
    QVERIFY(filer.MoveToNode(start));

    QVERIFY(filer.CreateOrMoveToNode(path, true, alwaysNewLast));

    QCOMPARE(filer.GetCurrentNodePath(), cursor);
    QCOMPARE(TestSupport::DocumentMeaning(filer.GetCurrentNode()), TestSupport::XmlMeaning(expected));
}

void tst_XmlFilerNavigation::CreateOrMoveToNode_findsLikeMoveToNode_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<QString>("name");

    QTest::newRow("two dots") << u".."_s << u".."_s;
    QTest::newRow("dot") << u"."_s << u"."_s;
    QTest::newRow("index") << u"Panel[1]"_s << u"Panel[1]"_s;
    QTest::newRow("wildcard") << u"*"_s << u"*"_s;
    QTest::newRow("attribute") << u"@id"_s << u"@id"_s;
    QTest::newRow("prefixed name") << u"y:Item"_s << u"y:Item"_s;
    QTest::newRow("beyond Latin-1") << u"日本"_s << u"日本"_s;
    QTest::newRow("blank inside the name") << u"two words"_s << u"two words"_s;
}

void tst_XmlFilerNavigation::CreateOrMoveToNode_findsLikeMoveToNode()
{
    QFETCH(const QString, path);
    QFETCH(const QString, name);
    XmlFiler filer;
    QVERIFY(filer.LoadFromXmlString(Sample()));
    QVERIFY(!filer.MoveToNode(path));

    QVERIFY(filer.CreateOrMoveToNode(path, true, false));
    QCOMPARE(filer.GetCurrentNodePath(), u"/Settings/"_s + name);
    QCOMPARE(filer.GetCurrentNode().nodeName(), name);
    const QDomNode made = filer.GetCurrentNode();
    QVERIFY(made.nextSibling().isNull());

    filer.MoveToRoot();
    QVERIFY(filer.MoveToNode(path));
    QVERIFY(filer.GetCurrentNode() == made);
    filer.MoveToRoot();
    QVERIFY(filer.CreateOrMoveToNode(path, true, false));
    QVERIFY(filer.GetCurrentNode() == made);
}

void tst_XmlFilerNavigation::CreateOrMoveToNode_twice()
{
    XmlFiler filer;
    filer.CreateRoot(u"r"_s);
    for (int i = 0; i < 2; ++i) {
        QVERIFY(filer.CreateOrMoveToNode(u"A/B"_s, true, true));
        filer.MoveToRoot();
    }
    QCOMPARE(filer.ReadInnerXml().simplified().remove(u' '), u"<A><B/><B/></A>"_s);

    for (int i = 0; i < 2; ++i) {
        QVERIFY(filer.CreateOrMoveToNode(u"C/D"_s, true, false));
        filer.MoveToRoot();
    }
    QCOMPARE(filer.ReadInnerXml().simplified().remove(u' '), u"<A><B/><B/></A><C><D/></C>"_s);
}

void tst_XmlFilerNavigation::CreateOrMoveToNode_emptyDocument_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<QString>("expected");

    QTest::newRow("relative") << u"A/B"_s << u"/A/B"_s;
    QTest::newRow("absolute") << u"/A/B"_s << u"/A/B"_s;
    QTest::newRow("absolute, first step twice") << u"/A/A"_s << u"/A/A"_s;
    QTest::newRow("one step") << u"A"_s << u"/A"_s;
    QTest::newRow("slash") << u"/"_s << QString();
    QTest::newRow("blank") << u" "_s << QString();
}

void tst_XmlFilerNavigation::CreateOrMoveToNode_emptyDocument()
{
    QFETCH(const QString, path);
    QFETCH(const QString, expected);

    for (const bool alwaysNewLast : {false, true}) {
        XmlFiler filer;
        QVERIFY(filer.CreateOrMoveToNode(path, true, alwaysNewLast));
        QCOMPARE(filer.GetCurrentNodePath(), expected);
        QCOMPARE(filer.IsEmpty(), expected.isEmpty());
    }

    // A processing instruction is not a root.
    XmlFiler filer;
    filer.CreateXmlDeclaration();
    QVERIFY(filer.CreateOrMoveToNode(path, true, false));
    QCOMPARE(filer.GetCurrentNodePath(), expected);
}

void tst_XmlFilerNavigation::CreateOrMoveToNode_withoutCursor()
{
    XmlFiler filer;
    LoadWithoutCursor(filer, u"<r><A/></r>"_s);
    filer.PushCurrentNode();
    filer.PushCurrentNode();

    // Without a cursor nothing is found, so each call creates another top-level element.
    QVERIFY(filer.CreateOrMoveToNode(u"r/A"_s, true, false));
    const QDomDocument document = filer.GetCurrentNode().ownerDocument();
    QCOMPARE(Children(document), QStringList({u"r"_s, u"r"_s}));
    QVERIFY(filer.GetCurrentNode().parentNode() == document.lastChild());
    filer.PopCurrentNode();
    QVERIFY(filer.CreateNode(u"s"_s, true));
    QCOMPARE(Children(document), QStringList({u"r"_s, u"r"_s, u"s"_s}));

    // An absolute path still begins at the root.
    filer.PopCurrentNode();
    QVERIFY(filer.CreateOrMoveToNode(u"/B"_s, true, false));
    QCOMPARE(filer.GetCurrentNodePath(), u"/r/B"_s);
    QCOMPARE(Children(document), QStringList({u"r"_s, u"r"_s, u"s"_s}));
}

void tst_XmlFilerNavigation::CreateOrMoveToNode_documentNode()
{
    XmlFiler filer;
    QVERIFY(filer.LoadFromXmlString(u"<r><A/></r>"_s));
    QVERIFY(filer.MoveToParent());
    const QDomNode document = filer.GetCurrentNode();

    QVERIFY(filer.CreateOrMoveToNode(u"r/B"_s, true, false));
    QCOMPARE(filer.GetCurrentNodePath(), u"/r/B"_s);
    QCOMPARE(Children(document), QStringList(u"r"_s));

    filer.MoveToRoot();
    QVERIFY(filer.MoveToParent());
    QVERIFY(filer.CreateOrMoveToNode(u"s/B"_s, true, false));
    QCOMPARE(Children(document), QStringList({u"r"_s, u"s"_s}));
    QVERIFY(filer.GetCurrentNode().parentNode() == document.lastChild());
}

void tst_XmlFilerNavigation::CreateOrMoveToNode_detachedCursor()
{
    XmlFiler filer;
    QVERIFY(filer.LoadFromXmlString(u"<Old><A/></Old>"_s));
    QVERIFY(!filer.LoadFromXmlString(u"<"_s));

    QVERIFY(filer.CreateOrMoveToNode(u"A/B"_s, true, false));
    QVERIFY(filer.IsEmpty());
    QVERIFY(filer.MoveToParent());
    QVERIFY(filer.MoveToParent());
    QCOMPARE(Children(filer.GetCurrentNode()), QStringList(u"A"_s));

    QVERIFY(filer.CreateOrMoveToNode(u"/New/A"_s, true, false));
    QCOMPARE(filer.GetCurrentNodePath(), u"/New/A"_s);
    QVERIFY(!filer.IsEmpty());
}

void tst_XmlFilerNavigation::CreateNode()
{
    XmlFiler filer;
    filer.CreateRoot(u"r"_s);

    for (int i = 0; i < 3; ++i) {
        QVERIFY(filer.CreateNode(u"List/Item"_s, false));
        filer.WriteInt(u"i"_s, i);
        filer.MoveToRoot();
    }
    QCOMPARE(Children(filer.GetCurrentNode()), QStringList(u"List"_s));
    QCOMPARE(Children(filer.GetCurrentNode().firstChild()), QStringList({u"Item"_s, u"Item"_s, u"Item"_s}));

    QVERIFY(filer.CreateNode(u"List/Item"_s, true));
    QCOMPARE(filer.ReadInt(u"i"_s, -1), 0);
    QVERIFY(filer.CreateNode(u" "_s, false));
    QCOMPARE(filer.GetCurrentNodePath(), u"/r/List/Item"_s);
    QCOMPARE(Children(filer.GetCurrentNode().parentNode()), QStringList({u"Item"_s, u"Item"_s, u"Item"_s}));
}

// Single movements

void tst_XmlFilerNavigation::CreateImmediateChildNode()
{
    XmlFiler filer;
    QVERIFY(filer.LoadFromXmlString(u"<r><A/>text<!--c--></r>"_s));

    filer.CreateImmediateChildNode(u"A"_s);

    QCOMPARE(filer.GetCurrentNodePath(), u"/r/A"_s);
    QVERIFY(filer.GetCurrentNode().nextSibling().isNull());
    QVERIFY(filer.GetCurrentNode().previousSibling().isComment());
    QCOMPARE(TestSupport::DocumentMeaning(filer.GetCurrentNode()),
             TestSupport::XmlMeaning(u"<r><A/>text<!--c--><A/></r>"_s));
}

void tst_XmlFilerNavigation::CreateImmediateChildNode_withoutCursor()
{
    XmlFiler filer;
    filer.CreateImmediateChildNode(u"r"_s);
    QCOMPARE(filer.GetCurrentNodePath(), u"/r"_s);
    QCOMPARE(TestSupport::DocumentMeaning(filer.GetCurrentNode()), TestSupport::XmlMeaning(u"<r/>"_s));

    LoadWithoutCursor(filer, u"<r/><!--c-->"_s);
    filer.CreateImmediateChildNode(u"s"_s);
    const QDomDocument document = filer.GetCurrentNode().ownerDocument();
    QCOMPARE(Children(document), QStringList({u"r"_s, u"s"_s}));
    QVERIFY(filer.GetCurrentNode() == document.lastChild());
}

void tst_XmlFilerNavigation::CreateImmediateChildNode_nameIsNotAPath()
{
    XmlFiler filer;
    filer.CreateRoot(u"r"_s);
    filer.CreateImmediateChildNode(u"A/B"_s);
    QCOMPARE(filer.GetCurrentNode().nodeName(), u"A/B"_s);
    QVERIFY(filer.MoveToParent());
    QCOMPARE(Children(filer.GetCurrentNode()), QStringList(u"A/B"_s));
    QVERIFY(!filer.MoveToNode(u"A/B"_s));
    QVERIFY(filer.MoveToImmediateChildNode(u"A/B"_s));
}

void tst_XmlFilerNavigation::MoveToRoot()
{
    XmlFiler filer;
    filer.MoveToRoot();
    QVERIFY(filer.GetCurrentNode().isNull());

    QVERIFY(filer.LoadFromXmlString(Sample()));
    QVERIFY(filer.MoveToNode(u"Panel/Item"_s));
    filer.MoveToRoot();
    QCOMPARE(Id(filer), u"root"_s);

    QVERIFY(!filer.LoadFromXmlString(u"<"_s));
    filer.MoveToRoot();
    QVERIFY(filer.GetCurrentNode().isNull());
}

void tst_XmlFilerNavigation::MoveToFirstChild()
{
    XmlFiler filer;
    QVERIFY(filer.LoadFromXmlString(Sample()));

    QVERIFY(filer.MoveToFirstChild());
    QCOMPARE(Id(filer), u"p1"_s);
    QVERIFY(filer.MoveToFirstChild());
    QCOMPARE(Id(filer), u"p1i1"_s);
    QVERIFY(!filer.MoveToFirstChild());
    QCOMPARE(Id(filer), u"p1i1"_s);

    filer.MoveToRoot();
    QVERIFY(filer.MoveToParent());
    QVERIFY(filer.MoveToFirstChild());
    QCOMPARE(Id(filer), u"root"_s);

    QVERIFY(filer.LoadFromXmlString(u"<r>text<!--c--><?p q?></r>"_s));
    QVERIFY(!filer.MoveToFirstChild());
    QCOMPARE(filer.GetCurrentNodePath(), u"/r"_s);
}

void tst_XmlFilerNavigation::MoveToImmediateChildNode_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<bool>("expected");
    QTest::addColumn<QString>("id");

    QTest::newRow("first of its name") << u"Panel"_s << true << u"p1"_s;
    QTest::newRow("later child") << u"Settings"_s << true << u"inner"_s;
    QTest::newRow("prefixed") << u"x:Item"_s << true << u"prefixed"_s;
    QTest::newRow("empty name is any name") << u""_s << true << u"p1"_s;
    QTest::newRow("null name is any name") << QString() << true << u"p1"_s;
    QTest::newRow("missing") << u"Missing"_s << false << u"root"_s;
    QTest::newRow("different case") << u"panel"_s << false << u"root"_s;
    QTest::newRow("grandchild") << u"Item"_s << false << u"root"_s;
    QTest::newRow("path") << u"Panel/Item"_s << false << u"root"_s;
    QTest::newRow("slash before") << u"/Panel"_s << false << u"root"_s;
    QTest::newRow("blanks around") << u" Panel "_s << false << u"root"_s;
    QTest::newRow("blank") << u" "_s << false << u"root"_s;
}

void tst_XmlFilerNavigation::MoveToImmediateChildNode()
{
    QFETCH(const QString, name);
    QFETCH(const bool, expected);
    QFETCH(const QString, id);
    XmlFiler filer;
    QVERIFY(filer.LoadFromXmlString(Sample()));

    QCOMPARE(filer.MoveToImmediateChildNode(name), expected);

    QCOMPARE(Id(filer), id);
}

void tst_XmlFilerNavigation::MoveToNextSibling()
{
    XmlFiler filer;
    QVERIFY(filer.LoadFromXmlString(Sample()));
    QVERIFY(!filer.MoveToNextSibling());
    QCOMPARE(Id(filer), u"root"_s);

    QVERIFY(filer.MoveToNode(u"Panel/Item"_s));
    QVERIFY(filer.MoveToNextSibling());
    QCOMPARE(Id(filer), u"p1i2"_s);
    QVERIFY(!filer.MoveToNextSibling());
    QCOMPARE(Id(filer), u"p1i2"_s);

    QVERIFY(filer.MoveToParent());
    QStringList ids;
    do {
        ids.append(Id(filer));
    } while (filer.MoveToNextSibling());
    QCOMPARE(ids, QStringList({u"p1"_s, u"p2"_s, u"inner"_s, u"prefixed"_s}));

    filer.MoveToRoot();
    QVERIFY(filer.MoveToParent());
    QVERIFY(!filer.MoveToNextSibling());
    QVERIFY(filer.GetCurrentNode().isDocument());
}

void tst_XmlFilerNavigation::MoveToParent()
{
    XmlFiler filer;
    QVERIFY(filer.LoadFromXmlString(Sample()));
    QVERIFY(filer.MoveToNode(u"Panel/Item"_s));

    QVERIFY(filer.MoveToParent());
    QCOMPARE(Id(filer), u"p1"_s);
    QVERIFY(filer.MoveToParent());
    QCOMPARE(Id(filer), u"root"_s);
    QVERIFY(filer.MoveToParent());
    QVERIFY(filer.GetCurrentNode().isDocument());
    QVERIFY(!filer.MoveToParent());
    QVERIFY(filer.GetCurrentNode().isDocument());
}

void tst_XmlFilerNavigation::Movement_withoutCursor()
{
    XmlFiler filer;
    LoadWithoutCursor(filer, Sample());

    QVERIFY(!filer.MoveToFirstChild());
    QVERIFY(!filer.MoveToNextSibling());
    QVERIFY(!filer.MoveToParent());
    QVERIFY(!filer.MoveToImmediateChildNode(u"Settings"_s));
    QVERIFY(!filer.MoveToImmediateChildNode(QString()));
    filer.DeleteNode();
    filer.DeleteChildNodes();

    QVERIFY(filer.GetCurrentNode().isNull());
    filer.MoveToRoot();
    QCOMPARE(TestSupport::DocumentMeaning(filer.GetCurrentNode()), TestSupport::XmlMeaning(Sample()));
}

// Deletion

void tst_XmlFilerNavigation::DeleteNode()
{
    XmlFiler filer;
    QVERIFY(filer.LoadFromXmlString(u"<r><A/>text<A id=\"2\"><B/></A><C/></r>"_s));
    QVERIFY(filer.MoveToNode(u"A"_s));
    QVERIFY(filer.MoveToNextSibling());

    filer.DeleteNode();

    QCOMPARE(filer.GetCurrentNodePath(), u"/r"_s);
    QCOMPARE(TestSupport::DocumentMeaning(filer.GetCurrentNode()),
             TestSupport::XmlMeaning(u"<r><A/>text<C/></r>"_s));
}

void tst_XmlFilerNavigation::DeleteNode_root()
{
    XmlFiler filer;
    QVERIFY(filer.LoadFromXmlString(u"<?p q?><r><A/></r><!--c-->"_s));

    filer.DeleteNode();

    QVERIFY(filer.IsEmpty());
    QVERIFY(filer.GetCurrentNode().isDocument());
    QCOMPARE(filer.GetCurrentNode().childNodes().count(), 2);
    QCOMPARE(filer.SaveAsXmlString(), QString());

    // The cursor is on the document, so the next element becomes the root.
    QVERIFY(filer.CreateOrMoveToNode(u"s/A"_s, true, false));
    QCOMPARE(filer.GetCurrentNodePath(), u"/s/A"_s);
}

void tst_XmlFilerNavigation::DeleteNode_withoutParent()
{
    XmlFiler filer;
    filer.DeleteNode();
    QVERIFY(filer.GetCurrentNode().isNull());

    QVERIFY(filer.LoadFromXmlString(u"<r><A/></r>"_s));
    QVERIFY(filer.MoveToParent());
    filer.DeleteNode();
    QVERIFY(filer.GetCurrentNode().isDocument());
    QVERIFY(!filer.IsEmpty());

    filer.MoveToRoot();
    QVERIFY(filer.MoveToNode(u"A"_s));
    filer.DeleteNode(QString());
    filer.DeleteNode();
    QCOMPARE(filer.GetCurrentNode().nodeName(), u"A"_s);
}

void tst_XmlFilerNavigation::DeleteNode_path_data()
{
    QTest::addColumn<QString>("start");
    QTest::addColumn<QString>("path");
    QTest::addColumn<QString>("expected");

    const QString whole = u"<r><A/><B><C/><C/></B><D/></r>"_s;
    QTest::newRow("child") << u"/"_s << u"A"_s << u"<r><B><C/><C/></B><D/></r>"_s;
    QTest::newRow("first of two") << u"/"_s << u"B/C"_s << u"<r><A/><B><C/></B><D/></r>"_s;
    QTest::newRow("absolute, from elsewhere") << u"/D"_s << u"/B"_s << u"<r><A/><D/></r>"_s;
    QTest::newRow("absolute with root") << u"/D"_s << u"\\r\\B/C/"_s << u"<r><A/><B><C/></B><D/></r>"_s;
    QTest::newRow("missing") << u"/D"_s << u"A"_s << whole;
    QTest::newRow("missing last step") << u"/D"_s << u"/B/X"_s << whole;
    QTest::newRow("different case") << u"/"_s << u"a"_s << whole;
}

void tst_XmlFilerNavigation::DeleteNode_path()
{
    QFETCH(const QString, start);
    QFETCH(const QString, path);
    QFETCH(const QString, expected);
    XmlFiler filer;
    QVERIFY(filer.LoadFromXmlString(u"<r><A/><B><C/><C/></B><D/></r>"_s));
    QVERIFY(filer.MoveToNode(start));
    const QDomNode cursor = filer.GetCurrentNode();

    filer.DeleteNode(path);

    QVERIFY(filer.GetCurrentNode() == cursor);
    QCOMPARE(TestSupport::DocumentMeaning(cursor), TestSupport::XmlMeaning(expected));
}

void tst_XmlFilerNavigation::DeleteNode_path_cursorInside()
{
    XmlFiler filer;
    QVERIFY(filer.LoadFromXmlString(u"<r><A/><B><C id=\"7\"><D/></C><E/></B><F/></r>"_s));
    QVERIFY(filer.MoveToNode(u"B/C"_s));

    filer.DeleteNode(u"/B"_s);

    // The removed tree stays complete around the cursor, separate from the document.
    QCOMPARE(filer.GetCurrentNodePath(), u"/B/C"_s);
    QCOMPARE(filer.ReadInt(u"id"_s, 0), 7);
    QVERIFY(filer.MoveToNextSibling());
    QCOMPARE(filer.GetCurrentNodePath(), u"/B/E"_s);
    QVERIFY(filer.MoveToParent());
    QVERIFY(!filer.MoveToNextSibling());
    QVERIFY(!filer.MoveToParent());
    filer.DeleteNode();
    QCOMPARE(filer.GetCurrentNodePath(), u"/B"_s);
    filer.MoveToRoot();
    QCOMPARE(TestSupport::DocumentMeaning(filer.GetCurrentNode()),
             TestSupport::XmlMeaning(u"<r><A/><F/></r>"_s));
}

void tst_XmlFilerNavigation::DeleteNode_path_itself()
{
    XmlFiler filer;
    QVERIFY(filer.LoadFromXmlString(u"<r><A id=\"7\"/><B/></r>"_s));
    QVERIFY(filer.MoveToNode(u"A"_s));

    filer.DeleteNode(u" "_s);

    QCOMPARE(Id(filer), u"7"_s);
    QCOMPARE(filer.GetCurrentNodePath(), u"/A"_s);
    QVERIFY(!filer.MoveToParent());
    QVERIFY(!filer.MoveToNextSibling());
    filer.MoveToRoot();
    QCOMPARE(TestSupport::DocumentMeaning(filer.GetCurrentNode()), TestSupport::XmlMeaning(u"<r><B/></r>"_s));

    // Removes the root by its path, with the cursor inside.
    QVERIFY(filer.MoveToNode(u"B"_s));
    filer.DeleteNode(u"/"_s);
    QCOMPARE(filer.GetCurrentNode().nodeName(), u"B"_s);
    QVERIFY(filer.IsEmpty());
    filer.MoveToRoot();
    QVERIFY(filer.GetCurrentNode().isNull());
}

void tst_XmlFilerNavigation::DeleteNode_path_withoutCursor()
{
    XmlFiler filer;
    LoadWithoutCursor(filer, u"<r><A><B/></A></r>"_s);
    filer.DeleteNode(u"A"_s);
    QVERIFY(filer.GetCurrentNode().isNull());
    filer.DeleteNode(QString());
    QVERIFY(filer.GetCurrentNode().isNull());

    filer.DeleteNode(u"/A/B"_s);
    QCOMPARE(filer.GetCurrentNodePath(), u"/r/A"_s);
    QCOMPARE(TestSupport::DocumentMeaning(filer.GetCurrentNode()), TestSupport::XmlMeaning(u"<r><A/></r>"_s));

    LoadWithoutCursor(filer, u"<r><A><B/></A></r>"_s);
    filer.DeleteNode(u"/r"_s);
    QVERIFY(filer.GetCurrentNode().isDocument());
    QVERIFY(filer.IsEmpty());
}

void tst_XmlFilerNavigation::DeleteNode_path_withoutParent()
{
    XmlFiler filer;
    QVERIFY(filer.LoadFromXmlString(u"<Old><A/></Old>"_s));
    QVERIFY(!filer.LoadFromXmlString(u"<"_s));
    filer.DeleteNode(QString());
    QCOMPARE(filer.GetCurrentNode().nodeName(), u"Old"_s);

    // The path leads to a root that does not exist, so the cursor is null.
    filer.DeleteNode(u"/"_s);
    QVERIFY(filer.GetCurrentNode().isNull());

    QVERIFY(filer.LoadFromXmlString(u"<r/>"_s));
    QVERIFY(filer.MoveToParent());
    filer.DeleteNode(QString());
    QVERIFY(filer.GetCurrentNode().isDocument());
    QVERIFY(!filer.IsEmpty());
}

void tst_XmlFilerNavigation::DeleteChildNodes()
{
    XmlFiler filer;
    QVERIFY(
        filer.LoadFromXmlString(u"<r><A id=\"1\">t<B><C/></B><![CDATA[d]]><!--c--><?p q?></A><D/></r>"_s));
    QVERIFY(filer.MoveToNode(u"A"_s));

    filer.DeleteChildNodes();

    QCOMPARE(filer.GetCurrentNodePath(), u"/r/A"_s);
    QVERIFY(!filer.GetCurrentNode().hasChildNodes());
    QCOMPARE(TestSupport::DocumentMeaning(filer.GetCurrentNode()),
             TestSupport::XmlMeaning(u"<r><A id=\"1\"/><D/></r>"_s));
    filer.DeleteChildNodes();
    QCOMPARE(filer.GetCurrentNodePath(), u"/r/A"_s);
}

void tst_XmlFilerNavigation::DeleteChildNodes_documentNode()
{
    XmlFiler filer;
    QVERIFY(filer.LoadFromXmlString(Sample()));
    QVERIFY(filer.MoveToParent());

    filer.DeleteChildNodes();

    QVERIFY(filer.GetCurrentNode().isDocument());
    QVERIFY(!filer.GetCurrentNode().hasChildNodes());
    QVERIFY(filer.IsEmpty());
    QCOMPARE(filer.SaveAsXmlString(), QString());
}

void tst_XmlFilerNavigation::DeleteChildNodes_path_data()
{
    QTest::addColumn<QString>("start");
    QTest::addColumn<QString>("path");
    QTest::addColumn<QString>("expected");

    QTest::newRow("child") << u"/"_s << u"A"_s << u"<r><A/><B x=\"1\"><C/></B></r>"_s;
    QTest::newRow("absolute, from elsewhere")
        << u"/A"_s << u"/B"_s << u"<r><A>t<!--c--></A><B x=\"1\"/></r>"_s;
    QTest::newRow("blank is the cursor") << u"/B"_s << u" "_s << u"<r><A>t<!--c--></A><B x=\"1\"/></r>"_s;
    QTest::newRow("root") << u"/"_s << u"/"_s << u"<r/>"_s;
    QTest::newRow("missing") << u"/A"_s << u"/X"_s << u"<r><A>t<!--c--></A><B x=\"1\"><C/></B></r>"_s;
    QTest::newRow("missing last step")
        << u"/A"_s << u"/B/X"_s << u"<r><A>t<!--c--></A><B x=\"1\"><C/></B></r>"_s;
}

void tst_XmlFilerNavigation::DeleteChildNodes_path()
{
    QFETCH(const QString, start);
    QFETCH(const QString, path);
    QFETCH(const QString, expected);
    XmlFiler filer;
    QVERIFY(filer.LoadFromXmlString(u"<r><A>t<!--c--></A><B x=\"1\"><C/></B></r>"_s));
    QVERIFY(filer.MoveToNode(start));
    const QDomNode cursor = filer.GetCurrentNode();

    filer.DeleteChildNodes(path);

    QVERIFY(filer.GetCurrentNode() == cursor);
    filer.MoveToRoot();
    QCOMPARE(TestSupport::DocumentMeaning(filer.GetCurrentNode()), TestSupport::XmlMeaning(expected));

    LoadWithoutCursor(filer, u"<r><A/></r>"_s);
    filer.DeleteChildNodes(u"/"_s);
    QVERIFY(filer.GetCurrentNode().isNull());
    filer.MoveToRoot();
    QVERIFY(!filer.GetCurrentNode().hasChildNodes());
}

void tst_XmlFilerNavigation::DeleteChildNodes_cursorInside()
{
    XmlFiler filer;
    QVERIFY(filer.LoadFromXmlString(u"<r><A><B/><C><D/></C></A><E/></r>"_s));
    QVERIFY(filer.MoveToNode(u"A/B"_s));

    filer.DeleteChildNodes(u"/"_s);

    QCOMPARE(filer.GetCurrentNodePath(), u"/A/B"_s);
    QVERIFY(filer.MoveToNextSibling());
    QVERIFY(filer.MoveToNode(u"D"_s));
    QVERIFY(filer.MoveToParent());
    QVERIFY(filer.MoveToParent());
    QVERIFY(!filer.MoveToNextSibling());
    QVERIFY(!filer.MoveToParent());
}

// Cursor and stack

void tst_XmlFilerNavigation::GetCurrentNode()
{
    XmlFiler filer;
    filer.CreateRoot(u"r"_s);

    filer.GetCurrentNode().toElement().setAttribute(u"a"_s, u"1"_s);

    QCOMPARE(filer.ReadInt(u"a"_s, 0), 1);
    const QDomNode handle = filer.GetCurrentNode();
    QVERIFY(filer.CreateNode(u"A"_s, false));
    QVERIFY(filer.GetCurrentNode() != handle);
    QVERIFY(filer.GetCurrentNode().parentNode() == handle);
}

// Changes to the document through a handle take effect at once, even for paths that were used before.
void tst_XmlFilerNavigation::GetCurrentNode_changesThroughTheHandle()
{
    const QString name = u"n"_s;
    XmlFiler filer;
    QVERIFY(filer.LoadFromXmlString(u"<r><A n=\"1\"/><A n=\"2\"/></r>"_s));
    QCOMPARE(filer.ReadInt(u"/A"_s, name, 7), 1);

    QDomNode root = filer.GetCurrentNode();
    QCOMPARE(filer.ReadInt(u"/A"_s, name, 7), 1);
    QCOMPARE(filer.ReadInt(u"A"_s, name, 7), 1);
    root.removeChild(root.firstChild());
    QCOMPARE(filer.ReadInt(u"/A"_s, name, 7), 2);
    QCOMPARE(filer.ReadInt(u"A"_s, name, 7), 2);
    root.removeChild(root.firstChild());
    QCOMPARE(filer.ReadInt(u"/A"_s, name, 7), 7);
    QVERIFY(!filer.MoveToNode(u"A"_s));
    root.appendChild(root.ownerDocument().createElement(u"A"_s));
    QVERIFY(filer.MoveToNode(u"A"_s));
}

void tst_XmlFilerNavigation::GetCurrentNodePath()
{
    XmlFiler filer;
    QCOMPARE(filer.GetCurrentNodePath(), QString());
    QVERIFY(filer.LoadFromXmlString(Sample()));

    QCOMPARE(filer.GetCurrentNodePath(), u"/Settings"_s);
    QVERIFY(filer.MoveToNode(u"/Panel/Item"_s));
    QCOMPARE(filer.GetCurrentNodePath(), u"/Settings/Panel/Item"_s);
    QVERIFY(filer.MoveToNextSibling());
    QCOMPARE(filer.GetCurrentNodePath(), u"/Settings/Panel/Item"_s);
    QVERIFY(filer.MoveToNode(u"/Settings/Settings"_s));
    QCOMPARE(filer.GetCurrentNodePath(), u"/Settings/Settings"_s);
    QVERIFY(filer.MoveToNode(u"/x:Item"_s));
    QCOMPARE(filer.GetCurrentNodePath(), u"/Settings/x:Item"_s);
}

void tst_XmlFilerNavigation::GetCurrentNodeName()
{
    XmlFiler filer;
    QCOMPARE(filer.GetCurrentNodeName(), QString()); // no cursor
    QVERIFY(filer.LoadFromXmlString(u"<a><x:b/><c/></a>"_s));
    QCOMPARE(filer.GetCurrentNodeName(), u"a"_s);
    QVERIFY(filer.MoveToFirstChild());
    QCOMPARE(filer.GetCurrentNodeName(), u"x:b"_s);
    QVERIFY(filer.MoveToNextSibling());
    QCOMPARE(filer.GetCurrentNodeName(), u"c"_s);
    filer.MoveToRoot();
    QVERIFY(filer.MoveToParent()); // to the document itself
    QCOMPARE(filer.GetCurrentNodeName(), QString());
}

void tst_XmlFilerNavigation::GetAttributeNames()
{
    XmlFiler filer;
    QCOMPARE(filer.GetAttributeNames(), QStringList());
    QVERIFY(filer.LoadFromXmlString(u"<a z='1' B='2' x:y='' c='4'><b/></a>"_s));
    QCOMPARE(filer.GetAttributeNames(), QStringList({u"B"_s, u"c"_s, u"x:y"_s, u"z"_s}));
    filer.WriteInt(u"aa"_s, 1);
    QCOMPARE(filer.GetAttributeNames(), QStringList({u"B"_s, u"aa"_s, u"c"_s, u"x:y"_s, u"z"_s}));
    QVERIFY(filer.MoveToFirstChild());
    QCOMPARE(filer.GetAttributeNames(), QStringList());
    filer.MoveToRoot();
    QVERIFY(filer.MoveToParent());
    QCOMPARE(filer.GetAttributeNames(), QStringList());
}

void tst_XmlFilerNavigation::GetCurrentNodePath_besideTheRoot()
{
    XmlFiler filer;
    LoadWithoutCursor(filer, u"<r/>"_s);
    QVERIFY(filer.CreateOrMoveToNode(u"s/A"_s, true, false));
    QCOMPARE(filer.GetCurrentNodePath(), u"/#document/s/A"_s);
    QVERIFY(filer.MoveToParent());
    QVERIFY(filer.MoveToParent());
    QCOMPARE(filer.GetCurrentNodePath(), u"/#document"_s);
}

void tst_XmlFilerNavigation::Stack()
{
    XmlFiler filer;
    filer.PushCurrentNode();
    QVERIFY(filer.LoadFromXmlString(Sample()));
    filer.PushCurrentNode();
    QVERIFY(filer.MoveToNode(u"Panel"_s));
    filer.PushCurrentNode();
    filer.PushCurrentNode();
    QVERIFY(filer.MoveToNode(u"Item"_s));

    const XmlFiler& constant = filer;
    constant.PopCurrentNode();
    QCOMPARE(Id(filer), u"p1"_s);
    filer.MoveToRoot();
    filer.PopCurrentNode();
    QCOMPARE(Id(filer), u"p1"_s);
    filer.PopCurrentNode();
    QCOMPARE(Id(filer), u"root"_s);
    constant.PushCurrentNode();
    filer.PopCurrentNode();
    QCOMPARE(Id(filer), u"root"_s);
    filer.PopCurrentNode();
    QVERIFY(filer.GetCurrentNode().isNull());
}

void tst_XmlFilerNavigation::Stack_empty()
{
    XmlFiler filer;
    filer.LoadFromXmlString(u"<A><B/></A>"_s);
    filer.MoveToNode(u"/A/B"_s);
    const TestSupport::LogGuard log;

    filer.PopCurrentNode();
    QCOMPARE(filer.GetCurrentNodePath(), u"/A/B"_s);
    QCOMPARE(log.Messages(),
             QStringList{u"the node stack is empty: PopCurrentNode without PushCurrentNode"_s});

    filer.PushCurrentNode();
    filer.PopCurrentNode();
    filer.PopCurrentNode();
    QCOMPARE(filer.GetCurrentNodePath(), u"/A/B"_s);
    QCOMPARE(log.Messages().size(), 2);
}

void tst_XmlFilerNavigation::Stack_survivesDeletion()
{
    XmlFiler filer;
    QVERIFY(filer.LoadFromXmlString(u"<r><A><B id=\"7\"/><C id=\"8\"/></A></r>"_s));
    QVERIFY(filer.MoveToNode(u"A/B"_s));
    filer.PushCurrentNode();
    filer.MoveToRoot();
    filer.DeleteChildNodes();
    for (int i = 0; i < 100; ++i) {
        filer.CreateImmediateChildNode(u"X"_s);
        filer.DeleteNode();
    }

    filer.PopCurrentNode();

    QCOMPARE(Id(filer), u"7"_s);
    QVERIFY(filer.MoveToNextSibling());
    QCOMPARE(Id(filer), u"8"_s);
    QCOMPARE(filer.GetCurrentNodePath(), u"/A/C"_s);
}

void tst_XmlFilerNavigation::DetachedSiblings_data()
{
    QTest::addColumn<int>("way");

    QTest::newRow("failed load") << 0;
    QTest::newRow("successful load") << 1;
    QTest::newRow("reset") << 2;
    QTest::newRow("parent removed") << 3;
    QTest::newRow("content of the parent's parent removed") << 4;
    QTest::newRow("content overwritten") << 5;
    QTest::newRow("root removed") << 6;
}

void tst_XmlFilerNavigation::DetachedSiblings()
{
    // However a tree is removed, the cursor inside keeps its surroundings and never accesses freed memory.
    QFETCH(const int, way);
    XmlFiler filer;
    QVERIFY(filer.LoadFromXmlString(u"<r><A><B id=\"7\"><K/></B><C id=\"8\"/></A></r>"_s));
    QVERIFY(filer.MoveToNode(u"A/B"_s));
    filer.PushCurrentNode();
    switch (way) {
    case 0:
        QVERIFY(!filer.LoadFromXmlString(u"<"_s));
        break;
    case 1:
        QVERIFY(filer.LoadFromXmlString(u"<r/>"_s));
        break;
    case 2:
        filer.Reset();
        break;
    case 3:
        filer.DeleteNode(u"/A"_s);
        break;
    case 4:
        filer.DeleteChildNodes(u"/"_s);
        break;
    case 5:
        filer.WriteNodeText(u"/"_s, u"text"_s);
        break;
    default:
        filer.DeleteNode(u"/"_s);
        break;
    }
    filer.PopCurrentNode();

    QCOMPARE(Id(filer), u"7"_s);
    QVERIFY(filer.MoveToNode(u"K"_s));
    QVERIFY(filer.MoveToParent());
    QVERIFY(filer.MoveToNextSibling());
    QCOMPARE(Id(filer), u"8"_s);
    filer.WriteInt(u"n/m"_s, u"v"_s, 1);
    QCOMPARE(filer.ReadInt(u"n/m"_s, u"v"_s, 0), 1);
    filer.DeleteNode();
    QCOMPARE(filer.GetCurrentNode().nodeName(), u"A"_s);
    QCOMPARE(Children(filer.GetCurrentNode()), QStringList(u"B"_s));
    QVERIFY(!filer.MoveToNextSibling());
}

QTEST_GUILESS_MAIN(tst_XmlFilerNavigation)
#include "tst_XmlFilerNavigation.moc"
