// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "MainWindow.h"

#include "FormDialog.h"
#include "Menus.h"
#include "PointTable.h"
#include "PreferencesForm.h"
#include "TourTable.h"
#include "TourView.h"
#include "WindowGrid.h"
#include "XmlText.h"

#include <qvutil/BooleanExpressionEvaluator.h>
#include <qvutil/GeneralUtil.h>

#include <QApplication>
#include <QCloseEvent>
#include <QDir>
#include <QFileDialog>
#include <QFileInfo>
#include <QLabel>
#include <QMenu>
#include <QProcess>
#include <QScreen>
#include <QSplitter>
#include <QStatusBar>
#include <QTextBrowser>
#include <QTime>

#include <algorithm>
#include <utility>

using namespace Qt::StringLiterals;
using Quorvin::Util::GeneralUtil;

namespace {

constexpr int kStatusMs = 8000; // how long the status bar shows a message

} // namespace

//! [construct]
MainWindow::MainWindow(UserSettings& settings, const QString& dataFolder, const QString& grid)
    : mSettings(settings)
    , mPreferences(settings.ReadPreferences())
    , mDataFolder(dataFolder)
    , mLanguage(dataFolder)
    , mBuilder(mDocument, *this)
    , mNotices(mDocument, mBuilder, *this)
{
    const bool hasWindow = mDocument.LoadFromXmlFile(mDataFolder + u"/MainWindow.xml"_s);
    const bool hasPreferences = mPreferencesDocument.LoadFromXmlFile(mDataFolder + u"/Preferences.xml"_s);
    mIsComplete = hasWindow && hasPreferences;
    setObjectName(u"mainWindow"_s);
    BuildCentre();
    resize(mDocument.ReadSize(u"Size"_s, QSize(1080, 720)));

    mLanguage.Select(mPreferences.LanguageCode);
    mDocument.Translator = mPreferencesDocument.Translator = mLanguage.Translator();
    mBuilder.Apply();
    DefineConditions();
    ConnectActions();
    ConnectSwitches();
    ConnectGrid(grid);
    connect(&mTours, &TourBook::Changed, this, &MainWindow::Refresh);
    connect(&mLanguage, &Language::Changed, this, &MainWindow::ApplyLanguage);
    mSettings.SetObserver([this](const SettingsReport& report) { mNotices.ShowSettingsReport(report); });
    ApplyLanguage();
}
//! [construct]

MainWindow::~MainWindow()
{
    mSettings.SetObserver({});
    mPointTable->disconnect(this); // a table that is destroyed closes its editor, which emits a signal
    mTours.disconnect(this); // undo stacks emit signals when they are destroyed
}

// Building the window

void MainWindow::BuildCentre()
{
    mTourTable = new TourTable;
    mPointTable
        = new PointTable([this](const QString& kind) { return mBuilder.Choice(u"PointKind"_s, kind); });
    mView = new TourView;
    mDown = new QSplitter(Qt::Vertical);
    mDown->addWidget(mTourTable);
    mDown->addWidget(mPointTable);
    mDown->setSizes({300, 360});
    mDown->setChildrenCollapsible(false);
    mAcross = new QSplitter(Qt::Horizontal);
    mAcross->addWidget(mDown);
    mAcross->addWidget(mView);
    mAcross->setSizes({std::max(480, 24 * fontMetrics().height()), 600}); // a large font needs wider tables
    mAcross->setStretchFactor(1, 1);
    mAcross->setChildrenCollapsible(false);
    setCentralWidget(mAcross);

    mCount = new QLabel;
    mCount->setObjectName(u"labelCount"_s);
    statusBar()->addPermanentWidget(mCount);

    connect(mTourTable, &TourTable::TourSelected, this, &MainWindow::SelectTour);
    connect(mPointTable, &PointTable::PointSelected, this, &MainWindow::SelectPoint);
    connect(mPointTable, &PointTable::EditingChanged, this, &MainWindow::UpdateActions);
    connect(mPointTable, &PointTable::PointEdited, this,
            [this](int point, PointDelegate::Column column, const QVariant& value) {
                // Apply the edit later: it fills the table again, but the delegate still uses the editor. By
                // then, the user may have selected another tour.
                mEdits.append({mCurrent, point, column, value});
                QMetaObject::invokeMethod(this, &MainWindow::ApplyEdits, Qt::QueuedConnection);
            });
    connect(mView, &TourView::PointSelected, this, &MainWindow::SelectPoint);
    connect(mView, &TourView::SectionChanged, this, [this](const QRect& section) {
        if (mCurrent >= 0)
            mTours.SetSection(mCurrent, section);
    });
}

