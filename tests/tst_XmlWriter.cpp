// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "xml/XmlWriter_p.h"

#include <QCryptographicHash>
#include <QDirIterator>
#include <QDomDocument>
#include <QFile>
#include <QRandomGenerator>
#include <QTextStream>
#include <QtTest>

using namespace Qt::StringLiterals;
using namespace Quorvin::Util::Internal;

namespace {

QByteArray SavedByQt(const QDomDocument& document)
{
    QByteArray content;
    QTextStream stream(&content);
    document.save(stream, 4, QDomNode::EncodingFromTextStream);
    stream.flush();
    return content;
}

QString NodeSavedByQt(const QDomNode& node)
{
    QString content;
    QTextStream stream(&content);
    node.save(stream, 4, QDomNode::EncodingFromTextStream);
    stream.flush();
    return content;
}

/// Returns the text with the attributes of each tag sorted. Tags are recognised by the form in which both
/// writers write them. Text that looks like a tag in a comment or CDATA section changes in both alike.
QString Sorted(const QString& text)
{
    static const QRegularExpression tag(u"<([^\\s<>/!?=\"]*)((?: [^\\s=\"<>]*=\"[^\"<]*\")+)(/?>)"_s);
    static const QRegularExpression attribute(u" [^\\s=\"<>]*=\"[^\"<]*\""_s);
    QString result;
    qsizetype done = 0;
    for (auto match = tag.globalMatch(text); match.hasNext();) {
        const QRegularExpressionMatch found = match.next();
        QStringList attributes;
        for (auto each = attribute.globalMatch(found.captured(2)); each.hasNext();)
            attributes.append(each.next().captured());
        attributes.sort();
        result += text.mid(done, found.capturedStart() - done) + u'<' + found.captured(1)
            + attributes.join(u"") + found.captured(3);
        done = found.capturedEnd();
    }
    return result + text.mid(done);
}

/// Returns the text without unpaired surrogates, because no pattern matches a text with them.
QString Valid(const QString& text)
{
    return QString::fromUtf8(text.toUtf8());
}

/// Generates documents with every kind of node and every character that is escaped.
class RandomDocument
{
public:
    explicit RandomDocument(quint32 seed)
        : mRandom(seed)
    { }

    QDomDocument Make()
    {
        QDomDocument document;
        if (Chance(3))
            document.appendChild(document.createComment(Text()));
        if (Chance(2))
            document.appendChild(document.createProcessingInstruction(u"xml"_s, u"version='1.0'"_s));
        if (Chance(4))
            document.appendChild(document.createTextNode(Text()));
        QDomElement root = document.createElement(Name());
        document.appendChild(root);
        Fill(document, root, 0);
        if (Chance(3))
            document.appendChild(document.createElement(Name()));
        if (Chance(3))
            document.appendChild(document.createComment(Text()));
        return document;
    }

private:
    bool Chance(int of) { return mRandom.bounded(of) == 0; }
    QString Name()
    {
        static const QStringList names{u"a"_s, u"b"_s, u"B"_s, u"ab"_s, u"a-b"_s, u"x:y"_s, u"\u00E4"_s};
        return names.at(mRandom.bounded(int(names.size())));
    }
    QString Text()
    {
        static const QStringList pieces{u"a"_s,
                                        u"b"_s,
                                        u" "_s,
                                        u"<"_s,
                                        u">"_s,
                                        u"]]>"_s,
                                        u"]"_s,
                                        u"&"_s,
                                        u"\""_s,
                                        u"'"_s,
                                        u"\n"_s,
                                        u"\r"_s,
                                        u"\t"_s,
                                        u"--"_s,
                                        u"-"_s,
                                        u"\u20AC"_s,
                                        u"\U0001F600"_s,
                                        QString(QChar(0xD800)),
                                        QString(QChar(0xDC00)),
                                        u"\u0001"_s};
        QString text;
        for (int length = mRandom.bounded(6); length > 0; --length)
            text += pieces.at(mRandom.bounded(int(pieces.size())));
        return text;
    }
    // Name() has a separate statement, because compilers evaluate arguments in different orders.
    void SetAttribute(QDomElement& element)
    {
        const QString name = Name();
        element.setAttribute(name, Text());
    }
    void AppendInstruction(QDomDocument& document, QDomElement& element)
    {
        const QString target = Name();
        element.appendChild(document.createProcessingInstruction(target, Text()));
    }
    void Fill(QDomDocument& document, QDomElement element, int depth)
    {
        for (int count = mRandom.bounded(5); count > 0; --count)
            SetAttribute(element);
        if (Chance(10))
            element.setAttributeNS(u"urn:n"_s, u"p:n"_s, Text());
        if (Chance(20))
            element.setAttributeNS(u"urn:n"_s, u"p:m"_s, Text());
        for (int count = mRandom.bounded(depth < 4 ? 5 : 1); count > 0; --count) {
            switch (mRandom.bounded(8)) {
            case 0:
                element.appendChild(document.createTextNode(Text()));
                break;
            case 1:
                element.appendChild(document.createCDATASection(Text()));
                break;
            case 2:
                element.appendChild(document.createComment(Text()));
                break;
            case 3:
                AppendInstruction(document, element);
                break;
            case 4:
                element.appendChild(document.createEntityReference(Name()));
                break;
            default: {
                QDomElement child = Chance(10) ? document.createElementNS(u"urn:\"e"_s, u"q:e"_s)
                                               : document.createElement(Name());
                element.appendChild(child);
                Fill(document, child, depth + 1);
            }
            }
        }
    }

