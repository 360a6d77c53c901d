// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "XmlFiler.h"

#include "base/Logging_p.h"
#include "base/QtCompat_p.h"
#include "xml/XmlFilerPrivate_p.h"
#include "xml/XmlRules_p.h"

#include <array>

using namespace Qt::StringLiterals;

namespace Quorvin::Util {
namespace {

template <typename Parse> auto ReadNumber(const QString& text, Parse parse)
{
    bool ok = false;
    const auto value = parse(text, &ok);
    return ok ? std::optional(value) : std::nullopt;
}

int ParseInt(const QString& text, bool* ok)
{
    return text.toInt(ok);
}
unsigned int ParseUInt(const QString& text, bool* ok)
{
    return text.toUInt(ok);
}
long ParseLong(const QString& text, bool* ok)
{
    return text.toLong(ok);
}
unsigned long ParseULong(const QString& text, bool* ok)
{
    return text.toULong(ok);
}
long long ParseInt64(const QString& text, bool* ok)
{
    return text.toLongLong(ok);
}
double ParseDouble(const QString& text, bool* ok)
{
    return text.toDouble(ok);
}

template <size_t Count> std::optional<std::array<int, Count>> ParseIntList(QStringView text)
{
    std::array<int, Count> numbers{};
    size_t count = 0;
    const QList<QStringView> parts = text.split(u',');
    for (const QStringView part : parts) {
        if (count == Count)
            return std::nullopt;
        numbers[count++] = part.toInt(); // a part that is not a number counts as 0
    }
    return count == Count ? std::optional(numbers) : std::nullopt;
}

bool ParseBoolean(const QString& text, bool defaultValue)
{
    if (text.compare("true"_L1, Qt::CaseInsensitive) == 0)
        return true;
    if (text.compare("false"_L1, Qt::CaseInsensitive) == 0)
        return false;
    bool ok = false;
    const unsigned int number = text.toUInt(&ok);
    return ok ? number != 0 : defaultValue;
}

QDateTime ParseDate(const QString& text, const QDateTime& defaultValue)
{
    if (text.isEmpty())
        return defaultValue;
    return Internal::ParseClockReadingAsUtc(text).toLocalTime();
}

QString FormatDate(const QDateTime& value)
{
    return (value.timeSpec() == Qt::LocalTime ? value.toUTC() : value).toString(Qt::ISODate);
}

QString FormatRect(const QRect& value)
{
    return u"%1,%2,%3,%4"_s.arg(value.x()).arg(value.y()).arg(value.width()).arg(value.height());
}

QString FormatSize(const QSize& value)
{
    return u"%1,%2"_s.arg(value.width()).arg(value.height());
}

void SetEnum(QDomElement element, const QString& name, int value, EnumValueName* table, int count, bool flags)
{
    if (element.isNull())
        return;
    const QString text = GeneralUtil::EnumValueToName(value, table, count, flags);
    if (!text.isEmpty())
        element.setAttribute(name, text);
}

int ParseEnum(const QString& text, int defaultValue, EnumValueName* table, int count, bool flags)
{
    if (text.isEmpty())
        return defaultValue;
    const int value = GeneralUtil::EnumNameToValue(text, table, count, flags);
    return value < 0 ? defaultValue : value;
}

// Returns the last coordinate of a range, as in QRect. Beyond the range of int it wraps around.
int LastCoordinate(int start, int length)
{
    return static_cast<int>(static_cast<unsigned int>(start) + static_cast<unsigned int>(length) - 1U);
}

QRect ParseRect(const QString& text, const QRect& defaultValue)
{
    const auto numbers = ParseIntList<4>(text);
    if (!numbers)
        return defaultValue;
    const auto [x, y, width, height] = *numbers;
    return {QPoint(x, y), QPoint(LastCoordinate(x, width), LastCoordinate(y, height))};
}

QSize ParseSize(const QString& text, const QSize& defaultValue)
{
    const auto numbers = ParseIntList<2>(text);
    return numbers ? QSize((*numbers)[0], (*numbers)[1]) : defaultValue;
}

// Returns the translation of a stored text; the default, untranslated, if the text is empty.
QString TranslatedText(const XmlFiler& filer, const QString& text, const QString& defaultValue)
{
    return text.isEmpty() ? defaultValue : filer.Translate(text);
}

} // namespace

// Values

QDomElement XmlFiler::CurrentElement() const
{
    return mCurrentNode.toElement();
}

QDomElement XmlFiler::ElementAt(const QString& path) const
{
    return FindNode(path).value_or(QDomNode()).toElement();
}

QDomElement XmlFiler::CreateElementAt(const QString& path)
{
    return FindOrCreateNode(path, false).toElement();
}

int XmlFiler::ReadInt(const QString& name, int defaultValue) const
{
    return ReadNumber(CurrentElement().attribute(name), ParseInt).value_or(defaultValue);
}

int XmlFiler::ReadInt(const QString& path, const QString& name, int defaultValue) const
{
    return ReadNumber(mPrivate->TextAt(*this, path, name), ParseInt).value_or(defaultValue);
}

void XmlFiler::WriteInt(const QString& name, int value)
{
    CurrentElement().setAttribute(name, value);
}

void XmlFiler::WriteInt(const QString& path, const QString& name, int value)
{
    CreateElementAt(path).setAttribute(name, value);
}

unsigned int XmlFiler::ReadUInt(const QString& name, unsigned int defaultValue)
{
    return ReadNumber(CurrentElement().attribute(name), ParseUInt).value_or(defaultValue);
}

unsigned int XmlFiler::ReadUInt(const QString& path, const QString& name, unsigned int defaultValue)
{
    return ReadNumber(mPrivate->TextAt(*this, path, name), ParseUInt).value_or(defaultValue);
}

void XmlFiler::WriteUInt(const QString& name, unsigned int value)
{
    CurrentElement().setAttribute(name, value);
}

void XmlFiler::WriteUInt(const QString& path, const QString& name, unsigned int value)
{
    CreateElementAt(path).setAttribute(name, value);
}

long XmlFiler::ReadLong(const QString& name, long defaultValue)
{
    return ReadNumber(CurrentElement().attribute(name), ParseLong).value_or(defaultValue);
}

long XmlFiler::ReadLong(const QString& path, const QString& name, long defaultValue)
{
    return ReadNumber(mPrivate->TextAt(*this, path, name), ParseLong).value_or(defaultValue);
}

void XmlFiler::WriteLong(const QString& name, long value)
{
    CurrentElement().setAttribute(name, static_cast<qlonglong>(value));
}

void XmlFiler::WriteLong(const QString& path, const QString& name, long value)
{
    CreateElementAt(path).setAttribute(name, static_cast<qlonglong>(value));
}

unsigned long XmlFiler::ReadULong(const QString& name, unsigned long defaultValue)
{
    return ReadNumber(CurrentElement().attribute(name), ParseULong).value_or(defaultValue);
}

unsigned long XmlFiler::ReadULong(const QString& path, const QString& name, unsigned long defaultValue)
{
    return ReadNumber(mPrivate->TextAt(*this, path, name), ParseULong).value_or(defaultValue);
}

void XmlFiler::WriteULong(const QString& name, unsigned long value)
{
    CurrentElement().setAttribute(name, static_cast<qulonglong>(value));
}

void XmlFiler::WriteULong(const QString& path, const QString& name, unsigned long value)
{
    CreateElementAt(path).setAttribute(name, static_cast<qulonglong>(value));
}

long long XmlFiler::ReadInt64(const QString& name, long long defaultValue)
{
    return ReadNumber(CurrentElement().attribute(name), ParseInt64).value_or(defaultValue);
}

long long XmlFiler::ReadInt64(const QString& path, const QString& name, long long defaultValue)
{
    return ReadNumber(mPrivate->TextAt(*this, path, name), ParseInt64).value_or(defaultValue);
}

void XmlFiler::WriteInt64(const QString& name, long long value)
{
    CurrentElement().setAttribute(name, value);
}

void XmlFiler::WriteInt64(const QString& path, const QString& name, long long value)
{
    CreateElementAt(path).setAttribute(name, value);
}

double XmlFiler::ReadDouble(const QString& name, double defaultValue)
{
    return ReadNumber(CurrentElement().attribute(name), ParseDouble).value_or(defaultValue);
}

double XmlFiler::ReadDouble(const QString& path, const QString& name, double defaultValue)
{
    return ReadNumber(mPrivate->TextAt(*this, path, name), ParseDouble).value_or(defaultValue);
}

void XmlFiler::WriteDouble(const QString& name, double value)
{
    CurrentElement().setAttribute(name, value);
}

void XmlFiler::WriteDouble(const QString& path, const QString& name, double value)
{
    CreateElementAt(path).setAttribute(name, value);
}

bool XmlFiler::ReadBoolean(const QString& name, bool defaultValue) const
{
    return ParseBoolean(CurrentElement().attribute(name), defaultValue);
}

bool XmlFiler::ReadBoolean(const QString& path, const QString& name, bool defaultValue) const
{
    return ParseBoolean(mPrivate->TextAt(*this, path, name), defaultValue);
}

void XmlFiler::WriteBoolean(const QString& name, bool value)
{
    CurrentElement().setAttribute(name, value ? u"True"_s : u"False"_s);
}

void XmlFiler::WriteBoolean(const QString& path, const QString& name, bool value)
{
    CreateElementAt(path).setAttribute(name, value ? u"True"_s : u"False"_s);
}

QRect XmlFiler::ReadRect(const QString& name, const QRect& defaultValue)
{
    return ParseRect(CurrentElement().attribute(name), defaultValue);
}

QRect XmlFiler::ReadRect(const QString& path, const QString& name, const QRect& defaultValue)
{
    return ParseRect(mPrivate->TextAt(*this, path, name), defaultValue);
}

void XmlFiler::WriteRect(const QString& name, const QRect& value)
{
    CurrentElement().setAttribute(name, FormatRect(value));
}

void XmlFiler::WriteRect(const QString& path, const QString& name, const QRect& value)
{
    CreateElementAt(path).setAttribute(name, FormatRect(value));
}

QSize XmlFiler::ReadSize(const QString& name, const QSize& defaultValue)
{
    return ParseSize(CurrentElement().attribute(name), defaultValue);
}

QSize XmlFiler::ReadSize(const QString& path, const QString& name, const QSize& defaultValue)
{
    return ParseSize(mPrivate->TextAt(*this, path, name), defaultValue);
}

void XmlFiler::WriteSize(const QString& name, const QSize& value)
{
    CurrentElement().setAttribute(name, FormatSize(value));
}

void XmlFiler::WriteSize(const QString& path, const QString& name, const QSize& value)
{
    CreateElementAt(path).setAttribute(name, FormatSize(value));
}

QString XmlFiler::ReadText(const QDomElement& element, const QString& name, const QString& defaultValue) const
{
    return TranslatedText(*this, element.attribute(name), defaultValue);
}

namespace {

// The forms with two texts take a name and a value or default, but some callers pass a path and a name. Warns
// if the first text is the path of an element that has an attribute with the second as its name.
void WarnOfPathWithoutName(const QDomElement& cursor, const QDomElement& element, const QString& first,
                           const QString& second, const char* remedy)
{
    if (!first.isEmpty() && !second.isEmpty() && element != cursor && element.hasAttribute(second))
        qCWarning(
            Internal::lcQvUtil,
            "\"%ls\" was taken for the name of an attribute, though an element \"%ls\" has an attribute "
            "\"%ls\": %s",
            qUtf16Printable(first), qUtf16Printable(first), qUtf16Printable(second), remedy);
}

} // namespace

QString XmlFiler::ReadString(const QString& name, const QString& defaultValue) const
{
    if (Internal::lcQvUtil().isWarningEnabled() && !CurrentElement().hasAttribute(name))
        WarnOfPathWithoutName(CurrentElement(), ElementAt(name), name, defaultValue,
                              "to read by path, give path, name and default");
    return ReadText(CurrentElement(), name, defaultValue);
}

QString XmlFiler::ReadString(const QString& path, const QString& name, const QString& defaultValue) const
{
    // TranslatedText has already translated a stored value. The second translation is part of the interface:
    // it applies to the default too, and to the inner mark of tr(tr(...)).
    return Translate(TranslatedText(*this, mPrivate->TextAt(*this, path, name), defaultValue));
}

void XmlFiler::WriteString(const QString& name, const QString& value)
{
    Internal::WarnOfNonXmlCharacters(value);
    if (Internal::lcQvUtil().isWarningEnabled() && !CurrentElement().hasAttribute(name))
        WarnOfPathWithoutName(CurrentElement(), ElementAt(name), name, value,
                              "to write by path, give path, name and value");
    CurrentElement().setAttribute(name, value);
}

void XmlFiler::WriteString(const QString& path, const QString& name, const QString& value)
{
    Internal::WarnOfNonXmlCharacters(value);
    CreateElementAt(path).setAttribute(name, value);
}

QDateTime XmlFiler::ReadDate(const QString& name, const QDateTime& defaultValue) const
{
    return ParseDate(CurrentElement().attribute(name), defaultValue);
}

QDateTime XmlFiler::ReadDate(const QString& path, const QString& name, const QDateTime& defaultValue) const
{
    return ParseDate(mPrivate->TextAt(*this, path, name), defaultValue);
}

void XmlFiler::WriteDate(const QString& name, const QDateTime& value)
{
    CurrentElement().setAttribute(name, FormatDate(value));
}

void XmlFiler::WriteDate(const QString& path, const QString& name, const QDateTime& value)
{
    CreateElementAt(path).setAttribute(name, FormatDate(value));
}

int XmlFiler::ReadEnum(const QString& name, int defaultValue, EnumValueName* table, int count, bool flags)
{
    return ParseEnum(ReadString(name, QString()), defaultValue, table, count, flags);
}

int XmlFiler::ReadEnum(const QString& name, int defaultValue, EnumValueName* table, int count)
{
    return ReadEnum(name, defaultValue, table, count, false);
}

int XmlFiler::ReadEnum(const QString& path, const QString& name, int defaultValue, EnumValueName* table,
                       int count, bool flags)
{
    return ParseEnum(TranslatedText(*this, mPrivate->TextAt(*this, path, name), QString()), defaultValue,
                     table, count, flags);
}

int XmlFiler::ReadEnum(const QString& path, const QString& name, int defaultValue, EnumValueName* table,
                       int count)
{
    return ReadEnum(path, name, defaultValue, table, count, false);
}

void XmlFiler::WriteEnum(const QString& name, int value, EnumValueName* table, int count, bool flags)
{
    SetEnum(CurrentElement(), name, value, table, count, flags);
}

void XmlFiler::WriteEnum(const QString& name, int value, EnumValueName* table, int count)
{
    WriteEnum(name, value, table, count, false);
}

void XmlFiler::WriteEnum(const QString& path, const QString& name, int value, EnumValueName* table, int count,
                         bool flags)
{
    SetEnum(CreateElementAt(path), name, value, table, count, flags);
}

void XmlFiler::WriteEnum(const QString& path, const QString& name, int value, EnumValueName* table, int count)
{
    WriteEnum(path, name, value, table, count, false);
}

QString XmlFiler::EnumValueToName(int value, const EnumValueName* table, int count, bool flags)
{
    return GeneralUtil::EnumValueToName(value, table, count, flags);
}

int XmlFiler::EnumNameToValue(const QString& name, EnumValueName* table, int count, bool flags)
{
    return GeneralUtil::EnumNameToValue(name, table, count, flags);
}

QStringList XmlFiler::GetEnumNames(EnumValueName* table, int count)
{
    return GeneralUtil::GetEnumNames(table, count);
}

} // namespace Quorvin::Util
