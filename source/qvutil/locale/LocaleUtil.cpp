// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "LocaleUtil.h"

#include "GeneralUtil.h"
#include "locale/LocaleTable_p.h"
#include "platform/Platform_p.h"

#include <QChar>
#include <QCoreApplication>
#include <QFile>
#include <QStringView>

#include <algorithm>
#include <array>
#include <compare>
#include <cstddef>
#include <optional>

using namespace Qt::StringLiterals;

namespace Quorvin::Util {
namespace {

using Internal::gLocales;
using Internal::LocaleRecord;

constexpr quint32 kEnglishLcid = 0x0409;
constexpr std::size_t kNameCapacity = sizeof(LocaleRecord::Name) - 1;

// The result of the most recent call to GetUserDefaultLocaleForMac.
char cLocale[256];

// A case-folded locale name as two numbers, which makes comparisons fast. The first character is the most
// significant byte. The length is the least significant byte, so that a name with an embedded 0 differs from
// the part before the 0.
struct NameKey
{
    quint64 High = 0;
    quint64 Low = 0;

    constexpr void Set(std::size_t position, quint64 character)
    {
        (position < 8 ? High : Low) |= character << (56 - position % 8 * 8);
    }
    // clang-tidy 14 mistakes the 0 in the generated comparison for a pointer.
    constexpr auto operator<=>(const NameKey&) const = default; // NOLINT(modernize-use-nullptr): see above
};

constexpr char FoldAscii(char c)
{
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

constexpr NameKey MakeKey(const LocaleRecord& record)
{
    NameKey key;
    std::size_t length = 0;
    for (; record.Name[length] != '\0'; ++length)
        key.Set(length, static_cast<unsigned char>(FoldAscii(record.Name[length])));
    key.Set(kNameCapacity, length);
    return key;
}

// Returns the key of any text; nullopt if no locale can have this name.
std::optional<NameKey> MakeKey(QStringView name)
{
    const auto length = static_cast<std::size_t>(name.size());
    if (length > kNameCapacity)
        return {};
    NameKey key;
    for (std::size_t i = 0; i < length; ++i) {
        // Some characters outside ASCII fold to an ASCII letter: long s and the Kelvin sign.
        const char16_t unit = name[static_cast<qsizetype>(i)].unicode();
        const char16_t folded = unit < 0x80 ? static_cast<char16_t>(FoldAscii(static_cast<char>(unit)))
                                            : QChar(unit).toCaseFolded().unicode();
        if (folded >= 0x80)
            return {};
        key.Set(i, folded);
    }
    key.Set(kNameCapacity, length);
    return key;
}

// The table sorted by a key, for binary search.
template <typename Key> struct Index
{
    struct Entry
    {
        Key Value{};
        quint8 Position = 0; ///< index in gLocales
        // Records with equal keys keep the order of the table.
        constexpr auto operator<=>(const Entry&) const = default; // NOLINT(modernize-use-nullptr): as above
    };
    std::array<Entry, gLocales.size()> Entries{};

    template <typename GetKey> constexpr explicit Index(GetKey getKey)
    {
        static_assert(gLocales.size() <= 256);
        for (std::size_t i = 0; i < gLocales.size(); ++i)
            Entries[i] = {getKey(gLocales[i]), static_cast<quint8>(i)};
        std::sort(Entries.begin(), Entries.end());
    }

    [[nodiscard]] const LocaleRecord* Find(const Key& key) const
    {
        const auto entry = std::lower_bound(Entries.begin(), Entries.end(), key,
                                            [](const Entry& e, const Key& k) { return e.Value < k; });
        return entry != Entries.end() && entry->Value == key ? &gLocales[entry->Position] : nullptr;
    }
};

constexpr Index<NameKey> gNameIndex([](const LocaleRecord& record) { return MakeKey(record); });
constexpr Index<quint32> gLcidIndex([](const LocaleRecord& record) { return record.Lcid; });

// Returns the record for a name; null if there is none.
const LocaleRecord* FindRecord(QStringView name)
{
    const std::optional<NameKey> key = MakeKey(name);
    return key ? gNameIndex.Find(*key) : nullptr;
}

// Returns the name of the user's locale, with '-' as in the table.
QString UserLocaleName()
{
    return QString::fromUtf8(LocaleUtil::GetUserDefaultLocaleForMac()).replace(u'_', u'-');
}

} // namespace

quint32 LocaleUtil::LocaleNameToLCID(const QString& name)
{
    const LocaleRecord* const record = FindRecord(name); // no record has the name "C" or an empty name
    return record != nullptr ? record->Lcid : GetUserDefaultLCIDForMac();
}

QString LocaleUtil::LCIDToLocaleName(quint32 lcid)
{
    const LocaleRecord* const record = gLcidIndex.Find(lcid);
    return record != nullptr ? QString::fromLatin1(record->Name) : QString();
}

QString LocaleUtil::LocaleNameToThreeLetterLocaleName(const QString& name)
{
    const LocaleRecord* const record = FindRecord(name);
    return record != nullptr ? QString::fromLatin1(record->ThreeLetterName) : QString();
}

QString LocaleUtil::LocaleNameToDisplayName(const QString& name)
{
    const LocaleRecord* const record = FindRecord(name);
    return record != nullptr ? QString::fromLatin1(record->DisplayName) : QString();
}

const char* LocaleUtil::GetUserDefaultLocaleForMac()
{
    qstrncpy(cLocale, Platform::GetUserLocaleIdentifier().constData(), sizeof(cLocale));
    return cLocale;
}

quint32 LocaleUtil::GetUserDefaultLCIDForMac()
{
    const LocaleRecord* const record = FindRecord(UserLocaleName());
    return record != nullptr ? record->Lcid : kEnglishLcid;
}

QString LocaleUtil::GetCurrentUserLocale()
{
    const QString name = UserLocaleName();
    return FindRecord(name) != nullptr ? name : u"en-US"_s;
}

QString LocaleUtil::GetSymbolicLinkTarget(const QString& path)
{
    return path;
}

QString LocaleUtil::ResolveTranslatorFile(const QString& module, const QString& file,
                                          const QString& subFolder, const QString& folder)
{
    if (module.isEmpty() || QCoreApplication::instance() == nullptr)
        return {};

    QString name = file.isEmpty() ? module.left(module.lastIndexOf(u'.')) : file;
    if (!name.contains(u'.'))
        name += ".qm"_L1;

    QStringList candidates;
    if (!folder.isEmpty()) {
        candidates = {folder + u'/' + name};
    } else {
        const QString appFolder = QCoreApplication::applicationDirPath();
        candidates = {appFolder + u'/' + name, appFolder + u'/' + subFolder + u'/' + name};
        const QString moduleFolder = GeneralUtil::GetModulePath(module);
        if (!moduleFolder.isEmpty() && moduleFolder.compare(appFolder, Qt::CaseInsensitive) != 0)
            candidates += {moduleFolder + u'/' + name, moduleFolder + u'/' + subFolder + u'/' + name};
    }
    const auto found = std::find_if(candidates.cbegin(), candidates.cend(),
                                    [](const QString& candidate) { return QFile::exists(candidate); });
    return found != candidates.cend() ? *found : QString();
}

} // namespace Quorvin::Util
