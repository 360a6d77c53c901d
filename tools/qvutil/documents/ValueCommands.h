// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_TOOL_VALUECOMMANDS_H
#define QVUTIL_TOOL_VALUECOMMANDS_H

#include <string>

namespace CLI {
class App;
}

namespace Quorvin::Tool {

class CommandLine;

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

} // namespace Quorvin::Tool

#endif // QVUTIL_TOOL_VALUECOMMANDS_H
