#pragma once

#include <settingscore/host/Filesystem.hpp>

namespace settings::core {

/// Remembers the user files that a load could not read wholly: what is in memory is not all that
/// they hold, so that a save that replaces one takes something from the user. May be called by any
/// thread.
class UnreadFiles {
public:
    static void set(qf::filesystem::path const& file, bool unread);
    static bool contains(qf::filesystem::path const& file);
};

}  // namespace settings::core
