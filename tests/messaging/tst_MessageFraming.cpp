// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "IPC.h"
#include "messaging/MessageCodec_p.h"
#include "messaging/MessageFastCodec_p.h"
#include "support/TestSupport.h"

#include <QRandomGenerator>
#include <QUrl>
#include <QtTest>

#include <array>
#include <limits>

using namespace Qt::StringLiterals;
using namespace Quorvin::Util;
using namespace Quorvin::Util::Internal;

namespace {

const QUuid& SomeId()
{
    static const QUuid id(u"{01234567-89ab-cdef-0123-456789abcdef}"_s);
    return id;
}

const QUuid& OtherId()
{
    static const QUuid id(u"{fedcba98-7654-3210-fedc-ba9876543210}"_s);
    return id;
}

// Returns a frame as another program might write it.
QString Document(const QString& id, const QString& params = u"<Params/>"_s)
{
    return u"<?xml version='1.0'?><Message Id='%1'>%2</Message>"_s.arg(id, params);
}

QStringList Names(const QList<MessageInfo>& messages)
{
    QStringList names;
    for (const MessageInfo& message : messages)
        names.append(message.Id);
    return names;
}

// Describes everything in a message; unlike ==, it distinguishes an int from a double, and a null text from
// an empty one.
QString Description(const MessageInfo& message)
{
    QString text;
    QDebug(&text) << message.Id << message.UniqueId << message.OriginalMessageUniqueId << message.NeedResponse
                  << message.IsResponse << message.Params;
    return text;
}

QString Description(const std::optional<MessageInfo>& message)
{
    return message ? Description(*message) : u"nothing"_s;
}

QStringList Descriptions(const QList<MessageInfo>& messages)
{
    QStringList descriptions;
    for (const MessageInfo& message : messages)
        descriptions.append(Description(message));
    return descriptions;
}

std::optional<MessageInfo> ReadByFiler(const QString& document)
{
    MessageInfo message;
    return DecodeMessageByDom(document, message) ? std::optional(message) : std::nullopt;
}

// Random values that include everything with a special encoding.
class Corpus
{
public:
    explicit Corpus(quint32 seed)
        : mRandom(seed)
    { }

    MessageInfo Message()
    {
        MessageInfo message;
        message.Id = Text();
        message.UniqueId = One() ? QUuid::createUuid() : QUuid();
        message.OriginalMessageUniqueId = One() ? QUuid::createUuid() : QUuid();
        message.NeedResponse = One();
        message.IsResponse = One();
        message.Params = Map(0);
        return message;
    }

    // Returns the document with some characters removed, replaced, doubled or moved.
    QString Mutated(QString document)
    {
        static const QStringList kSnippets = {u"<"_s,
                                              u">"_s,
                                              u"&"_s,
                                              u"\""_s,
                                              u"'"_s,
                                              u" "_s,
                                              u"\t"_s,
                                              u"\r\n"_s,
                                              u"\n"_s,
                                              u"/"_s,
                                              u"="_s,
                                              u"<!-- c -->"_s,
                                              u"<Params/>"_s,
                                              u"&#65;"_s,
                                              u"&apos;"_s,
                                              u"&#x9;"_s,
                                              u"&foo;"_s,
                                              u"</Param>"_s,
                                              u"<![CDATA["_s,
                                              u"]]>"_s,
                                              u"Name=\"a\""_s,
                                              u" Value=\"7\""_s,
                                              u" Type=\"Int\""_s,
                                              u" X=\"1\""_s,
                                              u"tr(a)"_s,
                                              u"\uFFFE"_s,
                                              QString(QChar(0)),
                                              QString(QChar(0xD800)),
                                              u"True"_s,
                                              u"<?pi x?>"_s,
                                              u"Type=\"map\""_s,
                                              u"<Other/>"_s,
                                              u"text"_s,
                                              u"-"_s,
                                              u"<Param/>"_s,
                                              u"\u00a0"_s,
                                              u"<!DOCTYPE Message [<!ENTITY foo 'bar'>]>"_s};
        for (int count = Below(3) + 1; count > 0; --count) {
            const int at = Below(static_cast<int>(document.size()) + 1);
            const int length = Below(One() ? 3 : 60);
            switch (Below(5)) {
            case 0:
                document.remove(at, length);
                break;
            case 1:
                document.insert(at, kSnippets.at(Below(static_cast<int>(kSnippets.size()))));
                break;
            case 2:
                document.insert(at, document.mid(Below(static_cast<int>(document.size()) + 1), length));
                break;
            case 3:
                document.replace(at, length, kSnippets.at(Below(static_cast<int>(kSnippets.size()))));
                break;
            default:
                document.truncate(Below(8) == 0 ? at : static_cast<int>(document.size()));
                break;
            }
        }
        return document;
    }