void MainWindow::Connect(const QString& name, void (MainWindow::*slot)())
{
    if (const QAction* action = mBuilder.Action(name))
        connect(action, &QAction::triggered, this, [this, slot] {
            FinishEditing(); // shortcuts and the toolbar leave an editor open
            (this->*slot)();
        });
}

//! [connect]
void MainWindow::ConnectActions()
{
    Connect(u"New"_s, &MainWindow::NewTour);
    Connect(u"Open"_s, &MainWindow::Open);
    Connect(u"Save"_s, &MainWindow::SaveCurrent);
    Connect(u"SaveAs"_s, &MainWindow::SaveCurrentAs);
    Connect(u"Export"_s, &MainWindow::Export);
    Connect(u"Close"_s, &MainWindow::CloseCurrent);
    Connect(u"Undo"_s, &MainWindow::Undo);
    Connect(u"Redo"_s, &MainWindow::Redo);
    Connect(u"AddPoint"_s, &MainWindow::AddPoint);
    Connect(u"Delete"_s, &MainWindow::DeletePoint);
    Connect(u"Details"_s, &MainWindow::EditDetails);
    Connect(u"Preferences"_s, &MainWindow::EditPreferences);
    Connect(u"NewWindow"_s, &MainWindow::NewWindow);
    Connect(u"Contents"_s, &MainWindow::ShowHelp);
    Connect(u"About"_s, &MainWindow::About);
    //! [connect]
    const auto connectTo = [this](const QString& name, auto* receiver, auto slot) {
        if (const QAction* action = mBuilder.Action(name))
            connect(action, &QAction::triggered, receiver, slot);
    };
    connectTo(u"Quit"_s, this, &QWidget::close);
    connectTo(u"ZoomIn"_s, mView, &TourView::ZoomIn);
    connectTo(u"ZoomOut"_s, mView, &TourView::ZoomOut);
    connectTo(u"ShowAll"_s, mView, &TourView::ShowAll);
}

void MainWindow::ConnectSwitches()
{
    const auto connectSwitch = [this](const QString& name, bool Preferences::*flag) {
        const QAction* action = mBuilder.Action(name);
        if (action == nullptr)
            return;
        connect(action, &QAction::triggered, this, [this, flag](bool checked) {
            Preferences preferences = mPreferences;
            preferences.*flag = checked;
            ApplyPreferences(preferences);
        });
    };
    connectSwitch(u"Grid"_s, &Preferences::Grid);
    connectSwitch(u"Names"_s, &Preferences::Names);
    connectSwitch(u"Profile"_s, &Preferences::Profile);
}

void MainWindow::ConnectGrid(const QString& grid)
{
    if (grid.isEmpty())
        return;
    mGrid = std::make_unique<WindowGrid>(grid);
    connect(mGrid.get(), &WindowGrid::OthersChanged, this, [this] {
        FillWindows();
        UpdateActions();
    });
    connect(mGrid.get(), &WindowGrid::RaiseWanted, this, &MainWindow::ComeForward);
    connect(mGrid.get(), &WindowGrid::TourReceived, this, &MainWindow::ReceiveTour);
    connect(mGrid.get(), &WindowGrid::TourSent, this, [this](const QString& window, bool taken) {
        statusBar()->showMessage(Text(taken ? u"Sent"_s : u"NotSent"_s).arg(Shorten(window)), kStatusMs);
    });
    if (const QMenu* menu = mBuilder.Menu(u"Window"_s))
        connect(menu, &QMenu::aboutToShow, mGrid.get(), &WindowGrid::AskTitles);
}

// Conditions

