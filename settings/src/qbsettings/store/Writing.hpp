#pragma once

#include <map>
#include <optional>
#include <set>
#include <string>

#include <settingscore/host/UString.hpp>

namespace qbsettings {

class Directories;
class Tree;

/// What a command does before it changes the user's files.
class Writing {
public:
    Writing(Directories const& directories, Tree const& tree, bool replaceBroken)
        : directories_(directories), tree_(tree), replaceBroken_(replaceBroken) {}
    /// Says which user files a save has set aside.
    ~Writing();
    Writing(Writing const&) = delete;
    Writing& operator=(Writing const&) = delete;

    /// From now on saves wait for those of other processes as long as the environment variable
    /// QBSETTINGS_LOCK_WAIT says, in seconds; where it says nothing, for 10.
    /// @throws Failure, wrong usage
    static void useLockWait();

    /// To be called before a change of a product's user file, of which it notes what that holds.
    /// @throws Failure for a file that could not be read, unless it is to be replaced: a save sets
    /// it aside, and all that it held is no longer in force
    void begin(std::string const& product);
    /// The same for a product that is not in the tree and is to be made.
    /// @throws Failure if it has a user file all the same, which the root could not list
    void beginNew(std::string const& product);
    enum class Changed { no, yes, unknown };
    /// Whether the user file is another than it was at `begin`; unknown if it cannot be read. It is
    /// the old or the new one, whole.
    Changed changed(std::string const& product) const;
    /// What goes behind the reason why a change of the product failed: a save can fail when its
    /// file is in place already. Empty if the file is as it was.
    std::string afterword(std::string const& product) const;

    /// @throws Failure if the product's user file could not be read: it would be lost with the
    /// product
    void refuseToRemoveUnreadable(std::string const& product) const;

private:
    Directories const& directories_;
    Tree const& tree_;
    bool replaceBroken_;
    /// The user files that a save will set aside, with those that lay aside before.
    std::map<qf::ustring, std::set<qf::ustring>> broken_;
    /// The bytes of user files, by product; nothing where they could not be read.
    std::map<std::string, std::optional<std::string>> before_;
};

}  // namespace qbsettings
