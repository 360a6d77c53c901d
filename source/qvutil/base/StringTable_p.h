// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#ifndef QVUTIL_STRINGTABLE_P_H
#define QVUTIL_STRINGTABLE_P_H

#include <QString>

#include <cstddef>
#include <cstring>
#include <functional>
#include <string_view>
#include <unordered_map>

// Internal, not API: may change in any version.

namespace Quorvin::Util::Internal {

/// Hashes strings for tables on hot paths. A QHash is several times slower there (see docs/benchmarks.md).
/// Only for tables with a small maximum size: there is no seed, so an attacker can choose keys with equal
/// hashes.
struct StringHash
{
    [[nodiscard]] size_t operator()(const QString& text) const
    {
        return std::hash<std::u16string_view>()(
            {reinterpret_cast<const char16_t*>(text.constData()), static_cast<size_t>(text.size())});
    }
};

/// Compares strings for the same tables.
struct StringEqual
{
    [[nodiscard]] bool operator()(const QString& left, const QString& right) const
    {
        return left.size() == right.size()
            && std::memcmp(left.constData(), right.constData(),
                           static_cast<size_t>(left.size()) * sizeof(QChar))
            == 0;
    }
};

/// A table from strings to values.
template <typename Value> using StringTable = std::unordered_map<QString, Value, StringHash, StringEqual>;

} // namespace Quorvin::Util::Internal

#endif // QVUTIL_STRINGTABLE_P_H
