// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_TOOL_IPC_IPCCOMMANDS_H
#define QVUTIL_TOOL_IPC_IPCCOMMANDS_H

namespace CLI {
class App;
} // namespace CLI

namespace Quorvin::Tool {

class CommandLine;

// The commands of `qvutil ipc`, in the order of its help.
void AddEndpointListCommand(CommandLine& line, CLI::App& group);
void AddEndpointWatchCommand(CommandLine& line, CLI::App& group);
void AddCallCommand(CommandLine& line, CLI::App& group);
void AddSendCommand(CommandLine& line, CLI::App& group);
void AddListenCommand(CommandLine& line, CLI::App& group);
void AddProxyCommand(CommandLine& line, CLI::App& group);
void AddBenchCommand(CommandLine& line, CLI::App& group);
void AddDoctorCommand(CommandLine& line, CLI::App& group);

} // namespace Quorvin::Tool

#endif // QVUTIL_TOOL_IPC_IPCCOMMANDS_H