    QRandomGenerator mRandom;
};

} // namespace

class tst_XmlWriter : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void WriteXmlFile_everything();
    void WriteXmlFile_attributesAreSorted();
    void WriteXmlString_documentType();
    void RandomDocuments_sameAsQt();
    void RandomDocuments_sameWithEveryQt();
    void Files_sameAsQt();
    void DeepDocument();
};

// Exactly these bytes, with every version of Qt.
void tst_XmlWriter::WriteXmlFile_everything()
{
    QDomDocument document;
    QVERIFY(document.setContent(
        QByteArray("<!-- lost --><?xml-stylesheet a?><r b='&#10;&#9;&#13;&quot;&lt;&gt;]]>&amp;&apos;' "
                   "a=''>t\"]]&gt;&#13;\n"
                   "<b/><![CDATA[<x>]]>u<c><!-- c- --><d/></c><e>\n</e><?pi data?><?pi2?></r><!-- end -->")));
    const QByteArray expected = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                                "<!-- lost -->\n"
                                "<?xml-stylesheet a?>\n"
                                "<r a=\"\" b=\"&#xa;&#x9;&#xd;&quot;&lt;>]]&gt;&amp;'\">t\"]]&gt;&#xd;\n"
                                "<b/><![CDATA[<x>]]>u<c>\n"
                                "        <!-- c- -->\n"
                                "        <d/>\n"
                                "    </c>\n"
                                "    <e/>\n"
                                "<?pi data?>\n"
                                "<?pi2 ?>\n"
                                "</r>\n"
                                "<!-- end -->\n";
    QCOMPARE(WriteXmlFile(document), expected);

    QDomNode declaration = document.createProcessingInstruction(u"xml"_s, u"version='1.0'"_s);
    document.insertBefore(declaration, document.documentElement());
    QByteArray shorter = expected;
    QCOMPARE(WriteXmlFile(document), shorter.replace("<!-- lost -->\n<?xml-stylesheet a?>\n", ""));
}

void tst_XmlWriter::WriteXmlFile_attributesAreSorted()
{
    QDomDocument document;
    QDomElement root = document.createElement(u"r"_s);
    document.appendChild(root);
    for (const QString& name : {u"b"_s, u"a"_s, u"B"_s, u"ab"_s, u"a:b"_s, u"\u00E4"_s, u"a1"_s})
        root.setAttribute(name, 1);

    QCOMPARE(WriteXmlString(document),
             u"<r B=\"1\" a=\"1\" a1=\"1\" a:b=\"1\" ab=\"1\" b=\"1\" \u00E4=\"1\"/>\n"_s);
}

void tst_XmlWriter::WriteXmlString_documentType()
{
    QDomDocument document;
    QVERIFY(document.setContent(
        QByteArray("<!DOCTYPE r PUBLIC \"p'q\" \"s\" [<!NOTATION n SYSTEM 'q'><!ENTITY v SYSTEM 'g' NDATA n>"
                   "<!ENTITY u SYSTEM 'f' NDATA n>]><r/>")));

    QCOMPARE(WriteXmlString(document),
             u"<!DOCTYPE r PUBLIC \"p'q\" 's' [\n<!NOTATION n SYSTEM 'q'>\n<!ENTITY u SYSTEM 'f' NDATA n>\n"
             "<!ENTITY v SYSTEM 'g' NDATA n>\n]>\n<r/>\n"_s);
}

