// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "LocaleUtil.h"
#include "locale/LocaleTable_p.h"
#include "platform/Platform_p.h"
#include "support/TestSupport.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QLibrary>
#include <QProcess>
#include <QTemporaryDir>
#include <QtTest>

#include <cstdio>
#include <cstring>
#include <map>
#include <optional>

using namespace Qt::StringLiterals;
using namespace Quorvin::Util;
using Quorvin::Util::Internal::gLocales;
using Quorvin::Util::Internal::LocaleRecord;
using namespace TestSupport;

namespace {

// One row of the tests' copy of the table.
struct ExpectedLocale
{
    QString Name;
    QString ThreeLetterName;
    quint32 Lcid = 0;
    QString DisplayName;
};

QList<ExpectedLocale> ReadExpectedLocales()
{
    QList<ExpectedLocale> locales;
    const QStringList lines = QString::fromLatin1(ReadFile(QFINDTESTDATA("data/locales.tsv"))).split(u'\n');
    for (const QString& line : lines) {
        if (line.isEmpty() || line.startsWith(u'#'))
            continue;
        const QStringList fields = line.split(u'\t');
        locales.append(
            {fields.value(0), fields.value(1), fields.value(2).toUInt(nullptr, 16), fields.value(3)});
    }
    return locales;
}

const QList<ExpectedLocale>& ExpectedLocales()
{
    static const QList<ExpectedLocale> locales = ReadExpectedLocales();
    return locales;
}

// Finds a locale by a linear search: the reference for look-ups by name. \return null if unknown
const ExpectedLocale* FindByWalk(const QString& name)
{
    for (const ExpectedLocale& locale : ExpectedLocales()) {
        if (name.compare(locale.Name, Qt::CaseInsensitive) == 0)
            return &locale;
    }
    return nullptr;
}

// Compares all look-ups of a name with the reference.
bool AgreesWithWalk(const QString& name)
{
    const ExpectedLocale* const expected = FindByWalk(name);
    return LocaleUtil::LocaleNameToLCID(name)
        == (expected != nullptr ? expected->Lcid : LocaleUtil::GetUserDefaultLCIDForMac())
        && LocaleUtil::LocaleNameToThreeLetterLocaleName(name)
        == (expected != nullptr ? expected->ThreeLetterName : QString())
        && LocaleUtil::LocaleNameToDisplayName(name)
        == (expected != nullptr ? expected->DisplayName : QString());
}

// On Linux, tests can choose the user's locale, because the environment determines it; on macOS they cannot.
#ifdef Q_OS_LINUX
constexpr bool kCanChooseLocale = true;
#else
constexpr bool kCanChooseLocale = false;
#endif

// Returns the bytes of a fixed-size field: the text, padded with zeros.
QByteArray Field(const QString& text, int width)
{
    return text.toLatin1().leftJustified(width, '\0');
}

} // namespace

class tst_LocaleUtil : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void Table_allRowsByteForByte();
    void Table_kindsOfRows();

    void Lookup_allRows();
    void Lookup_otherCase();
    void Lookup_neighboursOfEveryName();
    void Lookup_everyCharacterForEveryLetter();
    void Lookup_charactersBeyondTheFirstPlane();
    void Lookup_oddNames_data();
    void Lookup_oddNames();
    void LocaleNameToLCID_data();
    void LocaleNameToLCID();
    void LCIDToLocaleName_data();
    void LCIDToLocaleName();
    void LCIDToLocaleName_everyIdentifier();
    void LocaleNameToThreeLetterLocaleName_data();
    void LocaleNameToThreeLetterLocaleName();
    void LocaleNameToDisplayName_data();
    void LocaleNameToDisplayName();

    void UserLocale_data();
    void UserLocale();
    void UserLocale_readAfresh();
    void GetUserDefaultLocaleForMac_buffer();
    void GetUserDefaultLocaleForMac_longIdentifier_data();
    void GetUserDefaultLocaleForMac_longIdentifier();

    void GetSymbolicLinkTarget();

    void ResolveTranslatorFile_data();
    void ResolveTranslatorFile();
    void ResolveTranslatorFile_rootIsNotAModulesFolder();
    void ResolveTranslatorFile_noApplication();

private:
    std::optional<QTemporaryDir> mDir;
    QString mRoot; ///< the test's folder, without links
    std::optional<EnvironmentGuard> mLocale;
};

