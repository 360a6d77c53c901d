// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

// Tests the example application. Its window runs in this process and is driven with mouse and keyboard. Tests
// of several processes start the program. No test compares pictures.

#include "FormDialog.h"
#include "MainWindow.h"
#include "Places.h"
#include "PointDelegate.h"
#include "SingleInstance.h"
#include "Tour.h"
#include "TourView.h"
#include "UserSettings.h"
#include "WaypostSupport.h"
#include "WindowGrid.h"
#include "support/TestSupport.h"

#include <QClipboard>
#include <QComboBox>
#include <QDateEdit>
#include <QDialogButtonBox>
#include <QFileDialog>
#include <QHeaderView>
#include <QLabel>
#include <QLibraryInfo>
#include <QLineEdit>
#include <QLocalServer>
#include <QLocalSocket>
#include <QLockFile>
#include <QMenu>
#include <QMenuBar>
#include <QProcess>
#include <QPushButton>
#include <QScopeGuard>
#include <QScrollBar>
#include <QSemaphore>
#include <QSignalSpy>
#include <QSpinBox>
#include <QStatusBar>
#include <QStyleOptionViewItem>
#include <QTableWidget>
#include <QTemporaryDir>
#include <QTextBrowser>
#include <QThread>
#include <QTimer>
#include <QtTest>

#include <algorithm>
#include <atomic>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

#include <fcntl.h>
#include <sys/stat.h>

using namespace Qt::StringLiterals;
using namespace WaypostSupport;
using Quorvin::Util::Settings;

namespace {

Tour MakeTour()
{
    Tour tour;
    tour.Name = u"Über <viele> \"Berge\" & tr(Täler)"_s;
    tour.Date = QDateTime(QDate(2026, 7, 5), QTime(8, 30), Qt::UTC).toLocalTime();
    tour.Kind = TourKind::Ski;
    tour.Notes = u"Zwei\nZeilen"_s;
    tour.Points = {{u"Dorf"_s, PointKind::Start, 47.1, 11.25, 812.5},
                   {{}, PointKind::Track, 47.11, 11.26, 900},
                   {u"Gipfel"_s, PointKind::Summit, 47.125, -0.1234567891234, 2000}};
    tour.Section = QRect(-200, -50, 3000, 2000);
    tour.Thumbnail = QByteArray("\x89PNG\0\xff", 6);
    return tour;
}

} // namespace

class tst_Waypost : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void Tour_isReadBackFromItsFile();
    void Tour_cannotBeLoaded_data();
    void Tour_cannotBeLoaded();
    void Tour_dropsWhatXmlForbids_data();
    void Tour_dropsWhatXmlForbids();
    void Tour_ofANewerVersionKeepsItsWaypoints();
    void Tour_exportsGpx();

    void Window_isBuiltFromItsDocument();
    void Language_data();
    void Language();
    void Language_isKept();
    void Language_selectedOnceIsNotKept();
    void Language_ofOpenDialogs();
    void Language_ofQtTexts();
    void Menus_haveDistinctMnemonics_data();
    void Menus_haveDistinctMnemonics();
    void Tables_showTheirTextsInFull_data();
    void Tables_showTheirTextsInFull();
    void Conditions();
    void EditingIsUndoneAndSaved();
    void EditStaysInItsTour();
    void OpenEditorIsSaved_data();
    void OpenEditorIsSaved();
    void OpenEditorKeepsHeights();
    void UndoKeepsTheMap();
    void DetailsKeepAMissingDate();
    void NewTourIsNamedInItsDialog();
    void Map_selectsByMouseAndKeys();
    void DamagedFileIsReported_data();
    void DamagedFileIsReported();
    void ClosingAsks_data();
    void ClosingAsks();
    void ClosingAsksAboutOneTour_data();
    void ClosingAsksAboutOneTour();
    void LongNamesAreShortened();
    void OpensInTheFolderOfTheTour();
    void ExportsTheChosenTour_data();
    void ExportsTheChosenTour();
    void SavingAsProposesAName_data();
    void SavingAsProposesAName();
    void SavingAsRefusesAnOpenFile();
    void SavingAChangedFileAsks_data();
    void SavingAChangedFileAsks();
    void NamesAreNotRichText();
    void RecentFiles();
    void LinkToAnOpenFile();
    void Help_data();
    void Help();

    void Settings_placeOfTheWindow();
    void Settings_damaged();
    void Settings_unreadable();
    void Settings_twoWindowsKeepBothChanges();
    void Settings_pathThatXmlForbids();
    void Settings_failedChangeIsReported_data();
    void Settings_failedChangeIsReported();

    void Program_help();
    void Program_picture_data();
    void Program_picture();
    void Program_handsItsFilesOver();
    void Program_handsOverNamesThatXmlForbids();
    void HandOver_keepsEveryPath();
    void Program_listensBeforeItsWindow();
    void Program_handsOverOnceToABusyInstance();
    void HandOver_withoutAnId();
    void Program_startsWithoutALock();
    void Program_manyStartsAtOnce();
    void Program_killedFirstBlocksNobody();
    void Grid_findsAndLosesWindows();
    void Grid_joinsWhenItsRegistryIsUnlocked();
    void Grid_keepsWindowsWhileItsRegistryIsLocked();
    void Grid_looksLessOftenWhileItsRegistryIsLocked_data();
    void Grid_looksLessOftenWhileItsRegistryIsLocked();
    void Grid_sendsTours();
    void Grid_sendsTheTextOfAnOpenEditor();
    void Grid_ignoresATourSentAgain_data();
    void Grid_ignoresATourSentAgain();
    void Grid_sendsOnceWhileConnected();
    void Grid_takesAnAnswerDuringAnotherWait();
    void Grid_answersATitleThatXmlForbids();

private:
    std::unique_ptr<Home> mHome;
};

void tst_Waypost::init()
{
    qputenv("LC_ALL", "en_GB.UTF-8");
    mHome = std::make_unique<Home>();
}

void tst_Waypost::cleanup()
{
    const QString grid = Places::ProcessName();
    mHome.reset();
    QCOMPARE(FindTraces(grid), QStringList());
}

// Tours

void tst_Waypost::Tour_isReadBackFromItsFile()
{
    const Tour tour = MakeTour();
    const QString file = mHome->File(u"t.tour"_s);
    QVERIFY(tour.Save(file));
    TourError error;
    const std::optional<Tour> read = Tour::Load(file, error);
    QVERIFY(read.has_value());
    QCOMPARE(read->Name, tour.Name);
    QCOMPARE(read->Date, tour.Date);
    QCOMPARE(read->Section, tour.Section);
    QCOMPARE(read->Thumbnail, tour.Thumbnail);
    QVERIFY(*read == tour);
    QVERIFY(Tour::FromXml(tour.ToXml()) == tour);
    QVERIFY(ReadFile(file).contains("Kind=\"Ski\""));
}

void tst_Waypost::Tour_cannotBeLoaded_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<int>("reason");
    QTest::addColumn<int>("line");

    QTest::newRow("tags do not match")
        << QByteArray("<Tour>\n <Points>\n </Tour>") << int(TourError::Reason::Damaged) << 3;
    QTest::newRow("truncated") << QByteArray("<Tour>\n <Points>\n") << int(TourError::Reason::Damaged) << 3;
    QTest::newRow("empty") << QByteArray("") << int(TourError::Reason::Damaged) << 1;
    QTest::newRow("another document") << QByteArray("<Settings/>") << int(TourError::Reason::NotATour) << 0;
}

void tst_Waypost::Tour_cannotBeLoaded()
{
    QFETCH(const QByteArray, content);
    QFETCH(const int, reason);
    QFETCH(const int, line);

    const QString file = mHome->File(u"t.tour"_s);
    TourError error;
    QVERIFY(!Tour::Load(file, error).has_value());
    QCOMPARE(int(error.Why), int(TourError::Reason::Unreadable));
    WriteFile(file, content);
    QVERIFY(!Tour::Load(file, error).has_value());
    QCOMPARE(int(error.Why), reason);
    QCOMPARE(error.Line, line);
}

void tst_Waypost::Tour_dropsWhatXmlForbids_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("expected");

    QTest::newRow("vertical tab") << u"one\u000btwo"_s << u"onetwo"_s;
    QTest::newRow("form feed") << u"one\u000ctwo"_s << u"onetwo"_s;
    QTest::newRow("lowest control character") << QString(u'a') + QChar(1) + u'b' << u"ab"_s;
    QTest::newRow("not a character") << QString(u'a') + QChar(0xfffe) + u'b' << u"ab"_s;
    QTest::newRow("unpaired surrogate") << QString(u'a') + QChar(0xd83d) + u'b' << u"ab"_s;
    QTest::newRow("surrogate pair") << u"a\U0001F600b"_s << u"a\U0001F600b"_s;
    QTest::newRow("tab and line feed") << u"a\tb\nc"_s << u"a\tb\nc"_s;
}

void tst_Waypost::Tour_dropsWhatXmlForbids()
{
    QFETCH(const QString, text);
    QFETCH(const QString, expected);

    Tour tour = MakeTour();
    tour.Notes = text;
    tour.Name = tour.Points[0].Name = text.simplified() + text;
    const QString file = mHome->File(u"t.tour"_s);
    QVERIFY(tour.Save(file));
    TourError error;
    const std::optional<Tour> read = Tour::Load(file, error);
    QVERIFY2(read.has_value(), qPrintable(error.Text));
    QCOMPARE(read->Notes, expected);
    QVERIFY(Tour::FromXml(tour.ToXml()).has_value());
}

void tst_Waypost::Tour_ofANewerVersionKeepsItsWaypoints()
{
    const std::optional<Tour> tour
        = Tour::FromXml(u"<Tour><Points><Point Name='Bivouac' Kind='Tent'/><Point Kind='Tent'/>"
                        "</Points></Tour>"_s);
    QVERIFY(tour.has_value());
    QCOMPARE(int(tour->Points.at(0).Kind), int(PointKind::View));
    QCOMPARE(int(tour->Points.at(1).Kind), int(PointKind::Track));
}

