// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "xliff/XliffProgress.h"

#include "cli/Failure.h"
#include "documents/NodeStream.h"
#include <qvutil/general/Digest_p.h>

#include <qvutil/XmlFiler.h>

#include <QHash>
#include <QXmlStreamReader>

#include <map>
#include <new>

using namespace Qt::StringLiterals;
using Quorvin::Util::Internal::IsDigest;

namespace Quorvin::Tool {
namespace {

/// Counts units while the nodes of a file are read, with the same result as from XliffDocument.
class ProgressReader
{
public:
    /// \return false if XliffDocument has to load the file
    [[nodiscard]] bool Add(const QXmlStreamReader& node)
    {
        if (node.isStartElement())
            return BeginElement(node);
        if (node.isEndElement())
            EndElement();
        else
            AddContent(node);
        return true;
    }

    [[nodiscard]] XliffProgress Finish() const
    {
        QHash<QString, qsizetype> readFiles; // by key: the library uses the last file with units
        for (qsizetype i = 0; i < mFiles.size(); ++i) {
            if (mFiles.at(i).HasUnits)
                readFiles.insert(mFiles.at(i).Key, i);
        }
        XliffProgress result;
        result.All = mLoose;
        for (qsizetype i = 0; i < mFiles.size(); ++i) {
            const File& file = mFiles.at(i);
            FileProgress progress = file.Progress;
            const bool isReachable = readFiles.value(file.Key, -1) == i;
            for (const auto& [step, number] : file.InBody)
                progress.Counts.Add(isReachable, step, number);
            result.Files.append(progress);
            result.All += progress.Counts;
        }
        return result;
    }

private:
    struct File
    {
        FileProgress Progress; ///< counts only the units that the library certainly does not find
        QString Key;
        std::map<UnitProgress, int> InBody; ///< numbers of the other units
        bool HasFirst = false; ///< whether it has a child; the library uses the first one as the body
        bool HasUnits = false; ///< whether that child has children
    };

    struct OpenUnit
    {
        int Depth = 0;
        XliffUnit Unit; ///< only its id, and what GetProgress needs
        bool HasTarget = false;
    };

    bool BeginElement(const QXmlStreamReader& node)
    {
        const int depth = mDepth++;
        mIsTargetBegin = false;
        switch (depth) {
        case 0:
            return BeginRoot(node);
        case 1:
            BeginFile(node);
            break;
        case 2:
            mIsInBody = !mFiles.constLast().HasFirst;
            mFiles.last().HasFirst = true;
            break;
        case 3:
            mFiles.last().HasUnits = mFiles.constLast().HasUnits || mIsInBody;
            break;
        default:
            break;
        }
        if (!mOpen.isEmpty() && mOpen.constLast().Depth == depth - 1 && !mOpen.constLast().HasTarget
            && node.qualifiedName() == u"target") {
            mIsTargetBegin = true;
            mOpen.last().HasTarget = true;
            mOpen.last().Unit.State = AttributeOf(node, "state"_L1);
        }
        if (LocalName(node.qualifiedName()) == u"trans-unit") {
            OpenUnit open;
            open.Depth = depth;
            open.Unit.Id = mFiler.Translate(AttributeOf(node, "id"_L1));
            open.Unit.IsApproved = AttributeOf(node, "approved"_L1) == "yes"_L1;
            mOpen.append(open);
        }
        return true;
    }

    static bool BeginRoot(const QXmlStreamReader& node)
    {
        const QXmlStreamAttributes attributes = node.attributes();
        const bool isVersion1
            = !attributes.hasAttribute("version"_L1) || attributes.value("version"_L1).startsWith("1."_L1);
        return isVersion1 && node.qualifiedName() == u"xliff";
    }

    void BeginFile(const QXmlStreamReader& node)
    {
        File file;
        file.Progress.Original = mFiler.Translate(AttributeOf(node, "original"_L1));
        file.Progress.SourceLanguage = mFiler.Translate(AttributeOf(node, "source-language"_L1));
        file.Progress.TargetLanguage = mFiler.Translate(AttributeOf(node, "target-language"_L1));
        file.Key = DocumentKey(file.Progress.Original);
        mFiles.append(file);
    }