    // Returns the bytes with some of them replaced, removed or truncated, or in half of the cases unchanged.
    QByteArray MutatedBytes(QByteArray bytes)
    {
        static const QByteArrayList kSnippets
            = {"\xEF\xBB\xBF", "\xEF\xBF\xBD", "\xEF\xBF\xBE",     "\xC3",
               "\xC3\xA4",     "\xED\xA0\x80", "\xF4\x90\x80\x80", "\xC0\xAF",
               "\x80",         "\xF0\x9F\x98", "\xE2\x84\xAA",     "<?xml "};
        if (One())
            return bytes;
        for (int count = Below(2) + 1; count > 0; --count) {
            const int at = Below(static_cast<int>(bytes.size()));
            switch (Below(4)) {
            case 0:
                bytes[at] = static_cast<char>(Below(256));
                break;
            case 1:
                bytes.insert(at, kSnippets.at(Below(static_cast<int>(kSnippets.size()))));
                break;
            case 2:
                bytes.remove(at, Below(4));
                break;
            default:
                bytes.truncate(Below(8) == 0 ? at + 1 : static_cast<int>(bytes.size()));
                break;
            }
        }
        return bytes;
    }

    bool One() { return Below(2) == 0; }
    int Below(int end) { return static_cast<int>(mRandom.bounded(end)); }

    QString Text()
    {
        static const QStringList kParts = {
            u"a"_s,      u"Name"_s,   u" "_s,     u"<"_s,          u">"_s,      u"&"_s,          u"\""_s,
            u"'"_s,      u"]]>"_s,    u"tr(x)"_s, u" TR ( y ) "_s, u"tr("_s,    u"true"_s,       u"\t"_s,
            u"\n"_s,     u"\r"_s,     u"\r\n"_s,  u"ä"_s,          u"漢"_s,     u"\U0001F600"_s, u"\u00a0"_s,
            u"<?xml "_s, u"&amp;"_s,  u"&#x9;"_s, u"\u0085"_s,     u"\u2028"_s, u"\uFFFD"_s,     u"\x7f"_s,
            u"\uFEFF"_s, u"\uE000"_s, u"12"_s,    u"--"_s,         u"%1"_s,     u"<!ENTITY"_s};
        // In rare cases, add a character that XML does not allow.
        static const QStringList kBad
            = {QString(QChar(0)),      QString(QChar(1)),      QString(QChar(0x1f)),  QString(QChar(0xD800)),
               QString(QChar(0xDC00)), QString(QChar(0xFFFE)), QString(QChar(0xFFFF))};
        QString text;
        for (int count = Below(5); count > 0; --count)
            text += kParts.at(Below(static_cast<int>(kParts.size())));
        if (mBadTexts && Below(20) == 0)
            text += kBad.at(Below(static_cast<int>(kBad.size())));
        return text;
    }

    QVariant Value(int depth)
    {
        switch (Below(depth < 4 ? 20 : 16)) {
        case 0:
            return One();
        case 1:
            return static_cast<int>(mRandom.generate());
        case 2:
            return static_cast<uint>(mRandom.generate());
        case 3:
            return static_cast<qlonglong>(mRandom.generate64());
        case 4:
            return static_cast<qulonglong>(mRandom.generate64());
        case 5:
            return (mRandom.generateDouble() - 0.5) * std::pow(10.0, Below(600) - 300);
        case 6:
            return std::array{0.0,
                              -0.0,
                              1.0,
                              0.1,
                              std::numeric_limits<double>::infinity(),
                              -std::numeric_limits<double>::infinity(),
                              std::numeric_limits<double>::quiet_NaN()}[static_cast<size_t>(Below(7))];
        case 7:
            return QChar(u'x');
        case 8:
        case 9:
        case 10:
            return Text();
        case 11:
            return Texts();
        case 12:
        case 13:
            return Bytes();
        case 14:
            return QUrl(u"http://x/"_s);
        case 15:
            return One() ? QVariant() : QVariant(1.5F);
        case 16:
        case 17:
            return Map(depth + 1);
        default:
            return List(depth + 1);
        }
    }

    bool mBadTexts = true;

private:
    QVariantMap Map(int depth)
    {
        QVariantMap map;
        for (int count = Below(6); count > 0; --count)
            map.insert(Text(), Value(depth));
        return map;
    }

    QVariantList List(int depth)
    {
        QVariantList list;
        for (int count = Below(5); count > 0; --count)
            list.append(Value(depth));
        return list;
    }

    QStringList Texts()
    {
        QStringList texts;
        for (int count = Below(4); count > 0; --count)
            texts.append(Text());
        return texts;
    }

    QByteArray Bytes()
    {
        QByteArray bytes(Below(40), Qt::Uninitialized);
        for (char& byte : bytes)
            byte = static_cast<char>(Below(256));
        return bytes;
    }

    QRandomGenerator mRandom;
};

} // namespace

class tst_MessageFraming : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { TestSupport::FailOnAnyMessage(); }

    void EncodeMessage_document();
    void EncodeMessage_emptyMessage();
    void EncodeMessage_text();
    void EncodeMessage_unwritableCharacters_data();
    void EncodeMessage_unwritableCharacters();

    void DecodeMessage_data();
    void DecodeMessage();
    void DecodeMessage_bytes_data();
    void DecodeMessage_bytes();
    void DecodeMessage_fields();
    void DecodeMessage_listNotCleared();
    void DecodeMessage_deepNesting_data();
    void DecodeMessage_deepNesting();

    void PackAndExtract();
    void DecodeMessage_interrupted();
    void DecodeMessage_manyAttributes_data();
    void DecodeMessage_manyAttributes();
    void PackMessage_document();
    void ExtractMessage_data();
    void ExtractMessage();

    void FastPath_takesOneByOne();
    void FastPath_takesNoneBeforeNoise();
    void FastPath_readsOwnFrames_data();
    void FastPath_readsOwnFrames();
    void FastPath_leavesToDomPath_data();
    void FastPath_leavesToDomPath();
    void FastPath_writesSameFrames();
    void FastPath_readsSameMessages();
    void FastPath_readsSameFromMutated();
    void FastPath_readsSameFromMutatedBytes();
};

