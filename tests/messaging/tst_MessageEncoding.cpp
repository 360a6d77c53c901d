// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "IPC.h"
#include "XmlFiler.h"
#include "messaging/Base64_p.h"
#include "messaging/IPC_p.h"
#include "messaging/VariantMapEncoder_p.h"
#include "support/TestSupport.h"

#include <QMetaType>
#include <QRandomGenerator>
#include <QUrl>
#include <QtTest>

#include <limits>

using namespace Qt::StringLiterals;
using namespace Quorvin::Util;

namespace {

struct Custom
{
    int Number = 0;
};

// Returns a document with the root "R" around \p content.
QString InRoot(const QString& content)
{
    return u"<R>%1</R>"_s.arg(content);
}

QVariantMap ReadMap(const QString& content)
{
    XmlFiler filer;
    QVariantMap map;
    if (filer.LoadFromXmlString(InRoot(content)))
        VariantMapEncoder().ReadVariantMap(filer, map);
    return map;
}

QString WriteMap(const QVariantMap& map)
{
    XmlFiler filer;
    filer.CreateRoot(u"R"_s);
    VariantMapEncoder().WriteVariantMap(map, filer);
    return filer.SaveAsXmlString();
}

QVariantMap RoundTrip(const QVariantMap& map)
{
    QVariantMap result;
    VariantMapEncoder encoder;
    encoder.Decode(encoder.Encode(map), result);
    return result;
}

QVariant InvalidValue()
{
    return {};
}

} // namespace

class tst_MessageEncoding : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { TestSupport::FailOnAnyMessage(); }

    void MessageInfo_new();
    void MessageInfo_Clear();
    void MessageInfo_metaType();
    void Constants();

    void TypeNames_data();
    void TypeNames();
    void TypeToString_otherIds_data();
    void TypeToString_otherIds();
    void StringToType_case_data();
    void StringToType_case();
    void IsSupportedType();

    void WriteVariantMap_data();
    void WriteVariantMap();
    void WriteVariantMap_keepsCursor();
    void ReadVariantMap_data();
    void ReadVariantMap();
    void ReadVariantMap_addsToMap();
    void ReadVariant_clearsValue();
    void Lists_append();
    void RoundTrip_data();
    void RoundTrip();
    void RoundTrip_deepNesting();

    void Encode_document();
    void Encode_emptyMap();
    void Decode_data();
    void Decode();
    void EncodeAndDecode_withFiler();

    void Base64_sameAsQt();
    void ReadBase64_data();
    void ReadBase64();
};

void tst_MessageEncoding::MessageInfo_new()
{
    const MessageInfo message;
    QVERIFY(message.Id.isNull());
    QVERIFY(message.UniqueId.isNull());
    QCOMPARE(message.NeedResponse, false);
    QCOMPARE(message.IsResponse, false);
    QVERIFY(message.OriginalMessageUniqueId.isNull());
    QVERIFY(message.Params.isEmpty());
}

void tst_MessageEncoding::MessageInfo_Clear()
{
    MessageInfo message{u"Name"_s, QUuid::createUuid(), true, true, QUuid::createUuid(), {{u"a"_s, 1}}};
    message.Clear();
    QVERIFY(message.Id.isNull());
    QVERIFY(message.UniqueId.isNull());
    QCOMPARE(message.NeedResponse, false);
    QCOMPARE(message.IsResponse, false);
    QVERIFY(message.OriginalMessageUniqueId.isNull());
    QVERIFY(message.Params.isEmpty());
}

void tst_MessageEncoding::MessageInfo_metaType()
{
    RegisterMessageInfo();
    RegisterMessageInfo(); // each server and client registers it
    const QMetaType type = QMetaType::fromName("MessageInfo");
    QVERIFY(type.isValid());
    QCOMPARE(type, QMetaType::fromType<MessageInfo>());
}

