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

// The identifier of the user's locale, as long as the most recent call of GetUserDefaultLocaleForMac left it.
char cLocale[256];

// A locale name in folded case as two numbers, so that a comparison takes two steps. The first character
// stands in the most significant byte, the length in the least significant one: a 0 in a name is no end of
// it.
struct NameKey
{
    quint64 High = 0;
    quint64 Low = 0;

    constexpr void Set(std::size_t position, quint64 character)
    {
        (position < 8 ? High : Low) |= character << (56 - position % 8 * 8);
    }
    // clang-tidy 14 takes the comparison's inner 0 for a pointer.
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

// The key of any text; none if no record can have such a name.
std::optional<NameKey> MakeKey(QStringView name)
{
    const auto length = static_cast<std::size_t>(name.size());
    if (length > kNameCapacity)
        return {};
    NameKey key;
    for (std::size_t i = 0; i < length; ++i) {
        // Beyond ASCII, too, there are characters that fold to a letter: long s and the Kelvin sign.
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

// The table in the order of a key, so that a record can be found without a walk.
template <typename Key> struct Index
{
    struct Entry
    {
        Key Value{};
        quint8 Position = 0; ///< in gLocales
        // of equal keys the one that comes first in the table
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

// The record of a name, null if there is none.
const LocaleRecord* FindRecord(QStringView name)
{
    const std::optional<NameKey> key = MakeKey(name);
    return key ? gNameIndex.Find(*key) : nullptr;
}

// The user's locale in the form of the table's names.
QString UserLocaleName()
{
    return QString::fromUtf8(LocaleUtil::GetUserDefaultLocaleForMac()).replace(u'_', u'-');
}

} // namespace

quint32 LocaleUtil::LocaleNameToLCID(const QString& name)
{
    const LocaleRecord* const record = FindRecord(name); // none is named "C", nor has an empty name
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
