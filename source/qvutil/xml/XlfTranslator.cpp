// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "XmlFiler.h"

#include "base/Logging_p.h"
#include "base/StringTable_p.h"
#include "general/Digest_p.h"

#include <QFileInfo>
#include <QHash>
#include <QtEndian>

#include <bitset>
#include <map>
#include <optional>
#include <utility>

using namespace Qt::StringLiterals;

namespace Quorvin::Util {
namespace {

// Parses an id. Returns nullopt for anything but a digest: the ids of all texts are digests.
template <typename Digest> std::optional<Digest> ParseId(const QString& id)
{
    if (!Internal::IsDigest(id))
        return std::nullopt;
    constexpr qsizetype kDigits = 16; // of 64 bits
    const QStringView digits = id;
    return Digest{digits.first(kDigits).toULongLong(nullptr, 16),
                  digits.last(kDigits).toULongLong(nullptr, 16)};
}

template <typename Digest> Digest DigestOf(const QString& text)
{
    const QByteArray digest = Internal::GetDigest(text);
    return {qFromBigEndian<quint64>(digest.constData()),
            qFromBigEndian<quint64>(digest.constData() + sizeof(quint64))};
}

// Reads the unit under the cursor and all its following siblings.
template <typename Units> Units ReadUnits(XmlFiler& filer)
{
    Units units;
    do {
        const QString id = filer.ReadString(u"id"_s, QString());
        const QString target = filer.ReadNodeText(u"target"_s);
        if (const auto digest = ParseId<typename Units::key_type>(id))
            units.insert(*digest, target.isEmpty() ? id : target);
    } while (filer.MoveToNextSibling());
    return units;
}

} // namespace

// Caches contexts, their units and recent translations. Reset, and thus null, whenever the table changes.
struct Q_DECL_HIDDEN XlfTranslator::Private
{
    using Translations = Internal::StringTable<QString>;

    // The translations for one context of Translate. The units share the data of the table.
    struct Context
    {
        Units ContextUnits;
        Translations Recent; // text to translation, which is empty if there is none
    };

    static constexpr size_t kMaxContexts = 64;
    static constexpr qsizetype kMaxRecent = 4096; // of all contexts
    static constexpr qsizetype kMaxRecentSize = 256; // characters of one text

    static constexpr size_t kSeenBits = 16'384;

    void Remember(const QString& text, const Digest& digest, const QString& translation);

    std::map<QString, Context> Contexts;
    // The context of the last translation; most texts have the same context as the previous one.
    std::map<QString, Context>::iterator Last = Contexts.end();
    qsizetype RecentCount = 0;
    std::bitset<kSeenBits> Seen; // bits of the digests of all texts translated so far
};

void XlfTranslator::Private::Remember(const QString& text, const Digest& digest, const QString& translation)
{
    if (text.size() > kMaxRecentSize || RecentCount == kMaxRecent)
        return;
    // Cache a text from its second translation on. Caching texts that are translated only once would slow
    // down the first translations.
    const size_t bit = digest.Low % kSeenBits;
    if (!Seen.test(bit)) {
        Seen.set(bit);
        return;
    }
    // A string without a capacity may not own its characters, so copy them.
    Last->second.Recent.emplace(text.capacity() > 0 ? text : QString(text.constData(), text.size()),
                                translation);
    ++RecentCount;
}

XlfTranslator::XlfTranslator() = default;

XlfTranslator::~XlfTranslator() = default;

// The cache is not copied.
XlfTranslator::XlfTranslator(const XlfTranslator& other)
    : mXlfFile(other.mXlfFile)
    , mTable(other.mTable)
    , mParsed(other.mParsed)
{ }

XlfTranslator::XlfTranslator(XlfTranslator&& other) noexcept = default;

XlfTranslator& XlfTranslator::operator=(const XlfTranslator& other)
{
    return *this = XlfTranslator(other);
}

XlfTranslator& XlfTranslator::operator=(XlfTranslator&& other) noexcept = default;

XlfTranslator::XlfTranslator(const QString& file)
{
    SetXlfFile(file);
}

void XlfTranslator::SetXlfFile(const QString& file)
{
    if (file.compare(mXlfFile, Qt::CaseInsensitive) == 0)
        return;
    mTable.clear();
    mPrivate.reset();
    mXlfFile = file;
    // mParsed is kept on purpose: a different file needs a new object.
}

void XlfTranslator::ParseXlfFile()
{
    Parse();
}

void XlfTranslator::Parse() const
{
    XmlFiler filer;
    if (!filer.LoadFromXmlFile(mXlfFile))
        return; // the load has logged the reason
    if (!filer.MoveToFirstChild()) {
        qCWarning(Internal::lcQvUtil, "%ls holds no translations", qUtf16Printable(mXlfFile));
        return;
    }
    mPrivate.reset();
    do {
        const QString name = QFileInfo(filer.ReadString(u"original"_s, QString())).fileName();
        if (name.isEmpty())
            continue;
        filer.PushCurrentNode();
        // The body, which must come first, and its first unit.
        if (filer.MoveToFirstChild() && filer.MoveToFirstChild())
            mTable.insert(name.toLower(), ReadUnits<Units>(filer));
        filer.PopCurrentNode();
    } while (filer.MoveToNextSibling());
    if (mTable.isEmpty())
        qCWarning(Internal::lcQvUtil, "%ls holds no translations", qUtf16Printable(mXlfFile));
}

const XlfTranslator::Units& XlfTranslator::FindUnits(const QString& context) const
{
    if (mPrivate == nullptr || mPrivate->Contexts.size() == Private::kMaxContexts
        || mPrivate->RecentCount == Private::kMaxRecent)
        mPrivate = std::make_unique<Private>();
    Private& cache = *mPrivate;
    if (cache.Last != cache.Contexts.end() && Internal::StringEqual()(cache.Last->first, context))
        return cache.Last->second.ContextUnits;
    cache.Last = cache.Contexts.find(context);
    if (cache.Last == cache.Contexts.end()) {
        const QString name = QFileInfo(context).fileName();
        Units units;
        if (!name.isEmpty())
            units = mTable.value(name.toLower());
        else if (!mTable.isEmpty()) // without a file name, only the last document is used
            units = mTable.last();
        // A copy of the characters, because the caller's string may not own them.
        const QString key(context.constData(), context.size());
        cache.Last = cache.Contexts.emplace(key, Private::Context{units, {}}).first;
    }
    return cache.Last->second.ContextUnits;
}

// Recent translations are cached: an application that rebuilds its menus translates the same texts again.
QString XlfTranslator::Translate(const QString& text, const QString& context) const
{
    if (!std::exchange(mParsed, true))
        Parse();
    const Units& units = FindUnits(context);
    if (units.isEmpty())
        return text;
    const Private::Translations& recent = mPrivate->Last->second.Recent;
    if (const auto found = recent.find(text); found != recent.cend())
        return found->second.isEmpty() ? text : found->second;
    const auto digest = DigestOf<Digest>(text);
    const QString translation = units.value(digest);
    mPrivate->Remember(text, digest, translation);
    return translation.isEmpty() ? text : translation;
}

} // namespace Quorvin::Util
