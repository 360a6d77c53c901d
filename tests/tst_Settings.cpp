// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "support/TestSupport.h"

#include <XmlFiler.h>
#include <base/Clock_p.h>

#include <QDir>
#include <QFileInfo>
#include <QTemporaryDir>
#include <QtTest>

#include <sys/resource.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <functional>
#include <memory>
#include <utility>

using namespace Qt::StringLiterals;
using namespace Quorvin::Util;
using TestSupport::LogGuard;
using TestSupport::ReadFile;
using TestSupport::WriteFile;
using TestSupport::XmlMeaning;

Q_DECLARE_METATYPE(std::function<void(Settings&)>)

namespace {
using Change = std::function<void(Settings&)>;

constexpr qint64 kStart = 1'700'000'000'000; // some day in 2023
qint64 gNow = kStart;

qint64 TestClock()
{
    return gNow;
}

/// Returns a settings file with the root "Settings" and this content, whose lines must be indented.
QByteArray SettingsXml(const QByteArray& content)
{
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<Settings>\n" + content + "</Settings>\n";
}

// This is a function, because an object would be constructed before main().
QByteArray BareSettings()
{
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<Settings/>\n";
}

QDateTime UtcTime(const QString& isoText)
{
    return QDateTime::fromString(isoText, Qt::ISODate);
}

/// Returns the names of the document's top-level elements, in order.
QStringList TopLevelElements(Settings& settings)
{
    // Uses the saved text, not the cursor: the document may have more than one root here.
    QDomDocument wrapper;
    QString xml = settings.SaveAsXmlString();
    xml.remove(u"<?xml version=\"1.0\"?>"_s);
    if (!wrapper.setContent(u"<All>"_s + xml + u"</All>"_s))
        return {u"unreadable: "_s + xml};
    QStringList names;
    for (QDomElement e = wrapper.documentElement().firstChildElement(); !e.isNull();
         e = e.nextSiblingElement())
        names.append(e.tagName());
    return names;
}

} // namespace

class tst_Settings : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void Constructor_withoutFile();
    void Constructor_missingFile_data();
    void Constructor_missingFile();
    void Constructor_existingFile();
    void Constructor_emptyFileName();
    void Constructor_directory();

    void SetFile_missingTargetKeepsContent();
    void SetFile_missingTargetOnEmptyStore_data();
    void SetFile_missingTargetOnEmptyStore();
    void SetFile_existingTargetIsLoaded();
    void SetFile_keepsDirtyMark_data();
    void SetFile_keepsDirtyMark();
    void SetFile_keepsTimeOfLastSave();
    void SetFile_unparsableTarget();
    void SetFile_targetThatCannotBeOpened();
    void SetFile_toNothing();
    void SetFile_sameFileDropsUnsavedChanges();

    void Read();
    void Read_defaults();
    void Read_translatesTexts();

    void Change_isSavedAtOnce_data();
    void Change_isSavedAtOnce();
    void Change_marksDirty_data();
    void Change_marksDirty();
    void Change_withoutEffectMarksDirty_data();
    void Change_withoutEffectMarksDirty();
    void DeleteNode_root();

    void BaseOperation_doesNotMarkDirty_data();
    void BaseOperation_doesNotMarkDirty();
    void BaseOverloads_areReachable();
    void BaseChange_isSavedWithTheNextOwnChange();
    void Const_readsAreReachable();

    void SaveInterval_data();
    void SaveInterval();
    void SaveInterval_countsFromTheLastSave();
    void SaveInterval_startsWithEverySave();
    void SaveInterval_realClock();
    void SaveInterval_clockSetBack();

    void Save_cleanWritesNothing();
    void Save_dirtyIgnoresTheSaveInterval();
    void SaveInternal_writesWhenClean();
    void SaveInternal_clearsTheMark();
    void SaveInternal_failureKeepsTheMark();
    void AutoSave_cleanWritesNothing();
    void AutoSave_waitsForTheSaveInterval();
    void AutoSave_firstEver();

    void FailedSave_nextChangeTriesAgain();
    void FailedSave_doesNotStartASaveInterval();
    void FailedSave_keepsTheOldFile();

    void Destructor_savesUnsavedChanges();
    void Destructor_cleanWritesNothing();
    void Destructor_withoutFileWritesNothing();
    void Destructor_failureIsLogged();
    void Destructor_throughTheBase();

    void OpenFile_newFile();
    void OpenFile_loads();
    void OpenFile_setsADamagedFileAside_data();
    void OpenFile_setsADamagedFileAside();
    void OpenFile_setsSeveralAside();
    void OpenFile_setsTheTargetOfALinkAside_data();
    void OpenFile_setsTheTargetOfALinkAside();
    void OpenFile_cannotBeRead_data();
    void OpenFile_cannotBeRead();
    void OpenFile_cannotBeSetAside();
    void OpenFile_dropsOldContent();
    void OpenFile_logs();
    void MarkChanged_savesByTheRule();
    void LostChanges_data();
    void LostChanges();
    void LostChanges_byAnotherFile_data();
    void LostChanges_byAnotherFile();
    void LostChanges_afterAFileWasNotRead_data();
    void LostChanges_afterAFileWasNotRead();

    void UnreadableFile_isLeftAlone_data();
    void UnreadableFile_isLeftAlone();
    void UnreadableFile_relativeWrites();
    void UnreadableFile_absoluteWrites_data();
    void UnreadableFile_absoluteWrites();
    void UnreadableFile_blankPath();
    void UnreadableFile_severalRootsDoNotLoadAgain();

    void RelativePathsStartAtTheRoot_data();
    void RelativePathsStartAtTheRoot();
    void TwoStores_theLastSaveWins();
    void RoundTrip();

private:
    [[nodiscard]] QString Path(const QString& name) const { return mDir->filePath(name); }

    std::unique_ptr<QTemporaryDir> mDir;
};

void tst_Settings::init()
{
    TestSupport::FailOnAnyMessage();
    mDir = std::make_unique<QTemporaryDir>();
    QVERIFY(mDir->isValid());
    gNow = kStart;
    Internal::SetClockForTesting(&TestClock);
}

void tst_Settings::cleanup()
{
    Internal::SetClockForTesting(nullptr);
    mDir->setAutoRemove(!QTest::currentTestFailed());
    mDir.reset();
}

// Construction

void tst_Settings::Constructor_withoutFile()
{
    Settings settings;

    QVERIFY(settings.IsEmpty());
    QVERIFY(settings.GetCurrentNode().isNull());
    QCOMPARE(settings.GetCurrentNodePath(), QString());
    QVERIFY(settings.Translator == nullptr);
    QCOMPARE(settings.TranslateEnabled, true);
    QCOMPARE(settings.ExtraText, QString());

    // Without a root, the first write creates one, named after the first step of its path.
    settings.WriteInt(u"Panel/Main"_s, u"Width"_s, 640);
    QCOMPARE(XmlMeaning(settings.SaveAsXmlString()), XmlMeaning(u"<Panel><Main Width='640'/></Panel>"_s));

    // The store was marked while it had no file, and is saved as soon as it has one.
    settings.SetFile(Path(u"s.xml"_s), u"Ignored"_s);
    QVERIFY(!QFile::exists(Path(u"s.xml"_s)));
    settings.Save();
    QCOMPARE(XmlMeaning(ReadFile(Path(u"s.xml"_s))),
             XmlMeaning(u"<?xml version='1.0' encoding='UTF-8'?><Panel><Main Width='640'/></Panel>"_s));
}

void tst_Settings::Constructor_missingFile_data()
{
    QTest::addColumn<QString>("rootName");
    QTest::addColumn<QString>("expected");

    QTest::newRow("named root") << u"Settings"_s << u"<?xml version=\"1.0\"?>\n<Settings/>\n"_s;
    QTest::newRow("empty root name") << QString() << u"<?xml version=\"1.0\"?>\n<Root/>\n"_s;
}

void tst_Settings::Constructor_missingFile()
{
    QFETCH(const QString, rootName);
    QFETCH(const QString, expected);

    {
        Settings settings(Path(u"s.xml"_s), rootName);

        QCOMPARE(settings.SaveAsXmlString(), expected);
        QCOMPARE(settings.GetCurrentNode(), settings.GetCurrentNode().ownerDocument().documentElement());
        settings.Save();
        settings.AutoSave();
        QVERIFY(!QFile::exists(Path(u"s.xml"_s)));
    }
    QVERIFY(!QFile::exists(Path(u"s.xml"_s)));
    QVERIFY(QDir(mDir->path()).isEmpty());
}

void tst_Settings::Constructor_existingFile()
{
    const QByteArray content = "<Old  Width='1' ><!-- kept --></Old>";
    QVERIFY(WriteFile(Path(u"s.xml"_s), content));
    {
        Settings settings(Path(u"s.xml"_s), u"Settings"_s);

        QCOMPARE(settings.GetCurrentNodePath(), u"/Old"_s);
        QCOMPARE(settings.ReadInt(u"/"_s, u"Width"_s, 7), 1);
        settings.Save();
        settings.AutoSave();
        QCOMPARE(ReadFile(Path(u"s.xml"_s)), content);
    }
    QCOMPARE(ReadFile(Path(u"s.xml"_s)), content);
}

void tst_Settings::Constructor_emptyFileName()
{
    const QString startFolder = QDir::currentPath();
    QVERIFY(QDir::setCurrent(mDir->path()));
    const auto restore = qScopeGuard([&] { QDir::setCurrent(startFolder); });
    {
        Settings settings(QString(), u"Settings"_s);
        QCOMPARE(settings.GetCurrentNodePath(), u"/Settings"_s);

        settings.WriteInt(u"Panel"_s, u"Width"_s, 1);
        gNow += 40'000;
        settings.WriteInt(u"Panel"_s, u"Width"_s, 2);
        settings.Save();
        settings.SaveInternal();
        settings.AutoSave();
        QVERIFY(QDir(mDir->path()).isEmpty());

        settings.SetFile(Path(u"late.xml"_s), u"Other"_s);
        settings.Save();
        QCOMPARE(ReadFile(Path(u"late.xml"_s)), SettingsXml("    <Panel Width=\"2\"/>\n"));
        QVERIFY(QFile::remove(Path(u"late.xml"_s)));
    }
    {
        Settings settings(QString(), u"Settings"_s);
        settings.WriteInt(u"Panel"_s, u"Width"_s, 1);
    }
    QVERIFY(QDir(mDir->path()).isEmpty());
}

