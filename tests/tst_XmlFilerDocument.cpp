// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "XmlFiler.h"
#include "support/TestSupport.h"

#include <QDir>
#include <QFileInfo>
#include <QStringEncoder>
#include <QTemporaryDir>
#include <QTextStream>

#include <cerrno>

using namespace Qt::StringLiterals;
using namespace Quorvin::Util;

namespace {

/// Returns \p depth nested elements "e".
QString Nested(int depth)
{
    return u"<e>"_s.repeated(depth) + u"</e>"_s.repeated(depth);
}

/// Returns a document whose entity of \p size characters is used \p uses times, in text or in an attribute.
QString Expanding(int size, int uses, bool inAttribute)
{
    const QString head
        = u"<!DOCTYPE r [<!ENTITY e \"%1\">]>"_s.arg(u"x"_s.repeated(size)).replace(u'\r', u' ');
    const QString references = u"&e;"_s.repeated(uses);
    return head + (inAttribute ? u"<r a=\"%1\"/>"_s : u"<r>%1</r>"_s).arg(references);
}

/// Returns a document of 40 KB that grows by a factor of a thousand with each of its entities.
QString Bomb()
{
    QString head = u"<!DOCTYPE r [<!ENTITY e0 \"%1\">"_s.arg(u"x"_s.repeated(1000));
    for (int i = 1; i < 10; ++i)
        head += u"<!ENTITY e%1 \"%2\">"_s.arg(i).arg(u"&e%1;"_s.arg(i - 1).repeated(1000));
    return head + u"]><r>&e9;</r>"_s;
}

/// Returns the text that Qt alone writes after parsing \p xml.
QString RawString(const QString& xml)
{
    QDomDocument document;
    return document.setContent(xml) ? document.toString(1) : u"unreadable"_s;
}

/// Returns the bytes that Qt alone writes for the same text.
QByteArray RawFile(const QString& xml)
{
    QDomDocument document;
    QByteArray bytes;
    if (!document.setContent(xml))
        return "unreadable";
    QTextStream stream(&bytes);
    document.save(stream, 4, QDomNode::EncodingFromTextStream);
    stream.flush();
    return bytes;
}

QByteArray Encoded(QStringConverter::Encoding encoding, const QString& text)
{
    QStringEncoder encoder(encoding, QStringConverter::Flag::WriteBom);
    return encoder(text);
}

} // namespace

class tst_XmlFilerDocument : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void Construction();

    void LoadFromXmlFile_data();
    void LoadFromXmlFile();
    void LoadFromXmlFile_notXml_data();
    void LoadFromXmlFile_notXml();
    void LoadFromXmlFile_missingFileKeepsDocument();
    void LoadFromXmlFile_cannotOpen_data();
    void LoadFromXmlFile_cannotOpen();
    void LoadFromXmlFile_noPermission();
    void LoadFromXmlFile_cannotOpenIsAWarning();
    void LoadFromXmlFile_replacesDocumentAndKeepsStack();
    void LoadFromXmlFile_setsTheTranslationContext();

    void LoadFromXmlString_data();
    void LoadFromXmlString();
    void LoadFromXmlString_notXml_data();
    void LoadFromXmlString_notXml();
    void LoadFromXmlString_limits_data();
    void LoadFromXmlString_limits();
    void LoadFromXmlString_failureDetachesCursor();
    void GetLoadError_data();
    void GetLoadError();
    void GetLoadError_ofFiles();
    void LoadFromXmlString_afterFailure();

    void SaveAsXmlString_data();
    void SaveAsXmlString();
    void SaveAsXmlString_nothingToSave();
    void SaveAsXmlFile_data();
    void SaveAsXmlFile();
    void SaveAsXmlFile_literalBytes();
    void SaveAsXmlFile_replacesLongerFile();
    void SaveAsXmlFile_nothingToSaveKeepsFile();
    void SaveAsXmlFile_cannotOpen();
    void SaveAsXmlFile_unloadable_data();
    void SaveAsXmlFile_unloadable();

    void IsEmpty_data();
    void IsEmpty();

    void Reset();
    void Reset_keepsStackPathAndSettings();
    void Reset_thenContent();

    void CreateXmlDeclaration_data();
    void CreateXmlDeclaration();
    void CreateXmlDeclaration_emptyDocument();
    void CreateProcessingInstruction();
    void CreateProcessingInstruction_withoutRoot();
    void CreateRoot_data();
    void CreateRoot();
    void CreateRoot_secondTime();
    void CreateRoot_detachedCursor();

private:
    [[nodiscard]] QString Path(const QString& name) const { return mDir->filePath(name); }
    [[nodiscard]] QString WriteXliff() const;

    std::optional<QTemporaryDir> mDir;
};

void tst_XmlFilerDocument::init()
{
    TestSupport::FailOnAnyMessage();
    mDir.emplace();
    QVERIFY(mDir->isValid());
}

void tst_XmlFilerDocument::cleanup()
{
    mDir->setAutoRemove(!QTest::currentTestFailed());
    mDir.reset();
}

/// Writes translations that show which document the filer has loaded last.
QString tst_XmlFilerDocument::WriteXliff() const
{
    const QString id = QString::fromLatin1(GeneralUtil::GetHash(u"Where"_s));
    QString xml = u"<xliff>"_s;
    for (const QString& name : {u"one.xml"_s, u"two.xml"_s}) {
        xml += u"<file original=\"%1\"><body><trans-unit id=\"%2\"><target>in %1</target></trans-unit>"
               "</body></file>"_s.arg(name, id);
    }
    const QString path = Path(u"texts.xlf"_s);
    return TestSupport::WriteFile(path, (xml + u"</xliff>"_s).toUtf8()) ? path : QString();
}

void tst_XmlFilerDocument::Construction()
{
    XmlFiler filer;

    QVERIFY(filer.IsEmpty());
    QVERIFY(filer.GetCurrentNode().isNull());
    QCOMPARE(filer.GetCurrentNodePath(), QString());
    QCOMPARE(filer.SaveAsXmlString(), QString());
    QCOMPARE(filer.ExtraText, QString());
    QVERIFY(filer.Translator == nullptr);
    QVERIFY(filer.TranslateEnabled);
}

