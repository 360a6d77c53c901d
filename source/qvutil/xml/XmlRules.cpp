// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "xml/XmlRules_p.h"

#include "base/Logging_p.h"
#include "xml/XmlLimits_p.h"

#include <QStringConverter>
#include <QXmlStreamReader>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace Quorvin::Util::Internal {
namespace {

// A document with declarations is passed to the reader in pieces of this size, each of which is counted
// first.
constexpr qsizetype kPieceSize = qsizetype{16} * 1024;

constexpr QLatin1StringView kTooDeep("elements are nested more than 1,000 deep");
constexpr QLatin1StringView kTooManyAttributes("an element has more than 10,000 attributes");
constexpr QLatin1StringView kTooMuchDeclared("the document type declares too many attributes or entities");
constexpr QLatin1StringView kTooMuchExpanded("entities or attribute defaults expand to too much");
constexpr QLatin1StringView kTooLongEntity("an entity expands to more than 4,096 characters");

bool IsUtf8Document(const QByteArray& document, const QXmlStreamReader& reader)
{
    const auto encoding = QStringConverter::encodingForData(document, u'<').value_or(QStringConverter::Utf8);
    return encoding == QStringConverter::Utf8
        && (reader.documentEncoding().isEmpty()
            || reader.documentEncoding().compare("UTF-8"_L1, Qt::CaseInsensitive) == 0);
}

constexpr bool IsUtf8Document(const QString& /*document*/, const QXmlStreamReader& /*reader*/)
{
    return true;
}

// Converts an offset in UTF-16 units to one in the document. In encodings other than UTF-8, each unit counts
// as one byte.
qint64 ToDocumentOffset(const QByteArray& document, const QXmlStreamReader& reader, qint64 units)
{
    if (!IsUtf8Document(document, reader))
        return std::min<qint64>(units, document.size());
    qint64 at = document.startsWith("\xEF\xBB\xBF") ? 3 : 0;
    for (; at < document.size() && units > 0; ++at) {
        const auto byte = static_cast<unsigned char>(document[at]);
        if ((byte & 0xC0U) != 0x80) // not a continuation byte
            units -= byte >= 0xF0 ? 2 : 1;
    }
    while (at < document.size() && (static_cast<unsigned char>(document[at]) & 0xC0U) == 0x80)
        ++at;
    return at;
}

qint64 ToDocumentOffset(const QString& document, const QXmlStreamReader& /*reader*/, qint64 units)
{
    return std::min<qint64>(units, document.size());
}

QString ToText(const QByteArray& text)
{
    return QString::fromUtf8(text);
}

QString ToText(const QString& text)
{
    return text;
}

constexpr char LineEnd(const QByteArray& /*text*/)
{
    return '\n';
}

constexpr QChar LineEnd(const QString& /*text*/)
{
    return u'\n';
}

bool IsUtf8(QByteArrayView bytes, QStringDecoder::Flag flag)
{
    QStringDecoder decoder(QStringDecoder::Utf8, flag);
    static_cast<void>(QString(decoder(bytes))); // only the conversion to QString decodes
    return !decoder.hasError();
}

// Returns the index of the first byte that is not part of a valid UTF-8 sequence; -1 if there is none.
qsizetype FindInvalidUtf8(const QByteArray& bytes)
{
    using Flag = QStringDecoder::Flag;
    const QByteArrayView view(bytes);
    if (IsUtf8(view, Flag::Stateless))
        return -1;
    // Find the longest prefix without an error. It may end within a character; the byte after it is the first
    // that cannot be valid.
    qsizetype good = 0;
    qsizetype bad = view.size();
    while (bad - good > 1) {
        const qsizetype middle = good + (bad - good) / 2;
        (IsUtf8(view.first(middle), Flag::Default) ? good : bad) = middle;
    }
    // An incomplete sequence is invalid from its first byte.
    while (!IsUtf8(view.first(good), Flag::Stateless))
        --good;
    return good;
}

qsizetype FindInvalidUtf8(const QString& /*text*/)
{
    return -1;
}

// Sets line and column from an offset in the document.
template <typename Text> void SetPlace(XmlProblem& problem, const Text& document, qint64 offset)
{
    const Text before = document.first(offset);
    problem.Offset = offset;
    problem.Line = before.count(LineEnd(before)) + 1;
    problem.Column = ToText(before.sliced(before.lastIndexOf(LineEnd(before)) + 1)).size() + 1;
}

constexpr char ReferenceEnd(const QByteArray& /*text*/)
{
    return ';';
}

constexpr QChar ReferenceEnd(const QString& /*text*/)
{
    return u';';
}

// Returns whether the reader stopped at an entity that is too long. The reader reports a syntax error in this
// case, so read the same text again with a higher limit: if that succeeds, the entity was too long. Only
// works for documents in UTF-8; returns false for others.
template <typename Text> bool IsEntityTooLong(const QXmlStreamReader& failed, const Text& document)
{
    constexpr int kHigherLimit = 1024 * 1024;
    if (failed.error() != QXmlStreamReader::NotWellFormedError || FindInvalidUtf8(document) >= 0
        || !IsUtf8Document(document, failed))
        return false;
    const qsizetype referenceEnd = ToDocumentOffset(document, failed, failed.characterOffset());
    if (referenceEnd == 0 || document.at(referenceEnd - 1) != ReferenceEnd(document))
        return false;
    // Do not read further, because the text after the next character may contain another error.
    QXmlStreamReader reader(document.first(std::min(referenceEnd + 1, document.size())));
    ConfigureXmlReader(reader);
    reader.setEntityExpansionLimit(kHigherLimit);
    while (!reader.atEnd())
        reader.readNext();
    return reader.error() == QXmlStreamReader::PrematureEndOfDocumentError;
}

template <typename Text> XmlProblem DescribeError(const QXmlStreamReader& reader, const Text& document)
{
    XmlProblem problem;
    if (reader.error() == QXmlStreamReader::PrematureEndOfDocumentError) {
        problem.Kind = XmlProblemKind::Truncated;
        problem.Reason = document.isEmpty() ? u"the document is empty"_s
                                            : u"the text ends in the middle of the document"_s;
        SetPlace(problem, document, document.size()); // the reader's own position is not always exact
        return problem;
    }
    const QStringView encoding = reader.documentEncoding();
    const bool isUtf8 = encoding.isEmpty() || encoding.compare("UTF-8"_L1, Qt::CaseInsensitive) == 0;
    if (reader.error() == QXmlStreamReader::NotWellFormedError && isUtf8
        && reader.errorString().contains("encoded"_L1)) {
        const qsizetype at = FindInvalidUtf8(document);
        if (at >= 0) {
            problem.Kind = XmlProblemKind::BadEncoding;
            problem.Reason = u"a byte that is not valid UTF-8"_s;
            SetPlace(problem, document, at);
            return problem;
        }
    }
    problem.Offset = ToDocumentOffset(document, reader, reader.characterOffset());
    problem.Line = reader.lineNumber();
    problem.Column = std::max<qint64>(reader.columnNumber(), 1);
    problem.Reason = reader.errorString().simplified();
    while (problem.Reason.endsWith(u'.'))
        problem.Reason.chop(1);
    return problem;
}

// Returns the encoding named in a document's declaration; empty if there is none.
QByteArray DeclaredEncoding(const QByteArray& document)
{
    const QByteArray declaration = document.left(document.indexOf("?>"));
    const qsizetype key = declaration.startsWith("<?xml") ? declaration.indexOf("encoding") : -1;
    const qsizetype begin
        = key < 0 ? -1 : declaration.indexOf(declaration.indexOf('"', key) < 0 ? '\'' : '"', key);
    const qsizetype end = begin < 0 ? -1 : declaration.indexOf(declaration[begin], begin + 1);
    return end < 0 ? QByteArray() : declaration.sliced(begin + 1, end - begin - 1);
}

// Returns whether ASCII characters have their ASCII encoding, and no other characters contain those bytes.
bool KeepsAscii(const QByteArray& document)
{
    const QByteArray name = DeclaredEncoding(document).toLower();
    return !document.contains('\0')
        && (name.isEmpty() || name.startsWith("utf-8") || name.startsWith("iso-8859-")
            || name.startsWith("us-ascii") || name.startsWith("windows-125"));
}

constexpr bool KeepsAscii(const QString& /*document*/)
{
    return true;
}

// Decodes a document, as far as its encoding is known.
QString Decode(const QByteArray& document)
{
    if (const auto byMark = QStringConverter::encodingForData(document, u'<'))
        return QStringDecoder(*byMark)(document);
    QStringDecoder declared(DeclaredEncoding(document).constData());
    return declared.isValid() ? declared(document) : QString::fromUtf8(document);
}

QString Decode(const QString& document)
{
    return document;
}

qsizetype FindDocumentType(const QByteArray& document)
{
    return document.indexOf("<!DOCTYPE");
}

qsizetype FindDocumentType(const QString& document)
{
    return document.indexOf("<!DOCTYPE"_L1);
}

bool MayDeclareAttributes(const QByteArray& document)
{
    return document.contains("ATTLIST");
}

bool MayDeclareAttributes(const QString& document)
{
    return document.contains("ATTLIST"_L1);
}

// Returns a piece of a document. The piece does not end inside a surrogate pair.
QByteArray PieceAt(const QByteArray& document, qsizetype at)
{
    return document.mid(at, kPieceSize);
}

QString PieceAt(const QString& document, qsizetype at)
{
    const QString piece = document.mid(at, kPieceSize);
    return piece.back().isHighSurrogate() ? document.mid(at, kPieceSize + 1) : piece;
}

// Reads a document as the parser does, up to an error or a limit.
template <typename Text> class LimitedReading
{
public:
    explicit LimitedReading(const Text& document)
        : mDocument(document)
        , mKeepsAscii(KeepsAscii(document))
        , mBudget(!mKeepsAscii || MayDeclareAttributes(document))
    {
        ConfigureXmlReader(mReader);
    }

    std::optional<XmlProblem> FindProblem()
    {
        if (const qsizetype tag = FindOverfullTagAnywhere(); tag >= 0) {
            XmlProblem problem = LimitProblem(kTooManyAttributes);
            SetPlace(problem, mDocument, std::min(tag, mDocument.size()));
            return problem;
        }
        const qsizetype documentType = mKeepsAscii ? FindDocumentType(mDocument) : 0;
        mHasDeclarations = documentType >= 0;
        if (mHasDeclarations && !ReadDeclarations(documentType))
            return LimitProblem(mReason);
        if (mFed < mDocument.size())
            mReader.addData(mFed == 0 ? mDocument : mDocument.sliced(mFed));
        if (!ReadOn())
            return LimitProblem(mReason);
        if (!mReader.hasError())
            return std::nullopt;
        if (mHasDeclarations && IsEntityTooLong(mReader, mDocument))
            return LimitProblem(kTooLongEntity);
        XmlProblem problem = DescribeError(mReader, mDocument);
        if (mRootEnd >= 0)
            problem.RootEnd = ToDocumentOffset(mDocument, mReader, mRootEnd);
        return problem;
    }

private:
    qsizetype FindOverfullTagAnywhere() const
    {
        const qsizetype tag = FindOverfullTag(mDocument);
        return tag >= 0 || mKeepsAscii ? tag : FindOverfullTag(QStringView(Decode(mDocument)));
    }

    // Reads up to the first element, in pieces, so that all declarations are counted before the parser reads
    // them.
    bool ReadDeclarations(qsizetype documentType)
    {
        while (mFed < mDocument.size() && !mHasRoot
               && mReader.error() != QXmlStreamReader::NotWellFormedError) {
            const Text piece = PieceAt(mDocument, mFed);
            const qsizetype skipped = std::clamp<qsizetype>(documentType - mFed, 0, piece.size());
            if (!mHasCountedEntities && !mBudget.AddDeclarations(View(piece).sliced(skipped)))
                return Fail(kTooMuchDeclared);
            mFed += piece.size();
            mReader.addData(piece);
            if (!ReadOn())
                return false;
        }
        return true;
    }

    static QByteArrayView View(const QByteArray& piece) { return piece; }
    static QStringView View(const QString& piece) { return piece; }

    // Reads the data that was added.
    bool ReadOn()
    {
        while (!mReader.atEnd()) {
            switch (mReader.readNext()) {
            case QXmlStreamReader::DTD:
                mHasCountedEntities = true;
                if (!mBudget.AddEntities(mReader, Decode(mDocument)))
                    return Fail(kTooMuchExpanded);
                break;
            case QXmlStreamReader::StartElement:
                mHasRoot = true;
                if (++mDepth > kMaxElementDepth)
                    return Fail(kTooDeep);
                if (mHasDeclarations && !mBudget.AddElement(mReader))
                    return Fail(kTooMuchExpanded);
                break;
            case QXmlStreamReader::EndElement:
                if (--mDepth == 0)
                    mRootEnd = mReader.characterOffset();
                break;
            default:
                break;
            }
        }
        return true;
    }

    bool Fail(QLatin1StringView reason)
    {
        mReason = reason;
        return false;
    }

    XmlProblem LimitProblem(QLatin1StringView reason) const
    {
        return {.Kind = XmlProblemKind::LimitExceeded,
                .Offset = ToDocumentOffset(mDocument, mReader, mReader.characterOffset()),
                .Line = mReader.lineNumber(),
                .Column = std::max<qint64>(mReader.columnNumber(), 1),
                .Reason = reason};
    }

    const Text& mDocument;
    bool mKeepsAscii;
    ExpansionBudget mBudget;
    QXmlStreamReader mReader;
    QLatin1StringView mReason;
    qsizetype mFed = 0;
    qint64 mRootEnd = -1; // in UTF-16 units
    int mDepth = 0;
    bool mHasDeclarations = false;
    bool mHasCountedEntities = false;
    bool mHasRoot = false;
};

} // namespace

