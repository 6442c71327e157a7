#pragma once

#include <set>
#include <string>
#include <utility>

#include <settingscore/host/UString.hpp>

namespace qbsettings {

class Directories;
class Findings;

/// Looks for settings files that lie where no load looks for them.
class NeverRead {
public:
    /// A file that a load reads, from its own place or since another one names it.
    void addRead(qf::ustring const& file);
    /// A factory file that could not be read: which files it names is not known.
    void addFaulty() { isComplete_ = false; }

    /// Reports the others. `products` are the names of all products.
    void report(Directories const& directories, std::set<std::string> const& products,
                Findings& findings) const;

private:
    void reportStrangers(qf::ustring const& folder, Findings& findings) const;
    void reportBelow(qf::ustring const& folder, int depth, Findings& findings) const;

    /// Device and inode, since a path can be written in many ways.
    using Identity = std::pair<unsigned long, unsigned long>;
    static Identity identityOf(qf::ustring const& file);
    bool isRead(qf::ustring const& file) const { return read_.count(identityOf(file)) != 0; }

    std::set<Identity> read_;
    bool isComplete_ = true;
};

}  // namespace qbsettings
