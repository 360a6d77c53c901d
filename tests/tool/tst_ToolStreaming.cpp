// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "cli/Failure.h"
#include "documents/DocumentFile.h"
#include "documents/DocumentPart.h"
#include "documents/ElementVisit.h"
#include "documents/FileCheck.h"

#include <QRandomGenerator>
#include <QStringConverter>
#include <QTemporaryDir>
#include <QTest>

#include <functional>

using namespace Qt::StringLiterals;
using namespace Quorvin::Tool;
using Quorvin::Util::XmlFiler;

namespace {

QByteArray InUtf16(const QString& text, QStringEncoder::Encoding encoding)
{
    return QStringEncoder(encoding, QStringEncoder::Flag::WriteBom).encode(text);
}

struct Document
{
    const char* Name;
    QByteArray Content;
    bool CanStream; ///< false for documents that only the library can read
};

const QList<Document>& Corpus()
{
    static const QList<Document> corpus{
        {"one element", "<a/>", true},
        {"one element with an end tag", "<a></a>", true},
        {"settings",
         "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<Settings v='1'>\n  <Panel>\n    <Main W='640' "
         "H='4'/>\n"
         "  </Panel>\n  <Notes>Call</Notes>\n</Settings>\n",
         true},
        {"equal names", "<r><a i='1'/><b/><a i='2'><c/></a><a i='3'><c j='1'/><c j='2'/></a></r>", true},
        {"name of the root below the root", "<r><r><r i='1'/></r><r i='2'/></r>", true},
        {"target in the second of two branches", "<r><a/><a><b/></a></r>", true},
        {"predefined entities", "<r a='&lt;&gt;&amp;&quot;&apos;'>x&lt;y&gt;&amp;&quot;&apos;z</r>", true},
        {"character references", "<r a='&#10;&#x9;&#13; x'>&#65;&#x1F600;&#13;x&#10;</r>", true},
        {"white space in attributes", "<r a=' x\n y\t\r\nz '/>", true},
        {"white space around text", "<r>\n  x  \n</r>", true},
        {"Windows line endings", "<r>\r\n<a>x\r\ny</a>\r\n</r>\r\n", true},
        {"classic Mac OS line endings", "<r>\r<a>x\ry</a>\r</r>\r", true},
        {"white space only", "<r><a> </a><b>\n</b><c>\t</c></r>", true},
        {"white space as a reference", "<r><a>&#32;</a></r>", false},
        {"line break as a reference", "<r><a>&#10;</a></r>", false},
        {"no-break space only", "<r><a>\xC2\xA0</a></r>", false},
        {"wide space only", "<r><a>\xE3\x80\x80</a></r>", false},
        {"no-break space and text", "<r><a>\xC2\xA0x</a></r>", true},
        {"section", "<r><![CDATA[<a>&amp;</a>]]></r>", true},
        {"empty section", "<r><![CDATA[]]></r>", false},
        {"section of white space", "<r><![CDATA[ ]]></r>", false},
        {"section of bytes", "<r><a><![CDATA[AAEC/w==]]></a></r>", true},
        {"section beside other nodes",
         "<r><a><!--c--><![CDATA[x]]></a><a><![CDATA[x]]><?p?></a><a><![CDATA[x]]><b/></a></r>", true},
        {"section beside text", "<r>x<![CDATA[y]]>z<![CDATA[1]]><![CDATA[2]]></r>", true},
        {"text between elements", "<r>x<a/>y<b>z</b>  v  </r>", true},
        {"text after elements", "<r><a/><b/>text</r>", true},
        {"text after nested elements", "<r><a><b><c/>1</b>2</a>3<d/></r>", true},
        {"comments", "<!-- 1 --><r><!--2-->x<!---->y<a/><!-- <b/> --></r><!-- 3 -->", true},
        {"comment before text", "<r><a><!-- c -->text</a><b>text<!-- c --></b></r>", true},
        {"comment with a hyphen before its end", "<r><!-- c - --><a/></r>", true},
        {"instructions", "<?p d?><r><?q?><a/><?r  d ?></r><?s?>", true},
        {"instruction between texts", "<r>x<?p d?>y</r>", true},
        {"instruction before text", "<r><a><?p?>text</a></r>", true},
        {"instruction with the name of an element", "<r><?a b?><a i='1'/></r>", true},
        {"undeclared prefixes", "<x:r x:a='1' y:a='2'><x:b/><y:b/></x:r>", true},
        {"declared prefixes", "<r xmlns='u' xmlns:x='v'><x:b x:a='1' xmlns:x='w'/><b xmlns=''/></r>", true},
        {"names beyond ASCII", "<r\xC3\xA4><\xE4\xB8\xAD \xC3\xB6='\xF0\x9F\x98\x80'/></r\xC3\xA4>", true},
        {"translation marks", "<r a='tr(x)'>tr(y)</r>", true},
        {"many attributes", "<r z='1' y='2' x='3' b='4' a='5' c='6'/>", true},
        {"byte order mark", "\xEF\xBB\xBF<r a='1'/>", true},
        {"byte order mark twice", "\xEF\xBB\xBF\xEF\xBB\xBF<r a='1'/>", false},
        {"Latin-1", "<?xml version='1.0' encoding='ISO-8859-1'?><r a='\xE4'>\xFC</r>", true},
        {"Latin-1 with a no-break space", "<?xml version='1.0' encoding='ISO-8859-1'?><r>\xA0</r>", false},
        {"Windows", "<?xml version=\"1.0\" encoding=\"windows-1252\" ?><r a='\x80'>\x99</r>", true},
        {"declared late",
         "<?xml version='1.0'" + QByteArray(5000, ' ') + "encoding='ISO-8859-1'?><r>\xE4</r>", true},
        {"standalone", "<?xml version='1.0' standalone='yes'?><r/>", true},
        {"version 1.1", "<?xml version='1.1'?><r>\xC2\x85x</r>", false},
        {"unknown encoding", "<?xml version='1.0' encoding='x-none'?><r/>", false},
        {"declared as UTF-16", "<?xml version='1.0' encoding='UTF-16'?><r/>", false},
        {"UTF-16, little endian", InUtf16(u"<r a='\u00E4'><b/></r>"_s, QStringEncoder::Utf16LE), false},
        {"UTF-16, big endian", InUtf16(u"<r a='\u00E4'><b/></r>"_s, QStringEncoder::Utf16BE), false},
        {"document type", "<!DOCTYPE r><r/>", false},
        {"internal subset",
         "<!DOCTYPE r [<!ENTITY e 'x'><!ATTLIST r d CDATA 'y'><!ELEMENT r ANY>]><r a='&e;'>&e;</r>", false},
        {"markup in an entity", "<!DOCTYPE r [<!ENTITY e '<b/>'>]><r><a/>&e;</r>", false},
        {"document type in a comment", "<!-- <!DOCTYPE r> --><r/>", true},
        {"document type in a section", "<r><![CDATA[<!DOCTYPE r>]]></r>", true},
        {"greater-than signs in attributes", "<r a='>' b=\"'/>\"><c d='/r>'/></r>", true},
        {"as deep as possible", QByteArray("<a>").repeated(1000) + QByteArray("</a>").repeated(1000), true},
        {"too deep", QByteArray("<a>").repeated(1001) + QByteArray("</a>").repeated(1001), false},
        {"nothing", "", false},
        {"only white space", " \n", false},
        {"text without an element", "text", false},
        {"truncated in a tag", "<r><a/><b c='1", false},
        {"truncated between elements", "<r>\n<a/>\n", false},
        {"truncated in a comment", "<r><a/><!-- ", false},
        {"truncated in a section", "<r><a/><![CDATA[x", false},
        {"truncated in an instruction", "<r><a/><?p", false},
        {"wrong end tag", "<r>\n<a/>\n</b>", false},
        {"wrong end tag after an element", "<r><a i='1'/>\n  <b></c></r>", false},
        {"second root element", "<r><a/></r>\n<r/>", false},
        {"text after the root element", "<r><a/></r>\ntext", false},
        {"section after the root element", "<r><a/></r><![CDATA[x]]>", false},
        {"zero byte", QByteArray("<r><a/>\0</r>", 12), false},
        {"zero bytes at the end", QByteArray("<r><a/></r>\n\0\0\0", 15), false},
        {"control character", "<r><a b='\x01'/></r>", false},
        {"control character as a reference", "<r><a>&#1;</a></r>", false},
        {"surrogate as a reference", "<r><a>&#xD800;</a></r>", false},
        {"not UTF-8", "<r><a/>\xE4</r>", false},
        {"not UTF-8 after the root element", "<r><a/></r><!-- \xE4 -->", false},
        {"half a character at the end", "<r><a/></r>\n<!-- \xC3", false},
        {"undeclared entity", "<r><a/>&none;</r>", false},
        {"undeclared entity in an attribute", "<r><a b='&none;'/></r>", false},
        {"entity without a name", "<r><a/>&;</r>", false},
        {"end of a section in text", "<r>]]></r>", false},
        {"hyphens in a comment", "<r><!-- -- --></r>", false},
        {"same attribute twice", "<r a='1' a='2'/>", false},
        {"attribute without a value", "<r a/>", false},
        {"less-than sign in an attribute", "<r a='<'/>", false},
        {"declaration in the root element", "<r><?xml version='1.0'?></r>", false},
        {"declaration after white space", " <?xml version='1.0'?><r/>", false},
        {"name that begins with a digit", "<r><1/></r>", false},
        {"colons in names", "<:r><a:b:c/></:r>", false},
    };
    return corpus;
}

/// Generates random well-formed documents without a document type.
class DocumentMaker
{
public:
    explicit DocumentMaker(quint32 seed)
        : mRandom(seed)
    {
        AddElement(0);
    }

