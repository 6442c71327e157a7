#pragma once

#include <string>
#include <vector>

#include <boost/any.hpp>
#include <qbsettings/store/Tree.hpp>
#include <qbsettings/text/Values.hpp>
#include <settingscore/tree/Settings.hpp>

namespace qbsettings {

/// What an import will do.
struct ImportPlan {
    struct Change {
        std::string change;  ///< "added", "set", "kept", "same" or "replaced".
        std::string name;
        KeyType type;
        boost::any value;
    };

    std::vector<Change> changes;
    std::vector<settings::core::Settings::NodeValue> replaced;  ///< Their own values give way.
    std::vector<SettingsPtr> dropped;   ///< Keys of the file that are not to be taken.
    std::vector<std::string> refusals;  ///< Unless it is empty, nothing is to be imported.
};

/// Plans how `target` takes what is in `source`; without a target, `source` is to be a new product.
/// With `replace`, values that are there on the level give way.
ImportPlan planImport(Directories const& directories, SettingsPtr const& source,
                      SettingsPtr const& target, std::string const& level, bool replace);

}  // namespace qbsettings
