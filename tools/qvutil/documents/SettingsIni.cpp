// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "documents/SettingsContent.h"

#include "cli/Console.h"
#include "cli/Failure.h"
#include "documents/ElementPath.h"
#include "documents/TypedValue.h"

#include <QDateTime>
#include <QFile>
#include <QRect>
#include <QSet>
#include <QSettings>
#include <QTemporaryDir>

#include <algorithm>
#include <optional>

using namespace Qt::StringLiterals;

namespace Quorvin::Tool {
namespace {

// Keys that cannot be names of attributes.
constexpr QLatin1StringView kRootKey = "#root"_L1;
constexpr QLatin1StringView kTextKey = "#text"_L1;
constexpr QLatin1StringView kSectionKey = "#cdata"_L1;

constexpr QLatin1StringView kDefaultRoot = "Settings"_L1;

// A file for QSettings in a separate folder, because QSettings leaves a lock file beside it if the process is
// killed.
class ScratchIni
{
public:
    ScratchIni()
    {
        if (!mFolder.isValid())
            throw Failure(mFolder.path(), mFolder.errorString());
    }
    [[nodiscard]] QString Path() const { return mFolder.filePath(u"settings.ini"_s); }

private:
    QTemporaryDir mFolder;
};

QString KeyOf(const QString& path, const QString& name)
{
    return path.isEmpty() ? name : path + u'/' + name;
}

// Converts a value of QSettings to the text that the library would store; nullopt if there is none.
std::optional<QString> TextOfVariant(const QVariant& value)
{
    switch (value.typeId()) {
    case QMetaType::QString:
    case QMetaType::Int:
    case QMetaType::UInt:
    case QMetaType::LongLong:
    case QMetaType::ULongLong:
        return value.toString();
    case QMetaType::Bool:
        return value.toBool() ? u"True"_s : u"False"_s;
    case QMetaType::Double:
        return DoubleText(value.toDouble());
    case QMetaType::QStringList: {
        const QStringList parts = value.toStringList();
        const bool canJoin = std::none_of(parts.begin(), parts.end(),
                                          [](const QString& part) { return part.contains(u','); });
        return canJoin ? std::optional(parts.join(u',')) : std::nullopt;
    }
    case QMetaType::QRect: {
        const QRect rect = value.toRect();
        return u"%1,%2,%3,%4"_s.arg(rect.x()).arg(rect.y()).arg(rect.width()).arg(rect.height());
    }
    case QMetaType::QSize:
        return u"%1,%2"_s.arg(value.toSize().width()).arg(value.toSize().height());
    case QMetaType::QDateTime: {
        const QDateTime date = value.toDateTime();
        const bool isWhole = date.isValid() && date.time().msec() == 0;
        return isWhole ? std::optional(date.toUTC().toString(Qt::ISODate)) : std::nullopt;
    }
    default:
        return std::nullopt;
    }
}

void AddKey(SettingsContent& content, const QString& key, const QVariant& value)
{
    const qsizetype slash = key.lastIndexOf(u'/');
    const QString path = slash < 0 ? QString() : key.left(slash);
    const QString name = key.mid(slash + 1);
    if (value.typeId() == QMetaType::QByteArray) {
        AddSetting(content,
                   {.Kind = Setting::Section,
                    .Path = key,
                    .Name = {},
                    .Value = QString::fromLatin1(value.toByteArray().toBase64())},
                   key);
        return;
    }
    const auto text = TextOfVariant(value);
    if (!text) {
        content.Problems.append(u"%1: a value of type %2 cannot be stored in a document"_s.arg(
            Console::Visible(key), value.isValid() ? QString::fromLatin1(value.typeName()) : u"@Invalid"_s));
        return;
    }
    const auto kind = name == kTextKey ? Setting::Text
        : name == kSectionKey          ? Setting::Section
                                       : Setting::Attribute;
    AddSetting(
        content,
        {.Kind = kind, .Path = path, .Name = kind == Setting::Attribute ? name : QString(), .Value = *text},
        key);
}

// Sorts Item[10] after Item[2], so that each sibling is created after the previous one.
bool IsBefore(const Setting& left, const Setting& right)
{
    const QList<ElementPath::Step> leftSteps = ElementPath(left.Path).Steps();
    const QList<ElementPath::Step> rightSteps = ElementPath(right.Path).Steps();
    return std::lexicographical_compare(
        leftSteps.begin(), leftSteps.end(), rightSteps.begin(), rightSteps.end(),
        [](const ElementPath::Step& a, const ElementPath::Step& b) {
            return a.Name != b.Name ? a.Name < b.Name : a.Position < b.Position;
        });
}

} // namespace

QByteArray ToIni(const SettingsContent& content)
{
    const ScratchIni scratch;
    QSet<QString> attributes;
    for (const Setting& setting : content.Settings) {
        if (setting.Kind == Setting::Attribute)
            attributes.insert(KeyOf(setting.Path, setting.Name));
    }
    QSettings ini(scratch.Path(), QSettings::IniFormat);
    if (content.Root != kDefaultRoot)
        ini.setValue(kRootKey, content.Root);
    for (const Setting& setting : content.Settings) {
        if (setting.Kind == Setting::Attribute) {
            ini.setValue(KeyOf(setting.Path, setting.Name), setting.Value);
            continue;
        }
        const auto bytes = setting.Kind == Setting::Section ? BytesOfSection(setting.Value) : std::nullopt;
        if (bytes && !setting.Path.isEmpty() && !attributes.contains(setting.Path))
            ini.setValue(setting.Path, *bytes);
        else
            ini.setValue(KeyOf(setting.Path, setting.Kind == Setting::Text ? kTextKey : kSectionKey),
                         setting.Value);
    }
    ini.sync();
    QFile file(scratch.Path());
    if (ini.status() != QSettings::NoError || !file.open(QIODevice::ReadOnly))
        throw Failure(scratch.Path(), u"could not be written"_s);
    return file.readAll();
}

SettingsContent FromIni(const QByteArray& text, const QString& file)
{
    const ScratchIni scratch;
    QFile copy(scratch.Path());
    if (!copy.open(QIODevice::WriteOnly) || copy.write(text) != text.size())
        throw Failure(copy.fileName(), copy.errorString());
    copy.close();
    QSettings ini(scratch.Path(), QSettings::IniFormat);
    const QStringList keys = ini.allKeys();
    if (ini.status() != QSettings::NoError)
        throw Failure(file, u"is not in the INI format of QSettings"_s);
    SettingsContent content;
    for (const QString& key : keys) {
        if (key == kRootKey)
            content.Root = ini.value(key).toString();
        else
            AddKey(content, key, ini.value(key));
    }
    std::stable_sort(content.Settings.begin(), content.Settings.end(), &IsBefore);
    return content;
}

} // namespace Quorvin::Tool
