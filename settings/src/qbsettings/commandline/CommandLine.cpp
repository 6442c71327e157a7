// How a command line is read.

#include <qbsettings/commandline/CommandLine.hpp>

#include <algorithm>
#include <sstream>
#include <utility>

#include <CLI/CLI.hpp>
#include <qbsettings/commandline/Options.hpp>
#include <qbsettings/commandline/Words.hpp>
#include <qbsettings/text/Failure.hpp>
#include <qbsettings/text/Near.hpp>
#include <qbsettings/text/Text.hpp>
#include <settingscore/roots/SettingsContext.hpp>

namespace qbsettings {

namespace {

std::string noCommand(std::string const& word) {
    std::vector<std::string> names = {"help"};
    for (CommandInfo const& info : commands()) {
        if (!info.hidden) names.emplace_back(info.name);
    }
    return "there is no command " + inQuotes(asLine(word)) + suggestion(word, names);
}

std::string withHelp(std::string const& problem, std::string const& command) {
    return problem + (problem.back() == '?' ? " See" : "; see") + " 'qbsettings" + command +
           " --help'";
}

/// "help" and "help COMMAND" as "--help" and "COMMAND --help".
std::vector<std::string> withoutHelpCommand(std::vector<std::string> const& words) {
    if (words.empty() || words.front() != "help") return words;
    if (words.size() == 1) return {"--help"};
    auto const infos = commands();
    bool const isThere = std::any_of(
        infos.begin(), infos.end(), [&](CommandInfo const& info) { return words[1] == info.name; });
    if (!isThere && words[1].rfind('-', 0) != 0) {
        throw Failure(wrongUsage, withHelp(noCommand(words[1]), {}));
    }
    return {words[1], "--help"};
}

struct Reader {
    CLI::App app{
        "Read and change settings: one typed tree of products, groups and keys, with\n"
        "values on the levels session, user and factory.",
        "qbsettings"};
    using Candidate = std::pair<std::unique_ptr<Command>, std::unique_ptr<Options>>;

    CommandLine line;
    std::vector<Candidate> candidates;
    std::size_t chosen = 0;

    explicit Reader(std::vector<std::string> const& words) {
        app.require_subcommand(1);
        app.option_defaults()->multi_option_policy(CLI::MultiOptionPolicy::Throw);
        app.add_option("--host-root", line.directories.hostRoot,
                       "Folder where the host is installed")
            ->type_name("DIR");
        app.add_option("--factory-dir", line.directories.factory,
                       "Folder of the products' factory files")
            ->type_name("DIR");
        app.add_option("--user-dir", line.directories.user, "Folder of the user's files")
            ->type_name("DIR");
        app.add_flag("--quiet", line.flags.quiet, "Print nothing but messages, and no progress");
        app.set_version_flag("--version", std::string("qbsettings ") + libqbsettingscore_version);
        app.footer(
            "Exit status: 0 done, 1 refused or failed, 2 wrong usage, 3 no value or no such "
            "name.\nExample: qbsettings list plotter\nSee 'qbsettings help COMMAND' or "
            "'qbsettings COMMAND --help' for more about a command.");
        // To declare what no word names would be most of the work of a short command.
        bool const helps = std::any_of(words.begin(), words.end(), mayAskForHelp);
        for (CommandInfo const& info : commands()) {
            if (helps || std::find(words.begin(), words.end(), info.name) != words.end()) add(info);
        }
    }

    static bool mayAskForHelp(std::string const& word) {
        return word.rfind("--help", 0) == 0 ||
               (word[0] == '-' && word[1] != '-' && word.find('h') != std::string::npos);
    }

    void add(CommandInfo const& info) {
        CLI::App& sub = *app.add_subcommand(info.name, info.what);
        sub.fallthrough();
        sub.footer(std::string("Example: qbsettings ") + info.example);
        if (info.hidden) sub.group("");
        Candidate& candidate =
            candidates.emplace_back(info.make(), std::make_unique<Options>(sub, line.flags));
        candidate.first->declare(*candidate.second);
        sub.callback([this, index = candidates.size() - 1] { chosen = index; });
    }

    /// Takes the marks off again, and refuses texts that are broken.
    void finish() {
        for (auto* word :
             {&line.directories.hostRoot, &line.directories.factory, &line.directories.user}) {
            unmark(*word);
        }
        candidates[chosen].second->finish();
        line.command = std::move(candidates[chosen].first);
    }

    void parse(std::vector<std::string> const& words) {
        // The parser takes words from the end.
        std::vector<std::string> reversed = markWords(words);
        std::reverse(reversed.begin(), reversed.end());
        try {
            app.parse(reversed);
            finish();
        } catch (CLI::Success const& request) {
            std::ostringstream text;
            app.exit(request, text, text);
            line.text = text.str();
        } catch (CLI::ParseError const& error) {
            auto const selected = app.get_subcommands();
            CLI::App const& sub = selected.empty() ? app : *selected.front();
            std::string const command = selected.empty() ? "" : " " + sub.get_name();
            throw Failure(wrongUsage, withHelp(problem(sub, error), command));
        }
    }

    /// What is wrong with a command line, in words of the program's own where the parser's mislead.
    std::string problem(CLI::App const& sub, CLI::ParseError const& error) const {
        std::vector<std::string> unknown = sub.remaining();
        // What a command does not take is handed up.
        if (unknown.empty()) unknown = app.remaining();
        if (!unknown.empty()) {
            std::string word = unknown.front();
            unmark(word);
            if (!word.empty() && word.front() == '-') {
                bool const takesValues = sub.get_option_no_throw("VALUE") != nullptr;
                return "there is no option " + inQuotes(word) +
                       (takesValues ? ", and a value that begins with '-' goes after '--'" : "");
            }
            if (&sub == &app) return noCommand(word);
            return inQuotes(word) + " is one argument too many";
        }
        if (&sub == &app && error.get_name() == "RequiredError") return "a command is missing";
        return withoutMarks(error.what());
    }
};

}  // namespace

CommandLine parseCommandLine(std::vector<std::string> const& given) {
    std::vector<std::string> const words = withoutHelpCommand(given);
    Reader reader(words);
    reader.parse(words);
    return std::move(reader.line);
}

}  // namespace qbsettings