// Loading from a file

void tst_XmlFilerDocument::LoadFromXmlFile_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<QString>("text");

    const QString declared = u"<?xml version=\"1.0\" encoding=\"%1\"?><r t=\"Grüße\"/>"_s;
    QTest::newRow("no declaration") << QByteArray("<r t=\"Gr\xC3\xBC\xC3\x9F"
                                                  "e\"/>")
                                    << u"Grüße"_s;
    QTest::newRow("declared UTF-8") << declared.arg(u"UTF-8"_s).toUtf8() << u"Grüße"_s;
    QTest::newRow("UTF-8 with byte order mark")
        << "\xEF\xBB\xBF" + declared.arg(u"UTF-8"_s).toUtf8() << u"Grüße"_s;
    QTest::newRow("declared ISO-8859-1") << declared.arg(u"ISO-8859-1"_s).toLatin1() << u"Grüße"_s;
    QTest::newRow("UTF-16 little endian")
        << Encoded(QStringConverter::Utf16LE, declared.arg(u"UTF-16"_s)) << u"Grüße"_s;
    QTest::newRow("UTF-16 big endian")
        << Encoded(QStringConverter::Utf16BE, declared.arg(u"UTF-16"_s)) << u"Grüße"_s;
    QTest::newRow("comment and document type before the root")
        << QByteArray("<!--c--><!DOCTYPE r><r t='x'/><!--d-->") << u"x"_s;
    QTest::newRow("Windows line endings")
        << QByteArray("<?xml version='1.0'?>\r\n<r\r\nt='x'/>\r\n") << u"x"_s;
}

void tst_XmlFilerDocument::LoadFromXmlFile()
{
    QFETCH(const QByteArray, content);
    QFETCH(const QString, text);
    const QString path = Path(u"in.xml"_s);
    QVERIFY(TestSupport::WriteFile(path, content));
    XmlFiler filer;

    QVERIFY(filer.LoadFromXmlFile(path));

    QCOMPARE(filer.GetCurrentNodePath(), u"/r"_s);
    QCOMPARE(filer.GetCurrentNode().toElement().attribute(u"t"_s), text);
    QVERIFY(!filer.IsEmpty());
    QCOMPARE(TestSupport::ReadFile(path), content);
}

void tst_XmlFilerDocument::LoadFromXmlFile_notXml_data()
{
    QTest::addColumn<QByteArray>("content");

    QTest::newRow("empty file") << QByteArray("");
    QTest::newRow("blanks only") << QByteArray(" \n\t");
    QTest::newRow("plain text") << QByteArray("Hello");
    QTest::newRow("element not closed") << QByteArray("<r><a></r>");
    QTest::newRow("truncated") << QByteArray("<r><a x=\"1\"/><b");
    QTest::newRow("truncated before the last end tag") << QByteArray("<r><a x=\"1\"/>");
    QTest::newRow("two roots") << QByteArray("<r/><s/>");
    QTest::newRow("text after the root") << QByteArray("<r/>tail");
    QTest::newRow("declaration only") << QByteArray("<?xml version=\"1.0\"?>");
    QTest::newRow("comment only") << QByteArray("<!--c-->");
    QTest::newRow("attribute twice") << QByteArray("<r a='1' a='2'/>");
    QTest::newRow("attribute without quotes") << QByteArray("<r a=1/>");
    QTest::newRow("zeros") << QByteArray(4096, '\0');
    QTest::newRow("bytes of a picture") << QByteArray("\x89PNG\r\n\x1A\n\0\0\0\rIHDR\xFF\xFE", 18);
    QTest::newRow("not UTF-8") << QByteArray("<r a='\xFF\xFE\xFD'/>");
    QTest::newRow("unknown encoding") << QByteArray("<?xml version='1.0' encoding='x-none'?><r/>");
    QTest::newRow("1,001 levels") << Nested(1001).toUtf8();
    QTest::newRow("entity bomb") << Bomb().toUtf8();
}

void tst_XmlFilerDocument::LoadFromXmlFile_notXml()
{
    QFETCH(const QByteArray, content);
    const QString path = Path(u"in.xml"_s);
    QVERIFY(TestSupport::WriteFile(path, content));
    XmlFiler filer;
    QVERIFY(filer.LoadFromXmlString(u"<Old><Child/></Old>"_s));
    QVERIFY(filer.MoveToNode(u"Child"_s));
    const QDomNode before = filer.GetCurrentNode();
    const TestSupport::LogGuard log;

    QVERIFY(!filer.LoadFromXmlFile(path));

    QCOMPARE(log.Messages().size(), 1);
    QVERIFY2(log.Messages().constFirst().startsWith(path + u" does not load: line "_s),
             qPrintable(log.Messages().constFirst()));
    QVERIFY(filer.IsEmpty());
    QCOMPARE(filer.SaveAsXmlString(), QString());
    QVERIFY(filer.GetCurrentNode() == before);
    filer.MoveToRoot();
    QVERIFY(filer.GetCurrentNode().isNull());
}

void tst_XmlFilerDocument::LoadFromXmlFile_missingFileKeepsDocument()
{
    XmlFiler filer;
    QVERIFY(filer.LoadFromXmlString(u"<Old><Child/></Old>"_s));
    QVERIFY(filer.MoveToNode(u"Child"_s));
    const TestSupport::LogGuard log;

    QVERIFY(!filer.LoadFromXmlFile(Path(u"none.xml"_s)));
    QVERIFY(!filer.LoadFromXmlFile(Path(u"none/none.xml"_s)));
    QVERIFY(!filer.LoadFromXmlFile(QString()));

    QCOMPARE(log.Messages().size(), 3);
    QCOMPARE(log.Messages().constFirst(), Path(u"none.xml"_s) + u" does not load: there is no such file"_s);
    QCOMPARE(filer.GetCurrentNodePath(), u"/Old/Child"_s);
    QCOMPARE(filer.SaveAsXmlString(), RawString(u"<Old><Child/></Old>"_s));
    QVERIFY(!QFileInfo::exists(Path(u"none.xml"_s)));
}