void tst_MessageFraming::EncodeMessage_document()
{
    const MessageInfo message{u"Greet"_s, SomeId(), true, false, OtherId(), {{u"a"_s, 1}}};
    const QString expected
        = u"<?xml version='1.0'?><Message Id='Greet' UniqueId='{01234567-89ab-cdef-0123-456789abcdef}'"
          " OriginalMessageUniqueId='{fedcba98-7654-3210-fedc-ba9876543210}' NeedResponse='True'"
          " IsResponse='False'><Params><Param Name='a' Type='Int' Value='1'/></Params></Message>"_s;
    QCOMPARE(TestSupport::XmlMeaning(EncodeMessage(message)), TestSupport::XmlMeaning(expected));
    QCOMPARE(TestSupport::XmlMeaning(EncodeMessageByDom(message)), TestSupport::XmlMeaning(expected));
}

void tst_MessageFraming::EncodeMessage_emptyMessage()
{
    const QString expected
        = u"<?xml version='1.0'?><Message Id='' UniqueId='{00000000-0000-0000-0000-000000000000}'"
          " OriginalMessageUniqueId='{00000000-0000-0000-0000-000000000000}' NeedResponse='False'"
          " IsResponse='False'><Params/></Message>"_s;
    QCOMPARE(TestSupport::XmlMeaning(EncodeMessage(MessageInfo())), TestSupport::XmlMeaning(expected));
}

void tst_MessageFraming::EncodeMessage_text()
{
    MessageInfo message;
    message.Id = u"N"_s;
    message.UniqueId = SomeId();
    message.Params = {{u"l"_s, QVariantList{true}}};
    QCOMPARE(EncodeMessage(message),
             u"<?xml version=\"1.0\"?>\n"
             "<Message Id=\"N\" UniqueId=\"{01234567-89ab-cdef-0123-456789abcdef}\""
             " OriginalMessageUniqueId=\"{00000000-0000-0000-0000-000000000000}\""
             " NeedResponse=\"False\" IsResponse=\"False\">\n"
             " <Params>\n"
             "  <Param Name=\"l\" Type=\"List\">\n"
             "   <Param Type=\"Bool\" Value=\"True\"/>\n"
             "  </Param>\n"
             " </Params>\n"
             "</Message>\n"_s);
}

void tst_MessageFraming::EncodeMessage_unwritableCharacters_data()
{
    QTest::addColumn<MessageInfo>("message");

    const auto withId = [](const QString& id) {
        MessageInfo message;
        message.Id = id;
        return message;
    };
    const auto withParam = [](const QString& name, const QVariant& value) {
        MessageInfo message;
        message.Params = {{name, value}};
        return message;
    };
    const QString control(QChar(1));
    QTest::newRow("name") << withId(control);
    QTest::newRow("key") << withParam(control, 1);
    QTest::newRow("value") << withParam(u"k"_s, control);
    QTest::newRow("value in a list") << withParam(u"k"_s, QVariantList{control});
    QTest::newRow("string list") << withParam(u"k"_s, QStringList{control});
    QTest::newRow("NUL") << withId(QString(QChar(0)));
    QTest::newRow("noncharacter") << withId(QString(QChar(0xFFFE)));
}

void tst_MessageFraming::EncodeMessage_unwritableCharacters()
{
    QFETCH(const MessageInfo, message);

    const TestSupport::LogGuard log;
    const QString document = EncodeMessage(message);
    QCOMPARE(TestSupport::LogGuard::Messages().size(), 1);
    QVERIFY(TestSupport::LogGuard::Messages().constFirst().contains(u"XML does not allow"_s));
    QCOMPARE(document.size(), EncodeMessageByDom(message).size());
    QList<MessageInfo> messages;
    QVERIFY(!Quorvin::Util::DecodeMessage(document, messages)); // the receiver drops it
}

