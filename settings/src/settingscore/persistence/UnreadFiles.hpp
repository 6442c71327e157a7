#pragma once

#include <exception>
#include <optional>

#include <boost/shared_ptr.hpp>
#include <settingscore/host/Filesystem.hpp>

namespace settings::core {

/// Remembers the user files that a load could not read wholly: what is in memory is not all that
/// they hold, so that a save that replaces one takes something from the user. May be called by any
/// thread.
///
/// A mark belongs to a file and to the tree whose load failed, which its root tells from
/// others. It is of one of two kinds: the file is defective, or it was unreadable at that time.
/// Where the user's folder could not be listed, all files count as unreadable that the tree has not
/// looked for by name.
class UnreadFiles {
public:
    using Root = boost::shared_ptr<void const>;
    using Path = qf::filesystem::path;

    /// Why a file could not be read that may be as good as ever.
    struct Passing {
        int errorNumber;  ///< The system's; 0 if it is none of the system's.
        ustring reason;   ///< For people.
    };
    /// What kind of failure of a load of the file that is; nothing if the file is at fault.
    static std::optional<Passing> passing(std::exception const& failure, Path const& file);

    /// The folder could not be listed when the products of the tree were looked for.
    static void setUnlisted(Root const& root, Path const& folder, Passing const& reason);
    /// The tree has the whole content of the file, or knows that it is not there.
    static void setRead(Root const& root, Path const& file);
    /// It has not; a file without a passing reason is defective.
    static void setUnread(Root const& root, Path const& file, std::optional<Passing> const& reason);
    /// The reason for which the load of this tree could not read or find the file; nothing if it
    /// has read it, or has found it defective.
    static std::optional<Passing> unreadableFor(Root const& root, Path const& file);
    /// True if any tree that still lives has found the file defective.
    static bool isDefective(Path const& file);
    /// The file has been replaced by a save of this tree. What was there was kept if it was
    /// defective; other trees that could not read it have none of its content still.
    static void replaced(Root const& root, Path const& file);
};

}  // namespace settings::core
