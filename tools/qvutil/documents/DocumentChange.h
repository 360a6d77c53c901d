// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_TOOL_DOCUMENTCHANGE_H
#define QVUTIL_TOOL_DOCUMENTCHANGE_H

#include "cli/Command.h"
#include "cli/InputFile.h"

#include <qvutil/XmlFiler.h>

#include <QString>

#include <functional>
#include <optional>

namespace Quorvin::Tool {

/// The options of every command that changes a document.
struct ChangeOptions
{
    QString File;
    bool DryRun = false;
};
/// Adds the argument FILE and the option --dry-run.
void AddChangeArguments(CLI::App& command, ChangeOptions& options);

/// A document that a command changes. Nothing is written before Finish.
class DocumentChange
{
public:
    /// Loads the document. Throws Failure if that fails.
    /// \param newRoot  name of the root of a new document if the file does not exist; empty if that is an
    ///                 error
    explicit DocumentChange(const ChangeOptions& options, const QString& newRoot = {});

    /// Returns the document, with its cursor on the root.
    [[nodiscard]] Util::XmlFiler& Filer() { return mFiler; }
    /// Returns the name of the file for messages.
    [[nodiscard]] QString Name() const { return mInput ? mInput->Name() : mOptions.File; }

    /// Checks the document as it will be loaded after the change. \return false if it is not as intended
    using Verification = std::function<bool(Util::XmlFiler&)>;
    /// Saves the document as the library does; prints it if it was read from standard input; prints the
    /// difference with --dry-run. An unchanged file is not written. Throws Failure, without writing, if the
    /// document would not load again.
    /// \return No if --dry-run found a difference
    [[nodiscard]] ExitCode Finish(const Verification& isAsIntended = {});

private:
    const ChangeOptions& mOptions;
    std::optional<InputFile> mInput; // nullopt if the document is new
    Util::XmlFiler mFiler;
};

} // namespace Quorvin::Tool

#endif // QVUTIL_TOOL_DOCUMENTCHANGE_H
