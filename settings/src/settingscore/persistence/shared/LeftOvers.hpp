#pragma once

#include <string>
#include <vector>

#include <settingscore/host/Filesystem.hpp>

namespace settings::core {

/// The temporary folders that a killed process leaves in a user directory. In the mode of shared
/// saves a folder carries the mark of its maker, a link "maker" that leads nowhere and whose text
/// names the process, so that others know when it lives no more.
class LeftOvers {
public:
    using Path = qf::filesystem::path;

    /// The name of the mark in a folder.
    static constexpr char16_t const* markName = u"maker";
    /// Leaves the mark; a file system without links goes without.
    static void mark(Path const& folder);

    struct Folder {
        Path path;
        /// Its maker lives no more, for certain; or it has no mark, and nobody has touched it for a
        /// day.
        bool isDead;
    };
    /// Folders of exactly the form of the library's own names that belong to this user, in the
    /// order of their names. None if the directory can't be listed.
    static std::vector<Folder> in(Path const& directory);
    /// Removes those that are dead: at the first call for a directory, and then once a minute.
    /// Reports nothing.
    static void removeDead(Path const& directory);
};

}  // namespace settings::core
