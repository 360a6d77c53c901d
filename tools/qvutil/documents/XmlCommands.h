// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_TOOL_DOCUMENTS_XMLCOMMANDS_H
#define QVUTIL_TOOL_DOCUMENTS_XMLCOMMANDS_H

#include "cli/Command.h"
#include <qvutil/XmlFiler.h>

#include <QString>

namespace Quorvin::Tool {

// The commands of `qvutil xml`, in the order of its help, after those of ValueCommands.h.
void AddXmlRenameCommand(CommandLine& line, CLI::App& group);
void AddXmlMoveCommand(CommandLine& line, CLI::App& group);
void AddXmlFormatCommand(CommandLine& line, CLI::App& group);
void AddXmlListCommand(CommandLine& line, CLI::App& group);
void AddXmlCatCommand(CommandLine& line, CLI::App& group);

/// The options of a command that shows an element.
struct PartOptions
{
    QString File;
    QString Path;
    bool Json = false;
};
/// Adds the arguments of a command that shows an element.
void AddPartArguments(CLI::App& command, PartOptions& options);
/// Loads the document and moves to the element at the path.
/// \return false, after an error message, if there is none
bool OpenPart(Util::XmlFiler& filer, const PartOptions& options);

} // namespace Quorvin::Tool

#endif // QVUTIL_TOOL_DOCUMENTS_XMLCOMMANDS_H
