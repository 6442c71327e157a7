#pragma once

#include <optional>
#include <string>
#include <vector>

#include <qbsettings/Commands.hpp>
#include <qbsettings/Context.hpp>

namespace qbsettings {

/// A command line that was understood.
struct CommandLine {
    Places places;
    Arguments arguments;
    Command command = nullptr;  ///< Null: `text` is all that was asked for.
    std::string text;           ///< Help or version.
};

/// @throws Failure: wrong usage, and a text that is not UTF-8
CommandLine parseCommandLine(std::vector<std::string> const& words);

}  // namespace qbsettings
