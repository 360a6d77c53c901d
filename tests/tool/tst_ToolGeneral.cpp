// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

// Tests what all commands of the tool have in common, and the command `hash`.

#include "support/RunningTool.h"
#include "support/ToolTest.h"

#include <QCryptographicHash>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>
#include <QStandardPaths>

#include <algorithm>
#include <optional>

using namespace Qt::StringLiterals;
using TestSupport::ToolResult;

namespace {

/// Makes progress bars appear at once for the lifetime of the object, however quick the tool is.
class ProgressWithoutDelay
{
public:
    ProgressWithoutDelay() { qputenv("QVUTIL_PROGRESS_DELAY", "0"); }
    ~ProgressWithoutDelay() { qunsetenv("QVUTIL_PROGRESS_DELAY"); }
    Q_DISABLE_COPY_MOVE(ProgressWithoutDelay)
};

} // namespace

class tst_ToolGeneral : public TestSupport::ToolTest
{
    Q_OBJECT

private Q_SLOTS:
    void Help();
    void Help_ofEachCommand();
    void Help_command_data();
    void Help_command();
    void Help_command_refused_data();
    void Help_command_refused();
    void Help_width_data();
    void Help_width();
    void Help_widthOfTerminal();
    void Version();
    void Usage_data();
    void Usage();
    void Usage_standardInputTwice_data();
    void Usage_standardInputTwice();
    void Usage_outputDash_data();
    void Usage_outputDash();
    void Usage_didYouMean_data();
    void Usage_didYouMean();
    void Usage_noCommand();
    void Usage_endOfOptions_data();
    void Usage_endOfOptions();
    void Output_fullDevice();
    void Output_closedPipe();
    void Json_style_data();
    void Json_style();
    void Json_onTerminal();
    void Terminal_escapes();
    void Terminal_bytes();
    void Terminal_progress();
    void Terminal_progressOfReading_data();
    void Terminal_progressOfReading();
    void Terminal_progressBeforeJson();
    void Terminal_progressOfPipe();
    void Terminal_noProgressElsewhere();
    void Locale_C();
    void Memory_exhausted();
    void Manual_namesEverything();
    void Manual_badFrame();
    void Completion_namesEverything_data();
    void Completion_namesEverything();
    void Completion_candidates_data();
    void Completion_candidates();
    void Completion_foreignNames_data();
    void Completion_foreignNames();
    void Completion_homeFolder_data();
    void Completion_homeFolder();
    void Completion_unknownShell();
    void Hash_data();
    void Hash();
    void Hash_json();
    void Hash_input();
    void Hash_largeFile();

private:
    struct Command
    {
        QStringList Path;
        QString Help;
    };
    struct Completion
    {
        QStringList Offered; ///< the candidates, sorted
        QString Inserted; ///< replacement for the part of a name that was typed; empty for fish
    };
    // Lets a shell complete the end of a command line.
    [[nodiscard]] Completion Complete(const QString& shell, const QString& line) const;
    // Collects the tool, its groups and its commands, with the output of --help.
    void CollectCommands(const QStringList& path, QList<Command>& commands) const;
    [[nodiscard]] QList<Command> Commands() const
    {
        QList<Command> commands;
        CollectCommands({}, commands);
        return commands;
    }
    // Returns the lines of a section of a help text, without indentation.
    [[nodiscard]] static QStringList Section(const QString& help, const QString& name);
    // Returns the names of the options in a help text, such as "--json" and "-t".
    [[nodiscard]] static QStringList OptionNames(const QString& help);
};

QStringList tst_ToolGeneral::Section(const QString& help, const QString& name)
{
    QStringList lines;
    bool isInside = false;
    for (const QString& line : help.split(u'\n')) {
        if (isInside && !line.startsWith(u' '))
            break;
        if (isInside && line.startsWith(u"  "_s) && !line.startsWith(u"   "_s))
            lines += line.trimmed();
        isInside = isInside || line == name + u':';
    }
    return lines;
}

QStringList tst_ToolGeneral::OptionNames(const QString& help)
{
    QStringList names;
    for (const QString& line : Section(help, u"Options"_s))
        names += line.section(u' ', 0, 0).split(u',');
    return names;
}

void tst_ToolGeneral::CollectCommands(const QStringList& path, QList<Command>& commands) const
{
    const ToolResult result = mTool->Run(path + QStringList(u"--help"_s));
    QCOMPARE(result.ExitCode, 0);
    QCOMPARE(result.Errors, QByteArray());
    const QString help = QString::fromUtf8(result.Output);
    commands.append({.Path = path, .Help = help});
    for (const QString& line : Section(help, u"Commands"_s))
        CollectCommands(path + QStringList(line.section(u' ', 0, 0)), commands);
}

void tst_ToolGeneral::Help()
{
    const ToolResult result = mTool->Run({u"--help"_s});
    QCOMPARE(result.ExitCode, 0);
    QCOMPARE(result.Errors, QByteArray());
    const QString help = QString::fromUtf8(result.Output);
    QVERIFY(help.startsWith(u"Inspect, change and check the files of applications that use QvUtil\n"
                            "Usage: qvutil [options] COMMAND\n"_s));
    QVERIFY(help.contains(u"\nExit status:\n  0  yes: done, found, equal, no problems\n"
                          "  1  no: not found, different, problems found\n"
                          "  2  wrong usage, or a file that cannot be read or written\n"_s));
    QVERIFY(Section(help, u"Commands"_s)
                .contains(u"hash                      Print the MD5 digests of files or texts"_s));
    QCOMPARE(mTool->Run({u"-h"_s}).Output, result.Output);
}

void tst_ToolGeneral::Help_ofEachCommand()
{
    const QList<Command> commands = Commands();
    QVERIFY(commands.size() >= 13);
    for (const Command& command : commands) {
        const QString name = (QStringList(u"qvutil"_s) + command.Path).join(u' ');
        QVERIFY2(command.Help.contains(u"Usage: "_s + name + u' '), qPrintable(name));
        QVERIFY2(OptionNames(command.Help).contains(u"--help"_s), qPrintable(name));
        if (!Section(command.Help, u"Commands"_s).isEmpty())
            continue; // a group
        const QStringList examples = Section(command.Help, u"Examples"_s);
        QVERIFY2(!examples.isEmpty(), qPrintable(name));
        QVERIFY2(examples.join(u'\n').contains(name), qPrintable(name));
        for (const QString& line :
             Section(command.Help, u"Options"_s) + Section(command.Help, u"Arguments"_s))
            QVERIFY2(line.contains(QRegularExpression(u" {2,}\\S| \\.\\.\\. +\\S|^\\S{24,}"_s)),
                     qPrintable(line));
    }
}

void tst_ToolGeneral::Help_command_data()
{
    QTest::addColumn<QStringList>("path");

    QTest::newRow("tool") << QStringList();
    QTest::newRow("group") << QStringList(u"xml"_s);
    QTest::newRow("command") << QStringList{u"xml"_s, u"get"_s};
    QTest::newRow("command outside groups") << QStringList(u"hash"_s);
    QTest::newRow("help itself") << QStringList(u"help"_s);
}