void tst_MessageEncoding::Constants()
{
    QCOMPARE(kParamNeedResponse, u"NeedResponse"_s);
    QCOMPARE(kMsgResponse, u"Response"_s);
    QCOMPARE(kPropertyNode, u"Param"_s);
    QCOMPARE(kNameAttribute, u"Name"_s);
    QCOMPARE(kTypeAttribute, u"Type"_s);
    QCOMPARE(kValueAttribute, u"Value"_s);
}

void tst_MessageEncoding::TypeNames_data()
{
    QTest::addColumn<int>("type");
    QTest::addColumn<QString>("name");

    struct Row
    {
        int Type;
        const char* Name;
    };
    static constexpr Row kRows[] = {
        {0, "Invalid"},       {1, "Bool"},           {2, "Int"},
        {3, "UInt"},          {4, "LongLong"},       {5, "ULongLong"},
        {6, "Double"},        {7, "Char"},           {8, "Map"},
        {9, "List"},          {10, "String"},        {11, "StringList"},
        {12, "ByteArray"},    {13, "BitArray"},      {14, "Date"},
        {15, "Time"},         {16, "DateTime"},      {17, "Url"},
        {18, "Locale"},       {19, "Rect"},          {20, "RectF"},
        {21, "Size"},         {22, "SizeF"},         {23, "Line"},
        {24, "LineF"},        {25, "Point"},         {26, "PointF"},
        {28, "Hash"},         {29, "EasingCurve"},   {4096, "Font"},
        {4097, "Pixmap"},     {4098, "Brush"},       {4099, "Color"},
        {4100, "Palette"},    {4101, "Icon"},        {4102, "Image"},
        {4103, "Polygon"},    {4104, "Region"},      {4105, "Bitmap"},
        {4106, "Cursor"},     {4107, "KeySequence"}, {4108, "Pen"},
        {4109, "TextLength"}, {4110, "TextFormat"},  {4112, "Transform"},
        {4113, "Matrix4x4"},  {4114, "Vector2D"},    {4115, "Vector3D"},
        {4116, "Vector4D"},   {4117, "Quaternion"},  {8192, "SizePolicy"},
        {65536, "UserType"},
    };
    static_assert(std::size(kRows) == 52);
    for (const Row& row : kRows)
        QTest::newRow(row.Name) << row.Type << QString::fromLatin1(row.Name);
}

void tst_MessageEncoding::TypeNames()
{
    QFETCH(const int, type);
    QFETCH(const QString, name);
    const VariantMapEncoder encoder;

    QCOMPARE(encoder.TypeToString(static_cast<QMetaType::Type>(type)), name);
    QCOMPARE(static_cast<int>(encoder.StringToType(name)), type);
    QCOMPARE(static_cast<int>(encoder.StringToType(name.toUpper())), type);
    QCOMPARE(static_cast<int>(encoder.StringToType(name.toLower())), type);
}

void tst_MessageEncoding::TypeToString_otherIds_data()
{
    QTest::addColumn<int>("type");

    QTest::newRow("gap in the core types") << 27;
    QTest::newRow("after the last core type") << 30;
    QTest::newRow("long") << static_cast<int>(QMetaType::Long);
    QTest::newRow("float") << static_cast<int>(QMetaType::Float);
    QTest::newRow("before the gui types") << 4095;
    QTest::newRow("gap in the gui types") << 4111;
    QTest::newRow("after the gui types") << 4118;
    QTest::newRow("before the widget type") << 8191;
    QTest::newRow("after the widget type") << 8193;
    QTest::newRow("before the user types") << 65535;
    QTest::newRow("first custom type") << 65537;
}

void tst_MessageEncoding::TypeToString_otherIds()
{
    QFETCH(const int, type);
    QCOMPARE(VariantMapEncoder().TypeToString(static_cast<QMetaType::Type>(type)), QString());
}

void tst_MessageEncoding::StringToType_case_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<int>("expected");

    QTest::newRow("mixed case") << u"sTrInGlIsT"_s << 11;
    QTest::newRow("unknown") << u"Strange"_s << 0;
    QTest::newRow("empty") << QString() << 0;
    QTest::newRow("leading blank") << u" Int"_s << 0;
    QTest::newRow("trailing blank") << u"Int "_s << 0;
    QTest::newRow("beginning of a name") << u"Str"_s << 0;
    QTest::newRow("Qt's name") << u"QString"_s << 0;
    QTest::newRow("Qt's name of a map") << u"VariantMap"_s << 0;
}