void tst_LocaleUtil::init()
{
    FailOnAnyMessage();
    mDir.emplace();
    QVERIFY(mDir->isValid());
    mRoot = QFileInfo(mDir->path()).canonicalFilePath();
    mLocale.emplace("LC_ALL", "C"); // not in the table
    QCOMPARE(ExpectedLocales().size(), 234);
}

void tst_LocaleUtil::cleanup()
{
    mLocale.reset();
    mDir->setAutoRemove(!QTest::currentTestFailed());
    mDir.reset();
}

void tst_LocaleUtil::Table_allRowsByteForByte()
{
    QCOMPARE(sizeof(gLocales), std::size_t(234 * 88));
    QCOMPARE(offsetof(LocaleRecord, Name), std::size_t(0));
    QCOMPARE(offsetof(LocaleRecord, ThreeLetterName), std::size_t(16));
    QCOMPARE(offsetof(LocaleRecord, Lcid), std::size_t(20));
    QCOMPARE(offsetof(LocaleRecord, DisplayName), std::size_t(24));

    for (qsizetype i = 0; i < ExpectedLocales().size(); ++i) {
        const ExpectedLocale& expected = ExpectedLocales().at(i);
        const QByteArray lcid(reinterpret_cast<const char*>(&expected.Lcid), sizeof(expected.Lcid));
        const QByteArray expectedBytes = Field(expected.Name, 16) + Field(expected.ThreeLetterName, 4) + lcid
            + Field(expected.DisplayName, 64);
        const QByteArray bytes(reinterpret_cast<const char*>(&gLocales.at(std::size_t(i))), 88);
        QCOMPARE(bytes, expectedBytes);
    }
}

void tst_LocaleUtil::Table_kindsOfRows()
{
    int neutral = 0;
    QSet<QString> names;
    QSet<quint32> lcids;
    for (const LocaleRecord& record : gLocales) {
        const QString name = QString::fromLatin1(record.Name);
        if (!name.contains(u'-')) {
            ++neutral;
            QVERIFY(record.Lcid < 0x0100 || (name == "sr"_L1 && record.Lcid == 0x7c1a));
        }
        names.insert(name.toLower());
        lcids.insert(record.Lcid);
    }
    QCOMPARE(neutral, 66);
    QCOMPARE(names.size(), 234);
    QCOMPARE(lcids.size(), 234);
}

void tst_LocaleUtil::Lookup_allRows()
{
    for (const ExpectedLocale& locale : ExpectedLocales()) {
        QCOMPARE(LocaleUtil::LocaleNameToLCID(locale.Name), locale.Lcid);
        QCOMPARE(LocaleUtil::LCIDToLocaleName(locale.Lcid), locale.Name);
        QCOMPARE(LocaleUtil::LocaleNameToThreeLetterLocaleName(locale.Name), locale.ThreeLetterName);
        QCOMPARE(LocaleUtil::LocaleNameToDisplayName(locale.Name), locale.DisplayName);
    }
}

void tst_LocaleUtil::Lookup_otherCase()
{
    for (const ExpectedLocale& locale : ExpectedLocales()) {
        for (const QString& name : {locale.Name.toLower(), locale.Name.toUpper()}) {
            QCOMPARE(LocaleUtil::LocaleNameToLCID(name), locale.Lcid);
            QCOMPARE(LocaleUtil::LocaleNameToThreeLetterLocaleName(name), locale.ThreeLetterName);
            QCOMPARE(LocaleUtil::LocaleNameToDisplayName(name), locale.DisplayName);
        }
    }
}

void tst_LocaleUtil::Lookup_neighboursOfEveryName()
{
    // Every name with one character added, removed or replaced, at each position.
    const QString characters = u"@AZ[`az{-_0 9\0\u017f\u212a"_s;
    for (const ExpectedLocale& locale : ExpectedLocales()) {
        for (qsizetype i = 0; i <= locale.Name.size(); ++i) {
            for (const QChar character : characters) {
                QVERIFY(AgreesWithWalk(QString(locale.Name).insert(i, character)));
                if (i < locale.Name.size())
                    QVERIFY(AgreesWithWalk(QString(locale.Name).replace(i, 1, character)));
            }
            QVERIFY(AgreesWithWalk(QString(locale.Name).remove(i, 1)));
        }
    }
}

