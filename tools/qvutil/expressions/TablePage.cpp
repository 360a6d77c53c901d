// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "expressions/TablePage.h"

#include "expressions/CommandSupport.h"

using namespace Qt::StringLiterals;

namespace Quorvin::Tool {
namespace {

// A wide table scrolls sideways; the column of results stays visible.
constexpr const char16_t* kStyle
    = uR"css(.expression { background: var(--card); padding: .5rem .75rem; border-radius: .4rem }
.table { overflow-x: auto; margin: 1rem 0; border: 1px solid var(--line); border-radius: .4rem;
  max-width: max-content }
table { border-spacing: 0 }
th, td { padding: .35rem .6rem; text-align: left; border-bottom: 1px solid var(--line) }
tbody tr:last-child td { border-bottom: 0 }
th { background: var(--card); vertical-align: bottom }
th div { width: min-content; min-width: 2.5rem; max-width: 10rem; overflow-wrap: break-word }
td { overflow-wrap: normal }
td { color: var(--muted) } td.true { color: var(--strong) }
.result { position: sticky; right: 0; border-left: 1px solid var(--line); font-weight: bold;
  background: var(--page) }
th.result { background: var(--card) } td.result.true { color: var(--good); background: var(--soft) }
)css";

} // namespace

TablePage::TablePage(const QString& expression, const QStringList& operands)
    : mPage(u"Truth table"_s, QString::fromUtf16(kStyle))
{
    MarkupWriter& content = mPage.Content();
    content.Start(u"p"_s, {{u"class"_s, u"expression"_s}});
    content.AddElement(u"code"_s, {}, expression);
    content.End();
    // Make the table focusable, so that the keyboard can scroll it.
    content.Start(u"div"_s,
                  {{u"class"_s, u"table"_s},
                   {u"tabindex"_s, u"0"_s},
                   {u"role"_s, u"region"_s},
                   {u"aria-label"_s, u"Truth table"_s}});
    content.Start(u"table"_s);
    content.Start(u"thead"_s);
    content.Start(u"tr"_s);
    for (const QString& operand : operands)
        AddHeading(operand, u"operand"_s);
    AddHeading(u"result"_s, u"result"_s);
    content.End();
    content.End();
    content.Start(u"tbody"_s);
}

void TablePage::AddRow(const QList<bool>& values, bool result)
{
    mPage.Content().Start(u"tr"_s);
    for (const bool value : values)
        AddCell(value, {});
    AddCell(result, u"result "_s);
    mPage.Content().End();
    ++mRows;
    mTrueRows += result ? 1 : 0;
}

QString TablePage::Finish()
{
    MarkupWriter& content = mPage.Content();
    content.End();
    content.End();
    content.End();
    content.AddElement(u"p"_s, {{u"class"_s, u"muted"_s}},
                       u"True in %1 of %2 cases."_s.arg(mTrueRows).arg(mRows));
    return mPage.Finish();
}

void TablePage::AddHeading(const QString& text, const QString& styleClass)
{
    mPage.Content().Start(u"th"_s, {{u"scope"_s, u"col"_s}, {u"class"_s, styleClass}});
    mPage.Content().AddElement(u"div"_s, {}, text);
    mPage.Content().End();
}

void TablePage::AddCell(bool value, const QString& styleClass)
{
    mPage.Content().AddElement(u"td"_s, {{u"class"_s, styleClass + Word(value)}}, Word(value));
}

} // namespace Quorvin::Tool
