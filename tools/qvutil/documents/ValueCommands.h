// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_TOOL_VALUECOMMANDS_H
#define QVUTIL_TOOL_VALUECOMMANDS_H

#include "cli/Command.h"
#include "documents/TypedValue.h"

#include <QDomElement>
#include <QString>

#include <string>

namespace Quorvin::Tool {

/// The description of PATH in help texts.
inline constexpr const char* kPathDescription
    = "Path of the element: names below the root, joined by '/'; Item[2] is the second Item; / is the root";

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

/// Adds the command `delete` to a group.
void AddDeleteCommand(CommandLine& line, CLI::App& group);

/// Looks for an attribute, and reports an error if it does not exist.
/// \param file  name of the file for the error message
[[nodiscard]] bool HasAttributeOrComplain(const QDomElement& element, const QString& name,
                                          const QString& file);

/// Adds the option --type.
void AddTypeOption(CLI::App& command, QString& type);
/// Returns the type with that name. Throws UsageFailure if the type requires or excludes a NAME. Without
/// --type, a value with a name is a string, and a value without one is the element's text.
[[nodiscard]] ValueType TypeOf(const QString& typeName, bool hasName);

} // namespace Quorvin::Tool

#endif // QVUTIL_TOOL_VALUECOMMANDS_H