void tst_ToolGeneral::Help_command()
{
    QFETCH(const QStringList, path);

    const ToolResult expected = mTool->Run(path + QStringList(u"--help"_s));
    const ToolResult result = mTool->Run(QStringList(u"help"_s) + path);
    QCOMPARE(result.ToText(), expected.ToText());
    QCOMPARE(result.ExitCode, 0);
}

void tst_ToolGeneral::Help_command_refused_data()
{
    QTest::addColumn<QStringList>("path");
    QTest::addColumn<QString>("complaint");

    QTest::newRow("no such group") << QStringList(u"foo"_s) << u"there is no command 'foo'"_s;
    QTest::newRow("misspelt group") << QStringList{u"xlm"_s, u"get"_s}
                                    << u"there is no command 'xlm'; did you mean 'xml'?"_s;
    QTest::newRow("misspelt command") << QStringList{u"settings"_s, u"cheek"_s}
                                      << u"there is no command 'settings cheek'; did you mean 'check'?"_s;
    QTest::newRow("argument of a command")
        << QStringList{u"xml"_s, u"get"_s, u"a.xml"_s} << u"there is no command 'xml get a.xml'"_s;
}

void tst_ToolGeneral::Help_command_refused()
{
    QFETCH(const QStringList, path);
    QFETCH(const QString, complaint);

    QCOMPARE(Run(QStringList(u"help"_s) + path),
             u"! qvutil: %1\n! Try 'qvutil help --help'.\n=> 2\n"_s.arg(complaint));
}

void tst_ToolGeneral::Help_width_data()
{
    QTest::addColumn<int>("columns");
    QTest::addColumn<int>("longest"); // length of the longest line in the help of all commands

    QTest::newRow("40") << 40 << 40;
    QTest::newRow("80") << 80 << 80;
    QTest::newRow("120") << 120 << 100;
}

void tst_ToolGeneral::Help_width()
{
    QFETCH(const int, columns);
    QFETCH(const int, longest);

    for (const Command& command : Commands()) {
        const QString line = u"COLUMNS=%1 \"$TOOL\" %2 --help"_s.arg(columns).arg(command.Path.join(u' '));
        const ToolResult result = mTool->RunShell(line);
        QCOMPARE(result.ExitCode, 0);
        const QString help = QString::fromUtf8(result.Output);
        for (const QString& helpLine : help.split(u'\n'))
            QVERIFY2(helpLine.size() <= longest, qPrintable(line + u'\n' + helpLine));
        // Nothing is lost.
        for (const QString& name : OptionNames(command.Help))
            QVERIFY2(help.contains(name), qPrintable(line + u' ' + name));
        QVERIFY2(help.simplified().contains(command.Help.section(u'\n', 0, 0).simplified()),
                 qPrintable(line));
    }
}

void tst_ToolGeneral::Help_widthOfTerminal()
{
    const auto longestLine = [this](unsigned short columns) {
        const ToolResult result = mTool->RunOnTerminal({u"xml"_s, u"set"_s, u"--help"_s}, columns);
        qsizetype longest = 0;
        for (const QByteArray& line : result.Output.split('\n'))
            longest = std::max(longest, line.trimmed().size());
        return longest;
    };
    QVERIFY(longestLine(40) <= 40);
    QVERIFY(longestLine(100) > 80);
    // Without a terminal and COLUMNS, the width is 80.
    const QByteArray help = mTool->Run({u"xml"_s, u"set"_s, u"--help"_s}).Output;
    QCOMPARE(mTool->RunShell(u"COLUMNS=80 \"$TOOL\" xml set --help"_s).Output, help);
    QCOMPARE(mTool->RunShell(u"COLUMNS=none \"$TOOL\" xml set --help"_s).Output, help);
}

void tst_ToolGeneral::Version()
{
    const ToolResult result = mTool->Run({u"--version"_s});
    QCOMPARE(result.ExitCode, 0);
    QVERIFY(QRegularExpression(u"^qvutil \\d+\\.\\d+\\.\\d+\n$"_s)
                .match(QString::fromUtf8(result.Output))
                .hasMatch());
}

void tst_ToolGeneral::Usage_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QString>("expected");

    QTest::newRow("no such group") << QStringList{u"foo"_s, u"bar"_s}
                                   << u"! qvutil: there is no command or option 'foo'\n"
                                      "! Try 'qvutil --help'.\n=> 2\n"_s;
    QTest::newRow("no such command") << QStringList{u"xml"_s, u"foo"_s}
                                     << u"! qvutil: there is no command or option 'foo'\n"
                                        "! Try 'qvutil xml --help'.\n=> 2\n"_s;
    QTest::newRow("no such option") << QStringList{u"hash"_s, u"--foo"_s}
                                    << u"! qvutil: unexpected argument '--foo'\n"
                                       "! Try 'qvutil hash --help'.\n=> 2\n"_s;
    QTest::newRow("option of the tool after a command")
        << QStringList{u"hash"_s, u"--version"_s}
        << u"! qvutil: unexpected argument '--version'\n! Try 'qvutil hash --help'.\n=> 2\n"_s;
    QTest::newRow("option without its value") << QStringList{u"hash"_s, u"--text"_s}
                                              << u"! qvutil: --text needs a value\n"
                                                 "! Try 'qvutil hash --help'.\n=> 2\n"_s;
    const auto row = [](const char* name, const QStringList& arguments, const QString& complaint) {
        const QString command = arguments.first(arguments.first() == "hash"_L1 ? 1 : 2).join(u' ');
        QTest::newRow(name) << arguments
                            << u"! qvutil: %1\n! Try 'qvutil %2 --help'.\n=> 2\n"_s.arg(complaint, command);
    };
    row("option without its value, of a long name", {u"xml"_s, u"get"_s, u"f"_s, u"p"_s, u"--default"_s},
        u"--default needs a value"_s);
    row("option given twice", {u"xml"_s, u"get"_s, u"f"_s, u"p"_s, u"-d"_s, u"1"_s, u"-d"_s, u"2"_s},
        u"--default is given more than once"_s);
    row("flag with a value", {u"files"_s, u"list"_s, u"f"_s, u"--hidden=yes"_s},
        u"--hidden takes no value"_s);
    row("unknown style of JSON", {u"hash"_s, u"--json=maybe"_s},
        u"--json: 'maybe' is neither pretty nor lines"_s);
    row("not a number", {u"xml"_s, u"list"_s, u"f"_s, u"--depth"_s, u"%2"_s},
        u"--depth: '%2' is not a whole number from 0 to 1000"_s);
    row("number in brackets", {u"xml"_s, u"list"_s, u"f"_s, u"--depth"_s, u"[1]"_s},
        u"--depth: '[1]' is not a whole number from 0 to 1000"_s);
    row("number below its range", {u"xml"_s, u"list"_s, u"f"_s, u"--depth"_s, u"-1"_s},
        u"--depth: '-1' is not a whole number from 0 to 1000"_s);
    row("number above its range", {u"xml"_s, u"list"_s, u"f"_s, u"--depth"_s, u"1001"_s},
        u"--depth: '1001' is not a whole number from 0 to 1000"_s);
    row("number beyond every range", {u"files"_s, u"unique"_s, u"f"_s, u"--start"_s, u"2147483648"_s},
        u"--start: '2147483648' is not a whole number from -2147483648 to 2147483647"_s);
    row("too many arguments after --", {u"xml"_s, u"get"_s, u"f"_s, u"p"_s, u"n"_s, u"--"_s, u"-v"_s},
        u"unexpected argument '-v'"_s);
    QTest::newRow("command after --") << QStringList{u"--"_s, u"xml"_s}
                                      << u"! qvutil: there is no command or option 'xml'\n"
                                         "! Try 'qvutil --help'.\n=> 2\n"_s;
    QTest::newRow("nothing to do") << QStringList{u"hash"_s}
                                   << u"! qvutil: FILE or --text is required\n"
                                      "! Try 'qvutil hash --help'.\n=> 2\n"_s;
    QTest::newRow("control characters in a name")
        << QStringList{u"\u001b[31m"_s}
        << u"! qvutil: there is no command or option '\\u001b[31m'\n! Try 'qvutil --help'.\n=> 2\n"_s;
    QTest::newRow("brackets in a name") << QStringList{u"[foo]"_s}
                                        << u"! qvutil: there is no command or option '[foo]'\n"
                                           "! Try 'qvutil --help'.\n=> 2\n"_s;
    QTest::newRow("empty argument") << QStringList{u""_s}
                                    << u"! qvutil: there is no command or option ''\n"
                                       "! Try 'qvutil --help'.\n=> 2\n"_s;
}