    QByteArray Text;

private:
    QByteArray AnyOf(const QList<QByteArray>& texts) { return texts.at(mRandom.bounded(int(texts.size()))); }

    void AddContent()
    {
        while (mRandom.bounded(3) == 0) {
            Text += AnyOf({"text", " text ", "\n  ", "\r\n", "x&lt;y", "&#65;", "<![CDATA[c]]>", "<!-- c -->",
                           "<?p d?>", "<?a?>", "\xC3\xA4", "\xF0\x9F\x98\x80", "]]&gt;", "-"});
        }
    }

    void AddElement(int depth)
    {
        const QByteArray name = AnyOf({"a", "b", "r", "x:a"});
        Text += '<' + name;
        for (const char* attribute : {" a='1'", " b='tr(x)'", " c=' &#10;\n'"})
            Text += mRandom.bounded(3) == 0 ? attribute : "";
        Text += '>';
        AddContent();
        for (int i = depth < 4 ? mRandom.bounded(4) : 0; i > 0; --i) {
            AddElement(depth + 1);
            AddContent();
        }
        Text += "</" + name + '>';
    }

    QRandomGenerator mRandom;
};

/// Changes bytes of a document at random, which usually makes it malformed.
QByteArray Mutated(QByteArray document, QRandomGenerator& random)
{
    static const QList<QByteArray> pieces{"<a>",
                                          "</a>",
                                          "<b/>",
                                          "<r>",
                                          "</r>",
                                          " ",
                                          "\n",
                                          "\r\n",
                                          "&",
                                          "&amp;",
                                          "&#32;",
                                          "&e;",
                                          "<!--",
                                          "-->",
                                          "<!-- c -->",
                                          "<?p",
                                          "?>",
                                          "<?p d?>",
                                          "<![CDATA[",
                                          "]]>",
                                          "<![CDATA[ ]]>",
                                          "\xC2\xA0",
                                          "\xE4",
                                          "\xEF\xBB\xBF",
                                          "\x01",
                                          "'",
                                          "\"",
                                          "=",
                                          "<",
                                          ">",
                                          " a='1'",
                                          "<!DOCTYPE r>",
                                          "text",
                                          "<!DOCTYPE r [<!ENTITY e 'x'>]>"};
    for (int i = 1 + random.bounded(3); i > 0; --i) {
        const auto at = random.bounded(int(document.size()) + 1);
        const auto count = random.bounded(8);
        switch (random.bounded(4)) {
        case 0:
            document.insert(at, pieces.at(random.bounded(int(pieces.size()))));
            break;
        case 1:
            document.remove(at, count);
            break;
        case 2:
            document.insert(at, document.mid(random.bounded(int(document.size()) + 1), 3 * count));
            break;
        default:
            document.truncate(random.bounded(10) == 0 ? at : document.size());
        }
    }
    return document;
}

QString ToText(const QDomElement& element)
{
    QString text;
    const QMap<QString, QString> attributes = AttributesOf(element);
    for (auto it = attributes.cbegin(); it != attributes.cend(); ++it)
        text += u" %1=[%2]"_s.arg(it.key(), it.value());
    return text;
}

QString ToText(const VisitedElement& element)
{
    QString text = QString::number(element.Level) + u' ' + element.Path + u' ' + element.Name;
    for (auto it = element.Attributes.cbegin(); it != element.Attributes.cend(); ++it)
        text += u" %1=[%2]"_s.arg(it.key(), it.value());
    return text
        + u" [%1]%2%3\n"_s.arg(element.Text, element.IsSection ? u" section"_s : QString(),
                               element.HasElements ? u" ..."_s : QString());
}

/// Describes the element at a path: everything that commands read from it.
QString Describe(XmlFiler& filer, const ElementPath& path, PartContent content)
{
    if (!path.MoveTo(filer))
        return u"no element"_s;
    QString text = ElementPath::Of(filer) + ToText(filer.GetCurrentNode().toElement());
    text += u" text [%1] bytes [%2]"_s.arg(filer.ReadNodeText(),
                                           QString::fromLatin1(filer.ReadBuffer().toHex()));
    if (content == PartContent::Everything)
        text += u" inner [%1] outer [%2]"_s.arg(filer.ReadInnerXml(), filer.ReadOuterXml());
    return text;
}

/// Returns what a function returns, or the Failure that it throws.
QString ResultOf(const std::function<QString()>& function)
{
    try {
        return function();
    } catch (const Failure& failure) {
        return u"failure: %1: %2"_s.arg(failure.Subject, failure.Reason);
    }
}

/// Compares streaming a file with loading it.
class Comparison
{
public:
    Comparison(const QString& file, const QByteArray& content)
        : mFile(file)
        , mContent(content)
    { }

