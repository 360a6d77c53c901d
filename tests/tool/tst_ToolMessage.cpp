// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "messaging/MessageCodec_p.h"
#include "support/ToolTest.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRandomGenerator>

#include <limits>

using namespace Qt::StringLiterals;
using namespace Quorvin::Util;
using TestSupport::ToolResult;

namespace {

const QString kNoIdentity = u"{00000000-0000-0000-0000-000000000000}"_s;

// Returns a frame as the library writes it, with only a name and the lines of its parameters.
QByteArray Document(const QByteArray& id, const QByteArray& params = {})
{
    const QByteArray head = "<?xml version=\"1.0\"?>\n<Message Id=\"" + id + "\" UniqueId=\""
        + kNoIdentity.toUtf8() + "\" OriginalMessageUniqueId=\"" + kNoIdentity.toUtf8()
        + "\" NeedResponse=\"False\" IsResponse=\"False\">\n";
    return head + (params.isEmpty() ? " <Params/>\n" : " <Params>\n" + params + " </Params>\n")
        + "</Message>\n";
}

// Returns what decode prints for this frame.
QByteArray Line(const QByteArray& id, const QByteArray& paramsAndTypes = "\"params\":{}")
{
    return "{\"id\":\"" + id
        + "\",\"isResponse\":false,\"needResponse\":false,\"originalMessageUniqueId\":null," + paramsAndTypes
        + ",\"uniqueId\":null}\n";
}

QString RandomText(QRandomGenerator& random)
{
    static const QStringList pieces
        = {u"a"_s,  u"Z"_s, u" "_s,  u"<"_s, u"&amp;"_s, u"\""_s,     u"'"_s,  u"\n"_s,
           u"\t"_s, u"é"_s, u"語"_s, u"😀"_s, u"]]>"_s,   u"<?xml "_s, u"\\"_s, u"{}"_s};
    QString text;
    for (int i = random.bounded(8); i > 0; --i)
        text += pieces.at(random.bounded(static_cast<int>(pieces.size())));
    return text;
}

QByteArray RandomBytes(QRandomGenerator& random)
{
    QByteArray bytes;
    for (int i = random.bounded(20); i > 0; --i)
        bytes += static_cast<char>(random.bounded(256));
    return bytes;
}

QVariant RandomValue(QRandomGenerator& random, int depth)
{
    static constexpr qlonglong kWhole[] = {0,
                                           1,
                                           -1,
                                           640,
                                           2147483647,
                                           -2147483648LL,
                                           2147483648LL,
                                           9007199254740992,
                                           9007199254740993,
                                           std::numeric_limits<qlonglong>::max(),
                                           std::numeric_limits<qlonglong>::min()};
    static const double reals[]
        = {0.0, 1.0, -1.0, 0.1, -2.5, 1e300, 5e-324, 1e20, 9007199254740993.0, qInf(), -qInf(), qQNaN()};
    switch (random.bounded(depth > 3 ? 10 : 13)) {
    case 0:
        return random.bounded(2) == 0;
    case 1:
        return static_cast<int>(kWhole[random.bounded(6)]);
    case 2:
        return static_cast<uint>(kWhole[random.bounded(7)]);
    case 3:
        return kWhole[random.bounded(11)];
    case 4:
        return reals[random.bounded(12)];
    case 5:
        return RandomText(random);
    case 6:
        return RandomBytes(random);
    case 7:
        return QVariant();
    case 8:
        return QVariant::fromValue(qulonglong(7));
    case 9:
        return random.bounded(2) == 0 ? QVariant(QUrl(u"http://localhost"_s)) : QVariant(QDate(2026, 11, 21));
    case 10: {
        QVariantMap map;
        for (int i = random.bounded(4); i > 0; --i)
            map.insert(u'k' + RandomText(random), RandomValue(random, depth + 1));
        return map;
    }
    case 11: {
        QVariantList list;
        for (int i = random.bounded(4); i > 0; --i)
            list.append(RandomValue(random, depth + 1));
        return list;
    }
    default: {
        QStringList list;
        for (int i = random.bounded(4); i > 0; --i)
            list.append(RandomText(random));
        return list;
    }
    }
}

MessageInfo RandomMessage(QRandomGenerator& random)
{
    MessageInfo message;
    message.Id = RandomText(random);
    if (random.bounded(2) == 0)
        message.UniqueId = QUuid(random.generate(), 2, 3, 4, 5, 6, 7, 8, 9, 10, 11);
    if (random.bounded(2) == 0)
        message.OriginalMessageUniqueId = QUuid(random.generate(), 3, 3, 4, 5, 6, 7, 8, 9, 10, 11);
    message.NeedResponse = random.bounded(2) == 0;
    message.IsResponse = random.bounded(2) == 0;
    for (int i = random.bounded(6); i > 0; --i)
        message.Params.insert(u'p' + RandomText(random), RandomValue(random, 0));
    return message;
}

} // namespace

class tst_ToolMessage : public TestSupport::ToolTest
{
    Q_OBJECT

private Q_SLOTS:
    void Values_data();
    void Values();
    void Fields_data();
    void Fields();
    void BothWays_random();
    void Decode_skipped_data();
    void Decode_skipped();
    void Decode_files();
    void Decode_indent();
    void Decode_otherWriters();
    void Decode_noMessage();
    void Decode_lostValueReplaced();
    void Decode_everyCut();
    void Decode_binaryNoise();
    void Decode_hugeFile();
    void Encode_forms_data();
    void Encode_forms();
    void Encode_output();
    void Encode_bad_data();
    void Encode_bad();
    void Encode_bad_percentInName();
    void Encode_terminal();
    void Split_list();
    void Split_json();
    void Split_files();
    void Split_bad();
    void Arguments_data();
    void Arguments();
};

// --- encode and decode

