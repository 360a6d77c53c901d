// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_XMLLIMITS_P_H
#define QVUTIL_XMLLIMITS_P_H

#include <QByteArray>
#include <QHash>
#include <QList>
#include <QString>
#include <QStringView>

class QXmlStreamReader;

// Internal, not API: may change in any version.

namespace Quorvin::Util::Internal {

/// Finds a tag with more than kMaxAttributes attributes. Such a tag must not reach the parser, which compares
/// each attribute with all others of its tag. \return index of its '<'; -1 if there is none
[[nodiscard]] qsizetype FindOverfullTag(const QByteArray& document);
/// \overload
[[nodiscard]] qsizetype FindOverfullTag(QStringView document);

/// Returns whether a document certainly has no document type and, up to its first error if there is one,
/// certainly stays within the limits for depth and attributes. Scans only the tags, in a small part of the
/// parser's time.
/// \return false if the document needs a closer look
[[nodiscard]] bool IsSurelyWithinLimits(const QByteArray& document);
/// \overload
[[nodiscard]] bool IsSurelyWithinLimits(QStringView document);

/// Counts how often the parser compares two attributes of a tag, which dominates its time for tags with many
/// attributes. Text that looks like a tag in a comment or CDATA section counts too: it cannot be
/// distinguished from text in a document type, where a malicious document could hide a tag.
[[nodiscard]] qint64 CountAttributeComparisons(QStringView document);

/// Adds up what the parser produces from text that is written once but used repeatedly: entities, elements
/// inside them, and attribute defaults.
class ExpansionBudget
{
public:
    /// \param mayDeclareAttributes  whether the document may declare attributes
    explicit ExpansionBudget(bool mayDeclareAttributes)
        : mMayDeclareAttributes(mayDeclareAttributes)
    { }

    /// Counts the next piece of a document type declaration before the parser reads it, which gives an upper
    /// bound for what the piece declares. (QXmlStreamReader limits one reference to 4,096 characters.)
    /// \return false if a limit is exceeded
    [[nodiscard]] bool AddDeclarations(QByteArrayView piece);
    /// \overload
    [[nodiscard]] bool AddDeclarations(QStringView piece);

    /// Counts the entity references of the whole document.
    /// \return false if the limit is exceeded
    [[nodiscard]] bool AddEntities(const QXmlStreamReader& afterDeclarations, QStringView document);

    /// Counts the reader's current element.
    /// \return false if a limit is exceeded
    [[nodiscard]] bool AddElement(const QXmlStreamReader& reader);

private:
    struct Entity
    {
        QString Value;
        qint64 Cost = -1;
        bool BeingMeasured = false;
    };

    template <typename View> bool Count(View piece);
    [[nodiscard]] qint64 MaxAttributeDeclarations() const;
    [[nodiscard]] qint64 CostOfReferences(QStringView text);
    [[nodiscard]] qint64 CostOf(Entity& entity);

    QHash<QString, Entity> mEntities;
    int mNesting = 0;
    bool mMayDeclareAttributes;
    qint64 mQuotes = 0;
    qint64 mHashes = 0;
    qint64 mReferences = 0;
    qint64 mParameterReferences = 0;
    qint64 mElements = 0;
    qint64 mSpent = 0;
};

} // namespace Quorvin::Util::Internal

#endif // QVUTIL_XMLLIMITS_P_H
