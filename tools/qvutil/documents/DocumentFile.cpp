// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "documents/DocumentFile.h"

#include "cli/Failure.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QStringDecoder>
#include <QXmlStreamReader>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace Quorvin::Tool {
namespace {

// As much as the library takes.
constexpr int kMaxExpansion = 16 * 1024 * 1024;

bool IsUtf8(QByteArrayView bytes, QStringDecoder::Flag flag)
{
    QStringDecoder decoder(QStringDecoder::Utf8, flag);
    static_cast<void>(QString(decoder(bytes))); // the conversion to a text decodes
    return !decoder.hasError();
}

// The parser decodes a file in large pieces and does not tell which byte is wrong.
std::optional<qsizetype> FindByteThatIsNoUtf8(QByteArrayView bytes)
{
    // A piece that ends within a character is right so far.
    if (IsUtf8(bytes, QStringDecoder::Flag::Default))
        return std::nullopt;
    qsizetype good = 0;
    qsizetype bad = bytes.size();
    while (bad - good > 1) {
        const qsizetype middle = good + (bad - good) / 2;
        (IsUtf8(bytes.first(middle), QStringDecoder::Flag::Default) ? good : bad) = middle;
    }
    // The character that does not go on is the wrong one, not the byte that shows it.
    while (!IsUtf8(bytes.first(good), QStringDecoder::Flag::Stateless))
        --good;
    return good;
}

std::optional<ParseProblem> FindEncodingProblem(QFile& file)
{
    if (!file.seek(0))
        return std::nullopt;
    const QByteArray bytes = file.readAll();
    const auto offset = FindByteThatIsNoUtf8(bytes);
    if (!offset)
        return std::nullopt;
    const QByteArrayView before = QByteArrayView(bytes).first(*offset);
    const qsizetype lineStart = before.lastIndexOf('\n') + 1;
    return ParseProblem{.Line = before.count('\n') + 1,
                        .Column = *offset - lineStart + 1,
                        .Reason = u"a byte that is not valid UTF-8"_s,
                        .IsTorn = false};
}

// The parser does not always know how far it came.
ParseProblem TornAtEnd(QFile& file)
{
    const QByteArray bytes = file.seek(0) ? file.readAll() : QByteArray();
    const QByteArray lastLine = bytes.sliced(bytes.lastIndexOf('\n') + 1);
    return ParseProblem{.Line = bytes.count('\n') + 1,
                        .Column = std::max<qint64>(QString::fromUtf8(lastLine).size(), 1),
                        .Reason = u"the file ends in the middle of the document"_s,
                        .IsTorn = true};
}

bool IsEncodingError(const QXmlStreamReader& reader)
{
    const QStringView encoding = reader.documentEncoding();
    return reader.error() == QXmlStreamReader::NotWellFormedError
        && reader.errorString().contains("encoded"_L1)
        && (encoding.isEmpty() || encoding.compare("UTF-8"_L1, Qt::CaseInsensitive) == 0);
}

} // namespace

std::optional<ParseProblem> FindParseProblem(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return ParseProblem{.Line = 1, .Column = 1, .Reason = file.errorString(), .IsTorn = false};
    if (file.atEnd())
        return ParseProblem{.Line = 1, .Column = 1, .Reason = u"the file is empty"_s, .IsTorn = true};

    QXmlStreamReader reader(&file);
    reader.setNamespaceProcessing(false);
    reader.setEntityExpansionLimit(kMaxExpansion);
    while (!reader.atEnd())
        reader.readNext();
    if (!reader.hasError())
        return std::nullopt;
    if (IsEncodingError(reader)) {
        if (const auto problem = FindEncodingProblem(file))
            return problem;
    }
    if (reader.error() == QXmlStreamReader::PrematureEndOfDocumentError)
        return TornAtEnd(file);
    QString reason = reader.errorString().simplified();
    while (reason.endsWith(u'.'))
        reason.chop(1);
    return ParseProblem{.Line = reader.lineNumber(),
                        .Column = std::max<qint64>(reader.columnNumber(), 1),
                        .Reason = reason,
                        .IsTorn = false};
}

QString LimitsReason()
{
    return u"nested deeper, or with more text in its entities, than the library takes"_s;
}

void FailToParse(const QString& name, const ParseProblem& problem)
{
    throw Failure(u"%1:%2:%3"_s.arg(name).arg(problem.Line).arg(problem.Column), problem.Reason);
}

void LoadDocument(Util::XmlFiler& filer, const InputFile& file)
{
    if (filer.LoadFromXmlFile(file.Path()))
        return;
    const Util::XmlLoadError error = filer.GetLoadError();
    if (error.Line == 0) // not a matter of what the file holds
        throw Failure(file.Name(), error.Text);
    const auto problem = FindParseProblem(file.Path());
    if (!problem)
        throw Failure(file.Name(), LimitsReason());
    FailToParse(file.Name(), *problem);
}

void SaveDocument(Util::XmlFiler& filer, const QString& file)
{
    if (!filer.SaveAsXmlFile(file))
        FailToSave(file);
}

void FailToSave(const QString& file)
{
    // The library tells that it failed, not why: look at what is most likely.
    const QFileInfo info(file);
    if (info.isDir())
        throw Failure(file, u"is a folder"_s);
    if (!info.absoluteDir().exists())
        throw Failure(file, u"there is no folder %1"_s.arg(info.path()));
    QFile probe(file);
    if (info.exists() ? !probe.open(QIODevice::Append) : !QFileInfo(info.absolutePath()).isWritable())
        throw Failure(file, info.exists() ? probe.errorString() : u"Permission denied"_s);
    throw Failure(file, u"could not be written in full; what was there is kept"_s);
}

} // namespace Quorvin::Tool