void tst_XmlFilerDocument::LoadFromXmlFile_cannotOpen_data()
{
    QTest::addColumn<QString>("name");

    QTest::newRow("folder") << u"folder"_s;
    // The parts of the message are filled in one after the other, so a placeholder in the path is replaced.
    QTest::newRow("folder with %1 in its name") << u"a%1b"_s;
    QTest::newRow("folder with %2 in its name") << u"a%2b"_s;
}

void tst_XmlFilerDocument::LoadFromXmlFile_cannotOpen()
{
    QFETCH(const QString, name);
    const QString path = Path(name);
    QVERIFY(QDir().mkdir(path));
    QFile file(path);
    QVERIFY(!file.open(QIODevice::ReadOnly));
    XmlFiler filer;
    QVERIFY(filer.LoadFromXmlString(u"<Old><Child/></Old>"_s));
    QVERIFY(filer.MoveToNode(u"Child"_s));
    const TestSupport::LogGuard log;

    QVERIFY(!filer.LoadFromXmlFile(path));

    // NOLINTNEXTLINE: one argument at a time on purpose
    const QString expected = u"XmlFiler: Failed to open file %1. %2 (Error code: %3)"_s.arg(path)
                                 .arg(file.errorString())
                                 .arg(u"5"_s);
    QCOMPARE(log.Messages(), QStringList(expected));
    QCOMPARE(int(file.error()), 5);
    QCOMPARE(filer.GetCurrentNodePath(), u"/Old/Child"_s);
    QVERIFY(!filer.IsEmpty());
}

void tst_XmlFilerDocument::LoadFromXmlFile_noPermission()
{
    const QString path = Path(u"secret.xml"_s);
    QVERIFY(TestSupport::WriteFile(path, "<r/>"));
    QVERIFY(QFile::setPermissions(path, {}));
    // The other user must be able to enter the folder, so that only the file denies access.
    QVERIFY(QFile::setPermissions(mDir->path(),
                                  QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner | QFile::ExeOther));
    XmlFiler filer;
    filer.CreateRoot(u"Old"_s);
    const TestSupport::LogGuard log;
    {
        const TestSupport::UnprivilegedGuard unprivileged;
        QVERIFY(!filer.LoadFromXmlFile(path));
    }

    QCOMPARE(log.Messages(),
             QStringList(u"XmlFiler: Failed to open file %1. Permission denied (Error code: 5)"_s.arg(path)));
    QCOMPARE(filer.GetCurrentNodePath(), u"/Old"_s);
}

// If only warnings are logged, a warning gives the reason.
void tst_XmlFilerDocument::LoadFromXmlFile_cannotOpenIsAWarning()
{
    QFile folder(mDir->path());
    QVERIFY(!folder.open(QIODevice::ReadOnly));
    XmlFiler filer;
    const TestSupport::LogGuard log;
    QLoggingCategory::setFilterRules(u"qvutil.warning=true"_s);

    QVERIFY(!filer.LoadFromXmlFile(mDir->path()));

    QCOMPARE(log.Messages(), QStringList(u"%1 does not load: %2"_s.arg(mDir->path(), folder.errorString())));
}

void tst_XmlFilerDocument::LoadFromXmlFile_replacesDocumentAndKeepsStack()
{
    const QString path = Path(u"in.xml"_s);
    QVERIFY(TestSupport::WriteFile(path, "<New/>"));
    XmlFiler filer;
    QVERIFY(filer.LoadFromXmlString(u"<Old id=\"7\"><Child/></Old>"_s));
    filer.PushCurrentNode();

    QVERIFY(filer.LoadFromXmlFile(path));
    QCOMPARE(filer.GetCurrentNodePath(), u"/New"_s);
    filer.PopCurrentNode();

    QCOMPARE(filer.GetCurrentNode().nodeName(), u"Old"_s);
    QCOMPARE(filer.ReadInt(u"id"_s, 0), 7);
    QVERIFY(!filer.MoveToParent());
    filer.WriteInt(u"id"_s, 8);
    QCOMPARE(filer.SaveAsXmlString(), RawString(u"<New/>"_s));
}

void tst_XmlFilerDocument::LoadFromXmlFile_setsTheTranslationContext()
{
    XlfTranslator translator(WriteXliff());
    const QString one = Path(u"one.xml"_s);
    const QString two = Path(u"two.xml"_s);
    QVERIFY(TestSupport::WriteFile(one, "<r/>"));
    QVERIFY(TestSupport::WriteFile(two, "<r>"));
    XmlFiler filer;
    filer.Translator = &translator;
    const QString mark = u"tr(Where)"_s;

    QVERIFY(filer.LoadFromXmlFile(one));
    QCOMPARE(filer.Translate(mark), u"in one.xml"_s);

    // Only a successful load changes the context.
    QVERIFY(!filer.LoadFromXmlFile(two));
    QCOMPARE(filer.Translate(mark), u"in one.xml"_s);
    QVERIFY(!filer.LoadFromXmlFile(Path(u"none/two.xml"_s)));
    QCOMPARE(filer.Translate(mark), u"in one.xml"_s);
    QVERIFY(filer.LoadFromXmlString(u"<s/>"_s));
    QCOMPARE(filer.Translate(mark), u"in one.xml"_s);
    QVERIFY(!filer.LoadFromXmlString(u"<s>"_s));
    filer.Reset();
    filer.CreateRoot(u"r"_s);
    QVERIFY(filer.SaveAsXmlFile(two));
    QCOMPARE(filer.Translate(mark), u"in one.xml"_s);

    QVERIFY(filer.LoadFromXmlFile(two));
    QCOMPARE(filer.Translate(mark), u"in two.xml"_s);
}

// Loading from text