qsizetype FindNonXmlCharacter(QStringView text)
{
    for (qsizetype i = 0; i < text.size(); ++i) {
        const QChar c = text[i];
        if (c.isHighSurrogate() && i + 1 < text.size() && text[i + 1].isLowSurrogate())
            ++i; // a pair encodes an allowed character
        else if (!IsXmlCharacter(c.unicode()))
            return i;
    }
    return -1;
}

bool IsXmlName(const QString& text)
{
    QXmlStreamReader reader(u'<' + text + "/>"_L1);
    ConfigureXmlReader(reader);
    return reader.readNextStartElement() && reader.qualifiedName() == text;
}

void WarnOfNonXmlCharacters(QStringView text)
{
    const qsizetype at = FindNonXmlCharacter(text);
    if (at >= 0)
        qCWarning(lcQvUtil, "a text contains U+%04X, which XML does not allow: it cannot be read back",
                  text[at].unicode());
}

void ConfigureXmlReader(QXmlStreamReader& reader)
{
    reader.setNamespaceProcessing(false);
    reader.setEntityExpansionLimit(kMaxExpansionOfOneEntity);
}

bool IsSafeToParse(const QByteArray& document)
{
    return KeepsAscii(document) && IsSurelyWithinLimits(document);
}

bool IsSafeToParse(const QString& document)
{
    return IsSurelyWithinLimits(document);
}

std::optional<XmlProblem> FindXmlProblem(const QByteArray& document)
{
    return LimitedReading(document).FindProblem();
}

std::optional<XmlProblem> FindXmlProblem(const QString& document)
{
    return LimitedReading(document).FindProblem();
}

} // namespace Quorvin::Util::Internal
