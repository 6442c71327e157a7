#pragma once

#include <boost/shared_ptr.hpp>
#include <settingscore/host/UString.hpp>
#include <settingscore/tree/SettingsImpl.hpp>

namespace settings::core::detail {

/// A standalone tree as a product's factory file. The file is written in place: a failure can leave
/// a part of it.
class FactoryFile {
public:
    /// Of the tree that `node` belongs to, from its top.
    explicit FactoryFile(boost::shared_ptr<SettingsImpl const> const& node) : node_(node) {}

    /// Gives the tree this version in the place of any other; holds the tree shared while it
    /// writes.
    void write(ustring const& path, unsigned int version) const;

private:
    boost::shared_ptr<SettingsImpl const> node_;
};

}  // namespace settings::core::detail
