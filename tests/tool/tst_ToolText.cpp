// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

// Tests the width of texts on a terminal. Calls the tool's code directly.

#include "cli/TextWidth.h"
#include "support/TestSupport.h"

#include <QtTest>

using namespace Qt::StringLiterals;
using namespace Quorvin::Tool;

namespace {

const QString kFamily = u"\U0001F468\u200D\U0001F469\u200D\U0001F467"_s; // three people, joined

} // namespace

class tst_ToolText : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { TestSupport::FailOnAnyMessage(); }
    void ColumnsOf_data();
    void ColumnsOf();
    void FirstColumns_data();
    void FirstColumns();
    void LastColumns_data();
    void LastColumns();
    void FirstColumns_longText();
};

void tst_ToolText::ColumnsOf_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<qsizetype>("expected");

    QTest::newRow("empty") << QString() << qsizetype{0};
    QTest::newRow("Latin") << u"Größe…"_s << qsizetype{6};
    QTest::newRow("combining mark") << u"e\u0301"_s << qsizetype{1};
    QTest::newRow("Chinese") << u"中文"_s << qsizetype{4};
    QTest::newRow("Korean, composed and in parts") << u"한\u1112\u1161\u11ab"_s << qsizetype{4};
    QTest::newRow("half and full width") << u"ｱＡ"_s << qsizetype{3};
    QTest::newRow("emoji") << u"\U0001F600"_s << qsizetype{2};
    QTest::newRow("outside the basic plane") << u"\U0001D400"_s << qsizetype{1};
    QTest::newRow("ideograph outside the basic plane") << u"\U00020000"_s << qsizetype{2};
    QTest::newRow("soft hyphen") << u"a\u00adb"_s << qsizetype{3};
    QTest::newRow("zero width space") << u"a\u200bb"_s << qsizetype{2};
}

void tst_ToolText::ColumnsOf()
{
    QFETCH(const QString, text);
    QFETCH(const qsizetype, expected);

    QCOMPARE(Quorvin::Tool::ColumnsOf(text), expected);
}

void tst_ToolText::FirstColumns_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("columns");
    QTest::addColumn<QString>("expected");

    QTest::newRow("fits") << u"abc"_s << 3 << u"abc"_s;
    QTest::newRow("one character too many") << u"abcd"_s << 3 << u"abc"_s;
    QTest::newRow("no columns") << u"abc"_s << 0 << QString();
    QTest::newRow("negative number of columns") << u"abc"_s << -1 << QString();
    QTest::newRow("wide character with room for half") << u"a中文"_s << 4 << u"a中"_s;
    QTest::newRow("surrogate pair at the end") << u"ab\U0001D400c"_s << 3 << u"ab\U0001D400"_s;
    QTest::newRow("surrogate pair with room for one column") << u"ab\U0001F600"_s << 3 << u"ab"_s;
    QTest::newRow("mark after the last character") << u"abe\u0301f"_s << 3 << u"abe\u0301"_s;
    QTest::newRow("joined emoji that do not fit") << kFamily << 5 << QString();
    QTest::newRow("joined emoji that fit") << kFamily + u'x' << 6 << kFamily;
}

void tst_ToolText::FirstColumns()
{
    QFETCH(const QString, text);
    QFETCH(const int, columns);
    QFETCH(const QString, expected);

    QCOMPARE(Quorvin::Tool::FirstColumns(text, columns), expected);
}

void tst_ToolText::LastColumns_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("columns");
    QTest::addColumn<QString>("expected");

    QTest::newRow("fits") << u"abc"_s << 3 << u"abc"_s;
    QTest::newRow("one character too many") << u"abcd"_s << 3 << u"bcd"_s;
    QTest::newRow("no columns") << u"abc"_s << 0 << QString();
    QTest::newRow("negative number of columns") << u"abc"_s << -1 << QString();
    QTest::newRow("wide character with room for half") << u"中文a"_s << 4 << u"文a"_s;
    QTest::newRow("surrogate pair at the start") << u"c\U0001D400ab"_s << 3 << u"\U0001D400ab"_s;
    QTest::newRow("mark of a character that does not fit") << u"e\u0301abc"_s << 3 << u"abc"_s;
    QTest::newRow("joined emoji that do not fit") << kFamily << 5 << QString();
}

void tst_ToolText::LastColumns()
{
    QFETCH(const QString, text);
    QFETCH(const int, columns);
    QFETCH(const QString, expected);

    QCOMPARE(Quorvin::Tool::LastColumns(text, columns), expected);
}

void tst_ToolText::FirstColumns_longText()
{
    const QString text(10'000'000, u'x');
    QCOMPARE(Quorvin::Tool::FirstColumns(text, 80), QString(80, u'x'));
    QCOMPARE(Quorvin::Tool::LastColumns(text, 80), QString(80, u'x'));
    // A character with an absurd number of marks is omitted, rather than cut.
    const QString marks = u'a' + QString(100'000, QChar(0x0301));
    QCOMPARE(Quorvin::Tool::FirstColumns(u'b' + marks, 5).size() <= 400, true);
}

QTEST_GUILESS_MAIN(tst_ToolText)
#include "tst_ToolText.moc"