void tst_XmlFilerDocument::LoadFromXmlString_data()
{
    QTest::addColumn<QString>("xml");

    QTest::newRow("bare root") << u"<r/>"_s;
    QTest::newRow("declaration") << u"<?xml version=\"1.0\"?><r/>"_s;
    QTest::newRow("declared encoding does not matter")
        << u"<?xml version=\"1.0\" encoding=\"UTF-16\"?><r a=\"Grüße\"/>"_s;
    QTest::newRow("all kinds of nodes")
        << u"<?p q?><!--c--><r a=\"1\">text<b/><![CDATA[<raw>]]><!--d--><?s t?> tail</r><!--e-->"_s;
    QTest::newRow("blanks between elements") << u"<r>\n  <a/>\n  <b> </b>\n</r>\n"_s;
    QTest::newRow("character references") << u"<r a=\"&#65;&amp;&#x1F600;\">&lt;&gt;</r>"_s;
    QTest::newRow("own entity") << u"<!DOCTYPE r [<!ENTITY e \"value\">]><r a=\"&e;\">&e;</r>"_s;
    QTest::newRow("prefixed names") << u"<p:r xmlns:p=\"urn:p\" p:a=\"1\"><p:b/></p:r>"_s;
}

void tst_XmlFilerDocument::LoadFromXmlString()
{
    QFETCH(const QString, xml);
    XmlFiler filer;

    QVERIFY(filer.LoadFromXmlString(xml));

    QVERIFY(filer.GetCurrentNode().isElement());
    QCOMPARE(filer.GetCurrentNodePath(), u'/' + filer.GetCurrentNode().nodeName());
    QVERIFY(filer.GetCurrentNode() == filer.GetCurrentNode().ownerDocument().documentElement());
    QString actual;
    TestSupport::AppendMeaning(filer.GetCurrentNode().ownerDocument(), QString(), actual);
    QCOMPARE(actual, TestSupport::XmlMeaning(xml));
}

void tst_XmlFilerDocument::LoadFromXmlString_notXml_data()
{
    QTest::addColumn<QString>("xml");

    QTest::newRow("null") << QString();
    QTest::newRow("empty") << u""_s;
    QTest::newRow("blank") << u" \n"_s;
    QTest::newRow("text") << u"Hello"_s;
    QTest::newRow("truncated") << u"<r><a/>"_s;
    QTest::newRow("wrong end tag") << u"<r></R>"_s;
    QTest::newRow("two roots") << u"<r/><s/>"_s;
    QTest::newRow("unknown entity at the root's start tag") << u"<r a=\"&none;\"/>"_s;
    QTest::newRow("NUL") << u"<r>a"_s + QChar(0) + u"b</r>"_s;
    QTest::newRow("blank before the declaration") << u" <?xml version=\"1.0\"?><r/>"_s;
}

void tst_XmlFilerDocument::LoadFromXmlString_notXml()
{
    QFETCH(const QString, xml);
    XmlFiler filer;
    QVERIFY(filer.LoadFromXmlString(u"<Old><Child/></Old>"_s));
    const QDomNode before = filer.GetCurrentNode();
    const TestSupport::LogGuard log;

    QVERIFY(!filer.LoadFromXmlString(xml));

    QCOMPARE(log.Messages().size(), 1);
    QVERIFY2(log.Messages().constFirst().startsWith(u"a text does not load: line "_s),
             qPrintable(log.Messages().constFirst()));
    QVERIFY(filer.IsEmpty());
    QCOMPARE(filer.SaveAsXmlString(), QString());
    QVERIFY(filer.GetCurrentNode() == before);
}

void tst_XmlFilerDocument::LoadFromXmlString_limits_data()
{
    QTest::addColumn<QString>("xml");
    QTest::addColumn<bool>("expected");

    QTest::newRow("1,000 levels") << Nested(1000) << true;
    QTest::newRow("1,001 levels") << Nested(1001) << false;
    QTest::newRow("100,000 levels") << Nested(100000) << false;
    QTest::newRow("1,001 levels, far into the document")
        << u"<r>"_s + Nested(999) + Nested(1000) + u"</r>"_s << false;
    QTest::newRow("2,000 siblings") << u"<r>"_s + u"<e/>"_s.repeated(2000) + u"</r>"_s << true;
    QTest::newRow("1,001 start tags inside a comment")
        << u"<r><!--"_s + u"<e>"_s.repeated(1001) + u"--></r>"_s << true;
    QTest::newRow("1,001 start tags inside CDATA")
        << u"<r><![CDATA["_s + u"<e>"_s.repeated(1001) + u"]]></r>"_s << true;
    QTest::newRow("entities of 12 MB in text") << Expanding(4000, 3000, false) << true;
    QTest::newRow("entities of 20 MB in text") << Expanding(4000, 5000, false) << false;
    QTest::newRow("entities of 12 MB in an attribute") << Expanding(4000, 3000, true) << true;
    QTest::newRow("entities of 20 MB in an attribute") << Expanding(4000, 5000, true) << false;
    QTest::newRow("entity bomb") << Bomb() << false;
    QTest::newRow("entity that contains itself")
        << u"<!DOCTYPE r [<!ENTITY e \"&e;\">]><r>&e;</r>"_s << false;
}

void tst_XmlFilerDocument::LoadFromXmlString_limits()
{
    QFETCH(const QString, xml);
    QFETCH(const bool, expected);
    XmlFiler filer;
    filer.CreateRoot(u"Old"_s);

    QCOMPARE(filer.LoadFromXmlString(xml), expected);

    QCOMPARE(filer.IsEmpty(), !expected);
}

void tst_XmlFilerDocument::GetLoadError_data()
{
    QTest::addColumn<QString>("xml");
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("line");
    QTest::addColumn<int>("column");

    QTest::newRow("loads") << u"<a/>"_s << QString() << 0 << 0;
    QTest::newRow("empty") << QString() << u"the document is empty"_s << 1 << 1;
    QTest::newRow("truncated") << u"<a>\n <b>"_s << u"the text ends in the middle of the document"_s << 2
                               << 5;
    QTest::newRow("tags do not match") << u"<a>\n\n</b>"_s << u"Opening and ending tag mismatch"_s << 3 << 4;
    QTest::newRow("too deep") << Nested(1001) << u"elements are nested more than 1,000 deep"_s << 1 << 3003;
}