void tst_MessageFraming::DecodeMessage_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QStringList>("expected");

    const QString a = Document(u"a"_s);
    const QString b = Document(u"b"_s);
    MessageInfo own;
    own.Id = u"own"_s;
    const QString c = EncodeMessage(own);
    QTest::newRow("empty") << QString() << QStringList();
    QTest::newRow("one") << a << QStringList{u"a"_s};
    QTest::newRow("frame of the library") << c << QStringList{u"own"_s};
    QTest::newRow("two") << a + b << QStringList{u"a"_s, u"b"_s};
    QTest::newRow("frames of the library and of others")
        << c + a + c << QStringList{u"own"_s, u"a"_s, u"own"_s};
    QTest::newRow("noise before") << u"noise"_s + a << QStringList{u"a"_s};
    QTest::newRow("noise before a frame of the library") << u"noise"_s + c << QStringList{u"own"_s};
    QTest::newRow("noise alone") << u"noise"_s << QStringList();
    QTest::newRow("noise after") << a + u"noise"_s + b << QStringList{u"b"_s};
    QTest::newRow("noise after a frame of the library") << c + u"noise"_s + c << QStringList{u"own"_s};
    QTest::newRow("blanks between") << a + u" \n"_s + b << QStringList{u"a"_s, u"b"_s};
    QTest::newRow("blanks between frames of the library")
        << c + u" \n"_s + c << QStringList{u"own"_s, u"own"_s};
    QTest::newRow("tail missing") << a + b.chopped(1) << QStringList{u"a"_s};
    QTest::newRow("tail missing, frame of the library") << c + c.chopped(2) << QStringList{u"own"_s};
    QTest::newRow("line ending missing, frame of the library") << c.chopped(1) << QStringList{u"own"_s};
    QTest::newRow("head missing") << a.mid(1) + b << QStringList{u"b"_s};
    QTest::newRow("declaration's start missing") << a.mid(6) + b << QStringList{u"a"_s, u"b"_s};
    QTest::newRow("start alone") << u"<?xml "_s << QStringList();
    QTest::newRow("start twice") << u"<?xml <?xml "_s << QStringList();
    QTest::newRow("start, then a frame") << u"<?xml "_s + a << QStringList{u"a"_s};
    QTest::newRow("malformed between")
        << a + u"<?xml version='1.0'?><Message"_s + b << QStringList{u"a"_s, u"b"_s};
    QTest::newRow("start in different case") << u"<?XML version='1.0'?><Message Id='x'/>"_s << QStringList();
    QTest::newRow("declaration with tab") << u"<?xml\tversion='1.0'?><Message Id='x'/>"_s << QStringList();
    QTest::newRow("no declaration") << u"<Message Id='x'/>"_s << QStringList();
    QTest::newRow("another root") << u"<?xml version='1.0'?><Any Id='x'/>"_s << QStringList{u"x"_s};
    QTest::newRow("no Params") << u"<?xml version='1.0'?><Message Id='x'/>"_s << QStringList{u"x"_s};
    QTest::newRow("no name") << u"<?xml version='1.0'?><Message/>"_s << QStringList{QString()};
    QTest::newRow("start within a text")
        << Document(u"x"_s, u"<Params>&lt;?xml </Params>"_s) << QStringList{u"x"_s};
    QTest::newRow("start within a comment")
        << Document(u"x"_s, u"<!-- <?xml --><Params/>"_s) << QStringList();
}

void tst_MessageFraming::DecodeMessage()
{
    QFETCH(const QString, text);
    QFETCH(const QStringList, expected);

    QList<MessageInfo> messages;
    QCOMPARE(Quorvin::Util::DecodeMessage(text, messages), !expected.isEmpty());
    QCOMPARE(Names(messages), expected);
}

void tst_MessageFraming::DecodeMessage_bytes_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<QString>("expected");

    QTest::newRow("two bytes") << QByteArray("\xC3\xA4") << u"\u00e4"_s;
    QTest::newRow("three bytes") << QByteArray("\xE2\x82\xAC") << u"\u20ac"_s;
    QTest::newRow("four bytes") << QByteArray("\xF0\x9F\x98\x80") << u"\U0001F600"_s;
    QTest::newRow("byte order mark in the middle") << QByteArray("\xEF\xBB\xBFx") << u"\uFEFFx"_s;
    QTest::newRow("replacement character") << QByteArray("\xEF\xBF\xBD") << u"\uFFFD"_s;
    QTest::newRow("last characters that XML allows in the first plane")
        << QByteArray("\xEF\xBE\xBF\xEF\xBF\xBC") << u"\uFFBF\uFFFC"_s;
    QTest::newRow("truncated character") << QByteArray("\xC3") << u"\uFFFD"_s;
    QTest::newRow("continuation byte alone") << QByteArray("\x80") << u"\uFFFD"_s;
    QTest::newRow("overlong encoding") << QByteArray("\xC0\xAF") << u"\uFFFD\uFFFD"_s;
}

void tst_MessageFraming::DecodeMessage_bytes()
{
    QFETCH(const QByteArray, text);
    QFETCH(const QString, expected);

    const QByteArray document
        = EncodeMessageAsBytes({u"Name"_s, {}, false, false, {}, {{u"k"_s, u"Text"_s}}});
    QByteArray changed = document;
    changed.replace("Text", text).replace("Id=\"Name\"", "Id=\"" + text + '"');
    QList<MessageInfo> messages;
    QVERIFY(Quorvin::Util::DecodeMessage(document + changed + document, messages));
    QCOMPARE(Names(messages), (QStringList{u"Name"_s, expected, u"Name"_s}));
    QCOMPARE(messages.at(1).Params, (QVariantMap{{u"k"_s, expected}}));
}

