// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

// Compares the table of locales with ICU's data. Known differences are listed here; any other difference
// is an error in the table, or a change in ICU that must be checked.
#include "locale/LocaleTable_p.h"
#include "support/TestSupport.h"

#include <QtTest>

#include <unicode/uloc.h>

#include <map>
#include <string_view>

using namespace Quorvin::Util::Internal;

class tst_LocaleCrossCheck : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { TestSupport::FailOnAnyMessage(); }
    void IdentifierOfEveryName();
    void NameOfEveryIdentifier();
    void ThreeLetterNames();
};

void tst_LocaleCrossCheck::IdentifierOfEveryName()
{
    // Names that only Windows uses; ICU has newer names for the same languages.
    const std::map<std::string_view, quint32> differences{
        {"ns-ZA", 0x0000}, // nso-ZA today
        {"zh-CHS", 0x7804}, // zh-Hans today; ICU only recognises Chinese
        {"zh-CHT", 0x7804}, // zh-Hant today
    };
    for (const LocaleRecord& record : gLocales) {
        const auto difference = differences.find(record.Name);
        const quint32 expected = difference == differences.end() ? record.Lcid : difference->second;
        const QByteArray icuName = QByteArray(record.Name).replace('-', '_');
        if (uloc_getLCID(icuName.constData()) != expected)
            QFAIL(record.Name);
    }
}

void tst_LocaleCrossCheck::NameOfEveryIdentifier()
{
    // ICU includes the script of a Chinese locale, and has fewer variants of Quechua.
    const std::map<std::string_view, QByteArray> differences{
        {"ns-ZA", "nso-ZA"},     {"quz-BO", "qu-BO"},     {"quz-EC", "qu-EC"},     {"quz-PE", "qu-PE"},
        {"zh-CHS", "zh-Hans"},   {"zh-CHT", "zh-Hant"},   {"zh-HK", "zh-Hant-HK"}, {"zh-MO", "zh-Hant-MO"},
        {"zh-SG", "zh-Hans-SG"}, {"zh-TW", "zh-Hant-TW"},
    };
    for (const LocaleRecord& record : gLocales) {
        const auto difference = differences.find(record.Name);
        const QByteArray expected = difference == differences.end() ? record.Name : difference->second;
        char icuName[ULOC_FULLNAME_CAPACITY];
        char tag[ULOC_FULLNAME_CAPACITY];
        UErrorCode error = U_ZERO_ERROR;
        uloc_getLocaleForLCID(record.Lcid, icuName, ULOC_FULLNAME_CAPACITY, &error);
        uloc_toLanguageTag(icuName, tag, ULOC_FULLNAME_CAPACITY, false, &error);
        QVERIFY(U_SUCCESS(error));
        QCOMPARE(QByteArray(tag), expected);
    }
}

void tst_LocaleCrossCheck::ThreeLetterNames()
{
    // Short names in the table that differ from ISO 639-2, with ICU's names.
    const std::map<std::string_view, std::string_view> differences{
        {"bs", "bos"}, {"chs", "zho"}, {"cht", "zho"}, {"csy", "ces"}, {"cy", "cym"}, {"esp", "spa"},
        {"fy", "fry"}, {"ga", "gle"},  {"hr", "hrv"},  {"iu", "iku"},  {"lb", "ltz"}, {"mi", "mri"},
        {"mt", "mlt"}, {"ns", ""},     {"plk", "pol"}, {"ptb", "por"}, {"quz", ""},   {"rm", "roh"},
        {"se", "sme"}, {"sr", "srp"},  {"tn", "tsn"},  {"xh", "xho"},  {"zu", "zul"},
    };
    for (const LocaleRecord& record : gLocales) {
        const auto difference = differences.find(record.ThreeLetterName);
        const std::string_view expected
            = difference == differences.end() ? record.ThreeLetterName : difference->second;
        QCOMPARE(QByteArray(uloc_getISO3Language(record.Name)),
                 QByteArray::fromStdString(std::string(expected)));
    }
}

QTEST_GUILESS_MAIN(tst_LocaleCrossCheck)

#include "tst_LocaleCrossCheck.moc"