void tst_LocaleUtil::Lookup_everyCharacterForEveryLetter()
{
    // The first occurrence of each character in the names.
    std::map<QChar, QPair<QString, qsizetype>> places;
    for (const ExpectedLocale& locale : ExpectedLocales()) {
        for (qsizetype i = 0; i < locale.Name.size(); ++i)
            places.try_emplace(locale.Name.at(i), locale.Name, i);
    }
    QVERIFY(places.size() > 50);

    int beyondAscii = 0;
    for (const auto& [letter, place] : places) {
        for (char32_t code = 0x80; code <= 0xffff; ++code) {
            const QChar character(static_cast<char16_t>(code));
            const bool same = QString(character).compare(QString(letter), Qt::CaseInsensitive) == 0;
            const QString name = QString(place.first).replace(place.second, 1, character);
            const bool found = !LocaleUtil::LocaleNameToDisplayName(name).isEmpty();
            // The new name may be that of another locale.
            if ((same && !found) || (found && !AgreesWithWalk(name)))
                QFAIL(qPrintable(u"U+%1 for %2"_s.arg(uint(code), 4, 16).arg(letter)));
            beyondAscii += same ? 1 : 0;
        }
    }
    QCOMPARE(beyondAscii, 4); // long s and the Kelvin sign, each for the lower-case and the capital letter
}

void tst_LocaleUtil::Lookup_charactersBeyondTheFirstPlane()
{
    for (char32_t code = 0x10000; code <= 0x10ffff; ++code) {
        const QString name = QString::fromUcs4(&code, 1) + "k-SK"_L1;
        const bool same = name.compare("sk-SK"_L1, Qt::CaseInsensitive) == 0;
        if (same || !LocaleUtil::LocaleNameToDisplayName(name).isEmpty())
            QFAIL(qPrintable(u"U+%1"_s.arg(uint(code), 4, 16)));
    }
}

