// SPDX-FileCopyrightText: 2026 The QvUtil developers
// SPDX-License-Identifier: MIT

#include "cli/Arguments.h"

#include "cli/CommandTree.h"
#include "cli/Suggestion.h"

#include <algorithm>
#include <map>

using namespace Qt::StringLiterals;

namespace Quorvin::Tool {
namespace {

// CLI11 splits "[a,b]", and treats arguments that begin with '-' as options. This prefix prevents both.
constexpr char kWholeMark = '\x1f';

constexpr std::string_view kJsonName = "--json";

QString ToText(std::string_view text)
{
    return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

bool NeedsValue(const CLI::Option& option)
{
    return option.get_items_expected_min() > 0;
}

// Returns the first long name, or the short name. CLI11 returns no name for an option that help does not
// show.
std::string NameOf(const CLI::Option& option)
{
    if (!option.get_lnames().empty())
        return "--" + option.get_lnames().front();
    return option.get_snames().empty() ? std::string() : "-" + option.get_snames().front();
}

// Returns the required part of an argument's name: "VALUE" of "[NAME] VALUE ...".
QString RequiredName(const CLI::Option& argument)
{
    QStringList words = QString::fromStdString(ShownName(argument)).split(u' ', Qt::SkipEmptyParts);
    words.removeIf([](const QString& word) { return word.startsWith(u'[') || word == "..."_L1; });
    return words.join(u' ');
}

// Without a filter, get_subcommands() returns only the commands that were already parsed.
const CLI::App* FindCommand(const CLI::App& parent, std::string_view name)
{
    const auto found = parent.get_subcommands(
        [name](const CLI::App* child) { return std::string_view(child->get_name()) == name; });
    return found.empty() ? nullptr : found.front();
}

QStringList CommandNames(const CLI::App& parent)
{
    QStringList names;
    const auto shown
        = parent.get_subcommands([](const CLI::App* child) { return !child->get_group().empty(); });
    for (const CLI::App* child : shown)
        names.append(QString::fromStdString(child->get_name()));
    return names;
}

QStringList OptionNames(const CLI::App& command)
{
    QStringList names;
    const auto shown = command.get_options(
        [](const CLI::Option* option) { return !option->get_positional() && !option->get_group().empty(); });
    for (const CLI::Option* option : shown) {
        for (const std::string& name : option->get_lnames())
            names.append("--"_L1 + QString::fromStdString(name));
    }
    return names;
}

// Reads the arguments one by one, and stores the first problem.
class Scanner
{
public:
    explicit Scanner(const CLI::App& root) { mScan.Command = &root; }

    ArgumentScan Scan(int argc, const char* const* argv)
    {
        bool isEnd = false;
        for (int i = 1; i < argc && mScan.Wanted == ArgumentScan::Run; ++i) {
            const std::string_view argument = argv[i];
            const std::string_view next = i + 1 < argc ? argv[i + 1] : std::string_view();
            mHasNext = i + 1 < argc;
            if (isEnd)
                TakeText(argument, true);
            else if (argument == "--")
                isEnd = true;
            else if (argument.starts_with("--"))
                i += TakeLongOption(argument, next) ? 1 : 0;
            else if (StartsWithOption(argument))
                i += TakeShortOptions(argument, next) ? 1 : 0;
            else
                TakeText(argument, false);
        }
        if (mScan.Wanted == ArgumentScan::Run && mScan.Problem.isEmpty())
            CheckWhatIsMissing();
        std::reverse(mScan.Arguments.begin(), mScan.Arguments.end());
        return std::move(mScan);
    }

private:
    // A '-' followed by a digit begins a negative number, not an option.
    static bool StartsWithOption(std::string_view argument)
    {
        return argument.size() > 1 && argument[0] == '-' && (argument[1] < '0' || argument[1] > '9');
    }

    [[nodiscard]] bool IsGroup() const { return !mScan.Command->get_subcommands({}).empty(); }

    void Reject(const QString& problem)
    {
        if (mScan.Problem.isEmpty())
            mScan.Problem = problem;
    }

    // \param name  the part of the argument to compare with the candidates
    void RejectUnknown(std::string_view argument, std::string_view name, const QStringList& candidates)
    {
        const QString problem
            = IsGroup() ? u"there is no command or option '%1'"_s : u"unexpected argument '%1'"_s;
        Reject(problem.arg(ToText(argument)) + DidYouMean(ToText(name), candidates));
    }

    void TakeText(std::string_view argument, bool isBehindEnd)
    {
        const CLI::App* child = isBehindEnd ? nullptr : FindCommand(*mScan.Command, argument);
        if (child) {
            mScan.Command = child;
            mScan.Arguments.emplace_back(argument);
            return;
        }
        if (IsGroup()) {
            RejectUnknown(argument, argument, isBehindEnd ? QStringList() : CommandNames(*mScan.Command));
            return;
        }
        if (++mTextCount > MaxTextCount())
            RejectUnknown(argument, argument, {});
        mScan.Arguments.emplace_back(kWholeMark + std::string(argument));
    }

    // \return whether the next argument was the option's value
    bool TakeLongOption(std::string_view argument, std::string_view next)
    {
        const std::size_t equals = argument.find('=');
        const std::string_view name = argument.substr(0, equals);
        const CLI::Option* option = FindOption(name);
        if (!option) {
            RejectUnknown(argument, name, OptionNames(*mScan.Command));
            return false;
        }
        if (equals == std::string_view::npos)
            return Take(*option, next);
        const std::string_view value = argument.substr(equals + 1);
        if (NeedsValue(*option))
            AddValue(*option, value);
        else if (name == kJsonName)
            TakeJsonStyle(*option, value);
        else
            Reject(ToText(name) + u" takes no value"_s);
        return false;
    }

    // Reads short names: several flags may share one '-', and a value may follow the name of its option
    // directly.
    bool TakeShortOptions(std::string_view argument, std::string_view next)
    {
        for (std::size_t i = 1; i < argument.size(); ++i) {
            const CLI::Option* option = FindOption(std::string{'-', argument[i]});
            if (!option) {
                RejectUnknown(argument, argument, OptionNames(*mScan.Command));
                return false;
            }
            if (NeedsValue(*option) && i + 1 < argument.size()) {
                AddValue(*option, argument.substr(i + 1));
                return false;
            }
            if (Take(*option, next))
                return true;
        }
        return false;
    }

    bool Take(const CLI::Option& option, std::string_view next)
    {
        if (&option == mScan.Command->get_help_ptr()) {
            mScan.Wanted = ArgumentScan::Help;
        } else if (&option == mScan.Command->get_version_ptr()) {
            mScan.Wanted = ArgumentScan::Version;
        } else if (!NeedsValue(option)) {
            if (mCounts[&option]++ == 0)
                mScan.Arguments.push_back(NameOf(option));
        } else if (!mHasNext) {
            Reject(ToText(NameOf(option)) + u" needs a value"_s);
        } else {
            AddValue(option, next);
            return true;
        }
        return false;
    }

    void AddValue(const CLI::Option& option, std::string_view value)
    {
        if (++mCounts[&option] > option.get_items_expected_max())
            Reject(ToText(NameOf(option)) + u" is given more than once"_s);
        mScan.Arguments.push_back(NameOf(option));
        mScan.Arguments.push_back(kWholeMark + std::string(value));
    }

    void TakeJsonStyle(const CLI::Option& option, std::string_view style)
    {
        if (style == "pretty")
            mScan.Json = JsonStyle::Pretty;
        else if (style == "lines")
            mScan.Json = JsonStyle::Lines;
        else
            Reject(u"--json: '%1' is neither pretty nor lines"_s.arg(ToText(style)));
        (void)Take(option, {});
    }

    [[nodiscard]] const CLI::Option* FindOption(std::string_view name) const
    {
        return name == "--" ? nullptr : mScan.Command->get_option_no_throw(std::string(name));
    }

    [[nodiscard]] std::vector<const CLI::Option*> Positionals() const
    {
        return mScan.Command->get_options([](const CLI::Option* option) { return option->get_positional(); });
    }

    [[nodiscard]] int MaxTextCount() const
    {
        int count = 0;
        for (const CLI::Option* option : Positionals())
            count += std::min(option->get_items_expected_max(), kManyTexts);
        return count;
    }

    void CheckWhatIsMissing()
    {
        if (IsGroup()) {
            mScan.IsIncomplete = true;
            return;
        }
        QStringList missing;
        int texts = mTextCount;
        for (const CLI::Option* option : Positionals()) {
            if (option->get_required() && texts <= 0)
                missing.append(RequiredName(*option));
            texts -= std::max(option->get_items_expected_min(), 1);
        }
        const auto options = mScan.Command->get_options(
            [](const CLI::Option* option) { return !option->get_positional() && option->get_required(); });
        for (const CLI::Option* option : options) {
            if (mCounts.find(option) == mCounts.end())
                missing.append(ToText(NameOf(*option)));
        }
        if (missing.isEmpty())
            return;
        const QString verb = missing.size() == 1 ? u" is required"_s : u" are required"_s;
        const QString last = missing.takeLast();
        Reject((missing.isEmpty() ? last : missing.join(", "_L1) + " and "_L1 + last) + verb);
    }

    ArgumentScan mScan;
    std::map<const CLI::Option*, int> mCounts;
    int mTextCount = 0;
    bool mHasNext = false;
};

} // namespace

ArgumentScan ScanArguments(const CLI::App& root, int argc, const char* const* argv)
{
    return Scanner(root).Scan(argc, argv);
}

QString FromArgument(std::string_view argument)
{
    if (argument.starts_with(kWholeMark))
        argument.remove_prefix(1);
    return ToText(argument);
}

} // namespace Quorvin::Tool
