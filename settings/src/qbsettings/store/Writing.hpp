#pragma once

#include <memory>
#include <set>
#include <string>

#include <qbsettings/store/WriteLock.hpp>

namespace qbsettings {

class Directories;
class Tree;

/// What a command does before it changes the user's files.
class Writing {
public:
    Writing(Directories const& directories, Tree const& tree)
        : directories_(directories), tree_(tree) {}

    /// Takes the lock of the writers, for the rest of the command. To be called before the root is
    /// asked for, so that what is written was read under the lock.
    void lock();

    /// Reports, once a product, that its user file could not be read: a save keeps it aside and
    /// replaces it by what was understood of it.
    void warnOfUnreadable(std::string const& product);
    /// @throws Failure if the product's user file could not be read: it would be lost with the
    /// product
    void refuseToRemoveUnreadable(std::string const& product) const;

private:
    Directories const& directories_;
    Tree const& tree_;
    std::unique_ptr<WriteLock> lock_;
    std::set<std::string> warnedOf_;
};

}  // namespace qbsettings