void tst_XmlWriter::RandomDocuments_sameAsQt()
{
    if (QT_VERSION >= QT_VERSION_CHECK(6, 5, 0))
        QSKIP("the reference format is that of Qt 6.4");
    for (quint32 seed = 0; seed < 1'000; ++seed) {
        const QDomDocument document = RandomDocument(seed).Make();
        QCOMPARE(Sorted(QString::fromUtf8(WriteXmlFile(document))),
                 Sorted(QString::fromUtf8(SavedByQt(document))));
        QCOMPARE(Sorted(Valid(WriteXmlString(document))), Sorted(Valid(document.toString(1))));
        QString content;
        const QDomElement root = document.documentElement();
        for (QDomNode node = root.firstChild(); !node.isNull(); node = node.nextSibling()) {
            QCOMPARE(Sorted(Valid(WriteXmlNode(node))), Sorted(Valid(NodeSavedByQt(node))));
            content += NodeSavedByQt(node);
        }
        QCOMPARE(Sorted(Valid(WriteXmlContent(root))), Sorted(Valid(content)));
    }
}

// RandomDocuments_sameAsQt compares the same documents with the output of Qt 6.4. The bytes must not depend
// on the version of Qt.
void tst_XmlWriter::RandomDocuments_sameWithEveryQt()
{
    QCryptographicHash digest(QCryptographicHash::Sha256);
    for (quint32 seed = 0; seed < 1'000; ++seed) {
        const QDomDocument document = RandomDocument(seed).Make();
        const QString text = WriteXmlString(document) + WriteXmlContent(document.documentElement());
        QByteArray units;
        for (const QChar unit : text)
            units.append(char(unit.cell())).append(char(unit.row()));
        digest.addData(units);
        if (text.isValidUtf16()) // otherwise, Qt's encoder chooses the bytes
            digest.addData(WriteXmlFile(document));
    }
    QCOMPARE(digest.result().toHex(),
             QByteArray("b6d77dee897d37430958f0cbb471825a1c31ba4d22d19ef9cb9106b9c3203f13"));
}

// Documents from other programs.
void tst_XmlWriter::Files_sameAsQt()
{
    if (QT_VERSION >= QT_VERSION_CHECK(6, 5, 0))
        QSKIP("the reference format is that of Qt 6.4");
    int count = 0;
    for (const QString& folder : {u"/usr/share/mime"_s, u"/usr/share/X11"_s, u"/usr/share/fontconfig"_s}) {
        QDirIterator files(folder, {u"*.xml"_s, u"*.conf"_s}, QDir::Files, QDirIterator::Subdirectories);
        while (files.hasNext() && count < 500) {
            QFile file(files.next());
            QDomDocument document;
            if (!file.open(QIODevice::ReadOnly) || file.size() > 1'000'000 || !document.setContent(&file))
                continue;
            QVERIFY2(Sorted(QString::fromUtf8(WriteXmlFile(document)))
                         == Sorted(QString::fromUtf8(SavedByQt(document))),
                     qPrintable(file.fileName()));
            QVERIFY2(Sorted(WriteXmlString(document)) == Sorted(document.toString(1)),
                     qPrintable(file.fileName()));
            ++count;
        }
    }
    if (count == 0)
        QSKIP("these folders contain no file that loads");
    qInfo("%d files", count);
}

void tst_XmlWriter::DeepDocument()
{
    constexpr int kDepth = 20'000;
    QDomDocument document;
    QDomNode node = document.appendChild(document.createElement(u"a"_s));
    for (int i = 1; i < kDepth; ++i)
        node = node.appendChild(document.createElement(u"a"_s));

    const QString text = WriteXmlString(document);
    QCOMPARE(text.count(u"<a>"_s), kDepth - 1);
    QCOMPARE(text.count(u"<a/>"_s), 1);
    QCOMPARE(text.count(u"</a>"_s), kDepth - 1);
}

QTEST_GUILESS_MAIN(tst_XmlWriter)
#include "tst_XmlWriter.moc"