void tst_ToolGeneral::Usage()
{
    QFETCH(const QStringList, arguments);
    QFETCH(const QString, expected);

    QCOMPARE(Run(arguments), expected);
}

void tst_ToolGeneral::Usage_standardInputTwice_data()
{
    QTest::addColumn<QStringList>("command");
    QTest::addColumn<QStringList>("arguments");

    const QStringList twice{u"-"_s, u"-"_s};
    const QList<QStringList> commands{
        {u"hash"_s},
        {u"settings"_s, u"check"_s},
        {u"settings"_s, u"diff"_s},
        {u"xml"_s, u"format"_s},
        {u"message"_s, u"decode"_s},
        {u"xliff"_s, u"check"_s},
        {u"xliff"_s, u"list"_s},
        {u"xliff"_s, u"stat"_s},
    };
    for (const QStringList& command : commands)
        QTest::newRow(qPrintable(command.join(u' '))) << command << twice;
    QTest::newRow("xliff stat --html")
        << QStringList{u"xliff"_s, u"stat"_s} << QStringList{u"--html"_s} + twice;
    const QStringList merge{u"xliff"_s, u"merge"_s};
    QTest::newRow("xliff merge") << merge << QStringList{u"-o"_s, u"out.xlf"_s} + twice;
    QTest::newRow("xliff merge, two other files") << merge << QStringList{u"a.xlf"_s} + twice;
    QTest::newRow("settings import") << QStringList{u"settings"_s, u"import"_s}
                                     << QStringList{u"--format"_s, u"ini"_s} + twice;
    QTest::newRow("xml set --from") << QStringList{u"xml"_s, u"set"_s}
                                    << QStringList{u"-"_s, u"a"_s, u"--from"_s, u"-"_s};
    const QStringList lint{u"expr"_s, u"lint"_s};
    QTest::newRow("expr lint --file") << lint << QStringList{u"--file"_s, u"-"_s, u"--file"_s, u"-"_s};
    QTest::newRow("expr lint --file --xml")
        << lint << QStringList{u"--file"_s, u"-"_s, u"--xml"_s, u"-"_s, u"--attribute"_s, u"a"_s};
    QTest::newRow("xml get --translations")
        << QStringList{u"xml"_s, u"get"_s} << QStringList{u"-"_s, u"a"_s, u"--translations"_s, u"-"_s};
    const QStringList call{u"ipc"_s, u"call"_s};
    QTest::newRow("ipc call, two parameters")
        << call << QStringList{u"nobody"_s, u"Ask"_s, u"a=@-"_s, u"b=@-"_s};
    QTest::newRow("ipc call --params")
        << call << QStringList{u"nobody"_s, u"Ask"_s, u"a=@-"_s, u"--params"_s, u"-"_s};
}

void tst_ToolGeneral::Usage_standardInputTwice()
{
    QFETCH(const QStringList, command);
    QFETCH(const QStringList, arguments);

    QCOMPARE(
        Run(command + arguments, "<a/>"),
        u"! qvutil: only one of the files can be standard input\n! Try 'qvutil %1 --help'.\n=> 2\n"_s.arg(
            command.join(u' ')));
}

void tst_ToolGeneral::Usage_outputDash_data()
{
    QTest::addColumn<QString>("command");
    QTest::addColumn<QStringList>("arguments");

    QTest::newRow("extract") << u"extract"_s << QStringList{u"a.xml"_s, u"-l"_s, u"de"_s};
    QTest::newRow("fill") << u"fill"_s << QStringList{u"a.xlf"_s};
    QTest::newRow("merge") << u"merge"_s << QStringList{u"a.xlf"_s, u"b.xlf"_s};
    QTest::newRow("repair") << u"repair"_s << QStringList{u"-"_s};
}

// These commands print what they did, so the file cannot go to standard output too.
void tst_ToolGeneral::Usage_outputDash()
{
    QFETCH(const QString, command);
    QFETCH(const QStringList, arguments);

    QCOMPARE(Run(QStringList{u"xliff"_s, command, u"-o"_s, u"-"_s} + arguments),
             u"! qvutil: --output must be a file; use ./- for a file named -\n"
             "! Try 'qvutil xliff %1 --help'.\n=> 2\n"_s.arg(command));
    QVERIFY(!QFile::exists(mTool->Path(u"-"_s)));
}

void tst_ToolGeneral::Usage_didYouMean_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QString>("complaint");

    QTest::newRow("swapped letters in a group's name")
        << QStringList{u"xlm"_s} << u"there is no command or option 'xlm'; did you mean 'xml'?"_s;
    QTest::newRow("beginning of a group's name")
        << QStringList{u"comp"_s} << u"there is no command or option 'comp'; did you mean 'completion'?"_s;
    QTest::newRow("command") << QStringList{u"settings"_s, u"cheek"_s}
                             << u"there is no command or option 'cheek'; did you mean 'check'?"_s;
    QTest::newRow("two commands") << QStringList{u"xml"_s, u"eet"_s}
                                  << u"there is no command or option 'eet'; did you mean 'get' or 'set'?"_s;
    QTest::newRow("option") << QStringList{u"hash"_s, u"--jsn"_s}
                            << u"unexpected argument '--jsn'; did you mean '--json'?"_s;
    QTest::newRow("option with a value") << QStringList{u"hash"_s, u"--txet=a"_s}
                                         << u"unexpected argument '--txet=a'; did you mean '--text'?"_s;
    QTest::newRow("nothing close") << QStringList{u"hash"_s, u"--something"_s}
                                   << u"unexpected argument '--something'"_s;
    QTest::newRow("several arguments missing")
        << QStringList{u"xml"_s, u"get"_s} << u"FILE and PATH are required"_s;
    QTest::newRow("arguments and an option missing")
        << QStringList{u"ipc"_s, u"proxy"_s} << u"NAME and --as are required"_s;
    QTest::newRow("list missing") << QStringList{u"settings"_s, u"check"_s} << u"FILE is required"_s;
}