void tst_Waypost::Tour_exportsGpx()
{
    const QString file = mHome->File(u"t.gpx"_s);
    QVERIFY(MakeTour().ExportGpx(file));
    const QByteArray gpx = ReadFile(file);
    QCOMPARE(gpx.count("<wpt "), 2);
    QCOMPARE(gpx.count("<trkpt "), 3);
    QVERIFY(gpx.contains("<ele>812.5</ele>"));
    QVERIFY(!MakeTour().ExportGpx(mHome->File(u"nowhere/t.gpx"_s)));
}

// The window

void tst_Waypost::Window_isBuiltFromItsDocument()
{
    const Shown shown;
    QVERIFY(shown.Window.IsComplete());
    QStringList menus;
    for (const QAction* action : shown.Window.menuBar()->actions())
        menus.append(action->text());
    QCOMPARE(menus, QStringList({u"&File"_s, u"&Edit"_s, u"&View"_s, u"&Window"_s, u"&Help"_s}));
    QCOMPARE(shown.Action(u"Save"_s)->shortcut(), QKeySequence(u"Ctrl+S"_s));
    QCOMPARE(shown.Tours()->columnCount(), 4);
    QCOMPARE(shown.Tours()->horizontalHeaderItem(2)->text(), u"Length"_s);
    QCOMPARE(shown.Tours()->accessibleName(), u"Tours"_s);
    QCOMPARE(shown.Window.findChild<QLabel*>(u"labelEmpty"_s)->text(),
             u"No tours yet. Create one with File > New tour."_s);
    QCOMPARE(shown.Window.windowTitle(), u"Waypost - untitled[*]"_s);
}

void tst_Waypost::Language_data()
{
    QTest::addColumn<int>("downs");
    QTest::addColumn<QString>("file");
    QTest::addColumn<QString>("length");
    QTest::addColumn<QString>("count");

    QTest::newRow("English") << 1 << u"&File"_s << u"Length"_s << u"0 tours, 0.0\u00a0km in all"_s;
    QTest::newRow("German") << 2 << u"&Datei"_s << u"Länge"_s << u"0 Touren, insgesamt 0,0\u00a0km"_s;
    QTest::newRow("Japanese") << 3 << u"ファイル(&F)"_s << u"距離"_s << u"ツアー0件、合計0.0\u00a0km"_s;
}

void tst_Waypost::Language()
{
    QFETCH(const int, downs);
    QFETCH(const QString, file);
    QFETCH(const QString, length);
    QFETCH(const QString, count);

    Shown shown;
    QVERIFY(shown.IsActive);
    QTest::keyClick(&shown.Window, Qt::Key_Comma, Qt::ControlModifier); // opens the preferences
    auto* dialog = shown.Window.findChild<FormDialog*>(u"Preferences"_s);
    QVERIFY(dialog != nullptr);
    QVERIFY(QTest::qWaitForWindowActive(dialog, kLongMs));
    auto* choice = dialog->findChild<QComboBox*>(u"Language"_s);
    QCOMPARE(choice->currentIndex(), 0); // the system's language
    choice->setFocus();
    for (int i = 0; i < downs; ++i)
        QTest::keyClick(choice, Qt::Key_Down);
    QTest::mouseClick(dialog->findChild<QPushButton*>(u"buttonOk"_s), Qt::LeftButton);

    EVENTUALLY_EQUAL(shown.Window.menuBar()->actions().constFirst()->text(), file);
    QCOMPARE(shown.Tours()->horizontalHeaderItem(2)->text(), length);
    QCOMPARE(shown.Window.findChild<QLabel*>(u"labelCount"_s)->text(), count);
    QCOMPARE(shown.Action(u"Save"_s)->shortcut(), QKeySequence(u"Ctrl+S"_s));
    QCOMPARE(shown.Window.findChildren<QAction*>(u"actionSave"_s).size(), 1); // nothing was created twice
}

void tst_Waypost::Language_isKept()
{
    {
        Shown shown;
        shown.Window.findChild<QAction*>(u"actionLanguageja"_s)->trigger();
        EVENTUALLY_EQUAL(shown.Window.CurrentLanguage().Code(), u"ja"_s);
    }
    const Shown again;
    QCOMPARE(again.Window.CurrentLanguage().Code(), u"ja"_s);
    QCOMPARE(again.Action(u"Quit"_s)->text(), u"終了(&Q)"_s);
}

void tst_Waypost::Language_selectedOnceIsNotKept()
{
    Shown shown;
    shown.Window.SelectLanguageOnce(u"de"_s);
    shown.Action(u"Grid"_s)->trigger(); // writes the preferences
    QCOMPARE(shown.Action(u"Quit"_s)->text(), u"&Beenden"_s);
    UserSettings settings(Places::UserFolder());
    QCOMPARE(settings.ReadPreferences().LanguageCode, QString());
    QCOMPARE(settings.ReadPreferences().Grid, false);
}

void tst_Waypost::Language_ofOpenDialogs()
{
    Shown shown;
    QTest::keyClick(&shown.Window, Qt::Key_F1);
    const auto* help = shown.Window.findChild<QTextBrowser*>(u"help"_s);
    FormDialog* english = shown.Window.ShowPreferences();
    auto* choice = english->findChild<QComboBox*>(u"Language"_s);
    choice->setCurrentIndex(choice->findData(u"de"_s));
    QTest::mouseClick(english->findChild<QPushButton*>(u"buttonApply"_s), Qt::LeftButton);
    EVENTUALLY_EQUAL(shown.Window.findChildren<FormDialog*>(u"Preferences"_s).size(), 1);
    const auto* german = shown.Window.findChild<FormDialog*>(u"Preferences"_s);
    QVERIFY(german->isVisible());
    QCOMPARE(german->windowTitle(), u"Einstellungen"_s);
    QCOMPARE(german->findChild<QPushButton*>(u"buttonCancel"_s)->text(), u"Abbrechen"_s);
    QCOMPARE(help->windowTitle(), u"Waypost-Hilfe"_s);

    shown.Window.OpenFiles({kData + u"/tours/ridge-walk.tour"_s});
    QString date;
    QTimer timer;
    connect(&timer, &QTimer::timeout, &shown.Window, [&] {
        if (auto* details = shown.Window.findChild<FormDialog*>(u"Details"_s)) {
            timer.stop();
            date = details->findChild<QDateEdit*>(u"Date"_s)->text();
            details->reject();
        }
    });
    timer.start(10);
    shown.Action(u"Details"_s)->trigger();
    QCOMPARE(date, u"14.06.2026"_s);
}

// Qt's own texts, such as the buttons of file dialogs, are in the chosen language too.
void tst_Waypost::Language_ofQtTexts()
{
    if (!QFile::exists(QLibraryInfo::path(QLibraryInfo::TranslationsPath) + u"/qtbase_ja.qm"_s))
        QSKIP("Qt's translations are not installed");
    Shown shown;
    shown.Window.SelectLanguageOnce(u"de"_s);
    QCOMPARE(QCoreApplication::translate("QPlatformTheme", "Cancel"), u"Abbrechen"_s);
    shown.Window.SelectLanguageOnce(u"ja"_s);
    QCOMPARE(QCoreApplication::translate("QPlatformTheme", "Cancel"), u"キャンセル"_s);
    shown.Window.SelectLanguageOnce(u"en"_s);
    QCOMPARE(QCoreApplication::translate("QPlatformTheme", "Cancel"), u"Cancel"_s);
}

void tst_Waypost::Menus_haveDistinctMnemonics_data()
{
    QTest::addColumn<QString>("code");

    QTest::newRow("English") << u"en"_s;
    QTest::newRow("German") << u"de"_s;
    QTest::newRow("Japanese") << u"ja"_s;
}

void tst_Waypost::Menus_haveDistinctMnemonics()
{
    QFETCH(const QString, code);

    Shown shown;
    shown.Window.SelectLanguageOnce(code);
    shown.Window.OpenFiles({mHome->CopyTour(u"ridge-walk"_s)});
    shown.Action(u"AddPoint"_s)->trigger(); // a change to undo
    QList<QWidget*> menus{shown.Window.menuBar()};
    for (const QString& name : {u"File"_s, u"Edit"_s, u"View"_s, u"Window"_s, u"Help"_s})
        menus.append(shown.Window.findChild<QMenu*>(u"menu"_s + name));
    for (const QWidget* menu : std::as_const(menus)) {
        QStringList mnemonics;
        const QList<QAction*> actions = menu->actions();
        for (const QAction* action : actions) {
            const QString mnemonic = QKeySequence::mnemonic(action->text()).toString();
            if (action->isEnabled() && !action->isSeparator()) {
                QVERIFY2(!mnemonic.isEmpty() && !mnemonics.contains(mnemonic), qPrintable(action->text()));
                mnemonics.append(mnemonic);
            }
        }
    }
}

void tst_Waypost::Tables_showTheirTextsInFull_data()
{
    QTest::addColumn<QString>("code");
    QTest::addColumn<int>("pointSize");

    QTest::newRow("English") << u"en"_s << 9;
    QTest::newRow("German") << u"de"_s << 9;
    QTest::newRow("Japanese") << u"ja"_s << 9;
    QTest::newRow("English, large font") << u"en"_s << 17;
    QTest::newRow("German, large font") << u"de"_s << 17;
}

