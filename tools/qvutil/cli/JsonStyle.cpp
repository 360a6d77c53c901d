// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "cli/JsonStyle.h"

#include "cli/Console.h"

namespace Quorvin::Tool {
namespace {

// The style that the user chose; set before the command runs.
constinit JsonStyle gStyle = JsonStyle::Automatic;

} // namespace

void SetJsonStyle(JsonStyle style)
{
    gStyle = style;
}

QJsonDocument::JsonFormat AnswerFormat()
{
    const bool isIndented
        = gStyle == JsonStyle::Pretty || (gStyle == JsonStyle::Automatic && Console::IsOutputTerminal());
    return isIndented ? QJsonDocument::Indented : QJsonDocument::Compact;
}

QJsonDocument::JsonFormat StreamFormat()
{
    return gStyle == JsonStyle::Pretty ? QJsonDocument::Indented : QJsonDocument::Compact;
}

QString ToText(const QJsonDocument& document, QJsonDocument::JsonFormat format)
{
    const QString text = QString::fromUtf8(document.toJson(format));
    return text.endsWith(u'\n') ? text : text + u'\n';
}

} // namespace Quorvin::Tool
