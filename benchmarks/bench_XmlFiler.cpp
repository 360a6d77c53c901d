// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include <qvutil/GeneralUtil.h>
#include <qvutil/XmlFiler.h>
#include <qvutil/base/StringTable_p.h>

#include <QCoreApplication>
#include <QCryptographicHash>
#include <QFile>
#include <QHash>
#include <QProcess>
#include <QSaveFile>
#include <QSettings>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTextStream>
#include <QTranslator>

#include <benchmark/benchmark.h>

#include <optional>
#include <type_traits>

using namespace Qt::StringLiterals;
using namespace Quorvin::Util;

// Benchmarks are named Subject/Contestant, so that the report can group them. Ratios are relative to the
// first contestant of a subject whose name begins with "raw".

namespace {

QString SiblingName(int level, int index)
{
    return u"Node%1x%2"_s.arg(level).arg(index);
}

// Four levels. At each level, the element on the path is in the middle of its siblings.
constexpr int kLevels = 4;

QStringList PathSteps(int siblings)
{
    QStringList steps;
    for (int level = 0; level < kLevels; ++level)
        steps.append(SiblingName(level, siblings / 2));
    return steps;
}

QDomDocument MakeTree(int siblings)
{
    QDomDocument document;
    QDomNode parent = document.appendChild(document.createElement(u"Root"_s));
    for (int level = 0; level < kLevels; ++level) {
        QDomNode next;
        for (int i = 0; i < siblings; ++i) {
            QDomElement child = document.createElement(SiblingName(level, i));
            child.setAttribute(u"Value"_s, i);
            parent.appendChild(child);
            if (i == siblings / 2)
                next = child;
        }
        parent = next;
    }
    return document;
}

// The tree in a filer.
struct LoadedTree
{
    explicit LoadedTree(int siblings)
        : Path(u'/' + PathSteps(siblings).join(u'/'))
    {
        Filer.LoadFromXmlString(MakeTree(siblings).toString());
    }

    [[nodiscard]] int ReadValue() const { return Filer.ReadInt(Path, Name, -1); }

    XmlFiler Filer;
    QString Path;
    QString Name = u"Value"_s;
};

int ReadByFirstChildElement(const QDomDocument& document, const QStringList& steps)
{
    QDomElement element = document.documentElement();
    for (const QString& step : steps)
        element = element.firstChildElement(step);
    return element.attribute(u"Value"_s).toInt();
}

void PathRead_rawFirstChildElement(benchmark::State& state)
{
    const int siblings = static_cast<int>(state.range(0));
    const QDomDocument document = MakeTree(siblings);
    const QStringList steps = PathSteps(siblings);
    for (auto _ : state)
        benchmark::DoNotOptimize(ReadByFirstChildElement(document, steps));
}

void PathRead_namedItem(benchmark::State& state)
{
    const int siblings = static_cast<int>(state.range(0));
    const QDomDocument document = MakeTree(siblings);
    const QStringList steps = PathSteps(siblings);
    for (auto _ : state) {
        QDomNode node = document.documentElement();
        for (const QString& step : steps)
            node = node.namedItem(step);
        benchmark::DoNotOptimize(node.toElement().attribute(u"Value"_s).toInt());
    }
}

void PathRead_QvUtil(benchmark::State& state)
{
    const int siblings = static_cast<int>(state.range(0));
    const LoadedTree tree(siblings);
    if (tree.ReadValue() != siblings / 2)
        state.SkipWithError("wrong value read");
    for (auto _ : state)
        benchmark::DoNotOptimize(tree.ReadValue());
}

// The cost of a path that is not cached: a new path, or any path once the application has called
// GetCurrentNode.
void PathRead_QvUtilStepByStep(benchmark::State& state)
{
    const LoadedTree tree(static_cast<int>(state.range(0)));
    const QDomNode held = tree.Filer.GetCurrentNode();
    for (auto _ : state)
        benchmark::DoNotOptimize(tree.ReadValue());
}

// Reads through a path that was read before, after an element was appended elsewhere.
void ReadAfterAppend_rawFirstChildElement(benchmark::State& state)
{
    const int siblings = static_cast<int>(state.range(0));
    QDomDocument document = MakeTree(siblings);
    const QStringList steps = PathSteps(siblings);
    for (auto _ : state) {
        document.documentElement().appendChild(document.createElement(u"New"_s));
        benchmark::DoNotOptimize(ReadByFirstChildElement(document, steps));
    }
}

void ReadAfterAppend_QvUtil(benchmark::State& state)
{
    LoadedTree tree(static_cast<int>(state.range(0)));
    for (auto _ : state) {
        tree.Filer.MoveToRoot();
        tree.Filer.CreateImmediateChildNode(u"New"_s);
        benchmark::DoNotOptimize(tree.ReadValue());
    }
}

void PathRead_QSettings(benchmark::State& state)
{
    const int siblings = static_cast<int>(state.range(0));
    QTemporaryDir dir;
    QSettings settings(dir.filePath(u"peer.ini"_s), QSettings::IniFormat);
    const QString prefix = PathSteps(siblings).mid(0, kLevels - 1).join(u'/');
    for (int i = 0; i < siblings; ++i)
        settings.setValue(prefix + u'/' + SiblingName(kLevels - 1, i) + "/Value"_L1, i);
    const QString key = PathSteps(siblings).join(u'/') + "/Value"_L1;
    for (auto _ : state)
        benchmark::DoNotOptimize(settings.value(key).toInt());
}

// A document of about 1 MB, of a kind that applications typically save.
QByteArray LargeDocument()
{
    QDomDocument document;
    document.appendChild(document.createProcessingInstruction(u"xml"_s, u"version=\"1.0\""_s));
    QDomNode root = document.appendChild(document.createElement(u"Settings"_s));
    for (int i = 0; i < 5200; ++i) {
        QDomElement item = document.createElement(u"Item"_s);
        item.setAttribute(u"Name"_s, u"Setting number %1"_s.arg(i));
        item.setAttribute(u"Visible"_s, i % 2 == 0 ? u"True"_s : u"False"_s);
        item.setAttribute(u"Geometry"_s, u"%1,%2,640,480"_s.arg(i).arg(i * 2));
        QDomElement text = document.createElement(u"Text"_s);
        text.appendChild(document.createTextNode(u"Größe & <Format> of item %1"_s.arg(i)));
        item.appendChild(text);
        root.appendChild(item);
    }
    return document.toByteArray(4);
}

bool WriteFile(const QString& path, const QByteArray& content)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(content) == content.size();
}