void tst_Waypost::Tables_showTheirTextsInFull()
{
    QFETCH(const QString, code);
    QFETCH(const int, pointSize);

    const QFont before = QApplication::font();
    const auto restore = qScopeGuard([&before] { QApplication::setFont(before); });
    QFont font = before;
    font.setPointSize(pointSize);
    QApplication::setFont(font);
    Shown shown;
    shown.Window.SelectLanguageOnce(code);
    shown.Window.OpenFiles({kData + u"/tours/north-face.tour"_s, kData + u"/tours/ridge-walk.tour"_s});
    for (QTableWidget* table : {shown.Tours(), shown.Points()}) {
        for (int column = 0; column < table->columnCount(); ++column) {
            QVERIFY2(table->columnWidth(column) >= table->fontMetrics().horizontalAdvance(
                         table->horizontalHeaderItem(column)->text()),
                     qPrintable(table->horizontalHeaderItem(column)->text()));
            for (int row = 0; row < table->rowCount(); ++row) {
                const QModelIndex index = table->model()->index(row, column);
                QStyleOptionViewItem option;
                option.initFrom(table);
                option.decorationSize = table->iconSize();
                QVERIFY2(table->itemDelegate()->sizeHint(option, index).width() <= table->columnWidth(column),
                         qPrintable(index.data().toString()));
            }
        }
        QVERIFY(!table->horizontalScrollBar()->isVisible());
    }
}

void tst_Waypost::Conditions()
{
    Shown shown;
    const auto enabled = [&shown] {
        QStringList names;
        for (const QString& name :
             {u"Save"_s, u"SaveAs"_s, u"Export"_s, u"Close"_s, u"Undo"_s, u"Delete"_s}) {
            if (shown.Action(name)->isEnabled())
                names.append(name);
        }
        return names.join(u' ');
    };
    QCOMPARE(enabled(), QString());
    QVERIFY(shown.Action(u"Open"_s)->isEnabled()); // has no condition
    shown.Window.OpenFiles({mHome->CopyTour(u"ridge-walk"_s)});
    QCOMPARE(enabled(), u"SaveAs Export Close"_s);
    shown.ClickCell(shown.Points(), 1, 0);
    QCOMPARE(enabled(), u"SaveAs Export Close Delete"_s);
    QTest::keyClick(shown.Points(), Qt::Key_Delete);
    EVENTUALLY_EQUAL(enabled(), u"Save SaveAs Export Close Undo"_s);
    QCOMPARE(shown.Action(u"Undo"_s)->text(), u"&Undo delete waypoint"_s);
}

void tst_Waypost::EditingIsUndoneAndSaved()
{
    const QString file = mHome->CopyTour(u"ridge-walk"_s);
    Shown shown;
    QVERIFY(shown.IsActive);
    shown.Window.OpenFiles({file});
    const QString before = shown.Points()->item(0, 0)->text();
    QVERIFY(!shown.Window.isWindowModified());

    const QPoint cell = shown.Points()->visualItemRect(shown.Points()->item(0, 0)).center();
    QTest::mouseClick(shown.Points()->viewport(), Qt::LeftButton, {}, cell);
    QTest::mouseDClick(shown.Points()->viewport(), Qt::LeftButton, {}, cell);
    auto* editor = shown.Points()->findChild<QLineEdit*>();
    QVERIFY(editor != nullptr);
    editor->selectAll();
    QTest::keyClicks(editor, u"Old mill"_s);
    QTest::keyClick(editor, Qt::Key_Return);
    EVENTUALLY_EQUAL(shown.Points()->item(0, 0)->text(), u"Old mill"_s);
    QVERIFY(shown.Window.isWindowModified());

    QTest::keyClick(&shown.Window, Qt::Key_Z, Qt::ControlModifier);
    EVENTUALLY_EQUAL(shown.Points()->item(0, 0)->text(), before);
    QVERIFY(!shown.Window.isWindowModified());
    QTest::keyClick(&shown.Window, Qt::Key_Z, Qt::ControlModifier | Qt::ShiftModifier);
    EVENTUALLY_EQUAL(shown.Points()->item(0, 0)->text(), u"Old mill"_s);

    QTest::keyClick(&shown.Window, Qt::Key_S, Qt::ControlModifier);
    EVENTUALLY(!shown.Window.isWindowModified());
    TourError error;
    const std::optional<Tour> saved = Tour::Load(file, error);
    QVERIFY(saved.has_value());
    QCOMPARE(saved->Points.constFirst().Name, u"Old mill"_s);
    QVERIFY(QImage::fromData(saved->Thumbnail).width() > 0);
}

// Opens the editor of the first waypoint's name, and types into it.
QLineEdit* TypeName(const Shown& shown, const QString& name)
{
    shown.ClickCell(shown.Points(), 0, 0);
    shown.Points()->editItem(shown.Points()->item(0, 0));
    auto* editor = shown.Points()->findChild<QLineEdit*>();
    if (editor != nullptr) {
        editor->selectAll();
        QTest::keyClicks(editor, name);
    }
    return editor;
}

void tst_Waypost::EditStaysInItsTour()
{
    Shown shown;
    QVERIFY(shown.IsActive);
    shown.Window.OpenFiles({mHome->CopyTour(u"ridge-walk"_s), mHome->CopyTour(u"north-face"_s)});
    const Tour other = shown.Window.Tours().At(1).Content;
    shown.ClickCell(shown.Tours(), 0, 0);
    QCOMPARE(shown.Window.CurrentTour(), 0);
    QVERIFY(TypeName(shown, u"Old mill"_s) != nullptr);
    shown.ClickCell(shown.Tours(), 1, 0); // ends the editing
    EVENTUALLY_EQUAL(shown.Window.Tours().At(0).Content.Points.constFirst().Name, u"Old mill"_s);
    QCOMPARE(shown.Window.CurrentTour(), 1);
    QVERIFY(shown.Window.Tours().At(1).Content == other);
    QVERIFY(!shown.Window.Tours().IsModified(1));
}

void tst_Waypost::OpenEditorIsSaved_data()
{
    QTest::addColumn<QString>("by");

    QTest::newRow("shortcut") << u"shortcut"_s;
    QTest::newRow("toolbar") << u"toolbar"_s;
    QTest::newRow("closing the window") << u"window"_s;
    QTest::newRow("tour arrives") << u"tour"_s;
    QTest::newRow("switch") << u"switch"_s;
    QTest::newRow("file opened") << u"file"_s;
    QTest::newRow("recent file") << u"recent"_s;
    QTest::newRow("language") << u"language"_s;
}

void tst_Waypost::OpenEditorIsSaved()
{
    QFETCH(const QString, by);

    const QString file = mHome->CopyTour(u"ridge-walk"_s);
    Shown shown(Places::ProcessName());
    QVERIFY(shown.IsActive);
    shown.Window.OpenFiles({file});
    QLineEdit* editor = TypeName(shown, u"Old mill"_s);
    QVERIFY(editor != nullptr);
    if (by == "shortcut"_L1) {
        QTest::keyClick(editor, Qt::Key_S, Qt::ControlModifier);
    } else if (by == "toolbar"_L1) {
        shown.Action(u"Save"_s)->trigger();
    } else if (by == "window"_L1) {
        AnswerQuestion(shown.Window, u"buttonSave"_s);
        QVERIFY(shown.Window.close());
    } else {
        if (by == "tour"_L1)
            Q_EMIT shown.Window.Grid()->TourReceived(MakeTour().ToXml());
        else if (by == "switch"_L1)
            shown.Action(u"Grid"_s)->trigger();
        else if (by == "file"_L1)
            shown.Window.OpenFiles({mHome->CopyTour(u"north-face"_s)});
        else if (by == "recent"_L1)
            shown.Window.findChild<QMenu*>(u"menuRecent"_s)->actions().constFirst()->trigger();
        else
            shown.Action(u"Languagede"_s)->trigger();
        EVENTUALLY_EQUAL(shown.Window.Tours().At(0).Content.Points.constFirst().Name, u"Old mill"_s);
        QCOMPARE(shown.Window.Tours().At(0).Changes.count(), 1);
        shown.Window.SelectTour(0);
        shown.Action(u"Save"_s)->trigger();
    }
    QVERIFY(ReadFile(file).contains("Old mill"));
    QVERIFY(!shown.Window.Tours().IsModified(0));
}

// The editor shows the height in whole metres.
void tst_Waypost::OpenEditorKeepsHeights()
{
    const QString file = mHome->File(u"heights.tour"_s);
    WriteFile(file, MakeTour().ToXml().toUtf8());
    Shown shown;
    QVERIFY(shown.IsActive);
    shown.Window.OpenFiles({file});
    shown.ClickCell(shown.Points(), 0, PointDelegate::Elevation);
    shown.Points()->editItem(shown.Points()->item(0, PointDelegate::Elevation));
    auto* editor = shown.Points()->findChild<QSpinBox*>();
    QVERIFY(editor != nullptr);
    QCOMPARE(editor->value(), 813);
    QTest::keyClick(editor, Qt::Key_Return);
    EVENTUALLY(shown.Points()->findChild<QSpinBox*>() == nullptr);
    QCOMPARE(shown.Window.Tours().At(0).Content.Points.constFirst().Elevation, 812.5);
    QVERIFY(!shown.Window.Tours().IsModified(0));
}

void tst_Waypost::UndoKeepsTheMap()
{
    Shown shown;
    shown.Window.OpenFiles({mHome->CopyTour(u"ridge-walk"_s)});
    shown.Action(u"AddPoint"_s)->trigger();
    shown.Action(u"ZoomIn"_s)->trigger();
    const QRect section = shown.Window.Tours().At(0).Content.Section;
    QVERIFY(!section.isNull());
    shown.Action(u"Undo"_s)->trigger();
    QCOMPARE(shown.Window.Tours().At(0).Content.Section, section);
}

void tst_Waypost::DetailsKeepAMissingDate()
{
    Shown shown;
    const QString file = mHome->File(u"t.tour"_s);
    WriteFile(file, "<Tour Name=\"Undated\"/>");
    shown.Window.OpenFiles({file});
    WithDialog<FormDialog>(shown.Window, u"Details"_s, [](FormDialog& dialog) {
        dialog.SetValue(u"Name"_s, u"Renamed"_s);
        dialog.accept();
    });
    shown.Action(u"Details"_s)->trigger();
    QCOMPARE(shown.Window.Tours().At(0).Content.Name, u"Renamed"_s);
    QVERIFY(!shown.Window.Tours().At(0).Content.Date.isValid());
}

