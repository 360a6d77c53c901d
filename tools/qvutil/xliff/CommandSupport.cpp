// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "xliff/CommandSupport.h"

#include "cli/Difference.h"

#include <optional>

using namespace Qt::StringLiterals;

namespace Quorvin::Tool {

QString Count(qsizetype number, const QString& noun)
{
    return QString::number(number) + u' ' + noun + (number == 1 ? QString() : u"s"_s);
}

QString PlaceText(const QString& file, Place place)
{
    QString text = file;
    if (place.Line > 0)
        text += u':' + QString::number(place.Line);
    if (place.Column > 0)
        text += u':' + QString::number(place.Column);
    return text;
}

QJsonObject PlaceJson(Place place)
{
    QJsonObject object{{u"line"_s, place.Line}};
    if (place.Column > 0)
        object.insert(u"column"_s, place.Column);
    return object;
}

void RequireOutputFile(const QString& output)
{
    if (output == "-"_L1)
        throw UsageFailure(u"--output must be a file; use ./- for a file named -"_s);
}

bool ShowDifference(const XliffDocument& xliff, const QString& output, bool prints)
{
    const std::optional<QByteArray> before = ReadIfExists(output);
    const QByteArray after = xliff.GetContent(output);
    if (prints)
        return PrintDifference(output, before, after) == ExitCode::No;
    return before != after;
}

void AddDocumentOptions(CLI::App& command, DocumentSelection& selection)
{
    command.add_flag("--recursive,-r", selection.IsRecursive, "Include sub-folders");
    AddTexts(command, "--pattern", selection.Patterns,
             "Name pattern of the documents in a folder, such as *.ui.xml; default: *.xml")
        ->type_name("PATTERN");
}

} // namespace Quorvin::Tool