void tst_ToolGeneral::Usage_didYouMean()
{
    QFETCH(const QStringList, arguments);
    QFETCH(const QString, complaint);

    const ToolResult result = mTool->Run(arguments);
    QCOMPARE(result.ExitCode, 2);
    QCOMPARE(QString::fromUtf8(result.Errors).section(u'\n', 0, 0), u"qvutil: "_s + complaint);
}

void tst_ToolGeneral::Usage_noCommand()
{
    const ToolResult tool = mTool->Run({});
    QCOMPARE(tool.ExitCode, 2);
    QCOMPARE(tool.Output, QByteArray());
    QCOMPARE(tool.Errors, mTool->Run({u"--help"_s}).Output);

    const ToolResult group = mTool->Run({u"settings"_s});
    QCOMPARE(group.ExitCode, 2);
    QCOMPARE(group.Output, QByteArray());
    QCOMPARE(group.Errors, mTool->Run({u"settings"_s, u"--help"_s}).Output);

    QCOMPARE(mTool->RunShell(u"\"$TOOL\" hash \"$(printf 'a\\377')\""_s).ToText(),
             u"! qvutil: a\ufffd: the argument is not valid UTF-8\n=> 2\n"_s);
}

void tst_ToolGeneral::Usage_endOfOptions_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QString>("expected");

    const auto digest = [](const char* text) {
        return QString::fromLatin1(QCryptographicHash::hash(text, QCryptographicHash::Md5).toHex()) + "  "_L1
            + QString::fromLatin1(text) + u'\n';
    };
    const QString yes = u"=> 0\n"_s;
    QTest::newRow("before the only argument")
        << QStringList{u"hash"_s, u"--"_s, u"-v"_s} << digest("-v") + yes;
    QTest::newRow("between arguments")
        << QStringList{u"hash"_s, u"a"_s, u"--"_s, u"b"_s} << digest("a") + digest("b") + yes;
    QTest::newRow("after all arguments") << QStringList{u"hash"_s, u"a"_s, u"--"_s} << digest("a") + yes;
    QTest::newRow("twice") << QStringList{u"hash"_s, u"a"_s, u"--"_s, u"--"_s}
                           << digest("a") + digest("--") + yes;
    QTest::newRow("before what looks like an option")
        << QStringList{u"hash"_s, u"--"_s, u"--json"_s} << digest("--json") + yes;
    QTest::newRow("before what looks like a list")
        << QStringList{u"hash"_s, u"--"_s, u"[a,b]"_s} << digest("[a,b]") + yes;
    QTest::newRow("value of an option")
        << QStringList{u"hash"_s, u"--text"_s, u"--"_s, u"a"_s} << digest("--") + digest("a") + yes;
    QTest::newRow("after the value of an option")
        << QStringList{u"hash"_s, u"--text"_s, u"x"_s, u"--"_s, u"-v"_s} << digest("x") + digest("-v") + yes;
}

void tst_ToolGeneral::Usage_endOfOptions()
{
    QFETCH(const QStringList, arguments);
    QFETCH(const QString, expected);
    for (const char* name : {"a", "b", "-v", "--", "--json", "[a,b]"})
        QVERIFY(mTool->Write(QString::fromLatin1(name), name));

    QCOMPARE(Run(arguments), expected);
}

void tst_ToolGeneral::Output_fullDevice()
{
    if (!QFile::exists(u"/dev/full"_s))
        QSKIP("this system has no device that is always full");
    const QString complaint = u"! qvutil: standard output: No space left on device\n=> 2\n"_s;
    QCOMPARE(mTool->RunShell(u"\"$TOOL\" hash --text x > /dev/full"_s).ToText(), complaint);
    QCOMPARE(mTool->RunShell(u"\"$TOOL\" --help > /dev/full"_s).ToText(), complaint);
    QCOMPARE(mTool->RunShell(u"\"$TOOL\" --version > /dev/full"_s).ToText(), complaint);
    // More than fits into a buffer.
    QCOMPARE(mTool
                 ->RunShell(u"i=0; while [ $i -lt 3000 ]; do set -- \"$@\" --text x; i=$((i+1)); done; "
                            "\"$TOOL\" hash \"$@\" > /dev/full"_s)
                 .ToText(),
             complaint);
}

void tst_ToolGeneral::Output_closedPipe()
{
    // More than a pipe holds, so the tool is still writing when the reader ends.
    QVERIFY(mTool->Write(u"a.xml"_s, "<a>" + QByteArray("<b c='1'/>").repeated(50000) + "</a>"));
    const QString pipe = u"%1; echo $? > code; } | head -n 1"_s;
    // Shells report exit code 141 for a process that a closed pipe has ended.
    QCOMPARE(mTool->RunShell(pipe.arg(u"{ \"$TOOL\" xml list a.xml"_s)).ToText(), u"a\n=> 0\n"_s);
    QCOMPARE(mTool->Read(u"code"_s), QByteArray("141\n"));
    QCOMPARE(mTool->RunShell(pipe.arg(u"trap '' PIPE; { \"$TOOL\" xml list a.xml"_s)).ToText(),
             u"a\n=> 0\n"_s);
    QCOMPARE(mTool->Read(u"code"_s), QByteArray("2\n"));
}

void tst_ToolGeneral::Json_style_data()
{
    QTest::addColumn<QString>("option");
    QTest::addColumn<int>("lines");

    QTest::newRow("not a terminal") << u"--json"_s << 1;
    QTest::newRow("lines") << u"--json=lines"_s << 1;
    QTest::newRow("pretty") << u"--json=pretty"_s << 6;
}

void tst_ToolGeneral::Json_style()
{
    QFETCH(const QString, option);
    QFETCH(const int, lines);

    const ToolResult result = mTool->Run({u"hash"_s, u"--text"_s, u"abc"_s, option});
    QCOMPARE(result.ExitCode, 0);
    QCOMPARE(result.Output.count('\n'), lines);
    QVERIFY(result.Output.endsWith("]\n"));
    QCOMPARE(QJsonDocument::fromJson(result.Output).array().size(), 1);
}

void tst_ToolGeneral::Json_onTerminal()
{
    const QStringList arguments{u"hash"_s, u"--text"_s, u"abc"_s};
    QCOMPARE(mTool->RunOnTerminal(arguments + QStringList(u"--json"_s)).Output.count('\n'), 6);
    QCOMPARE(mTool->RunOnTerminal(arguments + QStringList(u"--json=lines"_s)).Output.count('\n'), 1);
}

