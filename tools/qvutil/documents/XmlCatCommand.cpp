// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "documents/XmlCommands.h"

#include "cli/Console.h"
#include "cli/Report.h"
#include "documents/ElementPath.h"

#include <QJsonObject>

#include <memory>

using namespace Qt::StringLiterals;
using Quorvin::Util::XmlFiler;

namespace Quorvin::Tool {
namespace {

struct CatOptions : PartOptions
{
    bool Inner = false;
};

ExitCode Cat(const CatOptions& options)
{
    XmlFiler filer;
    if (!OpenPart(filer, options))
        return ExitCode::No;
    const QString markup = options.Inner ? filer.ReadInnerXml() : filer.ReadOuterXml();
    Report(options.Json)
        .Answer(
            [&] {
                return QJsonObject{{u"path"_s, ElementPath::Of(filer)}, {u"xml"_s, markup}};
            },
            [&] { Console::Print(markup.isEmpty() || markup.endsWith(u'\n') ? markup : markup + u'\n'); });
    return ExitCode::Yes;
}

} // namespace

void AddXmlCatCommand(CommandLine& line, CLI::App& group)
{
    auto options = std::make_shared<CatOptions>();
    CLI::App& cat = line.AddCommand(group, "cat", "Print an element as XML",
                                    "qvutil xml cat app.xml Panel/Main\n"
                                    "qvutil xml cat app.xml Panel/Main --inner   # without its own tags",
                                    [options] { return Cat(*options); });
    AddPartArguments(cat, *options);
    cat.add_flag("--inner", options->Inner, "Print the content only, without the element's own tags");
}

} // namespace Quorvin::Tool