    /// \return a description of the first difference; empty if streaming and loading give the same results
    [[nodiscard]] QString FindDifference() const { return FindDifference(Paths()); }
    [[nodiscard]] QString FindDifference(const QStringList& paths) const
    {
        for (const QString& path : paths) {
            QString difference = CompareVisits(ElementPath(path));
            for (const PartContent content : {PartContent::Values, PartContent::Everything}) {
                if (difference.isEmpty())
                    difference = CompareParts(ElementPath(path), content);
            }
            if (!difference.isEmpty())
                return u"at \"%1\": %2"_s.arg(path, difference);
        }
        return CompareChecks();
    }

    [[nodiscard]] bool CanStream() const
    {
        try {
            return StreamElements({}, mContent, ElementPath(), [](const VisitedElement&) {}).has_value();
        } catch (const Failure&) {
            return false;
        }
    }

private:
    QStringList Paths() const
    {
        constexpr int kMaxPaths = 12;
        XmlFiler filer;
        if (!filer.LoadFromXmlFile(mFile.Path()))
            return {u""_s, u"a"_s};
        QStringList paths{u""_s, u"a"_s, u"/r/a[2]"_s, u"r/r"_s, u"a[2]/c[2]"_s};
        VisitTree(filer.GetCurrentNode().toElement(), [&paths](const VisitedElement& element) {
            if (paths.size() >= kMaxPaths)
                return;
            paths.append({element.Path, element.Path + u"/none"_s});
            if (!element.Path.endsWith(u']'))
                paths.append({element.Path + u"[1]"_s, element.Path + u"[2]"_s});
        });
        return paths;
    }

