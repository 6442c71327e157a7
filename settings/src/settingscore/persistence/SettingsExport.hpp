#pragma once

#include <string>
#include <vector>

#include <boost/shared_ptr.hpp>
#include <settingscore/host/UString.hpp>
#include <settingscore/tree/SettingsImpl.hpp>

namespace settings::core::detail {

/// Chosen nodes of one product, with the path from the product down to each, in a file of the
/// caller's choice. The file is written in place: a failure can leave a part of it.
class SettingsExport {
public:
    using Nodes = std::vector<boost::shared_ptr<Settings const>>;

    /// @throws std::invalid_argument if there are none, or one is empty
    explicit SettingsExport(Nodes const& nodes);

    /// Loads the nodes, then holds the tree shared while it writes.
    void write(ustring const& path, std::string const& levelName) const;

    /// What forbids the export of a product: where it stands, or the path.
    static void check(SettingsImpl const& product, HeldLock const& lock, ustring const& path);

private:
    std::vector<boost::shared_ptr<SettingsImpl const>> nodes_;
};

}  // namespace settings::core::detail
