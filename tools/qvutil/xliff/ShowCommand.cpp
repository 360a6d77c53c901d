// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "xliff/XliffCommands.h"

#include "cli/Command.h"
#include "cli/Console.h"
#include "cli/Report.h"
#include "xliff/CommandSupport.h"
#include "xliff/DocumentWalk.h"
#include "xliff/XliffDocument.h"

#include <QHash>
#include <QJsonObject>

#include <memory>

using namespace Qt::StringLiterals;

namespace Quorvin::Tool {
namespace {

struct ShowOptions
{
    QString File;
    QString Document;
    bool Json = false;
};

enum class ShownAs {
    Translated,
    Untranslated,
    Id,
};

/// Prints the text that the library returns for each mark of a document.
class ShowCommand
{
public:
    explicit ShowCommand(const ShowOptions& options)
        : mOptions(options)
        , mFile(options.File)
        , mXliff(mFile)
    {
        const QString key = DocumentKey(options.Document);
        for (const XliffUnit& unit : mXliff.GetUnits()) {
            if (unit.Reachability == UnitReachability::Found && mXliff.GetFiles().at(unit.File).Key == key)
                mUnits.insert(unit.Id, &unit);
        }
    }

    ExitCode Run()
    {
        if (mOptions.Document == "-"_L1)
            throw UsageFailure(u"the document needs a file name, because translations are found by it"_s);
        Util::XlfTranslator translator(mFile.Path());
        XmlSource document;
        document.GetFiler().Translator = &translator;
        document.Load(InputFile(mOptions.Document));
        Report report(mOptions.Json);
        int translated = 0, untranslated = 0, ids = 0;
        for (const TranslationMark& mark : FindTranslationMarks(document)) {
            if (mark.Source.trimmed().isEmpty() && mark.Shown == mark.Source)
                continue; // nothing to translate
            const QString id = UnitId(mark.Source);
            const ShownAs shownAs = Classify(mark, id);
            ++(shownAs == ShownAs::Translated ? translated : shownAs == ShownAs::Id ? ids : untranslated);
            report.AddItem([&] { return ToJson(mark, shownAs, id); }, [&] { Print(mark, shownAs); });
        }
        report.Finish([&] {
            Console::PrintLine(u"%1 with %2: %3 translated, %4 untranslated, %5 shown as an id"_s.arg(
                mOptions.Document, mXliff.GetName(), QString::number(translated),
                QString::number(untranslated), QString::number(ids)));
        });
        return ExitCode::Yes;
    }

private:
    [[nodiscard]] ShownAs Classify(const TranslationMark& mark, const QString& id) const
    {
        const XliffUnit* unit = mUnits.value(id);
        if (!unit)
            return ShownAs::Untranslated;
        return mark.Shown == id && unit->Target != id ? ShownAs::Id : ShownAs::Translated;
    }

    void Print(const TranslationMark& mark, ShownAs shownAs) const
    {
        QString text = PlaceText(mOptions.Document, mark.Where) + ": "_L1 + Console::Quoted(mark.Source);
        if (shownAs == ShownAs::Untranslated && mark.Shown == mark.Source)
            text += u"  UNTRANSLATED: no unit"_s;
        else
            text += " -> "_L1 + Console::Quoted(mark.Shown);
        if (shownAs == ShownAs::Id)
            text += u"  ID SHOWN: no target"_s;
        Console::PrintLine(text);
    }

    static QJsonObject ToJson(const TranslationMark& mark, ShownAs shownAs, const QString& id)
    {
        QJsonObject object = PlaceJson(mark.Where);
        object.insert(u"source"_s, mark.Source);
        object.insert(u"shown"_s, mark.Shown);
        object.insert(u"path"_s, mark.Path);
        object.insert(u"id"_s, id);
        object.insert(u"result"_s,
                      shownAs == ShownAs::Translated ? u"translated"_s
                          : shownAs == ShownAs::Id   ? u"id"_s
                                                     : u"untranslated"_s);
        return object;
    }

    const ShowOptions& mOptions;
    InputFile mFile;
    XliffDocument mXliff;
    QHash<QString, const XliffUnit*> mUnits;
};

} // namespace

void AddXliffShowCommand(CommandLine& line, CLI::App& group)
{
    auto options = std::make_shared<ShowOptions>();
    CLI::App& command = line.AddCommand(
        group, "show", "Show the texts of a document as a user sees them, translated by the library",
        "qvutil xliff show de.xlf ui/MainWindow.xml\n"
        "qvutil xliff show de.xlf ui/MainWindow.xml | grep -e UNTRANSLATED -e 'ID SHOWN'",
        [options] { return ShowCommand(*options).Run(); });
    AddText(command, "XLIFF", options->File, "XLIFF file")->required();
    AddText(command, "DOCUMENT", options->Document, "XML document that the file translates")->required();
    AddJsonFlag(command, options->Json);
}

} // namespace Quorvin::Tool