void tst_ToolMessage::Values_data()
{
    QTest::addColumn<QByteArray>("xml");
    QTest::addColumn<QByteArray>("value");
    QTest::addColumn<QByteArray>("type");

    const auto scalar
        = [](const char* circumstance, const QByteArray& type, const QByteArray& text,
             const QByteArray& value, bool isNamed) {
              QTest::newRow(circumstance)
                  << QByteArray("  <Param Name=\"a\" Type=\"" + type + "\" Value=\"" + text + "\"/>\n")
                  << value << (isNamed ? '"' + type + '"' : QByteArray());
          };
    scalar("true", "Bool", "True", "true", false);
    scalar("false", "Bool", "False", "false", false);
    scalar("int", "Int", "5", "5", false);
    scalar("largest int", "Int", "2147483647", "2147483647", false);
    scalar("smallest int", "Int", "-2147483648", "-2147483648", false);
    scalar("unsigned", "UInt", "5", "5", true);
    scalar("largest unsigned", "UInt", "4294967295", "4294967295", true);
    scalar("long", "LongLong", "5", "5", true);
    scalar("largest exact long", "LongLong", "9007199254740992", "9007199254740992", true);
    scalar("long that no double can represent", "LongLong", "9007199254740993", "\"9007199254740993\"", true);
    scalar("smallest long", "LongLong", "-9223372036854775808", "\"-9223372036854775808\"", true);
    scalar("double with a fraction", "Double", "0.5", "0.5", true);
    scalar("whole double", "Double", "5", "5", true);
    scalar("double in 17 digits", "Double", "0.10000000000000001", "0.1", true);
    scalar("not a number", "Double", "nan", "\"nan\"", true);
    scalar("infinity", "Double", "-inf", "\"-inf\"", true);
    scalar("text", "String", "x y", "\"x y\"", false);
    scalar("empty text", "String", "", "\"\"", false);
    scalar("text with escapes", "String", "&lt;&amp;&quot;&#x9;&#xa;", "\"<&\\\"\\t\\n\"", false);
    scalar("text beyond ASCII", "String", "é語😀", "\"é語😀\"", false);
    scalar("text like a number", "String", "5", "\"5\"", false);
    scalar("type that cannot be sent", "Url", "&lt;&lt;Error: Unsupported type>>", "null", true);
    scalar("type that is not known", "", "&lt;&lt;Error: Unsupported type>>", "null", true);
    scalar("invalid", "Invalid", "&lt;&lt;Error: Unsupported type>>", "null", true);
    QTest::newRow("unsigned long") << QByteArray("  <Param Name=\"a\" Type=\"ULongLong\"/>\n")
                                   << QByteArray("null") << QByteArray("\"ULongLong\"");
    QTest::newRow("character") << QByteArray("  <Param Name=\"a\" Type=\"Char\"/>\n") << QByteArray("null")
                               << QByteArray("\"Char\"");
    QTest::newRow("bytes") << QByteArray("  <Param Name=\"a\" Type=\"ByteArray\"><![CDATA[AP8=]]></Param>\n")
                           << QByteArray("\"AP8=\"") << QByteArray("\"ByteArray\"");
    QTest::newRow("empty bytes") << QByteArray(
        "  <Param Name=\"a\" Type=\"ByteArray\"><![CDATA[]]></Param>\n")
                                 << QByteArray("\"\"") << QByteArray("\"ByteArray\"");
    QTest::newRow("string list") << QByteArray(
        "  <Param Name=\"a\" Type=\"StringList\">\n   <Param Value=\"x\"/>\n   <Param "
        "Value=\"\"/>\n  </Param>\n")
                                 << QByteArray("[\"x\",\"\"]") << QByteArray("\"StringList\"");
    QTest::newRow("empty string list") << QByteArray("  <Param Name=\"a\" Type=\"StringList\"/>\n")
                                       << QByteArray("[]") << QByteArray("\"StringList\"");
    QTest::newRow("list") << QByteArray(
        "  <Param Name=\"a\" Type=\"List\">\n   <Param Type=\"Int\" Value=\"1\"/>\n   "
        "<Param Type=\"String\" Value=\"x\"/>\n  </Param>\n")
                          << QByteArray("[1,\"x\"]") << QByteArray();
    QTest::newRow("list with types") << QByteArray(
        "  <Param Name=\"a\" Type=\"List\">\n   <Param Type=\"Int\" "
        "Value=\"1\"/>\n   <Param Type=\"Double\" Value=\"1\"/>\n  "
        "</Param>\n") << QByteArray("[1,1]")
                                     << QByteArray("[null,\"Double\"]");
    QTest::newRow("empty list") << QByteArray("  <Param Name=\"a\" Type=\"List\"/>\n") << QByteArray("[]")
                                << QByteArray();
    QTest::newRow("map") << QByteArray("  <Param Name=\"a\" Type=\"Map\">\n   <Param Name=\"x\" Type=\"Int\" "
                                       "Value=\"1\"/>\n  </Param>\n")
                         << QByteArray("{\"x\":1}") << QByteArray();
    QTest::newRow("map with types") << QByteArray("  <Param Name=\"a\" Type=\"Map\">\n   <Param Name=\"x\" "
                                                  "Type=\"ULongLong\"/>\n   <Param Name=\"y\" Type=\"Int\" "
                                                  "Value=\"1\"/>\n  </Param>\n")
                                    << QByteArray("{\"x\":null,\"y\":1}")
                                    << QByteArray("{\"x\":\"ULongLong\"}");
    QTest::newRow("empty map") << QByteArray("  <Param Name=\"a\" Type=\"Map\"/>\n") << QByteArray("{}")
                               << QByteArray();
}

void tst_ToolMessage::Values()
{
    QFETCH(const QByteArray, xml);
    QFETCH(const QByteArray, value);
    QFETCH(const QByteArray, type);

    const QByteArray document = Document("M", xml);
    const ToolResult decoded = mTool->Run({u"message"_s, u"decode"_s}, document);
    const QByteArray types = type.isEmpty() ? QByteArray() : ",\"types\":{\"a\":" + type + '}';
    QCOMPARE(decoded.ToText(),
             QString::fromUtf8(Line("M", "\"params\":{\"a\":" + value + '}' + types) + "=> 0\n"));
    const ToolResult encoded = mTool->Run({u"message"_s, u"encode"_s}, decoded.Output);
    QCOMPARE(encoded.ToText(), QString::fromUtf8(document + "=> 0\n"));
}