void tst_Waypost::NewTourIsNamedInItsDialog()
{
    Shown shown;
    QTimer timer;
    connect(&timer, &QTimer::timeout, &shown.Window, [&] {
        auto* dialog = shown.Window.findChild<FormDialog*>(u"Details"_s);
        if (dialog == nullptr)
            return;
        timer.stop();
        auto* name = dialog->findChild<QLineEdit*>(u"Name"_s);
        name->selectAll();
        QTest::keyClicks(name, u"Through the valley"_s);
        QTest::mouseClick(dialog->findChild<QPushButton*>(u"buttonOk"_s), Qt::LeftButton);
    });
    timer.start(10);
    QTest::keyClick(&shown.Window, Qt::Key_N, Qt::ControlModifier);
    EVENTUALLY_EQUAL(shown.Window.Tours().Count(), 1);
    EVENTUALLY_EQUAL(shown.Window.Tours().At(0).Content.Name, u"Through the valley"_s);
    QCOMPARE(shown.Window.windowTitle(), u"Waypost - Through the valley[*]"_s);
    QVERIFY(shown.Window.isWindowModified());

    shown.Window.activateWindow(); // again, without the dialog
    QVERIFY(QTest::qWaitForWindowActive(&shown.Window, kLongMs));
    QTest::keyClick(&shown.Window, Qt::Key_Insert);
    EVENTUALLY_EQUAL(shown.Points()->rowCount(), 1);
}

void tst_Waypost::Map_selectsByMouseAndKeys()
{
    Shown shown;
    shown.Window.OpenFiles({mHome->CopyTour(u"ridge-walk"_s)});
    auto* view = shown.Window.findChild<TourView*>(u"tourView"_s);
    view->setFocus();
    QTest::keyClick(view, Qt::Key_Right);
    QCOMPARE(view->Selected(), 0);
    EVENTUALLY_EQUAL(shown.Points()->currentRow(), 0);
    QTest::keyClick(view, Qt::Key_Right);
    QVERIFY(view->Selected() > 0); // points of the track are skipped
    QCOMPARE(shown.Points()->currentRow(), 1);
    QTest::keyClick(view, Qt::Key_Left);
    QCOMPARE(view->Selected(), 0);

    QSignalSpy moved(view, &TourView::SectionChanged);
    QTest::keyClick(view, Qt::Key_Plus);
    QCOMPARE(moved.count(), 1);
    QVERIFY(!shown.Window.Tours().At(0).Content.Section.isNull());
    QTest::keyClick(view, Qt::Key_0);
    QVERIFY(shown.Window.Tours().At(0).Content.Section.isNull());
    QCOMPARE(view->accessibleName(), u"Ridge walk"_s);
}

void tst_Waypost::DamagedFileIsReported_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<QString>("expected");

    QTest::newRow("tags do not match")
        << QByteArray("<Tour>\n <Points>\n</Tour>") << u"%1 is damaged at line 3, column "_s;
    QTest::newRow("another document") << QByteArray("<Settings/>") << u"%1 does not contain a tour."_s;
}

void tst_Waypost::DamagedFileIsReported()
{
    QFETCH(const QByteArray, content);
    QFETCH(const QString, expected);

    const QString file = mHome->File(u"t%2.tour"_s); // the message has the placeholder "%2" for the line
    WriteFile(file, content);
    Shown shown;
    shown.Window.OpenFiles({file});
    const auto* dialog = shown.Window.findChild<FormDialog*>(u"Notice"_s);
    QVERIFY(dialog != nullptr);
    for (const QLabel* label : dialog->findChildren<QLabel*>())
        QVERIFY(label->height() >= label->heightForWidth(label->width())); // no line is cut off
    const QString notice = shown.TakeNotice();
    QVERIFY2(notice.startsWith(expected.arg(file)), qPrintable(notice));
    QCOMPARE(shown.Window.Tours().Count(), 0);
    QCOMPARE(shown.Store.RecentFiles(), QStringList());
    QCOMPARE(ReadFile(file), content);
}

void tst_Waypost::ClosingAsks_data()
{
    QTest::addColumn<QString>("button");
    QTest::addColumn<bool>("closes");
    QTest::addColumn<bool>("saves");

    QTest::newRow("save") << u"buttonSave"_s << true << true;
    QTest::newRow("discard") << u"buttonDiscard"_s << true << false;
    QTest::newRow("cancel") << u"buttonCancel"_s << false << false;
}

void tst_Waypost::ClosingAsks()
{
    QFETCH(const QString, button);
    QFETCH(const bool, closes);
    QFETCH(const bool, saves);

    const QString file = mHome->CopyTour(u"ridge-walk"_s);
    const QByteArray before = ReadFile(file);
    Shown shown;
    shown.Window.OpenFiles({file});
    shown.Action(u"AddPoint"_s)->trigger();
    QVERIFY(shown.Window.isWindowModified());
    AnswerQuestion(shown.Window, button);
    QCOMPARE(shown.Window.close(), closes);
    QCOMPARE(ReadFile(file) != before, saves);
}

// A tour that arrives during the question becomes the current one.
void tst_Waypost::ClosingAsksAboutOneTour_data()
{
    QTest::addColumn<QString>("button");
    QTest::addColumn<bool>("saves");

    QTest::newRow("discard") << u"buttonDiscard"_s << false;
    QTest::newRow("save") << u"buttonSave"_s << true;
}

void tst_Waypost::ClosingAsksAboutOneTour()
{
    QFETCH(const QString, button);
    QFETCH(const bool, saves);

    const QString file = mHome->CopyTour(u"ridge-walk"_s);
    const QByteArray before = ReadFile(file);
    Shown shown(Places::ProcessName());
    shown.Window.OpenFiles({file});
    shown.Action(u"AddPoint"_s)->trigger();
    WithDialog<FormDialog>(shown.Window, u"CloseTour"_s, [&](FormDialog& question) {
        Q_EMIT shown.Window.Grid()->TourReceived(MakeTour().ToXml());
        QTest::mouseClick(question.findChild<QPushButton*>(button), Qt::LeftButton);
    });
    shown.Action(u"Close"_s)->trigger();
    QCOMPARE(shown.Window.Tours().Count(), 1);
    QVERIFY(shown.Window.Tours().At(0).Content == MakeTour());
    QVERIFY(shown.Window.Tours().IsModified(0));
    QCOMPARE(shown.Window.CurrentTour(), 0);
    QCOMPARE(ReadFile(file) != before, saves);
}

// Types the name of a file into a file dialog, and presses its button.
void TypeFile(QFileDialog& dialog, const QString& file)
{
    auto* edit = dialog.findChild<QLineEdit*>(u"fileNameEdit"_s);
    QVERIFY(QTest::qWaitForWindowActive(&dialog, kLongMs));
    dialog.setDirectory(QFileInfo(file).path());
    edit->setFocus(); // otherwise the dialog also selects files that begin with the typed letters
    edit->selectAll();
    QTest::keyClicks(edit, QFileInfo(file).fileName());
    EVENTUALLY_EQUAL(dialog.selectedFiles(), QStringList(file)); // the dialog reads the folder meanwhile
    QTest::mouseClick(dialog.findChild<QDialogButtonBox*>()->button(QDialogButtonBox::Save), Qt::LeftButton);
    if (dialog.isVisible()) {
        dialog.reject(); // so that the test fails instead of waiting
        QFAIL("the file dialog has not accepted the name");
    }
}

void tst_Waypost::LongNamesAreShortened()
{
    const QString file = mHome->File(u"x"_s.repeated(200) + u".tour"_s);
    QVERIFY(MakeTour().Save(file));
    Shown shown;
    shown.Window.OpenFiles({file});
    const auto* menu = shown.Window.findChild<QMenu*>(u"menuRecent"_s);
    QVERIFY(menu->sizeHint().width() < shown.Window.width());
    QCOMPARE(menu->actions().constFirst()->toolTip(), file);
    shown.Action(u"AddPoint"_s)->trigger();
    shown.Action(u"Save"_s)->trigger();
    const QString message = shown.Window.statusBar()->currentMessage();
    QVERIFY2(message.startsWith(u"Saved xxx"_s) && message.contains(u".tour at "_s), qPrintable(message));
    QVERIFY(shown.Window.statusBar()->fontMetrics().horizontalAdvance(message) < shown.Window.width() / 2);

    const QString damaged = mHome->File(u"y"_s.repeated(200) + u".tour"_s);
    WriteFile(damaged, "<Tour>");
    shown.Window.OpenFiles({damaged});
    const auto* label = shown.Window.findChild<FormDialog*>(u"Notice"_s)->findChild<QLabel*>();
    QVERIFY(label->minimumSizeHint().width() <= label->width()); // nothing is cut off
    QVERIFY(label->width() < shown.Window.width() / 2);
    QVERIFY(shown.TakeNotice().contains(damaged));
}

void tst_Waypost::OpensInTheFolderOfTheTour()
{
    QCoreApplication::setAttribute(Qt::AA_DontUseNativeDialogs);
    const QString file = mHome->CopyTour(u"lake-circuit"_s);
    QString folder;
    const auto open = [&folder](Shown& shown) {
        WithDialog<QFileDialog>(shown.Window, {}, [&folder](QFileDialog& dialog) {
            folder = dialog.directory().path();
            dialog.reject();
        });
        QTest::keyClick(&shown.Window, Qt::Key_O, Qt::ControlModifier);
    };
    {
        Shown shown;
        QVERIFY(shown.IsActive);
        shown.Window.OpenFiles({file});
        open(shown);
        QCOMPARE(folder, QFileInfo(file).path());
    }
    folder.clear();
    Shown again; // has no tour, so the dialog opens in the folder of the last one
    QVERIFY(again.IsActive);
    open(again);
    QCOMPARE(folder, QFileInfo(file).path());
}

