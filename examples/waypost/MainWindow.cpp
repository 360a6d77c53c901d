// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "MainWindow.h"

#include "FormDialog.h"
#include "TourView.h"
#include "Units.h"
#include "WindowGrid.h"

#include <qvutil/BooleanExpressionEvaluator.h>
#include <qvutil/GeneralUtil.h>

#include <QActionGroup>
#include <QApplication>
#include <QCloseEvent>
#include <QDir>
#include <QFileDialog>
#include <QFileInfo>
#include <QHeaderView>
#include <QLabel>
#include <QMenu>
#include <QProcess>
#include <QScreen>
#include <QSplitter>
#include <QStackedLayout>
#include <QStatusBar>
#include <QTableWidget>
#include <QTextBrowser>
#include <QTime>

#include <algorithm>

using namespace Qt::StringLiterals;
using Quorvin::Util::Settings;
using Quorvin::Util::XmlLoadError;

namespace {

constexpr int kPointRole = Qt::UserRole; // index into the tour's points
constexpr int kValueRole = Qt::UserRole + 1; // what the delegate edits

QTableWidget* MakeTable(const QString& name)
{
    auto* table = new QTableWidget;
    table->setObjectName(name);
    table->setSelectionBehavior(QAbstractItemView::SelectRows);
    table->setSelectionMode(QAbstractItemView::SingleSelection);
    table->setTabKeyNavigation(false); // Tab leads on to the next widget
    table->setAlternatingRowColors(true);
    table->setShowGrid(false);
    table->verticalHeader()->hide();
    table->horizontalHeader()->setStretchLastSection(true);
    table->horizontalHeader()->setHighlightSections(false);
    return table;
}

QTableWidgetItem* MakeCell(const QString& text, bool isNumber = false)
{
    auto* cell = new QTableWidgetItem(text);
    if (isNumber)
        cell->setTextAlignment(Qt::AlignRight | Qt::AlignVCenter);
    return cell;
}

} // namespace

//! [construct]
MainWindow::MainWindow(UserSettings& settings, const QString& dataFolder, const QString& grid)
    : mSettings(settings)
    , mPreferences(settings.ReadPreferences())
    , mDataFolder(dataFolder)
    , mLanguage(dataFolder)
    , mBuilder(mDocument, *this)
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
    ConnectGrid(grid);
    connect(&mTours, &TourBook::Changed, this, &MainWindow::Refresh);
    connect(&mLanguage, &Language::Changed, this, &MainWindow::Speak);
    Speak();
}
//! [construct]

MainWindow::~MainWindow()
{
    mTours.disconnect(this); // its undo stacks speak up once more when they are destroyed
}

// Making the window

void MainWindow::BuildCentre()
{
    mTourTable = MakeTable(u"tableTours"_s);
    mTourTable->setEditTriggers(QAbstractItemView::NoEditTriggers);
    mTourTable->setIconSize({48, 32});
    mTourTable->verticalHeader()->setDefaultSectionSize(38);
    mPointTable = MakeTable(u"tablePoints"_s);
    mPointDelegate = new PointDelegate(
        [this](const QString& kind) { return mBuilder.Choice(u"PointKind"_s, kind); }, this);
    mPointTable->setItemDelegate(mPointDelegate);
    connect(mPointDelegate, &PointDelegate::Edited, this, &MainWindow::ChangePoint, Qt::QueuedConnection);

    // Lies over the empty table and lets the mouse through.
    mEmpty = new QLabel(mTourTable->viewport());
    mEmpty->setObjectName(u"labelEmpty"_s);
    mEmpty->setAlignment(Qt::AlignCenter);
    mEmpty->setWordWrap(true);
    mEmpty->setMargin(24);
    mEmpty->setAttribute(Qt::WA_TransparentForMouseEvents);
    auto* over = new QStackedLayout(mTourTable->viewport());
    over->addWidget(mEmpty);

    mView = new TourView;
    mDown = new QSplitter(Qt::Vertical);
    mDown->addWidget(mTourTable);
    mDown->addWidget(mPointTable);
    mDown->setSizes({300, 360});
    mAcross = new QSplitter(Qt::Horizontal);
    mAcross->addWidget(mDown);
    mAcross->addWidget(mView);
    mAcross->setSizes({450, 630});
    mAcross->setStretchFactor(1, 1);
    mDown->setChildrenCollapsible(false);
    mAcross->setChildrenCollapsible(false);
    setCentralWidget(mAcross);

    mCount = new QLabel;
    mCount->setObjectName(u"labelCount"_s);
    statusBar()->addPermanentWidget(mCount);

    connect(mTourTable, &QTableWidget::itemSelectionChanged, this, [this] {
        if (!mIsFilling)
            SelectTour(mTourTable->currentRow());
    });
    connect(mPointTable, &QTableWidget::itemSelectionChanged, this, [this] {
        const QTableWidgetItem* cell = mPointTable->item(mPointTable->currentRow(), 0);
        if (mIsFilling || cell == nullptr)
            return;
        mView->SetSelected(cell->data(kPointRole).toInt());
        UpdateActions();
    });
    connect(mView, &TourView::PointSelected, this, &MainWindow::SelectPoint);
    connect(mView, &TourView::SectionChanged, this, [this](const QRect& section) {
        if (mCurrent >= 0)
            mTours.SetSection(mCurrent, section);
    });
}