void tst_ToolMessage::Fields_data()
{
    QTest::addColumn<QByteArray>("fields");
    QTest::addColumn<QByteArray>("attributes");

    const QByteArray none = kNoIdentity.toUtf8();
    const QByteArray some = "{01234567-89ab-cdef-0123-456789abcdef}";
    QTest::newRow("request") << QByteArray("\"needResponse\":true,\"uniqueId\":\"" + some + '"')
                             << QByteArray("UniqueId=\"" + some + "\" OriginalMessageUniqueId=\"" + none
                                           + "\" NeedResponse=\"True\" IsResponse=\"False\"");
    QTest::newRow("answer") << QByteArray("\"isResponse\":true,\"originalMessageUniqueId\":\"" + some + '"')
                            << QByteArray("UniqueId=\"" + none + "\" OriginalMessageUniqueId=\"" + some
                                          + "\" NeedResponse=\"False\" IsResponse=\"True\"");
    QTest::newRow("identifier of zeros")
        << QByteArray("\"uniqueId\":\"" + none + '"')
        << QByteArray("UniqueId=\"" + none + "\" OriginalMessageUniqueId=\"" + none
                      + "\" NeedResponse=\"False\" IsResponse=\"False\"");
    QTest::newRow("all null") << QByteArray(
        "\"uniqueId\":null,\"originalMessageUniqueId\":null,\"params\":{}")
                              << QByteArray("UniqueId=\"" + none + "\" OriginalMessageUniqueId=\"" + none
                                            + "\" NeedResponse=\"False\" IsResponse=\"False\"");
}

void tst_ToolMessage::Fields()
{
    QFETCH(const QByteArray, fields);
    QFETCH(const QByteArray, attributes);

    const QByteArray document
        = "<?xml version=\"1.0\"?>\n<Message Id=\"M\" " + attributes + ">\n <Params/>\n</Message>\n";
    const ToolResult encoded = mTool->Run({u"message"_s, u"encode"_s}, "{\"id\":\"M\"," + fields + '}');
    QCOMPARE(encoded.ToText(), QString::fromUtf8(document + "=> 0\n"));
    const ToolResult decoded = mTool->Run({u"message"_s, u"decode"_s}, encoded.Output);
    const ToolResult again = mTool->Run({u"message"_s, u"encode"_s}, decoded.Output);
    QCOMPARE(again.Output, document);
}

void tst_ToolMessage::BothWays_random()
{
    QRandomGenerator random(21);
    QByteArray documents;
    for (int i = 0; i < 400; ++i)
        documents += EncodeMessage(RandomMessage(random)).toUtf8();
    const ToolResult decoded = mTool->Run({u"message"_s, u"decode"_s}, documents);
    QCOMPARE(decoded.Errors, QByteArray());
    QCOMPARE(decoded.ExitCode, 0);
    QCOMPARE(decoded.Output.count('\n'), 400);
    const ToolResult encoded = mTool->Run({u"message"_s, u"encode"_s}, decoded.Output);
    QCOMPARE(encoded.Errors, QByteArray());
    QCOMPARE(encoded.Output, documents);
}

// --- decode

void tst_ToolMessage::Decode_skipped_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QStringList>("ids");
    QTest::addColumn<QString>("errors");

    const QByteArray a = Document("A");
    const QByteArray b = Document("B");
    const qsizetype size = a.size();
    const auto skipped = [](qsizetype offset, qsizetype bytes, const QString& reason) {
        return u"! qvutil: standard input: byte %1: %2 bytes are skipped: %3\n"_s.arg(offset).arg(bytes).arg(
            reason);
    };
    const QString none = u"! qvutil: standard input: there is no message\n"_s;
    QTest::newRow("two") << a + b << QStringList{u"A"_s, u"B"_s} << QString();
    QTest::newRow("blanks between") << a + "\n \n" + b << QStringList{u"A"_s, u"B"_s} << QString();
    QTest::newRow("nothing") << QByteArray() << QStringList() << none;
    QTest::newRow("noise alone") << QByteArray("noise") << QStringList()
                                 << skipped(0, 5, u"no frame begins here"_s) + none;
    QTest::newRow("noise before") << "noise" + a << QStringList{u"A"_s}
                                  << skipped(0, 5, u"no frame begins here"_s);
    QTest::newRow("noise with multi-byte characters")
        << "é語" + a << QStringList{u"A"_s} << skipped(0, 5, u"no frame begins here"_s);
    QTest::newRow("noise after")
        << a + "noise" + b << QStringList{u"B"_s}
        << skipped(0, size + 5,
                   u"the frame ends at byte %1, and the bytes after it make it malformed"_s.arg(size - 1));
    QTest::newRow("truncated at the end")
        << a + b.first(100) << QStringList{u"A"_s} << skipped(size, 100, u"the frame is truncated"_s);
    QTest::newRow("truncated before another")
        << b.first(100) + a << QStringList{u"A"_s} << skipped(0, 100, u"the frame is truncated"_s);
    QTest::newRow("beginning missing")
        << a.sliced(50) + b << QStringList{u"B"_s} << skipped(0, size - 50, u"no frame begins here"_s);
    QTest::newRow("start alone") << a + "<?xml " << QStringList{u"A"_s}
                                 << skipped(size, 6, u"the frame is truncated"_s);
    QTest::newRow("start removed by a reader") << a.sliced(6) + b << QStringList{u"A"_s, u"B"_s} << QString();
    QByteArray wrong = Document("é");
    wrong.replace("<Params/>", "<Params>");
    QTest::newRow("not well-formed") << a + wrong + b << QStringList{u"A"_s, u"B"_s}
                                     << skipped(size, wrong.size(),
                                                u"byte %1: Opening and ending tag mismatch"_s.arg(
                                                    size + wrong.size() - 1));
    QByteArray deep
        = "<?xml version=\"1.0\"?>" + QByteArray("<a>").repeated(1001) + QByteArray("</a>").repeated(1001);
    QTest::newRow("too deep") << deep + a << QStringList{u"A"_s}
                              << skipped(0, deep.size(), u"elements are nested more than 1,000 deep"_s);
}