void tst_ToolGeneral::Terminal_escapes()
{
    QVERIFY(mTool->Write(u"a.xml"_s, "<a b='x&#x9b;31m&#x202e;y\tz&#10;'/>"));
    const QStringList arguments{u"xml"_s, u"get"_s, u"a.xml"_s, u"/"_s, u"b"_s};
    QCOMPARE(Run(arguments), u"x\u009b31m\u202ey z\n\n=> 0\n"_s);
    QCOMPARE(mTool->RunOnTerminal(arguments).ToText(), u"x\\u009b31m\\u202ey z\r\n\r\n=> 0\n"_s);
    QCOMPARE(mTool->RunOnTerminal({u"xml"_s, u"list"_s, u"a.xml"_s}).ToText(),
             u"a b=\"x\\u009b31m\\u202ey z\\n\"\r\n=> 0\n"_s);
}

void tst_ToolGeneral::Terminal_bytes()
{
    QVERIFY(mTool->Write(u"a.xml"_s, "<a><b>AP8=</b><c>eA==</c></a>"));
    QCOMPARE(
        mTool->RunOnTerminal({u"xml"_s, u"get"_s, u"a.xml"_s, u"b"_s, u"-t"_s, u"buffer"_s}).ToText(),
        u"qvutil: standard output: binary data is not printed to a terminal; use --json, or redirect the output\r\n=> 2\n"_s);
    QCOMPARE(mTool->RunOnTerminal({u"xml"_s, u"get"_s, u"a.xml"_s, u"c"_s, u"-t"_s, u"buffer"_s}).Output,
             QByteArray("x"));
}

void tst_ToolGeneral::Terminal_progress()
{
    // Reading this file takes seconds, but the file is sparse and takes no space on disk.
    QFile file(mTool->Path(u"large"_s));
    QVERIFY(file.open(QIODevice::WriteOnly));
    QVERIFY(file.resize(qint64{1} << 29));
    const ProgressWithoutDelay environment;
    const ToolResult result = mTool->RunOnTerminal({u"hash"_s, u"large"_s});
    QCOMPARE(result.ExitCode, 0);
    const QList<QByteArray> pieces = result.Output.split('\r');
    QVERIFY(pieces.size() >= 4);
    // Each progress bar clears the line before it and fits into it; the result is what remains visible.
    for (const QByteArray& piece : pieces.sliced(1, pieces.size() - 3)) {
        QVERIFY2(piece.startsWith("\x1b[K[........................]   0 %  large, 512.0 MB, "),
                 piece.constData());
        QVERIFY(piece.size() < 80 + 3);
    }
    QCOMPARE(pieces.at(pieces.size() - 2),
             QByteArray("\x1b[K"
                        "aa559b4e3523a6c931f08f4df52d58f2  large"));
    QCOMPARE(pieces.back(), QByteArray("\n"));
}

void tst_ToolGeneral::Terminal_progressOfReading_data()
{
    QTest::addColumn<QByteArray>("document");
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QByteArray>("progress");
    QTest::addColumn<QByteArray>("result");

    const QByteArray document = "<a b='1'><c/></a>";
    const QByteArray share = "\\[\\.{24}\\]   0 %  a\\.xml";
    const QByteArray time = "a\\.xml, [0-9]+ s";
    QTest::newRow("streamed value") << document << QStringList{u"xml"_s, u"get"_s, u"a.xml"_s, u"/"_s, u"b"_s}
                                    << share << QByteArray("1\r\n");
    QTest::newRow("streamed list") << document << QStringList{u"settings"_s, u"list"_s, u"a.xml"_s} << share
                                   << QByteArray("/a b=\"1\"\r\n/a/c\r\n");
    QTest::newRow("streamed check") << document << QStringList{u"settings"_s, u"check"_s, u"a.xml"_s} << share
                                    << QByteArray("a.xml: good\r\n");
    QTest::newRow("streamed statistics")
        << QByteArray("<xliff><file original='m'><body><trans-unit id='1'><source>a</source></trans-unit>"
                      "</body></file></xliff>")
        << QStringList{u"xliff"_s, u"stat"_s, u"a.xml"_s} << share
        << QByteArray("a.xml: ? to ?\r\n  m  [....................]  0 of 1    0 %  1 out of reach\r\n");
    QTest::newRow("error") << QByteArray("<a>") << QStringList{u"xml"_s, u"list"_s, u"a.xml"_s} << share
                           << QByteArray(
                                  "qvutil: a.xml:1:3: the file ends in the middle of the document\r\n");
    QTest::newRow("loaded by the library")
        << "<!DOCTYPE a>" + document << QStringList{u"xml"_s, u"get"_s, u"a.xml"_s, u"/"_s, u"b"_s} << time
        << QByteArray("1\r\n");
}

void tst_ToolGeneral::Terminal_progressOfReading()
{
    QFETCH(const QByteArray, document);
    QFETCH(const QStringList, arguments);
    QFETCH(const QByteArray, progress);
    QFETCH(const QByteArray, result);

    QVERIFY(mTool->Write(u"a.xml"_s, document));
    const ProgressWithoutDelay environment;
    const QRegularExpression shown(u"\\A(\r\x1b\\[K%1)+\r\x1b\\[K"_s.arg(QString::fromLatin1(progress)));
    const QString output = QString::fromUtf8(mTool->RunOnTerminal(arguments).Output);
    QVERIFY2(shown.match(output).hasMatch(), qPrintable(output));
    QCOMPARE(QString(output).remove(shown), QString::fromUtf8(result));
    // No progress bar appears if standard error is not a terminal.
    const ToolResult piped = mTool->Run(arguments);
    QByteArray lines = piped.Output + piped.Errors;
    QCOMPARE(lines.replace('\n', "\r\n"), result);
}

void tst_ToolGeneral::Terminal_progressBeforeJson()
{
    QVERIFY(mTool->Write(u"a.xml"_s, "<a b='1'/>"));
    const ProgressWithoutDelay environment;
    const QByteArray output = mTool->RunOnTerminal({u"xml"_s, u"list"_s, u"a.xml"_s, u"--json"_s}).Output;
    const QByteArray clear = "\r\x1b[K";
    QVERIFY2(output.startsWith(clear + "[...") && output.count(clear) >= 2, output.constData());
    const QByteArray json = output.sliced(output.lastIndexOf(clear) + clear.size());
    QCOMPARE(QJsonDocument::fromJson(json).object().value(u"name"_s).toString(), u"a"_s);
}

void tst_ToolGeneral::Terminal_progressOfPipe()
{
    QVERIFY(mTool->Write(u"a.xml"_s, "<a b='1'/>"));
    const ProgressWithoutDelay environment;
    QCOMPARE(mTool->RunShell(u"mkfifo pipe"_s).ExitCode, 0);
    const TestSupport::RunningTool writer(*mTool, u"cat a.xml > pipe"_s);
    const QByteArray output = mTool->RunOnTerminal({u"xml"_s, u"get"_s, u"pipe"_s, u"/"_s, u"b"_s}).Output;
    QVERIFY2(output.startsWith("\r\x1b[Kpipe, 10 bytes\r\x1b[K"), output.constData());
    QVERIFY2(output.endsWith("\r\x1b[K1\r\n"), output.constData());
}

