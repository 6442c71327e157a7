#pragma once

#include <string>
#include <vector>

#include <boost/shared_ptr.hpp>
#include <settingscore/tree/SettingsImpl.hpp>

namespace settings::core::detail {

/// Finds a node by its path. Every answer may be null: there is no such node.
class PathLookup {
public:
    using Path = std::vector<std::string>;
    using NodePtr = boost::shared_ptr<SettingsImpl>;

    explicit PathLookup(SettingsImpl const& start) : start_(start) {}

    /// The names between the dots; those that are empty are passed over.
    static Path split(std::string const& fullName);

    /// Loads, before the lock is taken: from the root the product that comes first on the path,
    /// from elsewhere the product that the start belongs to. Takes the tree lock shared.
    NodePtr find(Path const& path) const;
    /// For whoever holds a lock: walks over what is loaded.
    NodePtr findWithLock(HeldLock const& lock, Path::const_iterator first,
                         Path::const_iterator last) const;

private:
    /// What has to be loaded before the path can be walked; null if nothing has.
    boost::shared_ptr<SettingsImpl const> unloaded(HeldLock const& lock, Path const& path) const;

    SettingsImpl const& start_;
};

}  // namespace settings::core::detail
