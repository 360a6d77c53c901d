// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "StringUtil.h"

#include "general/VariableResolver_p.h"

#include <QStringView>

#include <algorithm>
#include <utility>

using namespace Qt::StringLiterals;

namespace Quorvin::Util {
namespace {

constexpr QLatin1StringView kEllipsisText("...");

char16_t FirstUnit(wchar_t ch)
{
    const auto codePoint = static_cast<char32_t>(ch);
    return QChar::requiresSurrogates(codePoint) ? QChar::highSurrogate(codePoint)
                                                : static_cast<char16_t>(codePoint);
}

const QString* FindValue(const QMap<QString, QString>& map, const QString& key, bool ignoreCase)
{
    auto found = map.constFind(key);
    if (found == map.cend() && ignoreCase) {
        found = std::find_if(map.keyBegin(), map.keyEnd(), [&key](const QString& candidate) {
                    return candidate.compare(key, Qt::CaseInsensitive) == 0;
                }).base();
    }
    return found == map.cend() ? nullptr : &found.value();
}

} // namespace

void StringUtil::Trim(QStringList& list)
{
    for (QString& entry : list)
        entry = std::move(entry).trimmed();
}

int StringUtil::TrimLeft(QString& text, wchar_t ch)
{
    const auto firstKept = std::find_if(text.cbegin(), text.cend(),
                                        [unit = QChar(FirstUnit(ch))](QChar c) { return c != unit; });
    const auto count = firstKept - text.cbegin();
    text.remove(0, count);
    return static_cast<int>(count);
}

int StringUtil::TrimRight(QString& text, wchar_t ch)
{
    const auto lastKept = std::find_if(text.crbegin(), text.crend(),
                                       [unit = QChar(FirstUnit(ch))](QChar c) { return c != unit; });
    const auto count = lastKept - text.crbegin();
    text.chop(count);
    return static_cast<int>(count);
}

// NOLINTNEXTLINE(performance-unnecessary-value-param): the interface takes a copy
bool StringUtil::IsTextElided(QString text)
{
    return text.endsWith(kEllipsisText);
}

int StringUtil::ResolveVariables(QString& text, const QMap<QString, QString>& variables, bool ignoreCase)
{
    return Internal::VariableResolver(variables, ignoreCase).Resolve(text);
}

// NOLINTNEXTLINE(performance-unnecessary-value-param): the interface takes a copy
bool StringUtil::GetKeyValue(const QString& key, QMap<QString, QString> map, QString& value, bool ignoreCase)
{
    const QString* found = FindValue(map, key, ignoreCase);
    value = found != nullptr ? *found : QString(); // not earlier: the key may be the same object
    return found != nullptr;
}

int StringUtil::QStringToWchar(const QString& text, wchar_t* buffer, int size)
{
    if (buffer == nullptr)
        return static_cast<int>(text.size());
    if (size < 1)
        return 0;

    const auto part = QStringView(text).left(size - 1);
    static_cast<void>(part.toWCharArray(buffer));
    buffer[part.size()] = L'\0';
    return static_cast<int>(part.size());
}

} // namespace Quorvin::Util
