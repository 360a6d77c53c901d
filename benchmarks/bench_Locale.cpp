// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

// Locale name to Windows locale identifier, compared with ICU. Both look up all names of the table in turn,
// in their native formats: QString with '-' for the library, 0-terminated bytes with '_' for ICU.
#include "locale/LocaleTable_p.h"

#include <qvutil/LocaleUtil.h>

#include <QByteArray>
#include <QString>

#include <benchmark/benchmark.h>
#include <unicode/uloc.h>

#include <vector>

using namespace Quorvin::Util;
using Quorvin::Util::Internal::gLocales;
using Quorvin::Util::Internal::LocaleRecord;

namespace {

const std::vector<QString>& Names()
{
    static const std::vector<QString> names = [] {
        std::vector<QString> list;
        for (const LocaleRecord& record : gLocales)
            list.push_back(QString::fromLatin1(record.Name));
        return list;
    }();
    return names;
}

const std::vector<QByteArray>& IcuNames()
{
    static const std::vector<QByteArray> names = [] {
        std::vector<QByteArray> list;
        for (const LocaleRecord& record : gLocales)
            list.push_back(QByteArray(record.Name).replace('-', '_'));
        return list;
    }();
    return names;
}

template <typename Work> void ForEachName(benchmark::State& state, Work work)
{
    std::size_t i = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(work(i));
        i = i + 1 == gLocales.size() ? 0 : i + 1;
    }
}

void NameToIdentifier_QvUtil(benchmark::State& state)
{
    const std::vector<QString>& names = Names();
    ForEachName(state, [&](std::size_t i) { return LocaleUtil::LocaleNameToLCID(names[i]); });
}
BENCHMARK(NameToIdentifier_QvUtil)->Name("NameToIdentifier/QvUtil");

void NameToIdentifier_ICU(benchmark::State& state)
{
    const std::vector<QByteArray>& names = IcuNames();
    ForEachName(state, [&](std::size_t i) { return uloc_getLCID(names[i].constData()); });
}
BENCHMARK(NameToIdentifier_ICU)->Name("NameToIdentifier/raw ICU");

// The cost of a look-up without the index.
void NameToIdentifier_PlainScan(benchmark::State& state)
{
    const std::vector<QString>& names = Names();
    ForEachName(state, [&](std::size_t i) -> quint32 {
        for (const LocaleRecord& record : gLocales) {
            if (names[i].compare(QLatin1StringView(record.Name), Qt::CaseInsensitive) == 0)
                return record.Lcid;
        }
        return 0;
    });
}
BENCHMARK(NameToIdentifier_PlainScan)->Name("NameToIdentifier/walk through the table");

void IdentifierToName_QvUtil(benchmark::State& state)
{
    ForEachName(state, [](std::size_t i) { return LocaleUtil::LCIDToLocaleName(gLocales[i].Lcid); });
}
BENCHMARK(IdentifierToName_QvUtil)->Name("IdentifierToName/QvUtil");

void IdentifierToName_ICU(benchmark::State& state)
{
    ForEachName(state, [](std::size_t i) {
        char name[ULOC_FULLNAME_CAPACITY];
        UErrorCode error = U_ZERO_ERROR;
        return uloc_getLocaleForLCID(gLocales[i].Lcid, name, ULOC_FULLNAME_CAPACITY, &error);
    });
}
BENCHMARK(IdentifierToName_ICU)->Name("IdentifierToName/raw ICU");

} // namespace