void tst_LocaleUtil::Lookup_oddNames_data()
{
    QTest::addColumn<QString>("name");

    QTest::newRow("null") << QString();
    QTest::newRow("empty") << u""_s;
    QTest::newRow("one letter") << u"a"_s;
    QTest::newRow("C") << u"C"_s;
    QTest::newRow("NUL after a name") << u"af\0"_s;
    QTest::newRow("several NULs after a name") << u"af\0\0\0\0\0\0\0\0\0\0\0\0\0"_s;
    QTest::newRow("NUL before a name") << u"\0af"_s;
    QTest::newRow("only NULs") << u"\0\0\0"_s;
    QTest::newRow("underscore") << u"en_US"_s;
    QTest::newRow("trailing blank") << u"en-US "_s;
    QTest::newRow("unknown region") << u"de-XX"_s;
    QTest::newRow("codeset") << u"en-US.UTF-8"_s;
    QTest::newRow("longest possible") << u"az-Cyrl-AZ-abcd"_s;
    QTest::newRow("as long as the field") << u"az-Cyrl-AZ-abcde"_s;
    QTest::newRow("known name, then very long") << u"en-US"_s + QString(100'000, u'x');
    QTest::newRow("dotted capital I is not an i") << u"\u0130s"_s;
    QTest::newRow("dotless i is not an i") << u"\u0131s"_s;
    QTest::newRow("full-width letters") << u"\uff41\uff46"_s;
    QTest::newRow("ligature") << u"\ufb06"_s;
    QTest::newRow("long s") << u"\u017fv-\u017fE"_s;
    QTest::newRow("Kelvin sign") << u"\u212ao-\u212aR"_s;
    QTest::newRow("unpaired surrogate") << u"\xd800s"_s;
}

void tst_LocaleUtil::Lookup_oddNames()
{
    QFETCH(const QString, name);

    QVERIFY(AgreesWithWalk(name));
}

void tst_LocaleUtil::LocaleNameToLCID_data()
{
    QTest::addColumn<QByteArray>("user");
    QTest::addColumn<QString>("name");
    QTest::addColumn<quint32>("expected");

    QTest::newRow("as in the table") << QByteArray("de_DE") << u"en-US"_s << quint32(0x0409);
    QTest::newRow("upper case, then lower case") << QByteArray("de_DE") << u"EN-us"_s << quint32(0x0409);
    QTest::newRow("lower case") << QByteArray("de_DE") << u"en-us"_s << quint32(0x0409);
    QTest::newRow("empty is the user's") << QByteArray("de_DE") << QString() << quint32(0x0407);
    QTest::newRow("C is the user's") << QByteArray("de_DE") << u"C"_s << quint32(0x0407);
    QTest::newRow("lower-case c is the user's") << QByteArray("de_DE") << u"c"_s << quint32(0x0407);
    QTest::newRow("unknown is the user's") << QByteArray("de_DE") << u"xx"_s << quint32(0x0407);
    QTest::newRow("unknown region is the user's") << QByteArray("fr_FR") << u"de-XX"_s << quint32(0x040c);
    QTest::newRow("empty, unknown user") << QByteArray("xx_XX") << QString() << quint32(0x0409);
    QTest::newRow("C, unknown user") << QByteArray("xx_XX") << u"C"_s << quint32(0x0409);
    QTest::newRow("unknown, unknown user") << QByteArray("xx_XX") << u"yy"_s << quint32(0x0409);
    QTest::newRow("known, unknown user") << QByteArray("xx_XX") << u"zh-CHT"_s << quint32(0x7c04);
    QTest::newRow("area code") << QByteArray("de_DE") << u"en-029"_s << quint32(0x2409);
}

void tst_LocaleUtil::LocaleNameToLCID()
{
    if (!kCanChooseLocale)
        QSKIP("the user's locale cannot be set on this system");
    QFETCH(const QByteArray, user);
    QFETCH(const QString, name);
    QFETCH(const quint32, expected);

    const EnvironmentGuard guard("LC_ALL", user);

    QCOMPARE(LocaleUtil::LocaleNameToLCID(name), expected);
}

void tst_LocaleUtil::LCIDToLocaleName_data()
{
    QTest::addColumn<quint32>("lcid");
    QTest::addColumn<QString>("expected");

    QTest::newRow("regional") << quint32(0x0804) << u"zh-CN"_s;
    QTest::newRow("simplified") << quint32(0x0004) << u"zh-CHS"_s;
    QTest::newRow("traditional") << quint32(0x7c04) << u"zh-CHT"_s;
    QTest::newRow("Serbian") << quint32(0x7c1a) << u"sr"_s;
    QTest::newRow("zero") << quint32(0) << QString();
    QTest::newRow("below the first") << quint32(0x0000) << QString();
    QTest::newRow("first") << quint32(0x0001) << u"ar"_s;
    QTest::newRow("above the last") << quint32(0x7c1b) << QString();
    QTest::newRow("largest") << quint32(0xffffffff) << QString();
    QTest::newRow("known in the low half") << quint32(0x00010409) << QString();
}

void tst_LocaleUtil::LCIDToLocaleName()
{
    QFETCH(const quint32, lcid);
    QFETCH(const QString, expected);

    QCOMPARE(LocaleUtil::LCIDToLocaleName(lcid), expected);
}

void tst_LocaleUtil::LCIDToLocaleName_everyIdentifier()
{
    QSet<quint32> known;
    for (const ExpectedLocale& locale : ExpectedLocales())
        known.insert(locale.Lcid);
    for (quint32 lcid = 0; lcid <= 0x10000; ++lcid)
        QCOMPARE(LocaleUtil::LCIDToLocaleName(lcid).isEmpty(), !known.contains(lcid));
}

void tst_LocaleUtil::LocaleNameToThreeLetterLocaleName_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("expected");

    QTest::newRow("three letters") << u"pt-PT"_s << u"ptb"_s;
    QTest::newRow("two letters") << u"cy-GB"_s << u"cy"_s;
    QTest::newRow("same language, two letters") << u"hr-BA"_s << u"hr"_s;
    QTest::newRow("different case") << u"ZH-cn"_s << u"chs"_s;
    QTest::newRow("unknown") << u"xx"_s << QString();
    QTest::newRow("unknown region") << u"de-XX"_s << QString();
    QTest::newRow("empty") << QString() << QString();
    QTest::newRow("C") << u"C"_s << QString();
}

void tst_LocaleUtil::LocaleNameToThreeLetterLocaleName()
{
    QFETCH(const QString, name);
    QFETCH(const QString, expected);

    QCOMPARE(LocaleUtil::LocaleNameToThreeLetterLocaleName(name), expected);
}

