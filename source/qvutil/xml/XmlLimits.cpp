// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "xml/XmlLimits_p.h"

#include "xml/XmlRules_p.h"

#include <QXmlStreamReader>

#include <algorithm>
#include <string_view>

namespace Quorvin::Util::Internal {
namespace {

// The cost of an element or attribute besides its text, in characters: roughly the memory of a node.
constexpr qint64 kNodeCost = 64;
constexpr qint64 kMaxDeclaredReferences = kMaxExpansion / kMaxExpansionOfOneEntity;
constexpr qint64 kShortestAttributeDeclaration = 8; // as in ` a ID ""`
// The parser looks up all attribute declarations for each element.
constexpr qint64 kMaxDeclarationLookUps = qint64(1) << 29;

// The search works on bytes in any encoding that extends ASCII, and on UTF-16.
template <typename Char> using Text = std::basic_string_view<Char>;

template <typename Char> constexpr bool IsBlank(Char c)
{
    return c == ' ' || c == '\t' || c == '\n' || c == '\r';
}

template <typename Char> size_t SkipBlanks(Text<Char> text, size_t at)
{
    while (at < text.size() && IsBlank(text[at]))
        ++at;
    return at;
}

// Counts the attributes in a tag. Stops at its end or, like the parser, at a character that no tag can
// contain.
template <typename Char> int CountAttributes(Text<Char> tag)
{
    int count = 0;
    size_t at = 1;
    const auto skipName = [&] {
        const size_t begin = at;
        while (at < tag.size() && !IsBlank(tag[at]) && tag[at] != '=' && tag[at] != '>' && tag[at] != '/')
            ++at;
        return at > begin;
    };
    if (at == tag.size() || tag[at] == '!' || tag[at] == '?' || !skipName())
        return 0; // a comment, for example
    for (;; ++count) {
        at = SkipBlanks(tag, at);
        if (!skipName())
            return count;
        at = SkipBlanks(tag, at);
        if (at == tag.size() || tag[at] != '=')
            return count;
        at = SkipBlanks(tag, at + 1);
        if (at == tag.size() || (tag[at] != '"' && tag[at] != '\''))
            return count;
        at = tag.find(tag[at], at + 1);
        if (at == tag.npos)
            return count;
        ++at;
    }
}

// Calls visit(index of the tag, number of its attributes) for each tag that is long enough to have more than
// the given number of attributes. Ends when visit returns false.
template <typename Char, typename Visit> void ForEachTagWithMore(int attributes, Text<Char> text, Visit visit)
{
    constexpr size_t kShortestAttribute = 5; // as in ` a=""`
    constexpr auto kTagStart = static_cast<Char>('<');
    const size_t shortest = static_cast<size_t>(attributes) * kShortestAttribute;
    for (size_t at = text.find(kTagStart); at != text.npos;) {
        // A tag cannot contain another '<', so most tags are too short to have too many attributes.
        const size_t next = text.find(kTagStart, at + 1);
        const size_t end = std::min(next, text.size());
        if (end - at > shortest && !visit(at, CountAttributes(text.substr(at, end - at))))
            return;
        at = next;
    }
}

template <typename Char> qsizetype FindOverfullTagIn(Text<Char> text)
{
    qsizetype found = -1;
    ForEachTagWithMore(kMaxAttributes, text, [&found](size_t at, int attributes) {
        if (attributes > kMaxAttributes)
            found = static_cast<qsizetype>(at);
        return found < 0;
    });
    return found;
}

// Finds the tags of a document. Stops where the end of a construct is missing, as the parser does.
template <typename Char> class MarkScan
{
public:
    explicit MarkScan(Text<Char> text)
        : mText(text)
    { }

    bool IsWithinLimits()
    {
        for (SkipTo('<'); mAt < mText.size(); SkipTo('<')) {
            if (StartsWith("</")) {
                --mDepth;
                mAt += 2;
            } else if (StartsWith("<?")) {
                SkipBehind("?>");
            } else if (StartsWith("<!--")) {
                mAt += 4;
                SkipBehind("-->");
            } else if (StartsWith("<![CDATA[")) {
                SkipBehind("]]>");
            } else if (StartsWith("<!") || !SkipTag()) {
                return false;
            }
        }
        return true;
    }

private:
    void SkipTo(char mark) { mAt = std::min(mText.find(static_cast<Char>(mark), mAt), mText.size()); }

    bool StartsWith(std::string_view mark) const
    {
        return mText.size() - mAt >= mark.size()
            && std::equal(mark.begin(), mark.end(), mText.begin() + static_cast<std::ptrdiff_t>(mAt));
    }

    void SkipBehind(std::string_view end)
    {
        for (SkipTo(end.front()); mAt < mText.size() && !StartsWith(end); SkipTo(end.front()))
            ++mAt;
        mAt = std::min(mAt + end.size(), mText.size());
    }

    // A tag cannot contain another '<': the parser stops there.
    bool SkipTag()
    {
        int attributes = 0;
        for (++mAt; mAt < mText.size() && mText[mAt] != '<'; ++mAt) {
            const Char c = mText[mAt];
            if (c == '>') {
                const bool isWithinLimits = attributes <= kMaxAttributes && mDepth < kMaxElementDepth;
                mDepth += mText[mAt - 1] == '/' ? 0 : 1; // an empty element ends at once
                return isWithinLimits;
            }
            if (c == '"' || c == '\'') {
                ++attributes;
                ++mAt;
                SkipTo(static_cast<char>(c));
            }
        }
        return attributes <= kMaxAttributes;
    }

    Text<Char> mText;
    size_t mAt = 0;
    int mDepth = 0;
};

bool IsEntityNameEnd(QChar c)
{
    return c.isSpace() || c == u';' || c == u'&' || c == u'%' || c == u'<' || c == u'"' || c == u'\'';
}

} // namespace

qsizetype FindOverfullTag(const QByteArray& document)
{
    return FindOverfullTagIn(Text<char>(document.constData(), static_cast<size_t>(document.size())));
}

qsizetype FindOverfullTag(QStringView document)
{
    return FindOverfullTagIn(Text<char16_t>(document.utf16(), static_cast<size_t>(document.size())));
}

qint64 CountAttributeComparisons(QStringView document)
{
    qint64 comparisons = 0;
    const Text<char16_t> text(document.utf16(), static_cast<size_t>(document.size()));
    ForEachTagWithMore(1, text, [&comparisons](size_t, int attributes) {
        comparisons += qint64(attributes) * (attributes - 1) / 2;
        return true;
    });
    return comparisons;
}

bool IsSurelyWithinLimits(const QByteArray& document)
{
    return MarkScan(Text<char>(document.constData(), static_cast<size_t>(document.size()))).IsWithinLimits();
}

bool IsSurelyWithinLimits(QStringView document)
{
    return MarkScan(Text<char16_t>(document.utf16(), static_cast<size_t>(document.size()))).IsWithinLimits();
}

template <typename View> bool ExpansionBudget::Count(View piece)
{
    for (qsizetype i = 0; i < piece.size(); ++i) {
        const auto c = QChar(piece[i]).unicode();
        const auto next = i + 1 < piece.size() ? QChar(piece[i + 1]).unicode() : u'x';
        mQuotes += c == u'"' || c == u'\'' ? 1 : 0;
        mHashes += c == u'#' ? 1 : 0;
        mReferences += c == u'&' && next != u'#' ? 1 : 0;
        mParameterReferences += c == u'%' && !IsBlank(next) ? 1 : 0;
    }
    return mReferences + mParameterReferences <= kMaxDeclaredReferences
        && MaxAttributeDeclarations() <= kMaxAttributes;
}

bool ExpansionBudget::AddDeclarations(QByteArrayView piece)
{
    return Count(QLatin1StringView(piece));
}

bool ExpansionBudget::AddDeclarations(QStringView piece)
{
    return Count(piece);
}

// Each declaration ends with a quoted default or with a word such as #IMPLIED. Declarations in a parameter
// entity are repeated wherever it is used.
qint64 ExpansionBudget::MaxAttributeDeclarations() const
{
    const qint64 byReferences
        = mParameterReferences * (kMaxExpansionOfOneEntity / kShortestAttributeDeclaration);
    return byReferences + (mMayDeclareAttributes || byReferences > 0 ? mQuotes / 2 + mHashes : 0);
}

bool ExpansionBudget::AddEntities(const QXmlStreamReader& afterDeclarations, QStringView document)
{
    const QXmlStreamEntityDeclarations declarations = afterDeclarations.entityDeclarations();
    for (const QXmlStreamEntityDeclaration& entity : declarations)
        mEntities.insert(entity.name().toString(), {entity.value().toString()});
    // Skip the references in the declarations: they count wherever their entity is used.
    const QStringView declared = afterDeclarations.text();
    const qsizetype at = document.indexOf(declared);
    if (!mEntities.isEmpty())
        mSpent += CostOfReferences(at < 0 ? document : document.sliced(at + declared.size()));
    return mSpent <= kMaxExpansion;
}

qint64 ExpansionBudget::CostOfReferences(QStringView text)
{
    qint64 cost = 0;
    for (qsizetype at = text.indexOf(u'&'); at >= 0 && cost <= kMaxExpansion;
         at = text.indexOf(u'&', at + 1)) {
        const auto begin = text.begin() + at + 1;
        const QStringView name(begin, std::find_if(begin, text.end(), IsEntityNameEnd));
        const auto entity = mEntities.find(QString::fromRawData(name.data(), name.size()));
        if (entity != mEntities.end())
            cost += CostOf(*entity);
        else if (name.contains(QChar::ReplacementCharacter))
            cost += kMaxExpansionOfOneEntity; // the name could not be decoded; assume the worst
    }
    return cost;
}

// An entity that refers to itself costs nothing, because the parser rejects it.
qint64 ExpansionBudget::CostOf(Entity& entity)
{
    if (entity.BeingMeasured)
        return 0;
    if (mNesting >= kMaxElementDepth)
        return kMaxExpansion + 1; // counts as infinite
    if (entity.Cost < 0) {
        entity.BeingMeasured = true;
        ++mNesting;
        entity.Cost
            = entity.Value.size() + kNodeCost * entity.Value.count(u'<') + CostOfReferences(entity.Value);
        --mNesting;
        entity.BeingMeasured = false;
    }
    return entity.Cost;
}

bool ExpansionBudget::AddElement(const QXmlStreamReader& reader)
{
    const QXmlStreamAttributes attributes = reader.attributes();
    for (const QXmlStreamAttribute& attribute : attributes) {
        if (attribute.isDefault())
            mSpent += kNodeCost + attribute.qualifiedName().size() + attribute.value().size();
    }
    ++mElements;
    return attributes.size() <= kMaxAttributes && mSpent <= kMaxExpansion
        && mElements * MaxAttributeDeclarations() <= kMaxDeclarationLookUps;
}

} // namespace Quorvin::Util::Internal