void tst_Settings::Constructor_directory()
{
    const QString folder = Path(u"folder"_s);
    QVERIFY(QDir().mkdir(folder));
    LogGuard log;

    // The path exists, but loading it fails, so the store is empty and no root is created.
    Settings settings(folder, u"Settings"_s);
    QCOMPARE(LogGuard::Messages().size(), 1);
    QVERIFY2(LogGuard::Messages().constFirst().contains(u"XmlFiler: Failed to open file %1. "_s.arg(folder)),
             qPrintable(LogGuard::Messages().constFirst()));
    QVERIFY(settings.IsEmpty());
    QVERIFY(settings.GetCurrentNode().isNull());

    settings.WriteInt(u"A"_s, u"B"_s, 1);
    QVERIFY(QFileInfo(folder).isDir());
    QVERIFY(QDir(folder).isEmpty());
}

// SetFile

void tst_Settings::SetFile_missingTargetKeepsContent()
{
    Settings settings(Path(u"a.xml"_s), u"Settings"_s);
    settings.WriteInt(u"Panel"_s, u"Width"_s, 1);
    const QByteArray saved = ReadFile(Path(u"a.xml"_s));
    QCOMPARE(saved, SettingsXml("    <Panel Width=\"1\"/>\n"));

    settings.SetFile(Path(u"b.xml"_s), u"Other"_s);
    QVERIFY(!QFile::exists(Path(u"b.xml"_s)));
    QCOMPARE(settings.ReadInt(u"Panel"_s, u"Width"_s, 7), 1);
    QCOMPARE(settings.GetCurrentNodePath(), u"/Settings"_s);

    gNow += 31'000;
    settings.WriteInt(u"Panel"_s, u"Width"_s, 2);
    QCOMPARE(ReadFile(Path(u"b.xml"_s)), SettingsXml("    <Panel Width=\"2\"/>\n"));
    QCOMPARE(ReadFile(Path(u"a.xml"_s)), saved);
}

void tst_Settings::SetFile_missingTargetOnEmptyStore_data()
{
    QTest::addColumn<QString>("rootName");
    QTest::addColumn<QString>("expected");

    QTest::newRow("named root") << u"Settings"_s << u"<?xml version=\"1.0\"?>\n<Settings/>\n"_s;
    QTest::newRow("empty root name") << QString() << u"<?xml version=\"1.0\"?>\n<Root/>\n"_s;
}

void tst_Settings::SetFile_missingTargetOnEmptyStore()
{
    QFETCH(const QString, rootName);
    QFETCH(const QString, expected);

    Settings settings;
    settings.SetFile(Path(u"s.xml"_s), rootName);

    QCOMPARE(settings.SaveAsXmlString(), expected);
    QVERIFY(!settings.GetCurrentNode().isNull());
    settings.Save();
    QVERIFY(!QFile::exists(Path(u"s.xml"_s)));
    settings.WriteInt(u"A"_s, u"B"_s, 1);
    QVERIFY(QFile::exists(Path(u"s.xml"_s)));
}

void tst_Settings::SetFile_existingTargetIsLoaded()
{
    QVERIFY(WriteFile(Path(u"b.xml"_s), "<Other Width='2'/>"));
    Settings settings(Path(u"a.xml"_s), u"Settings"_s);

    settings.SetFile(Path(u"b.xml"_s), u"Ignored"_s);

    QCOMPARE(settings.GetCurrentNodePath(), u"/Other"_s);
    QCOMPARE(settings.ReadInt(u"/"_s, u"Width"_s, 7), 2);
    settings.Save();
    QCOMPARE(ReadFile(Path(u"b.xml"_s)), QByteArray("<Other Width='2'/>"));
}

void tst_Settings::SetFile_keepsDirtyMark_data()
{
    QTest::addColumn<bool>("dirty");
    QTest::addColumn<bool>("targetExists");

    QTest::newRow("clean, new target") << false << false;
    QTest::newRow("clean, existing target") << false << true;
    QTest::newRow("dirty, new target") << true << false;
    QTest::newRow("dirty, existing target") << true << true;
}

void tst_Settings::SetFile_keepsDirtyMark()
{
    QFETCH(const bool, dirty);
    QFETCH(const bool, targetExists);
    const QString target = Path(u"b.xml"_s);
    if (targetExists)
        QVERIFY(WriteFile(target, "<Other/>"));

    Settings settings;
    if (dirty)
        settings.WriteInt(u"A"_s, u"B"_s, 1);
    settings.SetFile(target, u"New"_s);
    QCOMPARE(QFile::exists(target), targetExists);
    QFile::remove(target);
    settings.Save();

    QCOMPARE(QFile::exists(target), dirty);
}

void tst_Settings::SetFile_keepsTimeOfLastSave()
{
    Settings settings(Path(u"a.xml"_s), u"Settings"_s);
    settings.WriteInt(u"Panel"_s, u"Width"_s, 1);

    settings.SetFile(Path(u"b.xml"_s), u"Settings"_s);
    gNow += 30'999;
    settings.WriteInt(u"Panel"_s, u"Width"_s, 2);
    QVERIFY(!QFile::exists(Path(u"b.xml"_s)));
    gNow += 1;
    settings.WriteInt(u"Panel"_s, u"Width"_s, 3);
    QCOMPARE(ReadFile(Path(u"b.xml"_s)), SettingsXml("    <Panel Width=\"3\"/>\n"));
}

void tst_Settings::SetFile_unparsableTarget()
{
    const QByteArray broken = "<Settings><Panel></Settings>";
    QVERIFY(WriteFile(Path(u"b.xml"_s), broken));
    Settings settings(Path(u"a.xml"_s), u"Settings"_s);
    settings.WriteInt(u"Panel"_s, u"Width"_s, 1);

    settings.SetFile(Path(u"b.xml"_s), u"Ignored"_s);

    QVERIFY(settings.IsEmpty());
    QCOMPARE(settings.ReadInt(u"/Panel"_s, u"Width"_s, 7), 7);
    QCOMPARE(ReadFile(Path(u"b.xml"_s)), broken);
}

void tst_Settings::SetFile_targetThatCannotBeOpened()
{
    const QString folder = Path(u"folder"_s);
    QVERIFY(QDir().mkdir(folder));
    Settings settings(Path(u"a.xml"_s), u"Settings"_s);
    settings.WriteInt(u"Panel"_s, u"Width"_s, 1);
    QVERIFY(settings.MoveToNode(u"Panel"_s));
    const LogGuard log;

    settings.SetFile(folder, u"Ignored"_s);

    QCOMPARE(log.Messages().size(), 1);
    QVERIFY(log.Messages().constFirst().contains(u"XmlFiler: Failed to open file %1. "_s.arg(folder)));
    // Nothing was read, so the content is kept.
    QCOMPARE(settings.GetCurrentNodePath(), u"/Settings/Panel"_s);
    QCOMPARE(settings.ReadInt(u"Width"_s, 7), 1);

    settings.WriteInt(u"/Panel"_s, u"Width"_s, 2); // cannot be saved
    settings.SetFile(Path(u"b.xml"_s), u"Ignored"_s);
    settings.Save();
    QCOMPARE(ReadFile(Path(u"b.xml"_s)), SettingsXml("    <Panel Width=\"2\"/>\n"));
}

void tst_Settings::SetFile_toNothing()
{
    Settings settings(Path(u"a.xml"_s), u"Settings"_s);
    settings.SetFile(QString(), u"Other"_s);
    settings.WriteInt(u"Panel"_s, u"Width"_s, 1);
    settings.SaveInternal();
    settings.Save();

    QVERIFY(QDir(mDir->path()).isEmpty());
    QCOMPARE(settings.GetCurrentNodePath(), u"/Settings"_s);

    settings.SetFile(Path(u"b.xml"_s), u"Other"_s);
    settings.Save();
    QCOMPARE(ReadFile(Path(u"b.xml"_s)), SettingsXml("    <Panel Width=\"1\"/>\n"));
}

void tst_Settings::SetFile_sameFileDropsUnsavedChanges()
{
    Settings settings(Path(u"a.xml"_s), u"Settings"_s);
    settings.WriteInt(u"Panel"_s, u"Width"_s, 1);
    settings.WriteInt(u"Panel"_s, u"Width"_s, 2); // unsaved

    settings.SetFile(Path(u"a.xml"_s), u"Settings"_s);

    QCOMPARE(settings.ReadInt(u"Panel"_s, u"Width"_s, 7), 1);
}

// Reading

void tst_Settings::Read()
{
    Settings settings(QString(), u"Settings"_s);
    settings.WriteBoolean(u"P/Q"_s, u"Flag"_s, true);
    settings.WriteInt(u"P/Q"_s, u"Count"_s, -5);
    settings.WriteString(u"P/Q"_s, u"Name"_s, u"Größe <&> \" '"_s);
    settings.WriteDate(u"P/Q"_s, u"When"_s, UtcTime(u"2026-03-04T05:06:07Z"_s));
    settings.WriteNodeText(u"P/T"_s, u"text & more"_s);

    QCOMPARE(settings.ReadBoolean(u"/P/Q"_s, u"Flag"_s, false), true);
    QCOMPARE(settings.ReadInt(u"/Settings/P/Q"_s, u"Count"_s, 0), -5);
    QCOMPARE(settings.ReadString(u"P\\Q"_s, u"Name"_s, QString()), u"Größe <&> \" '"_s);
    const QDateTime when = settings.ReadDate(u"P/Q"_s, u"When"_s, QDateTime());
    QCOMPARE(when, UtcTime(u"2026-03-04T05:06:07Z"_s));
    QCOMPARE(when.timeSpec(), Qt::LocalTime);
    QCOMPARE(settings.ReadNodeText(u"P/T"_s), u"text & more"_s);
    QCOMPARE(settings.GetCurrentNodePath(), u"/Settings"_s);

    QCOMPARE(XmlMeaning(settings.SaveAsXmlString()),
             XmlMeaning(u"<?xml version=\"1.0\"?><Settings><P><Q Flag='True' Count='-5'"
                        " Name='Größe &lt;&amp;&gt; &quot; &apos;' When='2026-03-04T05:06:07Z'/>"
                        "<T>text &amp; more</T></P></Settings>"_s));
}