void tst_LocaleUtil::LocaleNameToDisplayName_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("expected");

    QTest::newRow("last word of the region") << u"en-GB"_s << u"English (Kingdom)"_s;
    QTest::newRow("letter missing in the table") << u"nb-NO"_s << u"Norwegian, Bokml (Norway)"_s;
    QTest::newRow("script and region") << u"bs-Cyrl-BA"_s << u"Bosnian (Cyrillic,and Herzegovina)"_s;
    QTest::newRow("no region part") << u"zu-ZA"_s << u"Zulu"_s;
    QTest::newRow("apostrophe") << u"zh-CN"_s << u"Chinese (People'China)"_s;
    QTest::newRow("different case") << u"EN-gb"_s << u"English (Kingdom)"_s;
    QTest::newRow("unknown") << u"xx"_s << QString();
    QTest::newRow("empty") << QString() << QString();
    QTest::newRow("C") << u"C"_s << QString();
}

void tst_LocaleUtil::LocaleNameToDisplayName()
{
    QFETCH(const QString, name);
    QFETCH(const QString, expected);

    QCOMPARE(LocaleUtil::LocaleNameToDisplayName(name), expected);
}

void tst_LocaleUtil::UserLocale_data()
{
    QTest::addColumn<QByteArray>("all");
    QTest::addColumn<QByteArray>("messages");
    QTest::addColumn<QByteArray>("lang");
    QTest::addColumn<QByteArray>("identifier");
    QTest::addColumn<QString>("name");
    QTest::addColumn<quint32>("lcid");

    const auto row = [](const char* circumstance, const QByteArrayList& variables, const char* identifier,
                        const QString& name, quint32 lcid) {
        QTest::newRow(circumstance) << variables.value(0) << variables.value(1) << variables.value(2)
                                    << QByteArray(identifier) << name << lcid;
    };
    row("region", {"en_GB"}, "en_GB", u"en-GB"_s, 0x0809);
    row("codeset and modifier", {"en_GB.UTF-8@euro"}, "en_GB", u"en-GB"_s, 0x0809);
    row("language alone", {"de"}, "de", u"de"_s, 0x0007);
    row("two underscores", {"az_Cyrl_AZ"}, "az_Cyrl_AZ", u"az-Cyrl-AZ"_s, 0x082c);
    row("spelling of the system", {"EN_gb"}, "EN_gb", u"EN-gb"_s, 0x0809);
    row("Kelvin sign", {"\u212ao_KR"}, "\u212ao_KR", u"\u212ao-KR"_s, 0x0412);
    row("script that is not in the table", {"zh-Hans_CN"}, "zh-Hans_CN", u"en-US"_s, 0x0409);
    row("region that is not in the table", {"de_XX"}, "de_XX", u"en-US"_s, 0x0409);
    row("C", {"C.UTF-8"}, "C", u"en-US"_s, 0x0409);
    row("not UTF-8", {"\xff\xfe"}, "\xff\xfe", u"en-US"_s, 0x0409);
    row("nothing", {}, "", u"en-US"_s, 0x0409);
    row("messages", {"", "fr_CA.UTF-8", "de_DE"}, "fr_CA", u"fr-CA"_s, 0x0c0c);
    row("language variable", {"", "", "de_DE.UTF-8"}, "de_DE", u"de-DE"_s, 0x0407);
}

void tst_LocaleUtil::UserLocale()
{
    if (!kCanChooseLocale)
        QSKIP("the user's locale cannot be set on this system");
    QFETCH(const QByteArray, all);
    QFETCH(const QByteArray, messages);
    QFETCH(const QByteArray, lang);
    QFETCH(const QByteArray, identifier);
    QFETCH(const QString, name);
    QFETCH(const quint32, lcid);

    const EnvironmentGuard allGuard("LC_ALL", all);
    const EnvironmentGuard messagesGuard("LC_MESSAGES", messages);
    const EnvironmentGuard langGuard("LANG", lang);

    QCOMPARE(QByteArray(LocaleUtil::GetUserDefaultLocaleForMac()), identifier);
    QCOMPARE(LocaleUtil::GetCurrentUserLocale(), name);
    QCOMPARE(LocaleUtil::GetUserDefaultLCIDForMac(), lcid);
}

