#pragma once

#include <memory>
#include <string>
#include <vector>

#include <qbsettings/commandline/Command.hpp>
#include <qbsettings/store/Context.hpp>

namespace qbsettings {

/// A command line that was understood.
struct CommandLine {
    DirectoryOptions directories;
    Flags flags;
    std::unique_ptr<Command> command;  ///< Empty: `text` is all that was asked for.
    std::string text;                  ///< Help or version.
};

/// @throws Failure: wrong usage, and a text that is not UTF-8
CommandLine parseCommandLine(std::vector<std::string> const& words);

}  // namespace qbsettings
