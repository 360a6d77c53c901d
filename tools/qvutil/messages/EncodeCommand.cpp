// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "messages/MessageCommands.h"

#include "cli/Command.h"
#include "cli/Console.h"
#include "cli/InputFile.h"
#include "documents/DocumentFile.h"
#include "messages/MessageFile.h"
#include <qvutil/messaging/MessageCodec_p.h>
#include <qvutil/platform/Platform_p.h>

#include <memory>

using namespace Qt::StringLiterals;
using Quorvin::Util::MessageInfo;

namespace Quorvin::Tool {
namespace {

struct EncodeOptions
{
    QString File;
    QString Output;
};

ExitCode Encode(const EncodeOptions& options)
{
    const InputFile input(OrStandardInput(options.File));
    QByteArray bytes;
    for (const MessageInfo& message : ReadMessages(input.ReadAll(), input.Name()))
        bytes += Util::EncodeMessage(message).toUtf8();
    if (options.Output.isEmpty() || options.Output == "-"_L1) {
        Console::PrintBytes(bytes);
        return ExitCode::Yes;
    }
    const SaveAttempt attempt(options.Output);
    if (!Util::Platform::ReplaceFile(options.Output, bytes))
        attempt.Fail();
    return ExitCode::Yes;
}

} // namespace

void AddMessageEncodeCommand(CommandLine& line, CLI::App& group)
{
    auto options = std::make_shared<EncodeOptions>();
    CLI::App& encode = line.AddCommand(
        group, "encode", "Convert messages from JSON to the bytes that are sent",
        "qvutil message encode message.json --output message.bin\n"
        "echo '{\"id\": \"Resize\", \"params\": {\"width\": 640}}' | qvutil message encode\n"
        "qvutil message decode capture.bin | sed s/640/800/ | qvutil message encode > changed.bin",
        [options] { return Encode(*options); });
    AddExplanation(encode,
                   "A message is an object as decode prints it; only \"id\" is required. The input is one\n"
                   "object, several objects, or an array of objects.");
    AddText(encode, "FILE", options->File, "File with JSON; - or none for standard input");
    AddText(encode, "--output,-o", options->Output, "Write to this file instead of standard output (-)")
        ->type_name("FILE");
}

} // namespace Quorvin::Tool
