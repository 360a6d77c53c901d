// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "xliff/StatPage.h"

#include "cli/HtmlPage.h"

#include <QJsonObject>

using namespace Qt::StringLiterals;

namespace Quorvin::Tool {
namespace {

constexpr const char16_t* kStyle
    = uR"css(section { background: var(--card); border-radius: .5rem; padding: .75rem 1rem 1rem; margin: 0 0 1rem }
.row { margin-top: .75rem } .head { display: flex; flex-wrap: wrap; gap: 0 1rem; justify-content: space-between }
.share { font-weight: bold; white-space: nowrap; margin-left: auto }
.bar { display: flex; height: .7rem; margin: .25rem 0; border-radius: .35rem; overflow: hidden;
  background: var(--line) }
.bar span { height: 100% } .finished { background: var(--good) } .unfinished { background: var(--warn) }
.unreachable { background: var(--bad) } .empty { background: var(--line) }
.counts { font-size: .85rem; margin: 0 } .all { border-bottom: 1px solid var(--line); padding-bottom: .75rem }
.legend { display: flex; flex-wrap: wrap; gap: .25rem 1rem; list-style: none; margin: 0 0 1rem; padding: 0;
  font-size: .85rem }
.legend i { display: inline-block; width: .8rem; height: .8rem; border-radius: .2rem; margin-right: .35rem }
)css";

struct Part
{
    QLatin1StringView Name; // in JSON and CSS
    QLatin1StringView Text;
};
constexpr Part gParts[] = {{"finished"_L1, "finished"_L1},
                           {"unfinished"_L1, "unfinished"_L1},
                           {"empty"_L1, "empty"_L1},
                           {"unreachable"_L1, "out of reach"_L1}};

int CountOf(const QJsonObject& counts, QLatin1StringView part)
{
    return counts.value(part).toInt();
}

// Returns the percentage of finished units, rounded down: 100 means that all are finished.
int ShareOf(const QJsonObject& counts)
{
    const int units = CountOf(counts, "units"_L1);
    return units == 0 ? 100 : static_cast<int>(CountOf(counts, "finished"_L1) * qint64(100) / units);
}

// Returns the numbers as text: "3 of 5 finished, 1 unfinished, 1 empty".
QString CountsText(const QJsonObject& counts)
{
    QString text
        = u"%1 of %2 finished"_s.arg(CountOf(counts, "finished"_L1)).arg(CountOf(counts, "units"_L1));
    for (const Part& part : gParts) {
        const int count = CountOf(counts, part.Name);
        if (count > 0 && part.Name != "finished"_L1)
            text += u", %1 %2"_s.arg(count).arg(part.Text);
    }
    return text;
}

QString LanguagesText(const QJsonObject& document)
{
    const auto known = [&document](QLatin1StringView name) {
        const QString language = document.value(name).toString();
        return language.isEmpty() ? u"?"_s : language;
    };
    return known("sourceLanguage"_L1) + " to "_L1 + known("targetLanguage"_L1);
}

// Adds a bar with a coloured part for each state, and the same numbers as text.
void AddBar(MarkupWriter& content, const QJsonObject& counts)
{
    const QString text = CountsText(counts);
    const int units = CountOf(counts, "units"_L1);
    const auto addPart = [&content](QLatin1StringView name, double share, const QString& title) {
        content.AddElement(u"span"_s,
                           {{u"class"_s, name},
                            {u"style"_s, u"width: %1%"_s.arg(QString::number(100 * share, 'f', 2))},
                            {u"title"_s, title}});
    };
    content.Start(u"div"_s, {{u"class"_s, u"bar"_s}, {u"role"_s, u"img"_s}, {u"aria-label"_s, text}});
    for (const Part& part : gParts) {
        const int count = CountOf(counts, part.Name);
        if (count > 0)
            addPart(part.Name, static_cast<double>(count) / units, u"%1 %2"_s.arg(count).arg(part.Text));
    }
    if (units == 0) // a file without units counts as finished
        addPart(gParts[0].Name, 1, text);
    content.End();
    content.AddElement(u"p"_s, {{u"class"_s, u"counts muted"_s}}, text);
}

void AddShare(MarkupWriter& content, const QJsonObject& counts)
{
    content.AddElement(u"span"_s, {{u"class"_s, u"share"_s}}, u"%1 %"_s.arg(ShareOf(counts)));
}

void AddDocument(MarkupWriter& content, const QJsonObject& document)
{
    const QString original = document.value("original"_L1).toString();
    content.Start(u"div"_s, {{u"class"_s, u"row"_s}});
    content.Start(u"div"_s, {{u"class"_s, u"head"_s}});
    content.AddElement(u"span"_s, {}, original.isEmpty() ? u"(no name)"_s : original);
    AddShare(content, document);
    content.End();
    AddBar(content, document);
    content.End();
}

void AddFile(MarkupWriter& content, const QJsonObject& file)
{
    const QJsonObject all = file.value("all"_L1).toObject();
    const QJsonArray documents = file.value("documents"_L1).toArray();
    QStringList languages;
    for (const QJsonValue& document : documents)
        languages.append(LanguagesText(document.toObject()));
    languages.removeDuplicates();

    content.Start(u"section"_s);
    content.Start(u"div"_s, {{u"class"_s, u"all"_s}});
    content.Start(u"div"_s, {{u"class"_s, u"head"_s}});
    content.AddElement(u"h2"_s, {}, file.value("file"_L1).toString());
    AddShare(content, all);
    content.End();
    content.AddElement(u"p"_s, {{u"class"_s, u"counts"_s}}, languages.join(u", "_s));
    AddBar(content, all);
    content.End();
    for (const QJsonValue& document : documents)
        AddDocument(content, document.toObject());
    content.End();
}

} // namespace

QString StatPage(const QJsonArray& files, const QStringList& unusable)
{
    HtmlPage page(u"Translation progress"_s, QString::fromUtf16(kStyle));
    MarkupWriter& content = page.Content();
    content.Start(u"ul"_s, {{u"class"_s, u"legend"_s}});
    for (const Part& part : gParts) {
        content.Start(u"li"_s);
        content.AddElement(u"i"_s, {{u"class"_s, part.Name}});
        content.AddText(part.Text);
        content.End();
    }
    content.End();
    for (const QJsonValue& file : files)
        AddFile(content, file.toObject());
    for (const QString& name : unusable)
        content.AddElement(u"p"_s, {{u"class"_s, u"bad"_s}}, u"%1 could not be read."_s.arg(name));
    return page.Finish();
}

} // namespace Quorvin::Tool