//! [conditions]
void MainWindow::DefineConditions()
{
    mConditions = {
        {u"tour open"_s, [this] { return mCurrent >= 0; }},
        {u"tour modified"_s,
         [this] { return mCurrent >= 0 && (mTours.IsModified(mCurrent) || mPointTable->IsEditing()); }},
        {u"points selected"_s, [this] { return mView->Selected() >= 0; }},
        {u"track shown"_s, [this] { return mCurrent >= 0 && !mTours.At(mCurrent).Content.Points.isEmpty(); }},
        {u"undo available"_s, [this] { return mCurrent >= 0 && mTours.At(mCurrent).Changes.canUndo(); }},
        {u"redo available"_s, [this] { return mCurrent >= 0 && mTours.At(mCurrent).Changes.canRedo(); }},
        {u"recent files"_s, [this] { return !mSettings.RecentFiles().isEmpty(); }},
        {u"other windows"_s, [this] { return mGrid != nullptr && !mGrid->Others().isEmpty(); }},
    };
}

void MainWindow::UpdateActions()
{
    const BooleanExpressionEvaluator evaluator([this](const QString& name, bool& value) {
        const auto condition = mConditions.constFind(name);
        if (condition == mConditions.cend())
            return false; // an unknown name: the evaluation fails
        value = (*condition)();
        return true;
    });
    const QList<QAction*> actions = findChildren<QAction*>();
    for (QAction* action : actions) {
        const QString expression = InterfaceBuilder::Condition(*action);
        bool enabled = false;
        if (!expression.isEmpty())
            action->setEnabled(evaluator.Evaluate(expression, enabled) && enabled);
    }
    UpdateUndoTexts();
}
//! [conditions]

// Adds the name of the change to the texts of Undo and Redo.
void MainWindow::UpdateUndoTexts()
{
    const auto setText = [this](const QString& name, const QString& text, const QString& change) {
        if (QAction* action = mBuilder.Action(name)) {
            const QString shortText = action->iconText(); // setText changes it, too
            action->setText(change.isEmpty() ? shortText : text.arg(Text(change)));
            action->setIconText(shortText);
        }
    };
    const QUndoStack* changes = mCurrent >= 0 ? &mTours.At(mCurrent).Changes : nullptr;
    setText(u"Undo"_s, mUndoText, changes != nullptr ? changes->undoText() : QString());
    setText(u"Redo"_s, mRedoText, changes != nullptr ? changes->redoText() : QString());
}

// Files

void MainWindow::OpenFiles(const QStringList& files)
{
    for (const QString& file : files) {
        TourError error;
        const int index = mTours.Open(file, error);
        if (index < 0) {
            mNotices.ShowLoadError(file, error);
            continue;
        }
        mSettings.AddRecentFile(mTours.At(index).File);
        if (mTours.At(index).Content.Thumbnail.isEmpty())
            mTours.SetThumbnail(index, TourView::MakeThumbnail(mTours.At(index).Content, mPreferences));
        SelectTour(index);
    }
    FillRecent();
    UpdateActions();
}

void MainWindow::OpenLastFiles()
{
    if (!mPreferences.OpenLast)
        return;
    QStringList files = mSettings.LastFiles();
    // Files that no longer exist are not worth a message.
    files.removeIf([](const QString& file) { return !QFileInfo::exists(file); });
    OpenFiles(files);
}

void MainWindow::NewTour()
{
    Tour tour;
    tour.Name = Text(u"Untitled"_s);
    tour.Date = QDateTime::currentDateTime();
    SelectTour(mTours.Add(tour));
    EditDetails();
}

void MainWindow::Open()
{
    // Start in the folder of the current tour or, without one, of the most recent file.
    const QString last = mSettings.RecentFiles().value(0);
    const QString current = mCurrent >= 0 ? mTours.At(mCurrent).File : QString();
    const QString file = current.isEmpty() ? last : current;
    const QString folder = file.isEmpty() ? QString() : QFileInfo(file).path();
    OpenFiles(QFileDialog::getOpenFileNames(this, {}, folder, Text(u"TourFiles"_s)));
}

void MainWindow::Save(int index)
{
    if (index < 0)
        return;
    const QString file = mTours.At(index).File;
    if (file.isEmpty())
        SaveAs(index);
    else if (MayOverwrite(index))
        SaveTo(index, file);
}

