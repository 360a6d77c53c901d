// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef WAYPOST_MAINWINDOW_H
#define WAYPOST_MAINWINDOW_H

#include "InterfaceBuilder.h"
#include "Language.h"
#include "PointDelegate.h"
#include "TourBook.h"
#include "UserSettings.h"

#include <qvutil/XmlFiler.h>

#include <QHash>
#include <QMainWindow>
#include <QStringList>

#include <functional>
#include <memory>

class FormDialog;
class QActionGroup;
class QLabel;
class QSplitter;
class QTableWidget;
class QTextBrowser;
class TourView;
class WindowGrid;

/// The window of Waypost. What it looks like stands in MainWindow.xml, what its tours are in TourBook.
class MainWindow : public QMainWindow
{
    Q_OBJECT
public:
    /// \param dataFolder  see Places::DataFolder
    /// \param grid        name of the grid that the windows of this user form; empty: this window is alone
    MainWindow(UserSettings& settings, const QString& dataFolder, const QString& grid);
    ~MainWindow() override;

    /// \return false if there is no MainWindow.xml or Preferences.xml, or if one is damaged
    [[nodiscard]] bool IsComplete() const { return mIsComplete; }

    /// Opens tours and selects the last one. Reports the files that cannot be opened.
    void OpenFiles(const QStringList& files);
    /// Opens the tours of the last time, if the user wants that.
    void OpenLastFiles();
    /// Comes to the front.
    void ComeForward();
    /// Tells the user what is wrong with the settings file, if anything is.
    void TellOfSettings();
    /// Puts the window where it was the last time.
    void RestorePlace();
    /// Shows the preferences, without waiting for the user.
    FormDialog* ShowPreferences();

    void SelectTour(int index);
    void SelectPoint(int point);
    /// Speaks a language from now on, also the next time.
    void SelectLanguage(const QString& code);
    /// Speaks a language this time.
    void SpeakOnce(const QString& code);

    [[nodiscard]] const TourBook& Tours() const { return mTours; }
    [[nodiscard]] int CurrentTour() const { return mCurrent; }
    [[nodiscard]] const Language& Speech() const { return mLanguage; }
    [[nodiscard]] WindowGrid* Grid() const { return mGrid.get(); }

protected:
    void closeEvent(QCloseEvent* event) override;

private:
    void BuildCentre();
    void ConnectActions();
    void ConnectGrid(const QString& grid);
    void On(const QString& name, void (MainWindow::*slot)());

    // What the conditions in MainWindow.xml mean.
    void DefineConditions();
    void UpdateActions();

    void NewTour();
    void Open();
    void Save();
    void SaveAs();
    bool SaveTo(int index, const QString& file);
    [[nodiscard]] QByteArray Sketch(const Tour& tour) const;
    void Export();
    void CloseCurrent();
    [[nodiscard]] bool MayClose(int index);
    void Undo();
    void Redo();
    void AddPoint();
    void DeletePoint();
    void EditDetails();
    void EditPreferences() { ShowPreferences(); }
    void NewWindow();
    void ShowHelp();
    void About();
    void ChangePoint(int row, PointDelegate::Column column, const QVariant& value);
    void ReceiveTour(const QString& xml);

    void Speak();
    void Refresh();
    void FillTours();
    void FillPoints();
    void FillRecent();
    void FillLanguages();
    void FillWindows();
    void Apply(const Preferences& preferences);
    [[nodiscard]] FormDialog* MakeDialog(const QString& name);
    void Tell(const QString& text);
    void TellOf(const QString& file, const TourError& error);
    [[nodiscard]] QString NameOf(int tour) const;
    [[nodiscard]] QString Text(const QString& name) const { return mBuilder.Text(name); }

    UserSettings& mSettings;
    Preferences mPreferences;
    QString mDataFolder;
    bool mIsComplete = false;
    Language mLanguage;
    Quorvin::Util::XmlFiler mDocument;
    Quorvin::Util::XmlFiler mPreferencesDocument;
    InterfaceBuilder mBuilder;
    QHash<QString, std::function<bool()>> mConditions;
    TourBook mTours;
    int mCurrent = -1;
    std::unique_ptr<WindowGrid> mGrid;

    QTableWidget* mTourTable = nullptr;
    QTableWidget* mPointTable = nullptr;
    PointDelegate* mPointDelegate = nullptr;
    QLabel* mEmpty = nullptr;
    TourView* mView = nullptr;
    QLabel* mCount = nullptr;
    QSplitter* mAcross = nullptr;
    QSplitter* mDown = nullptr;
    QActionGroup* mLanguages = nullptr;
    QTextBrowser* mHelp = nullptr;
    QString mUndoText;
    QString mRedoText;
    bool mIsFilling = false;
};

#endif // WAYPOST_MAINWINDOW_H
