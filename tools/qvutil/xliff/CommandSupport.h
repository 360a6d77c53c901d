// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_TOOL_XLIFF_COMMANDSUPPORT_H
#define QVUTIL_TOOL_XLIFF_COMMANDSUPPORT_H

#include "cli/Command.h"
#include "cli/Console.h"
#include "cli/InputFile.h"
#include "xliff/DocumentWalk.h"
#include "xliff/XliffDocument.h"
#include "xliff/XmlSource.h"

#include <QJsonObject>

// Functions that the commands of `qvutil xliff` share.
namespace Quorvin::Tool {

/// Returns a number and a noun in the right form: "1 text", "2 texts".
[[nodiscard]] QString Count(qsizetype number, const QString& noun);
/// Returns "FILE:LINE:COLUMN", without unknown numbers.
[[nodiscard]] QString PlaceText(const QString& file, Place place);
/// Returns an object with the line, and the column if it is known.
[[nodiscard]] QJsonObject PlaceJson(Place place);
/// Throws UsageFailure if the output of a command is "-", which would be a file with that name.
void RequireOutputFile(const QString& output);
/// Compares a file with the content that saving would write.
/// \param prints  whether to print the difference
/// \return whether the file would change
[[nodiscard]] bool ShowDifference(const XliffDocument& xliff, const QString& output, bool prints);
/// Adds the options that select documents.
void AddDocumentOptions(CLI::App& command, DocumentSelection& selection);

/// Calls `action(file)` for each file, and reports the files that cannot be read or written. Throws
/// UsageFailure if standard input is among them twice.
/// \return Error if there was such a file
template <typename Action> ExitCode ForEachFile(const QStringList& files, Action action)
{
    RequireOneStandardInput(files);
    auto code = ExitCode::Yes;
    for (const QString& file : files) {
        try {
            action(file);
        } catch (const Failure& failure) {
            Console::ReportError(failure.Subject, failure.Reason);
            code = ExitCode::Error;
        }
    }
    return code;
}

} // namespace Quorvin::Tool

#endif // QVUTIL_TOOL_XLIFF_COMMANDSUPPORT_H
