// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "cli/Command.h"
#include "cli/CommandTree.h"
#include "cli/Console.h"
#include "cli/Groups.h"
#include "cli/InputFile.h"

#include <memory>

using namespace Qt::StringLiterals;

namespace Quorvin::Tool {
namespace {

ExitCode PrintManual(const QString& frame, const CLI::App& root)
{
    const QString text = QString::fromUtf8(InputFile(frame).ReadAll());
    Console::Print(QString(text)
                       .replace("@VERSION@"_L1, QStringLiteral(QVUTIL_TOOL_VERSION))
                       .replace("@COMMANDS@\n"_L1, ManualSections(ListCommands(root))));
    return ExitCode::Yes;
}

} // namespace

void AddManualCommand(CommandLine& line)
{
    const CLI::App& root = line.Root();
    auto frame = std::make_shared<QString>();
    CLI::App& manual = line.AddCommand(line.Root(), "manual", "Print the manual page",
                                       "qvutil manual docs/man/qvutil.1.in",
                                       [frame, &root] { return PrintManual(*frame, root); });
    manual.group("");
    AddText(manual, "FRAME", *frame, "Manual page with @COMMANDS@ where the commands go")->required();
}

} // namespace Quorvin::Tool
