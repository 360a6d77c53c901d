// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

// Captured messages: bytes that were recorded between two processes, or stand in a file.

#include "cli/Command.h"
#include "cli/Console.h"
#include "cli/Groups.h"
#include "cli/InputFile.h"
#include "messages/MessageFile.h"
#include "messages/MessageText.h"
#include <qvutil/XmlFiler.h>
#include <qvutil/messaging/MessageCodec_p.h>

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QSaveFile>

#include <algorithm>
#include <functional>
#include <memory>

using namespace Qt::StringLiterals;
using Quorvin::Util::MessageInfo;
using Quorvin::Util::XmlFiler;

namespace Quorvin::Tool {
namespace {

struct DecodeOptions
{
    QStringList Files;
    bool Indent = false;
};

struct EncodeOptions
{
    QString File;
    QString Output;
};

struct SplitOptions
{
    QString File;
    QString To;
    bool Json = false;
};

// Without an argument, as after a pipe, standard input.
QString OrStandardInput(const QString& argument)
{
    return argument.isEmpty() ? u"-"_s : argument;
}

// A receiver takes any document for a message, one without a name if there is none; it would answer with
// nothing. In a capture such a document was hardly meant to be one.
QString WhyNoMessage(const MessagePiece& piece)
{
    if (!piece.Message || !piece.Message->Id.isEmpty())
        return {};
    QString document = QString::fromUtf8(piece.Bytes);
    if (!document.startsWith(Util::Internal::kFrameStart)) // a receiver adds what is missing
        document.prepend(Util::Internal::kFrameStart);
    XmlFiler filer;
    if (!filer.LoadFromXmlString(document))
        return {};
    const QString root = filer.GetCurrentNode().nodeName();
    return root == "Message"_L1 ? QString() : u"the root element is %1: this is no message"_s.arg(root);
}

// The pieces of a capture; documents that are no messages are skipped like those that do not load.
void ForEachPiece(QByteArrayView bytes, const std::function<void(const MessagePiece&)>& visit)
{
    ForEachMessagePiece(bytes, [&visit](const MessagePiece& piece) {
        const QString problem = WhyNoMessage(piece);
        if (problem.isEmpty())
            visit(piece);
        else
            visit({.Offset = piece.Offset, .Bytes = piece.Bytes, .Message = {}, .Problem = problem});
    });
}

// --- decode

QString DescribeSkipped(const MessagePiece& piece)
{
    return u"byte %1: %2 bytes are skipped: %3"_s.arg(piece.Offset)
        .arg(piece.Bytes.size())
        .arg(piece.Problem);
}

ExitCode DecodeFile(const InputFile& input, bool indent)
{
    const QByteArray bytes = ReadAll(input);
    auto code = ExitCode::Yes;
    bool found = false;
    ForEachPiece(bytes, [&](const MessagePiece& piece) {
        if (!piece.Message) {
            Console::Complain(input.Name(), DescribeSkipped(piece));
            code = ExitCode::No;
            return;
        }
        found = true;
        const QJsonObject object = MessageToJson(*piece.Message);
        if (indent)
            Console::PrintJson(QJsonDocument(object));
        else
            Console::Print(JsonLine(object));
    });
    if (!found) {
        Console::Complain(input.Name(), u"there is no message"_s);
        code = ExitCode::No;
    }
    return code;
}

ExitCode Decode(const DecodeOptions& options)
{
    auto code = ExitCode::Yes;
    const QStringList files = options.Files.isEmpty() ? QStringList{u"-"_s} : options.Files;
    for (const QString& file : files) {
        try {
            code = std::max(code, DecodeFile(InputFile(file), options.Indent));
        } catch (const Failure& failure) { // the other files are still of interest
            Console::Complain(failure.Subject, failure.Reason);
            code = ExitCode::Error;
        }
    }
    return code;
}

// --- encode

void WriteFile(const QString& path, const QByteArray& bytes)
{
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size() || !file.commit())
        throw Failure(path, file.errorString());
}

ExitCode Encode(const EncodeOptions& options)
{
    const InputFile input(OrStandardInput(options.File));
    QByteArray bytes;
    for (const MessageInfo& message : ReadMessages(ReadAll(input), input.Name()))
        bytes += Util::EncodeMessage(message).toUtf8();
    if (options.Output.isEmpty())
        Console::PrintBytes(bytes);
    else
        WriteFile(options.Output, bytes);
    return ExitCode::Yes;
}

// --- split

// The part of a message's name that every system takes for the name of a file.
QString FileNamePart(const QString& id)
{
    QString part;
    for (const QChar c : QStringView(id).left(40)) {
        const bool isPlain = (c >= u'a' && c <= u'z') || (c >= u'A' && c <= u'Z') || (c >= u'0' && c <= u'9')
            || c == u'-' || c == u'_';
        part += isPlain ? c : u'_';
    }
    return part;
}

QString FileNameOf(const MessagePiece& piece, qsizetype number)
{
    const QString prefix = QString::number(number).rightJustified(4, u'0');
    return piece.Message ? prefix + u'-' + FileNamePart(piece.Message->Id) + ".xml"_L1
                         : prefix + "-skipped.bin"_L1;
}

void WriteNewFile(const QString& path, QByteArrayView bytes)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::NewOnly))
        throw Failure(path, QFileInfo::exists(path) ? u"exists already"_s : file.errorString());
    if (file.write(bytes.data(), bytes.size()) != bytes.size() || !file.flush())
        throw Failure(path, file.errorString());
}