void tst_Settings::Read_defaults()
{
    Settings settings(Path(u"s.xml"_s), u"Settings"_s);
    const QString before = settings.SaveAsXmlString();
    const QDateTime someTime = UtcTime(u"2026-03-04T05:06:07Z"_s);

    QCOMPARE(settings.ReadBoolean(u"P"_s, u"Missing"_s, true), true);
    QCOMPARE(settings.ReadInt(u"P"_s, u"Missing"_s, 42), 42);
    QCOMPARE(settings.ReadString(u"P"_s, u"Missing"_s, u"default"_s), u"default"_s);
    QCOMPARE(settings.ReadDate(u"P"_s, u"Missing"_s, someTime), someTime);
    QCOMPARE(settings.ReadNodeText(u"P"_s), QString());

    QCOMPARE(settings.SaveAsXmlString(), before); // nothing was created
    settings.Save();
    QVERIFY(!QFile::exists(Path(u"s.xml"_s))); // and nothing was marked
}

void tst_Settings::Read_translatesTexts()
{
    Settings settings(QString(), u"Settings"_s);
    settings.WriteString(u"P"_s, u"Title"_s, u"tr(Save)"_s);
    settings.WriteNodeText(u"P"_s, u"tr(Open)"_s);

    QCOMPARE(settings.ReadString(u"P"_s, u"Title"_s, QString()), u"Save"_s);
    QCOMPARE(settings.ReadString(u"P"_s, u"Missing"_s, u"tr(Default)"_s), u"Default"_s);
    QCOMPARE(settings.ReadNodeText(u"P"_s), u"Open"_s);
    settings.TranslateEnabled = false;
    QCOMPARE(settings.ReadString(u"P"_s, u"Title"_s, QString()), u"tr(Save)"_s);
    QCOMPARE(settings.ReadString(u"P"_s, u"Missing"_s, u"tr(Default)"_s), u"tr(Default)"_s);
    QCOMPARE(settings.ReadNodeText(u"P"_s), u"tr(Open)"_s);
}

// Changes

void tst_Settings::Change_isSavedAtOnce_data()
{
    QTest::addColumn<Change>("change");
    QTest::addColumn<QByteArray>("expected");

    QTest::newRow("WriteBoolean true") << Change([](Settings& s) { s.WriteBoolean(u"P"_s, u"V"_s, true); })
                                       << SettingsXml("    <P V=\"True\"/>\n");
    QTest::newRow("WriteBoolean false") << Change([](Settings& s) { s.WriteBoolean(u"P"_s, u"V"_s, false); })
                                        << SettingsXml("    <P V=\"False\"/>\n");
    QTest::newRow("WriteInt") << Change([](Settings& s) { s.WriteInt(u"P"_s, u"V"_s, -17); })
                              << SettingsXml("    <P V=\"-17\"/>\n");
    QTest::newRow("WriteString") << Change([](Settings& s) { s.WriteString(u"P/Q"_s, u"V"_s, u"ä"_s); })
                                 << SettingsXml("    <P>\n        <Q V=\"ä\"/>\n    </P>\n");
    QTest::newRow("WriteString empty")
        << Change([](Settings& s) { s.WriteString(u"P"_s, u"V"_s, QString()); })
        << SettingsXml("    <P V=\"\"/>\n");
    QTest::newRow("WriteDate") << Change([](Settings& s) {
        s.WriteDate(u"P"_s, u"V"_s, UtcTime(u"2026-03-04T05:06:07Z"_s));
    }) << SettingsXml("    <P V=\"2026-03-04T05:06:07Z\"/>\n");
    QTest::newRow("WriteDate, local time") << Change([](Settings& s) {
        s.WriteDate(u"P"_s, u"V"_s, UtcTime(u"2026-03-04T05:06:07Z"_s).toLocalTime());
    }) << SettingsXml("    <P V=\"2026-03-04T05:06:07Z\"/>\n");
    QTest::newRow("WriteNodeText") << Change([](Settings& s) { s.WriteNodeText(u"P"_s, u"a<b"_s); })
                                   << SettingsXml("    <P>a&lt;b</P>\n");
    QTest::newRow("DeleteNode, missing")
        << Change([](Settings& s) { s.DeleteNode(u"P"_s); }) << BareSettings();
}

void tst_Settings::Change_isSavedAtOnce()
{
    QFETCH(const Change, change);
    QFETCH(const QByteArray, expected);

    Settings settings(Path(u"s.xml"_s), u"Settings"_s);
    change(settings);

    QCOMPARE(ReadFile(Path(u"s.xml"_s)), expected);
    QCOMPARE(settings.GetCurrentNodePath(), u"/Settings"_s);
}

void tst_Settings::Change_marksDirty_data()
{
    QTest::addColumn<Change>("change");
    QTest::addColumn<QByteArray>("expected");

    const QByteArray old = "    <Old/>\n";
    QTest::newRow("WriteBoolean") << Change([](Settings& s) { s.WriteBoolean(u"P"_s, u"V"_s, true); })
                                  << SettingsXml(old + "    <P V=\"True\"/>\n");
    QTest::newRow("WriteInt") << Change([](Settings& s) { s.WriteInt(u"P"_s, u"V"_s, 1); })
                              << SettingsXml(old + "    <P V=\"1\"/>\n");
    QTest::newRow("WriteString") << Change([](Settings& s) { s.WriteString(u"P"_s, u"V"_s, u"x"_s); })
                                 << SettingsXml(old + "    <P V=\"x\"/>\n");
    QTest::newRow("WriteDate") << Change([](Settings& s) {
        s.WriteDate(u"P"_s, u"V"_s, UtcTime(u"2026-03-04T05:06:07Z"_s));
    }) << SettingsXml(old + "    <P V=\"2026-03-04T05:06:07Z\"/>\n");
    QTest::newRow("WriteNodeText") << Change([](Settings& s) { s.WriteNodeText(u"P"_s, u"x"_s); })
                                   << SettingsXml(old + "    <P>x</P>\n");
    QTest::newRow("DeleteNode") << Change([](Settings& s) { s.DeleteNode(u"Old"_s); }) << BareSettings();
    QTest::newRow("DeleteNode, missing")
        << Change([](Settings& s) { s.DeleteNode(u"None"_s); }) << SettingsXml(old);
}

void tst_Settings::Change_marksDirty()
{
    QFETCH(const Change, change);
    QFETCH(const QByteArray, expected);
    QVERIFY(WriteFile(Path(u"s.xml"_s), SettingsXml("    <Old/>\n")));
    {
        Settings settings(Path(u"s.xml"_s), u"Settings"_s);
        settings.SaveInternal(); // restarts the interval
        QVERIFY(QFile::remove(Path(u"s.xml"_s)));

        change(settings);
        QVERIFY(!QFile::exists(Path(u"s.xml"_s))); // unsaved
        settings.Save();
        QCOMPARE(ReadFile(Path(u"s.xml"_s)), expected);

        QVERIFY(QFile::remove(Path(u"s.xml"_s)));
        settings.Save(); // no longer marked
    }
    QVERIFY(!QFile::exists(Path(u"s.xml"_s)));
}

void tst_Settings::Change_withoutEffectMarksDirty_data()
{
    QTest::addColumn<Change>("change");

    // Without a cursor, a blank path leads nowhere, so nothing can be written.
    QTest::newRow("WriteBoolean") << Change([](Settings& s) { s.WriteBoolean(u" "_s, u"V"_s, true); });
    QTest::newRow("WriteInt") << Change([](Settings& s) { s.WriteInt(QString(), u"V"_s, 1); });
    QTest::newRow("WriteString") << Change([](Settings& s) { s.WriteString(QString(), u"V"_s, u"x"_s); });
    QTest::newRow("WriteDate") << Change(
        [](Settings& s) { s.WriteDate(QString(), u"V"_s, UtcTime(u"2026-03-04T05:06:07Z"_s)); });
    QTest::newRow("WriteNodeText") << Change([](Settings& s) { s.WriteNodeText(QString(), u"x"_s); });
    QTest::newRow("DeleteNode, missing") << Change([](Settings& s) { s.DeleteNode(u"None/At/All"_s); });
}

void tst_Settings::Change_withoutEffectMarksDirty()
{
    QFETCH(const Change, change);

    Settings settings;
    change(settings);
    QVERIFY(settings.IsEmpty());
    settings.SetFile(Path(u"s.xml"_s), u"Settings"_s);
    settings.Save();

    QCOMPARE(ReadFile(Path(u"s.xml"_s)), BareSettings());
}

void tst_Settings::DeleteNode_root()
{
    const QByteArray content = SettingsXml("    <Panel Width=\"1\"/>\n");
    QVERIFY(WriteFile(Path(u"s.xml"_s), content));
    Settings settings(Path(u"s.xml"_s), u"Settings"_s);

    // A document without a root cannot be saved: the file is unchanged, and the store stays marked.
    settings.DeleteNode(u"/"_s);
    QVERIFY(settings.IsEmpty());
    QCOMPARE(ReadFile(Path(u"s.xml"_s)), content);
    settings.Save();
    settings.SaveInternal();
    QCOMPARE(ReadFile(Path(u"s.xml"_s)), content);

    settings.WriteInt(u"/New/A"_s, u"B"_s, 1);
    QCOMPARE(XmlMeaning(ReadFile(Path(u"s.xml"_s))),
             XmlMeaning(u"<?xml version='1.0' encoding='UTF-8'?><New><A B='1'/></New>"_s));
}

// Inherited operations