void MainWindow::SaveAs(int index)
{
    if (index < 0)
        return;
    QFileDialog dialog(this, {}, {}, Text(u"TourFiles"_s));
    dialog.setAcceptMode(QFileDialog::AcceptSave);
    dialog.setDefaultSuffix(u"tour"_s);
    const QString file = mTours.At(index).File;
    dialog.selectFile(file.isEmpty() ? ProposeFile(index, u".tour"_s) : file);
    if (dialog.exec() != QDialog::Accepted || dialog.selectedFiles().isEmpty())
        return;
    const QString chosen = dialog.selectedFiles().constFirst();
    const int open = mTours.Find(chosen);
    if (open >= 0 && open != index)
        mNotices.Show(
            Text(u"AlreadyOpen"_s).arg(QDir::toNativeSeparators(chosen))); // two tours cannot share a file
    else
        SaveTo(index, chosen);
}

// Proposes a file for a tour: beside the file of the tour or, for a new tour, only a name.
QString MainWindow::ProposeFile(int index, const QString& suffix) const
{
    const QString file = mTours.At(index).File;
    if (file.isEmpty())
        return GeneralUtil::FixInvalidCharsInFileName(NameOf(index), u"-"_s) + suffix;
    return QFileInfo(file).path() + u'/' + QFileInfo(file).completeBaseName() + suffix;
}

bool MainWindow::SaveTo(int index, const QString& file)
{
    mTours.SetThumbnail(index, TourView::MakeThumbnail(mTours.At(index).Content, mPreferences));
    if (!mTours.Save(index, file)) {
        mNotices.ShowWriteError(file);
        return false;
    }
    mSettings.AddRecentFile(mTours.At(index).File);
    FillRecent();
    UpdateActions();
    const QString time = mLanguage.Locale().toString(QTime::currentTime(), QLocale::ShortFormat);
    statusBar()->showMessage(Text(u"Saved"_s).arg(Shorten(QFileInfo(file).fileName()), time), kStatusMs);
    return true;
}

void MainWindow::Export()
{
    if (mCurrent < 0)
        return;
    const Tour tour = mTours.At(mCurrent).Content; // another one may become current while the dialog is open
    QFileDialog dialog(this, {}, {}, Text(u"GpxFiles"_s));
    dialog.setAcceptMode(QFileDialog::AcceptSave);
    dialog.setDefaultSuffix(u"gpx"_s);
    dialog.selectFile(ProposeFile(mCurrent, u".gpx"_s));
    if (dialog.exec() != QDialog::Accepted || dialog.selectedFiles().isEmpty())
        return;
    const QString file = dialog.selectedFiles().constFirst();
    if (tour.ExportGpx(file))
        statusBar()->showMessage(Text(u"Exported"_s).arg(Shorten(QFileInfo(file).fileName())), kStatusMs);
    else
        mNotices.ShowWriteError(file);
}

// Asks the user whether to save the changes to a tour. Returns false if the tour must stay open.
bool MainWindow::MayClose(int index)
{
    if (!mTours.IsModified(index))
        return true;
    SelectTour(index);
    const QString button = Ask(u"CloseTour"_s, index);
    if (button == "Save"_L1)
        Save(index);
    return button == "Discard"_L1 || !mTours.IsModified(index);
}

// Asks the user whether to overwrite a file that another program has changed.
bool MainWindow::MayOverwrite(int index)
{
    return !mTours.IsFileChanged(index) || Ask(u"FileChanged"_s, index) == "Overwrite"_L1;
}

// Asks a question about a tour. Returns the Name of the button that the user pressed.
QString MainWindow::Ask(const QString& question, int index)
{
    const std::unique_ptr<FormDialog> dialog(FormDialog::Make(mDocument, question, this));
    dialog->SetMessage(dialog->Message().arg(NameOf(index)));
    dialog->exec();
    return dialog->PressedButton();
}

void MainWindow::CloseCurrent()
{
    const int index = mCurrent; // a tour may arrive during the question
    if (index < 0 || !MayClose(index))
        return;
    if (mCurrent > index)
        --mCurrent;
    mTours.Close(index);
}

