// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "cli/Command.h"
#include "cli/CommandTree.h"
#include "cli/Console.h"
#include "cli/Groups.h"

#include <memory>

using namespace Qt::StringLiterals;

namespace Quorvin::Tool {
namespace {

ExitCode PrintCompletion(const QString& shell, const CLI::App& root)
{
    const QList<CommandInfo> commands = ListCommands(root);
    if (shell == "bash"_L1)
        Console::Print(BashCompletion(commands));
    else if (shell == "zsh"_L1)
        Console::Print(ZshCompletion(commands));
    else if (shell == "fish"_L1)
        Console::Print(FishCompletion(commands));
    else
        throw UsageFailure(u"there is no completion for '%1'; shells are bash, zsh and fish"_s.arg(shell));
    return ExitCode::Yes;
}

} // namespace

void AddCompletionCommand(CommandLine& line)
{
    const CLI::App& root = line.Root();
    auto shell = std::make_shared<QString>();
    CLI::App& completion = line.AddCommand(line.Root(), "completion", "Print a completion script for a shell",
                                           "source <(qvutil completion bash)",
                                           [shell, &root] { return PrintCompletion(*shell, root); });
    completion.group("");
    AddText(completion, "SHELL", *shell, "bash, zsh or fish")->required();
}

} // namespace Quorvin::Tool
