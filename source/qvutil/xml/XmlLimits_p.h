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

/// Finds a tag with more than kMaxAttributes attributes. The parser compares each attribute with all others
/// of its tag, so that such a tag must not reach it. \return index of its '<'; -1 if there is none
[[nodiscard]] qsizetype FindOverfullTag(const QByteArray& document);
/// \overload
[[nodiscard]] qsizetype FindOverfullTag(QStringView document);

/// Counts how often the parser compares two attributes of a tag, which is what takes its time with tags of
/// many attributes. What looks like a tag in a comment or a CDATA section counts too: these cannot be told
/// from texts in a document type, which a hostile document could use to hide a tag.
[[nodiscard]] qint64 CountAttributeComparisons(QStringView document);

/// Adds up what the parts of a document that are written once and used often make the parser produce:
/// entities, the elements in them, and the defaults of attributes.
class ExpansionBudget
{
public:
    /// \param mayDeclareAttributes  whether there may be a declaration of attributes
    explicit ExpansionBudget(bool mayDeclareAttributes)
        : mMayDeclareAttributes(mayDeclareAttributes)
    { }

    /// Counts the next piece of a document type declaration; what it may declare at most is known before the
    /// parser has read it. (QXmlStreamReader limits one reference to 4,096 characters.)
    /// \return whether the declaration keeps the limits
    [[nodiscard]] bool AddDeclarations(QByteArrayView piece);
    /// \overload
    [[nodiscard]] bool AddDeclarations(QStringView piece);

    /// Counts the entity references of the whole document.
    /// \return whether they keep the limit
    [[nodiscard]] bool AddEntities(const QXmlStreamReader& afterDeclarations, QStringView document);

    /// Counts the element that the reader is on.
    /// \return whether the document keeps the limits
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
