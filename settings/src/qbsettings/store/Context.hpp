#pragma once

#include <qbsettings/output/Output.hpp>
#include <qbsettings/store/Directories.hpp>
#include <qbsettings/store/Tree.hpp>
#include <qbsettings/store/Writing.hpp>

namespace qbsettings {

/// What a command works with.
struct Context {
    /// From now on the library saves durably, and the host's console is standard error.
    Context(DirectoryOptions const& options, bool json);
    Context(Context const&) = delete;
    Context& operator=(Context const&) = delete;

    Directories directories;
    Tree tree;
    Writing writing;
    Output output;
};

}  // namespace qbsettings
