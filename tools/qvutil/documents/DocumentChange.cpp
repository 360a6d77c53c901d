// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "documents/DocumentChange.h"

#include "cli/Console.h"
#include "cli/Difference.h"
#include "documents/DocumentFile.h"

#include <qvutil/xml/XmlWriter_p.h>

#include <QDomDocument>
#include <QFileInfo>

using namespace Qt::StringLiterals;
using Quorvin::Util::XmlFiler;

namespace Quorvin::Tool {
namespace {

constexpr QLatin1StringView kStandardInput = "-"_L1;

bool IsFileName(const QString& argument)
{
    return argument != kStandardInput && !argument.isEmpty();
}

} // namespace

void AddChangeArguments(CLI::App& command, ChangeOptions& options)
{
    AddText(command, "FILE", options.File, "Document to change; - reads standard input and prints the result")
        ->required();
    AddDryRunFlag(command, options.DryRun);
}

DocumentChange::DocumentChange(const ChangeOptions& options, const QString& newRoot)
    : mOptions(options)
{
    mFiler.TranslateEnabled = false;
    const QFileInfo info(options.File);
    if (IsFileName(options.File) && !info.exists() && !newRoot.isEmpty()) {
        mFiler.CreateRoot(newRoot);
        return;
    }
    if (IsFileName(options.File) && info.exists() && !info.isFile() && !info.isDir())
        throw Failure(options.File, u"is not a regular file"_s);
    // A file that does not parse is not changed, because its content may still be useful.
    mInput.emplace(options.File);
    LoadDocument(mFiler, *mInput);
}

ExitCode DocumentChange::Finish(const Verification& isAsIntended)
{
    const QByteArray content = Util::Internal::WriteXmlFile(mFiler.GetCurrentNode().ownerDocument());
    XmlFiler copy;
    copy.TranslateEnabled = false;
    if (!copy.LoadFromXmlString(QString::fromUtf8(content))) {
        const auto problem = FindFileProblem(content);
        throw Failure(Name(),
                      u"would not load after the change: %1; nothing was changed"_s.arg(
                          problem ? problem->Reason : copy.GetLoadError().Text));
    }
    if (isAsIntended && !isAsIntended(copy))
        throw Failure(Name(),
                      u"the change would be lost when the file is loaded again; nothing was changed"_s);

    std::optional<QByteArray> before;
    if (mInput)
        before = mInput->ReadAll();
    if (mOptions.DryRun)
        return PrintDifference(Name(), before, content);
    if (mOptions.File == kStandardInput)
        Console::PrintBytes(content);
    else if (before != content)
        SaveDocument(mFiler, mOptions.File);
    return ExitCode::Yes;
}

} // namespace Quorvin::Tool