bool RawLoad(QDomDocument& document, const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) && document.setContent(&file);
}

template <typename File> bool RawSave(const QDomDocument& document, const QString& path)
{
    File file(path);
    if (!file.open(QIODevice::WriteOnly))
        return false;
    QTextStream stream(&file);
    document.save(stream, 4);
    stream.flush();
    if constexpr (std::is_same_v<File, QSaveFile>)
        return file.commit();
    return true;
}

template <typename File> void LoadSave1MB_QDomDocument(benchmark::State& state)
{
    QTemporaryDir dir;
    const QString path = dir.filePath(u"document.xml"_s);
    WriteFile(path, LargeDocument());
    for (auto _ : state) {
        QDomDocument document;
        if (!RawLoad(document, path) || !RawSave<File>(document, path))
            state.SkipWithError("cannot load or save");
    }
}

void LoadSave1MB_QvUtil(benchmark::State& state)
{
    QTemporaryDir dir;
    const QString path = dir.filePath(u"document.xml"_s);
    WriteFile(path, LargeDocument());
    for (auto _ : state) {
        XmlFiler filer;
        if (!filer.LoadFromXmlFile(path) || !filer.SaveAsXmlFile(path))
            state.SkipWithError("cannot load or save");
    }
}

constexpr int kWrites = 1000;

// A thousand settings in twenty groups.
struct Setting
{
    QString Group;
    QString Page;
    QString Name;
    int Value;
};

QList<Setting> ManySettings()
{
    QList<Setting> settings;
    for (int i = 0; i < kWrites; ++i)
        settings.append({u"Group%1"_s.arg(i % 20), u"Page%1"_s.arg(i % 5), u"Value%1"_s.arg(i), i});
    return settings;
}

QDomElement ChildElement(QDomDocument& document, QDomElement parent, const QString& name)
{
    QDomElement child = parent.firstChildElement(name);
    if (child.isNull()) {
        child = document.createElement(name);
        parent.appendChild(child);
    }
    return child;
}

template <typename File> void Write1000AndSave_QDomDocument(benchmark::State& state)
{
    QTemporaryDir dir;
    const QString path = dir.filePath(u"settings.xml"_s);
    const QList<Setting> settings = ManySettings();
    for (auto _ : state) {
        QDomDocument document;
        QDomElement root = document.createElement(u"Settings"_s);
        document.appendChild(root);
        for (const Setting& setting : settings) {
            QDomElement group = ChildElement(document, root, setting.Group);
            ChildElement(document, group, setting.Page).setAttribute(setting.Name, setting.Value);
        }
        if (!RawSave<File>(document, path))
            state.SkipWithError("cannot save");
    }
}

