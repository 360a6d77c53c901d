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

// What the library, and its tool, know about XML as such: which characters it allows, how much of it is
// accepted, and what is wrong with a document that does not load.
namespace Quorvin::Util::Internal {

/// Maximum number of elements inside one another in a document. The parser and the document tree recurse once
/// a level, so that a deeper document could exhaust the stack.
inline constexpr int kMaxElementDepth = 1000;

/// Maximum number of attributes of one element. The parser compares each with all others.
inline constexpr int kMaxAttributes = 10'000;

/// Maximum number of characters that a document may make the parser produce besides its own text: what its
/// entities stand for and the defaults of attributes. Elements in entities, and attributes that come by
/// default, count as 64 characters more.
inline constexpr qint64 kMaxExpansion = qint64(16) * 1024 * 1024;

/// Maximum number of characters that one entity may expand to. QDomDocument leaves QXmlStreamReader's
/// default.
inline constexpr int kMaxExpansionOfOneEntity = 4096;

/// Maximum size of a file that is loaded, in bytes.
inline constexpr qint64 kMaxFileSize = qint64(1024) * 1024 * 1024;

/// Whether XML 1.0 allows a character in a document.
[[nodiscard]] constexpr bool IsXmlCharacter(char32_t c)
{
    return c == U'\t' || c == U'\n' || c == U'\r' || (c >= 0x20 && c < 0xD800) || (c >= 0xE000 && c < 0xFFFE)
        || (c >= 0x10000 && c <= 0x10FFFF);
}

/// Finds the first character that XML does not allow; a surrogate without its partner is one.
/// \return its index; -1 if there is none
[[nodiscard]] qsizetype FindNonXmlCharacter(QStringView text);

/// Logs a warning if a text holds a character that XML does not allow. Such a text can be written, but the
/// document that holds it does not load again.
void WarnOfNonXmlCharacters(QStringView text);

/// Sets a reader up as the parser of documents is: without namespaces, so that an unknown prefix is no error,
/// and with the parser's limit for the expansion of one entity.
void ConfigureXmlReader(QXmlStreamReader& reader);

/// Why and where a document does not load.
struct XmlProblem
{
    enum class Kind {
        Malformed, ///< an error of syntax, an unknown encoding or an undeclared entity
        Truncated, ///< the text ends in the middle of the document, or is empty
        BadEncoding, ///< a byte sequence that the document's encoding does not have
        LimitExceeded, ///< well formed so far, but more than the library accepts
    };

    Kind What = Kind::Malformed;
    qint64 Offset = 0; ///< counted from 0; bytes of a QByteArray, UTF-16 units of a QString
    qint64 Line = 1; ///< counted from 1
    qint64 Column = 1; ///< counted from 1, in UTF-16 units
    QString Reason; ///< in English, without a full stop
};

/// Finds out what keeps a document from being loaded.
/// \return nothing if the document loads
[[nodiscard]] std::optional<XmlProblem> FindXmlProblem(const QByteArray& document);
/// \overload
[[nodiscard]] std::optional<XmlProblem> FindXmlProblem(const QString& document);

} // namespace Quorvin::Util::Internal

#endif // QVUTIL_XMLRULES_P_H