void tst_XmlFilerDocument::GetLoadError()
{
    QFETCH(const QString, xml);
    QFETCH(const QString, text);
    QFETCH(const int, line);
    QFETCH(const int, column);

    XmlFiler filer;
    QCOMPARE(filer.GetLoadError().Text, QString());
    QCOMPARE(filer.GetLoadError().Line, 0);
    QCOMPARE(filer.LoadFromXmlString(xml), text.isEmpty());
    QVERIFY2(filer.GetLoadError().Text.startsWith(text), qPrintable(filer.GetLoadError().Text));
    QCOMPARE(filer.GetLoadError().Line, line);
    QCOMPARE(filer.GetLoadError().Column, column);
    QVERIFY(filer.LoadFromXmlString(u"<a/>"_s)); // clears the error
    QCOMPARE(filer.GetLoadError().Text, QString());
    QCOMPARE(filer.GetLoadError().Line, 0);
}

void tst_XmlFilerDocument::GetLoadError_ofFiles()
{
    const QTemporaryDir dir;
    XmlFiler filer;
    QVERIFY(!filer.LoadFromXmlFile(dir.filePath(u"none.xml"_s)));
    QCOMPARE(filer.GetLoadError().Text, u"there is no such file"_s);
    QCOMPARE(filer.GetLoadError().Line, 0);
    QVERIFY(!filer.LoadFromXmlFile(dir.path())); // a folder
    QVERIFY(!filer.GetLoadError().Text.isEmpty());
    QCOMPARE(filer.GetLoadError().Line, 0);
    const QString file = dir.filePath(u"f.xml"_s);
    QVERIFY(TestSupport::WriteFile(file, "<a>\n<b></a>"));
    QVERIFY(!filer.LoadFromXmlFile(file));
    QCOMPARE(filer.GetLoadError().Line, 2);
    QVERIFY(TestSupport::WriteFile(file, "<a/>"));
    QVERIFY(filer.LoadFromXmlFile(file));
    QCOMPARE(filer.GetLoadError().Text, QString());
}

void tst_XmlFilerDocument::LoadFromXmlString_failureDetachesCursor()
{
    XmlFiler filer;
    QVERIFY(filer.LoadFromXmlString(u"<Old><A/><Child id=\"7\"><Grandchild/></Child><B/></Old>"_s));
    QVERIFY(filer.MoveToNode(u"Child"_s));

    QVERIFY(!filer.LoadFromXmlString(u"<"_s));

    // The node still exists, separate from the document.
    QCOMPARE(filer.ReadInt(u"id"_s, 0), 7);
    filer.WriteInt(u"id"_s, 8);
    QCOMPARE(filer.ReadInt(u"id"_s, 0), 8);
    QVERIFY(filer.MoveToNode(u"Grandchild"_s));
    QVERIFY(filer.MoveToParent());
    (void)filer.MoveToNextSibling();
    filer.DeleteChildNodes();
    filer.DeleteNode();
    while (filer.MoveToParent()) { }
    QVERIFY(!filer.GetCurrentNode().isNull());
    QVERIFY(!filer.GetCurrentNodePath().isEmpty());
    QVERIFY(filer.IsEmpty());
    QCOMPARE(filer.SaveAsXmlString(), QString());
}

void tst_XmlFilerDocument::LoadFromXmlString_afterFailure()
{
    XmlFiler filer;
    filer.CreateRoot(u"Old"_s);
    QVERIFY(!filer.LoadFromXmlString(u"<"_s));

    QVERIFY(filer.LoadFromXmlString(u"<New/>"_s));

    QCOMPARE(filer.GetCurrentNodePath(), u"/New"_s);
    QCOMPARE(filer.SaveAsXmlString(), RawString(u"<New/>"_s));
}

// Saving

void tst_XmlFilerDocument::SaveAsXmlString_data()
{
    // At most one attribute per element, because the order in which Qt writes several varies.
    QTest::addColumn<QString>("xml");

    QTest::newRow("bare root") << u"<r/>"_s;
    QTest::newRow("three levels") << u"<r><a><b/></a><a><b x=\"1\"/></a></r>"_s;
    QTest::newRow("declaration") << u"<?xml version=\"1.0\"?><r/>"_s;
    QTest::newRow("declared encoding") << u"<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?><r a=\"ü\"/>"_s;
    QTest::newRow("standalone") << u"<?xml version=\"1.0\" standalone=\"yes\"?><r/>"_s;
    QTest::newRow("comment before the declaration's place") << u"<!--c--><?p q?><r/><!--d-->"_s;
    QTest::newRow("document type") << u"<!DOCTYPE r><r/>"_s;
    QTest::newRow("text beside elements") << u"<r>one<a/>two<b>three</b></r>"_s;
    QTest::newRow("CDATA") << u"<r><a><![CDATA[1 < 2 & 3]]></a></r>"_s;
    QTest::newRow("markup characters")
        << u"<r a=\"&lt;&amp;&gt;&quot;&apos;&#10;&#9;&#13;\">&lt;&amp;&gt;</r>"_s;
    QTest::newRow("beyond Latin-1") << u"<r a=\"日本語\">😀 Ω</r>"_s;
}

void tst_XmlFilerDocument::SaveAsXmlString()
{
    QFETCH(const QString, xml);
    XmlFiler filer;
    QVERIFY(filer.LoadFromXmlString(xml));

    QCOMPARE(filer.SaveAsXmlString(), RawString(xml));
    if (xml == u"<r><a><b/></a><a><b x=\"1\"/></a></r>")
        QCOMPARE(filer.SaveAsXmlString(), u"<r>\n <a>\n  <b/>\n </a>\n <a>\n  <b x=\"1\"/>\n </a>\n</r>\n"_s);

    // The file reads back as the same document.
    XmlFiler again;
    QVERIFY(again.LoadFromXmlString(filer.SaveAsXmlString()));
    QCOMPARE(again.SaveAsXmlString(), filer.SaveAsXmlString());
}

void tst_XmlFilerDocument::SaveAsXmlString_nothingToSave()
{
    XmlFiler filer;
    QCOMPARE(filer.SaveAsXmlString(), QString());
    filer.CreateXmlDeclaration();
    QCOMPARE(filer.SaveAsXmlString(), QString());
    filer.Reset();
    QCOMPARE(filer.SaveAsXmlString(), QString());
}