void tst_MessageEncoding::StringToType_case()
{
    QFETCH(const QString, name);
    QFETCH(const int, expected);
    QCOMPARE(static_cast<int>(VariantMapEncoder().StringToType(name)), expected);
}

void tst_MessageEncoding::IsSupportedType()
{
    const VariantMapEncoder encoder;
    for (int type = -1; type <= 40; ++type)
        QCOMPARE(encoder.IsSupportedType(static_cast<QMetaType::Type>(type)), type >= 1 && type <= 12);
    QVERIFY(!encoder.IsSupportedType(static_cast<QMetaType::Type>(4096)));
    QVERIFY(!encoder.IsSupportedType(static_cast<QMetaType::Type>(65537)));
}

void tst_MessageEncoding::WriteVariantMap_data()
{
    QTest::addColumn<QVariantMap>("map");
    QTest::addColumn<QString>("expected");

    const auto row = [](const char* name, const QVariant& value, const QString& rest) {
        QTest::newRow(name) << QVariantMap{{u"k"_s, value}} << u"<Param Name='k' "_s + rest;
    };
    QTest::newRow("empty map") << QVariantMap() << QString();
    row("true", true, u"Type='Bool' Value='True'/>"_s);
    row("false", false, u"Type='Bool' Value='False'/>"_s);
    row("int", -5, u"Type='Int' Value='-5'/>"_s);
    row("uint", 4000000000U, u"Type='UInt' Value='4000000000'/>"_s);
    row("longlong", Q_INT64_C(-9000000000), u"Type='LongLong' Value='-9000000000'/>"_s);
    row("ulonglong has no value", Q_UINT64_C(7), u"Type='ULongLong'/>"_s);
    row("double", 0.1, u"Type='Double' Value='0.10000000000000001'/>"_s);
    row("char has no value", QChar(u'x'), u"Type='Char'/>"_s);
    row("string", u"a<b"_s, u"Type='String' Value='a&lt;b'/>"_s);
    row("empty string", QString(), u"Type='String' Value=''/>"_s);
    row("string list", QStringList{u"x"_s, QString()},
        u"Type='StringList'><Param Value='x'/><Param Value=''/></Param>"_s);
    row("empty string list", QStringList(), u"Type='StringList'/>"_s);
    row("bytes", QByteArray("\0\xff", 2), u"Type='ByteArray'><![CDATA[AP8=]]></Param>"_s);
    row("nested map", QVariantMap{{u"x"_s, 1}},
        u"Type='Map'><Param Name='x' Type='Int' Value='1'/></Param>"_s);
    row("empty nested map", QVariantMap(), u"Type='Map'/>"_s);
    row("list", QVariantList{1, u"x"_s, Q_UINT64_C(1)},
        u"Type='List'><Param Type='Int' Value='1'/><Param Type='String' Value='x'/>"
        "<Param Type='ULongLong'/></Param>"_s);
    row("empty list", QVariantList(), u"Type='List'/>"_s);
    row("url", QUrl(u"http://x/"_s), u"Type='Url' Value='&lt;&lt;Error: Unsupported type>>'/>"_s);
    row("invalid", QVariant(), u"Type='Invalid' Value='&lt;&lt;Error: Unsupported type>>'/>"_s);
    row("float", 1.5F, u"Type='' Value='&lt;&lt;Error: Unsupported type>>'/>"_s);
    row("custom type", QVariant::fromValue(Custom()),
        u"Type='' Value='&lt;&lt;Error: Unsupported type>>'/>"_s);
    QTest::newRow("order of keys") << QVariantMap{{u"b"_s, true}, {u"a"_s, true}, {u"B"_s, true}}
                                   << u"<Param Name='B' Type='Bool' Value='True'/>"
                                      "<Param Name='a' Type='Bool' Value='True'/>"
                                      "<Param Name='b' Type='Bool' Value='True'/>"_s;
    QTest::newRow("empty key") << QVariantMap{{QString(), true}}
                               << u"<Param Name='' Type='Bool' Value='True'/>"_s;
}

