// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "messages/MessageCommands.h"

#include "cli/Command.h"
#include "cli/Console.h"
#include "cli/InputFile.h"
#include "cli/JsonStyle.h"
#include "messages/MessageFile.h"
#include "messages/MessageText.h"

#include <algorithm>
#include <memory>

using namespace Qt::StringLiterals;

namespace Quorvin::Tool {
namespace {

struct DecodeOptions
{
    QStringList Files;
    bool Indent = false;
};

QString DescribeSkipped(const MessagePiece& piece)
{
    return u"byte %1: %2 bytes are skipped: %3"_s.arg(piece.Offset)
        .arg(piece.Bytes.size())
        .arg(piece.Problem);
}

ExitCode DecodeFile(const InputFile& input, bool indent)
{
    const QByteArray bytes = input.ReadAll();
    auto code = ExitCode::Yes;
    bool found = false;
    ForEachCapturedPiece(bytes, [&](const MessagePiece& piece) {
        if (!piece.Message) {
            Console::ReportError(input.Name(), DescribeSkipped(piece));
            code = ExitCode::No;
            return;
        }
        found = true;
        const QJsonObject object = MessageToJson(*piece.Message);
        if (indent)
            Console::Print(ToText(QJsonDocument(object), QJsonDocument::Indented));
        else
            Console::Print(JsonLine(object));
    });
    if (!found) {
        Console::ReportError(input.Name(), u"there is no message"_s);
        code = ExitCode::No;
    }
    return code;
}

ExitCode Decode(const DecodeOptions& options)
{
    RequireOneStandardInput(options.Files);
    auto code = ExitCode::Yes;
    const QStringList files = options.Files.isEmpty() ? QStringList{u"-"_s} : options.Files;
    for (const QString& file : files) {
        try {
            code = std::max(code, DecodeFile(InputFile(file), options.Indent));
        } catch (const Failure& failure) { // continue with the other files
            Console::ReportError(failure.Subject, failure.Reason);
            code = ExitCode::Error;
        }
    }
    return code;
}

} // namespace

void AddMessageDecodeCommand(CommandLine& line, CLI::App& group)
{
    auto options = std::make_shared<DecodeOptions>();
    CLI::App& decode
        = line.AddCommand(group, "decode", "Print captured messages as JSON, one per line",
                          "qvutil message decode capture.bin\n"
                          "qvutil message decode capture.bin | jq -c 'select(.needResponse).params'\n"
                          "qvutil message decode < capture.bin",
                          [options] { return Decode(*options); });
    AddExplanation(
        decode,
        "Reads the bytes as a receiver does. Reports bytes that a receiver would skip, and XML that is\n"
        "not a message, on standard error with their position; the exit code is then 1. Values are plain\n"
        "JSON. The object \"types\" names the types that JSON cannot express, so that encode writes the\n"
        "same frame again.");
    AddTexts(decode, "FILE", options->Files, "File with captured bytes; - or none for standard input");
    decode.add_flag("--indent", options->Indent, "Print each message on several lines, indented");
}

} // namespace Quorvin::Tool
