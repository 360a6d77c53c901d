// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include <KConfig>
#include <KConfigGroup>

#include <QFile>
#include <QTemporaryDir>

#include <benchmark/benchmark.h>

namespace {

// The same thousand settings as in bench_XmlFiler.
void Write1000AndSave_KConfig(benchmark::State& state)
{
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("settingsrc"));
    for (auto _ : state) {
        QFile::remove(path);
        KConfig store(path, KConfig::SimpleConfig);
        for (int i = 0; i < 1000; ++i) {
            KConfigGroup group(&store, QStringLiteral("Group%1").arg(i % 20));
            KConfigGroup page(&group, QStringLiteral("Page%1").arg(i % 5));
            page.writeEntry(QStringLiteral("Value%1").arg(i), i);
        }
        if (!store.sync())
            state.SkipWithError("cannot save");
    }
}

} // namespace

BENCHMARK(Write1000AndSave_KConfig)->Name("Write1000AndSave/KConfig")->Unit(benchmark::kMicrosecond);
