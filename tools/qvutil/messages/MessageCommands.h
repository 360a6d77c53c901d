// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_TOOL_MESSAGES_MESSAGECOMMANDS_H
#define QVUTIL_TOOL_MESSAGES_MESSAGECOMMANDS_H

namespace CLI {
class App;
} // namespace CLI

namespace Quorvin::Tool {

class CommandLine;

// The commands of `qvutil message`, in the order of its help. They read captured messages: bytes that were
// recorded between two processes or written to a file.
void AddMessageDecodeCommand(CommandLine& line, CLI::App& group);
void AddMessageEncodeCommand(CommandLine& line, CLI::App& group);
void AddMessageSplitCommand(CommandLine& line, CLI::App& group);

} // namespace Quorvin::Tool

#endif // QVUTIL_TOOL_MESSAGES_MESSAGECOMMANDS_H