void tst_MessageFraming::DecodeMessage_fields()
{
    QList<MessageInfo> messages;
    QVERIFY(Quorvin::Util::DecodeMessage(
        u"<?xml version='1.0'?><Message IsResponse='1' NeedResponse='true' Id='tr(x)'"
        " UniqueId='01234567-89ab-cdef-0123-456789abcdef' OriginalMessageUniqueId='no'>"
        "<Other/><Params><Param Name='a' Type='Int' Value='1'/></Params>"
        "<Params><Param Name='a' Type='Int' Value='2'/></Params></Message>"_s,
        messages));
    QCOMPARE(messages.size(), 1);
    const MessageInfo& message = messages.constFirst();
    QCOMPARE(message.Id, u"x"_s);
    QCOMPARE(message.UniqueId, SomeId());
    QCOMPARE(message.OriginalMessageUniqueId, QUuid());
    QCOMPARE(message.NeedResponse, true);
    QCOMPARE(message.IsResponse, true);
    QCOMPARE(message.Params, (QVariantMap{{u"a"_s, 1}}));
}

void tst_MessageFraming::DecodeMessage_listNotCleared()
{
    QList<MessageInfo> messages(1);
    QVERIFY(Quorvin::Util::DecodeMessage(u"noise"_s, messages));
    QCOMPARE(messages.size(), 1);
    QVERIFY(Quorvin::Util::DecodeMessage(Document(u"a"_s), messages));
    QCOMPARE(Names(messages), (QStringList{QString(), u"a"_s}));
}

void tst_MessageFraming::DecodeMessage_deepNesting_data()
{
    QTest::addColumn<int>("depth");
    QTest::addColumn<bool>("expected");

    // The root, Params and the innermost value count as levels.
    QTest::newRow("shallow") << 1 << true;
    QTest::newRow("maximum depth of the fast path") << 200 << true;
    QTest::newRow("deeper than the fast path") << 210 << true;
    QTest::newRow("at the limit") << 997 << true;
    QTest::newRow("above the limit") << 999 << false;
}

void tst_MessageFraming::DecodeMessage_deepNesting()
{
    QFETCH(const int, depth);
    QFETCH(const bool, expected);

    QVariant value = 5;
    for (int i = 0; i < depth; ++i)
        value = QVariantList{value};
    MessageInfo message;
    message.Params = {{u"k"_s, value}};
    const QString document = EncodeMessage(message);
    QList<MessageInfo> messages;
    QCOMPARE(Quorvin::Util::DecodeMessage(document, messages), expected);
    if (expected)
        QVERIFY(messages.constFirst().Params == message.Params);
}

void tst_MessageFraming::PackAndExtract()
{
    const QVariantMap params{{u"a"_s, 1},
                             {u"bytes"_s, QByteArray("\0\xff", 2)},
                             {u"list"_s, QVariantList{1.5, u"x"_s}},
                             {u"start"_s, u"<?xml version=\"1.0\"?>"_s}};
    const auto [id, read] = Quorvin::Util::ExtractMessage(PackMessage(u"Name"_s, params));
    QCOMPARE(id, u"Name"_s);
    QCOMPARE(read, params);
}

// A thread that should end stops decoding between frames that take the DOM path.
void tst_MessageFraming::DecodeMessage_interrupted()
{
    static int left; // calls until the result is true
    const QByteArray fast = *EncodeMessageFast(MessageInfo());
    const QByteArray slow = QByteArray(fast).replace("<Message ", "<Message Other=\"1\" ");
    QVERIFY(!DecodeMessageFast(QByteArrayView(slow)));
    QList<MessageInfo> messages;
    left = 3;
    Quorvin::Util::DecodeMessage(slow.repeated(10), messages, [] { return --left < 0; });
    QCOMPARE(messages.size(), 3);

    left = 0;
    messages.clear();
    Quorvin::Util::DecodeMessage(fast.repeated(10), messages, [] { return --left < 0; });
    QCOMPARE(messages.size(), 10); // the fast path does not check for interruptions
}

// Parsing takes time that is quadratic in the number of an element's attributes.
void tst_MessageFraming::DecodeMessage_manyAttributes_data()
{
    QTest::addColumn<int>("attributes"); // of one element in each frame
    QTest::addColumn<int>("frames");
    QTest::addColumn<QByteArray>("prologue");
    QTest::addColumn<int>("decoded");

    const QByteArray none;
    QTest::newRow("a thousand") << 1000 << 3 << none << 3;
    QTest::newRow("too many in one frame") << 40'000 << 1 << none << 0;
    QTest::newRow("too many in one read") << 9000 << 6 << none << 4;
    QTest::newRow("too many, hidden by a comment in an entity")
        << 9000 << 6 << QByteArray("<!DOCTYPE Message [<!ENTITY e '<!--'>]>") << 4;
    QTest::newRow("too many, hidden by a quote in an instruction") << 9000 << 6 << QByteArray("<?x '?>") << 4;
}

void tst_MessageFraming::DecodeMessage_manyAttributes()
{
    QFETCH(const int, attributes);
    QFETCH(const int, frames);
    QFETCH(const QByteArray, prologue);
    QFETCH(const int, decoded);

    QByteArray tag = "<Params";
    for (int i = 0; i < attributes; ++i)
        tag += " a" + QByteArray::number(i) + "=\">\"";
    const QByteArray small = *EncodeMessageFast(MessageInfo());
    const QByteArray large
        = QByteArray(small).replace("<Params", tag).replace("<Message", prologue + "<Message");
    QList<MessageInfo> messages;
    Quorvin::Util::DecodeMessage(large.repeated(frames), messages);
    QCOMPARE(messages.size(), decoded);
    Quorvin::Util::DecodeMessage(large + small, messages); // the following message is not lost
    QVERIFY(messages.size() > decoded);
}