void Write1000AndSave_QvUtilXmlFiler(benchmark::State& state)
{
    QTemporaryDir dir;
    const QString path = dir.filePath(u"settings.xml"_s);
    const QList<Setting> settings = ManySettings();
    for (auto _ : state) {
        XmlFiler filer;
        filer.CreateRoot(u"Settings"_s);
        for (const Setting& setting : settings)
            filer.WriteInt(setting.Group + u'/' + setting.Page, setting.Name, setting.Value);
        if (!filer.SaveAsXmlFile(path))
            state.SkipWithError("cannot save");
    }
}

// Saves twice: a new store saves its first change at once.
void Write1000AndSave_QvUtilSettings(benchmark::State& state)
{
    QTemporaryDir dir;
    const QString path = dir.filePath(u"settings.xml"_s);
    const QList<Setting> settings = ManySettings();
    for (auto _ : state) {
        QFile::remove(path);
        Settings store(path, u"Settings"_s);
        for (const Setting& setting : settings)
            store.WriteInt(setting.Group + u'/' + setting.Page, setting.Name, setting.Value);
        store.Save();
    }
}

void Write1000AndSave_QSettings(benchmark::State& state)
{
    QTemporaryDir dir;
    const QString path = dir.filePath(u"settings.ini"_s);
    const QList<Setting> settings = ManySettings();
    for (auto _ : state) {
        QFile::remove(path);
        QSettings store(path, QSettings::IniFormat);
        for (const Setting& setting : settings)
            store.setValue(setting.Group + u'/' + setting.Page + u'/' + setting.Name, setting.Value);
        store.sync();
    }
}

QStringList SourceTexts()
{
    QStringList texts;
    for (int i = 0; i < 1000; ++i)
        texts.append(u"Text number %1 of the user interface"_s.arg(i));
    return texts;
}

void Translate1000_rawDigests(benchmark::State& state)
{
    const QStringList texts = SourceTexts();
    for (auto _ : state) {
        for (const QString& text : texts)
            benchmark::DoNotOptimize(
                QCryptographicHash::hash(text.toUtf8(), QCryptographicHash::Md5).toHex());
    }
}

// Looks up 1,000 paths in the table of the path cache, and in a QHash.
template <typename Table> void LookUp1000(benchmark::State& state)
{
    Table table;
    QStringList paths;
    for (int i = 0; i < 1000; ++i) {
        const QString path = u"/Settings/Group%1/Page%2"_s.arg(i % 20).arg(i);
        table[path] = i;
        paths.append(QString::fromUtf8(path.toUtf8())); // a separate copy, like the string of a caller
    }
    for (auto _ : state) {
        for (const QString& path : paths)
            benchmark::DoNotOptimize(table.find(path));
    }
}

QByteArray Xliff(const QStringList& texts)
{
    QByteArray xml = "<xliff version=\"1.2\"><file original=\"ui/Main.xml\"><body>";
    for (const QString& text : texts) {
        xml += "<trans-unit id=\"" + GeneralUtil::GetHash(text) + "\"><source>" + text.toUtf8()
            + "</source><target>Übersetzt: " + text.toUtf8() + "</target></trans-unit>";
    }
    return xml + "</body></file></xliff>";
}

// Translates each text for the first time or, if Again is true, repeatedly.
template <bool Again> void Translate1000_QvUtil(benchmark::State& state)
{
    QTemporaryDir dir;
    const QStringList texts = SourceTexts();
    const QString path = dir.filePath(u"de.xlf"_s);
    WriteFile(path, Xliff(texts));
    const XlfTranslator translator(path);
    const QString context = u"/opt/app/ui/main.xml"_s;
    if (translator.Translate(texts.first(), context) != u"Übersetzt: "_s + texts.first())
        state.SkipWithError("not translated");
    for (auto _ : state) {
        const std::optional<XlfTranslator> copy
            = Again ? std::nullopt : std::optional(translator); // the copy's cache is empty
        for (const QString& text : texts)
            benchmark::DoNotOptimize((Again ? translator : *copy).Translate(text, context));
    }
}