void tst_ToolMessage::Decode_skipped()
{
    QFETCH(const QByteArray, bytes);
    QFETCH(const QStringList, ids);
    QFETCH(const QString, errors);

    QString expected;
    for (const QString& id : ids)
        expected += QString::fromUtf8(Line(id.toUtf8()));
    const ToolResult result = mTool->Run({u"message"_s, u"decode"_s}, bytes);
    QCOMPARE(result.ToText(), expected + errors + (errors.isEmpty() ? u"=> 0\n"_s : u"=> 1\n"_s));

    // A receiver that gets the same bytes in one read decodes the same messages.
    QList<MessageInfo> messages;
    DecodeMessage(QString::fromUtf8(bytes), messages);
    QStringList read;
    for (const MessageInfo& message : messages)
        read += message.Id;
    QCOMPARE(read, ids);
}

void tst_ToolMessage::Decode_files()
{
    QVERIFY(mTool->Write(u"a.bin"_s, Document("A") + Document("A2")));
    QVERIFY(mTool->Write(u"b.bin"_s, Document("B")));
    QVERIFY(mTool->Write(u"empty.bin"_s, {}));
    QCOMPARE(mTool->Run({u"message"_s, u"decode"_s, u"a.bin"_s, u"b.bin"_s}).ToText(),
             QString::fromUtf8(Line("A") + Line("A2") + Line("B") + "=> 0\n"));
    QCOMPARE(mTool->Run({u"message"_s, u"decode"_s, u"-"_s, u"b.bin"_s}, Document("C")).ToText(),
             QString::fromUtf8(Line("C") + Line("B") + "=> 0\n"));
    // An empty or unreadable file does not hide the others.
    QCOMPARE(mTool->Run({u"message"_s, u"decode"_s, u"empty.bin"_s, u"b.bin"_s}).ToText(),
             QString::fromUtf8(Line("B") + "! qvutil: empty.bin: there is no message\n=> 1\n"));
    QCOMPARE(
        mTool->Run({u"message"_s, u"decode"_s, u"missing.bin"_s, u"."_s, u"b.bin"_s}).ToText(),
        QString::fromUtf8(Line("B")
                          + "! qvutil: missing.bin: No such file or directory\n! qvutil: .: is a folder\n"
                            "=> 2\n"));
    QFile::setPermissions(mTool->Path(u"a.bin"_s), {});
    QFile::setPermissions(mTool->Path(u"."_s), QFile::Permissions(0x7777));
    QCOMPARE(mTool->RunUnprivileged({u"message"_s, u"decode"_s, u"a.bin"_s}).ToText(),
             u"! qvutil: a.bin: Permission denied\n=> 2\n"_s);
}

void tst_ToolMessage::Decode_indent()
{
    const QByteArray bytes = Document("A") + Document("B");
    const ToolResult result = mTool->Run({u"message"_s, u"decode"_s, u"--indent"_s}, bytes);
    QCOMPARE(result.ExitCode, 0);
    QVERIFY(result.Output.startsWith("{\n    \"id\": \"A\",\n"));
    QCOMPARE(mTool->Run({u"message"_s, u"encode"_s}, result.Output).Output, bytes);
}

// Different white space, order and quotation marks, comments, unknown elements and attributes.
void tst_ToolMessage::Decode_otherWriters()
{
    const QByteArray bytes
        = "<?xml version='1.0' encoding=\"UTF-8\"?><!-- by hand --><Message IsResponse='yes' "
          "NeedResponse=\"true\" Id='A' Extra='1'><Other/><Params><Entry Name='a' type='x' "
          "Type='int' Value='5'/><Param Type='Int' Value='6'/></Params></Message>"
          "<?xml version=\"1.0\"?><Message/>";
    QCOMPARE(mTool->Run({u"message"_s, u"decode"_s}, bytes).ToText(),
             u"{\"id\":\"A\",\"isResponse\":false,\"needResponse\":true,\"originalMessageUniqueId\":null,"
             "\"params\":{\"a\":5},\"uniqueId\":null}\n"_s
                 + QString::fromUtf8(Line("")) + u"=> 0\n"_s);
}

// A receiver accepts any document as a message. The tool does not, because a document in a file is rarely
// meant to be a message.
void tst_ToolMessage::Decode_noMessage()
{
    const QByteArray settings = "<?xml version=\"1.0\"?><Settings><Panel Width=\"640\"/></Settings>";
    const QByteArray a = Document("A");
    const QString reason = u"the root element is Settings: this is not a message"_s;
    QVERIFY(mTool->Write(u"app.xml"_s, settings));
    QVERIFY(mTool->Write(u"both.bin"_s, settings + a));
    QCOMPARE(
        mTool->Run({u"message"_s, u"decode"_s, u"app.xml"_s}).ToText(),
        u"! qvutil: app.xml: byte 0: %1 bytes are skipped: %2\n! qvutil: app.xml: there is no message\n=> 1\n"_s
            .arg(settings.size())
            .arg(reason));
    QCOMPARE(mTool->Run({u"message"_s, u"decode"_s, u"both.bin"_s}).ToText(),
             QString::fromUtf8(Line("A"))
                 + u"! qvutil: both.bin: byte 0: %1 bytes are skipped: %2\n=> 1\n"_s.arg(settings.size())
                       .arg(reason));
    QCOMPARE(mTool->Run({u"message"_s, u"decode"_s}, settings.sliced(6) + a).ExitCode, 1);
    const QJsonArray list
        = QJsonDocument::fromJson(mTool->Run({u"message"_s, u"split"_s, u"app.xml"_s, u"--json"_s}).Output)
              .array();
    QCOMPARE(list.at(0).toObject().value(u"problem"_s).toString(), reason);
    // If the root has another name but an Id, the tool decodes it, as a receiver does.
    QCOMPARE(mTool->Run({u"message"_s, u"decode"_s}, "<?xml version=\"1.0\"?><Other Id=\"A\"/>").ToText(),
             QString::fromUtf8(Line("A") + "=> 0\n"));
}

