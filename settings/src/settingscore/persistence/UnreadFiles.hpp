#pragma once

#include <boost/shared_ptr.hpp>
#include <settingscore/host/Filesystem.hpp>

namespace settings::core {

/// Remembers the user files that a load could not read wholly: what is in memory is not all that
/// they hold, so that a save that replaces one takes something from the user. May be called by any
/// thread.
class UnreadFiles {
public:
    /// Notes how the load of a tree, which `root` tells from others, went.
    static void set(boost::shared_ptr<void const> const& root, qf::filesystem::path const& file,
                    bool unread);
    /// True if any tree that still lives could not read the file wholly.
    static bool contains(qf::filesystem::path const& file);
    /// The file has been replaced.
    static void forget(qf::filesystem::path const& file);
};

}  // namespace settings::core