void tst_ToolGeneral::Terminal_noProgressElsewhere()
{
    QFile file(mTool->Path(u"large"_s));
    QVERIFY(file.open(QIODevice::WriteOnly));
    QVERIFY(file.resize(qint64{1} << 28));
    QCOMPARE(Run({u"hash"_s, u"large"_s}), u"1f5039e50bd66b290c56684d8550c6c2  large\n=> 0\n"_s);
}

void tst_ToolGeneral::Locale_C()
{
    QVERIFY(mTool->Write(u"\u00fc.xml"_s, "<\u00e4/>"));
    QCOMPARE(mTool->RunShell(u"LC_ALL=C \"$TOOL\" xml list \u00fc.xml"_s).ToText(), u"\u00e4\n=> 0\n"_s);
}

void tst_ToolGeneral::Memory_exhausted()
{
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    QSKIP("sanitizers need the address space");
#endif
    QFile file(mTool->Path(u"huge.xml"_s));
    QVERIFY(file.open(QIODevice::WriteOnly));
    QVERIFY(file.resize(qint64{900} << 20));
    file.close();
    QCOMPARE(mTool->RunShell(u"ulimit -v 700000; \"$TOOL\" xml list huge.xml"_s).ToText(),
             u"! qvutil: huge.xml: not enough memory\n=> 2\n"_s);
    QCOMPARE(mTool->RunShell(u"ulimit -v 700000; \"$TOOL\" xml get huge.xml / a"_s).ToText(),
             u"! qvutil: huge.xml: not enough memory\n=> 2\n"_s);
    QVERIFY(QFile::resize(mTool->Path(u"huge.xml"_s), (qint64{1} << 30) + 1));
    QCOMPARE(Run({u"xml"_s, u"list"_s, u"huge.xml"_s}),
             u"! qvutil: huge.xml: larger than 1 GiB, the maximum size that the tool reads\n=> 2\n"_s);
}

void tst_ToolGeneral::Manual_namesEverything()
{
    const ToolResult result
        = mTool->Run({u"manual"_s, QStringLiteral(QVUTIL_SOURCE_DIR "/docs/man/qvutil.1.in")});
    QCOMPARE(result.ExitCode, 0);
    const QString page = QString::fromUtf8(result.Output);
    QVERIFY(page.contains(u".SH NAME\n"_s) && page.contains(u".SH EXIT STATUS\n"_s));
    QVERIFY(!page.contains(QRegularExpression(u"@[A-Z]+@"_s)));
    for (const Command& command : Commands()) {
        if (!Section(command.Help, u"Commands"_s).isEmpty())
            continue;
        const QString title = u"\n.SS qvutil "_s + command.Path.join(u' ');
        const qsizetype start = page.indexOf(title);
        QVERIFY2(start >= 0, qPrintable(title));
        const QString section = page.sliced(start, page.indexOf(u"\n.S"_s, start + title.size()) - start);
        for (const QString& name : OptionNames(command.Help)) {
            QVERIFY2(section.contains(u"\\fB"_s + QString(name).replace(u'-', u"\\-"_s) + u"\\fR"_s),
                     qPrintable(title + u' ' + name));
        }
    }
}

void tst_ToolGeneral::Manual_badFrame()
{
    QCOMPARE(Run({u"manual"_s, u"none"_s}), u"! qvutil: none: No such file or directory\n=> 2\n"_s);
    QCOMPARE(Run({u"manual"_s, u"-"_s}, "a @VERSION@ b"),
             u"a "_s + QString::fromUtf8(mTool->Run({u"--version"_s}).Output).trimmed().sliced(7)
                 + u" b(no line break)\n=> 0\n"_s);
}

void tst_ToolGeneral::Completion_namesEverything_data()
{
    QTest::addColumn<QString>("shell");
    QTest::addColumn<QString>("option"); // how the script writes a long option
    for (const char* shell : {"bash", "zsh"})
        QTest::newRow(shell) << QString::fromLatin1(shell) << u"%1"_s;
    QTest::newRow("fish") << u"fish"_s << u"-l %1 "_s;
}

void tst_ToolGeneral::Completion_namesEverything()
{
    QFETCH(const QString, shell);
    QFETCH(const QString, option);

    const ToolResult result = mTool->Run({u"completion"_s, shell});
    QCOMPARE(result.ExitCode, 0);
    const QStringList lines = QString::fromUtf8(result.Output).split(u'\n');
    const QString script = QString::fromUtf8(result.Output);
    for (const Command& command : Commands()) {
        const QString name = command.Path.join(u' ');
        QVERIFY2(script.contains(name), qPrintable(name));
        for (const QString& optionName : OptionNames(command.Help)) {
            if (!optionName.startsWith(u"--"_s))
                continue;
            const QString bare = shell == u"fish"_s ? optionName.sliced(2) : optionName;
            QVERIFY2(script.contains(option.arg(bare)), qPrintable(name + u' ' + optionName));
        }
    }
    if (QStandardPaths::findExecutable(shell).isEmpty())
        QSKIP("this shell is not installed, and no other can check the syntax");
    QVERIFY(mTool->Write(u"script"_s, result.Output));
    QCOMPARE(mTool->RunShell(shell + u" -n script"_s).ToText(), u"=> 0\n"_s);
}

