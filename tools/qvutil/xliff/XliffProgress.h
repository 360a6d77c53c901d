// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_TOOL_XLIFF_XLIFFPROGRESS_H
#define QVUTIL_TOOL_XLIFF_XLIFFPROGRESS_H

#include "cli/InputFile.h"
#include "xliff/XliffDocument.h"

#include <QByteArray>
#include <QList>
#include <QString>

#include <optional>

namespace Quorvin::Tool {

/// The translation progress of a set of units.
struct ProgressCounts
{
    int Units = 0;
    int Finished = 0;
    int Unfinished = 0;
    int Empty = 0;
    int Unreachable = 0;

    void Add(bool isReachable, UnitProgress progress, int number = 1);
    ProgressCounts& operator+=(const ProgressCounts& other);

    friend bool operator==(const ProgressCounts&, const ProgressCounts&) = default;
};

struct FileProgress
{
    QString Original;
    QString SourceLanguage;
    QString TargetLanguage;
    ProgressCounts Counts;

    friend bool operator==(const FileProgress&, const FileProgress&) = default;
};

struct XliffProgress
{
    QList<FileProgress> Files; ///< one for each child of the root, see XliffFile
    ProgressCounts All; ///< includes the units that are in no file

    friend bool operator==(const XliffProgress&, const XliffProgress&) = default;
};

/// Counts the units of an XLIFF file. Throws Failure like XliffDocument.
[[nodiscard]] XliffProgress ReadProgress(const InputFile& file);

/// Like ReadProgress, but only for files that can be streamed.
/// \param name      name of the file, for the progress bar
/// \param document  content of the file
/// \return nullopt if XliffDocument has to load the file
[[nodiscard]] std::optional<XliffProgress> StreamProgress(const QString& name, const QByteArray& document);

/// Counts the units of a loaded file.
[[nodiscard]] XliffProgress CountProgress(const XliffDocument& xliff);

} // namespace Quorvin::Tool

#endif // QVUTIL_TOOL_XLIFF_XLIFFPROGRESS_H
