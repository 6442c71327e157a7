#pragma once

#include <boost/shared_ptr.hpp>
#include <settingscore/persistence/shared/FileImage.hpp>
#include <settingscore/tree/TreeLock.hpp>

namespace settings::core {

class SettingsImpl;

/// Brings into what a file holds what was changed in a product since the two last agreed. A node
/// that was changed on both sides is as it is in the product.
class FileMerge {
public:
    /// `mine` is the image of the product as it is, `base` that of the last agreement.
    FileMerge(detail::HeldLock const& lock, FileImage const& mine, FileImage const& base)
        : lock_(lock), mine_(mine), base_(base) {}

    /// Changes `file`, the private tree of what the file holds.
    void into(SettingsImpl& file, SettingsImpl const& product) const;

private:
    void removeWhatWasRemoved(SettingsImpl& file) const;
    bool isChanged(detail::PathHash path) const { return mine_.find(path) != base_.find(path); }
    void takeOver(SettingsImpl& counterpart, SettingsImpl const& node) const;

    detail::HeldLock lock_;
    FileImage const& mine_;
    FileImage const& base_;
};

}  // namespace settings::core
