// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "Document.h"

#include "Failure.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QXmlStreamReader>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace Quorvin::Tool {
std::optional<ParseProblem> FindParseProblem(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return ParseProblem{.Line = 1, .Column = 1, .Reason = file.errorString(), .IsTorn = false};
    if (file.atEnd())
        return ParseProblem{.Line = 1, .Column = 1, .Reason = u"the file is empty"_s, .IsTorn = true};

    QXmlStreamReader reader(&file);
    reader.setNamespaceProcessing(false);
    while (!reader.atEnd())
        reader.readNext();
    if (!reader.hasError())
        return std::nullopt;
    const bool isTorn = reader.error() == QXmlStreamReader::PrematureEndOfDocumentError;
    QString reason
        = isTorn ? u"the file ends in the middle of the document"_s : reader.errorString().simplified();
    while (reason.endsWith(u'.'))
        reason.chop(1);
    return ParseProblem{.Line = reader.lineNumber(),
                        .Column = std::max<qint64>(reader.columnNumber(), 1),
                        .Reason = reason,
                        .IsTorn = isTorn};
}

void LoadDocument(Util::XmlFiler& filer, const InputFile& file)
{
    if (filer.LoadFromXmlFile(file.Path()))
        return;
    const auto problem = FindParseProblem(file.Path());
    if (!problem) {
        throw Failure(file.Name(),
                      u"nested deeper, or with more text in its entities, than the library takes"_s);
    }
    throw Failure(u"%1:%2:%3"_s.arg(file.Name()).arg(problem->Line).arg(problem->Column), problem->Reason);
}

void SaveDocument(Util::XmlFiler& filer, const QString& file)
{
    if (filer.SaveAsXmlFile(file))
        return;
    // The library tells that it failed, not why: look at what is most likely.
    const QFileInfo info(file);
    if (info.isDir())
        throw Failure(file, u"is a folder"_s);
    if (!info.absoluteDir().exists())
        throw Failure(file, u"there is no folder %1"_s.arg(info.path()));
    QFile probe(file);
    if (info.exists() ? !probe.open(QIODevice::Append) : !QFileInfo(info.absolutePath()).isWritable())
        throw Failure(file, info.exists() ? probe.errorString() : u"Permission denied"_s);
    throw Failure(file, u"could not be written in full; what was there is kept"_s);
}

} // namespace Quorvin::Tool
