// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "documents/FileCheck.h"

#include "cli/Console.h"
#include "cli/Failure.h"
#include "documents/DocumentEntries.h"
#include "documents/DocumentFile.h"
#include "documents/NodeStream.h"
#include <qvutil/platform/Platform_p.h>

#include <QFileInfo>

#include <algorithm>

using namespace Qt::StringLiterals;
using Quorvin::Util::GeneralUtil;
using Quorvin::Util::XmlFiler;
using Quorvin::Util::Internal::IsXmlCharacter;
using Quorvin::Util::Internal::XmlProblem;
using Quorvin::Util::Internal::XmlProblemKind;

namespace Quorvin::Tool {
namespace {

// Maximum number of reported problems of one kind; a binary file would have thousands.
constexpr qsizetype kMaxOfKind = 10;

constexpr QLatin1StringView gKindNames[] = {
    "torn"_L1, "malformed"_L1, "limits"_L1, "character"_L1, "change"_L1, "stale"_L1,
};

/// Counts lines and columns while it walks through bytes.
class Position
{
public:
    explicit Position(const QByteArray& bytes)
        : mBytes(bytes)
    { }
    void MoveTo(qsizetype offset)
    {
        for (; mOffset < offset; ++mOffset) {
            const bool isLineEnd = mBytes.at(mOffset) == '\n';
            mLine += isLineEnd ? 1 : 0;
            mLineStart = isLineEnd ? mOffset + 1 : mLineStart;
        }
    }
    [[nodiscard]] FileProblem ProblemHere(FileProblem::ProblemKind kind, const QString& reason) const
    {
        return {.Kind = kind, .Line = mLine, .Column = mOffset - mLineStart + 1, .Reason = reason};
    }

private:
    const QByteArray& mBytes;
    qsizetype mOffset = 0;
    qsizetype mLineStart = 0;
    qint64 mLine = 1;
};

// UTF-16 contains zero bytes, so only the parser can judge such a file.
bool IsWideText(const QByteArray& bytes)
{
    return bytes.startsWith("\xff\xfe") || bytes.startsWith("\xfe\xff");
}

qsizetype SizeWithoutZeros(const QByteArray& bytes)
{
    const auto last = std::find_if(bytes.rbegin(), bytes.rend(), [](char byte) { return byte != '\0'; });
    return bytes.rend() - last;
}

void FindCharacters(const QByteArray& bytes, QList<FileProblem>& problems)
{
    if (IsWideText(bytes))
        return;
    Position position(bytes);
    const qsizetype size = SizeWithoutZeros(bytes);
    qsizetype found = 0;
    for (qsizetype i = 0; i < size && found < kMaxOfKind; ++i) {
        const auto code = static_cast<unsigned char>(bytes.at(i));
        if (IsXmlCharacter(code)) // true for the bytes of non-ASCII characters too
            continue;
        ++found;
        position.MoveTo(i);
        problems.append(position.ProblemHere(
            FileProblem::Character, u"the character %1 cannot be read back"_s.arg(Console::CodePoint(code))));
    }
    if (size < bytes.size()) {
        position.MoveTo(size);
        problems.append(position.ProblemHere(FileProblem::Torn,
                                             u"the file ends in %1 zero bytes"_s.arg(bytes.size() - size)));
    }
}

FileProblem::ProblemKind KindOf(const XmlProblem& problem)
{
    switch (problem.Kind) {
    case XmlProblemKind::Truncated:
        return FileProblem::Torn;
    case XmlProblemKind::LimitExceeded:
        return FileProblem::Limits;
    case XmlProblemKind::BadEncoding:
    case XmlProblemKind::Malformed:
        break;
    }
    return FileProblem::Malformed;
}

// Adds the reason why the library does not load the document, if there is one.
// \return whether the library loads the document
bool FindParseProblems(const QByteArray& content, QList<FileProblem>& problems)
{
    const std::optional<XmlProblem> problem = FindFileProblem(content);
    if (!problem)
        return true;
    // Skip the parser's error if the problem is already reported.
    if (problem->Line > 0 && !problems.isEmpty() && problems.front().Line <= problem->Line)
        return false;
    problems.append({.Kind = KindOf(*problem),
                     .Line = problem->Line,
                     .Column = problem->Column,
                     .Reason = problem->Reason});
    return false;
}

void FindStaleFiles(const InputFile& file, QList<FileProblem>& problems)
{
    if (file.IsCopy())
        return;
    const QStringList stale = Quorvin::Util::Platform::FindStaleFiles(file.Path());
    for (const QString& path : stale) {
        const QFileInfo info(path);
        problems.append({.Kind = FileProblem::StaleFile,
                         .Line = 0,
                         .Column = 0,
                         .Reason = u"an interrupted save left %1 behind, %2"_s.arg(
                             info.fileName(), GeneralUtil::BytesToString(info.size(), 1))});
    }
}

} // namespace

QString FileProblem::ToText(const QString& file) const
{
    if (Line == 0)
        return file + u": "_s + Reason;
    return u"%1:%2:%3: %4"_s.arg(file, QString::number(Line), QString::number(Column), Reason);
}

QJsonObject FileProblem::ToJson() const
{
    QJsonObject object{{u"kind"_s, QString(gKindNames[Kind])}, {u"reason"_s, Reason}};
    if (Line != 0) {
        object.insert(u"line"_s, Line);
        object.insert(u"column"_s, Column);
    }
    return object;
}

QList<FileProblem> FindChanges(XmlFiler& filer)
{
    XmlFiler copy;
    if (!copy.LoadFromXmlString(filer.SaveAsXmlString())) {
        return {{.Kind = FileProblem::Change,
                 .Line = 0,
                 .Column = 0,
                 .Reason = u"the file would no longer parse once it is saved"_s}};
    }
    QList<FileProblem> problems;
    const QList<Entry> after = ListEntries(copy.GetCurrentNode().toElement());
    qsizetype index = 0;
    VisitTree(filer.GetCurrentNode().toElement(), [&](const VisitedElement& element) {
        for (const Entry& entry : EntriesOf(element)) {
            if (index < after.size() && problems.size() < kMaxOfKind && after.at(index) != entry) {
                problems.append(
                    {.Kind = FileProblem::Change,
                     .Line = 0,
                     .Column = 0,
                     .Reason = u"%1 would read back differently once it is saved"_s.arg(entry.ToText())});
            }
            ++index;
        }
    });
    return problems;
}

bool SurelyKeepsValues(const QString& name, const QByteArray& content)
{
    NodeStream nodes(name, content);
    while (nodes.Next()) {
        // When saving, the library writes a line break after a processing instruction, which changes the text
        // after it.
        if (nodes.Node().isProcessingInstruction())
            return false;
    }
    return nodes.IsComplete();
}

QList<FileProblem> CheckFile(const InputFile& file)
{
    QList<FileProblem> problems;
    const QByteArray content = file.ReadAll();
    FindCharacters(content, problems);
    if (!SurelyKeepsValues(file.Name(), content) && FindParseProblems(content, problems)) {
        XmlFiler filer;
        filer.TranslateEnabled = false;
        if (filer.LoadFromXmlFile(file.Path()))
            problems += FindChanges(filer);
    }
    FindStaleFiles(file, problems);
    return problems;
}

} // namespace Quorvin::Tool