void tst_ToolGeneral::Completion_candidates_data()
{
    QTest::addColumn<QString>("shell");
    QTest::addColumn<QString>("line");
    QTest::addColumn<QStringList>("expected");

    struct Case
    {
        const char* Name;
        QString Line;
        QStringList Expected;
    };
    const QStringList files = {u"File"_s};
    const Case cases[] = {
        {"group", u"qvutil setti"_s, {u"settings"_s}},
        {"command", u"qvutil xml li"_s, {u"list"_s}},
        {"all commands",
         u"qvutil xml "_s,
         {u"cat"_s, u"delete"_s, u"format"_s, u"get"_s, u"list"_s, u"move"_s, u"rename"_s, u"set"_s}},
        {"group after help", u"qvutil help setti"_s, {u"settings"_s}},
        {"command after help", u"qvutil help xml li"_s, {u"list"_s}},
        {"option", u"qvutil xml get a.xml --ty"_s, {u"--type"_s}},
        {"option of a command that talks to servers", u"qvutil ipc doctor --conn"_s, {u"--connect"_s}},
        {"options of the tool", u"qvutil --"_s, {u"--help"_s, u"--version"_s}},
        {"no such option", u"qvutil xml get list --inn"_s, {}},
        {"file", u"qvutil xml get Fi"_s, files},
        {"name of a command as an argument", u"qvutil xml get list Fi"_s, files},
        {"type", u"qvutil xml get a.xml Panel --type int"_s, {u"int"_s, u"int64"_s}},
        {"type, short option", u"qvutil xml set -t dou"_s, {u"double"_s}},
        {"type, after =", u"qvutil xml set a.xml Panel Width --type=dou"_s, {u"double"_s}},
        {"format", u"qvutil settings export a.xml --format "_s, {u"ini"_s, u"json"_s}},
        {"style of JSON", u"qvutil hash --json="_s, {u"lines"_s, u"pretty"_s}},
        {"file after a style of JSON", u"qvutil hash --json=lines Fi"_s, files},
        {"shell", u"qvutil completion "_s, {u"bash"_s, u"fish"_s, u"zsh"_s}},
        {"locale", u"qvutil locale show de-D"_s, {u"de-DE"_s}},
        {"second locale", u"qvutil locale show en-GB de-D"_s, {u"de-DE"_s}},
        {"grid", u"qvutil grid show "_s, {u"desk"_s, u"two words"_s}},
        {"server", u"qvutil ipc doctor vi"_s, {u"viewer"_s}},
        {"grid, tool in the home folder", u"~/qvutil grid show "_s, {u"desk"_s, u"two words"_s}},
        {"grid, tool in a folder with a space", u"~/a\\ b/qvutil grid show "_s, {u"desk"_s, u"two words"_s}},
        {"server, after an option", u"qvutil ipc call --timeout 5 vi"_s, {u"viewer"_s}},
        {"server, after an option with =", u"qvutil ipc call --timeout=5 vi"_s, {u"viewer"_s}},
        {"server, but not the message", u"qvutil ipc call viewer Fi"_s, files},
        {"message after a name with a dash", u"qvutil ipc call 'a -b' Fi"_s, files},
        {"value of an option without a list", u"qvutil ipc call viewer Ask --timeout Fi"_s, files},
    };
    for (const char* shell : {"bash", "fish", "zsh"}) {
        for (const Case& testCase : cases) {
            // Bash completes file names itself if the script offers nothing.
            const bool isLeftToBash = qstrcmp(shell, "bash") == 0 && testCase.Expected == files;
            QTest::addRow("%s: %s", shell, testCase.Name)
                << QString::fromLatin1(shell) << testCase.Line
                << (isLeftToBash ? QStringList() : testCase.Expected);
        }
    }
}

void tst_ToolGeneral::Completion_candidates()
{
    QFETCH(const QString, shell);
    QFETCH(const QString, line);
    QFETCH(const QStringList, expected);

    if (QStandardPaths::findExecutable(shell).isEmpty())
        QSKIP("this shell is not installed");
    QCOMPARE(Complete(shell, line).Offered, expected);
}

void tst_ToolGeneral::Completion_foreignNames_data()
{
    QTest::addColumn<QString>("shell");
    QTest::addColumn<QString>("begun"); // the part of the name that is typed
    QTest::addColumn<QStringList>("expected");
    QTest::addColumn<QString>("inserted"); // the replacement for that part

    const QStringList name(u"$(touch touched)"_s);
    const QString escaped = uR"(\$\(touch\ touched\))"_s;
    const QString quoted = u"'$(touch touched)'"_s;
    QTest::newRow("bash") << u"bash"_s << u"\\$"_s << name << escaped;
    QTest::newRow("bash, single quotes") << u"bash"_s << u"'$"_s << name << name.first();
    QTest::newRow("bash, double quotes") << u"bash"_s << u"\"$"_s << QStringList() << QString();
    QTest::newRow("bash, name with a quote") << u"bash"_s << u"it"_s << QStringList(u"it's"_s) << u"it\\'s"_s;
    QTest::newRow("bash, name with a quote in quotes") << u"bash"_s << u"'it"_s << QStringList() << QString();
    QTest::newRow("zsh") << u"zsh"_s << u"\\$"_s << name << escaped;
    QTest::newRow("zsh, single quotes") << u"zsh"_s << u"'$"_s << name << quoted;
    QTest::newRow("zsh, double quotes") << u"zsh"_s << u"\"\\$"_s << name << u"\"\\$(touch touched)\""_s;
    QTest::newRow("zsh, name with a quote") << u"zsh"_s << u"it"_s << QStringList(u"it's"_s) << u"it\\'s"_s;
    // Fish adds quotes when it inserts a candidate, and lists it without them.
    QTest::newRow("fish") << u"fish"_s << u"\\$"_s << name << QString();
    QTest::newRow("fish, single quotes") << u"fish"_s << u"'$"_s << name << QString();
}

// Any user can give a server a name that a shell would execute.
void tst_ToolGeneral::Completion_foreignNames()
{
    QFETCH(const QString, shell);
    QFETCH(const QString, begun);
    QFETCH(const QStringList, expected);
    QFETCH(const QString, inserted);

    if (QStandardPaths::findExecutable(shell).isEmpty())
        QSKIP("this shell is not installed");
    const Completion completion = Complete(shell, u"qvutil ipc doctor "_s + begun);
    QCOMPARE(completion.Offered, expected);
    QCOMPARE(completion.Inserted, inserted);
    QVERIFY(!QFile::exists(mTool->Path(u"touched"_s)));
}

void tst_ToolGeneral::Completion_homeFolder_data()
{
    QTest::addColumn<QString>("shell");

    QTest::newRow("bash") << u"bash"_s;
    QTest::newRow("zsh") << u"zsh"_s;
}

// These shells do not expand a tilde after '=', so completion has to.
void tst_ToolGeneral::Completion_homeFolder()
{
    QFETCH(const QString, shell);

    if (QStandardPaths::findExecutable(shell).isEmpty())
        QSKIP("this shell is not installed");
    const QString inserted = Complete(shell, u"qvutil xliff fill a.xlf --output=~/Fi"_s).Inserted;
    QCOMPARE(inserted.section(u'=', -1), mTool->Path(u"File"_s));
}

