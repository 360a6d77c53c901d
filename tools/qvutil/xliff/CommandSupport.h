// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_TOOL_XLIFF_COMMANDSUPPORT_H
#define QVUTIL_TOOL_XLIFF_COMMANDSUPPORT_H

#include "cli/Command.h"
#include "cli/Console.h"
#include "xliff/DocumentWalk.h"
#include "xliff/XliffDocument.h"
#include "xliff/XmlSource.h"

#include <QJsonObject>

// What the commands of `qvutil xliff` have in common.
namespace Quorvin::Tool {

/// "1 text", "2 texts".
[[nodiscard]] QString Count(qsizetype number, const QString& noun);
/// "FILE:LINE:COLUMN", as far as the place is known.
[[nodiscard]] QString PlaceText(const QString& file, Place place);
[[nodiscard]] QJsonObject PlaceJson(Place place);
/// Compares a file with what a save would write.
/// \param prints  whether to print the difference
/// \return whether there is one
[[nodiscard]] bool ShowDifference(const XliffDocument& xliff, const QString& output, bool prints);
/// Adds the options that choose documents.
void AddDocumentOptions(CLI::App& command, DocumentSelection& selection);

/// Does the same for each file; one that cannot be read or written is complained of, and the others are still
/// of interest.
/// \return Error if there was such a file
template <typename Action> ExitCode ForEachFile(const QStringList& files, Action action)
{
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