// Of two values with the same name, the last one counts, whether or not it was lost.
void tst_ToolMessage::Decode_lostValueReplaced()
{
    const auto decode = [this](const QByteArray& params) {
        return mTool->Run({u"message"_s, u"decode"_s}, Document("M", params)).ToText();
    };
    const QByteArray lost = "<Param Name=\"a\" Type=\"Char\"/>";
    const QByteArray other = "<Param Name=\"a\" Type=\"Url\"/>";
    const QByteArray kept = "<Param Name=\"a\" Type=\"Int\" Value=\"5\"/>";
    const QByteArray map = "<Param Name=\"a\" Type=\"Map\"><Param Name=\"b\" Type=\"Char\"/></Param>";
    QCOMPARE(decode(lost + kept + "<Param Name=\"z\" Type=\"Char\"/>"),
             QString::fromUtf8(Line("M", "\"params\":{\"a\":5,\"z\":null},\"types\":{\"z\":\"Char\"}")
                               + "=> 0\n"));
    QCOMPARE(decode(kept + lost),
             QString::fromUtf8(Line("M", "\"params\":{\"a\":null},\"types\":{\"a\":\"Char\"}") + "=> 0\n"));
    QCOMPARE(decode(lost + other),
             QString::fromUtf8(Line("M", "\"params\":{\"a\":null},\"types\":{\"a\":\"Url\"}") + "=> 0\n"));
    QCOMPARE(decode(lost + map),
             QString::fromUtf8(Line("M", "\"params\":{\"a\":{\"b\":null}},\"types\":{\"a\":{\"b\":\"Char\"}}")
                               + "=> 0\n"));
    QCOMPARE(decode(map + lost),
             QString::fromUtf8(Line("M", "\"params\":{\"a\":null},\"types\":{\"a\":\"Char\"}") + "=> 0\n"));
}

// Wherever a capture is truncated, complete frames are printed and the rest is reported.
void tst_ToolMessage::Decode_everyCut()
{
    const QByteArray whole
        = Document("A", "  <Param Name=\"é\" Type=\"ByteArray\"><![CDATA[AP8=]]></Param>\n");
    for (qsizetype size = 1; size < whole.size() - 1; size += 7) {
        const ToolResult result = mTool->Run({u"message"_s, u"decode"_s}, Document("B") + whole.first(size));
        QCOMPARE(result.Output, size < 6 ? QByteArray() : Line("B"));
        QVERIFY(result.Errors.contains(size < 6 ? "the bytes after it make it malformed"
                                                : "the frame is truncated"));
        QCOMPARE(result.ExitCode, 1);
    }
}

void tst_ToolMessage::Decode_binaryNoise()
{
    QRandomGenerator random(5);
    for (int round = 0; round < 20; ++round) {
        QByteArray noise(1 + random.bounded(5000), '\0');
        for (char& c : noise)
            c = static_cast<char>(random.bounded(256));
        const ToolResult alone = mTool->Run({u"message"_s, u"decode"_s}, noise);
        QCOMPARE(alone.ExitCode, 1);
        QCOMPARE(alone.Output, QByteArray());
        const ToolResult before = mTool->Run({u"message"_s, u"decode"_s}, noise + Document("A"));
        QCOMPARE(before.ExitCode, 1);
        QCOMPARE(before.Output, Line("A"));
        QCOMPARE(before.Errors,
                 "qvutil: standard input: byte 0: " + QByteArray::number(noise.size())
                     + " bytes are skipped: no frame begins here\n");
    }
}

void tst_ToolMessage::Decode_hugeFile()
{
    // Twenty thousand frames, and one of 8 MiB.
    QByteArray bytes = Document("A").repeated(20000);
    bytes += Document("B",
                      "  <Param Name=\"a\" Type=\"String\" Value=\"" + QByteArray(8 << 20, 'x') + "\"/>\n");
    QVERIFY(mTool->Write(u"huge.bin"_s, bytes));
    const ToolResult result = mTool->Run({u"message"_s, u"decode"_s, u"huge.bin"_s});
    QCOMPARE(result.Errors, QByteArray());
    QCOMPARE(result.ExitCode, 0);
    QCOMPARE(result.Output.count('\n'), 20001);
    QVERIFY(result.Output.size() > (8 << 20));

    // A sparse file that is larger than any real capture.
    QFile file(mTool->Path(u"hole.bin"_s));
    QVERIFY(file.open(QIODevice::WriteOnly));
    QVERIFY(file.resize((qint64(1) << 30) + 1));
    for (const QString& command : {u"decode"_s, u"encode"_s, u"split"_s}) {
        QCOMPARE(mTool->Run({u"message"_s, command, u"hole.bin"_s}).ToText(),
                 u"! qvutil: hole.bin: larger than 1 GiB, the maximum size that the tool reads\n=> 2\n"_s);
    }
}

// --- encode