void tst_Waypost::ExportsTheChosenTour_data()
{
    QTest::addColumn<QString>("meanwhile");

    QTest::newRow("nothing else happens") << QString();
    QTest::newRow("another tour arrives while the dialog is open") << u"arrival"_s;
    QTest::newRow("the tour is closed while the dialog is open") << u"close"_s;
}

void tst_Waypost::ExportsTheChosenTour()
{
    QFETCH(const QString, meanwhile);

    QCoreApplication::setAttribute(Qt::AA_DontUseNativeDialogs);
    const QString file = mHome->File(u"exported.gpx"_s);
    Shown shown(Places::ProcessName());
    QVERIFY(shown.IsActive);
    shown.Window.OpenFiles({mHome->CopyTour(u"lake-circuit"_s), mHome->CopyTour(u"north-face"_s),
                            mHome->CopyTour(u"ridge-walk"_s)});
    shown.ClickCell(shown.Tours(), 0, 0);
    QTest::keyClick(&shown.Window, Qt::Key_W, Qt::ControlModifier); // the others get another index
    QCOMPARE(shown.Window.Tours().Count(), 2);
    shown.ClickCell(shown.Tours(), 1, 0);
    shown.ClickCell(shown.Tours(), 0, 0);

    QString proposed;
    WithDialog<QFileDialog>(shown.Window, {}, [&](QFileDialog& dialog) {
        if (meanwhile == "arrival"_L1)
            Q_EMIT shown.Window.Grid()->TourReceived(MakeTour().ToXml());
        else if (meanwhile == "close"_L1)
            shown.Action(u"Close"_s)->trigger();
        proposed = dialog.directory().filePath(dialog.findChild<QLineEdit*>(u"fileNameEdit"_s)->text());
        TypeFile(dialog, file);
    });
    shown.Action(u"Export"_s)->trigger();
    QCOMPARE(proposed, mHome->File(u"north-face.gpx"_s));
    const QByteArray gpx = ReadFile(file);
    QVERIFY2(gpx.contains("<name>North face</name>"), gpx.left(1000).constData());
    const int tours = meanwhile == "arrival"_L1 ? 3 : meanwhile == "close"_L1 ? 1 : 2;
    QCOMPARE(shown.Window.Tours().Count(), tours);
}

void tst_Waypost::SavingAsProposesAName_data()
{
    QTest::addColumn<QString>("code");
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("proposed");

    QTest::newRow("English, without a name") << u"en"_s << QString() << u"untitled.tour"_s;
    QTest::newRow("German, without a name") << u"de"_s << QString() << u"ohne Titel.tour"_s;
    QTest::newRow("Japanese, without a name") << u"ja"_s << QString() << u"無題.tour"_s;
    QTest::newRow("plain name") << u"en"_s << u"Old mill"_s << u"Old mill.tour"_s;
    QTest::newRow("characters of paths") << u"en"_s << u"Mill / lake: 1"_s << u"Mill - lake- 1.tour"_s;
}

void tst_Waypost::SavingAsProposesAName()
{
    QFETCH(const QString, code);
    QFETCH(const QString, name);
    QFETCH(const QString, proposed);

    QCoreApplication::setAttribute(Qt::AA_DontUseNativeDialogs);
    Shown shown;
    QVERIFY(shown.IsActive);
    shown.Window.SelectLanguageOnce(code);
    WithDialog<FormDialog>(shown.Window, u"Details"_s, [&name](FormDialog& dialog) {
        auto* field = dialog.findChild<QLineEdit*>(u"Name"_s);
        field->selectAll();
        QTest::keyClick(field, Qt::Key_Delete);
        QTest::keyClicks(field, name);
        QTest::mouseClick(dialog.findChild<QPushButton*>(u"buttonOk"_s), Qt::LeftButton);
    });
    QTest::keyClick(&shown.Window, Qt::Key_N, Qt::ControlModifier);
    QCOMPARE(shown.Window.Tours().Count(), 1);

    const QString file = mHome->File(u"saved.tour"_s);
    QString shownName;
    WithDialog<QFileDialog>(shown.Window, {}, [&](QFileDialog& dialog) {
        shownName = dialog.findChild<QLineEdit*>(u"fileNameEdit"_s)->text();
        TypeFile(dialog, file);
    });
    shown.Window.activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(&shown.Window, kLongMs));
    QTest::keyClick(&shown.Window, Qt::Key_S, Qt::ControlModifier | Qt::ShiftModifier);
    QCOMPARE(shownName, proposed);
    TourError error;
    const std::optional<Tour> saved = Tour::Load(file, error);
    QVERIFY(saved.has_value());
    QCOMPARE(saved->Name, name); // the proposal names the file, not the tour
    QVERIFY(!shown.Window.isWindowModified());
    QCOMPARE(shown.Store.RecentFiles(), QStringList({file}));
}

void tst_Waypost::SavingAsRefusesAnOpenFile()
{
    const QString first = mHome->CopyTour(u"ridge-walk"_s);
    const QString second = mHome->CopyTour(u"north-face"_s);
    const QByteArray before = ReadFile(second);
    QCoreApplication::setAttribute(Qt::AA_DontUseNativeDialogs);
    Shown shown;
    shown.Window.OpenFiles({second, first});
    WithDialog<QFileDialog>(shown.Window, {}, [&](QFileDialog& dialog) {
        dialog.setOption(QFileDialog::DontConfirmOverwrite);
        dialog.selectFile(second);
        QMetaObject::invokeMethod(&dialog, "accept");
    });
    shown.Action(u"SaveAs"_s)->trigger();
    const QString notice = shown.TakeNotice();
    QVERIFY2(notice.startsWith(second + u" is already open"_s), qPrintable(notice));
    QCOMPARE(ReadFile(second), before);
    QCOMPARE(shown.Window.Tours().At(1).File, first);
}

void tst_Waypost::SavingAChangedFileAsks_data()
{
    QTest::addColumn<QString>("button");
    QTest::addColumn<bool>("saves");

    QTest::newRow("overwrite") << u"buttonOverwrite"_s << true;
    QTest::newRow("cancel") << u"buttonCancel"_s << false;
}

void tst_Waypost::SavingAChangedFileAsks()
{
    QFETCH(const QString, button);
    QFETCH(const bool, saves);

    const QString file = mHome->CopyTour(u"ridge-walk"_s);
    Shown shown;
    shown.Window.OpenFiles({file});
    shown.Action(u"AddPoint"_s)->trigger();
    shown.Action(u"Save"_s)->trigger(); // the window's own save does not count as a change by another program
    QVERIFY(!shown.Window.Tours().IsModified(0));

    const QByteArray changed("<Tour Name=\"Changed by another program\"/>");
    WriteFile(file, changed);
    shown.Action(u"AddPoint"_s)->trigger();
    AnswerQuestion(shown.Window, button, u"FileChanged"_s);
    shown.Action(u"Save"_s)->trigger();
    QCOMPARE(ReadFile(file) != changed, saves);
    QCOMPARE(shown.Window.Tours().IsModified(0), !saves);
}

void tst_Waypost::NamesAreNotRichText()
{
    Shown shown;
    Tour tour = MakeTour();
    tour.Name = tour.Notes = u"<b>1&2</b>"_s;
    const QString file = mHome->File(u"t.tour"_s);
    QVERIFY(tour.Save(file));
    shown.Window.OpenFiles({file});
    QVERIFY(shown.Tours()->item(0, 1)->toolTip().contains(u"&lt;b&gt;1&amp;2&lt;/b&gt;"_s));
    shown.Action(u"AddPoint"_s)->trigger();
    Qt::TextFormat format = Qt::AutoText;
    WithDialog<FormDialog>(shown.Window, u"CloseTour"_s, [&format](FormDialog& question) {
        const QList<QLabel*> labels = question.findChildren<QLabel*>();
        for (const QLabel* label : labels) {
            if (label->text().contains(u"<b>"_s))
                format = label->textFormat();
        }
        question.reject();
    });
    shown.Action(u"Close"_s)->trigger();
    QCOMPARE(format, Qt::PlainText);
}

void tst_Waypost::LinkToAnOpenFile()
{
    const QString file = mHome->CopyTour(u"ridge-walk"_s);
    const QString link = mHome->File(u"link.tour"_s);
    QVERIFY(QFile::link(file, link));
    Shown shown;
    shown.Window.OpenFiles({file, link});
    QCOMPARE(shown.Window.Tours().Count(), 1);
}

void tst_Waypost::RecentFiles()
{
    const QString first = mHome->CopyTour(u"ridge-walk"_s);
    const QString second = mHome->CopyTour(u"north-face"_s);
    {
        Shown shown;
        QVERIFY(!shown.Window.findChild<QMenu*>(u"menuRecent"_s)->menuAction()->isEnabled());
        shown.Window.OpenFiles({first, second});
        shown.Window.OpenFiles({first});
        QCOMPARE(shown.Window.Tours().Count(), 2); // not opened twice
        QVERIFY(shown.Window.close());
    }
    Shown again;
    const auto* menu = again.Window.findChild<QMenu*>(u"menuRecent"_s);
    QCOMPARE(again.Store.RecentFiles(), QStringList({first, second}));
    QCOMPARE(menu->actions().size(), 2);
    menu->actions().at(1)->trigger();
    EVENTUALLY_EQUAL(again.Window.Tours().Count(), 1);
    QCOMPARE(again.Window.Tours().At(0).File, second);
    again.Window.OpenLastFiles();
    QCOMPARE(again.Window.Tours().Count(), 2);
}

void tst_Waypost::Help_data()
{
    QTest::addColumn<QString>("code");
    QTest::addColumn<QString>("title");

    QTest::newRow("English") << u"en"_s << u"Waypost help"_s;
    QTest::newRow("German") << u"de"_s << u"Waypost-Hilfe"_s;
    QTest::newRow("Japanese") << u"ja"_s << u"Waypostヘルプ"_s;
}

