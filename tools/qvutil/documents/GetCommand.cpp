// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "documents/ValueCommands.h"

#include "cli/Console.h"
#include "cli/InputFile.h"
#include "cli/Report.h"
#include "documents/DocumentFile.h"
#include "documents/DocumentPart.h"
#include "documents/ElementPath.h"

#include <QJsonObject>

#include <memory>
#include <optional>

using namespace Qt::StringLiterals;
using Quorvin::Util::XlfTranslator;
using Quorvin::Util::XmlFiler;

namespace Quorvin::Tool {
namespace {

struct GetOptions
{
    QString File;
    QString Path;
    QString Name;
    QString Type;
    QString Default;
    QString Translations;
    bool Json = false;
};

void PrintValue(const QString& path, const GetOptions& options, ValueType type, const Value& value)
{
    Report(options.Json)
        .Answer(
            [&] {
                QJsonObject object{
                    {u"path"_s, path}, {u"type"_s, ValueTypeName(type)}, {u"value"_s, value.Json}};
                if (!IsContent(type))
                    object.insert(u"name"_s, options.Name);
                return object;
            },
            [&] { Console::PrintBytes(type == ValueType::Buffer ? value.Plain : value.Plain + '\n'); });
}

ExitCode Get(const GetOptions& options, bool hasName, bool hasDefault)
{
    RequireOneStandardInput({options.File, options.Translations});
    const ValueType type = TypeOf(options.Type, hasName);
    const ElementPath path(options.Path);
    std::optional<Value> defaultValue;
    if (hasDefault)
        defaultValue = NormalizedValue(type, options.Default.toUtf8());

    std::optional<InputFile> translations;
    XlfTranslator translator;
    XmlFiler filer;
    filer.TranslateEnabled = !options.Translations.isEmpty();
    if (filer.TranslateEnabled) {
        translations.emplace(options.Translations);
        XmlFiler probe; // the translator does not report a malformed file
        LoadDocument(probe, *translations);
        translator.SetXlfFile(translations->Path());
        filer.Translator = &translator;
    }
    const InputFile file(options.File);
    if (filer.TranslateEnabled)
        LoadDocument(filer, file); // the file's name is the context of the translation
    else
        LoadPart(filer, file, path, PartContent::Values);

    const bool isThere = path.MoveTo(filer);
    const QString where = isThere ? ElementPath::Of(filer) : path.Text();
    std::optional<Value> value;
    if (isThere)
        value = ReadValue(filer, type, options.Name);
    if (!value && defaultValue)
        value = defaultValue;
    if (value) {
        PrintValue(where, options, type, *value);
        return ExitCode::Yes;
    }
    if (options.Json)
        PrintValue(where, options, type, Value{.Plain = {}, .Json = QJsonValue::Null});
    Console::ReportError(file.Name(),
                         isThere ? WhyMissing(filer, type, options.Name) : path.WhyMissing(file.ReadAll()));
    return ExitCode::No;
}

} // namespace

void AddGetCommand(CommandLine& line, CLI::App& group)
{
    auto options = std::make_shared<GetOptions>();
    const std::string name = "qvutil " + group.get_name() + " get ";
    CLI::App& get = line.AddCommand(group, "get", "Print one value",
                                    name + "app.xml Panel/Main Width --type int\n" + name
                                        + "app.xml Panel/Main Width --type int --default 640\n" + name
                                        + "app.xml Notes                       # the element's text\n" + name
                                        + "app.xml Icon --type buffer > icon.png",
                                    {});
    AddText(get, "FILE", options->File, "Document to read; - for standard input")->required();
    AddText(get, "PATH", options->Path, kPathDescription)->required();
    CLI::Option* valueName
        = AddText(get, "NAME", options->Name, "Name of the value, an attribute of the element");
    AddTypeOption(get, options->Type);
    CLI::Option* defaultValue = AddText(get, "--default,-d", options->Default,
                                        "Fallback to print if the value is missing or of another type")
                                    ->type_name("VALUE");
    AddText(get, "--translations", options->Translations,
            "XLIFF file with translations of texts of the form tr(...)")
        ->type_name("FILE");
    AddJsonFlag(get, options->Json);
    line.SetAction(get, [options, valueName, defaultValue] {
        return Get(*options, valueName->count() > 0, defaultValue->count() > 0);
    });
}

} // namespace Quorvin::Tool