void tst_MessageEncoding::WriteVariantMap()
{
    QFETCH(const QVariantMap, map);
    QFETCH(const QString, expected);

    QCOMPARE(TestSupport::XmlMeaning(WriteMap(map).remove(u"<?xml version=\"1.0\"?>"_s)),
             TestSupport::XmlMeaning(InRoot(expected)));
}

void tst_MessageEncoding::WriteVariantMap_keepsCursor()
{
    XmlFiler filer;
    filer.CreateRoot(u"R"_s);
    filer.CreateNode(u"Params"_s, true);
    const QVariantMap map{{u"m"_s, QVariantMap{{u"l"_s, QVariantList{1, QStringList{u"x"_s}}}}}};
    VariantMapEncoder().WriteVariantMap(map, filer);
    QCOMPARE(filer.GetCurrentNodePath(), u"/R/Params"_s);

    QVariantMap read;
    VariantMapEncoder().ReadVariantMap(filer, read);
    QCOMPARE(read, map);
    QCOMPARE(filer.GetCurrentNodePath(), u"/R/Params"_s);
}

void tst_MessageEncoding::ReadVariantMap_data()
{
    QTest::addColumn<QString>("content");
    QTest::addColumn<QVariantMap>("expected");

    const auto row = [](const char* name, const QString& rest, const QVariant& value) {
        QTest::newRow(name) << u"<Param Name='k' "_s + rest << QVariantMap{{u"k"_s, value}};
    };
    QTest::newRow("no children") << QString() << QVariantMap();
    row("bool in upper case", u"Type='Bool' Value='TRUE'/>"_s, true);
    row("bool as a number", u"Type='Bool' Value='2'/>"_s, true);
    row("bool unreadable", u"Type='Bool' Value='yes'/>"_s, false);
    row("bool missing", u"Type='Bool'/>"_s, false);
    row("int missing", u"Type='Int'/>"_s, 0);
    row("int unreadable", u"Type='Int' Value='12abc'/>"_s, 0);
    row("int out of range", u"Type='Int' Value='2147483648'/>"_s, 0);
    row("uint negative", u"Type='UInt' Value='-1'/>"_s, 0U);
    row("longlong missing", u"Type='LongLong'/>"_s, Q_INT64_C(0));
    row("double missing", u"Type='Double'/>"_s, 0.0);
    row("double", u"Type='Double' Value='1e3'/>"_s, 1000.0);
    row("string missing", u"Type='String'/>"_s, QString());
    row("string with mark", u"Type='String' Value='tr(Save)'/>"_s, u"Save"_s);
    row("ulonglong with value", u"Type='ULongLong' Value='5'/>"_s, InvalidValue());
    row("char with value", u"Type='Char' Value='x'/>"_s, InvalidValue());
    row("url with value", u"Type='Url' Value='http://x/'/>"_s, InvalidValue());
    row("unknown type", u"Type='Thing' Value='5'/>"_s, InvalidValue());
    row("type without value", u"Type='UserType' Value='5'/>"_s, InvalidValue());
    row("empty type", u"Type='' Value='5'/>"_s, InvalidValue());
    row("no type", u"Value='5'/>"_s, InvalidValue());
    row("type in different case", u"Type='string' Value='x'/>"_s, u"x"_s);
    row("type with mark", u"Type='tr(Int)' Value='5'/>"_s, 5);
    row("bytes", u"Type='ByteArray'><![CDATA[AP8=]]></Param>"_s, QByteArray("\0\xff", 2));
    row("bytes as text", u"Type='ByteArray'>AP8=</Param>"_s, QByteArray("\0\xff", 2));
    row("bytes missing", u"Type='ByteArray'/>"_s, QByteArray());
    row("invalid value in a list keeps its position",
        u"Type='List'><Param Type='Url' Value='x'/><Any Type='Int' Value='3'/></Param>"_s,
        QVariantList{InvalidValue(), 3});
    row("missing value in a string list keeps its position",
        u"Type='StringList'><Param/><Any Value='x'/></Param>"_s, QStringList{QString(), u"x"_s});
    QTest::newRow("another element name")
        << u"<Other Name='k' Type='Int' Value='5'/>"_s << QVariantMap{{u"k"_s, 5}};
    QTest::newRow("text between") << u"text<Param Name='k' Type='Int' Value='5'/>text"_s
                                  << QVariantMap{{u"k"_s, 5}};
    QTest::newRow("no name") << u"<Param Type='Int' Value='5'/><Param Name='k' Type='Int' Value='6'/>"_s
                             << QVariantMap{{u"k"_s, 6}};
    QTest::newRow("empty name") << u"<Param Name='' Type='Int' Value='5'/>"_s << QVariantMap();
    QTest::newRow("name twice") << u"<Param Name='k' Type='Int' Value='5'/>"
                                   "<Param Name='k' Type='Int' Value='6'/>"_s
                                << QVariantMap{{u"k"_s, 6}};
    QTest::newRow("name twice, second value unreadable")
        << u"<Param Name='k' Type='Int' Value='5'/><Param Name='k' Type='Url'/>"_s
        << QVariantMap{{u"k"_s, InvalidValue()}};
    QTest::newRow("names differ by case") << u"<Param Name='k' Type='Int' Value='5'/>"
                                             "<Param Name='K' Type='Int' Value='6'/>"_s
                                          << QVariantMap{{u"k"_s, 5}, {u"K"_s, 6}};
}