void tst_MessageFraming::PackMessage_document()
{
    QCOMPARE(
        TestSupport::XmlMeaning(PackMessage(u"N"_s, {{u"a"_s, true}})),
        TestSupport::XmlMeaning(
            u"<?xml version='1.0'?><Message Id='N' UniqueId='{00000000-0000-0000-0000-000000000000}'"
            " OriginalMessageUniqueId='{00000000-0000-0000-0000-000000000000}' NeedResponse='False'"
            " IsResponse='False'><Params><Param Name='a' Type='Bool' Value='True'/></Params></Message>"_s));
}

void tst_MessageFraming::ExtractMessage_data()
{
    QTest::addColumn<QString>("document");
    QTest::addColumn<QString>("id");
    QTest::addColumn<QVariantMap>("params");

    const QString packed = PackMessage(u"N"_s, {{u"a"_s, 1}});
    const QVariantMap map{{u"a"_s, 1}};
    QTest::newRow("packed") << packed << u"N"_s << map;
    QTest::newRow("without declaration") << packed.mid(packed.indexOf(u'\n')) << u"N"_s << map;
    QTest::newRow("two frames") << packed + packed << QString() << QVariantMap();
    QTest::newRow("noise before") << u"x"_s + packed << QString() << QVariantMap();
    QTest::newRow("noise after") << packed + u"x"_s << QString() << QVariantMap();
    QTest::newRow("empty") << QString() << QString() << QVariantMap();
    QTest::newRow("no Params") << u"<Message Id='N'/>"_s << u"N"_s << QVariantMap();
    QTest::newRow("no name")
        << u"<Message><Params><Param Name='a' Type='Int' Value='1'/></Params></Message>"_s << QString()
        << map;
    QTest::newRow("another root") << u"<Any Id='N'/>"_s << u"N"_s << QVariantMap();
    QTest::newRow("other attributes are ignored")
        << u"<Message Id='N' UniqueId='no' NeedResponse='perhaps'/>"_s << u"N"_s << QVariantMap();
}

void tst_MessageFraming::ExtractMessage()
{
    QFETCH(const QString, document);
    QFETCH(const QString, id);
    QFETCH(const QVariantMap, params);

    const auto [name, map] = Quorvin::Util::ExtractMessage(document);
    QCOMPARE(name, id);
    QCOMPARE(map, params);
}

void tst_MessageFraming::FastPath_takesOneByOne()
{
    const MessageInfo first{u"First"_s, SomeId(), true, false, OtherId(), {{u"n"_s, 1}}};
    const MessageInfo second{u"Second"_s, {}, false, false, {}, {{u"bytes"_s, QByteArray(1000, '\0')}}};
    const QByteArray document = EncodeMessageAsBytes(second);
    const QByteArray bytes = EncodeMessageAsBytes(first) + " \n " + document;

    QByteArrayView rest = bytes;
    MessageInfo message;
    QVERIFY(TakeMessageFast(rest, message));
    QCOMPARE(Description(message), Description(first));
    QCOMPARE(rest.toByteArray(), document);
    message.Clear();
    QVERIFY(TakeMessageFast(rest, message));
    QCOMPARE(Description(message), Description(second));
    QVERIFY(rest.isEmpty());
    QVERIFY(!TakeMessageFast(rest, message));
    QVERIFY(!DecodeMessageFast(bytes)); // more than one frame
}

// A frame extends to the start of the next one, so noise after it makes it malformed.
void tst_MessageFraming::FastPath_takesNoneBeforeNoise()
{
    const QByteArray document = EncodeMessageAsBytes({u"Id"_s, {}, false, false, {}, {}});
    for (const QByteArray& noise :
         {QByteArray("noise"), QByteArray("<?xml"), QByteArray("<?XML "), QByteArray("\0", 1)}) {
        const QByteArray bytes = document + noise + document;
        QByteArrayView rest = bytes;
        MessageInfo message;
        QVERIFY(!TakeMessageFast(rest, message));
        QCOMPARE(rest.toByteArray(), bytes);
        QList<MessageInfo> messages;
        QVERIFY(Quorvin::Util::DecodeMessage(bytes, messages));
        QCOMPARE(messages.size(), 1); // the second frame
    }
}

void tst_MessageFraming::FastPath_readsOwnFrames_data()
{
    QTest::addColumn<QVariant>("value");

    QTest::newRow("bool") << QVariant(true);
    QTest::newRow("int") << QVariant(-5);
    QTest::newRow("uint") << QVariant(5U);
    QTest::newRow("longlong") << QVariant(Q_INT64_C(-5));
    QTest::newRow("ulonglong") << QVariant(Q_UINT64_C(5));
    QTest::newRow("double") << QVariant(0.1);
    QTest::newRow("char") << QVariant(QChar(u'x'));
    QTest::newRow("string") << QVariant(u"a<b>&\"'\t\r\n]]>\U0001F600"_s);
    QTest::newRow("empty string") << QVariant(QString());
    QTest::newRow("string list") << QVariant(QStringList{u"a"_s, QString()});
    QTest::newRow("bytes") << QVariant(QByteArray("\0\xff", 2));
    QTest::newRow("empty bytes") << QVariant(QByteArray());
    QTest::newRow("map") << QVariant(QVariantMap{{u"x"_s, 1}});
    QTest::newRow("list") << QVariant(QVariantList{1, QVariantList()});
    QTest::newRow("url") << QVariant(QUrl(u"http://x/"_s));
    QTest::newRow("invalid") << QVariant();
    QTest::newRow("type without a name") << QVariant(1.5F);
}

