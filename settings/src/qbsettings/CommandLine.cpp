// Which commands there are, and how their command lines are read.

#include <qbsettings/CommandLine.hpp>

#include <algorithm>
#include <sstream>

#include <CLI/CLI.hpp>
#include <qbsettings/Failure.hpp>
#include <qbsettings/Text.hpp>
#include <qbsettings/Words.hpp>
#include <settingscore/roots/SettingsContext.hpp>

namespace qbsettings {

namespace {

void requireUtf8(std::string const& text) {
    if (!isUtf8(text)) throw Failure(inQuotes(asLine(text)) + " is not UTF-8");
}

struct Reader {
    CLI::App app{
        "Reads and changes settings: one typed tree of products, groups and keys, with\n"
        "values on the levels session, user and factory.",
        "qbsettings"};
    CommandLine line;

    Reader() {
        app.require_subcommand(1);
        app.option_defaults()->multi_option_policy(CLI::MultiOptionPolicy::Throw);
        app.add_option("--host-root", line.places.hostRoot, "Folder where the host is installed")
            ->type_name("DIR");
        app.add_option("--factory-dir", line.places.factoryDirectory,
                       "Folder of the products' factory files")
            ->type_name("DIR");
        app.add_option("--user-dir", line.places.userDirectory, "Folder of the user's files")
            ->type_name("DIR");
        app.set_version_flag("--version", std::string("qbsettings ") + libqbsettingscore_version);
        app.footer(
            "Exit status: 0 done, 1 refused or failed, 2 wrong usage, 3 no value or no such "
            "name.\nExample: qbsettings list plotter\n'qbsettings COMMAND --help' tells "
            "more about a command.");
        addReadCommands();
        addWriteCommands();
        addFileCommands();
    }

    CLI::App& add(char const* name, Command command, char const* what, char const* example) {
        CLI::App& sub = *app.add_subcommand(name, what);
        sub.fallthrough();
        sub.footer(std::string("Example: qbsettings ") + example);
        sub.callback([this, command] { line.command = command; });
        return sub;
    }

    void addName(CLI::App& sub, bool required, char const* what) {
        sub.add_option_function<std::string>(
               "NAME", [this](std::string const& name) { line.arguments.names = {name}; }, what)
            ->required(required)
            ->type_name("");
    }

    void addValues(CLI::App& sub, bool required, char const* what) {
        sub.add_option("VALUE", line.arguments.values, what)->required(required)->type_name("");
    }

    void addLevel(CLI::App& sub, char const* what) {
        sub.add_option("--level", line.arguments.level, what)->type_name("LEVEL");
    }

    void addFile(CLI::App& sub, bool required, char const* what) {
        sub.add_option_function<std::string>(
               "FILE", [this](std::string const& file) { line.arguments.files = {file}; }, what)
            ->required(required)
            ->type_name("");
    }

    void addJson(CLI::App& sub) {
        sub.add_flag("--json", line.arguments.json, "Print one line of JSON");
    }

    void addTarget(CLI::App& sub) {
        sub.add_option("--to", line.arguments.to, "File to write")->required()->type_name("FILE");
        sub.add_flag("--force", line.arguments.force, "Replace the file if it is there");
    }

    void addReadCommands() {
        CLI::App& list = add("list", &listCommand, "Show every key below a name, one line each",
                             "list plotter.pen");
        addName(list, false, "Product, group or key; all products if absent");
        addJson(list);

        CLI::App& get =
            add("get", &getCommand, "Print a value, one element a line", "get plotter.pen.width");
        addName(get, true, "Key");
        addLevel(get, "Look at this level alone: session, user or factory");
        addJson(get);

        CLI::App& describe = add("describe", &describeCommand,
                                 "Tell the rules of a key and its values on every level, or what "
                                 "a group holds",
                                 "describe plotter.pen.width");
        addName(describe, true, "Key, group or product");
        addJson(describe);

        CLI::App& check =
            add("check", &checkCommand,
                "Tell every fault of the settings files with file, line and column, and "
                "what they say in vain",
                "check plotter.settings");
        check
            .add_option("FILE", line.arguments.files,
                        "Files to check; those of all products if "
                        "absent")
            ->type_name("");
        addJson(check);

        addJson(add("dirs", &dirsCommand, "Print the directories in force", "dirs"));

        CLI::App& complete = add("complete", &completeCommand, "Print the names that begin so",
                                 "complete plotter.p");
        // For the completion of shells, not for people.
        complete.group("");
        addName(complete, false, "Beginning of a name");
    }