void tst_MessageEncoding::ReadVariantMap()
{
    QFETCH(const QString, content);
    QFETCH(const QVariantMap, expected);

    QCOMPARE(ReadMap(content), expected);
}

void tst_MessageEncoding::ReadVariantMap_addsToMap()
{
    XmlFiler filer;
    QVERIFY(filer.LoadFromXmlString(u"<R><Param Name='b' Type='Int' Value='2'/></R>"_s));
    QVariantMap map{{u"a"_s, 1}, {u"b"_s, 1}};
    VariantMapEncoder().ReadVariantMap(filer, map);
    QCOMPARE(map, (QVariantMap{{u"a"_s, 1}, {u"b"_s, 2}}));
}

void tst_MessageEncoding::ReadVariant_clearsValue()
{
    XmlFiler filer;
    QVERIFY(filer.LoadFromXmlString(u"<R/>"_s));
    QVariant value = 5;
    VariantMapEncoder().ReadVariant(filer, value);
    QVERIFY(!value.isValid());
}

void tst_MessageEncoding::Lists_append()
{
    XmlFiler filer;
    QVERIFY(filer.LoadFromXmlString(u"<R><Param Type='Int' Value='2'/></R>"_s));
    QVariantList list{1};
    VariantMapEncoder().ReadVariantList(filer, list);
    QCOMPARE(list, (QVariantList{1, 2}));
    QStringList texts{u"1"_s};
    VariantMapEncoder().ReadStringList(filer, texts);
    QCOMPARE(texts, (QStringList{u"1"_s, u"2"_s}));
}