    static QString Compare(const QString& streamed, const QString& loaded)
    {
        return streamed == loaded ? QString() : u"\nstreamed: %1\nloaded:   %2"_s.arg(streamed, loaded);
    }

    QString CompareParts(const ElementPath& path, PartContent content) const
    {
        const QString streamed = ResultOf([&] {
            XmlFiler filer;
            filer.TranslateEnabled = false;
            LoadPart(filer, mFile, path, content);
            return Describe(filer, path, content);
        });
        const QString loaded = ResultOf([&] {
            XmlFiler filer;
            filer.TranslateEnabled = false;
            LoadDocument(filer, mFile);
            return Describe(filer, path, content);
        });
        return Compare(streamed, loaded);
    }

    QString CompareVisits(const ElementPath& path) const
    {
        const QString streamed = ResultOf([&] {
            QString text;
            const bool isThere = VisitElements(
                mFile, path, [&text](const VisitedElement& element) { text += ToText(element); });
            return text + (isThere ? u""_s : u"no element"_s);
        });
        const QString loaded = ResultOf([&] {
            XmlFiler filer;
            LoadDocument(filer, mFile);
            QString text;
            if (!path.MoveTo(filer))
                return u"no element"_s;
            VisitTree(filer.GetCurrentNode().toElement(),
                      [&text](const VisitedElement& element) { text += ToText(element); });
            return text;
        });
        return Compare(streamed, loaded);
    }

    QString CompareChecks() const
    {
        if (!SurelyKeepsValues({}, mContent))
            return {};
        XmlFiler filer;
        filer.TranslateEnabled = false;
        if (!filer.LoadFromXmlFile(mFile.Path()))
            return u"the document does not load"_s;
        const QList<FileProblem> problems = FindChanges(filer);
        return problems.isEmpty() ? QString() : problems.constFirst().Reason;
    }

    const InputFile mFile;
    const QByteArray mContent;
};

} // namespace

/// Documents that are streamed give the same results as documents that the library loads.
class tst_ToolStreaming : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();

    void Oddities_data();
    void Oddities();
    void TooManyAttributes();
    void RandomDocuments();
    void Mutations();
    void KeptValues_data();
    void KeptValues();

