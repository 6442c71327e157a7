#pragma once

#include <memory>
#include <vector>

namespace qbsettings {

class Options;
struct Context;

/// A command: made anew for each command line, with what that says in its members.
class Command {
public:
    Command() = default;
    virtual ~Command() = default;
    Command(Command const&) = delete;
    Command& operator=(Command const&) = delete;

    /// Says what the command takes, and where that goes.
    virtual void declare(Options& options) = 0;

    /// Runs to the end and gives the exit status.
    /// @throws Failure, and the exceptions of the library
    virtual int run(Context& context) = 0;
};

/// What is known of a command before it runs.
struct CommandInfo {
    int place;  ///< In the help: 1 to 19 for what reads, 20 to 39 for changes, then files.
    char const* name;
    char const* what;     ///< What it does, as a line of the help.
    char const* example;  ///< A command line without the program's name.
    bool hidden = false;  ///< Not for people.
    std::unique_ptr<Command> (*make)() = nullptr;
};

/// All commands, in the order of their places.
std::vector<CommandInfo> commands();

/// What a registration does.
void addCommand(CommandInfo const& info);

/// Makes a command known: one such object stands in the file of each command, and nothing else
/// names the command. They may be made in any order.
template <class C>
class Registration {
public:
    explicit Registration(CommandInfo info) {
        info.make = []() -> std::unique_ptr<Command> { return std::make_unique<C>(); };
        addCommand(info);
    }
};

}  // namespace qbsettings
