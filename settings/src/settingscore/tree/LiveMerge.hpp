#pragma once

#include <string>

#include <boost/shared_ptr.hpp>
#include <settingscore/tree/SettingsImpl.hpp>

namespace settings::core::detail {

/// Adds what a standalone tree has, and a node of the tree that users see lacks, to that node:
/// after a trial on a private copy has shown that it fits. Takes the tree lock for upgrade, and is
/// exclusive for the adoption alone; the events and the save come after that.
class LiveMerge {
public:
    /// @throws std::invalid_argument if the source is empty, or not of this library
    LiveMerge(SettingsImpl& target, boost::shared_ptr<Settings const> const& source);

    /// A refusal changes nothing.
    void mergeOn(std::string const& levelName) const;

private:
    void checkTrees(HeldLock const& lock) const;
    void tryOnCopy(HeldLock const& lock, SettingsLevel const& level) const;
    /// The change, and its events.
    void adopt(UpgradeTreeLock& lock, SettingsLevel const& level) const;

    SettingsImpl& target_;
    boost::shared_ptr<SettingsImpl const> source_;
};

}  // namespace settings::core::detail
