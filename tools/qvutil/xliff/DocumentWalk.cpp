// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "xliff/DocumentWalk.h"

#include "cli/Console.h"
#include "cli/Failure.h"
#include "cli/FilePattern.h"
#include "xliff/XliffDocument.h"

#include <qvutil/base/QtCompat_p.h>

#include <QDir>
#include <QDirIterator>
#include <QFileInfo>
#include <QHash>
#include <QSet>

#include <algorithm>

using namespace Qt::StringLiterals;
using Quorvin::Util::Internal::QDirCleanPath;

namespace Quorvin::Tool {
namespace {

class Walk
{
public:
    explicit Walk(const DocumentSelection& selection)
        : mSelection(selection)
        , mExcept(QFileInfo(selection.Except).canonicalFilePath())
    { }

    WalkResult Run()
    {
        for (const QString& pattern : mSelection.Patterns)
            CheckFilePattern(pattern);
        for (const QString& path : mSelection.Paths)
            AddPath(path);
        Console::ProgressBar bar(mFiles.size());
        for (const QString& file : std::as_const(mFiles)) {
            bar.Show(mResult.DocumentCount, file);
            ReadDocument(file);
        }
        return mResult;
    }

private:
    void Fail(const QString& subject, const QString& reason)
    {
        Console::ReportError(subject, reason);
        mResult.IsComplete = false;
    }

    void AddPath(const QString& path)
    {
        if (path == "-"_L1)
            Fail(path, u"a document needs a file name, because translations are found by it"_s);
        else if (!path.isEmpty() && QFileInfo(path).isDir())
            AddFolder(path);
        else
            AddFile(QDirCleanPath(path));
    }

    void AddFile(const QString& path)
    {
        // Two paths may lead to the same file, which is read only once. A missing file has no canonical path;
        // it is reported when it is read.
        const QString canonical = QFileInfo(path).canonicalFilePath();
        if (canonical.isEmpty() || (canonical != mExcept && !mSeen.contains(canonical)))
            mFiles.append(path);
        mSeen.insert(canonical);
    }

    void AddFolder(const QString& path)
    {
        if (!QFileInfo(path).isReadable()) {
            Fail(path, u"the folder cannot be read"_s);
            return;
        }
        const QStringList patterns
            = mSelection.Patterns.isEmpty() ? QStringList{u"*.xml"_s} : mSelection.Patterns;
        const auto flags
            = mSelection.IsRecursive ? QDirIterator::Subdirectories : QDirIterator::NoIteratorFlags;
        QDirIterator entries(QDirCleanPath(path), patterns,
                             QDir::Files | QDir::AllDirs | QDir::NoDotAndDotDot, flags);
        QStringList files;
        while (entries.hasNext()) {
            const QString entry = QDirCleanPath(entries.next());
            if (!entries.fileInfo().isDir())
                files.append(entry);
            else if (mSelection.IsRecursive && !entries.fileInfo().isReadable())
                Fail(entry, u"the folder cannot be read"_s);
        }
        // Compare folder by folder, so that "a/c" comes before "a-b/c".
        std::sort(files.begin(), files.end(),
                  [](const QString& a, const QString& b) { return a.split(u'/') < b.split(u'/'); });
        for (const QString& file : std::as_const(files))
            AddFile(file);
    }

    void ReadDocument(const QString& path)
    {
        try {
            XmlSource document;
            document.Load(InputFile(path));
            Collect(path, FindTranslationMarks(document));
            ++mResult.DocumentCount;
        } catch (const Failure& failure) {
            Fail(failure.Subject, failure.Reason);
        }
    }

    DocumentTexts& TextsOf(const QString& path)
    {
        const QString key = DocumentKey(path);
        if (const auto known = mByKey.constFind(key); known != mByKey.constEnd()) {
            DocumentTexts& texts = mResult.Documents[*known];
            Console::ReportError(path,
                                 u"has the same file name as %1: the two documents share their translations, "
                                 u"which are found by "
                                 "file name"_s.arg(texts.Path));
            return texts;
        }
        mByKey.insert(key, mResult.Documents.size());
        mResult.Documents.append({path, key, {}});
        return mResult.Documents.last();
    }

    void Collect(const QString& path, const QList<TranslationMark>& marks)
    {
        DocumentTexts& texts = TextsOf(path);
        QSet<QString>& seen = mSeenTexts[texts.Key];
        for (const TranslationMark& mark : marks) {
            if (mark.Source.trimmed().isEmpty() || seen.contains(mark.Source))
                continue;
            seen.insert(mark.Source);
            texts.Texts.append({mark.Source, mark.Path, mark.Where, path});
        }
    }

    const DocumentSelection& mSelection;
    QString mExcept;
    QStringList mFiles;
    QSet<QString> mSeen;
    QHash<QString, qsizetype> mByKey;
    QHash<QString, QSet<QString>> mSeenTexts;
    WalkResult mResult;
};

} // namespace

WalkResult CollectTexts(const DocumentSelection& selection)
{
    return Walk(selection).Run();
}

} // namespace Quorvin::Tool
