// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "documents/ValueCommands.h"

#include "cli/Console.h"
#include "documents/DocumentFile.h"

#include <QDomElement>
#include <QFileInfo>
#include <QTemporaryFile>

#include <algorithm>
#include <memory>

using namespace Qt::StringLiterals;
using Quorvin::Util::XmlFiler;

namespace Quorvin::Tool {
namespace {

struct SetOptions
{
    QString File;
    QString Path;
    QStringList NameAndValue;
    QString Type;
    QString From;
    QString Root;
    bool Create = false;
    bool NewElement = false;
};

void CheckName(const QString& name)
{
    if (!IsXmlName(name))
        throw UsageFailure(u"%1 is no name of an element or attribute"_s.arg(Console::Quoted(name)));
}

void CheckNames(const ValuePlace& place, ValueType type)
{
    QString path = place.Path.trimmed();
    path.replace(u'\\', u'/');
    QStringList names = path.split(u'/', Qt::SkipEmptyParts);
    if (!IsContent(type))
        names += place.Name;
    std::for_each(names.cbegin(), names.cend(), &CheckName);
}

void CheckCharacters(const QByteArray& value)
{
    const QString text = QString::fromUtf8(value);
    for (const QChar c : text) {
        const char16_t code = c.unicode();
        const bool isWhite = code == '\t' || code == '\n' || code == '\r';
        if ((code < 0x20 && !isWhite) || code >= 0xfffe) {
            throw UsageFailure(u"the value holds the character U+%1, which XML cannot hold"_s.arg(
                QString::number(code, 16).toUpper().rightJustified(4, u'0')));
        }
    }
}

// The stored text of a value, whatever its type.
QString StoredText(XmlFiler& filer, ValueType type, const ValuePlace& place)
{
    filer.PushCurrentNode();
    const bool isThere = filer.MoveToNode(place.Path);
    const QDomElement element = isThere ? filer.GetCurrentNode().toElement() : QDomElement();
    filer.PopCurrentNode();
    return IsContent(type) ? element.firstChild().nodeValue() : element.attribute(place.Name);
}

// Whatever else may go wrong: what is saved must read back.
void CheckReadsBack(XmlFiler& filer, ValueType type, const ValuePlace& place)
{
    XmlFiler copy;
    if (!copy.LoadFromXmlString(filer.SaveAsXmlString())
        || StoredText(copy, type, place) != StoredText(filer, type, place)) {
        throw Failure({}, u"the value would not read back from a file; nothing was changed"_s);
    }
}

void OpenForChange(XmlFiler& filer, const SetOptions& options)
{
    const QFileInfo info(options.File);
    if (options.File != "-"_L1 && !options.File.isEmpty() && !info.exists()) {
        if (!options.Create)
            throw Failure(options.File, u"No such file or directory; --create makes it"_s);
        CheckName(options.Root);
        filer.CreateRoot(options.Root);
        return;
    }
    if (options.File != "-"_L1 && info.exists() && !info.isFile() && !info.isDir())
        throw Failure(options.File, u"is not a regular file"_s);
    // A file that does not parse is left alone: whatever it holds may still be of use to somebody.
    LoadDocument(filer, InputFile(options.File));
}

void PrintDocument(XmlFiler& filer)
{
    QTemporaryFile file;
    if (!file.open())
        throw Failure(file.fileTemplate(), file.errorString());
    SaveDocument(filer, file.fileName());
    Console::PrintBytes(InputFile(file.fileName()).ReadAll());
}

ExitCode Set(const SetOptions& options)
{
    const bool fromFile = !options.From.isEmpty();
    const qsizetype count = options.NameAndValue.size() + (fromFile ? 1 : 0);
    if (count < 1)
        throw UsageFailure(u"VALUE is required"_s);
    if (count > 2)
        throw UsageFailure(u"unexpected argument '%1'"_s.arg(options.NameAndValue.back()));
    const bool hasName = count == 2;
    const ValueType type = TypeOf(options.Type, hasName);
    if (fromFile && options.From == "-"_L1 && options.File == "-"_L1)
        throw UsageFailure(u"FILE and --from cannot both be standard input"_s);

    const ValuePlace place{.Path = options.Path, .Name = hasName ? options.NameAndValue.front() : QString()};
    CheckNames(place, type);
    const QByteArray value
        = fromFile ? InputFile(options.From).ReadAll() : options.NameAndValue.back().toUtf8();
    if (type != ValueType::Buffer)
        CheckCharacters(value);

    XmlFiler filer;
    filer.TranslateEnabled = false;
    OpenForChange(filer, options);
    ValuePlace target = place;
    if (options.NewElement) {
        filer.CreateNode(place.Path, false);
        target.Path.clear();
    }
    WriteValue(filer, type, target, value);
    if (!options.NewElement)
        CheckReadsBack(filer, type, target);
    if (options.File == "-"_L1)
        PrintDocument(filer);
    else
        SaveDocument(filer, options.File);
    return ExitCode::Yes;
}

} // namespace

void AddSetCommand(CommandLine& line, CLI::App& group, MissingFile missing, const std::string& root)
{
    auto options = std::make_shared<SetOptions>();
    options->Root = QString::fromStdString(root);
    options->Create = missing == MissingFile::IsCreated;
    const std::string name = "qvutil " + group.get_name() + " set ";
    CLI::App& set = line.AddCommand(group, "set", "Write one value; missing elements are created",
                                    name + "app.xml Panel/Main Width 640 --type int\n" + name
                                        + "app.xml Notes \"Call back\"           # the element's text\n"
                                        + name + "app.xml Icon --type buffer --from icon.png",
                                    [options] { return Set(*options); });
    AddText(set, "FILE", options->File, "Document to change; - reads standard input and prints the result")
        ->required();
    AddText(set, "PATH", options->Path,
            "Element, as names from the root joined by '/'; / for the root itself")
        ->required();
    AddTexts(set, "VALUE", options->NameAndValue,
             "Name and value of an attribute; VALUE alone is the element's content")
        ->type_name("[NAME] VALUE");
    AddTypeOption(set, options->Type);
    AddText(set, "--from,-f", options->From, "Read VALUE from a file; - for standard input")
        ->type_name("FILE");
    set.add_flag("--new", options->NewElement, "Append a new element even if there is one of that name");
    if (missing == MissingFile::IsError)
        set.add_flag("--create", options->Create, "Make the file if it does not exist");
    AddText(set, "--root", options->Root,
            "Name of the root element if the file is made; " + root + " if not given")
        ->type_name("NAME");
}

} // namespace Quorvin::Tool