void Translate1000_QTranslator(benchmark::State& state)
{
    QTemporaryDir dir;
    const QStringList texts = SourceTexts();
    QByteArray ts = "<!DOCTYPE TS><TS version=\"2.1\" language=\"de\"><context><name>Main</name>";
    for (const QString& text : texts) {
        ts += "<message><source>" + text.toUtf8() + "</source><translation>Übersetzt: " + text.toUtf8()
            + "</translation></message>";
    }
    WriteFile(dir.filePath(u"de.ts"_s), ts + "</context></TS>");
    const QString lrelease = QStandardPaths::findExecutable(
        u"lrelease"_s, {u"/usr/lib/qt6/bin"_s, u"/opt/homebrew/bin"_s, u"/usr/local/bin"_s});
    QProcess::execute(lrelease, {u"-silent"_s, dir.filePath(u"de.ts"_s)});
    QTranslator translator;
    if (!translator.load(dir.filePath(u"de.qm"_s))) {
        state.SkipWithError("lrelease, which creates QTranslator's file, is missing");
        return;
    }
    QList<QByteArray> sources;
    for (const QString& text : texts)
        sources.append(text.toUtf8());
    for (auto _ : state) {
        for (const QByteArray& source : sources)
            benchmark::DoNotOptimize(translator.translate("Main", source.constData()));
    }
}

} // namespace

BENCHMARK(PathRead_rawFirstChildElement)
    ->Name("PathRead/raw firstChildElement")
    ->Arg(10)
    ->Arg(100)
    ->Arg(1000);
BENCHMARK(PathRead_namedItem)->Name("PathRead/QDomNode::namedItem")->Arg(10)->Arg(100)->Arg(1000);
BENCHMARK(PathRead_QvUtil)->Name("PathRead/QvUtil")->Arg(10)->Arg(100)->Arg(1000);
BENCHMARK(PathRead_QvUtilStepByStep)->Name("PathRead/QvUtil step by step")->Arg(10)->Arg(100)->Arg(1000);
BENCHMARK(PathRead_QSettings)->Name("PathRead/QSettings")->Arg(10)->Arg(100)->Arg(1000);
// The number of iterations is fixed, because the document grows.
BENCHMARK(ReadAfterAppend_rawFirstChildElement)
    ->Name("ReadAfterAppend/raw firstChildElement")
    ->Arg(1000)
    ->Iterations(2000);
BENCHMARK(ReadAfterAppend_QvUtil)->Name("ReadAfterAppend/QvUtil")->Arg(1000)->Iterations(2000);

BENCHMARK(LoadSave1MB_QDomDocument<QFile>)
    ->Name("LoadSave1MB/raw QDomDocument")
    ->Unit(benchmark::kMillisecond);
BENCHMARK(LoadSave1MB_QDomDocument<QSaveFile>)
    ->Name("LoadSave1MB/QDomDocument and QSaveFile")
    ->Unit(benchmark::kMillisecond);
BENCHMARK(LoadSave1MB_QvUtil)->Name("LoadSave1MB/QvUtil")->Unit(benchmark::kMillisecond);

BENCHMARK(Write1000AndSave_QDomDocument<QFile>)
    ->Name("Write1000AndSave/raw QDomDocument")
    ->Unit(benchmark::kMicrosecond);
BENCHMARK(Write1000AndSave_QDomDocument<QSaveFile>)
    ->Name("Write1000AndSave/QDomDocument and QSaveFile")
    ->Unit(benchmark::kMicrosecond);
BENCHMARK(Write1000AndSave_QvUtilXmlFiler)
    ->Name("Write1000AndSave/QvUtil XmlFiler")
    ->Unit(benchmark::kMicrosecond);
BENCHMARK(Write1000AndSave_QvUtilSettings)
    ->Name("Write1000AndSave/QvUtil Settings, two saves")
    ->Unit(benchmark::kMicrosecond);
BENCHMARK(Write1000AndSave_QSettings)->Name("Write1000AndSave/QSettings")->Unit(benchmark::kMicrosecond);

BENCHMARK(LookUp1000<Internal::StringTable<int>>)->Name("LookUp1000/QvUtil")->Unit(benchmark::kMicrosecond);
BENCHMARK(LookUp1000<QHash<QString, int>>)->Name("LookUp1000/raw QHash")->Unit(benchmark::kMicrosecond);

BENCHMARK(Translate1000_rawDigests)->Name("Translate1000/raw MD5 digests")->Unit(benchmark::kMicrosecond);
BENCHMARK(Translate1000_QvUtil<false>)->Name("Translate1000/QvUtil")->Unit(benchmark::kMicrosecond);
BENCHMARK(Translate1000_QvUtil<true>)->Name("Translate1000/QvUtil, again")->Unit(benchmark::kMicrosecond);
BENCHMARK(Translate1000_QTranslator)->Name("Translate1000/QTranslator")->Unit(benchmark::kMicrosecond);