void tst_Waypost::Help()
{
    QFETCH(const QString, code);
    QFETCH(const QString, title);

    Shown shown;
    shown.Window.SelectLanguageOnce(code);
    QTest::keyClick(&shown.Window, Qt::Key_F1);
    auto* help = shown.Window.findChild<QTextBrowser*>(u"help"_s);
    QVERIFY(help != nullptr);
    EVENTUALLY_EQUAL(help->windowTitle(), title);
}

// Settings

void tst_Waypost::Settings_placeOfTheWindow()
{
    const QRect place(60, 50, 700, 480);
    {
        Shown shown;
        shown.Window.setGeometry(place);
        QVERIFY(shown.Window.close());
    }
    Shown again;
    again.Window.RestorePlace();
    EVENTUALLY_EQUAL(again.Window.geometry(), place);
}

void tst_Waypost::Settings_damaged()
{
    const QByteArray damaged("<Waypost>\n<General Language=\"de\"/>\n<Track");
    WriteFile(Home::SettingsFile(), damaged);
    {
        Shown shown;
        QCOMPARE(int(shown.Store.AtStart().State), int(Settings::FileState::SetAside));
        QCOMPARE(shown.Window.CurrentLanguage().Code(), u"en"_s);
        shown.Window.ReportSettings();
        const QString notice = shown.TakeNotice();
        QVERIFY2(notice.startsWith(u"Your settings were damaged (line 3, column "_s), qPrintable(notice));
        QVERIFY(notice.contains(Home::SettingsFile() + u".damaged"_s));
        QVERIFY(shown.Window.close());
    }
    QCOMPARE(ReadFile(Home::SettingsFile() + u".damaged"_s), damaged);
    const Shown again;
    QCOMPARE(int(again.Store.AtStart().State),
             int(Settings::FileState::Loaded)); // the first start replaced the file
}

void tst_Waypost::Settings_unreadable()
{
    // A folder of that name cannot be read as a file, not even by root.
    QVERIFY(QDir().mkpath(Home::SettingsFile()));
    Shown shown;
    QCOMPARE(int(shown.Store.AtStart().State), int(Settings::FileState::Unreadable));
    shown.Window.ReportSettings();
    const QString notice = shown.TakeNotice();
    QVERIFY2(notice.startsWith(u"Your settings cannot be read: "_s), qPrintable(notice));
    QVERIFY(shown.Window.close());
    QVERIFY(QFileInfo(Home::SettingsFile()).isDir());
}

void tst_Waypost::Settings_twoWindowsKeepBothChanges()
{
    UserSettings one(Places::UserFolder());
    UserSettings other(Places::UserFolder());
    one.AddRecentFile(u"/a.tour"_s);
    // Both changes start from the same preferences.
    const Preferences before = one.ReadPreferences();
    Preferences imperial = before;
    imperial.Unit = Units::Imperial;
    one.Write(before, imperial);
    Preferences grid = before;
    grid.Grid = false;
    other.Write(before, grid);
    UserSettings now(Places::UserFolder());
    QCOMPARE(now.RecentFiles(), QStringList({u"/a.tour"_s}));
    QCOMPARE(int(now.ReadPreferences().Unit), int(Units::Imperial));
    QCOMPARE(now.ReadPreferences().Grid, false);
}

void tst_Waypost::Settings_pathThatXmlForbids()
{
    const QString forbidden = u"/a"_s + QChar(1) + u".tour"_s;
    {
        UserSettings settings(Places::UserFolder());
        settings.AddRecentFile(u"/b.tour"_s);
        settings.AddRecentFile(forbidden);
        settings.WriteLastFiles({forbidden, u"/b.tour"_s});
    }
    UserSettings again(Places::UserFolder());
    QCOMPARE(int(again.AtStart().State), int(Settings::FileState::Loaded));
    QCOMPARE(again.RecentFiles(), QStringList({u"/b.tour"_s}));
    QCOMPARE(again.LastFiles(), QStringList({u"/b.tour"_s}));
}

void tst_Waypost::Settings_failedChangeIsReported_data()
{
    QTest::addColumn<bool>("isReadable");
    QTest::addColumn<QString>("expected");

    QTest::newRow("cannot be read") << false << u"Your settings cannot be read: "_s;
    QTest::newRow("cannot be saved") << true << u"Your settings cannot be saved. "_s;
}

void tst_Waypost::Settings_failedChangeIsReported()
{
    QFETCH(const bool, isReadable);
    QFETCH(const QString, expected);

    const QString folder = Places::UserFolder();
    Shown shown;
    QVERIFY(QDir(folder).removeRecursively());
    if (!isReadable)
        QVERIFY(QDir().mkpath(folder + u"/settings.xml"_s));
    shown.Action(u"Grid"_s)->trigger();
    const QString notice = shown.TakeNotice();
    QVERIFY2(notice.startsWith(expected), qPrintable(notice));
    EVENTUALLY(shown.Window.findChild<FormDialog*>(u"Notice"_s) == nullptr);
    shown.Action(u"Grid"_s)->trigger();
    QCOMPARE(shown.TakeNotice(), QString()); // the failure was reported only once

    QVERIFY(QDir(folder).removeRecursively());
    QVERIFY(QDir().mkpath(folder));
    shown.Action(u"Grid"_s)->trigger();
    QCOMPARE(shown.TakeNotice(), QString());
    QVERIFY(QFile::exists(folder + u"/settings.xml"_s));
}

// Programs

void tst_Waypost::Program_help()
{
    Program program({u"--help"_s});
    QCOMPARE(program.Result(), 0);
    const QString help = program.Output();
    for (const QString& option : {u"--new-window"_s, u"--language"_s, u"--screenshot"_s, u"--picture"_s})
        QVERIFY2(help.contains(option), qPrintable(option));
    for (const QString& option : {u"--language"_s, u"--picture"_s}) {
        Program mistake({option, u"nothing"_s});
        QCOMPARE(mistake.Result(), 2);
        QVERIFY(mistake.Errors().contains(u"unknown %1: nothing"_s.arg(option.mid(2))));
    }
}

void tst_Waypost::Program_picture_data()
{
    QTest::addColumn<QString>("language");
    QTest::addColumn<QString>("picture");

    QTest::newRow("English") << u"en"_s << u"window"_s;
    QTest::newRow("German") << u"de"_s << u"window"_s;
    QTest::newRow("Japanese") << u"ja"_s << u"window"_s;
    QTest::newRow("preferences") << u"de"_s << u"preferences"_s;
}

void tst_Waypost::Program_picture()
{
    QFETCH(const QString, language);
    QFETCH(const QString, picture);

    const QString file = mHome->File(u"p.png"_s);
    Program program({u"--language"_s, language, u"--screenshot"_s, file, u"--picture"_s, picture,
                     kData + u"/tours/ridge-walk.tour"_s});
    const int result = program.Result();
    QVERIFY2(result == 0, qPrintable(program.Errors()));
    QVERIFY(QImage(file).width() > 300);
}

void tst_Waypost::Program_handsItsFilesOver()
{
    const QString file = mHome->CopyTour(u"lake-circuit"_s);
    Program first({});
    EVENTUALLY(QFile::exists(Places::UserFolder() + u"/instance.lock"_s));
    // The second process waits if the first one is still starting.
    Program second({file});
    QCOMPARE(second.Result(), 0);
    EVENTUALLY(ReadFile(Home::SettingsFile()).contains("lake-circuit.tour"));
    QVERIFY(first.IsRunning());

    QElapsedTimer clock;
    clock.start();
    Program third({});
    QCOMPARE(third.Result(), 0);
    qInfo("a later start took %lld ms", clock.elapsed());
}

void tst_Waypost::Program_handsOverNamesThatXmlForbids()
{
    const QString file = mHome->File(u"a"_s + QChar(1) + u"b\n.tour"_s);
    QVERIFY(QFile::rename(mHome->CopyTour(u"lake-circuit"_s), file));
    Program first({});
    EVENTUALLY(QFile::exists(Places::UserFolder() + u"/instance.lock"_s));
    Program second({file});
    QCOMPARE(second.Result(), 0);
    WindowGrid grid(Places::ProcessName()); // the settings cannot contain this path, so ask for the title
    EVENTUALLY((grid.AskTitles(), QTest::qWait(50),
                !grid.Others().isEmpty() && grid.Others().constFirst().Title == u"Waypost - Lake circuit"_s));
    QVERIFY(first.IsRunning());
}

void tst_Waypost::HandOver_keepsEveryPath()
{
    QLockFile lock(Places::UserFolder() + u"/instance.lock"_s);
    QVERIFY(SingleInstance::Claim(lock, Places::ProcessName(), {}) == SingleInstance::Outcome::First);
    SingleInstance instance(Places::ProcessName());
    QSignalSpy received(&instance, &SingleInstance::FilesReceived);
    const QStringList files{u"/a/plain.tour"_s,
                            u"/a/"_s + QChar(1) + QChar(0x1f) + QChar(0x7f),
                            u"/a/tab\tand\r\nline feed"_s,
                            u"/a/not a character "_s + QChar(0xfffe),
                            u"/a/100%25 <b>&amp;\"quoted\"</b> tr(x) #?+;"_s,
                            u"/a/  spaces  "_s,
                            u"/a/山と😀 Höhe"_s};
    Program second(files);
    EVENTUALLY_EQUAL(received.count(), 1);
    QCOMPARE(received.at(0).at(0).toStringList(), files);
    EVENTUALLY(!second.IsRunning());
    QCOMPARE(second.Result(), 0);
}

