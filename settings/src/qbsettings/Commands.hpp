#pragma once

#include <optional>
#include <string>
#include <vector>

#include <qbsettings/Context.hpp>

namespace qbsettings {

/// What a command line says, with the options of all commands.
struct Arguments {
    std::vector<std::string> names;   ///< Full names of settings, in UTF-8.
    std::vector<std::string> values;  ///< Texts of a value, in UTF-8.
    std::vector<std::string> files;   ///< Paths, as the bytes that the system takes.
    std::string level;                ///< Empty: the command's own default.
    std::string type;
    std::string to;
    std::string into;
    std::optional<unsigned int> version;
    bool force = false;
    bool dryRun = false;
    bool replace = false;
    bool json = false;  ///< Print JSON in the place of rows.

    std::string const& name() const { return names.front(); }
};

/// A command: runs to its end, with its output on standard output, and gives the exit status.
/// @throws Failure, and the exceptions of the library
using Command = int (*)(Context& context, Arguments const& arguments);

int listCommand(Context& context, Arguments const& arguments);
int getCommand(Context& context, Arguments const& arguments);
int describeCommand(Context& context, Arguments const& arguments);
int dirsCommand(Context& context, Arguments const& arguments);
int checkCommand(Context& context, Arguments const& arguments);
int completeCommand(Context& context, Arguments const& arguments);

int setCommand(Context& context, Arguments const& arguments);
int unsetCommand(Context& context, Arguments const& arguments);
int addCommand(Context& context, Arguments const& arguments);
int addGroupCommand(Context& context, Arguments const& arguments);
int removeCommand(Context& context, Arguments const& arguments);
int setManyCommand(Context& context, Arguments const& arguments);

int exportCommand(Context& context, Arguments const& arguments);
int importCommand(Context& context, Arguments const& arguments);
int makeFactoryCommand(Context& context, Arguments const& arguments);

}  // namespace qbsettings