void tst_Settings::BaseOperation_doesNotMarkDirty_data()
{
    QTest::addColumn<Change>("change");

    static EnumValueName table[] = {{1, u"One"_s}};
    QTest::newRow("WriteBoolean by name") << Change([](Settings& s) { s.WriteBoolean(u"V"_s, true); });
    QTest::newRow("WriteInt by name") << Change([](Settings& s) { s.WriteInt(u"V"_s, 1); });
    QTest::newRow("WriteString by name") << Change([](Settings& s) { s.WriteString(u"V"_s, u"x"_s); });
    QTest::newRow("WriteDate by name")
        << Change([](Settings& s) { s.WriteDate(u"V"_s, UtcTime(u"2026-03-04T05:06:07Z"_s)); });
    QTest::newRow("WriteNodeText by name") << Change([](Settings& s) { s.WriteNodeText(u"x"_s); });
    QTest::newRow("WriteNodeText with flag") << Change([](Settings& s) { s.WriteNodeText(u"x"_s, true); });
    QTest::newRow("WriteNodeText by path with flag")
        << Change([](Settings& s) { s.WriteNodeText(u"P"_s, u"x"_s, true); });
    QTest::newRow("DeleteNode at the cursor") << Change([](Settings& s) {
        s.CreateNode(u"P"_s, true);
        s.DeleteNode();
    });
    QTest::newRow("WriteUInt by path") << Change([](Settings& s) { s.WriteUInt(u"P"_s, u"V"_s, 1U); });
    QTest::newRow("WriteLong by path") << Change([](Settings& s) { s.WriteLong(u"P"_s, u"V"_s, 1L); });
    QTest::newRow("WriteULong by path") << Change([](Settings& s) { s.WriteULong(u"P"_s, u"V"_s, 1UL); });
    QTest::newRow("WriteInt64 by path") << Change([](Settings& s) { s.WriteInt64(u"P"_s, u"V"_s, 1LL); });
    QTest::newRow("WriteDouble by path") << Change([](Settings& s) { s.WriteDouble(u"P"_s, u"V"_s, 0.5); });
    QTest::newRow("WriteRect by path")
        << Change([](Settings& s) { s.WriteRect(u"P"_s, u"V"_s, QRect(1, 2, 3, 4)); });
    QTest::newRow("WriteSize by path")
        << Change([](Settings& s) { s.WriteSize(u"P"_s, u"V"_s, QSize(1, 2)); });
    QTest::newRow("WriteBuffer by path") << Change([](Settings& s) { s.WriteBuffer(u"P"_s, "x"); });
    QTest::newRow("WriteEnum by path")
        << Change([](Settings& s) { s.WriteEnum(u"P"_s, u"V"_s, 1, table, 1); });
    QTest::newRow("WriteInnerXml by path") << Change([](Settings& s) { s.WriteInnerXml(u"P"_s, u"<x/>"_s); });
    QTest::newRow("WriteComment by path") << Change([](Settings& s) { s.WriteComment(u"P"_s, u"x"_s); });
    QTest::newRow("DeleteChildNodes") << Change([](Settings& s) { s.DeleteChildNodes(u"/"_s); });
    QTest::newRow("CreateNode") << Change([](Settings& s) { s.CreateNode(u"P"_s, false); });
    QTest::newRow("ResolveVariables") << Change([](Settings& s) {
        s.XmlFiler::WriteString(u"P"_s, u"V"_s, u"$(a)"_s);
        s.ResolveVariables({{u"a"_s, u"b"_s}});
    });
    QTest::newRow("inherited write by path") << Change([](Settings& s) {
        XmlFiler& base = s;
        base.WriteInt(u"P"_s, u"V"_s, 1);
    });
    QTest::newRow("LoadFromXmlString") << Change([](Settings& s) { s.LoadFromXmlString(u"<Other/>"_s); });
    QTest::newRow("Reset") << Change([](Settings& s) { s.Reset(); });
}

void tst_Settings::BaseOperation_doesNotMarkDirty()
{
    QFETCH(const Change, change);
    const QString path = Path(u"s.xml"_s);
    {
        Settings settings(path, u"Settings"_s);
        change(settings);
        settings.Save();
        settings.AutoSave();
        QVERIFY(!QFile::exists(path));
    }
    QVERIFY(!QFile::exists(path));
}

void tst_Settings::BaseOverloads_areReachable()
{
    EnumValueName table[] = {{1, u"One"_s}, {2, u"Two"_s}};
    const QDateTime time = UtcTime(u"2026-03-04T05:06:07Z"_s);
    Settings s(QString(), u"Settings"_s);

    s.WriteInt(u"Int"_s, -1);
    s.WriteUInt(u"UInt"_s, 1U);
    s.WriteLong(u"Long"_s, -2L);
    s.WriteULong(u"ULong"_s, 2UL);
    s.WriteInt64(u"Int64"_s, -3LL);
    s.WriteDouble(u"Double"_s, 0.5);
    s.WriteBoolean(u"Boolean"_s, true);
    s.WriteRect(u"Rect"_s, QRect(1, 2, 3, 4));
    s.WriteSize(u"Size"_s, QSize(5, 6));
    s.WriteString(u"String"_s, u"text"_s);
    s.WriteDate(u"Date"_s, time);
    s.WriteEnum(u"Enum"_s, 2, table, 2);
    s.WriteEnum(u"Flags"_s, 3, table, 2, true);
    QCOMPARE(s.ReadInt(u"Int"_s, 0), -1);
    QCOMPARE(s.ReadUInt(u"UInt"_s, 0U), 1U);
    QCOMPARE(s.ReadLong(u"Long"_s, 0L), -2L);
    QCOMPARE(s.ReadULong(u"ULong"_s, 0UL), 2UL);
    QCOMPARE(s.ReadInt64(u"Int64"_s, 0LL), -3LL);
    QCOMPARE(s.ReadDouble(u"Double"_s, 0.0), 0.5);
    QCOMPARE(s.ReadBoolean(u"Boolean"_s, false), true);
    QCOMPARE(s.ReadRect(u"Rect"_s, QRect()), QRect(1, 2, 3, 4));
    QCOMPARE(s.ReadSize(u"Size"_s, QSize()), QSize(5, 6));
    QCOMPARE(s.ReadString(u"String"_s, QString()), u"text"_s);
    QCOMPARE(s.ReadDate(u"Date"_s, QDateTime()), time);
    QCOMPARE(s.ReadEnum(u"Enum"_s, 0, table, 2), 2);
    QCOMPARE(s.ReadEnum(u"Flags"_s, 0, table, 2, true), 3);

    s.WriteEnum(u"P"_s, u"Enum"_s, 2, table, 2);
    s.WriteEnum(u"P"_s, u"Flags"_s, 3, table, 2, true);
    QCOMPARE(s.ReadEnum(u"P"_s, u"Enum"_s, 0, table, 2), 2);
    QCOMPARE(s.ReadEnum(u"P"_s, u"Flags"_s, 0, table, 2, true), 3);
    QCOMPARE(Settings::EnumValueToName(1, table, 2, false), u"One"_s);
    QCOMPARE(Settings::EnumNameToValue(u"two"_s, table, 2, false), 2);
    QCOMPARE(Settings::GetEnumNames(table, 2), QStringList({u"One"_s, u"Two"_s}));

    QVERIFY(s.CreateNode(u"Content"_s, true));
    s.WriteBuffer("bytes");
    QCOMPARE(s.ReadBuffer(), QByteArray("bytes"));
    s.WriteNodeText(u"plain"_s);
    QCOMPARE(s.ReadNodeText(), u"plain"_s);
    s.WriteNodeText(u"section"_s, true);
    QCOMPARE(s.ReadInnerXml(), u"<![CDATA[section]]>"_s);
    QVERIFY(s.WriteInnerXml(u"<x/>"_s));
    QVERIFY(s.ReadOuterXml().contains(u"<x/>"_s));
    s.WriteComment(u"note"_s);
    QVERIFY(s.MoveToFirstChild());
    QCOMPARE(s.GetCurrentNodePath(), u"/Settings/Content/x"_s);
    s.DeleteNode();
    QCOMPARE(s.GetCurrentNodePath(), u"/Settings/Content"_s);
    s.MoveToRoot();
    s.WriteBuffer(u"Bytes"_s, "bytes");
    QCOMPARE(s.ReadBuffer(u"Bytes"_s), QByteArray("bytes"));
    s.WriteNodeText(u"Text"_s, u"section"_s, true);
    QCOMPARE(s.ReadInnerXml(u"Text"_s), u"<![CDATA[section]]>"_s);
    QCOMPARE(s.ReadOuterXml(u"Text"_s).trimmed(), u"<Text><![CDATA[section]]></Text>"_s);
    QString mark = u"tr(a)"_s;
    QVERIFY(s.StripTr(mark));
    QCOMPARE(s.Translate(u"tr(a)"_s), u"a"_s);
    QCOMPARE(s.ResolveVariables({{u"a"_s, u"b"_s}}), 0);
}

void tst_Settings::BaseChange_isSavedWithTheNextOwnChange()
{
    Settings settings(Path(u"s.xml"_s), u"Settings"_s);
    settings.WriteUInt(u"P"_s, u"V"_s, 1U);
    QVERIFY(!QFile::exists(Path(u"s.xml"_s)));
    settings.WriteInt(u"Q"_s, u"W"_s, 2);

    QCOMPARE(ReadFile(Path(u"s.xml"_s)), SettingsXml("    <P V=\"1\"/>\n    <Q W=\"2\"/>\n"));
}

void tst_Settings::Const_readsAreReachable()
{
    Settings writable(QString(), u"Settings"_s);
    writable.WriteInt(u"P"_s, u"V"_s, 1);
    const Settings& settings = writable;

    QCOMPARE(settings.ReadInt(u"P"_s, u"V"_s, 0), 1);
    QCOMPARE(settings.ReadBoolean(u"P"_s, u"V"_s, false), true);
    QCOMPARE(settings.ReadString(u"P"_s, u"V"_s, QString()), u"1"_s);
    QCOMPARE(settings.ReadDate(u"P"_s, u"None"_s, QDateTime()), QDateTime());
    QCOMPARE(settings.ReadInt(u"V"_s, 7), 7);
    QCOMPARE(settings.ReadBoolean(u"V"_s, true), true);
    QCOMPARE(settings.ReadString(u"V"_s, u"d"_s), u"d"_s);
    QCOMPARE(settings.ReadDate(u"V"_s, QDateTime()), QDateTime());
}

// The interval between saves