void tst_XmlFilerDocument::SaveAsXmlFile_data()
{
    SaveAsXmlString_data();
}

void tst_XmlFilerDocument::SaveAsXmlFile()
{
    QFETCH(const QString, xml);
    const QString path = Path(u"out.xml"_s);
    XmlFiler filer;
    QVERIFY(filer.LoadFromXmlString(xml));

    QVERIFY(filer.SaveAsXmlFile(path));

    QCOMPARE(TestSupport::ReadFile(path), RawFile(xml));
    QCOMPARE(QDir(mDir->path()).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot),
             QStringList(u"out.xml"_s));
}

void tst_XmlFilerDocument::SaveAsXmlFile_literalBytes()
{
    const QString path = Path(u"out.xml"_s);
    XmlFiler filer;
    filer.CreateRoot(u"Settings"_s);
    filer.WriteInt(u"Panel/Main"_s, u"Width"_s, 640);
    filer.WriteNodeText(u"Title"_s, u"Größe <1>"_s);

    QVERIFY(filer.SaveAsXmlFile(path));

    QCOMPARE(TestSupport::ReadFile(path),
             u"<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<Settings>\n    <Panel>\n"
             "        <Main Width=\"640\"/>\n    </Panel>\n    <Title>Größe &lt;1></Title>\n</Settings>\n"_s
                 .toUtf8());
    QCOMPARE(filer.SaveAsXmlString(),
             u"<?xml version=\"1.0\"?>\n<Settings>\n <Panel>\n  <Main Width=\"640\"/>\n </Panel>\n"
             " <Title>Größe &lt;1></Title>\n</Settings>\n"_s);
    QCOMPARE(filer.GetCurrentNodePath(), u"/Settings"_s);
}

void tst_XmlFilerDocument::SaveAsXmlFile_replacesLongerFile()
{
    const QString path = Path(u"out.xml"_s);
    QVERIFY(TestSupport::WriteFile(path, QByteArray(10000, 'x')));
    XmlFiler filer;
    filer.CreateRoot(u"r"_s);

    QVERIFY(filer.SaveAsXmlFile(path));

    QCOMPARE(TestSupport::ReadFile(path), QByteArray("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<r/>\n"));
}

void tst_XmlFilerDocument::SaveAsXmlFile_nothingToSaveKeepsFile()
{
    const QString path = Path(u"out.xml"_s);
    XmlFiler filer;
    const TestSupport::LogGuard log;
    QVERIFY(!filer.SaveAsXmlFile(path));
    QVERIFY(!QFileInfo::exists(path));
    QVERIFY(TestSupport::WriteFile(path, "old"));

    QVERIFY(!filer.SaveAsXmlFile(path));
    filer.CreateXmlDeclaration();
    QVERIFY(!filer.SaveAsXmlFile(path));
    filer.Reset();
    QVERIFY(!filer.SaveAsXmlFile(path));

    QCOMPARE(TestSupport::ReadFile(path), QByteArray("old"));
    QCOMPARE(log.Messages(), QStringList(4, path + u" is not saved: the document has no root element"_s));
}

void tst_XmlFilerDocument::SaveAsXmlFile_cannotOpen()
{
    XmlFiler filer;
    filer.CreateRoot(u"r"_s);
    const TestSupport::LogGuard log;

    QVERIFY(!filer.SaveAsXmlFile(mDir->path()));
    QVERIFY(!filer.SaveAsXmlFile(Path(u"none/out.xml"_s)));
    QVERIFY(!filer.SaveAsXmlFile(QString()));

    QVERIFY(QFileInfo(mDir->path()).isDir());
    QVERIFY(!QFileInfo::exists(Path(u"none"_s)));
    QCOMPARE(log.Messages(),
             QStringList({mDir->path() + u" is not saved: "_s + qt_error_string(EISDIR),
                          Path(u"none/out.xml"_s) + u" is not saved: "_s + qt_error_string(ENOENT),
                          u" is not saved: this is not a file name"_s}));
}

// A document that cannot be loaded again is saved, with a log message.
void tst_XmlFilerDocument::SaveAsXmlFile_unloadable_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("section");
    QTest::addColumn<QString>("comment");
    QTest::addColumn<QString>("warning"); // the end of the warning; empty if the document loads again

    const QString plain = u"a"_s;
    QTest::newRow("valid names and texts") << u"A"_s << plain << plain << plain << QString();
    QTest::newRow("prefix without a namespace") << u"p:A"_s << u"q:a"_s << plain << plain << QString();
    QTest::newRow("blank in an element's name") << u"My A"_s << plain << plain << plain << u"line 3: "_s;
    QTest::newRow("digit before an element's name") << u"A/1B"_s << plain << plain << plain << u"line 4: "_s;
    QTest::newRow("blank in an attribute's name") << u"A"_s << u"a b"_s << plain << plain << u"line 3: "_s;
    QTest::newRow("attribute without a name") << u"A"_s << QString() << plain << plain << u"line 3: "_s;
    QTest::newRow("end of a section in a section") << u"A"_s << plain << u"]]>"_s << plain << u"line 3: "_s;
    QTest::newRow("hyphens in a comment") << u"A"_s << plain << plain << u"a--b"_s << u"line 4: "_s;
    QTest::newRow("control character in a comment")
        << u"A"_s << plain << plain << u"\u0001"_s << u"line 4: "_s;
    QTest::newRow("1,000 levels") << u"/A"_s.repeated(999) << plain << plain << plain << QString();
    QTest::newRow("1,001 levels") << u"/A"_s.repeated(1000) << plain << plain << plain
                                  << u"line 1002: elements are nested more than 1,000 deep"_s;
}