// A pipe in place of the settings file blocks the first process before it has a window.
void tst_Waypost::Program_listensBeforeItsWindow()
{
    const QString file = mHome->CopyTour(u"lake-circuit"_s);
    const QByteArray pipe = QFile::encodeName(Home::SettingsFile());
    QCOMPARE(::mkfifo(pipe.constData(), 0600), 0);
    Program first({});
    EVENTUALLY(QFile::exists(QDir::tempPath() + u'/' + Places::ProcessName()));
    Program second({file}); // waits for an answer
    int writer = -1;
    // This succeeds once the first process reads the pipe.
    EVENTUALLY((writer = ::open(pipe.constData(), O_WRONLY | O_NONBLOCK)) >= 0);
    QVERIFY(QFile::remove(Home::SettingsFile()));
    QFile settings;
    QVERIFY(settings.open(writer, QIODevice::WriteOnly, QFileDevice::AutoCloseHandle));
    QCOMPARE(settings.write("<Waypost/>"), 10);
    settings.close();
    EVENTUALLY(!second.IsRunning());
    QCOMPARE(second.Result(), 0);
    EVENTUALLY(ReadFile(Home::SettingsFile()).contains("lake-circuit.tour"));
    QVERIFY(first.IsRunning());
}

void tst_Waypost::Program_handsOverOnceToABusyInstance()
{
    const QString file = mHome->CopyTour(u"lake-circuit"_s);
    QLockFile lock(Places::UserFolder() + u"/instance.lock"_s);
    const QString name = Places::ProcessName();
    const QString behind = name + u"-behind"_s;
    QVERIFY(SingleInstance::Claim(lock, name, {}) == SingleInstance::Outcome::First);
    SingleInstance first(behind);
    QSignalSpy received(&first, &SingleInstance::FilesReceived);
    QProcess proxy; // prints the requests once the server listens
    EVENTUALLY(QFile::exists(QDir::tempPath() + u'/' + behind));
    proxy.start(QStringLiteral(QVUTIL_TOOL), {u"ipc"_s, u"proxy"_s, behind, u"--as"_s, name});
    EVENTUALLY(QFile::exists(QDir::tempPath() + u'/' + name));

    Program second({file});
    QByteArray requests;
    // This thread is busy until the other process has asked twice: no event loop runs here.
    while (requests.count("Open") < 2 && proxy.waitForReadyRead(kLongMs))
        requests += proxy.readAllStandardOutput();
    QVERIFY2(requests.count("Open") >= 2, requests.constData());
    EVENTUALLY(!second.IsRunning());
    QCOMPARE(second.Result(), 0);
    EVENTUALLY(received.count() > 0);
    QCoreApplication::processEvents(); // files are announced after the answer
    QCOMPARE(received.count(), 1);
    QCOMPARE(received.at(0).at(0).toStringList(), QStringList{file});
    proxy.terminate();
    QVERIFY(proxy.waitForFinished(kLongMs));
}

// Without ids, nobody knows whether a request was sent again.
void tst_Waypost::HandOver_withoutAnId()
{
    SingleInstance instance(Places::ProcessName());
    QSignalSpy received(&instance, &SingleInstance::FilesReceived);
    const QStringList files{u"/a/one.tour"_s, u"/a/two.tour"_s};
    for (const QString& file : files) {
        bool isTaken = false;
        QObject parent;
        new Courier(
            Places::ProcessName(), u"Open"_s, {{u"Files"_s, QStringList{file}}},
            [&isTaken](const std::optional<QVariantMap>& answer) { isTaken = answer.has_value(); }, &parent);
        EVENTUALLY(isTaken);
    }
    EVENTUALLY_EQUAL(received.count(), 2);
    QCOMPARE(received.at(0).at(0).toStringList(), files.first(1));
    QCOMPARE(received.at(1).at(0).toStringList(), files.last(1));
}

void tst_Waypost::Program_startsWithoutALock()
{
    // Nobody can create a file below a file, not even root.
    const QString file = mHome->CopyTour(u"lake-circuit"_s);
    QLockFile lock(file + u"/instance.lock"_s);
    const auto outcome = SingleInstance::Claim(lock, Places::ProcessName(), {});
    QCOMPARE(int(outcome), int(SingleInstance::Outcome::First));
}

void tst_Waypost::Program_manyStartsAtOnce()
{
    constexpr int kPrograms = 5;
    std::vector<std::unique_ptr<Program>> programs;
    for (int i = 0; i < kPrograms; ++i)
        programs.push_back(std::make_unique<Program>(QStringList()));
    const auto running = [&programs] {
        return std::count_if(programs.cbegin(), programs.cend(),
                             [](const auto& program) { return program->IsRunning(); });
    };
    EVENTUALLY_EQUAL(running(), 1);
    int handedOver = 0;
    for (const auto& program : programs) {
        if (!program->IsRunning() && program->Result() == 0)
            ++handedOver;
    }
    QCOMPARE(handedOver, kPrograms - 1);
    Program last({});
    QCOMPARE(last.Result(), 0); // the remaining process answers
    QCOMPARE(running(), 1);
}

void tst_Waypost::Program_killedFirstBlocksNobody()
{
    auto first = std::make_unique<Program>(QStringList());
    {
        EVENTUALLY(QFile::exists(Places::UserFolder() + u"/instance.lock"_s));
        Program second({});
        QCOMPARE(second.Result(), 0);
    }
    first->Kill();
    QVERIFY(QFile::exists(Places::UserFolder() + u"/instance.lock"_s)); // the stale lock
    Program next({});
    Program other({});
    // One of them is the first instance now; the other has handed its files over and ends.
    EVENTUALLY(next.IsRunning() != other.IsRunning());
    QCOMPARE((next.IsRunning() ? other : next).Result(), 0);
    Program later({});
    QCOMPARE(later.Result(), 0);
}

void tst_Waypost::Grid_findsAndLosesWindows()
{
    Shown shown(Places::ProcessName());
    const WindowGrid* grid = shown.Window.Grid();
    QVERIFY(grid->Others().isEmpty());
    QVERIFY(!shown.Window.findChild<QMenu*>(u"menuSend"_s)->menuAction()->isEnabled());

    Program other({u"--new-window"_s, kData + u"/tours/north-face.tour"_s});
    Program third({u"--new-window"_s});
    EVENTUALLY_EQUAL(grid->Others().size(), 2);
    EVENTUALLY(!grid->Others().at(0).Title.isEmpty() && !grid->Others().at(1).Title.isEmpty());
    const auto* menu = shown.Window.findChild<QMenu*>(u"menuWindow"_s);
    const auto entries = [menu] {
        return std::ranges::count_if(
            menu->actions(), [](const QAction* action) { return action->property("window").isValid(); });
    };
    EVENTUALLY_EQUAL(entries(), 2);

    other.Kill();
    EVENTUALLY_EQUAL(grid->Others().size(), 1);
    QCOMPARE(grid->Others().constFirst().ProcessId, third.ProcessId());
    QCOMPARE(entries(), 1);
    third.Kill();
    EVENTUALLY(grid->Others().isEmpty());
}

void tst_Waypost::Grid_joinsWhenItsRegistryIsUnlocked()
{
    Peer holder({u"hold"_s, Places::ProcessName()}, "holds");
    QVERIFY(holder.IsReady);
    WindowGrid grid(Places::ProcessName());
    grid.SetTitle(u"Late"_s);
    QVERIFY(holder.End());
    Program other({u"--screenshot"_s, mHome->File(u"p.png"_s), u"--picture"_s, u"window-menu"_s});
    EVENTUALLY(!other.IsRunning()); // the process ends when it has found the window
    const int result = other.Result();
    QVERIFY2(result == 0, qPrintable(other.Errors()));
}

void tst_Waypost::Grid_keepsWindowsWhileItsRegistryIsLocked()
{
    WindowGrid grid(Places::ProcessName());
    Program other({u"--new-window"_s});
    EVENTUALLY(!grid.Others().isEmpty() && !grid.Others().constFirst().Title.isEmpty());
    const QList<WindowGrid::Window> before = grid.Others();
    QSignalSpy changed(&grid, &WindowGrid::OthersChanged);
    const TestSupport::LogGuard log;
    Peer holder({u"hold"_s, Places::ProcessName()}, "holds");
    QVERIFY(holder.IsReady);
    EVENTUALLY(TestSupport::LogGuard::Messages().join(u'\n').contains("the registry was not accessed"_L1));
    QVERIFY(grid.Others() == before);
    QCOMPARE(changed.count(), 0);
    QVERIFY(holder.End());
    other.Kill();
    EVENTUALLY(grid.Others().isEmpty());
}

// An attempt to read a locked registry waits for the lock, and the window does not react meanwhile.
void tst_Waypost::Grid_looksLessOftenWhileItsRegistryIsLocked_data()
{
    QTest::addColumn<bool>("isMember");

    QTest::newRow("before the window joins") << false;
    QTest::newRow("after the window has joined") << true;
}

void tst_Waypost::Grid_looksLessOftenWhileItsRegistryIsLocked()
{
    QFETCH(const bool, isMember);

    const TestSupport::LogGuard log;
    std::unique_ptr<WindowGrid> grid;
    if (isMember)
        grid = std::make_unique<WindowGrid>(Places::ProcessName());
    Peer holder({u"hold"_s, Places::ProcessName()}, "holds");
    QVERIFY(holder.IsReady);
    if (!isMember)
        grid = std::make_unique<WindowGrid>(Places::ProcessName());
    const auto* timer = grid->findChild<QTimer*>(u"lookTimer"_s);
    QVERIFY(timer != nullptr);
    EVENTUALLY_EQUAL(timer->interval(), 5000);
    QVERIFY(holder.End());
    EVENTUALLY_EQUAL(timer->interval(), 500);
}

