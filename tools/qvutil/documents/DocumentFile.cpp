// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "documents/DocumentFile.h"

#include "cli/Failure.h"
#include "cli/Waiting.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <algorithm>

using namespace Qt::StringLiterals;
using Quorvin::Util::Internal::XmlProblem;
using Quorvin::Util::Internal::XmlProblemKind;

namespace Quorvin::Tool {

QString ReasonText(const XmlProblem& problem)
{
    switch (problem.Kind) {
    case XmlProblemKind::Truncated:
        return problem.Offset == 0 ? u"the file is empty"_s
                                   : u"the file ends in the middle of the document"_s;
    case XmlProblemKind::LimitExceeded:
        return problem.Reason.isEmpty() ? u"a limit of the library is exceeded"_s : problem.Reason;
    case XmlProblemKind::BadEncoding:
    case XmlProblemKind::Malformed:
        break;
    }
    return problem.Reason;
}

std::optional<XmlProblem> FindFileProblem(const QByteArray& content)
{
    std::optional<XmlProblem> problem = Util::Internal::FindXmlProblem(content);
    if (!problem)
        return std::nullopt;
    if (problem->Kind == XmlProblemKind::Truncated)
        problem->Column = std::max<qint64>(problem->Column - 1, 1);
    else if (problem->Kind == XmlProblemKind::BadEncoding)
        problem->Column = problem->Offset - content.first(problem->Offset).lastIndexOf('\n');
    else if (problem->Kind == XmlProblemKind::LimitExceeded)
        problem->Line = problem->Column = 0;
    problem->Reason = ReasonText(*problem);
    return problem;
}

void RequireLoadable(const QString& name, const QByteArray& content)
{
    const std::optional<XmlProblem> problem = FindFileProblem(content);
    if (!problem)
        return;
    if (problem->Line == 0)
        throw Failure(name, problem->Reason);
    throw Failure(u"%1:%2:%3"_s.arg(name, QString::number(problem->Line), QString::number(problem->Column)),
                  problem->Reason);
}

void LoadDocument(Util::XmlFiler& filer, const InputFile& file)
{
    Console::ProgressBar bar(0);
    bool isLoaded = false;
    ShowWhile(bar, 0, file.Name(), [&] { isLoaded = filer.LoadFromXmlFile(file.Path()); });
    if (isLoaded)
        return;
    const Util::XmlLoadError error = filer.GetLoadError();
    if (error.Line == 0) // the reason is not in the content
        throw Failure(file.Name(), error.Text);
    RequireLoadable(file.Name(), file.ReadAll());
    throw Failure(file.Name(), error.Text); // another process has changed the file since then
}

void SaveDocument(Util::XmlFiler& filer, const QString& file)
{
    const SaveAttempt attempt(file);
    if (!filer.SaveAsXmlFile(file))
        attempt.Fail();
}

SaveAttempt::SaveAttempt(const QString& file)
    : mFile(file)
    , mBefore(file)
{
    mBefore.stat(); // read the state now, because QFileInfo is lazy
}

void SaveAttempt::Fail() const
{
    // The library does not report why a save failed, so check the likely reasons.
    const QFileInfo info(mFile);
    if (info.isDir())
        throw Failure(mFile, u"is a folder"_s);
    if (!info.absoluteDir().exists())
        throw Failure(mFile, u"there is no folder %1"_s.arg(info.path()));
    QFile probe(mFile);
    if (info.exists() ? !probe.open(QIODevice::Append) : !QFileInfo(info.absolutePath()).isWritable())
        throw Failure(mFile, info.exists() ? probe.errorString() : u"Permission denied"_s);
    // The library writes directly if nothing can be created beside the file. The file may then be incomplete.
    const bool isKept = info.exists() == mBefore.exists() && info.size() == mBefore.size()
        && info.lastModified() == mBefore.lastModified();
    throw Failure(mFile,
                  isKept ? u"could not be written in full; the old content is kept"_s
                         : u"could not be written in full; it now holds part of the new content"_s);
}

} // namespace Quorvin::Tool
