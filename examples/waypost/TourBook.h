// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef WAYPOST_TOURBOOK_H
#define WAYPOST_TOURBOOK_H

#include "Tour.h"

#include <QObject>
#include <QString>
#include <QUndoStack>

#include <memory>
#include <vector>

/// The tours that are open in a window: their files, what was changed, and how to undo it.
class TourBook : public QObject
{
    Q_OBJECT
public:
    struct Entry
    {
        Tour Content;
        QString File; // empty until it is saved
        QUndoStack Changes; // clean: as it is in the file
    };

    using QObject::QObject;
    ~TourBook() override;

    [[nodiscard]] int Count() const { return static_cast<int>(mEntries.size()); }
    [[nodiscard]] const Entry& At(int index) const { return *mEntries[static_cast<size_t>(index)]; }
    /// \return the tour of that file; -1 if it is not open
    [[nodiscard]] int Find(const QString& file) const;
    [[nodiscard]] bool IsModified(int index) const { return !At(index).Changes.isClean(); }

    /// Adds a tour that has no file yet; it counts as modified. \return its index
    int Add(const Tour& tour);
    /// Opens a file, or finds the tour that was opened from it.
    /// \return its index; -1 if it cannot be loaded, and \p error says why
    int Open(const QString& file, TourError& error);
    /// \return false if the file cannot be written; the tour stays modified then
    bool Save(int index, const QString& file);
    void Close(int index);

    /// Replaces a tour. Undo() takes it back.
    /// \param text  what was done, to be shown in the menu
    void Change(int index, const QString& text, const Tour& tour);
    /// Changes what is kept with the tour, but is no change that the user would want to undo.
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