void MainWindow::closeEvent(QCloseEvent* event)
{
    FinishEditing();
    for (int i = 0; i < mTours.Count(); ++i) {
        if (!MayClose(i)) {
            event->ignore();
            return;
        }
    }
    QStringList files;
    for (int i = 0; i < mTours.Count(); ++i) {
        if (!mTours.At(i).File.isEmpty())
            files.append(mTours.At(i).File);
    }
    mSettings.WriteLastFiles(files);
    mSettings.Write(WindowPlace{normalGeometry(), isMaximized(), mAcross->saveState()});
    event->accept();
}

// Editing

void MainWindow::Undo()
{
    if (mCurrent >= 0)
        mTours.Undo(mCurrent);
}

void MainWindow::Redo()
{
    if (mCurrent >= 0)
        mTours.Redo(mCurrent);
}

void MainWindow::AddPoint()
{
    if (mCurrent < 0)
        return;
    Tour tour = mTours.At(mCurrent).Content;
    const int after = mView->Selected() >= 0 ? mView->Selected() : static_cast<int>(tour.Points.size()) - 1;
    const int index = tour.InsertWaypoint(after, Text(u"NewPoint"_s));
    mTours.Change(mCurrent, u"AddPoint"_s, tour);
    SelectPoint(index);
}

void MainWindow::DeletePoint()
{
    const int selected = mView->Selected();
    if (mCurrent < 0 || selected < 0)
        return;
    Tour tour = mTours.At(mCurrent).Content;
    tour.RemoveWaypoint(selected);
    mView->SetSelected(-1);
    mTours.Change(mCurrent, u"DeletePoint"_s, tour);
}

// Applies the text of an open editor before the tours are saved, closed or changed in another way.
void MainWindow::FinishEditing()
{
    mPointTable->FinishEditing();
    ApplyEdits();
}

void MainWindow::ApplyEdits()
{
    const QList<Edit> edits = std::exchange(mEdits, {});
    for (const Edit& edit : edits) {
        Tour tour = mTours.At(edit.Tour).Content;
        Point& point = tour.Points[edit.Point];
        switch (edit.Column) {
        case PointDelegate::Name:
            point.Name = edit.Value.toString();
            break;
        case PointDelegate::Kind:
            point.Kind = Tour::PointKindOf(edit.Value.toString());
            break;
        case PointDelegate::Elevation:
            point.Elevation = edit.Value.toDouble();
            break;
        case PointDelegate::Way:
            break;
        }
        mTours.Change(edit.Tour, u"ChangePoint"_s, tour);
    }
}

void MainWindow::EditDetails()
{
    if (mCurrent < 0)
        return;
    const int index = mCurrent;
    Tour tour = mTours.At(index).Content;
    const std::unique_ptr<FormDialog> dialog(FormDialog::Make(mDocument, u"Details"_s, this));
    dialog->SetValue(u"Name"_s, tour.Name);
    dialog->SetValue(u"Date"_s, tour.Date.date());
    const QDate shownDate = dialog->Value(u"Date"_s).toDate(); // today, if the tour has no date
    dialog->SetValue(u"Kind"_s, Tour::NameOf(tour.Kind));
    dialog->SetValue(u"Notes"_s, tour.Notes);
    if (dialog->exec() != QDialog::Accepted)
        return;
    tour.Name = dialog->Value(u"Name"_s).toString();
    const QDate date = dialog->Value(u"Date"_s).toDate();
    if (date != shownDate)
        tour.Date.setDate(date);
    tour.Kind = Tour::TourKindOf(dialog->Value(u"Kind"_s).toString());
    tour.Notes = dialog->Value(u"Notes"_s).toString();
    mTours.Change(index, u"ChangeDetails"_s, tour);
}

// Preferences and language