void tst_MessageEncoding::RoundTrip_data()
{
    QTest::addColumn<QVariant>("value");

    using Limits = std::numeric_limits<double>;
    QTest::newRow("smallest int") << QVariant(std::numeric_limits<int>::min());
    QTest::newRow("largest int") << QVariant(std::numeric_limits<int>::max());
    QTest::newRow("largest uint") << QVariant(std::numeric_limits<uint>::max());
    QTest::newRow("smallest longlong") << QVariant(std::numeric_limits<qlonglong>::min());
    QTest::newRow("largest longlong") << QVariant(std::numeric_limits<qlonglong>::max());
    QTest::newRow("a third") << QVariant(1.0 / 3);
    QTest::newRow("largest double") << QVariant(Limits::max());
    QTest::newRow("smallest double") << QVariant(Limits::min());
    QTest::newRow("infinity") << QVariant(Limits::infinity());
    QTest::newRow("markup") << QVariant(u"<a b=\"c\">&amp;'\"]]></a>"_s);
    QTest::newRow("start of a document") << QVariant(u"<?xml version=\"1.0\"?>"_s);
    QTest::newRow("white space") << QVariant(u" \t a\r\nb\n "_s);
    QTest::newRow("other alphabets") << QVariant(u"Größe 漢字 \U0001F600"_s);
    QTest::newRow("empty bytes") << QVariant(QByteArray(""));
    QByteArray bytes;
    for (int i = 0; i < 1000; ++i)
        bytes.append(static_cast<char>(i));
    QTest::newRow("all bytes") << QVariant(bytes);
    QTest::newRow("bytes that are not text") << QVariant(QByteArray("\xc3\x28\0]]>", 6));
    QTest::newRow("string list") << QVariant(QStringList{u"a"_s, QString(), u"c"_s});
    QTest::newRow("list of lists") << QVariant(QVariantList{QVariantList{1, QVariantList()}, InvalidValue()});
    QTest::newRow("map of maps") << QVariant(
        QVariantMap{{u"x"_s, QVariantMap{{u"y"_s, QVariantList{QVariantMap(), 1.5}}}}});
}

void tst_MessageEncoding::RoundTrip()
{
    QFETCH(const QVariant, value);
    const QVariant result = ::RoundTrip({{u"k"_s, value}}).value(u"k"_s);
    QCOMPARE(result.typeId(), value.typeId());
    QCOMPARE(result, value);
}

void tst_MessageEncoding::RoundTrip_deepNesting()
{
    QVariant value = u"inside"_s;
    for (int i = 0; i < 300; ++i)
        value = i % 2 == 0 ? QVariant(QVariantList{value}) : QVariant(QVariantMap{{u"k"_s, value}});
    const QVariantMap map{{u"k"_s, value}};
    QCOMPARE(::RoundTrip(map), map);
}

void tst_MessageEncoding::Encode_document()
{
    const QString text = VariantMapEncoder().Encode({{u"a"_s, 1}, {u"b"_s, u"x"_s}});
    QVERIFY2(text.startsWith(u"<?xml version=\"1.0\"?>\n<Data "_s), qPrintable(text));
    QCOMPARE(TestSupport::XmlMeaning(text),
             TestSupport::XmlMeaning(u"<?xml version='1.0'?><Data Encoder='XmlEncoder' Version='1.0'>"
                                     "<Param Name='a' Type='Int' Value='1'/>"
                                     "<Param Name='b' Type='String' Value='x'/></Data>"_s));
    QVERIFY(text.contains(u"\n <Param "_s));
}

void tst_MessageEncoding::Encode_emptyMap()
{
    const QString text = VariantMapEncoder().Encode(QVariantMap());
    QCOMPARE(TestSupport::XmlMeaning(text),
             TestSupport::XmlMeaning(u"<?xml version='1.0'?><Data Encoder='XmlEncoder' Version='1.0'/>"_s));
    QCOMPARE(::RoundTrip({}), QVariantMap());
}

void tst_MessageEncoding::Decode_data()
{
    QTest::addColumn<QString>("xml");
    QTest::addColumn<QVariantMap>("expected");

    const QVariantMap before{{u"old"_s, 1}};
    const QVariantMap after{{u"old"_s, 1}, {u"k"_s, 5}};
    const QString param = u"<Param Name='k' Type='Int' Value='5'/>"_s;
    QTest::newRow("plain") << u"<Data Encoder='XmlEncoder' Version='1.0'>%1</Data>"_s.arg(param) << after;
    QTest::newRow("another version") << u"<Data Encoder='XmlEncoder' Version='7'>%1</Data>"_s.arg(param)
                                     << after;
    QTest::newRow("no version") << u"<Data Encoder='XmlEncoder'>%1</Data>"_s.arg(param) << after;
    QTest::newRow("another root") << u"<Any Encoder='XmlEncoder'>%1</Any>"_s.arg(param) << after;
    QTest::newRow("different case") << u"<Data Encoder='xmlencoder'>%1</Data>"_s.arg(param) << before;
    QTest::newRow("another encoder") << u"<Data Encoder='Other'>%1</Data>"_s.arg(param) << before;
    QTest::newRow("no encoder") << u"<Data>%1</Data>"_s.arg(param) << before;
    QTest::newRow("malformed") << u"<Data Encoder='XmlEncoder'>%1"_s.arg(param) << before;
    QTest::newRow("empty") << QString() << before;
}

