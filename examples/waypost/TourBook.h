// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef WAYPOST_TOURBOOK_H
#define WAYPOST_TOURBOOK_H

#include "Tour.h"

#include <QDateTime>
#include <QObject>
#include <QString>
#include <QUndoStack>

#include <memory>
#include <vector>

/// The open tours of a window, with their files and undo stacks.
class TourBook : public QObject
{
    Q_OBJECT
public:
    struct Entry
    {
        Tour Content;
        QString File; // empty until the tour is saved
        QUndoStack Changes; // clean if the file is up to date
        // The state of the file when it was last loaded or saved:
        QDateTime Modified;
        qint64 Size = 0;
    };

    using QObject::QObject;
    ~TourBook() override;

    [[nodiscard]] int Count() const { return static_cast<int>(mEntries.size()); }
    [[nodiscard]] const Entry& At(int index) const { return *mEntries[static_cast<size_t>(index)]; }
    /// Finds the tour of a file, even if it was opened under a different path.
    /// \return index of the tour; -1 if the file is not open
    [[nodiscard]] int Find(const QString& file) const;
    [[nodiscard]] bool IsModified(int index) const { return !At(index).Changes.isClean(); }
    /// Returns whether another program has changed the tour's file since it was loaded or saved.
    [[nodiscard]] bool IsFileChanged(int index) const;

    /// Adds a tour that has no file yet. The tour counts as modified.
    /// \return index of the tour
    int Add(const Tour& tour);
    /// Opens a file, unless it is open already.
    /// \param error  receives the reason for a failure
    /// \return index of the tour; -1 if it cannot be loaded
    int Open(const QString& file, TourError& error);
    /// Saves a tour.
    /// \return false if the file cannot be written; the tour stays modified
    bool Save(int index, const QString& file);
    void Close(int index);

    /// Replaces a tour. Undo() reverts this.
    /// \param text  name of the change, for the menu
    void Change(int index, const QString& text, const Tour& tour);
    /// Sets properties that are saved with the tour, but cannot be undone. The tour does not count as
    /// modified: a user who has only looked at the map is not asked whether to save it.
    void SetSection(int index, const QRect& section);
    void SetThumbnail(int index, const QByteArray& thumbnail);
    void Undo(int index) { mEntries[static_cast<size_t>(index)]->Changes.undo(); }
    void Redo(int index) { mEntries[static_cast<size_t>(index)]->Changes.redo(); }

Q_SIGNALS:
    /// A tour was added, closed, changed or saved.
    void Changed();

private:
    int Append(const Tour& tour, const QString& file);

    std::vector<std::unique_ptr<Entry>> mEntries;
};

#endif // WAYPOST_TOURBOOK_H
