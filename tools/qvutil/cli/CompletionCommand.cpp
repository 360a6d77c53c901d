// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "cli/Command.h"
#include "cli/CommandTree.h"
#include "cli/Console.h"
#include "cli/Groups.h"
#include "cli/OfferedValues.h"

#include <memory>

using namespace Qt::StringLiterals;

namespace Quorvin::Tool {
namespace {

struct CompletionOptions
{
    QString Shell;
    QString Kind; // the kind of values that a script requests
};

// Prints one value per line. Omits values with control characters: a line feed would turn one value into two.
ExitCode PrintValues(const QStringList& values)
{
    ExitCode code = ExitCode::No;
    for (const QString& value : values) {
        if (Console::Visible(value) == value) {
            Console::PrintLine(value);
            code = ExitCode::Yes;
        }
    }
    return code;
}

ExitCode PrintCompletion(const CompletionOptions& options, const CLI::App& root)
{
    if (!options.Kind.isEmpty())
        return PrintValues(ListValues(options.Kind));
    const QList<CommandInfo> commands = ListCommands(root);
    const QString& shell = options.Shell;
    if (shell == "bash"_L1)
        Console::Print(BashCompletion(commands));
    else if (shell == "zsh"_L1)
        Console::Print(ZshCompletion(commands));
    else if (shell == "fish"_L1)
        Console::Print(FishCompletion(commands));
    else if (shell.isEmpty())
        throw UsageFailure(u"SHELL is required"_s);
    else
        throw UsageFailure(u"there is no completion for '%1'; shells are bash, zsh and fish"_s.arg(shell));
    return ExitCode::Yes;
}

} // namespace

void AddCompletionCommand(CommandLine& line)
{
    const CLI::App& root = line.Root();
    OfferValues(u"shells"_s, [] { return QStringList{u"bash"_s, u"zsh"_s, u"fish"_s}; });
    OfferValues(u"json-styles"_s, [] { return QStringList{u"pretty"_s, u"lines"_s}; });
    auto options = std::make_shared<CompletionOptions>();
    CLI::App& completion = line.AddCommand(line.Root(), "completion", "Print a completion script for a shell",
                                           "source <(qvutil completion bash)",
                                           [options, &root] { return PrintCompletion(*options, root); });
    AddExplanation(
        completion,
        "The script completes commands, options and files, and the names of types, locales, grids and "
        "servers.");
    AddText(completion, "SHELL", options->Shell, "bash, zsh or fish");
    AddText(completion, "--list", options->Kind, "Print the values of one kind, for the script")
        ->type_name("KIND")
        ->group("");
}

} // namespace Quorvin::Tool