// The fast path is not only correct, but also taken.
void tst_MessageFraming::FastPath_readsOwnFrames()
{
    QFETCH(const QVariant, value);

    MessageInfo message{u"N"_s, SomeId(), true, true, OtherId(), {{u"k"_s, value}, {QString(), value}}};
    const std::optional<QByteArray> bytes = EncodeMessageFast(message);
    QVERIFY(bytes);
    const QString document = QString::fromUtf8(*bytes);
    QCOMPARE(TestSupport::XmlMeaning(document), TestSupport::XmlMeaning(EncodeMessageByDom(message)));
    const std::optional<MessageInfo> direct = DecodeMessageFast(*bytes);
    QVERIFY(direct);
    QCOMPARE(Description(direct), Description(ReadByFiler(document)));
}

void tst_MessageFraming::FastPath_leavesToDomPath_data()
{
    QTest::addColumn<QString>("before");
    QTest::addColumn<QString>("after");

    QTest::newRow("declaration in single quotes") << u"version=\"1.0\""_s << u"version='1.0'"_s;
    QTest::newRow("encoding") << u"\"1.0\"?>"_s << u"\"1.0\" encoding=\"UTF-8\"?>"_s;
    QTest::newRow("single quotes") << u"Id=\"N\""_s << u"Id='N'"_s;
    QTest::newRow("two blanks") << u" Id="_s << u"  Id="_s;
    QTest::newRow("blank before the end") << u"\"1\"/>"_s << u"\"1\" />"_s;
    QTest::newRow("blank around =") << u"Id="_s << u"Id = "_s;
    QTest::newRow("tab between elements") << u"\n <Params"_s << u"\n\t<Params"_s;
    QTest::newRow("another root") << u"Message"_s << u"Massage"_s;
    QTest::newRow("attribute missing") << u" NeedResponse=\"True\""_s << QString();
    QTest::newRow("attribute twice") << u" NeedResponse"_s << u" NeedResponse=\"True\" NeedResponse"_s;
    QTest::newRow("unknown attribute") << u" Id="_s << u" New=\"\" Id="_s;
    QTest::newRow("flag as a number") << u"\"True\""_s << u"\"1\""_s;
    QTest::newRow("mark in the name") << u"\"N\""_s << u"\"tr(N)\""_s;
    QTest::newRow("mark in a key") << u"\"key\""_s << u"\" TR ( key )\""_s;
    QTest::newRow("mark in a type") << u"\"Int\""_s << u"\"tr(Int)\""_s;
    QTest::newRow("mark in a value") << u"\"text\""_s << u"\"tr(text)\""_s;
    QTest::newRow("escaped mark") << u"\"text\""_s << u"\"tr&#x9;(text)\""_s;
    QTest::newRow("another character reference") << u"\"text\""_s << u"\"&#65;\""_s;
    QTest::newRow("apostrophe") << u"\"text\""_s << u"\"&apos;\""_s;
    QTest::newRow("unknown entity") << u"\"text\""_s << u"\"&text;\""_s;
    QTest::newRow("ampersand") << u"\"text\""_s << u"\"&\""_s;
    QTest::newRow("line ending in a text") << u"\"text\""_s << u"\"te\nxt\""_s;
    QTest::newRow("unpaired surrogate") << u"\"text\""_s << u"\""_s + QChar(0xD800) + u"\""_s;
    QTest::newRow("noncharacter") << u"\"text\""_s << u"\"\uFFFF\""_s;
    QTest::newRow("NUL") << u"\"text\""_s << u"\""_s + QChar(0) + u"\""_s;
    QTest::newRow("not a number") << u"\"1\""_s << u"\"x\""_s;
    QTest::newRow("number missing") << u" Value=\"1\""_s << QString();
    QTest::newRow("unknown type") << u"\"Int\""_s << u"\"Thing\""_s;
    QTest::newRow("type missing") << u" Type=\"Int\""_s << QString();
    QTest::newRow("key missing") << u" Name=\"key\""_s << QString();
    QTest::newRow("comment") << u"<Params"_s << u"<!-- c --><Params"_s;
    QTest::newRow("text between") << u"<Params"_s << u"text<Params"_s;
    QTest::newRow("another element") << u"<Params"_s << u"<Other/><Params"_s;
    QTest::newRow("element in a scalar") << u"\"1\"/>"_s << u"\"1\"><Param/></Param>"_s;
    QTest::newRow("text after") << u"</Message>"_s << u"</Message>text"_s;
    QTest::newRow("comment after") << u"</Message>"_s << u"</Message><!-- c -->"_s;
    QTest::newRow("document type") << u"<Message"_s << u"<!DOCTYPE Message><Message"_s;
    QTest::newRow("bytes as text") << u"<![CDATA[AP8=]]>"_s << u"AP8="_s;
    QTest::newRow("bytes in two sections") << u"AP8="_s << u"AP8=]]><![CDATA[AAAA"_s;
    QTest::newRow("bytes with line ending") << u"AP8="_s << u"AP\n8="_s;
    QTest::newRow("bytes with NUL") << u"AP8="_s << u"AP8="_s + QChar(0);
    QTest::newRow("bytes without end") << u"]]>"_s << QString();
}

