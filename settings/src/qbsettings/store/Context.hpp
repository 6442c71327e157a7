#pragma once

#include <qbsettings/output/Output.hpp>
#include <qbsettings/store/Directories.hpp>
#include <qbsettings/store/NodeTexts.hpp>
#include <qbsettings/store/Tree.hpp>
#include <qbsettings/store/Writing.hpp>

namespace qbsettings {

/// What commands of many kinds take.
struct Flags {
    bool json = false;   ///< Print JSON in the place of rows.
    bool quiet = false;  ///< Print messages alone.
    bool replaceBroken =
        false;  ///< Set a user file aside that cannot be read, and write a new one.
};

/// What a command works with.
struct Context {
    /// From now on the library saves durably, and together with other processes, and the host's
    /// console is standard error.
    Context(DirectoryOptions const& options, Flags const& flags);
    Context(Context const&) = delete;
    Context& operator=(Context const&) = delete;

    Directories directories;
    Tree tree;
    Writing writing;
    NodeTexts texts;
    Output output;
};

}  // namespace qbsettings