void tst_ToolMessage::Encode_forms_data()
{
    QTest::addColumn<QByteArray>("json");
    QTest::addColumn<QByteArray>("expected");

    const auto param
        = [](const QByteArray& rest) { return Document("A", "  <Param Name=\"a\" " + rest + "\n"); };
    QTest::newRow("one") << QByteArray("{\"id\":\"A\"}") << Document("A");
    QTest::newRow("one per line") << QByteArray("{\"id\":\"A\"}\n\n{\"id\":\"B\"}\r\n")
                                  << Document("A") + Document("B");
    QTest::newRow("list") << QByteArray("[{\"id\":\"A\"},{\"id\":\"B\"}]") << Document("A") + Document("B");
    QTest::newRow("without separators") << QByteArray("{\"id\":\"A\"}{\"id\":\"B\"}[{\"id\":\"C\"}]")
                                        << Document("A") + Document("B") + Document("C");
    QTest::newRow("empty name") << QByteArray("{\"id\":\"\"}") << Document("");
    QTest::newRow("types in different case") << QByteArray("{\"id\":\"A\",\"params\":{\"a\":1},"
                                                           "\"types\":{\"a\":\"DOUBLE\"}}")
                                             << param("Type=\"Double\" Value=\"1\"/>");
    QTest::newRow("type that may be omitted") << QByteArray("{\"id\":\"A\",\"params\":{\"a\":1},"
                                                            "\"types\":{\"a\":\"Int\"}}")
                                              << param("Type=\"Int\" Value=\"1\"/>");
    QTest::newRow("null type") << QByteArray("{\"id\":\"A\",\"params\":{\"a\":1},\"types\":{\"a\":null}}")
                               << param("Type=\"Int\" Value=\"1\"/>");
    QTest::newRow("map by name") << QByteArray(
        "{\"id\":\"A\",\"params\":{\"a\":{}},\"types\":{\"a\":\"Map\"}}")
                                 << param("Type=\"Map\"/>");
    QTest::newRow("list by name") << QByteArray(
        "{\"id\":\"A\",\"params\":{\"a\":[]},\"types\":{\"a\":\"List\"}}")
                                  << param("Type=\"List\"/>");
    QTest::newRow("shorter list of types")
        << QByteArray("{\"id\":\"A\",\"params\":{\"a\":[1]},\"types\":{\"a\":[]}}")
        << param("Type=\"List\">\n   <Param Type=\"Int\" Value=\"1\"/>\n  "
                 "</Param>");
    QTest::newRow("number with a fraction")
        << QByteArray("{\"id\":\"A\",\"params\":{\"a\":1.5}}") << param("Type=\"Double\" Value=\"1.5\"/>");
    QTest::newRow("too large for an int") << QByteArray("{\"id\":\"A\",\"params\":{\"a\":2147483648}}")
                                          << param("Type=\"LongLong\" Value=\"2147483648\"/>");
    QTest::newRow("too small for an int") << QByteArray("{\"id\":\"A\",\"params\":{\"a\":-2147483649}}")
                                          << param("Type=\"LongLong\" Value=\"-2147483649\"/>");
    QTest::newRow("too large for every type")
        << QByteArray("{\"id\":\"A\",\"params\":{\"a\":1e20}}") << param("Type=\"Double\" Value=\"1e+20\"/>");
    QTest::newRow("text for a number") << QByteArray("{\"id\":\"A\",\"params\":{\"a\":\"7\"},"
                                                     "\"types\":{\"a\":\"UInt\"}}")
                                       << param("Type=\"UInt\" Value=\"7\"/>");
    QTest::newRow("null") << QByteArray("{\"id\":\"A\",\"params\":{\"a\":null}}")
                          << param("Type=\"Invalid\" Value=\"&lt;&lt;Error: Unsupported type>>\"/>");
}

void tst_ToolMessage::Encode_forms()
{
    QFETCH(const QByteArray, json);
    QFETCH(const QByteArray, expected);

    const ToolResult result = mTool->Run({u"message"_s, u"encode"_s}, json);
    QCOMPARE(result.ToText(), QString::fromUtf8(expected + "=> 0\n"));
}

void tst_ToolMessage::Encode_output()
{
    QVERIFY(mTool->Write(u"m.json"_s, "{\"id\":\"A\"}"));
    QVERIFY(mTool->Write(u"out.bin"_s, "old and longer than the new content of the file, by far"));
    QCOMPARE(mTool->Run({u"message"_s, u"encode"_s, u"m.json"_s, u"--output"_s, u"out.bin"_s}).ToText(),
             u"=> 0\n"_s);
    QCOMPARE(mTool->Read(u"out.bin"_s), Document("A"));
    QCOMPARE(mTool->Run({u"message"_s, u"encode"_s, u"m.json"_s, u"-o"_s, u"new.bin"_s}).ToText(),
             u"=> 0\n"_s);
    QCOMPARE(mTool->Read(u"new.bin"_s), Document("A"));
    QCOMPARE(mTool->Run({u"message"_s, u"encode"_s, u"m.json"_s, u"-o"_s, u"-"_s}).Output, Document("A"));
    QVERIFY(!QFile::exists(mTool->Path(u"-"_s)));
    // After an error, the existing file is unchanged.
    QCOMPARE(mTool->Run({u"message"_s, u"encode"_s, u"-"_s, u"-o"_s, u"out.bin"_s}, "{}").ExitCode, 2);
    QCOMPARE(mTool->Read(u"out.bin"_s), Document("A"));
    const ToolResult result
        = mTool->Run({u"message"_s, u"encode"_s, u"m.json"_s, u"-o"_s, u"missing/out.bin"_s});
    QCOMPARE(result.ToText(), u"! qvutil: missing/out.bin: there is no folder missing\n=> 2\n"_s);
}

