// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_XMLRULES_P_H
#define QVUTIL_XMLRULES_P_H

#include <QByteArray>
#include <QString>
#include <QStringView>

#include <optional>

class QXmlStreamReader;

// Internal, not API: may change in any version.

// The rules of XML for the library and its tool: which characters are allowed, which limits apply, and why a
// document does not load.
namespace Quorvin::Util::Internal {

/// Maximum nesting depth of elements. The parser and the document tree recurse for each level, so a deeper
/// document could exhaust the stack.
inline constexpr int kMaxElementDepth = 1000;

/// Maximum number of attributes of one element. The parser compares each with all others.
inline constexpr int kMaxAttributes = 10'000;

/// Maximum number of characters that a document may make the parser produce in addition to its own text:
/// expanded entities and attribute defaults. Each element in an entity and each default attribute counts as
/// 64 additional characters.
inline constexpr qint64 kMaxExpansion = qint64(16) * 1024 * 1024;

/// Maximum number of characters that one entity may expand to. This is QXmlStreamReader's default, which
/// QDomDocument does not change.
inline constexpr int kMaxExpansionOfOneEntity = 4096;

/// Maximum size of a file that is loaded, in bytes.
inline constexpr qint64 kMaxFileSize = qint64(1024) * 1024 * 1024;

/// Returns whether XML 1.0 allows a character in a document.
[[nodiscard]] constexpr bool IsXmlCharacter(char32_t c)
{
    return c == U'\t' || c == U'\n' || c == U'\r' || (c >= 0x20 && c < 0xD800) || (c >= 0xE000 && c < 0xFFFE)
        || (c >= 0x10000 && c <= 0x10FFFF);
}

/// Finds the first character that XML does not allow, such as an unpaired surrogate.
/// \return its index; -1 if there is none
[[nodiscard]] qsizetype FindNonXmlCharacter(QStringView text);

/// Returns whether a text can be the name of an element or an attribute.
[[nodiscard]] bool IsXmlName(const QString& text);

/// Logs a warning if a text contains a character that XML does not allow. Such a text can be written, but the
/// document does not load again.
void WarnOfNonXmlCharacters(QStringView text);

/// Configures a reader to behave like the parser of documents: without namespaces, so that an undeclared
/// prefix is not an error, and with the parser's limit for the expansion of one entity.
void ConfigureXmlReader(QXmlStreamReader& reader);

/// The kinds of reasons why a document does not load.
enum class XmlProblemKind {
    Malformed, ///< a syntax error, an unknown encoding or an undeclared entity
    Truncated, ///< the text ends inside the document, or is empty
    BadEncoding, ///< a byte sequence that is invalid in the document's encoding
    LimitExceeded, ///< well-formed so far, but a limit is exceeded
};

/// Why and where a document fails to load.
struct XmlProblem
{
    XmlProblemKind Kind = XmlProblemKind::Malformed;
    qint64 Offset = 0; ///< counted from 0; bytes of a QByteArray, UTF-16 units of a QString
    qint64 Line = 1; ///< counted from 1
    qint64 Column = 1; ///< counted from 1, in UTF-16 units
    qint64 RootEnd = -1; ///< offset of the end of the root element; -1 if the problem comes before it
    QString Reason; ///< in English, without a full stop
};

/// Returns whether a document certainly exceeds no limit, so that it can be parsed without further checks,
/// even if it is malformed. Takes a small part of the time of FindXmlProblem.
/// \return false if FindXmlProblem must decide
[[nodiscard]] bool IsSafeToParse(const QByteArray& document);
/// \overload
[[nodiscard]] bool IsSafeToParse(const QString& document);

/// Finds the reason why a document does not load.
/// \return nullopt if the document loads
[[nodiscard]] std::optional<XmlProblem> FindXmlProblem(const QByteArray& document);
/// \overload
[[nodiscard]] std::optional<XmlProblem> FindXmlProblem(const QString& document);

} // namespace Quorvin::Util::Internal

#endif // QVUTIL_XMLRULES_P_H