void tst_LocaleUtil::UserLocale_readAfresh()
{
    if (!kCanChooseLocale)
        QSKIP("the user's locale cannot be set on this system");
    qputenv("LC_ALL", "en_GB");
    QCOMPARE(LocaleUtil::GetCurrentUserLocale(), u"en-GB"_s);
    QCOMPARE(LocaleUtil::GetUserDefaultLCIDForMac(), quint32(0x0809));
    QCOMPARE(LocaleUtil::LocaleNameToLCID(u"C"_s), quint32(0x0809));

    qputenv("LC_ALL", "de_AT");
    QCOMPARE(LocaleUtil::GetCurrentUserLocale(), u"de-AT"_s);
    QCOMPARE(LocaleUtil::GetUserDefaultLCIDForMac(), quint32(0x0c07));
    QCOMPARE(LocaleUtil::LocaleNameToLCID(u"C"_s), quint32(0x0c07));
}

void tst_LocaleUtil::GetUserDefaultLocaleForMac_buffer()
{
    if (!kCanChooseLocale)
        QSKIP("the user's locale cannot be set on this system");
    qputenv("LC_ALL", "en_GB");
    const char* const first = LocaleUtil::GetUserDefaultLocaleForMac();
    QCOMPARE(QByteArray(first), QByteArray("en_GB"));

    qputenv("LC_ALL", "de");
    QCOMPARE(QByteArray(first), QByteArray("en_GB")); // valid until the next call
    const char* const second = LocaleUtil::GetUserDefaultLocaleForMac();
    QVERIFY(first == second); // the same buffer
    QCOMPARE(QByteArray(first), QByteArray("de"));

    qputenv("LC_ALL", "fr_FR");
    QCOMPARE(LocaleUtil::GetCurrentUserLocale(), u"fr-FR"_s);
    QCOMPARE(QByteArray(first), QByteArray("fr_FR"));

    qputenv("LC_ALL", "it_IT");
    QCOMPARE(LocaleUtil::GetUserDefaultLCIDForMac(), quint32(0x0410));
    QCOMPARE(QByteArray(first), QByteArray("it_IT"));

    qputenv("LC_ALL", "es_ES");
    QCOMPARE(LocaleUtil::LocaleNameToLCID(u"en-US"_s), quint32(0x0409)); // the user's locale is not needed
    QCOMPARE(QByteArray(first), QByteArray("it_IT"));
}

void tst_LocaleUtil::GetUserDefaultLocaleForMac_longIdentifier_data()
{
    QTest::addColumn<int>("length");
    QTest::addColumn<int>("expected");

    QTest::newRow("below the buffer's size") << 254 << 254;
    QTest::newRow("fills the buffer") << 255 << 255;
    QTest::newRow("one character too long") << 256 << 255;
    QTest::newRow("far too long") << 100'000 << 255;
}

void tst_LocaleUtil::GetUserDefaultLocaleForMac_longIdentifier()
{
    if (!kCanChooseLocale)
        QSKIP("the user's locale cannot be set on this system");
    QFETCH(const int, length);
    QFETCH(const int, expected);

    const EnvironmentGuard guard("LC_ALL", QByteArray(length, 'x'));

    QCOMPARE(QByteArray(LocaleUtil::GetUserDefaultLocaleForMac()), QByteArray(expected, 'x'));
    QCOMPARE(LocaleUtil::GetCurrentUserLocale(), u"en-US"_s);
}

void tst_LocaleUtil::GetSymbolicLinkTarget()
{
    QVERIFY(WriteFile(mRoot + "/file"_L1, "content"));
    QVERIFY(QFile::link(mRoot + "/file"_L1, mRoot + "/link"_L1));

    QCOMPARE(LocaleUtil::GetSymbolicLinkTarget(mRoot + "/link"_L1), mRoot + "/link"_L1);
    QCOMPARE(LocaleUtil::GetSymbolicLinkTarget(u"./a//b/../"_s), u"./a//b/../"_s);
    QCOMPARE(LocaleUtil::GetSymbolicLinkTarget(QString()), QString());
}