void tst_Waypost::Grid_sendsTours()
{
    Shown shown(Places::ProcessName());
    WindowGrid* grid = shown.Window.Grid();
    shown.Window.OpenFiles({kData + u"/tours/ridge-walk.tour"_s});
    Program other({u"--new-window"_s});
    EVENTUALLY_EQUAL(grid->Others().size(), 1);
    QVERIFY(shown.Window.findChild<QMenu*>(u"menuSend"_s)->menuAction()->isEnabled());

    QSignalSpy sent(grid, &WindowGrid::TourSent);
    shown.Window.findChild<QMenu*>(u"menuSend"_s)->actions().constFirst()->trigger();
    EVENTUALLY_EQUAL(sent.count(), 1);
    QCOMPARE(sent.at(0).at(1).toBool(), true);
    // The receiver shows the tour, and its title contains the tour's name.
    EVENTUALLY((grid->AskTitles(), QTest::qWait(50),
                !grid->Others().isEmpty() && grid->Others().constFirst().Title == u"Waypost - Ridge walk"_s));

    // Send a tour in the opposite direction, with a courier of this process.
    const qint64 processId = QCoreApplication::applicationPid();
    const QString server = Places::ProcessName() + u'.'
        + QFileInfo(QCoreApplication::applicationFilePath()).baseName() + u'.' + QString::number(processId);
    bool isTaken = false;
    new Courier(
        server, u"Tour"_s, {{u"Xml"_s, MakeTour().ToXml()}},
        [&isTaken](const std::optional<QVariantMap>& answer) { isTaken = answer.has_value(); },
        &shown.Window);
    EVENTUALLY_EQUAL(shown.Window.Tours().Count(), 2);
    EVENTUALLY(isTaken);
    QVERIFY(shown.Window.Tours().At(1).Content == MakeTour());
    QVERIFY(shown.Window.Tours().IsModified(1)); // not saved to a file yet
}

// Takes over the server of another member, and so receives what is sent to it.
class Catcher : public Quorvin::Util::IMessageResponder
{
public:
    explicit Catcher(const QString& server)
    {
        mManager.AddMessageResponder(this);
        mManager.StartServer(server, QIODevice::ReadWrite);
    }
    ~Catcher() { mManager.RemoveMessageResponder(this); }
    Q_DISABLE_COPY_MOVE(Catcher)
    [[nodiscard]] bool IsListening() const { return mManager.IsServerListening(); }
    bool HandleMessage(const QString& id, const QVariantMap& params, QVariantMap& response) override
    {
        if (id == "Tour"_L1)
            Tours.append(params.value(u"Xml"_s).toString());
        response.insert(u"Taken"_s, true);
        return true;
    }

    QStringList Tours;

private:
    Quorvin::Util::IPCManager mManager;
};

void tst_Waypost::Grid_sendsTheTextOfAnOpenEditor()
{
    Shown shown(Places::ProcessName());
    QVERIFY(shown.IsActive);
    shown.Window.OpenFiles({mHome->CopyTour(u"ridge-walk"_s)});
    const Peer other({u"grid"_s, Places::ProcessName()}, "joined");
    QVERIFY(other.IsReady);
    const QString server = Places::ProcessName() + u".MessagePeer."_s + QString::number(other.ProcessId());
    EVENTUALLY(QFile::exists(QDir::tempPath() + u'/' + server));
    const Catcher catcher(server);
    EVENTUALLY(catcher.IsListening());
    EVENTUALLY_EQUAL(shown.Window.Grid()->Others().size(), 1);

    QVERIFY(TypeName(shown, u"Old mill"_s) != nullptr);
    shown.Window.findChild<QMenu*>(u"menuSend"_s)->actions().constFirst()->trigger();
    EVENTUALLY_EQUAL(catcher.Tours.size(), 1);
    const std::optional<Tour> tour = Tour::FromXml(catcher.Tours.constFirst());
    QVERIFY(tour.has_value());
    QCOMPARE(tour->Points.constFirst().Name, u"Old mill"_s);
    QVERIFY(*tour == shown.Window.Tours().At(0).Content);
}

void tst_Waypost::Grid_ignoresATourSentAgain_data()
{
    QTest::addColumn<QString>("id");
    QTest::addColumn<int>("tours");

    QTest::newRow("same id") << u"1"_s << 1;
    QTest::newRow("no id") << QString() << 2; // nobody knows whether it was sent again
}

void tst_Waypost::Grid_ignoresATourSentAgain()
{
    QFETCH(const QString, id);
    QFETCH(const int, tours);

    Shown shown(Places::ProcessName());
    const QString server = Places::ProcessName() + u'.'
        + QFileInfo(QCoreApplication::applicationFilePath()).baseName() + u'.'
        + QString::number(QCoreApplication::applicationPid());
    QVariantMap message{{u"Xml"_s, MakeTour().ToXml()}};
    if (!id.isEmpty())
        message.insert(u"Id"_s, id);
    for (int answers = 0; answers < 2; ++answers) { // one after the other
        bool isTaken = false;
        new Courier(
            server, u"Tour"_s, message,
            [&isTaken](const std::optional<QVariantMap>& answer) { isTaken = answer.has_value(); },
            &shown.Window);
        EVENTUALLY(isTaken);
        EVENTUALLY(shown.Window.Tours().Count() > 0);
    }
    QCoreApplication::processEvents(); // the tour is announced after the answer
    QCOMPARE(shown.Window.Tours().Count(), tours);
}

// A busy window reads its messages late. If the tour were sent again meanwhile, it would arrive twice.
void tst_Waypost::Grid_sendsOnceWhileConnected()
{
    const QString name = mHome->File(u"s"_s);
    QLocalServer server;
    QVERIFY(server.listen(name));
    QByteArray received;
    connect(&server, &QLocalServer::newConnection, this, [&] {
        QLocalSocket* socket = server.nextPendingConnection();
        connect(socket, &QLocalSocket::readyRead, this,
                [&received, socket] { received += socket->readAll(); });
    });
    bool isDone = false;
    bool isTaken = true;
    QObject parent;
    new Courier(
        name, u"Question"_s, {},
        [&](const std::optional<QVariantMap>& answer) {
            isDone = true;
            isTaken = answer.has_value();
        },
        &parent);
    EVENTUALLY(isDone);
    QVERIFY(!isTaken);
    QCOMPARE(received.count("Question"), 1);
}

// A server in a separate thread, which answers after something has happened in the thread of the test.
class LateServer : public QThread, private Quorvin::Util::IMessageResponder
{
public:
    explicit LateServer(const QString& name)
        : mName(name)
    {
        start();
    }
    ~LateServer() override
    {
        Happened.release();
        quit();
        wait();
    }

    std::atomic<bool> IsListening = false;
    std::atomic<bool> IsAsked = false;
    QSemaphore Happened;

private:
    void run() override
    {
        Quorvin::Util::IPCManager manager;
        manager.AddMessageResponder(this);
        manager.StartServer(mName, QIODevice::ReadWrite);
        QTimer timer;
        connect(&timer, &QTimer::timeout, &manager, [&] { IsListening = manager.IsServerListening(); });
        timer.start(10);
        exec();
        manager.RemoveMessageResponder(this);
    }
    bool HandleMessage(const QString& /*id*/, const QVariantMap& /*params*/, QVariantMap& response) override
    {
        IsAsked = true;
        Happened.acquire();
        response.insert(u"Taken"_s, true);
        return true;
    }

    QString mName;
};

// While one request waits for its answer, another begins to wait for a window that hangs. The first wait ends
// only after the second, but its answer has arrived in time.
void tst_Waypost::Grid_takesAnAnswerDuringAnotherWait()
{
    LateServer living(mHome->File(u"living"_s));
    EVENTUALLY(living.IsListening);
    QLocalServer hanging;
    QVERIFY(hanging.listen(mHome->File(u"hanging"_s)));
    connect(&hanging, &QLocalServer::newConnection, this, [&] {
        QLocalSocket* socket = hanging.nextPendingConnection();
        connect(socket, &QLocalSocket::readyRead, this, [&living] { living.Happened.release(); });
    });

    QObject parent;
    std::optional<bool> isTaken;
    std::optional<bool> isOtherTaken;
    new Courier(
        mHome->File(u"living"_s), u"Question"_s, {},
        [&](const std::optional<QVariantMap>& answer) { isTaken = answer.has_value(); }, &parent);
    QTimer timer; // the slot runs during the first wait
    connect(&timer, &QTimer::timeout, this, [&] {
        if (!living.IsAsked)
            return;
        timer.stop();
        new Courier(
            mHome->File(u"hanging"_s), u"Question"_s, {},
            [&](const std::optional<QVariantMap>& answer) { isOtherTaken = answer.has_value(); }, &parent);
    });
    timer.start(10);
    EVENTUALLY(isTaken && isOtherTaken);
    QVERIFY(*isTaken);
    QVERIFY(!*isOtherTaken);
}

// Control characters get into a name by pasting, for example.
void tst_Waypost::Grid_answersATitleThatXmlForbids()
{
    Shown shown(Places::ProcessName());
    QVERIFY(shown.IsActive);
    QGuiApplication::clipboard()->setText(u"Old"_s + QChar(1) + u" mill"_s + QChar(0xb));
    WithDialog<FormDialog>(shown.Window, u"Details"_s, [](FormDialog& dialog) {
        auto* field = dialog.findChild<QLineEdit*>(u"Name"_s);
        field->selectAll();
        QTest::keyClick(field, Qt::Key_V, Qt::ControlModifier);
        QTest::mouseClick(dialog.findChild<QPushButton*>(u"buttonOk"_s), Qt::LeftButton);
    });
    QTest::keyClick(&shown.Window, Qt::Key_N, Qt::ControlModifier);
    QVERIFY(shown.Window.Tours().At(0).Content.Name.contains(QChar(1)));
    QCOMPARE(shown.Window.windowTitle(), u"Waypost - Old mill[*]"_s);

    const QString server = Places::ProcessName() + u'.'
        + QFileInfo(QCoreApplication::applicationFilePath()).baseName() + u'.'
        + QString::number(QCoreApplication::applicationPid());
    bool isDone = false;
    QString title;
    new Courier(
        server, u"Title"_s, {},
        [&](const std::optional<QVariantMap>& answer) {
            isDone = true;
            title = answer ? answer->value(u"Title"_s).toString() : u"no answer"_s;
        },
        &shown.Window);
    EVENTUALLY(isDone);
    QCOMPARE(title, u"Waypost - Old mill"_s);
}

QTEST_MAIN(tst_Waypost)
#include "tst_Waypost.moc"