QJsonObject ToJson(const MessagePiece& piece, const QString& file)
{
    QJsonObject object{{u"offset"_s, piece.Offset}, {u"size"_s, piece.Bytes.size()}};
    if (piece.Message)
        object.insert(u"id"_s, piece.Message->Id);
    else
        object.insert(u"problem"_s, piece.Problem);
    if (!file.isEmpty())
        object.insert(u"file"_s, file);
    return object;
}

QString ToText(const MessagePiece& piece, const QString& file)
{
    const QString what = piece.Message ? Console::Visible(piece.Message->Id)
                                       : u"(skipped: %1)"_s.arg(Console::Visible(piece.Problem));
    return u"%1 %2  %3"_s.arg(piece.Offset, 10)
        .arg(piece.Bytes.size(), 10)
        .arg(file.isEmpty() ? what : file + "  "_L1 + what);
}

ExitCode Split(const SplitOptions& options)
{
    const InputFile input(OrStandardInput(options.File));
    const QByteArray bytes = ReadAll(input);
    if (!options.To.isEmpty() && !QDir().mkpath(options.To))
        throw Failure(options.To, u"the folder cannot be made"_s);
    auto code = ExitCode::Yes;
    QJsonArray array;
    qsizetype count = 0;
    if (!options.Json)
        Console::PrintLine(u"%1 %2  %3"_s.arg(u"offset"_s, 10)
                               .arg(u"size"_s, 10)
                               .arg(options.To.isEmpty() ? u"message"_s : u"file  message"_s));
    ForEachPiece(bytes, [&](const MessagePiece& piece) {
        QString file;
        if (!options.To.isEmpty()) {
            file = FileNameOf(piece, ++count);
            WriteNewFile(options.To + u'/' + file, piece.Bytes);
        }
        if (!piece.Message)
            code = ExitCode::No;
        if (options.Json)
            array.append(ToJson(piece, file));
        else
            Console::PrintLine(ToText(piece, file));
    });
    if (options.Json)
        Console::PrintJson(QJsonDocument(array));
    return bytes.isEmpty() ? ExitCode::No : code;
}

void AddDecode(CommandLine& line, CLI::App& group)
{
    auto options = std::make_shared<DecodeOptions>();
    CLI::App& decode
        = line.AddCommand(group, "decode", "Print captured messages as JSON, one a line",
                          "qvutil message decode capture.bin\n"
                          "qvutil message decode capture.bin | jq -c 'select(.needResponse).params'\n"
                          "qvutil message decode < capture.bin",
                          [options] { return Decode(*options); });
    decode.footer(
        "Reads the bytes as a receiver does. What a receiver would skip is told on standard error\n"
        "with its place, and makes the exit code 1; so does XML that is no message. Values are plain\n"
        "JSON; where that does not tell their type, the object \"types\" does, so that encode writes\n"
        "the same document again.\n\n"
        + decode.get_footer());
    AddTexts(decode, "FILE", options->Files, "Captured bytes; - or nothing for standard input");
    decode.add_flag("--indent", options->Indent, "Print each message on several lines, for people to read");
}

void AddEncode(CommandLine& line, CLI::App& group)
{
    auto options = std::make_shared<EncodeOptions>();
    CLI::App& encode = line.AddCommand(
        group, "encode", "Write messages that are given as JSON as the bytes that travel",
        "qvutil message encode message.json --output message.bin\n"
        "echo '{\"id\": \"Resize\", \"params\": {\"width\": 640}}' | qvutil message encode\n"
        "qvutil message decode capture.bin | sed s/640/800/ | qvutil message encode > changed.bin",
        [options] { return Encode(*options); });
    encode.footer("A message is an object as decode prints it; only \"id\" must be there. The input is one\n"
                  "object, several of them, or a list.\n\n"
                  + encode.get_footer());
    AddText(encode, "FILE", options->File, "JSON to read; - or nothing for standard input");
    AddText(encode, "--output,-o", options->Output, "Write to this file instead of standard output")
        ->type_name("FILE");
}

void AddSplit(CommandLine& line, CLI::App& group)
{
    auto options = std::make_shared<SplitOptions>();
    CLI::App& split
        = line.AddCommand(group, "split", "List the documents in captured bytes, or write each to a file",
                          "qvutil message split capture.bin\n"
                          "qvutil message split capture.bin --to documents\n"
                          "qvutil message split capture.bin --json | jq '.[].offset'",
                          [options] { return Split(*options); });
    split.footer(
        "A document begins at each \"<?xml \", as it does for a receiver. One that a receiver would\n"
        "skip is listed with the reason, and makes the exit code 1.\n\n"
        + split.get_footer());
    AddText(split, "FILE", options->File, "Captured bytes; - or nothing for standard input");
    AddText(split, "--to", options->To, "Folder to write the documents to; files that exist are not touched")
        ->type_name("FOLDER");
    AddJsonFlag(split, options->Json);
}

} // namespace

void AddMessageCommands(CommandLine& line)
{
    CLI::App& group = line.AddGroup("message", "Look into captured messages between processes");
    AddDecode(line, group);
    AddEncode(line, group);
    AddSplit(line, group);
}

} // namespace Quorvin::Tool