void MainWindow::On(const QString& name, void (MainWindow::*slot)())
{
    if (const QAction* action = mBuilder.Action(name))
        connect(action, &QAction::triggered, this, slot);
}

//! [connect]
void MainWindow::ConnectActions()
{
    On(u"New"_s, &MainWindow::NewTour);
    On(u"Open"_s, &MainWindow::Open);
    On(u"Save"_s, &MainWindow::Save);
    On(u"SaveAs"_s, &MainWindow::SaveAs);
    On(u"Export"_s, &MainWindow::Export);
    On(u"Close"_s, &MainWindow::CloseCurrent);
    On(u"Undo"_s, &MainWindow::Undo);
    On(u"Redo"_s, &MainWindow::Redo);
    On(u"AddPoint"_s, &MainWindow::AddPoint);
    On(u"Delete"_s, &MainWindow::DeletePoint);
    On(u"Details"_s, &MainWindow::EditDetails);
    On(u"Preferences"_s, &MainWindow::EditPreferences);
    On(u"NewWindow"_s, &MainWindow::NewWindow);
    On(u"Contents"_s, &MainWindow::ShowHelp);
    On(u"About"_s, &MainWindow::About);
    //! [connect]
    const auto connectTo = [this](const QString& name, auto* receiver, auto slot) {
        if (const QAction* action = mBuilder.Action(name))
            connect(action, &QAction::triggered, receiver, slot);
    };
    connectTo(u"Quit"_s, this, &QWidget::close);
    connectTo(u"ZoomIn"_s, mView, &TourView::ZoomIn);
    connectTo(u"ZoomOut"_s, mView, &TourView::ZoomOut);
    connectTo(u"ShowAll"_s, mView, &TourView::ShowAll);
    const auto connectSwitch = [this](const QString& name, bool Preferences::*flag) {
        const QAction* action = mBuilder.Action(name);
        if (action == nullptr)
            return;
        connect(action, &QAction::triggered, this, [this, flag](bool checked) {
            Preferences preferences = mPreferences;
            preferences.*flag = checked;
            Apply(preferences);
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
        statusBar()->showMessage(Text(taken ? u"Sent"_s : u"NotSent"_s).arg(window), 8000);
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
        {u"tour modified"_s, [this] { return mCurrent >= 0 && mTours.IsModified(mCurrent); }},
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
            return false; // a name that nobody knows: the expression fails
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
    //! [conditions]
    const auto setText = [this](const QString& name, const QString& text, const QString& change) {
        if (QAction* action = mBuilder.Action(name)) {
            const QString shortText = action->iconText(); // which setText would change
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
            TellOf(file, error);
            continue;
        }
        mSettings.AddRecentFile(mTours.At(index).File);
        if (mTours.At(index).Content.Thumbnail.isEmpty())
            mTours.SetThumbnail(index, Sketch(mTours.At(index).Content));
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
    files.removeIf(
        [](const QString& file) { return !QFileInfo::exists(file); }); // moved or deleted: no matter
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
    OpenFiles(QFileDialog::getOpenFileNames(this, {}, {}, Text(u"TourFiles"_s)));
}

void MainWindow::Save()
{
    if (mCurrent < 0)
        return;
    const QString file = mTours.At(mCurrent).File;
    if (file.isEmpty())
        SaveAs();
    else
        SaveTo(mCurrent, file);
}

void MainWindow::SaveAs()
{
    if (mCurrent < 0)
        return;
    const int index = mCurrent;
    QFileDialog dialog(this, {}, {}, Text(u"TourFiles"_s));
    dialog.setAcceptMode(QFileDialog::AcceptSave);
    dialog.setDefaultSuffix(u"tour"_s);
    const QString file = mTours.At(index).File;
    const QString name
        = Quorvin::Util::GeneralUtil::FixInvalidCharsInFileName(mTours.At(index).Content.Name, u"-"_s);
    dialog.selectFile(file.isEmpty() ? name + u".tour"_s : file);
    if (dialog.exec() == QDialog::Accepted && !dialog.selectedFiles().isEmpty())
        SaveTo(index, dialog.selectedFiles().constFirst());
}

QByteArray MainWindow::Sketch(const Tour& tour) const
{
    TourView view;
    view.SetPreferences(mPreferences, mLanguage.Locale());
    view.SetTour(tour);
    return view.MakeThumbnail();
}

bool MainWindow::SaveTo(int index, const QString& file)
{
    mTours.SetThumbnail(index, Sketch(mTours.At(index).Content));
    if (!mTours.Save(index, file)) {
        Tell(Text(u"NotWritten"_s).arg(QDir::toNativeSeparators(file)));
        return false;
    }
    mSettings.AddRecentFile(mTours.At(index).File);
    FillRecent();
    UpdateActions();
    const QString time = mLanguage.Locale().toString(QTime::currentTime(), QLocale::ShortFormat);
    statusBar()->showMessage(Text(u"Saved"_s).arg(QFileInfo(file).fileName(), time), 8000);
    return true;
}

void MainWindow::Export()
{
    if (mCurrent < 0)
        return;
    QFileDialog dialog(this, {}, {}, Text(u"GpxFiles"_s));
    dialog.setAcceptMode(QFileDialog::AcceptSave);
    dialog.setDefaultSuffix(u"gpx"_s);
    if (dialog.exec() != QDialog::Accepted || dialog.selectedFiles().isEmpty())
        return;
    const QString file = dialog.selectedFiles().constFirst();
    if (mTours.At(mCurrent).Content.ExportGpx(file))
        statusBar()->showMessage(Text(u"Exported"_s).arg(QFileInfo(file).fileName()), 8000);
    else
        Tell(Text(u"NotWritten"_s).arg(QDir::toNativeSeparators(file)));
}

// Asks whether the changes of a tour are to be saved. \return false if it must stay open
bool MainWindow::MayClose(int index)
{
    if (!mTours.IsModified(index))
        return true;
    SelectTour(index);
    const std::unique_ptr<FormDialog> question(MakeDialog(u"CloseTour"_s));
    question->SetMessage(question->Message().arg(mTours.At(index).Content.Name));
    question->exec();
    if (question->PressedButton() == "Discard"_L1)
        return true;
    if (question->PressedButton() != "Save"_L1)
        return false;
    Save();
    return !mTours.IsModified(index);
}

void MainWindow::CloseCurrent()
{
    if (mCurrent < 0 || !MayClose(mCurrent))
        return;
    const int index = mCurrent;
    mCurrent = std::min(index, mTours.Count() - 2);
    mTours.Close(index);
}

void MainWindow::closeEvent(QCloseEvent* event)
{
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
    const qsizetype after = mView->Selected() >= 0 ? mView->Selected() : tour.Points.size() - 1;
    Point point;
    if (after >= 0) {
        // Half way to the next point, or a little further on.
        const Point& from = tour.Points[after];
        const Point to = after + 1 < tour.Points.size()
            ? tour.Points[after + 1]
            : Point{{}, PointKind::Track, from.Latitude + 0.01, from.Longitude + 0.01, from.Elevation};
        point = {{},
                 PointKind::View,
                 (from.Latitude + to.Latitude) / 2,
                 (from.Longitude + to.Longitude) / 2,
                 std::round((from.Elevation + to.Elevation) / 2)};
    } else {
        point = {{}, PointKind::Start, 47.4, 11.0, 800};
    }
    point.Name = Text(u"NewPoint"_s);
    tour.Points.insert(after + 1, point);
    mTours.Change(mCurrent, u"AddPoint"_s, tour);
    SelectPoint(static_cast<int>(after + 1));
}

void MainWindow::DeletePoint()
{
    const int selected = mView->Selected();
    if (mCurrent < 0 || selected < 0)
        return;
    Tour tour = mTours.At(mCurrent).Content;
    Point& point = tour.Points[selected];
    point.Name.clear(); // the track stays as it is
    point.Kind = PointKind::Track;
    mView->SetSelected(-1);
    mTours.Change(mCurrent, u"DeletePoint"_s, tour);
}

void MainWindow::ChangePoint(int row, PointDelegate::Column column, const QVariant& value)
{
    const QTableWidgetItem* cell = mPointTable->item(row, 0);
    if (mCurrent < 0 || cell == nullptr)
        return;
    Tour tour = mTours.At(mCurrent).Content;
    Point& point = tour.Points[cell->data(kPointRole).toInt()];
    switch (column) {
    case PointDelegate::Name:
        point.Name = value.toString();
        break;
    case PointDelegate::Kind:
        point.Kind = Tour::PointKindOf(value.toString());
        break;
    case PointDelegate::Elevation:
        point.Elevation = value.toDouble();
        break;
    case PointDelegate::Way:
        break;
    }
    mTours.Change(mCurrent, u"ChangePoint"_s, tour);
}

void MainWindow::EditDetails()
{
    if (mCurrent < 0)
        return;
    const int index = mCurrent;
    Tour tour = mTours.At(index).Content;
    const std::unique_ptr<FormDialog> dialog(MakeDialog(u"Details"_s));
    dialog->SetValue(u"Name"_s, tour.Name);
    dialog->SetValue(u"Date"_s, tour.Date.date());
    dialog->SetValue(u"Kind"_s, Tour::NameOf(tour.Kind));
    dialog->SetValue(u"Notes"_s, tour.Notes);
    if (dialog->exec() != QDialog::Accepted)
        return;
    tour.Name = dialog->Value(u"Name"_s).toString();
    tour.Date.setDate(dialog->Value(u"Date"_s).toDate());
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
    dialog->SetValue(u"Language"_s, mPreferences.LanguageCode);
    dialog->SetValue(u"Units"_s, mPreferences.Unit == Units::Imperial ? u"imperial"_s : u"metric"_s);
    dialog->SetValue(u"OpenLast"_s, mPreferences.OpenLast);
    dialog->SetValue(u"Grid"_s, mPreferences.Grid);
    dialog->SetValue(u"Names"_s, mPreferences.Names);
    dialog->SetValue(u"Profile"_s, mPreferences.Profile);
    dialog->SetValue(u"Color"_s, mPreferences.TrackColour);
    dialog->SetValue(u"Width"_s, mPreferences.TrackWidth);
    dialog->SetValue(u"Smooth"_s, mPreferences.Smooth);
    const auto apply = [this, dialog] {
        Preferences preferences;
        preferences.LanguageCode = dialog->Value(u"Language"_s).toString();
        preferences.Unit
            = dialog->Value(u"Units"_s).toString() == "imperial"_L1 ? Units::Imperial : Units::Metric;
        preferences.OpenLast = dialog->Value(u"OpenLast"_s).toBool();
        preferences.Grid = dialog->Value(u"Grid"_s).toBool();
        preferences.Names = dialog->Value(u"Names"_s).toBool();
        preferences.Profile = dialog->Value(u"Profile"_s).toBool();
        preferences.TrackColour = dialog->Value(u"Color"_s).value<QColor>();
        preferences.TrackWidth = dialog->Value(u"Width"_s).toInt();
        preferences.Smooth = dialog->Value(u"Smooth"_s).toBool();
        Apply(preferences);
    };
    connect(dialog, &FormDialog::Applied, this, apply);
    connect(dialog, &QDialog::accepted, this, apply);
    dialog->open();
    return dialog;
}

void MainWindow::Apply(const Preferences& preferences)
{
    const bool sameLanguage = preferences.LanguageCode == mPreferences.LanguageCode;
    mPreferences = preferences;
    mSettings.Write(preferences);
    if (sameLanguage)
        Speak();
    else
        mLanguage.Select(preferences.LanguageCode); // which speaks
}

void MainWindow::SelectLanguage(const QString& code)
{
    Preferences preferences = mPreferences;
    preferences.LanguageCode = code;
    Apply(preferences);
}

void MainWindow::SpeakOnce(const QString& code)
{
    mPreferences.LanguageCode = code;
    mLanguage.Select(code);
}

//! [speak]
void MainWindow::Speak()
{
    mDocument.Translator = mPreferencesDocument.Translator = mLanguage.Translator();
    mBuilder.Apply(); // reads every text again
    mUndoText = mBuilder.Action(u"Undo"_s) != nullptr ? mBuilder.Action(u"Undo"_s)->text() : QString();
    mRedoText = mBuilder.Action(u"Redo"_s) != nullptr ? mBuilder.Action(u"Redo"_s)->text() : QString();
    mEmpty->setText(Text(u"Tours/Empty"_s));
    mPointDelegate->SetUnits(mPreferences.Unit);
    mView->SetPreferences(mPreferences, mLanguage.Locale());
    mView->SetTexts(Text(u"NoTour"_s), Text(u"Distance"_s), Text(u"Elevation"_s));
    FillLanguages();
    FillRecent();
    FillWindows();
    Refresh();
}
//! [speak]

void MainWindow::FillLanguages()
{
    QMenu* menu = mBuilder.Menu(u"Language"_s);
    if (menu == nullptr)
        return;
    menu->clear();
    delete mLanguages;
    mLanguages = new QActionGroup(this);
    const QStringList codes{QString(), u"en"_s, u"de"_s, u"ja"_s};
    for (const QString& code : codes) {
        // Each language calls itself by its own name.
        const QString name = code.isEmpty() ? Text(u"SystemLanguage"_s) : QLocale(code).nativeLanguageName();
        QAction* action = menu->addAction(code == "en"_L1 ? u"English"_s : name);
        action->setObjectName(u"actionLanguage"_s + code);
        action->setCheckable(true);
        action->setChecked(code == mPreferences.LanguageCode);
        mLanguages->addAction(action);
        connect(
            action, &QAction::triggered, this, [this, code] { SelectLanguage(code); }, Qt::QueuedConnection);
    }
    const auto setChecked = [this](const QString& name, bool checked) {
        if (QAction* action = mBuilder.Action(name))
            action->setChecked(checked);
    };
    setChecked(u"Grid"_s, mPreferences.Grid);
    setChecked(u"Names"_s, mPreferences.Names);
    setChecked(u"Profile"_s, mPreferences.Profile);
}

void MainWindow::FillRecent()
{
    QMenu* menu = mBuilder.Menu(u"Recent"_s);
    if (menu == nullptr)
        return;
    menu->clear();
    const QStringList files = mSettings.RecentFiles();
    for (int i = 0; i < files.size(); ++i) {
        QString name = QFileInfo(files[i]).fileName();
        QAction* action = menu->addAction(u"&%1 %2"_s.arg(i + 1).arg(name.replace(u'&', u"&&"_s)));
        action->setToolTip(QDir::toNativeSeparators(files[i]));
        connect(
            action, &QAction::triggered, this, [this, file = files[i]] { OpenFiles({file}); },
            Qt::QueuedConnection);
    }
    menu->setToolTipsVisible(true);
}

// Windows

void MainWindow::FillWindows()
{
    QMenu* windows = mBuilder.Menu(u"Window"_s);
    QMenu* send = mBuilder.Menu(u"Send"_s);
    if (mGrid == nullptr || windows == nullptr || send == nullptr)
        return;
    send->clear();
    const QList<QAction*> actions = windows->actions();
    for (QAction* action : actions) {
        if (action->property("window").isValid())
            delete action;
    }
    for (const WindowGrid::Window& other : mGrid->Others()) {
        QString title = other.Title.isEmpty() ? u"Waypost (%1)"_s.arg(other.ProcessId) : other.Title;
        title.replace(u'&', u"&&"_s);
        QAction* action = windows->addAction(title);
        action->setProperty("window", other.ProcessId);
        connect(action, &QAction::triggered, this,
                [this, processId = other.ProcessId] { mGrid->Raise(processId); });
        connect(send->addAction(title), &QAction::triggered, this, [this, processId = other.ProcessId] {
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
    statusBar()->showMessage(Text(u"Received"_s).arg(tour->Name), 8000);
    ComeForward();
}

void MainWindow::ComeForward()
{
    if (isMinimized())
        showNormal();
    show();
    raise();
    activateWindow();
}

// Help

//! [help]
void MainWindow::ShowHelp()
{
    if (mHelp == nullptr) {
        mHelp = new QTextBrowser(this);
        mHelp->setWindowFlag(Qt::Window);
        mHelp->setObjectName(u"help"_s);
        mHelp->resize(520, 560);
    }
    const QString file = mLanguage.FindFile(u"help.html"_s, mDataFolder + u"/help"_s);
    mHelp->setSource(QUrl::fromLocalFile(file));
    mHelp->setWindowTitle(mHelp->documentTitle());
    mHelp->show();
    mHelp->raise();
}
//! [help]

void MainWindow::About()
{
    Tell(Text(u"About"_s));
}

// Telling

FormDialog* MainWindow::MakeDialog(const QString& name)
{
    mDocument.MoveToRoot();
    for (bool found = mDocument.MoveToFirstChild(); found; found = mDocument.MoveToNextSibling()) {
        if (mDocument.GetCurrentNodeName() == "Dialog"_L1
            && mDocument.ReadString(u"Name"_s, QString()) == name)
            break;
    }
    return new FormDialog(mDocument, this);
}

void MainWindow::Tell(const QString& text)
{
    FormDialog* dialog = MakeDialog(u"Notice"_s);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->SetMessage(text);
    dialog->open(); // without waiting: other processes may be waiting for this one
}

//! [error]
void MainWindow::TellOf(const QString& file, const TourError& error)
{
    const QString name = QDir::toNativeSeparators(file);
    switch (error.Why) {
    case TourError::Reason::Damaged:
        Tell(Text(u"Damaged"_s).arg(name).arg(error.Line).arg(error.Column).arg(error.Text));
        break;
    case TourError::Reason::Unreadable:
        Tell(Text(u"Unreadable"_s).arg(name, error.Text));
        break;
    case TourError::Reason::NotATour:
        Tell(Text(u"NotATour"_s).arg(name));
        break;
    }
}
//! [error]

//! [settings]
void MainWindow::TellOfSettings()
{
    const XmlLoadError error = mSettings.Error();
    if (mSettings.State() == Settings::FileState::SetAside)
        Tell(Text(u"SettingsSetAside"_s)
                 .arg(error.Line)
                 .arg(error.Column)
                 .arg(QDir::toNativeSeparators(mSettings.SetAsideFile())));
    else if (mSettings.State() == Settings::FileState::Unreadable)
        Tell(Text(u"SettingsUnreadable"_s).arg(error.Text));
}
//! [settings]

void MainWindow::RestorePlace()
{
    const WindowPlace place = mSettings.ReadWindowPlace();
    const bool isOnAScreen = std::ranges::any_of(QGuiApplication::screens(), [&place](const QScreen* screen) {
        return screen->availableGeometry().intersects(place.Place);
    });
    if (place.Place.isNull() || !isOnAScreen)
        return; // the first start, or a screen that is no longer there
    setGeometry(place.Place);
    mAcross->restoreState(place.Splitters);
    if (place.Maximized)
        setWindowState(windowState() | Qt::WindowMaximized);
}

// Showing

QString MainWindow::NameOf(int tour) const
{
    const QString name = mTours.At(tour).Content.Name;
    return name.isEmpty() ? Text(u"Untitled"_s) : name;
}

void MainWindow::SelectTour(int index)
{
    if (index >= mTours.Count())
        return;
    if (index != mCurrent)
        mView->SetSelected(-1);
    mCurrent = index;
    Refresh();
}

void MainWindow::SelectPoint(int point)
{
    mView->SetSelected(point);
    mIsFilling = true;
    for (int row = 0; row < mPointTable->rowCount(); ++row) {
        if (mPointTable->item(row, 0)->data(kPointRole).toInt() == point)
            mPointTable->selectRow(row);
    }
    mIsFilling = false;
    UpdateActions();
}

void MainWindow::Refresh()
{
    mCurrent = std::clamp(mCurrent, mTours.Count() > 0 ? 0 : -1, mTours.Count() - 1);
    const int selected = mView->Selected();
    mView->SetTour(mCurrent >= 0 ? std::optional(mTours.At(mCurrent).Content) : std::nullopt);
    mIsFilling = true;
    FillTours();
    FillPoints();
    mIsFilling = false;
    SelectPoint(selected);

    const QString name = mCurrent >= 0 ? NameOf(mCurrent) : Text(u"Untitled"_s);
    setWindowTitle(Text(u"Title"_s).arg(name + u"[*]"_s));
    setWindowModified(mCurrent >= 0 && mTours.IsModified(mCurrent));
    if (mGrid != nullptr)
        mGrid->SetTitle(Text(u"Title"_s).arg(name));
    UpdateActions();
}

void MainWindow::FillTours()
{
    const QLocale& locale = mLanguage.Locale();
    mTourTable->setRowCount(mTours.Count());
    double length = 0;
    for (int i = 0; i < mTours.Count(); ++i) {
        const Tour& tour = mTours.At(i).Content;
        length += tour.Length();
        QTableWidgetItem* date = MakeCell(locale.toString(tour.Date.date(), QLocale::ShortFormat));
        QPixmap thumbnail;
        if (!tour.Thumbnail.isEmpty() && thumbnail.loadFromData(tour.Thumbnail))
            date->setIcon(thumbnail);
        QTableWidgetItem* name = MakeCell(NameOf(i) + (mTours.IsModified(i) ? u" *"_s : QString()));
        name->setToolTip(tour.Notes);
        mTourTable->setItem(i, 0, date);
        mTourTable->setItem(i, 1, name);
        mTourTable->setItem(i, 2, MakeCell(FormatWay(tour.Length(), mPreferences.Unit, locale), true));
        mTourTable->setItem(i, 3, MakeCell(FormatHeight(tour.Ascent(), mPreferences.Unit, locale), true));
    }
    if (mCurrent >= 0)
        mTourTable->selectRow(mCurrent);
    mEmpty->setVisible(mTours.Count() == 0);

    //! [count]
    const QString way = FormatWay(length, mPreferences.Unit, locale);
    mCount->setText(mTours.Count() == 1 ? Text(u"CountOne"_s).arg(way)
                                        : Text(u"CountMany"_s).arg(mTours.Count()).arg(way));
    //! [count]
}

void MainWindow::FillPoints()
{
    const QLocale& locale = mLanguage.Locale();
    mPointTable->setRowCount(0);
    if (mCurrent < 0)
        return;
    const QList<Point>& points = mTours.At(mCurrent).Content.Points;
    double way = 0;
    for (int i = 0; i < points.size(); ++i) {
        const Point& point = points[i];
        way += i > 0 ? Distance(points[i - 1], point) : 0;
        if (point.Kind == PointKind::Track)
            continue;
        const int row = mPointTable->rowCount();
        mPointTable->insertRow(row);
        QTableWidgetItem* name = MakeCell(point.Name);
        name->setData(kPointRole, i);
        QTableWidgetItem* kind = MakeCell(mBuilder.Choice(u"PointKind"_s, Tour::NameOf(point.Kind)));
        kind->setData(kValueRole, Tour::NameOf(point.Kind));
        QTableWidgetItem* distance = MakeCell(FormatWay(way, mPreferences.Unit, locale), true);
        distance->setFlags(distance->flags() & ~Qt::ItemIsEditable);
        QTableWidgetItem* height = MakeCell(FormatHeight(point.Elevation, mPreferences.Unit, locale), true);
        height->setData(kValueRole, point.Elevation);
        mPointTable->setItem(row, PointDelegate::Name, name);
        mPointTable->setItem(row, PointDelegate::Kind, kind);
        mPointTable->setItem(row, PointDelegate::Way, distance);
        mPointTable->setItem(row, PointDelegate::Elevation, height);
    }
}