    void EndElement()
    {
        const int depth = --mDepth;
        mIsTargetBegin = false;
        if (!mOpen.isEmpty() && mOpen.constLast().Depth == depth)
            CountUnit(mOpen.takeLast());
    }

    void CountUnit(const OpenUnit& open)
    {
        const UnitProgress progress = open.Unit.GetProgress();
        if (open.Depth == 1) // a child of the root, where a file is expected
            mLoose.Add(false, progress);
        else if (open.Depth == 3 && mIsInBody && !mFiles.constLast().Key.isEmpty() && IsDigest(open.Unit.Id))
            ++mFiles.last().InBody[progress];
        else
            mFiles.last().Progress.Counts.Add(false, progress);
    }

    /// The library reads the target's first node if that is text.
    void AddContent(const QXmlStreamReader& node)
    {
        if (mIsTargetBegin && node.isCharacters()) {
            const QString text = node.text().toString();
            mOpen.last().Unit.Target = node.isCDATA() ? text : mFiler.Translate(text);
        }
        mIsTargetBegin = false;
    }

    static QString AttributeOf(const QXmlStreamReader& node, QLatin1StringView name)
    {
        return node.attributes().value(name).toString();
    }

    const Util::XmlFiler mFiler; // without a document, for Translate
    QList<File> mFiles;
    ProgressCounts mLoose; // units that are in no file
    QList<OpenUnit> mOpen;
    int mDepth = 0;
    bool mIsInBody = false; // whether the current child of a file is its first
    bool mIsTargetBegin = false; // whether the previous node is the start of a target
};

/// Returns whether a document is in UTF-8 according to its declaration. XliffDocument decodes other encodings
/// itself.
bool IsDeclaredAsUtf8(const QByteArray& document)
{
    constexpr qsizetype kMaxDeclarationSize = 1024; // otherwise, the reader would decode the whole document
    QXmlStreamReader reader(document.left(kMaxDeclarationSize));
    const bool hasBegun = reader.readNext() == QXmlStreamReader::StartDocument;
    const QStringView encoding = reader.documentEncoding();
    return (hasBegun && encoding.isEmpty()) || encoding.compare("UTF-8"_L1, Qt::CaseInsensitive) == 0;
}

} // namespace

void ProgressCounts::Add(bool isReachable, UnitProgress progress, int number)
{
    Units += number;
    if (!isReachable)
        Unreachable += number;
    else if (progress == UnitProgress::Finished)
        Finished += number;
    else
        (progress == UnitProgress::Empty ? Empty : Unfinished) += number;
}

ProgressCounts& ProgressCounts::operator+=(const ProgressCounts& other)
{
    Units += other.Units;
    Finished += other.Finished;
    Unfinished += other.Unfinished;
    Empty += other.Empty;
    Unreachable += other.Unreachable;
    return *this;
}

XliffProgress ReadProgress(const InputFile& file)
{
    try {
        if (const std::optional<XliffProgress> progress = StreamProgress(file.Name(), file.ReadAll()))
            return *progress;
    } catch (const std::bad_alloc&) {
        throw Failure(file.Name(), u"not enough memory"_s);
    }
    return CountProgress(XliffDocument(file));
}

std::optional<XliffProgress> StreamProgress(const QString& name, const QByteArray& document)
{
    if (!IsDeclaredAsUtf8(document))
        return std::nullopt;
    NodeStream nodes(name, document);
    ProgressReader reader;
    while (nodes.Next()) {
        if (!reader.Add(nodes.Node()))
            return std::nullopt;
    }
    if (!nodes.IsComplete())
        return std::nullopt;
    return reader.Finish();
}

XliffProgress CountProgress(const XliffDocument& xliff)
{
    XliffProgress result;
    for (const XliffFile& file : xliff.GetFiles())
        result.Files.append({file.Original, file.SourceLanguage, file.TargetLanguage, {}});
    for (const XliffUnit& unit : xliff.GetUnits()) {
        const UnitProgress progress = unit.GetProgress();
        if (unit.File >= 0)
            result.Files[unit.File].Counts.Add(unit.IsReachable(), progress);
        result.All.Add(unit.IsReachable(), progress);
    }
    return result;
}

} // namespace Quorvin::Tool