// A copy of this program, in a new folder, loads a module and prints the result.
void tst_LocaleUtil::ResolveTranslatorFile_data()
{
    QTest::addColumn<QString>("loaded"); // relative to the test's folder, as are all paths here
    QTest::addColumn<QString>("module");
    QTest::addColumn<QString>("file");
    QTest::addColumn<QString>("subFolder");
    QTest::addColumn<QString>("folder");
    QTest::addColumn<QStringList>("existing");
    QTest::addColumn<QString>("expected");

    const QString suffix = Platform::GetLibrarySuffix();
    const QString module = "libFoo"_L1 + suffix;
    const QString inLib = "lib/"_L1 + module;
    const QString none;
    const auto row = [](const char* circumstance, const QStringList& arguments, const QStringList& existing,
                        const QString& expected) {
        QTest::newRow(circumstance) << arguments.value(0) << arguments.value(1) << arguments.value(2)
                                    << arguments.value(3) << arguments.value(4) << existing << expected;
    };
    const QStringList everywhere{u"app/x.qm"_s, u"app/de/x.qm"_s, u"lib/x.qm"_s, u"lib/de/x.qm"_s};
    row("no module", {inLib, none, u"x"_s, u"de"_s}, everywhere, none);
    row("application's folder first", {inLib, module, u"x"_s, u"de"_s}, everywhere, everywhere.at(0));
    row("then its sub-folder", {inLib, module, u"x"_s, u"de"_s}, everywhere.mid(1), everywhere.at(1));
    row("then beside the module", {inLib, module, u"x"_s, u"de"_s}, everywhere.mid(2), everywhere.at(2));
    row("then in the sub-folder there", {inLib, module, u"x"_s, u"de"_s}, everywhere.mid(3),
        everywhere.at(3));
    row("found nowhere", {inLib, module, u"x"_s, u"de"_s}, {u"x.qm"_s, u"de/x.qm"_s}, none);
    row("module that is not loaded", {none, module, u"x"_s, u"de"_s}, everywhere.mid(2), none);
    row("module that is not loaded, application's folder", {none, module, u"x"_s, u"de"_s}, everywhere,
        everywhere.at(0));
    row("module without its suffix", {inLib, u"libFoo"_s, u"x"_s, u"de"_s}, everywhere.mid(2),
        everywhere.at(2));
    row("module in the application's folder", {"app/"_L1 + module, module, u"x"_s, u"de"_s},
        everywhere.mid(1), everywhere.at(1));
    row("module in a folder that differs in case", {"APP/"_L1 + module, module, u"x"_s, u"de"_s},
        {u"APP/x.qm"_s, u"APP/de/x.qm"_s}, none);
    row("name from the module", {inLib, module}, {u"app/libFoo.qm"_s}, u"app/libFoo.qm"_s);
    row("name from the module, beside the module", {inLib, module}, {u"lib/libFoo.qm"_s}, u"lib/libFoo.qm"_s);
    row("name from a foreign module", {none, u"libFoo.dylib"_s}, {u"app/libFoo.qm"_s}, u"app/libFoo.qm"_s);
    row("name from a module without a dot", {none, u"Foo"_s}, {u"app/Foo.qm"_s}, u"app/Foo.qm"_s);
    row("name from a module with two dots", {none, u"libFoo.1.so"_s},
        {u"app/libFoo.1"_s, u"app/libFoo.1.qm"_s}, u"app/libFoo.1"_s);
    row("name from a module that begins with its only dot", {none, u".so"_s}, {u"app/.qm"_s}, u"app/.qm"_s);
    row("suffix is added", {none, module, u"x"_s}, {u"app/x"_s}, none);
    row("suffix as given", {none, module, u"x.txt"_s}, {u"app/x.txt"_s, u"app/x.txt.qm"_s}, u"app/x.txt"_s);
    row("dot at the end counts as a suffix", {none, module, u"x."_s}, {u"app/x."_s, u"app/x..qm"_s},
        u"app/x."_s);
    row("file with a folder", {none, module, u"a/x"_s}, {u"app/a/x.qm"_s}, u"app/a/x.qm"_s);
    row("folder given", {none, module, u"x"_s, u"de"_s, u"lib"_s}, everywhere, everywhere.at(2));
    row("folder given, sub-folder not tried", {none, module, u"x"_s, u"de"_s, u"lib"_s}, {u"lib/de/x.qm"_s},
        none);
    row("folder given, application's not tried", {inLib, module, u"x"_s, u"de"_s, u"other"_s}, everywhere,
        none);
    row("folder given, name from the module", {none, u"libFoo.dylib"_s, none, none, u"lib"_s},
        {u"lib/libFoo.qm"_s}, u"lib/libFoo.qm"_s);
    row("no sub-folder", {inLib, module, u"x"_s}, everywhere.mid(2), everywhere.at(2));
    row("folder of that name", {none, module, u"x"_s}, {u"app/x.qm/inner"_s}, u"app/x.qm"_s);
}

