// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "documents/ValueCommands.h"

using namespace Qt::StringLiterals;

namespace Quorvin::Tool {

void AddTypeOption(CLI::App& command, QString& type)
{
    AddText(command, "--type,-t", type, "Type of the value; default: string, or text without NAME")
        ->type_name("TYPE");
    command.footer(command.get_footer() + "\n\nTypes:\n  " + ValueTypeNames());
}

ValueType TypeOf(const QString& typeName, bool hasName)
{
    if (typeName.isEmpty())
        return hasName ? ValueType::String : ValueType::Text;
    const ValueType type = ValueTypeByName(typeName);
    if (IsContent(type) && hasName)
        throw UsageFailure(
            u"a value of type %1 is the content of an element and has no NAME"_s.arg(typeName));
    if (!IsContent(type) && !hasName)
        throw UsageFailure(u"NAME is required for a value of type %1"_s.arg(typeName));
    return type;
}

} // namespace Quorvin::Tool
