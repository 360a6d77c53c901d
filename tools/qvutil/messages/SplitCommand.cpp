// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "messages/MessageCommands.h"

#include "cli/Command.h"
#include "cli/Console.h"
#include "cli/InputFile.h"
#include "cli/Report.h"
#include "messages/MessageFile.h"
#include "messages/MessageText.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonObject>

#include <memory>

using namespace Qt::StringLiterals;

namespace Quorvin::Tool {
namespace {

struct SplitOptions
{
    QString File;
    QString To;
    bool Json = false;
};

// Returns the part of a message's name that is valid in file names on every system.
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
        throw Failure(path, QFileInfo::exists(path) ? u"already exists"_s : file.errorString());
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
    if (options.To == "-"_L1)
        throw UsageFailure(u"--to must be a folder; use ./- for a folder named -"_s);
    const InputFile input(OrStandardInput(options.File));
    const QByteArray bytes = input.ReadAll();
    if (!options.To.isEmpty() && !QDir().mkpath(options.To))
        throw Failure(options.To, u"the folder cannot be created"_s);
    auto code = ExitCode::Yes;
    Report report(options.Json);
    qsizetype count = 0;
    report.Heading([&] {
        Console::PrintLine(u"%1 %2  %3"_s.arg(u"offset"_s, 10)
                               .arg(u"size"_s, 10)
                               .arg(options.To.isEmpty() ? u"message"_s : u"file  message"_s));
    });
    ForEachCapturedPiece(bytes, [&](const MessagePiece& piece) {
        QString file;
        if (!options.To.isEmpty()) {
            file = FileNameOf(piece, ++count);
            WriteNewFile(options.To + u'/' + file, piece.Bytes);
        }
        if (!piece.Message)
            code = ExitCode::No;
        report.AddItem([&] { return ToJson(piece, file); }, [&] { Console::PrintLine(ToText(piece, file)); });
    });
    report.Finish();
    return bytes.isEmpty() ? ExitCode::No : code;
}

} // namespace

void AddMessageSplitCommand(CommandLine& line, CLI::App& group)
{
    auto options = std::make_shared<SplitOptions>();
    CLI::App& split = line.AddCommand(
        group, "split", "List the messages in captured bytes, or write the frame of each to a file",
        "qvutil message split capture.bin\n"
        "qvutil message split capture.bin --to documents\n"
        "qvutil message split capture.bin --json | jq '.[].offset'",
        [options] { return Split(*options); });
    AddExplanation(
        split,
        "A frame begins at each \"<?xml \", as it does for a receiver. Frames that a receiver would skip\n"
        "are listed with the reason; the exit code is then 1.");
    AddText(split, "FILE", options->File, "File with captured bytes; - or none for standard input");
    AddText(split, "--to", options->To, "Folder to write the frames to; existing files are not overwritten")
        ->type_name("FOLDER");
    AddJsonFlag(split, options->Json);
}

} // namespace Quorvin::Tool