void tst_LocaleUtil::ResolveTranslatorFile()
{
    QFETCH(const QString, loaded);
    QFETCH(const QString, module);
    QFETCH(const QString, file);
    QFETCH(const QString, subFolder);
    QFETCH(const QString, folder);
    QFETCH(const QStringList, existing);
    QFETCH(const QString, expected);

    const auto full = [this](const QString& path) { return path.isEmpty() ? path : mRoot + u'/' + path; };
    const QDir root(mRoot);
    QVERIFY(root.mkpath(u"app"_s));
    QVERIFY(QFile::copy(QCoreApplication::applicationFilePath(), full(u"app/program"_s)));
    if (!loaded.isEmpty()) {
        QVERIFY(root.mkpath(QFileInfo(loaded).path()));
        QVERIFY(QFile::copy(QFile::decodeName(PROBE_LIBRARY), full(loaded)));
    }
    for (const QString& path : existing) {
        QVERIFY(root.mkpath(QFileInfo(path).path()));
        QVERIFY(WriteFile(full(path), "content"));
    }

    QProcess process;
    process.setWorkingDirectory(mRoot);
    process.start(full(u"app/program"_s),
                  {u"--resolve"_s, full(loaded), module, file, subFolder, full(folder)});
    QVERIFY(process.waitForFinished());
    QCOMPARE(process.exitCode(), 0);
    QCOMPARE(QString::fromUtf8(process.readAllStandardOutput()), u'[' + full(expected) + "]\n"_L1);
}

// A module that is not loaded has no folder. An empty folder must not stand for the root folder.
void tst_LocaleUtil::ResolveTranslatorFile_rootIsNotAModulesFolder()
{
    QVERIFY(WriteFile(mRoot + "/x.qm"_L1, "content"));
    const QString fromRoot = mRoot.mid(1); // without the leading slash
    const QString none;
    QCOMPARE(LocaleUtil::ResolveTranslatorFile(u"libNone"_s, fromRoot + "/x.qm"_L1, none, none), none);
    QCOMPARE(LocaleUtil::ResolveTranslatorFile(u"libNone"_s, u"x.qm"_s, fromRoot, none), none);
}

void tst_LocaleUtil::ResolveTranslatorFile_noApplication()
{
    QVERIFY(WriteFile(mRoot + "/x.qm"_L1, "content"));
    const auto ask = [this](const QString& mode) {
        QProcess process;
        process.start(QCoreApplication::applicationFilePath(),
                      {mode, QString(), u"module"_s, u"x"_s, QString(), mRoot});
        return process.waitForFinished() ? process.readAllStandardOutput() : QByteArray("did not finish");
    };

    QCOMPARE(ask(u"--resolve"_s), QByteArray('[' + mRoot.toUtf8() + "/x.qm]\n"));
    QCOMPARE(ask(u"--resolve-without-application"_s), QByteArray("[]\n"));
}

namespace {

int Resolve(char** arguments)
{
    const auto argument = [arguments](int i) { return QFile::decodeName(arguments[i]); };
    QLibrary library(argument(2));
    if (!argument(2).isEmpty() && !library.load())
        return 1;
    const QString path
        = LocaleUtil::ResolveTranslatorFile(argument(3), argument(4), argument(5), argument(6));
    std::printf("[%s]\n", path.toUtf8().constData());
    return 0;
}

} // namespace

int main(int argc, char* argv[])
{
    const bool resolve = argc == 7 && std::strncmp(argv[1], "--resolve", 9) == 0;
    if (resolve && std::strcmp(argv[1], "--resolve-without-application") == 0)
        return Resolve(argv);
    QCoreApplication application(argc, argv);
    if (resolve)
        return Resolve(argv);
    tst_LocaleUtil test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_LocaleUtil.moc"