void tst_XmlFilerDocument::SaveAsXmlFile_unloadable()
{
    QFETCH(const QString, path);
    QFETCH(const QString, name);
    QFETCH(const QString, section);
    QFETCH(const QString, comment);
    QFETCH(const QString, warning);
    const QString file = Path(u"out.xml"_s);
    XmlFiler filer;
    filer.CreateRoot(u"r"_s);
    filer.WriteInt(path, name, 1);
    filer.WriteNodeText(path, section, true);
    filer.WriteComment(comment);

    QVERIFY(filer.SaveAsXmlFile(file)); // logging is off

    const TestSupport::LogGuard log;
    QVERIFY(filer.SaveAsXmlFile(file));
    const bool isFine = warning.isNull();
    QCOMPARE(log.Messages().size(), isFine ? 0 : 1);
    if (!isFine) {
        const QString begin = u"\"%1\" is saved, but will not load again: "_s.arg(file) + warning;
        QVERIFY2(log.Messages().constFirst().startsWith(begin), qPrintable(log.Messages().constFirst()));
    }
    QCOMPARE(XmlFiler().LoadFromXmlFile(file), isFine);
    const qsizetype count = isFine ? 0 : 2; // the failed load logs another message
    QCOMPARE(log.Messages().size(), count);

    // A failed save does not log this warning.
    const qsizetype before = log.Messages().size();
    QVERIFY(!filer.SaveAsXmlFile(Path(u"none/out.xml"_s)));
    QCOMPARE(log.Messages().size(), before + 1);
    QVERIFY(log.Messages().constLast().contains(u" is not saved: "_s));
}

// Emptiness

void tst_XmlFilerDocument::IsEmpty_data()
{
    QTest::addColumn<QString>("xml");

    QTest::newRow("bare root") << u"<r/>"_s;
    QTest::newRow("root with an attribute") << u"<r a=\"1\"/>"_s;
    QTest::newRow("root with text") << u"<r>x</r>"_s;
    QTest::newRow("root with a child") << u"<r><a/></r>"_s;
}

void tst_XmlFilerDocument::IsEmpty()
{
    QFETCH(const QString, xml);
    XmlFiler filer;
    QVERIFY(filer.IsEmpty());

    QVERIFY(filer.LoadFromXmlString(xml));
    QVERIFY(!filer.IsEmpty());

    // Nodes beside the root do not count as content.
    filer.CreateXmlDeclaration();
    filer.DeleteNode();
    QVERIFY(filer.IsEmpty());
}

void tst_XmlFilerDocument::Reset()
{
    XmlFiler filer;
    QVERIFY(filer.LoadFromXmlString(u"<r><a/></r>"_s));
    QVERIFY(filer.MoveToNode(u"a"_s));

    filer.Reset();

    QVERIFY(filer.IsEmpty());
    QVERIFY(filer.GetCurrentNode().isNull());
    QCOMPARE(filer.GetCurrentNodePath(), QString());
    QCOMPARE(filer.SaveAsXmlString(), QString());
    filer.Reset();
    QVERIFY(filer.IsEmpty());
}

void tst_XmlFilerDocument::Reset_keepsStackPathAndSettings()
{
    XlfTranslator translator(WriteXliff());
    const QString path = Path(u"one.xml"_s);
    QVERIFY(TestSupport::WriteFile(path, "<r><a id=\"7\"><b/></a></r>"));
    XmlFiler filer;
    filer.Translator = &translator;
    filer.ExtraText = u"extra"_s;
    QVERIFY(filer.LoadFromXmlFile(path));
    QVERIFY(filer.MoveToNode(u"a"_s));
    filer.PushCurrentNode();
    QVERIFY(filer.MoveToNode(u"b"_s));

    filer.Reset();

    QVERIFY(filer.GetCurrentNode().isNull());
    QCOMPARE(filer.Translate(u"tr(Where)"_s), u"in one.xml"_s);
    QCOMPARE(filer.ExtraText, u"extra"_s);
    filer.PopCurrentNode();
    QCOMPARE(filer.GetCurrentNode().nodeName(), u"a"_s);
    QCOMPARE(filer.ReadInt(u"id"_s, 0), 7);
    QVERIFY(filer.IsEmpty());

    filer.TranslateEnabled = false;
    filer.Reset();
    QVERIFY(!filer.TranslateEnabled);
}

void tst_XmlFilerDocument::Reset_thenContent()
{
    XmlFiler filer;
    filer.CreateRoot(u"Old"_s);
    filer.Reset();
    filer.CreateProcessingInstruction(u"p"_s, u"q"_s);
    filer.CreateImmediateChildNode(u"r"_s);
    QCOMPARE(filer.SaveAsXmlString(), RawString(u"<?p q?><r/>"_s));
    QCOMPARE(filer.GetCurrentNodePath(), u"/r"_s);

    filer.Reset();
    filer.WriteComment(u"c"_s);
    QVERIFY(filer.IsEmpty());
    filer.CreateImmediateChildNode(u"r"_s);
    QCOMPARE(TestSupport::XmlMeaning(filer.SaveAsXmlString()),
             TestSupport::XmlMeaning(u"<?xml version=\"1.0\"?><!--c--><r/>"_s));

    filer.Reset();
    filer.CreateRoot(u"New"_s);
    QCOMPARE(TestSupport::XmlMeaning(filer.SaveAsXmlString()),
             TestSupport::XmlMeaning(u"<?xml version=\"1.0\"?><New/>"_s));

    filer.Reset();
    QVERIFY(filer.WriteInnerXml(u"<a/>"_s));
    QCOMPARE(filer.SaveAsXmlString(), RawString(u"<Root><a/></Root>"_s));
}

// Declaration, processing instructions, root

void tst_XmlFilerDocument::CreateXmlDeclaration_data()
{
    QTest::addColumn<QString>("xml");
    QTest::addColumn<QString>("expected");

    QTest::newRow("no declaration") << u"<r/>"_s << u"<?xml version=\"1.0\"?><r/>"_s;
    QTest::newRow("declaration exists") << u"<?xml version=\"1.0\" encoding=\"UTF-8\"?><r/>"_s
                                        << u"<?xml version=\"1.0\" encoding=\"UTF-8\"?><r/>"_s;
    QTest::newRow("another instruction") << u"<?p q?><r/>"_s << u"<?p q?><?xml version=\"1.0\"?><r/>"_s;
    QTest::newRow("comment first") << u"<!--xml--><r/>"_s << u"<!--xml--><?xml version=\"1.0\"?><r/>"_s;
    QTest::newRow("root element named xml") << u"<xml/>"_s << u"<?xml version=\"1.0\"?><xml/>"_s;
}

