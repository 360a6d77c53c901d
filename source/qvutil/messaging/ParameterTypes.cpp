// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "messaging/ParameterTypes_p.h"

#include <algorithm>
#include <array>

using namespace Qt::StringLiterals;

namespace Quorvin::Util::Internal {
namespace {

struct TypeRow
{
    int Id;
    QLatin1StringView Name;
};

// The numbers are part of the wire format, so they are written out and do not depend on Qt. Sorted by id.
constexpr std::array<TypeRow, 52> kTypes = {{
    {0, "Invalid"_L1},       {1, "Bool"_L1},           {2, "Int"_L1},
    {3, "UInt"_L1},          {4, "LongLong"_L1},       {5, "ULongLong"_L1},
    {6, "Double"_L1},        {7, "Char"_L1},           {8, "Map"_L1},
    {9, "List"_L1},          {10, "String"_L1},        {11, "StringList"_L1},
    {12, "ByteArray"_L1},    {13, "BitArray"_L1},      {14, "Date"_L1},
    {15, "Time"_L1},         {16, "DateTime"_L1},      {17, "Url"_L1},
    {18, "Locale"_L1},       {19, "Rect"_L1},          {20, "RectF"_L1},
    {21, "Size"_L1},         {22, "SizeF"_L1},         {23, "Line"_L1},
    {24, "LineF"_L1},        {25, "Point"_L1},         {26, "PointF"_L1},
    {28, "Hash"_L1},         {29, "EasingCurve"_L1},   {4096, "Font"_L1},
    {4097, "Pixmap"_L1},     {4098, "Brush"_L1},       {4099, "Color"_L1},
    {4100, "Palette"_L1},    {4101, "Icon"_L1},        {4102, "Image"_L1},
    {4103, "Polygon"_L1},    {4104, "Region"_L1},      {4105, "Bitmap"_L1},
    {4106, "Cursor"_L1},     {4107, "KeySequence"_L1}, {4108, "Pen"_L1},
    {4109, "TextLength"_L1}, {4110, "TextFormat"_L1},  {4112, "Transform"_L1},
    {4113, "Matrix4x4"_L1},  {4114, "Vector2D"_L1},    {4115, "Vector3D"_L1},
    {4116, "Vector4D"_L1},   {4117, "Quaternion"_L1},  {8192, "SizePolicy"_L1},
    {65536, "UserType"_L1},
}};

// Up to this id, a type's row number is its id.
constexpr int kLastPlainId = 26;
static_assert(kTypes[kLastPlainId].Id == kLastPlainId && std::ranges::is_sorted(kTypes, {}, &TypeRow::Id));

template <typename View> int FindTypeId(View name)
{
    const auto isExact = [name](const TypeRow& type) { return type.Name == name; };
    const auto isSame
        = [name](const TypeRow& type) { return type.Name.compare(name, Qt::CaseInsensitive) == 0; };
    // Most names are spelled as in the table, and an exact comparison is much faster.
    auto row = std::ranges::find_if(kTypes, isExact);
    if (row == kTypes.cend())
        row = std::ranges::find_if(kTypes, isSame);
    return row != kTypes.cend() ? row->Id : 0;
}

} // namespace

QLatin1StringView TypeName(int typeId)
{
    // This covers all types that can be sent.
    if (typeId >= 0 && typeId <= kLastPlainId)
        return kTypes[static_cast<size_t>(typeId)].Name;
    const auto row = std::ranges::lower_bound(kTypes, typeId, {}, &TypeRow::Id);
    return row != kTypes.cend() && row->Id == typeId ? row->Name : QLatin1StringView();
}

int TypeIdOf(QStringView name)
{
    return FindTypeId(name);
}

int TypeIdOf(QLatin1StringView name)
{
    return FindTypeId(name);
}

} // namespace Quorvin::Util::Internal