void tst_MessageFraming::FastPath_leavesToDomPath()
{
    QFETCH(const QString, before);
    QFETCH(const QString, after);

    const MessageInfo message{
        u"N"_s, SomeId(),  true,
        false,  OtherId(), {{u"key"_s, 1}, {u"text"_s, u"text"_s}, {u"x"_s, QByteArray("\0\xff", 2)}}};
    QString document = EncodeMessage(message);
    QVERIFY(DecodeMessageFast(document));
    const qsizetype at = document.indexOf(before);
    QVERIFY(at >= 0);
    document.replace(at, before.size(), after);
    if (before == u"Message"_s)
        document.replace(u"</Message"_s, u"</Massage"_s);

    QVERIFY(!DecodeMessageFast(document));
    QList<MessageInfo> messages;
    Quorvin::Util::DecodeMessage(document, messages);
    const std::optional<MessageInfo> expected = ReadByFiler(document);
    QCOMPARE(messages.size(), expected ? 1 : 0);
    if (expected)
        QCOMPARE(Description(messages.constFirst()), Description(expected));
}

void tst_MessageFraming::FastPath_writesSameFrames()
{
    Corpus corpus(1);
    corpus.mBadTexts = false;
    for (int i = 0; i < 3000; ++i) {
        const MessageInfo message = corpus.Message();
        const std::optional<QByteArray> bytes = EncodeMessageFast(message);
        QVERIFY(bytes);
        QVERIFY(bytes->isValidUtf8());
        const QString document = QString::fromUtf8(*bytes);
        const QString byFiler = EncodeMessageByDom(message);
        QCOMPARE(document.size(), byFiler.size()); // equal except for the order of attributes
        QCOMPARE(TestSupport::XmlMeaning(document), TestSupport::XmlMeaning(byFiler));
        QCOMPARE(EncodeMessage(message), document);
        QCOMPARE(EncodeMessageAsBytes(message), *bytes);
    }
}

void tst_MessageFraming::FastPath_readsSameMessages()
{
    Corpus corpus(2);
    int direct = 0;
    for (int i = 0; i < 3000; ++i) {
        const MessageInfo message = corpus.Message();
        // The DOM path writes attributes in a different order.
        for (const QString& document : {EncodeMessage(message), EncodeMessageByDom(message)}) {
            const std::optional<MessageInfo> read = DecodeMessageFast(document);
            direct += read ? 1 : 0;
            if (read)
                QCOMPARE(Description(read), Description(ReadByFiler(document)));
        }
    }
    QVERIFY2(direct > 1500, qPrintable(QString::number(direct)));
}

void tst_MessageFraming::FastPath_readsSameFromMutated()
{
    Corpus corpus(3);
    int direct = 0;
    for (int i = 0; i < 20000; ++i) {
        const QString document = corpus.Mutated(EncodeMessage(corpus.Message()));
        const std::optional<MessageInfo> read = DecodeMessageFast(document);
        if (!read)
            continue;
        ++direct;
        const QString expected = Description(ReadByFiler(document));
        QVERIFY2(Description(read) == expected, qPrintable(document + u" must read as "_s + expected));
    }
    QVERIFY2(direct > 200, qPrintable(QString::number(direct)));
}

// Frames as several writers may have sent them, some truncated in the middle of a character.
void tst_MessageFraming::FastPath_readsSameFromMutatedBytes()
{
    Corpus corpus(4);
    int direct = 0;
    for (int i = 0; i < 6000; ++i) {
        QByteArray bytes;
        for (int count = corpus.Below(3) + 1; count > 0; --count)
            bytes += corpus.MutatedBytes(EncodeMessageAsBytes(corpus.Message()));
        const QString text = QString::fromUtf8(bytes);
        QList<MessageInfo> expected;
        ForEachPiece(QStringView(text), kFrameStart, [&expected](QStringView piece) {
            const QString start = piece.startsWith(kFrameStart) ? QString() : kFrameStart.toString();
            if (const std::optional<MessageInfo> message = ReadByFiler(start + piece.toString()))
                expected.append(*message);
        });
        QList<MessageInfo> read;
        QCOMPARE(Quorvin::Util::DecodeMessage(bytes, read), !expected.isEmpty());
        QCOMPARE(Descriptions(read), Descriptions(expected));
        direct += DecodeMessageFast(bytes) ? 1 : 0;
    }
    QVERIFY2(direct > 200, qPrintable(QString::number(direct)));
}

QTEST_GUILESS_MAIN(tst_MessageFraming)

#include "tst_MessageFraming.moc"
