// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

// Commands that the build runs to make what is installed beside the tool. They are made from the tool's own
// commands and options, so that they cannot lag behind them, and are not shown in help.

#include "cli/Command.h"
#include "cli/CommandTree.h"
#include "cli/Console.h"
#include "cli/Groups.h"
#include "cli/InputFile.h"

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

ExitCode PrintManual(const QString& frame, const CLI::App& root)
{
    const QString text = QString::fromUtf8(InputFile(frame).ReadAll());
    Console::Print(QString(text)
                       .replace("@VERSION@"_L1, QStringLiteral(QVUTIL_TOOL_VERSION))
                       .replace("@COMMANDS@\n"_L1, ManualSections(ListCommands(root))));
    return ExitCode::Yes;
}

} // namespace

void AddGeneratorCommands(CommandLine& line)
{
    const CLI::App& root = line.Root();
    auto shell = std::make_shared<QString>();
    CLI::App& completion = line.AddCommand(line.Root(), "completion", "Print a completion script for a shell",
                                           "source <(qvutil completion bash)",
                                           [shell, &root] { return PrintCompletion(*shell, root); });
    completion.group("");
    AddText(completion, "SHELL", *shell, "bash, zsh or fish")->required();

    auto frame = std::make_shared<QString>();
    CLI::App& manual = line.AddCommand(line.Root(), "manual", "Print the manual page",
                                       "qvutil manual docs/man/qvutil.1.in",
                                       [frame, &root] { return PrintManual(*frame, root); });
    manual.group("");
    AddText(manual, "FRAME", *frame, "Manual page with @COMMANDS@ where the commands go")->required();
}

} // namespace Quorvin::Tool
