// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_TOOL_VALUECOMMANDS_H
#define QVUTIL_TOOL_VALUECOMMANDS_H

#include "cli/Command.h"
#include "documents/TypedValue.h"

#include <QString>

#include <string>

namespace Quorvin::Tool {

/// Adds the command `get` to a group.
void AddGetCommand(CommandLine& line, CLI::App& group);

/// How `set` treats a file that does not exist.
enum class MissingFile {
    IsError, ///< unless --create is given
    IsCreated, ///< as the settings store does
};
/// Adds the command `set` to a group.
/// \param root  name of the root element of new files, unless the user names another
void AddSetCommand(CommandLine& line, CLI::App& group, MissingFile missing, const std::string& root);

/// Adds the option --type.
void AddTypeOption(CLI::App& command, QString& type);
/// The type of that name; throws UsageFailure if it does not go with a NAME, or with none.
/// Without --type, what has a name is a string and what has none is the element's text.
[[nodiscard]] ValueType TypeOf(const QString& typeName, bool hasName);

} // namespace Quorvin::Tool

#endif // QVUTIL_TOOL_VALUECOMMANDS_H
