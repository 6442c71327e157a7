#pragma once

#include <vector>

#include <settingscore/tree/SettingsImpl.hpp>

namespace settings::core::detail {

/// Several keys set or checked as one action; a single key is a batch of one. Takes the tree lock
/// for upgrade, and holds it from the first check to the last save.
class Batch {
public:
    using Element = Settings::NodeValue;

    /// `caller` is the node on which the operation was called: its product is loaded, and it is
    /// named in errors. With `rethrow` the first refused element is thrown, else all are reported.
    Batch(SettingsImpl const& caller, Element* first, Element* last, bool rethrow)
        : caller_(caller), first_(first), last_(last), rethrow_(rethrow) {}

    /// All elements are checked before the first is stored. Each is saved by itself; where several
    /// processes share files, each product once at the end.
    BatchErrors set(std::string const& levelName) const;
    BatchErrors validate() const;
    /// The checks alone, for whoever holds a lock. Values may be converted in place.
    void validateWithLock(HeldLock const& lock, BatchErrors& errors) const;

private:
    /// Nodes that are to be saved at the end.
    using Changed = std::vector<SettingsImpl*>;

    void bringUpToDate() const;
    void setOne(UpgradeTreeLock& lock, Element const& element, SettingsLevel const& level,
                Changed& changed) const;
    void saveOnce(Changed const& changed, SettingsLevel const& level) const;

    SettingsImpl const& caller_;
    Element* first_;
    Element* last_;
    bool rethrow_;
};

}  // namespace settings::core::detail