tst_ToolGeneral::Completion tst_ToolGeneral::Complete(const QString& shell, const QString& line) const
{
    // Split the line as bash does: also at '='.
    static const QRegularExpression word(uR"(=|("[^"]*"?|'[^']*'?|\\.|[^\s'"=\\])+)"_s);
    QStringList words;
    for (QRegularExpressionMatchIterator matches = word.globalMatch(line); matches.hasNext();)
        words += matches.next().captured();
    if (line.endsWith(u' '))
        words += QString();
    const QDir scripts(QStringLiteral(QVUTIL_SOURCE_DIR "/tests/tool/completion"));
    const bool isPrepared = mTool->Write(u"words"_s, words.join(u'\n').toUtf8() + '\n')
        && mTool->Write(u"script"_s, mTool->Run({u"completion"_s, shell}).Output)
        && mTool->Write(u"line"_s, line.toUtf8())
        && mTool->Write(u"File"_s, {})
        // This stub prints fixed names of grids and servers, and passes all other calls to the tool.
        // tst_ToolGrid and tst_ToolIpcList test the tool's own answers.
        && mTool->Write(u"qvutil"_s,
                        "#!/bin/sh\ncase \"$*\" in\n"
                        "'completion --list grids') printf '%s\\n' desk 'two words' ;;\n"
                        "'completion --list servers') printf '%s\\n' viewer '$(touch touched)' \"it's\" ;;\n"
                        "*) exec \"$TOOL\" \"$@\" ;;\nesac\n")
        && QFile::setPermissions(mTool->Path(u"qvutil"_s), QFile::Permissions(0x7755))
        && QDir(mTool->Path({})).mkpath(u"a b"_s) && QFile::link(u"../qvutil"_s, mTool->Path(u"a b/qvutil"_s))
        && QFile::copy(scripts.filePath(u"complete."_s + shell), mTool->Path(u"try"_s))
        && QFile::copy(scripts.filePath(u"zshrc"_s), mTool->Path(u".zshrc"_s));
    // The shell must not read the settings and history of the user.
    const QString start
        = u"HOME=$PWD ZDOTDIR=$PWD XDG_CONFIG_HOME=$PWD/config XDG_DATA_HOME=$PWD/data PATH=$PWD:$PATH "_s;
    const QString options = shell == u"bash"_s ? u"--norc"_s
        : shell == u"fish"_s                   ? u"--no-config"_s
                                               : u"-f"_s;
    const ToolResult result = mTool->RunShell(start + shell + u' ' + options + u" try"_s);
    if (!isPrepared || result.ExitCode != 0 || !result.Errors.isEmpty())
        return {.Offered = {u"failed: "_s + result.ToText()}, .Inserted = {}};
    QStringList offered = QString::fromUtf8(result.Output).split(u'\n', Qt::SkipEmptyParts);
    // Fish adds a description, and repeats the name of an option before its value.
    for (QString& candidate : offered)
        candidate = candidate.section(u'\t', 0, 0).section(u'=', -1);
    offered.sort();
    return {.Offered = offered,
            .Inserted = QString::fromUtf8(mTool->Read(u"inserted"_s))
                            .remove(u'\n')
                            .remove(u"qvutil ipc doctor "_s)
                            .trimmed()};
}

void tst_ToolGeneral::Completion_unknownShell()
{
    QCOMPARE(Run({u"completion"_s, u"ksh"_s}),
             u"! qvutil: there is no completion for 'ksh'; shells are bash, zsh and fish\n"
             "! Try 'qvutil completion --help'.\n=> 2\n"_s);
}

void tst_ToolGeneral::Hash_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QString>("expected");

    QTest::newRow("file") << QStringList{u"abc"_s} << u"900150983cd24fb0d6963f7d28e17f72  abc\n=> 0\n"_s;
    QTest::newRow("empty file") << QStringList{u"empty"_s}
                                << u"d41d8cd98f00b204e9800998ecf8427e  empty\n=> 0\n"_s;
    QTest::newRow("several files, some bad")
        << QStringList{u"none"_s, u"abc"_s, u"."_s, u""_s, u"empty"_s}
        << u"900150983cd24fb0d6963f7d28e17f72  abc\nd41d8cd98f00b204e9800998ecf8427e  empty\n"
           "! qvutil: none: No such file or directory\n! qvutil: .: is a folder\n"
           "! qvutil: \"\": the file name is empty\n=> 2\n"_s;
    QTest::newRow("name in brackets")
        << QStringList{u"[a,b]"_s} << u"900150983cd24fb0d6963f7d28e17f72  [a,b]\n=> 0\n"_s;
    QTest::newRow("name with a line break")
        << QStringList{u"a\nb"_s} << u"900150983cd24fb0d6963f7d28e17f72  a\\nb\n=> 0\n"_s;
    QTest::newRow("name like an option")
        << QStringList{u"--"_s, u"-x"_s} << u"900150983cd24fb0d6963f7d28e17f72  -x\n=> 0\n"_s;
    QTest::newRow("text") << QStringList{u"--text"_s, u"abc"_s}
                          << u"900150983cd24fb0d6963f7d28e17f72  abc\n=> 0\n"_s;
    QTest::newRow("empty text") << QStringList{u"--text"_s, u""_s}
                                << u"d41d8cd98f00b204e9800998ecf8427e  \n=> 0\n"_s;
    QTest::newRow("texts in brackets and a file")
        << QStringList{u"--text"_s, u"[a,b]"_s, u"abc"_s, u"--text"_s, u"\u00e4"_s}
        << u"2c3d331bc98b44e71cb2aae9edadca7e  [a,b]\n8419b71c87a225a2c70b50486fbee545  \u00e4\n"
           "900150983cd24fb0d6963f7d28e17f72  abc\n=> 0\n"_s;
}

void tst_ToolGeneral::Hash()
{
    QFETCH(const QStringList, arguments);
    QFETCH(const QString, expected);

    QVERIFY(mTool->Write(u"empty"_s, ""));
    for (const QString& name : {u"abc"_s, u"[a,b]"_s, u"a\nb"_s, u"-x"_s})
        QVERIFY(mTool->Write(name, "abc"));
    QCOMPARE(Run(QStringList(u"hash"_s) + arguments), expected);
}

void tst_ToolGeneral::Hash_json()
{
    QVERIFY(mTool->Write(u"abc"_s, "abc"));
    const ToolResult result
        = mTool->Run({u"hash"_s, u"abc"_s, u"none"_s, u"--text"_s, u"abc"_s, u"--json"_s});
    QCOMPARE(result.ExitCode, 2);
    const QString digest = u"900150983cd24fb0d6963f7d28e17f72"_s;
    QCOMPARE(QJsonDocument::fromJson(result.Output).array(),
             (QJsonArray{QJsonObject{{u"text"_s, u"abc"_s}, {u"md5"_s, digest}},
                         QJsonObject{{u"file"_s, u"abc"_s}, {u"md5"_s, digest}}}));
}

void tst_ToolGeneral::Hash_input()
{
    QCOMPARE(Run({u"hash"_s, u"-"_s}, "abc"), u"900150983cd24fb0d6963f7d28e17f72  -\n=> 0\n"_s);
    QCOMPARE(mTool->RunShell(u"mkfifo pipe; printf abc > pipe & \"$TOOL\" hash pipe"_s).ToText(),
             u"900150983cd24fb0d6963f7d28e17f72  pipe\n=> 0\n"_s);
}

void tst_ToolGeneral::Hash_largeFile()
{
    QByteArray content;
    for (int i = 0; i < 100000; ++i)
        content += QByteArray::number(i);
    QVERIFY(mTool->Write(u"large"_s, content));
    const QString digest
        = QString::fromLatin1(QCryptographicHash::hash(content, QCryptographicHash::Md5).toHex());
    QCOMPARE(Run({u"hash"_s, u"large"_s}), digest + u"  large\n=> 0\n"_s);
    QCOMPARE(Run({u"hash"_s, u"-"_s}, content), digest + u"  -\n=> 0\n"_s);
}

QTEST_GUILESS_MAIN(tst_ToolGeneral)
#include "tst_ToolGeneral.moc"