FormDialog* MainWindow::ShowPreferences()
{
    mPreferencesDocument.MoveToRoot();
    auto* dialog = new FormDialog(mPreferencesDocument, this);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    PreferencesForm::Fill(*dialog, mPreferences);
    connect(dialog, &QDialog::accepted, this,
            [this, dialog] { ApplyPreferences(PreferencesForm::Read(*dialog)); });
    connect(dialog, &FormDialog::Applied, this, [this, dialog] {
        const QString language = mLanguage.Code();
        ApplyPreferences(PreferencesForm::Read(*dialog));
        if (mLanguage.Code() == language)
            return;
        const QPoint position = dialog->pos();
        dialog->close();
        ShowPreferences()->move(position); // in the new language
    });
    dialog->open();
    return dialog;
}

void MainWindow::ApplyPreferences(const Preferences& preferences)
{
    const bool sameLanguage = preferences.LanguageCode == mPreferences.LanguageCode;
    mSettings.Write(mPreferences, preferences);
    mPreferences = preferences;
    if (sameLanguage)
        ApplyLanguage();
    else
        mLanguage.Select(preferences.LanguageCode); // its signal calls ApplyLanguage
}

void MainWindow::SelectLanguage(const QString& code)
{
    Preferences preferences = mPreferences;
    preferences.LanguageCode = code;
    mSettings.Write(mPreferences, preferences);
    mPreferences = preferences;
    mLanguage.Select(code);
}

void MainWindow::SelectLanguageOnce(const QString& code)
{
    mLanguage.Select(code);
}

//! [speak]
void MainWindow::ApplyLanguage()
{
    setLocale(mLanguage.Locale());
    mDocument.Translator = mPreferencesDocument.Translator = mLanguage.Translator();
    mBuilder.Apply(); // reads every text again
    mUndoText = mBuilder.Action(u"Undo"_s) != nullptr ? mBuilder.Action(u"Undo"_s)->text() : QString();
    mRedoText = mBuilder.Action(u"Redo"_s) != nullptr ? mBuilder.Action(u"Redo"_s)->text() : QString();
    mTourTable->SetEmptyText(Text(u"Tours/Empty"_s));
    mView->SetPreferences(mPreferences, mLanguage.Locale());
    mView->SetTexts(Text(u"NoTour"_s), Text(u"Distance"_s), Text(u"Elevation"_s));
    FillMenus();
    Refresh();
    if (mHelp != nullptr)
        LoadHelp();
}
//! [speak]

void MainWindow::FillMenus()
{
    if (QMenu* menu = mBuilder.Menu(u"Language"_s)) {
        Menus::FillLanguages(*menu, Text(u"SystemLanguage"_s), mPreferences.LanguageCode,
                             [this](const QString& code) { SelectLanguage(code); });
    }
    const auto setChecked = [this](const QString& name, bool checked) {
        if (QAction* action = mBuilder.Action(name))
            action->setChecked(checked);
    };
    setChecked(u"Grid"_s, mPreferences.Grid);
    setChecked(u"Names"_s, mPreferences.Names);
    setChecked(u"Profile"_s, mPreferences.Profile);
    FillRecent();
    FillWindows();
}

void MainWindow::FillRecent()
{
    if (QMenu* menu = mBuilder.Menu(u"Recent"_s)) {
        Menus::FillRecent(*menu, mSettings.RecentFiles(), [this](const QString& file) { OpenFiles({file}); });
    }
}

// Windows

void MainWindow::FillWindows()
{
    if (mGrid == nullptr)
        return;
    if (QMenu* menu = mBuilder.Menu(u"Window"_s))
        Menus::FillWindows(*menu, mGrid->Others(), [this](qint64 processId) { mGrid->Raise(processId); });
    if (QMenu* menu = mBuilder.Menu(u"Send"_s)) {
        Menus::FillWindows(*menu, mGrid->Others(), [this](qint64 processId) {
            FinishEditing();
            if (mCurrent >= 0)
                mGrid->SendTour(processId, mTours.At(mCurrent).Content.ToXml());
        });
    }
}

void MainWindow::NewWindow()
{
    QProcess::startDetached(QCoreApplication::applicationFilePath(), {u"--new-window"_s});
}

void MainWindow::ReceiveTour(const QString& xml)
{
    const std::optional<Tour> tour = Tour::FromXml(xml);
    if (!tour)
        return;
    SelectTour(mTours.Add(*tour));
    statusBar()->showMessage(Text(u"Received"_s).arg(Shorten(tour->Name)), kStatusMs);
    ComeForward();
}

