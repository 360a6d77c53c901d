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

constexpr int kMaxExpansionOfOneEntity = 4096; // QDomDocument leaves QXmlStreamReader's default

// An offset in UTF-16 units as one into the document itself. What is in another encoding than UTF-8 counts
// as one byte a unit.
qint64 ToDocumentOffset(const QByteArray& document, const QXmlStreamReader& reader, qint64 units)
{
    const auto encoding = QStringConverter::encodingForData(document, u'<').value_or(QStringConverter::Utf8);
    const bool isUtf8 = encoding == QStringConverter::Utf8
        && (reader.documentEncoding().isEmpty()
            || reader.documentEncoding().compare("UTF-8"_L1, Qt::CaseInsensitive) == 0);
    if (!isUtf8)
        return std::min<qint64>(units, document.size());
    qint64 at = document.startsWith("\xEF\xBB\xBF") ? 3 : 0;
    for (; at < document.size() && units > 0; ++at) {
        const auto byte = static_cast<unsigned char>(document[at]);
        if ((byte & 0xC0U) != 0x80) // not the continuation of a character
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

// Index of the first byte that is not part of a UTF-8 sequence; -1 if there is none.
qsizetype FindInvalidUtf8(const QByteArray& bytes)
{
    QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    const QString decoded = decoder(bytes);
    static_cast<void>(decoded);
    if (!decoder.hasError())
        return -1;
    // The shortest prefix that has an error ends behind the byte.
    qsizetype good = 0;
    qsizetype bad = bytes.size();
    while (bad - good > 1) {
        const qsizetype middle = good + (bad - good) / 2;
        QStringDecoder half(QStringDecoder::Utf8);
        const QString prefix = half(QByteArrayView(bytes).first(middle));
        static_cast<void>(prefix);
        (half.hasError() ? bad : good) = middle;
    }
    return bad - 1;
}

qsizetype FindInvalidUtf8(const QString& /*text*/)
{
    return -1;
}

// Sets line and column of an offset that is known in the document itself.
template <typename Text> void SetPlace(XmlProblem& problem, const Text& document, qint64 offset)
{
    const Text before = document.first(offset);
    problem.Offset = offset;
    problem.Line = before.count(LineEnd(before)) + 1;
    problem.Column = ToText(before.sliced(before.lastIndexOf(LineEnd(before)) + 1)).size() + 1;
}

template <typename Text> XmlProblem DescribeError(const QXmlStreamReader& reader, const Text& document)
{
    XmlProblem problem;
    if (reader.error() == QXmlStreamReader::PrematureEndOfDocumentError) {
        problem.What = XmlProblem::Kind::Truncated;
        problem.Reason = document.isEmpty() ? u"the document is empty"_s
                                            : u"the text ends in the middle of the document"_s;
        SetPlace(problem, document, document.size()); // the reader does not always know how far it came
        return problem;
    }
    const QStringView encoding = reader.documentEncoding();
    const bool isUtf8 = encoding.isEmpty() || encoding.compare("UTF-8"_L1, Qt::CaseInsensitive) == 0;
    if (reader.error() == QXmlStreamReader::NotWellFormedError && isUtf8
        && reader.errorString().contains("encoded"_L1)) {
        const qsizetype at = FindInvalidUtf8(document);
        if (at >= 0) {
            problem.What = XmlProblem::Kind::BadEncoding;
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

template <typename Text> std::optional<XmlProblem> FindProblem(const Text& document)
{
    if (!KeepsXmlLimits(document)) {
        return XmlProblem{.What = XmlProblem::Kind::LimitExceeded,
                          .Reason = u"nested deeper, or with more text in its entities, than is accepted"_s};
    }
    QXmlStreamReader reader(document);
    ConfigureXmlReader(reader);
    while (!reader.atEnd())
        reader.readNext();
    if (!reader.hasError())
        return std::nullopt;
    return DescribeError(reader, document);
}

} // namespace

qsizetype FindNonXmlCharacter(QStringView text)
{
    for (qsizetype i = 0; i < text.size(); ++i) {
        const QChar c = text[i];
        if (c.isHighSurrogate() && i + 1 < text.size() && text[i + 1].isLowSurrogate())
            ++i; // a pair stands for a character that is allowed
        else if (!IsXmlCharacter(c.unicode()))
            return i;
    }
    return -1;
}

void WarnOfNonXmlCharacters(QStringView text)
{
    const qsizetype at = FindNonXmlCharacter(text);
    if (at >= 0)
        qCWarning(lcQvUtil, "a text holds U+%04X, which XML cannot hold: it will not read back",
                  text[at].unicode());
}

void ConfigureXmlReader(QXmlStreamReader& reader)
{
    reader.setNamespaceProcessing(false);
    reader.setEntityExpansionLimit(kMaxExpansionOfOneEntity);
}

std::optional<XmlProblem> FindXmlProblem(const QByteArray& document)
{
    return FindProblem(document);
}

std::optional<XmlProblem> FindXmlProblem(const QString& document)
{
    return FindProblem(document);
}

} // namespace Quorvin::Util::Internal
