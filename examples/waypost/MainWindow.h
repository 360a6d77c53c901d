// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef WAYPOST_MAINWINDOW_H
#define WAYPOST_MAINWINDOW_H

#include "InterfaceBuilder.h"
#include "Language.h"
#include "Notices.h"
#include "PointDelegate.h"
#include "TourBook.h"
#include "UserSettings.h"

#include <qvutil/XmlFiler.h>

#include <QHash>
#include <QList>
#include <QMainWindow>
#include <QStringList>
#include <QVariant>

#include <functional>
#include <memory>

class FormDialog;
class PointTable;
class QLabel;
class QSplitter;
class QTextBrowser;
class TourTable;
class TourView;
class WindowGrid;

/// The main window: connects the interface that is built from MainWindow.xml with the tours of a TourBook.
class MainWindow : public QMainWindow
{
    Q_OBJECT
public:
    /// \param dataFolder  see Places::DataFolder
    /// \param grid        name of the grid of this user's windows; empty if the window joins no grid
    MainWindow(UserSettings& settings, const QString& dataFolder, const QString& grid);
    ~MainWindow() override;

    /// \return false if there is no MainWindow.xml or Preferences.xml, or if one is damaged
    [[nodiscard]] bool IsComplete() const { return mIsComplete; }

    /// Opens tours and selects the last one. Reports the files that cannot be opened.
    void OpenFiles(const QStringList& files);
    /// Opens the tours that were open last time, if the preferences say so.
    void OpenLastFiles();
    /// Brings the window to the front.
    void ComeForward();
    /// Reports a damaged or unreadable settings file to the user.
    void ReportSettings();
    /// Restores the position and size that the window had last time.
    void RestorePlace();
    /// Opens the dialog with the preferences, without waiting for the user.
    FormDialog* ShowPreferences();

    void SelectTour(int index);
    void SelectPoint(int point);
    /// Changes the language, and saves it in the settings.
    void SelectLanguage(const QString& code);
    /// Changes the language until the program ends.
    void SelectLanguageOnce(const QString& code);

    [[nodiscard]] const TourBook& Tours() const { return mTours; }
    [[nodiscard]] int CurrentTour() const { return mCurrent; }
    [[nodiscard]] const Language& CurrentLanguage() const { return mLanguage; }
    [[nodiscard]] WindowGrid* Grid() const { return mGrid.get(); }

protected:
    void closeEvent(QCloseEvent* event) override;

private:
    void BuildCentre();
    void ConnectActions();
    void ConnectGrid(const QString& grid);
    void ConnectSwitches();
    void Connect(const QString& name, void (MainWindow::*slot)());

    // Defines the conditions that MainWindow.xml uses.
    void DefineConditions();
    void UpdateActions();

    void NewTour();
    void Open();
    void SaveCurrent() { Save(mCurrent); }
    void SaveCurrentAs() { SaveAs(mCurrent); }
    // These take an index: while a dialog is open, a tour may arrive and become the current one.
    void Save(int index);
    void SaveAs(int index);
    [[nodiscard]] QString ProposeFile(int index, const QString& suffix) const;
    bool SaveTo(int index, const QString& file);
    void Export();
    void CloseCurrent();
    [[nodiscard]] bool MayClose(int index);
    [[nodiscard]] bool MayOverwrite(int index);
    [[nodiscard]] QString Ask(const QString& question, int index);
    void Undo();
    void Redo();
    void AddPoint();
    void DeletePoint();
    void EditDetails();
    void EditPreferences() { ShowPreferences(); }
    void NewWindow();
    void ShowHelp();
    void LoadHelp();
    void About();
    void FinishEditing();
    void ApplyEdits();
    void ReceiveTour(const QString& xml);

    void ApplyLanguage();
    void ApplyPreferences(const Preferences& preferences);
    void Refresh();
    void ShowCount();
    void FillMenus();
    void FillRecent();
    void FillWindows();
    void UpdateUndoTexts();
    [[nodiscard]] QString NameOf(int tour) const;
    [[nodiscard]] QString Shorten(const QString& name) const;
    [[nodiscard]] QString Text(const QString& name) const { return mBuilder.Text(name); }

    // A change that the user has made in the table of waypoints.
    struct Edit
    {
        int Tour = -1;
        int Point = -1;
        PointDelegate::Column Column = PointDelegate::Name;
        QVariant Value;
    };

    UserSettings& mSettings;
    Preferences mPreferences;
    QString mDataFolder;
    bool mIsComplete = false;
    Language mLanguage;
    Quorvin::Util::XmlFiler mDocument;
    Quorvin::Util::XmlFiler mPreferencesDocument;
    InterfaceBuilder mBuilder;
    Notices mNotices;
    QHash<QString, std::function<bool()>> mConditions;
    TourBook mTours;
    int mCurrent = -1;
    QList<Edit> mEdits; // not applied yet
    std::unique_ptr<WindowGrid> mGrid;

    TourTable* mTourTable = nullptr;
    PointTable* mPointTable = nullptr;
    TourView* mView = nullptr;
    QLabel* mCount = nullptr;
    QSplitter* mAcross = nullptr;
    QSplitter* mDown = nullptr;
    QTextBrowser* mHelp = nullptr;
    QString mUndoText;
    QString mRedoText;
};

#endif // WAYPOST_MAINWINDOW_H