void tst_XmlFilerDocument::CreateXmlDeclaration()
{
    QFETCH(const QString, xml);
    QFETCH(const QString, expected);
    XmlFiler filer;
    QVERIFY(filer.LoadFromXmlString(xml));
    const QDomNode cursor = filer.GetCurrentNode();

    // The second call must find the result of the first.
    for (int i = 0; i < 2; ++i) {
        filer.CreateXmlDeclaration();
        QString actual;
        for (QDomNode node = cursor.ownerDocument().firstChild(); !node.isNull(); node = node.nextSibling()) {
            QTextStream stream(&actual);
            node.save(stream, 0);
        }
        QCOMPARE(actual.replace(u'\'', u'"').remove(u'\n'), expected);
        QVERIFY(filer.GetCurrentNode() == cursor);
    }
}

void tst_XmlFilerDocument::CreateXmlDeclaration_emptyDocument()
{
    XmlFiler filer;
    filer.CreateXmlDeclaration();
    filer.CreateXmlDeclaration();
    QVERIFY(filer.GetCurrentNode().isNull());
    filer.CreateImmediateChildNode(u"r"_s);

    const QDomDocument document = filer.GetCurrentNode().ownerDocument();
    QCOMPARE(document.childNodes().count(), 2);
    const QDomProcessingInstruction declaration = document.firstChild().toProcessingInstruction();
    QCOMPARE(declaration.target(), u"xml"_s);
    QCOMPARE(declaration.data(), u"version=\"1.0\""_s);
}

void tst_XmlFilerDocument::CreateProcessingInstruction()
{
    XmlFiler filer;
    QVERIFY(filer.LoadFromXmlString(u"<!--c--><r><a/></r><!--d-->"_s));
    QVERIFY(filer.MoveToNode(u"a"_s));

    filer.CreateProcessingInstruction(u"p"_s, u"one two"_s);
    filer.CreateProcessingInstruction(u"q"_s, QString());

    QCOMPARE(filer.GetCurrentNodePath(), u"/r/a"_s);
    const QDomDocument document = filer.GetCurrentNode().ownerDocument();
    QStringList names;
    for (QDomNode node = document.firstChild(); !node.isNull(); node = node.nextSibling())
        names.append(node.nodeName() + u'=' + node.nodeValue());
    QCOMPARE(names, QStringList({u"#comment=c"_s, u"p=one two"_s, u"q="_s, u"r="_s, u"#comment=d"_s}));
}

void tst_XmlFilerDocument::CreateProcessingInstruction_withoutRoot()
{
    XmlFiler filer;
    filer.CreateProcessingInstruction(u"p"_s, u"1"_s);
    filer.CreateProcessingInstruction(u"q"_s, u"2"_s);
    QVERIFY(filer.GetCurrentNode().isNull());
    QVERIFY(filer.IsEmpty());

    filer.CreateImmediateChildNode(u"r"_s);

    QCOMPARE(filer.SaveAsXmlString(), RawString(u"<?p 1?><?q 2?><r/>"_s));
}

void tst_XmlFilerDocument::CreateRoot_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("path");
    QTest::addColumn<QString>("expected");

    const QString declaration = u"<?xml version=\"1.0\"?>"_s;
    QTest::newRow("named") << u"Settings"_s << u"/Settings"_s << declaration + u"<Settings/>"_s;
    QTest::newRow("empty name") << u""_s << u"/Root"_s << declaration + u"<Root/>"_s;
    QTest::newRow("null name") << QString() << u"/Root"_s << declaration + u"<Root/>"_s;
    QTest::newRow("path") << u"A/B"_s << u"/A/B"_s << declaration + u"<A><B/></A>"_s;
    QTest::newRow("absolute path") << u"/A/A"_s << u"/A/A"_s << declaration + u"<A><A/></A>"_s;
    QTest::newRow("blanks around") << u" A "_s << u"/A"_s << declaration + u"<A/>"_s;
    QTest::newRow("blank name makes no root") << u" "_s << QString() << QString();
}

void tst_XmlFilerDocument::CreateRoot()
{
    QFETCH(const QString, name);
    QFETCH(const QString, path);
    QFETCH(const QString, expected);
    XmlFiler filer;

    filer.CreateRoot(name);

    QCOMPARE(filer.GetCurrentNodePath(), path);
    QCOMPARE(filer.IsEmpty(), expected.isEmpty());
    QCOMPARE(TestSupport::XmlMeaning(filer.SaveAsXmlString()), TestSupport::XmlMeaning(expected));
}

void tst_XmlFilerDocument::CreateRoot_secondTime()
{
    XmlFiler filer;
    QVERIFY(filer.LoadFromXmlString(u"<r><a/></r>"_s));
    QVERIFY(filer.MoveToNode(u"a"_s));

    filer.CreateRoot(u"Other"_s);
    filer.CreateRoot(QString());

    QCOMPARE(filer.GetCurrentNodePath(), u"/r/a"_s);
    QCOMPARE(filer.SaveAsXmlString(), RawString(u"<r><a/></r>"_s));
}

void tst_XmlFilerDocument::CreateRoot_detachedCursor()
{
    XmlFiler filer;
    filer.CreateRoot(u"Old"_s);
    QVERIFY(!filer.LoadFromXmlString(u"<"_s));

    // The name is a path from the cursor, whose node was removed from the document.
    filer.CreateRoot(u"New"_s);
    QVERIFY(filer.IsEmpty());
    QCOMPARE(filer.GetCurrentNode().nodeName(), u"New"_s);
    QVERIFY(filer.MoveToParent());
    QCOMPARE(filer.GetCurrentNode().nodeName(), u"Old"_s);

    filer.CreateRoot(u"/New"_s);
    QCOMPARE(filer.GetCurrentNodePath(), u"/New"_s);
    QCOMPARE(TestSupport::XmlMeaning(filer.SaveAsXmlString()),
             TestSupport::XmlMeaning(u"<?xml version=\"1.0\"?><New/>"_s));
}

QTEST_GUILESS_MAIN(tst_XmlFilerDocument)
#include "tst_XmlFilerDocument.moc"