void tst_ToolMessage::Encode_bad_data()
{
    QTest::addColumn<QByteArray>("json");
    QTest::addColumn<QString>("expected");

    const auto row = [](const char* circumstance, const QByteArray& json, const QString& reason) {
        QTest::newRow(circumstance) << json << u"! qvutil: standard input%1\n=> 2\n"_s.arg(reason);
    };
    const auto param = [&row](const char* circumstance, const QByteArray& value, const QByteArray& type,
                              const QString& reason) {
        row(circumstance, "{\"id\":\"A\",\"params\":{\"a\":" + value + "},\"types\":{\"a\":" + type + "}}",
            u":1: params.a: "_s + reason);
    };
    row("nothing", "", u": there is no message"_s);
    row("blanks", " \n\t", u": there is no message"_s);
    row("empty list", "[]", u": there is no message"_s);
    row("not JSON", "noise", u":1:1: illegal value"_s);
    row("truncated", "{\"id\":\"A\",\n \"params\":{", u":2:11: unterminated object"_s);
    row("wrong second line", "{\"id\":\"A\"}\n{\"id\" \"B\"}", u":2:7: missing name separator"_s);
    row("zero byte", QByteArray("{\"id\":\"A\"}\n\0", 12), u":2:1: illegal value"_s);
    row("list of something else", "[1]", u":1: message 1: 1 is not a message"_s);
    row("no name", "{}", u":1: id: a message must have a name, which is a string"_s);
    row("invalid name", "{\"id\":5}", u":1: id: a message must have a name, which is a string"_s);
    row("unknown field", "\n{\"id\":\"A\",\"extras\":{}}",
        u":2: extras: a message has no such field; fields are id, uniqueId, originalMessageUniqueId, "
        u"needResponse, "
        "isResponse, params, types"_s);
    row("flag", "{\"id\":\"A\",\"needResponse\":\"True\"}",
        u":1: needResponse: \"True\" is neither true nor false"_s);
    row("identifier", "{\"id\":\"A\",\"uniqueId\":\"7\"}",
        u":1: uniqueId: \"7\" is not an identifier such as {01234567-89ab-cdef-0123-456789abcdef}"_s);
    row("parameters", "{\"id\":\"A\",\"params\":[]}", u":1: params: [] is not an object"_s);
    row("types", "{\"id\":\"A\",\"types\":5}", u":1: types: 5 is not an object"_s);
    row("type without value", "{\"id\":\"A\",\"types\":{\"b\":\"Int\"}}",
        u":1: params: there is a type for \"b\", but no value"_s);
    row("parameter without a name", "{\"id\":\"A\",\"params\":{\"\":1}}",
        u":1: params: a value without a name would be lost"_s);
    row("character in a name", "{\"id\":\"A\\u0001\"}",
        u":1: id: contains the character U+0001, which XML does not "
        "allow"_s);
    param("unknown type", "1", "\"Integer\"", u"there is no type \"Integer\""_s);
    param("fraction for an int", "5.5", "\"Int\"", u"5.5 is not a value of type Int"_s);
    param("too large for an int", "2147483648", "\"Int\"", u"2147483648 is not a value of type Int"_s);
    param("negative for an unsigned", "-1", "\"UInt\"", u"-1 is not a value of type UInt"_s);
    param("too large for a long", "\"9223372036854775808\"", "\"LongLong\"",
          u"\"9223372036854775808\" is not a value of type LongLong"_s);
    param("not a double", "\"x\"", "\"Double\"", u"\"x\" is not a value of type Double"_s);
    param("not a boolean", "1", "\"Bool\"", u"1 is not a value of type Bool"_s);
    param("not a text", "1", "\"String\"", u"1 is not a value of type String"_s);
    param("not base64", "\"A!\"", "\"ByteArray\"", u"\"A!\" is not a value of type ByteArray"_s);
    row("no texts", "{\"id\":\"A\",\"params\":{\"a\":[\"a\",1]},\"types\":{\"a\":\"StringList\"}}",
        u":1: params.a[1]: 1 is not a value of type String"_s);
    row("name with a percent sign",
        "{\"id\":\"A\",\"params\":{\"%2\":[\"a\",1]},\"types\":{\"%2\":\"StringList\"}}",
        u":1: params.%2[1]: 1 is not a value of type String"_s);
    param("value of a type that cannot be sent", "1", "\"Url\"", u"1 is not a value of type Url"_s);
    param("type that the tool does not support", "null", "\"Pixmap\"",
          u"values of type Pixmap are not supported here"_s);
    param("object as a type", "1", "{}", u"{} is not a type for 1"_s);
    param("list for a map", "{}", "[]", u"[] is not a type for {}"_s);
    param("too many types", "[1]", "[null,null]", u"there are more types than values"_s);
    param("surrogate", "\"\\ud800\"", "null", u"contains the character U+D800, which XML does not allow"_s);
    param("noncharacter", "\"\\uffff\"", "\"String\"",
          u"contains the character U+FFFF, which XML does not allow"_s);
    row("path of a nested value", "{\"id\":\"A\",\"params\":{\"a\":{\"b\":[0,{\"c\":\"\\u0000\"}]}}}",
        u":1: params.a.b[1].c: contains the character U+0000, which XML does not allow"_s);
    row("nested deeper than JSON may be", "{\"id\":\"A\",\"params\":{\"a\":" + QByteArray(5000, '['),
        u":1:1047: too deeply nested document"_s);
    row("nested deeper than a message may be",
        "{\"id\":\"A\",\"params\":{\"a\":" + QByteArray(1000, '[') + QByteArray(1000, ']') + "}}",
        u":1: params: nested deeper than a receiver accepts"_s);
}

void tst_ToolMessage::Encode_bad()
{
    QFETCH(const QByteArray, json);
    QFETCH(const QString, expected);

    QCOMPARE(mTool->Run({u"message"_s, u"encode"_s}, json).ToText(), expected);
}

// File names may contain what looks like a placeholder.
void tst_ToolMessage::Encode_bad_percentInName()
{
    QVERIFY(mTool->Write(u"%2 %3.json"_s, "[1]"));
    QCOMPARE(mTool->Run({u"message"_s, u"encode"_s, u"%2 %3.json"_s}).ToText(),
             u"! qvutil: %2 %3.json:1: message 1: 1 is not a message\n=> 2\n"_s);
    QVERIFY(mTool->Write(u"%2 %3.json"_s, "noise"));
    QCOMPARE(mTool->Run({u"message"_s, u"encode"_s, u"%2 %3.json"_s}).ToText(),
             u"! qvutil: %2 %3.json:1:1: illegal value\n=> 2\n"_s);
}

void tst_ToolMessage::Encode_terminal()
{
    QVERIFY(mTool->Write(u"m.json"_s, "{\"id\":\"é\"}"));
    const ToolResult result = mTool->RunOnTerminal({u"message"_s, u"encode"_s, u"m.json"_s});
    QCOMPARE(result.ExitCode, 0);
    QCOMPARE(QByteArray(result.Output).replace("\r\n", "\n"), Document("é"));
}

// --- split