    void addWriteCommands() {
        CLI::App& set = add("set", &setCommand, "Give a key a value; several make an array",
                            "set plotter.pen.width 0.5\n"
                            "A value that begins with '-' and is no number goes behind '--'.");
        addName(set, true, "Key");
        addValues(set, true, "Value");
        addLevel(set, "Level to write: user (default), or session, which ends with this process");
        set.add_option("--type", line.arguments.type,
                       "Type of the value, for a key that takes any: int32, 'array of string', ...")
            ->type_name("TYPE");

        CLI::App& unset = add("unset", &unsetCommand, "Remove a key's value from a level",
                              "unset plotter.pen.width");
        addName(unset, true, "Key");
        addLevel(unset, "Level to change: user (default) or session");

        CLI::App& setMany = add("set-many", &setManyCommand,
                                "Set the keys of a list, all or none: lines 'name = value', arrays "
                                "as [1, 2]",
                                "set-many changes.txt");
        addFile(setMany, false, "File with the lines; standard input if absent or '-'");
        addLevel(setMany, "Level to write: user (default) or session");
        addJson(setMany);

        CLI::App& newKey = add("add", &addCommand, "Add a key of the user's own",
                               "add plotter.mine.speed --type double 1.5");
        addName(newKey, true, "Full name of the key");
        addValues(newKey, false, "Value; several make an array");
        newKey
            .add_option("--type", line.arguments.type, "Type: int32, 'array of string', any, ...")
            ->required()
            ->type_name("TYPE");

        CLI::App& newGroup =
            add("add-group", &addGroupCommand, "Add a group, or a product of the user's own",
                "add-group plotter.mine");
        addName(newGroup, true, "Full name of the group");

        CLI::App& remove = add("remove", &removeCommand,
                               "Remove a key, a group or a product that has no factory values",
                               "remove plotter.mine");
        addName(remove, true, "Full name");
    }

    void addFileCommands() {
        CLI::App& exported =
            add("export", &exportCommand, "Write settings of one product to a file",
                "export plotter.pen --to pen.settings");
        exported.add_option("NAME", line.arguments.names, "What to write")
            ->required()
            ->type_name("");
        addTarget(exported);
        addLevel(exported, "Values of this level; those in force if absent");

        CLI::App& imported =
            add("import", &importCommand, "Take what a file has and the tree lacks into the tree",
                "import pen.settings --dry-run");
        addFile(imported, true, "Settings file");
        imported
            .add_option("--into", line.arguments.into,
                        "Group that takes the content; the product of the file's name if "
                        "absent")
            ->type_name("NAME");
        addLevel(imported, "Level to write: user (default) or session");
        imported.add_flag("--dry-run", line.arguments.dryRun,
                          "Tell what would come, change nothing");
        imported.add_flag("--replace", line.arguments.replace,
                          "Set the values that are there already as well");
        addJson(imported);

        CLI::App& factory =
            add("make-factory", &makeFactoryCommand, "Make a factory file of a settings file",
                "make-factory mine.settings --to plotter.settings --version 2");
        addFile(factory, true, "Settings file");
        addTarget(factory);
        factory
            .add_option("--version", line.arguments.version,
                        "Version of the definition; that of the file, or 1, if absent")
            ->type_name("NUMBER");
    }

    /// Takes the marks off again, and refuses texts that are broken.
    void finish() {
        Arguments& arguments = line.arguments;
        for (std::vector<std::string>* words :
             {&arguments.names, &arguments.values, &arguments.files}) {
            unmark(*words);
        }
        for (std::string* word :
             {&arguments.level, &arguments.type, &arguments.to, &arguments.into}) {
            unmark(*word);
        }
        for (auto* word :
             {&line.places.hostRoot, &line.places.factoryDirectory, &line.places.userDirectory}) {
            unmark(*word);
        }
        // Nothing begins with what is not UTF-8.
        if (line.command == &completeCommand) return;
        for (std::vector<std::string> const* words : {&arguments.names, &arguments.values}) {
            std::for_each(words->begin(), words->end(), requireUtf8);
        }
        for (std::string const* word : {&arguments.level, &arguments.type, &arguments.into}) {
            requireUtf8(*word);
        }
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
            line.command = nullptr;
        } catch (CLI::ParseError const& error) {
            auto const selected = app.get_subcommands();
            CLI::App const& sub = selected.empty() ? app : *selected.front();
            throw Failure(wrongUsage, problem(sub, error) + "; see 'qbsettings" +
                                          (selected.empty() ? "" : " " + sub.get_name()) +
                                          " --help'");
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
                       (takesValues ? ", and a value that begins with '-' goes behind '--'" : "");
            }
            if (&sub == &app) return "there is no command " + inQuotes(word);
            return inQuotes(word) + " is one word too many";
        }
        if (&sub == &app && error.get_name() == "RequiredError") return "a command is missing";
        return withoutMarks(error.what());
    }
};

}  // namespace

CommandLine parseCommandLine(std::vector<std::string> const& words) {
    Reader reader;
    reader.parse(words);
    return reader.line;
}

}  // namespace qbsettings
