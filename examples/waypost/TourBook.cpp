// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "TourBook.h"

#include <QFileInfo>

#include <functional>
#include <utility>

namespace {

// Restores a tour to its state before or after a change.
class ChangeTour final : public QUndoCommand
{
public:
    ChangeTour(const QString& text, Tour& target, const Tour& after, std::function<void()> changed)
        : QUndoCommand(text)
        , mTarget(target)
        , mBefore(target)
        , mAfter(after)
        , mChanged(std::move(changed))
    { }
    void undo() override { Set(mBefore); }
    void redo() override { Set(mAfter); }

private:
    void Set(const Tour& tour)
    {
        const QRect section = mTarget.Section;
        const QByteArray thumbnail = mTarget.Thumbnail;
        mTarget = tour;
        mTarget.Section = section; // these cannot be undone
        mTarget.Thumbnail = thumbnail;
        mChanged();
    }

    Tour& mTarget;
    Tour mBefore;
    Tour mAfter;
    std::function<void()> mChanged;
};

// Through symbolic links, several paths can lead to one file.
QString RealPath(const QString& file)
{
    const QFileInfo info(file);
    return info.exists() ? info.canonicalFilePath() : info.absoluteFilePath();
}

void NoteFile(TourBook::Entry& entry)
{
    const QFileInfo info(entry.File);
    entry.Modified = info.lastModified();
    entry.Size = info.size();
}

} // namespace

TourBook::~TourBook()
{
    for (const std::unique_ptr<Entry>& entry : mEntries)
        entry->Changes.disconnect(this);
}

int TourBook::Find(const QString& file) const
{
    const QString path = RealPath(file);
    for (int i = 0; i < Count(); ++i) {
        if (!At(i).File.isEmpty() && RealPath(At(i).File) == path)
            return i;
    }
    return -1;
}

bool TourBook::IsFileChanged(int index) const
{
    const Entry& entry = At(index);
    const QFileInfo info(entry.File);
    return info.exists() && (info.lastModified() != entry.Modified || info.size() != entry.Size);
}

int TourBook::Append(const Tour& tour, const QString& file)
{
    auto entry = std::make_unique<Entry>();
    entry->Content = tour;
    entry->File = file;
    NoteFile(*entry);
    connect(&entry->Changes, &QUndoStack::cleanChanged, this, &TourBook::Changed);
    mEntries.push_back(std::move(entry));
    return Count() - 1;
}

int TourBook::Add(const Tour& tour)
{
    const int index = Append(tour, {});
    mEntries.back()->Changes.resetClean(); // modified, since no file contains it
    Q_EMIT Changed();
    return index;
}

int TourBook::Open(const QString& file, TourError& error)
{
    const QString path = QFileInfo(file).absoluteFilePath();
    const int known = Find(path);
    if (known >= 0)
        return known;
    const std::optional<Tour> tour = Tour::Load(path, error);
    if (!tour)
        return -1;
    const int index = Append(*tour, path);
    Q_EMIT Changed();
    return index;
}

bool TourBook::Save(int index, const QString& file)
{
    Entry& entry = *mEntries[static_cast<size_t>(index)];
    if (!entry.Content.Save(file))
        return false;
    entry.File = QFileInfo(file).absoluteFilePath();
    NoteFile(entry);
    entry.Changes.setClean();
    Q_EMIT Changed();
    return true;
}

void TourBook::Close(int index)
{
    const std::unique_ptr<Entry> entry = std::move(mEntries[static_cast<size_t>(index)]);
    mEntries.erase(mEntries.begin() + index);
    entry->Changes.disconnect(this); // an undo stack emits signals when it is destroyed
    Q_EMIT Changed();
}

void TourBook::Change(int index, const QString& text, const Tour& tour)
{
    Entry& entry = *mEntries[static_cast<size_t>(index)];
    if (entry.Content == tour)
        return;
    entry.Changes.push(new ChangeTour(text, entry.Content, tour, [this] { Q_EMIT Changed(); }));
}

void TourBook::SetSection(int index, const QRect& section)
{
    mEntries[static_cast<size_t>(index)]->Content.Section = section;
}

void TourBook::SetThumbnail(int index, const QByteArray& thumbnail)
{
    mEntries[static_cast<size_t>(index)]->Content.Thumbnail = thumbnail;
}