void MainWindow::ComeForward()
{
    setWindowState(windowState() & ~Qt::WindowMinimized); // a maximised window stays maximised
    show();
    raise();
    activateWindow();
}

// Help

void MainWindow::ShowHelp()
{
    if (mHelp == nullptr) {
        mHelp = new QTextBrowser(this);
        mHelp->setWindowFlag(Qt::Window);
        mHelp->setObjectName(u"help"_s);
        mHelp->resize(520, 560);
    }
    LoadHelp();
    mHelp->show();
    mHelp->raise();
    mHelp->activateWindow();
}

//! [help]
void MainWindow::LoadHelp()
{
    const QString file = mLanguage.FindFile(u"help.html"_s, mDataFolder + u"/help"_s);
    mHelp->setSource(QUrl::fromLocalFile(file));
    mHelp->setWindowTitle(mHelp->documentTitle());
}
//! [help]

void MainWindow::About()
{
    mNotices.Show(Text(u"About"_s));
}

void MainWindow::ReportSettings()
{
    mNotices.ShowSettingsReport(mSettings.AtStart());
}

void MainWindow::RestorePlace()
{
    const WindowPlace place = mSettings.ReadWindowPlace();
    const bool isOnAScreen = std::ranges::any_of(QGuiApplication::screens(), [&place](const QScreen* screen) {
        return screen->availableGeometry().intersects(place.Place);
    });
    if (place.Place.isNull() || !isOnAScreen)
        return; // the first start, or the screen is gone
    setGeometry(place.Place);
    mAcross->restoreState(place.Splitters);
    if (place.Maximized)
        setWindowState(windowState() | Qt::WindowMaximized);
}

// Showing

QString MainWindow::NameOf(int tour) const
{
    // Show one line without control characters: a pasted name may contain them.
    const QString name = XmlText(mTours.At(tour).Content.Name).simplified();
    return name.isEmpty() ? Text(u"Untitled"_s) : name;
}

// A long name would push the rest of a message out of the status bar.
QString MainWindow::Shorten(const QString& name) const
{
    return statusBar()->fontMetrics().elidedText(name, Qt::ElideMiddle, width() / 3);
}

void MainWindow::SelectTour(int index)
{
    if (index < 0 || index >= mTours.Count())
        return;
    if (index != mCurrent) {
        FinishEditing();
        mView->SetSelected(-1);
    }
    mCurrent = index;
    Refresh();
}

void MainWindow::SelectPoint(int point)
{
    mView->SetSelected(point);
    mPointTable->Select(point);
    UpdateActions();
}

void MainWindow::Refresh()
{
    mCurrent = std::clamp(mCurrent, mTours.Count() > 0 ? 0 : -1, mTours.Count() - 1);
    const int selected = mView->Selected();
    const std::optional<Tour> tour
        = mCurrent >= 0 ? std::optional(mTours.At(mCurrent).Content) : std::nullopt;
    const QLocale& locale = mLanguage.Locale();
    mView->SetTour(tour);
    mTourTable->Fill(mTours, mPreferences.Unit, locale, Text(u"Untitled"_s), mCurrent);
    mPointTable->Fill(tour ? tour->Points : QList<Point>(), mPreferences.Unit, locale);
    SelectPoint(selected);
    ShowCount();

    const QString name = mCurrent >= 0 ? NameOf(mCurrent) : Text(u"Untitled"_s);
    setWindowTitle(Text(u"Title"_s).arg(name + u"[*]"_s));
    setWindowModified(mCurrent >= 0 && mTours.IsModified(mCurrent));
    if (mGrid != nullptr)
        mGrid->SetTitle(Text(u"Title"_s).arg(name));
}

void MainWindow::ShowCount()
{
    double length = 0;
    for (int i = 0; i < mTours.Count(); ++i)
        length += mTours.At(i).Content.Length();
    //! [count]
    const QString way = FormatWay(length, mPreferences.Unit, mLanguage.Locale());
    mCount->setText(mTours.Count() == 1 ? Text(u"CountOne"_s).arg(way)
                                        : Text(u"CountMany"_s).arg(mTours.Count()).arg(way));
    //! [count]
}