void tst_ToolMessage::Split_list()
{
    const QByteArray a = Document("A");
    const ToolResult good = mTool->Run({u"message"_s, u"split"_s}, a + Document("Name with \xe2\x80\xae"));
    QCOMPARE(good.ToText(),
             u"    offset       size  message\n         0        216  A\n       216        228  Name with "
             u"\\u202e\n"
             "=> 0\n"_s);
    const ToolResult bad = mTool->Run({u"message"_s, u"split"_s}, "noise" + a + a.first(20));
    QCOMPARE(bad.ToText(),
             u"    offset       size  message\n         0          5  (skipped: no frame begins here)\n"
             "         5        216  A\n       221         20  (skipped: the frame is truncated)\n=> 1\n"_s);
    QCOMPARE(mTool->Run({u"message"_s, u"split"_s}).ToText(), u"    offset       size  message\n=> 1\n"_s);
    // The reported problem quotes the document. Control characters in the quotation are escaped too.
    const ToolResult control
        = mTool->Run({u"message"_s, u"split"_s}, "<?xml version=\"1.0\"?><a>&\xc2\x9b;</a>");
    QVERIFY2(control.Output.contains("\\u009b") && !control.Output.contains("\xc2\x9b"),
             control.Output.constData());
}

void tst_ToolMessage::Split_json()
{
    const ToolResult result = mTool->Run({u"message"_s, u"split"_s, u"--json"_s}, "noise" + Document("A"));
    QCOMPARE(result.ExitCode, 1);
    const QJsonArray expected{
        QJsonObject{{u"offset"_s, 0}, {u"size"_s, 5}, {u"problem"_s, u"no frame begins here"_s}},
        QJsonObject{{u"offset"_s, 5}, {u"size"_s, 216}, {u"id"_s, u"A"_s}}};
    QCOMPARE(QJsonDocument::fromJson(result.Output).array(), expected);
    const ToolResult nothing = mTool->Run({u"message"_s, u"split"_s, u"--json"_s});
    QCOMPARE(nothing.ToText(), u"[]\n=> 1\n"_s);
    const ToolResult files
        = mTool->Run({u"message"_s, u"split"_s, u"--json"_s, u"--to"_s, u"d"_s}, Document("A"));
    QCOMPARE(QJsonDocument::fromJson(files.Output).array().at(0).toObject().value("file"_L1).toString(),
             u"0001-A.xml"_s);
}

void tst_ToolMessage::Split_files()
{
    const QByteArray odd = Document("../A\xc3\xa9 b");
    QVERIFY(mTool->Write(u"capture.bin"_s, "noise" + Document("A_1-b") + odd + Document("A").first(30)));
    const ToolResult result
        = mTool->Run({u"message"_s, u"split"_s, u"capture.bin"_s, u"--to"_s, u"new/folder"_s});
    QCOMPARE(result.ToText(),
             u"    offset       size  file  message\n"
             "         0          5  0001-skipped.bin  (skipped: no frame begins here)\n"
             "         5        220  0002-A_1-b.xml  A_1-b\n"
             "       225        223  0003-___A__b.xml  ../Aé b\n"
             "       448         30  0004-skipped.bin  (skipped: the frame is truncated)\n=> 1\n"_s);
    QCOMPARE(QDir(mTool->Path(u"new/folder"_s)).entryList(QDir::Files, QDir::Name),
             (QStringList{u"0001-skipped.bin"_s, u"0002-A_1-b.xml"_s, u"0003-___A__b.xml"_s,
                          u"0004-skipped.bin"_s}));
    QCOMPARE(mTool->Read(u"new/folder/0001-skipped.bin"_s), QByteArray("noise"));
    QCOMPARE(mTool->Read(u"new/folder/0003-___A__b.xml"_s), odd);
    QCOMPARE(mTool->Read(u"new/folder/0004-skipped.bin"_s), Document("A").first(30));
    // This failure changes nothing either.
    QVERIFY(mTool->Write(u"new/folder/0001-skipped.bin"_s, "mine"));
    const ToolResult again
        = mTool->Run({u"message"_s, u"split"_s, u"capture.bin"_s, u"--to"_s, u"new/folder"_s});
    QCOMPARE(again.ExitCode, 2);
    QVERIFY(again.Errors.contains("new/folder/0001-skipped.bin: already exists"));
    QCOMPARE(mTool->Read(u"new/folder/0001-skipped.bin"_s), QByteArray("mine"));
}

void tst_ToolMessage::Split_bad()
{
    QVERIFY(mTool->Write(u"file"_s, "x"));
    QCOMPARE(mTool->Run({u"message"_s, u"split"_s, u"missing"_s}).ToText(),
             u"! qvutil: missing: No such file or directory\n=> 2\n"_s);
    QCOMPARE(mTool->Run({u"message"_s, u"split"_s, u"--to"_s, u"file"_s}, Document("A")).ToText(),
             u"! qvutil: file: the folder cannot be created\n=> 2\n"_s);
    QCOMPARE(mTool->Run({u"message"_s, u"split"_s, u"--to"_s, u"-"_s}, Document("A")).ToText(),
             u"! qvutil: --to must be a folder; use ./- for a folder named -\n"
             "! Try 'qvutil message split --help'.\n=> 2\n"_s);
    QVERIFY(!QFileInfo::exists(mTool->Path(u"-"_s)));
}

void tst_ToolMessage::Arguments_data()
{
    QTest::addColumn<QStringList>("arguments");

    QTest::newRow("command missing") << QStringList{u"message"_s};
    QTest::newRow("unknown command") << QStringList{u"message"_s, u"print"_s};
    QTest::newRow("unknown option") << QStringList{u"message"_s, u"decode"_s, u"--json"_s};
    QTest::newRow("two files for encode") << QStringList{u"message"_s, u"encode"_s, u"a"_s, u"b"_s};
    QTest::newRow("two files for split") << QStringList{u"message"_s, u"split"_s, u"a"_s, u"b"_s};
    QTest::newRow("empty file name") << QStringList{u"message"_s, u"decode"_s, QString()};
}

void tst_ToolMessage::Arguments()
{
    QFETCH(const QStringList, arguments);

    const ToolResult result = mTool->Run(arguments);
    QCOMPARE(result.ExitCode, 2);
    QCOMPARE(result.Output, QByteArray());
    QVERIFY(!result.Errors.isEmpty());
}

QTEST_GUILESS_MAIN(tst_ToolMessage)

#include "tst_ToolMessage.moc"