void tst_Settings::SaveInterval_data()
{
    QTest::addColumn<qint64>("passed");
    QTest::addColumn<bool>("saved");

    QTest::newRow("no time") << qint64(0) << false;
    QTest::newRow("a second") << qint64(1'000) << false;
    QTest::newRow("30 s") << qint64(30'000) << false;
    QTest::newRow("30.999 s") << qint64(30'999) << false;
    QTest::newRow("31 s") << qint64(31'000) << true;
    QTest::newRow("31.001 s") << qint64(31'001) << true;
    QTest::newRow("a year") << qint64(365) * 86'400'000 << true;
    QTest::newRow("back by a millisecond") << qint64(-1) << false;
    QTest::newRow("back by 31 s") << qint64(-31'000) << false;
    QTest::newRow("back by a year") << qint64(-365) * 86'400'000 << false;
    QTest::newRow("back to before 1970") << -2 * kStart << false;
}

void tst_Settings::SaveInterval()
{
    QFETCH(const qint64, passed);
    QFETCH(const bool, saved);
    const QByteArray first = SettingsXml("    <P V=\"1\"/>\n");
    const QByteArray second = SettingsXml("    <P V=\"2\"/>\n");
    {
        Settings settings(Path(u"s.xml"_s), u"Settings"_s);
        settings.WriteInt(u"P"_s, u"V"_s, 1);
        QCOMPARE(ReadFile(Path(u"s.xml"_s)), first);

        gNow += passed;
        settings.WriteInt(u"P"_s, u"V"_s, 2);
        QCOMPARE(ReadFile(Path(u"s.xml"_s)), saved ? second : first);
    }
    QCOMPARE(ReadFile(Path(u"s.xml"_s)), second);
}

void tst_Settings::SaveInterval_countsFromTheLastSave()
{
    Settings settings(Path(u"s.xml"_s), u"Settings"_s);
    const auto savedValue = [&] { return Settings(Path(u"s.xml"_s), QString()).ReadInt(u"P"_s, u"V"_s, 0); };
    const auto writeAt = [&](qint64 seconds, int value) {
        gNow = kStart + seconds * 1'000;
        settings.WriteInt(u"P"_s, u"V"_s, value);
    };

    writeAt(0, 1);
    QCOMPARE(savedValue(), 1);
    writeAt(20, 2); // must not restart the interval
    QCOMPARE(savedValue(), 1);
    writeAt(31, 3);
    QCOMPARE(savedValue(), 3);
    writeAt(61, 4);
    QCOMPARE(savedValue(), 3);
    writeAt(62, 5);
    QCOMPARE(savedValue(), 5);
}

void tst_Settings::SaveInterval_startsWithEverySave()
{
    Settings settings(Path(u"s.xml"_s), u"Settings"_s);
    const auto savedValue = [&] { return Settings(Path(u"s.xml"_s), QString()).ReadInt(u"P"_s, u"V"_s, 0); };

    settings.SaveInternal(); // saves although nothing is marked
    gNow = kStart + 30'999;
    settings.WriteInt(u"P"_s, u"V"_s, 1);
    QCOMPARE(savedValue(), 0);
    settings.Save(); // starts the next interval
    QCOMPARE(savedValue(), 1);
    gNow = kStart + 31'000;
    settings.WriteInt(u"P"_s, u"V"_s, 2);
    QCOMPARE(savedValue(), 1);
    gNow = kStart + 30'999 + 30'999;
    settings.WriteInt(u"P"_s, u"V"_s, 3);
    QCOMPARE(savedValue(), 1);
    gNow = kStart + 30'999 + 31'000;
    settings.WriteInt(u"P"_s, u"V"_s, 4);
    QCOMPARE(savedValue(), 4);
}

void tst_Settings::SaveInterval_realClock()
{
    Internal::SetClockForTesting(nullptr);
    const qint64 before = QDateTime::currentMSecsSinceEpoch();
    QVERIFY(Internal::CurrentMSecsSinceEpoch() >= before);
    QVERIFY(Internal::CurrentMSecsSinceEpoch() <= QDateTime::currentMSecsSinceEpoch());

    const QByteArray first = SettingsXml("    <P V=\"1\"/>\n");
    {
        Settings settings(Path(u"s.xml"_s), u"Settings"_s);
        settings.WriteInt(u"P"_s, u"V"_s, 1);
        QCOMPARE(ReadFile(Path(u"s.xml"_s)), first);
        settings.WriteInt(u"P"_s, u"V"_s, 2);
        QCOMPARE(ReadFile(Path(u"s.xml"_s)), first);
    }
    QCOMPARE(ReadFile(Path(u"s.xml"_s)), SettingsXml("    <P V=\"2\"/>\n"));
}

void tst_Settings::SaveInterval_clockSetBack()
{
    Settings settings(Path(u"s.xml"_s), u"Settings"_s);
    settings.WriteInt(u"P"_s, u"V"_s, 1);

    gNow = kStart - 100'000;
    settings.WriteInt(u"P"_s, u"V"_s, 2); // unsaved: the last save is in the future
    settings.Save(); // restarts the interval at the new time
    QCOMPARE(ReadFile(Path(u"s.xml"_s)), SettingsXml("    <P V=\"2\"/>\n"));
    gNow = kStart - 69'000;
    settings.WriteInt(u"P"_s, u"V"_s, 3);
    QCOMPARE(ReadFile(Path(u"s.xml"_s)), SettingsXml("    <P V=\"3\"/>\n"));
}

// Explicit saves

void tst_Settings::Save_cleanWritesNothing()
{
    Settings settings(Path(u"s.xml"_s), u"Settings"_s);
    settings.Save();
    QVERIFY(!QFile::exists(Path(u"s.xml"_s)));

    settings.WriteInt(u"P"_s, u"V"_s, 1);
    QVERIFY(QFile::remove(Path(u"s.xml"_s)));
    settings.Save();
    QVERIFY(!QFile::exists(Path(u"s.xml"_s)));
}

void tst_Settings::Save_dirtyIgnoresTheSaveInterval()
{
    Settings settings(Path(u"s.xml"_s), u"Settings"_s);
    settings.WriteInt(u"P"_s, u"V"_s, 1);
    gNow += 1'000;
    settings.WriteInt(u"P"_s, u"V"_s, 2);
    QCOMPARE(ReadFile(Path(u"s.xml"_s)), SettingsXml("    <P V=\"1\"/>\n"));
    settings.Save();

    QCOMPARE(ReadFile(Path(u"s.xml"_s)), SettingsXml("    <P V=\"2\"/>\n"));
}

void tst_Settings::SaveInternal_writesWhenClean()
{
    Settings settings(Path(u"s.xml"_s), u"Settings"_s);
    settings.SaveInternal();
    QCOMPARE(ReadFile(Path(u"s.xml"_s)), BareSettings());

    QVERIFY(QFile::remove(Path(u"s.xml"_s)));
    settings.SaveInternal();
    QCOMPARE(ReadFile(Path(u"s.xml"_s)), BareSettings());
}

void tst_Settings::SaveInternal_clearsTheMark()
{
    {
        Settings settings(Path(u"s.xml"_s), u"Settings"_s);
        settings.WriteInt(u"P"_s, u"V"_s, 1);
        settings.WriteInt(u"P"_s, u"V"_s, 2); // unsaved
        settings.SaveInternal();
        QCOMPARE(ReadFile(Path(u"s.xml"_s)), SettingsXml("    <P V=\"2\"/>\n"));
        QVERIFY(QFile::remove(Path(u"s.xml"_s)));
        settings.Save();
        gNow += 40'000;
        settings.AutoSave();
    }
    QVERIFY(!QFile::exists(Path(u"s.xml"_s)));
}

void tst_Settings::SaveInternal_failureKeepsTheMark()
{
    const QString folder = Path(u"folder"_s);
    Settings clean(folder + u"/clean.xml"_s, u"Settings"_s);
    clean.SaveInternal();
    Settings dirty(folder + u"/dirty.xml"_s, u"Settings"_s);
    dirty.WriteInt(u"P"_s, u"V"_s, 1);
    dirty.SaveInternal();
    QVERIFY(!QFile::exists(folder));

    QVERIFY(QDir().mkdir(folder));
    clean.Save();
    QVERIFY(!QFile::exists(folder + u"/clean.xml"_s));
    dirty.Save();
    QCOMPARE(ReadFile(folder + u"/dirty.xml"_s), SettingsXml("    <P V=\"1\"/>\n"));
}

void tst_Settings::AutoSave_cleanWritesNothing()
{
    Settings settings(Path(u"s.xml"_s), u"Settings"_s);
    settings.AutoSave();
    QVERIFY(!QFile::exists(Path(u"s.xml"_s)));
    settings.SaveInternal();
    QVERIFY(QFile::remove(Path(u"s.xml"_s)));
    gNow += 40'000;
    settings.AutoSave();
    QVERIFY(!QFile::exists(Path(u"s.xml"_s)));
}

void tst_Settings::AutoSave_waitsForTheSaveInterval()
{
    Settings settings(Path(u"s.xml"_s), u"Settings"_s);
    settings.WriteInt(u"P"_s, u"V"_s, 1);
    settings.WriteInt(u"P"_s, u"V"_s, 2);

    gNow += 30'999;
    settings.AutoSave();
    QCOMPARE(ReadFile(Path(u"s.xml"_s)), SettingsXml("    <P V=\"1\"/>\n"));
    gNow += 1;
    settings.AutoSave();
    QCOMPARE(ReadFile(Path(u"s.xml"_s)), SettingsXml("    <P V=\"2\"/>\n"));

    // The second AutoSave has cleared the mark and restarted the interval.
    QVERIFY(QFile::remove(Path(u"s.xml"_s)));
    settings.Save();
    QVERIFY(!QFile::exists(Path(u"s.xml"_s)));
    gNow += 30'999;
    settings.WriteInt(u"P"_s, u"V"_s, 3);
    QVERIFY(!QFile::exists(Path(u"s.xml"_s)));
}

void tst_Settings::AutoSave_firstEver()
{
    Settings settings;
    settings.WriteInt(u"Settings/P"_s, u"V"_s, 1);
    settings.SetFile(Path(u"s.xml"_s), QString());
    settings.AutoSave(); // never saved before, so it saves at once

    QCOMPARE(ReadFile(Path(u"s.xml"_s)), SettingsXml("    <P V=\"1\"/>\n"));
}

// Failures

void tst_Settings::FailedSave_nextChangeTriesAgain()
{
    const QString folder = Path(u"folder"_s);
    Settings settings(folder + u"/s.xml"_s, u"Settings"_s);
    settings.WriteInt(u"P"_s, u"V"_s, 1);
    QVERIFY(!QFile::exists(folder));

    QVERIFY(QDir().mkdir(folder));
    settings.WriteInt(u"P"_s, u"V"_s, 2); // the interval has not started, because no save has succeeded yet
    QCOMPARE(ReadFile(folder + u"/s.xml"_s), SettingsXml("    <P V=\"2\"/>\n"));
}

void tst_Settings::FailedSave_doesNotStartASaveInterval()
{
    const QString folder = Path(u"folder"_s);
    QVERIFY(QDir().mkdir(folder));
    Settings settings(folder + u"/s.xml"_s, u"Settings"_s);
    settings.WriteInt(u"P"_s, u"V"_s, 1);
    QVERIFY(QDir(folder).removeRecursively());

    gNow = kStart + 31'000;
    settings.WriteInt(u"P"_s, u"V"_s, 2);
    QVERIFY(!QFile::exists(folder));
    QVERIFY(QDir().mkdir(folder));
    gNow = kStart + 31'001;
    settings.WriteInt(u"P"_s, u"V"_s, 3);
    QCOMPARE(ReadFile(folder + u"/s.xml"_s), SettingsXml("    <P V=\"3\"/>\n"));
}

void tst_Settings::FailedSave_keepsTheOldFile()
{
    // The document no longer has a root, so it cannot be saved.
    const QByteArray old = SettingsXml("    <P V=\"1\"/>\n");
    {
        Settings settings(Path(u"s.xml"_s), u"Settings"_s);
        settings.WriteInt(u"P"_s, u"V"_s, 1);
        settings.Reset();
        settings.DeleteNode(u"P"_s);
        settings.Save();
        settings.SaveInternal();
        QCOMPARE(ReadFile(Path(u"s.xml"_s)), old);
        gNow += 40'000;
        settings.DeleteNode(u"P"_s);
        QCOMPARE(ReadFile(Path(u"s.xml"_s)), old);
    }
    QCOMPARE(ReadFile(Path(u"s.xml"_s)), old);
}

// Destruction

void tst_Settings::Destructor_savesUnsavedChanges()
{
    {
        Settings settings(Path(u"s.xml"_s), u"Settings"_s);
        settings.WriteInt(u"P"_s, u"V"_s, 1);
        gNow += 1'000;
        settings.WriteInt(u"P"_s, u"V"_s, 2);
        QCOMPARE(ReadFile(Path(u"s.xml"_s)), SettingsXml("    <P V=\"1\"/>\n"));
    }
    QCOMPARE(ReadFile(Path(u"s.xml"_s)), SettingsXml("    <P V=\"2\"/>\n"));
}

void tst_Settings::Destructor_cleanWritesNothing()
{
    {
        Settings settings(Path(u"s.xml"_s), u"Settings"_s);
        settings.WriteInt(u"P"_s, u"V"_s, 1); // saved at once
        QVERIFY(QFile::remove(Path(u"s.xml"_s)));
    }
    QVERIFY(!QFile::exists(Path(u"s.xml"_s)));
}

void tst_Settings::Destructor_withoutFileWritesNothing()
{
    const QString startFolder = QDir::currentPath();
    QVERIFY(QDir::setCurrent(mDir->path()));
    const auto restore = qScopeGuard([&] { QDir::setCurrent(startFolder); });
    {
        Settings settings;
        settings.WriteInt(u"P"_s, u"V"_s, 1);
    }
    QVERIFY(QDir(mDir->path()).isEmpty());
}

void tst_Settings::Destructor_failureIsLogged()
{
    LogGuard log;
    {
        Settings settings(Path(u"folder/s.xml"_s), u"Settings"_s);
        settings.WriteInt(u"P"_s, u"V"_s, 1);
    }
    QVERIFY(!QFile::exists(Path(u"folder"_s)));
    // One line each for the immediate save, the save at destruction, and the lost change.
    const QStringList messages = LogGuard::Messages();
    QCOMPARE(messages.size(), 3);
    for (const QString& message : messages)
        QVERIFY2(message.contains(Path(u"folder/s.xml"_s)), qPrintable(message));
    QVERIFY2(messages[0].contains(qt_error_string(ENOENT)), qPrintable(messages[0]));
}

void tst_Settings::Destructor_throughTheBase()
{
    auto settings = std::make_unique<Settings>(Path(u"s.xml"_s), u"Settings"_s);
    settings->SaveInternal();
    settings->WriteInt(u"P"_s, u"V"_s, 1); // unsaved
    std::unique_ptr<XmlFiler> base = std::move(settings);
    base.reset();

    QCOMPARE(ReadFile(Path(u"s.xml"_s)), SettingsXml("    <P V=\"1\"/>\n"));
}

// Files that exist but contain no document

void tst_Settings::OpenFile_newFile()
{
    Settings settings;
    QCOMPARE(settings.OpenFile(Path(u"s.xml"_s), u"Settings"_s), Settings::FileState::New);
    QCOMPARE(settings.GetSetAsideFile(), QString());
    QCOMPARE(settings.GetCurrentNodePath(), u"/Settings"_s);
    QVERIFY(!QFileInfo::exists(Path(u"s.xml"_s)));
    settings.WriteInt(u"Panel"_s, u"Width"_s, 7);
    QCOMPARE(ReadFile(Path(u"s.xml"_s)), SettingsXml("    <Panel Width=\"7\"/>\n"));
}

void tst_Settings::OpenFile_loads()
{
    QVERIFY(WriteFile(Path(u"s.xml"_s), "<Settings><Panel Width='7'/></Settings>"));
    Settings settings;
    QCOMPARE(settings.OpenFile(Path(u"s.xml"_s), u"Other"_s), Settings::FileState::Loaded);
    QCOMPARE(settings.GetLoadError().Text, QString());
    QCOMPARE(settings.ReadInt(u"Panel"_s, u"Width"_s, 0), 7);
    QCOMPARE(QDir(Path(QString())).entryList(QDir::Files), QStringList(u"s.xml"_s));
}

void tst_Settings::OpenFile_setsADamagedFileAside_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<int>("line");

    QTest::newRow("truncated") << QByteArray("<Settings>\n<Panel") << 2;
    QTest::newRow("empty") << QByteArray() << 1;
    QTest::newRow("not XML") << QByteArray("damaged") << 1;
    QTest::newRow("two roots") << QByteArray("<A/>\n\n<B/>") << 3;
}

void tst_Settings::OpenFile_setsADamagedFileAside()
{
    QFETCH(const QByteArray, content);
    QFETCH(const int, line);

    const QString file = Path(u"s.xml"_s);
    QVERIFY(WriteFile(file, content));
    {
        Settings settings;
        QCOMPARE(settings.OpenFile(file, u"Settings"_s), Settings::FileState::SetAside);
        QCOMPARE(settings.GetSetAsideFile(), file + u".damaged"_s);
        QCOMPARE(settings.GetLoadError().Line, line);
        QVERIFY(!settings.GetLoadError().Text.isEmpty());
        QVERIFY(!QFileInfo::exists(file));
        settings.WriteInt(u"Panel"_s, u"Width"_s, 7); // below the root, unlike in a store without a cursor
        settings.WriteInt(u"Other"_s, u"Width"_s, 8);
    }
    QCOMPARE(ReadFile(file + u".damaged"_s), content);
    Settings again;
    QCOMPARE(again.OpenFile(file, u"Settings"_s), Settings::FileState::Loaded);
    QCOMPARE(again.ReadInt(u"Other"_s, u"Width"_s, 0), 8);
}

void tst_Settings::OpenFile_setsSeveralAside()
{
    const QString file = Path(u"s.xml"_s);
    for (const QString& kept : {u".damaged"_s, u".damaged-2"_s, u".damaged-3"_s}) {
        QVERIFY(WriteFile(file, "damaged" + kept.toUtf8()));
        Settings settings;
        QCOMPARE(settings.OpenFile(file, u"Settings"_s), Settings::FileState::SetAside);
        QCOMPARE(settings.GetSetAsideFile(), file + kept);
        QCOMPARE(ReadFile(file + kept), "damaged" + kept.toUtf8());
    }
}

void tst_Settings::OpenFile_setsTheTargetOfALinkAside_data()
{
    QTest::addColumn<QString>("target"); // of link.xml
    QTest::addColumn<bool>("isAbsolute");

    QTest::newRow("absolute link") << u"real/s.xml"_s << true;
    QTest::newRow("relative link") << u"real/s.xml"_s << false;
    QTest::newRow("link to a link") << u"real/other.xml"_s << false;
}

// As in a save, the link is kept, so it still leads to the settings.
void tst_Settings::OpenFile_setsTheTargetOfALinkAside()
{
    QFETCH(const QString, target);
    QFETCH(const bool, isAbsolute);

    const QString link = Path(u"link.xml"_s);
    const QString real = Path(u"real/s.xml"_s);
    QVERIFY(QDir().mkpath(Path(u"real"_s)));
    QVERIFY(WriteFile(real, "damaged"));
    QCOMPARE(::symlink("s.xml", QFile::encodeName(Path(u"real/other.xml"_s)).constData()), 0);
    const QByteArray leadsTo = QFile::encodeName(isAbsolute ? Path(target) : target);
    QCOMPARE(::symlink(leadsTo.constData(), QFile::encodeName(link).constData()), 0);
    {
        Settings settings;
        QCOMPARE(settings.OpenFile(link, u"Settings"_s), Settings::FileState::SetAside);
        QCOMPARE(settings.GetSetAsideFile(),
                 QFileInfo(Path(u"real"_s)).canonicalFilePath() + u"/s.xml.damaged"_s);
        settings.WriteInt(u"Panel"_s, u"Width"_s, 7);
    }
    QCOMPARE(ReadFile(Path(u"real/s.xml.damaged"_s)), QByteArray("damaged"));
    QVERIFY(!QFileInfo::exists(link + u".damaged"_s));
    QCOMPARE(std::filesystem::read_symlink(QFile::encodeName(link).toStdString()).string(),
             leadsTo.toStdString());
    QVERIFY(!QFileInfo(real).isSymLink());
    QVERIFY(ReadFile(real).contains("Width=\"7\""));
    Settings again;
    QCOMPARE(again.OpenFile(link, u"Settings"_s), Settings::FileState::Loaded);
}

void tst_Settings::OpenFile_cannotBeRead_data()
{
    QTest::addColumn<bool>("isFolder");

    QTest::newRow("a folder") << true; // not even root can read it as a file
    QTest::newRow("no file descriptor is left") << false;
}

void tst_Settings::OpenFile_cannotBeRead()
{
    QFETCH(const bool, isFolder);

    const QString file = Path(u"s.xml"_s);
    if (isFolder)
        QVERIFY(QDir().mkpath(file));
    else
        QVERIFY(WriteFile(file, BareSettings()));
    {
        Settings settings;
        rlimit before{};
        QCOMPARE(getrlimit(RLIMIT_NOFILE, &before), 0);
        const rlimit none{0, before.rlim_max};
        if (!isFolder)
            QCOMPARE(setrlimit(RLIMIT_NOFILE, &none), 0);
        const Settings::FileState state = settings.OpenFile(file, u"Settings"_s);
        QCOMPARE(setrlimit(RLIMIT_NOFILE, &before), 0);
        QCOMPARE(state, Settings::FileState::Unreadable);
        QCOMPARE(settings.GetLoadError().Line, 0);
        QVERIFY(!settings.GetLoadError().Text.isEmpty());
        QCOMPARE(settings.GetSetAsideFile(), QString());

        settings.WriteInt(u"Panel"_s, u"Width"_s, 7); // works, but is not saved
        settings.SaveInternal();
        QCOMPARE(settings.ReadInt(u"Panel"_s, u"Width"_s, 0), 7);
    }
    if (isFolder)
        QVERIFY(QFileInfo(file).isDir());
    else
        QCOMPARE(ReadFile(file), BareSettings());
}

void tst_Settings::OpenFile_cannotBeSetAside()
{
    // With ".damaged", the name would be longer than any system allows.
    const QString file = Path(u"s"_s.repeated(250));
    QVERIFY(WriteFile(file, "damaged"));
    Settings settings;
    QCOMPARE(settings.OpenFile(file, u"Settings"_s), Settings::FileState::Unreadable);
    QCOMPARE(settings.GetSetAsideFile(), QString());
    QCOMPARE(settings.GetLoadError().Line, 1);
    settings.WriteInt(u"Panel"_s, u"Width"_s, 7);
    QCOMPARE(ReadFile(file), QByteArray("damaged"));
}

void tst_Settings::OpenFile_dropsOldContent()
{
    Settings settings;
    settings.OpenFile(Path(u"a.xml"_s), u"A"_s);
    settings.WriteInt(u"Panel"_s, u"Width"_s, 7); // saved
    settings.WriteInt(u"Panel"_s, u"Width"_s, 8); // not saved yet
    QCOMPARE(settings.OpenFile(Path(u"b.xml"_s), u"B"_s), Settings::FileState::New);
    QCOMPARE(settings.GetCurrentNodePath(), u"/B"_s);
    QCOMPARE(settings.ReadInt(u"Panel"_s, u"Width"_s, 0), 0);
    settings.Save(); // nothing has changed
    QVERIFY(!QFileInfo::exists(Path(u"b.xml"_s)));
    QVERIFY(ReadFile(Path(u"a.xml"_s)).contains("\"7\""));
    settings.WriteInt(u"Panel"_s, u"Width"_s, 9); // the first change to this file is saved at once
    QVERIFY(ReadFile(Path(u"b.xml"_s)).contains("\"9\""));
}

void tst_Settings::OpenFile_logs()
{
    const QString file = Path(u"s.xml"_s);
    QVERIFY(WriteFile(file, "<Settings>\n</Other>"));
    const LogGuard log;
    Settings settings;
    settings.OpenFile(file, u"Settings"_s);
    const QStringList messages = LogGuard::Messages();
    QCOMPARE(messages.size(), 2);
    QVERIFY2(messages[0].contains(file) && messages[0].contains(u"line 2"_s), qPrintable(messages[0]));
    QVERIFY2(messages[1].contains(file + u".damaged"_s), qPrintable(messages[1]));
}

void tst_Settings::MarkChanged_savesByTheRule()
{
    Settings settings;
    settings.OpenFile(Path(u"s.xml"_s), u"Settings"_s);
    settings.WriteRect(u"Window"_s, u"Place"_s, QRect(1, 2, 3, 4));
    QVERIFY(!QFileInfo::exists(Path(u"s.xml"_s)));
    settings.MarkChanged();
    QVERIFY(ReadFile(Path(u"s.xml"_s)).contains("Place=\"1,2,3,4\""));
    settings.WriteRect(u"Window"_s, u"Place"_s, QRect(5, 6, 7, 8));
    settings.MarkChanged(); // too soon after the last save
    QVERIFY(ReadFile(Path(u"s.xml"_s)).contains("Place=\"1,2,3,4\""));
    settings.Save();
    QVERIFY(ReadFile(Path(u"s.xml"_s)).contains("Place=\"5,6,7,8\""));
}

void tst_Settings::LostChanges_data()
{
    QTest::addColumn<Change>("change");
    QTest::addColumn<bool>("isLost");

    QTest::newRow("nothing") << Change([](Settings&) {}) << false;
    QTest::newRow("write of Settings") << Change([](Settings& s) { s.WriteInt(u"A"_s, u"B"_s, 1); }) << false;
    QTest::newRow("inherited write") << Change([](Settings& s) {
        s.WriteRect(u"A"_s, u"B"_s, QRect(1, 2, 3, 4));
    }) << true;
    QTest::newRow("write by name alone") << Change([](Settings& s) { s.WriteInt(u"B"_s, 1); }) << true;
    QTest::newRow("inherited write of bytes")
        << Change([](Settings& s) { s.WriteBuffer(u"A"_s, "x"); }) << true;
    QTest::newRow("marked as changed") << Change([](Settings& s) {
        s.WriteDouble(u"A"_s, u"B"_s, 0.5);
        s.MarkChanged();
    }) << false;
    QTest::newRow("inherited write, then one of Settings") << Change([](Settings& s) {
        s.WriteSize(u"A"_s, u"B"_s, QSize(1, 2));
        s.WriteInt(u"A"_s, u"C"_s, 1);
    }) << false;
    QTest::newRow("write of Settings, then an inherited one") << Change([](Settings& s) {
        s.WriteInt(u"A"_s, u"C"_s, 1);
        s.WriteSize(u"A"_s, u"B"_s, QSize(1, 2));
    }) << true;
    QTest::newRow("change reverted") << Change([](Settings& s) {
        s.WriteSize(u"A"_s, u"B"_s, QSize(1, 2));
        s.XmlFiler::DeleteNode(u"A"_s);
    }) << false;
}

void tst_Settings::LostChanges()
{
    QFETCH(const Change, change);
    QFETCH(const bool, isLost);

    const LogGuard log;
    for (const bool opens : {true, false}) {
        const qsizetype before = LogGuard::Messages().size();
        const QString file = Path(opens ? u"a.xml"_s : u"b.xml"_s);
        {
            Settings settings;
            if (opens)
                settings.OpenFile(file, u"Settings"_s);
            else
                settings.SetFile(file, u"Settings"_s);
            change(settings);
            QCOMPARE(LogGuard::Messages().size(), before);
        }
        QCOMPARE(LogGuard::Messages().size() - before, isLost ? 1 : 0);
        QVERIFY(!isLost || LogGuard::Messages().constLast().contains(file));
    }
}

void tst_Settings::LostChanges_byAnotherFile_data()
{
    QTest::addColumn<bool>("opens");
    QTest::addColumn<Change>("change");
    QTest::addColumn<QString>("target");
    QTest::addColumn<bool>("isLost");

    const Change none([](Settings&) {});
    const Change marked([](Settings& s) { s.WriteInt(u"A"_s, u"B"_s, 2); });
    const Change unmarked([](Settings& s) { s.WriteSize(u"A"_s, u"C"_s, QSize(1, 2)); });
    QTest::newRow("OpenFile, no change") << true << none << u"other.xml"_s << false;
    QTest::newRow("OpenFile, change") << true << marked << u"other.xml"_s << true;
    QTest::newRow("OpenFile, change that is not marked") << true << unmarked << u"other.xml"_s << true;
    QTest::newRow("OpenFile, the same file") << true << marked << u"s.xml"_s << true;
    QTest::newRow("OpenFile, missing file") << true << marked << u"none.xml"_s << true;
    QTest::newRow("OpenFile, malformed file") << true << marked << u"malformed.xml"_s << true;
    QTest::newRow("OpenFile, folder") << true << marked << u"folder"_s << true;
    QTest::newRow("SetFile, no change") << false << none << u"other.xml"_s << false;
    QTest::newRow("SetFile, change") << false << marked << u"other.xml"_s << true;
    QTest::newRow("SetFile, change that is not marked") << false << unmarked << u"other.xml"_s << true;
    QTest::newRow("SetFile, the same file") << false << marked << u"s.xml"_s << true;
    QTest::newRow("SetFile, malformed file") << false << marked << u"malformed.xml"_s << true;
    // The content is kept.
    QTest::newRow("SetFile, missing file") << false << marked << u"none.xml"_s << false;
    QTest::newRow("SetFile, folder") << false << marked << u"folder"_s << false;
}

void tst_Settings::LostChanges_afterAFileWasNotRead_data()
{
    QTest::addColumn<QString>("target");

    QTest::newRow("missing file") << u"none.xml"_s;
    QTest::newRow("folder") << u"folder"_s;
}

// The content is kept, and with it a change that is not marked.
void tst_Settings::LostChanges_afterAFileWasNotRead()
{
    QFETCH(const QString, target);
    QVERIFY(QDir().mkdir(Path(u"folder"_s)));

    const LogGuard log;
    {
        Settings settings(Path(u"s.xml"_s), u"Settings"_s);
        settings.WriteInt(u"A"_s, u"B"_s, 1); // saved at once
        settings.WriteSize(u"A"_s, u"C"_s, QSize(1, 2));
        settings.SetFile(Path(target), u"Settings"_s);
        QCOMPARE(LogGuard::Messages().filter(u"are lost"_s), QStringList());
    }
    QCOMPARE(LogGuard::Messages().filter(u"changes to the settings in "_s + Path(target)).size(), 1);
}

void tst_Settings::LostChanges_byAnotherFile()
{
    QFETCH(const bool, opens);
    QFETCH(const Change, change);
    QFETCH(const QString, target);
    QFETCH(const bool, isLost);
    QVERIFY(WriteFile(Path(u"other.xml"_s), "<Settings/>"));
    QVERIFY(WriteFile(Path(u"malformed.xml"_s), "<Settings>"));
    QVERIFY(QDir().mkdir(Path(u"folder"_s)));

    const LogGuard log;
    Settings settings(Path(u"s.xml"_s), u"Settings"_s);
    settings.WriteInt(u"A"_s, u"B"_s, 1); // saved at once
    change(settings); // too soon for the next save
    QCOMPARE(LogGuard::Messages(), QStringList());
    if (opens)
        settings.OpenFile(Path(target), u"Settings"_s);
    else
        settings.SetFile(Path(target), u"Settings"_s);
    QCOMPARE(LogGuard::Messages().filter(u"changes to the settings in "_s + Path(u"s.xml"_s)).size(),
             isLost ? 1 : 0);
}

void tst_Settings::UnreadableFile_isLeftAlone_data()
{
    QTest::addColumn<QByteArray>("content");

    QTest::newRow("empty") << QByteArray("");
    QTest::newRow("not XML") << QByteArray("Width=1\n");
    QTest::newRow("truncated") << QByteArray("<Settings><Panel Width='1'/>");
    QTest::newRow("two roots") << QByteArray("<A/><B/>");
    QTest::newRow("zeros") << QByteArray(512, '\0');
}

void tst_Settings::UnreadableFile_isLeftAlone()
{
    QFETCH(const QByteArray, content);
    QVERIFY(WriteFile(Path(u"s.xml"_s), content));
    LogGuard log;
    {
        Settings settings(Path(u"s.xml"_s), u"Settings"_s);

        QVERIFY(settings.IsEmpty());
        QVERIFY(settings.GetCurrentNode().isNull());
        QCOMPARE(settings.ReadInt(u"/Panel"_s, u"Width"_s, 7), 7);
        settings.Save();
        settings.AutoSave();
        settings.SaveInternal(); // nothing to save
        QCOMPARE(ReadFile(Path(u"s.xml"_s)), content);
    }
    QCOMPARE(ReadFile(Path(u"s.xml"_s)), content);
    // One line gives the reason why the file does not load, another reports that there is nothing to save.
    QCOMPARE(LogGuard::Messages().size(), 2);
    QCOMPARE(LogGuard::Messages().filter(Path(u"s.xml"_s) + u" does not load: line "_s).size(), 1);
    QCOMPARE(LogGuard::Messages().constLast(),
             Path(u"s.xml"_s) + u" is not saved: the document has no root element"_s);
}

void tst_Settings::UnreadableFile_relativeWrites()
{
    QVERIFY(WriteFile(Path(u"s.xml"_s), "damaged"));
    Settings settings(Path(u"s.xml"_s), u"Settings"_s);

    // No root was created, and each write restores the null cursor.
    settings.WriteInt(u"Panel/Main"_s, u"Width"_s, 1);
    QVERIFY(settings.GetCurrentNode().isNull());
    QCOMPARE(ReadFile(Path(u"s.xml"_s)),
             QByteArray("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                        "<Panel>\n    <Main Width=\"1\"/>\n</Panel>\n"));
    QCOMPARE(settings.SaveAsXmlString(), u"<Panel>\n <Main Width=\"1\"/>\n</Panel>\n"_s); // no declaration

    settings.WriteInt(u"Panel/Main"_s, u"Width"_s, 2);
    settings.WriteString(u"Other"_s, u"Name"_s, u"x"_s);
    settings.WriteBoolean(u"Panel"_s, u"Open"_s, true);
    QCOMPARE(TopLevelElements(settings), QStringList({u"Panel"_s, u"Panel"_s, u"Other"_s, u"Panel"_s}));
    settings.Save();
    QCOMPARE(ReadFile(Path(u"s.xml"_s)),
             QByteArray("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                        "<Panel>\n    <Main Width=\"1\"/>\n</Panel>\n"
                        "<Panel>\n    <Main Width=\"2\"/>\n</Panel>\n"
                        "<Other Name=\"x\"/>\n"
                        "<Panel Open=\"True\"/>\n"));
}

void tst_Settings::UnreadableFile_absoluteWrites_data()
{
    QTest::addColumn<QStringList>("paths");
    QTest::addColumn<QByteArray>("expected");

    QTest::newRow("all absolute") << QStringList({u"/Settings/Panel"_s, u"/Settings/Other"_s, u"/Panel"_s})
                                  << SettingsXml("    <Panel V=\"2\"/>\n    <Other V=\"1\"/>\n");
    QTest::newRow("relative first") << QStringList({u"Settings/Panel"_s, u"/Panel"_s, u"/Settings"_s})
                                    << QByteArray("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                                                  "<Settings V=\"2\">\n    <Panel V=\"1\"/>\n</Settings>\n");
    QTest::newRow("absolute, then relative") << QStringList({u"/Settings"_s, u"Settings"_s})
                                             << QByteArray("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                                                           "<Settings V=\"0\"/>\n<Settings V=\"1\"/>\n");
    QTest::newRow("relative twice, then absolute")
        << QStringList({u"A"_s, u"B"_s, u"/C"_s})
        << QByteArray("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                      "<A V=\"0\">\n    <C V=\"2\"/>\n</A>\n<B V=\"1\"/>\n");
}

void tst_Settings::UnreadableFile_absoluteWrites()
{
    QFETCH(const QStringList, paths);
    QFETCH(const QByteArray, expected);
    QVERIFY(WriteFile(Path(u"s.xml"_s), "damaged"));
    {
        Settings settings(Path(u"s.xml"_s), u"Ignored"_s);
        for (int i = 0; i < paths.size(); ++i)
            settings.WriteInt(paths.at(i), u"V"_s, i);
    }
    QCOMPARE(ReadFile(Path(u"s.xml"_s)), expected);
}

void tst_Settings::UnreadableFile_blankPath()
{
    QVERIFY(WriteFile(Path(u"s.xml"_s), "damaged"));
    {
        Settings settings(Path(u"s.xml"_s), u"Settings"_s);
        settings.WriteInt(QString(), u"V"_s, 1); // leads nowhere
        settings.Save();
        QVERIFY(settings.IsEmpty());
    }
    QCOMPARE(ReadFile(Path(u"s.xml"_s)), QByteArray("damaged"));
}

void tst_Settings::UnreadableFile_severalRootsDoNotLoadAgain()
{
    QVERIFY(WriteFile(Path(u"s.xml"_s), "damaged"));
    {
        Settings settings(Path(u"s.xml"_s), u"Settings"_s);
        settings.WriteInt(u"A"_s, u"V"_s, 1);
        settings.WriteInt(u"A"_s, u"V"_s, 2);
    }
    Settings settings(Path(u"s.xml"_s), u"Settings"_s);
    QVERIFY(settings.IsEmpty());
}

// Other operations

void tst_Settings::RelativePathsStartAtTheRoot_data()
{
    QTest::addColumn<bool>("exists");

    QTest::newRow("new file") << false;
    QTest::newRow("loaded file") << true;
}

void tst_Settings::RelativePathsStartAtTheRoot()
{
    QFETCH(const bool, exists);
    if (exists)
        QVERIFY(WriteFile(Path(u"s.xml"_s), "<Settings/>"));

    Settings settings(Path(u"s.xml"_s), u"Settings"_s);
    settings.WriteInt(u"Panel/Main"_s, u"Width"_s, 1);

    QCOMPARE(ReadFile(Path(u"s.xml"_s)),
             SettingsXml("    <Panel>\n        <Main Width=\"1\"/>\n    </Panel>\n"));
}

void tst_Settings::TwoStores_theLastSaveWins()
{
    Settings one(Path(u"s.xml"_s), u"Settings"_s);
    Settings two(Path(u"s.xml"_s), u"Settings"_s);
    one.WriteInt(u"One"_s, u"V"_s, 1);
    two.WriteInt(u"Two"_s, u"V"_s, 2);
    QCOMPARE(ReadFile(Path(u"s.xml"_s)), SettingsXml("    <Two V=\"2\"/>\n"));

    one.SaveInternal();
    QCOMPARE(ReadFile(Path(u"s.xml"_s)), SettingsXml("    <One V=\"1\"/>\n"));
}

void tst_Settings::RoundTrip()
{
    const QDateTime time = UtcTime(u"2026-03-04T05:06:07Z"_s);
    {
        Settings settings(Path(u"s.xml"_s), u"Settings"_s);
        settings.WriteInt(u"Panel/Main"_s, u"Width"_s, 640);
        settings.WriteBoolean(u"Panel/Main"_s, u"Open"_s, true);
        settings.WriteString(u"Panel"_s, u"Title"_s, u"Ärger & <Ende>"_s);
        settings.WriteDate(u"Panel"_s, u"Used"_s, time);
        settings.WriteNodeText(u"Notes"_s, u"two\nlines"_s);
        settings.WriteInt(u"Gone"_s, u"V"_s, 1);
        settings.DeleteNode(u"Gone"_s);
    }
    Settings settings(Path(u"s.xml"_s), u"Unused"_s);
    QCOMPARE(settings.GetCurrentNodePath(), u"/Settings"_s);
    QCOMPARE(settings.ReadInt(u"Panel/Main"_s, u"Width"_s, 0), 640);
    QCOMPARE(settings.ReadBoolean(u"Panel/Main"_s, u"Open"_s, false), true);
    QCOMPARE(settings.ReadString(u"Panel"_s, u"Title"_s, QString()), u"Ärger & <Ende>"_s);
    QCOMPARE(settings.ReadDate(u"Panel"_s, u"Used"_s, QDateTime()), time);
    QCOMPARE(settings.ReadNodeText(u"Notes"_s), u"two\nlines"_s);
    QVERIFY(!settings.MoveToNode(u"Gone"_s));
}

QTEST_GUILESS_MAIN(tst_Settings)
#include "tst_Settings.moc"