private:
    [[nodiscard]] QString Write(const QByteArray& content) const;

    const QTemporaryDir mFolder;
};

void tst_ToolStreaming::init()
{
    QTest::failOnWarning(QRegularExpression(u".*"_s));
}

QString tst_ToolStreaming::Write(const QByteArray& content) const
{
    QFile file(mFolder.filePath(u"a.xml"_s));
    const bool isWritten = file.open(QIODevice::WriteOnly) && file.write(content) == content.size();
    return isWritten ? file.fileName() : QString();
}

void tst_ToolStreaming::Oddities_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<bool>("canStream");

    for (const Document& document : Corpus())
        QTest::newRow(document.Name) << document.Content << document.CanStream;
}

void tst_ToolStreaming::Oddities()
{
    QFETCH(const QByteArray, content);
    QFETCH(const bool, canStream);

    Comparison comparison(Write(content), content);
    QCOMPARE(comparison.FindDifference(), QString());
    QCOMPARE(comparison.CanStream(), canStream);
}

void tst_ToolStreaming::TooManyAttributes()
{
    QByteArray attributes;
    for (int i = 0; i < 10'000; ++i)
        attributes += " a" + QByteArray::number(i) + "='1'";
    const QByteArray most = "<r><a" + attributes + "/></r>";
    const QStringList paths{u"a"_s}; // the library needs a second for each attempt
    Comparison allowed(Write(most), most);
    QCOMPARE(allowed.FindDifference(paths), QString());
    QVERIFY(allowed.CanStream());
    const QByteArray tooMany = "<r><a b='1'" + attributes + "/></r>";
    Comparison rejected(Write(tooMany), tooMany);
    QCOMPARE(rejected.FindDifference(paths), QString());
    QVERIFY(!rejected.CanStream());
}

void tst_ToolStreaming::RandomDocuments()
{
    for (quint32 seed = 0; seed < 1000; ++seed) {
        const QByteArray content = DocumentMaker(seed).Text;
        Comparison comparison(Write(content), content);
        const QString difference = comparison.FindDifference();
        QVERIFY2(difference.isEmpty(),
                 qPrintable(u"seed %1\n%2\n%3"_s.arg(seed).arg(QString::fromUtf8(content), difference)));
        QVERIFY(comparison.CanStream());
    }
}

void tst_ToolStreaming::Mutations()
{
    constexpr int kDocuments = 5000;
    int streamed = 0;
    for (quint32 seed = 0; seed < kDocuments; ++seed) {
        QRandomGenerator random(seed);
        const QByteArray original = seed % 2 == 0
            ? DocumentMaker(seed).Text
            : Corpus().at(random.bounded(int(Corpus().size()))).Content.left(1000);
        const QByteArray content = Mutated(original, random);
        Comparison comparison(Write(content), content);
        const QString difference = comparison.FindDifference();
        QVERIFY2(difference.isEmpty(),
                 qPrintable(u"seed %1\n%2\n%3"_s.arg(seed).arg(QString::fromUtf8(content), difference)));
        streamed += comparison.CanStream() ? 1 : 0;
    }
    // Many documents must be streamed, and many loaded.
    QVERIFY2(streamed > kDocuments / 8 && streamed < kDocuments / 2, qPrintable(QString::number(streamed)));
}

void tst_ToolStreaming::KeptValues_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<bool>("isSure");
    QTest::addColumn<int>("changes");

    QTest::newRow("plain") << QByteArray("<r a='1'>x</r>") << true << 0;
    QTest::newRow("text around elements") << QByteArray("<r>x<a/> y <!-- --> z<b/>\n</r>") << true << 0;
    QTest::newRow("instruction beside the root element") << QByteArray("<?p?><r>x</r>") << true << 0;
    QTest::newRow("instruction between elements") << QByteArray("<r><a/><?p?><b/></r>") << false << 0;
    QTest::newRow("instruction before text") << QByteArray("<r><a>x<?p?>y</a></r>") << false << 1;
}

void tst_ToolStreaming::KeptValues()
{
    QFETCH(const QByteArray, content);
    QFETCH(const bool, isSure);
    QFETCH(const int, changes);

    QCOMPARE(SurelyKeepsValues({}, content), isSure);
    XmlFiler filer;
    QVERIFY(filer.LoadFromXmlString(QString::fromUtf8(content)));
    QCOMPARE(FindChanges(filer).size(), changes);
}

QTEST_GUILESS_MAIN(tst_ToolStreaming)
#include "tst_ToolStreaming.moc"