void tst_MessageEncoding::Decode()
{
    QFETCH(const QString, xml);
    QFETCH(const QVariantMap, expected);

    QVariantMap map{{u"old"_s, 1}};
    VariantMapEncoder().Decode(xml, map);
    QCOMPARE(map, expected);
}

void tst_MessageEncoding::EncodeAndDecode_withFiler()
{
    const QVariantMap map{{u"a"_s, 1}, {u"l"_s, QVariantList{true}}};
    XmlFiler filer;
    filer.CreateRoot(u"R"_s);
    VariantMapEncoder().Encode(map, filer);
    QCOMPARE(TestSupport::XmlMeaning(filer.SaveAsXmlString()), TestSupport::XmlMeaning(WriteMap(map)));
    QVariantMap result;
    VariantMapEncoder().Decode(filer, result);
    QCOMPARE(result, map);
}

void tst_MessageEncoding::Base64_sameAsQt()
{
    QRandomGenerator random(1);
    for (int size = 0; size < 300; ++size) {
        QByteArray bytes(size, Qt::Uninitialized);
        for (char& byte : bytes)
            byte = static_cast<char>(random.bounded(256));
        QByteArray text(Internal::Base64Size(size), Qt::Uninitialized);
        QCOMPARE(Internal::WriteBase64(bytes, text.data()) - text.constData(), text.size());
        QCOMPARE(text, bytes.toBase64());
        const std::optional<QByteArray> read = Internal::ReadBase64(text);
        QVERIFY(read);
        QCOMPARE(*read, bytes);
    }
}

void tst_MessageEncoding::ReadBase64_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<bool>("isBase64");

    QTest::newRow("empty") << QByteArray("") << true;
    QTest::newRow("all digits") << QByteArray(
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/")
                                << true;
    QTest::newRow("one padding character") << QByteArray("AAAAAAA=") << true;
    QTest::newRow("two padding characters") << QByteArray("AAAAAA==") << true;
    QTest::newRow("bits in the padding") << QByteArray("AP9=") << true;
    QTest::newRow("three characters") << QByteArray("AAA") << false;
    QTest::newRow("five characters") << QByteArray("AAAAA") << false;
    QTest::newRow("padding missing") << QByteArray("AAAAAA") << false;
    QTest::newRow("three padding characters") << QByteArray("A===") << false;
    QTest::newRow("only padding") << QByteArray("====") << false;
    QTest::newRow("padding in the middle") << QByteArray("AA==AAAA") << false;
    QTest::newRow("padding before the last") << QByteArray("AA=A") << false;
    QTest::newRow("line ending") << QByteArray("AAA\n") << false;
    QTest::newRow("digits of the URL-safe alphabet") << QByteArray("AA-_") << false;
    QTest::newRow("NUL") << QByteArray("AA\0A", 4) << false;
    QTest::newRow("above ASCII") << QByteArray("AA\xC1\x41") << false;
    QTest::newRow("invalid character before the padding") << QByteArray("A*==") << false;
}

// Where ReadBase64 succeeds, the result equals Qt's. It rejects everything else, which is then left to Qt.
void tst_MessageEncoding::ReadBase64()
{
    QFETCH(const QByteArray, text);
    QFETCH(const bool, isBase64);

    const std::optional<QByteArray> read = Internal::ReadBase64(text);
    QCOMPARE(read.has_value(), isBase64);
    if (read)
        QCOMPARE(*read, QByteArray::fromBase64(text));
}

QTEST_GUILESS_MAIN(tst_MessageEncoding)

#include "tst_MessageEncoding.moc"
