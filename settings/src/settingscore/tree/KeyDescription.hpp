#pragma once

#include <string>
#include <utility>
#include <vector>

#include <boost/optional.hpp>
#include <boost/shared_ptr.hpp>
#include <settingscore/Export.hpp>
#include <settingscore/rules/RunTimeDefault.hpp>
#include <settingscore/rules/SettingsKeyMetaData.hpp>
#include <settingscore/rules/Validator.hpp>

namespace settings::core {

class Settings;

/// A key described for people: its rules, and where its values stand.
struct KeyDescription {
    /// As `Settings::getDataTypeIndex`.
    boost::optional<unsigned long> typeIndex;
    /// Bounds on the number of elements, minimum first; a maximum of 0 is none.
    boost::optional<std::pair<unsigned long, unsigned long>> arraySize;
    /// Range and choices.
    SettingsKeyMetaData<boost::any> metaData;
    /// The validator in force: the key's own or the nearest of its ancestors.
    Validator validator;
    /// The computed default, if there is one.
    RunTimeDefault runTimeDefault;
    /// The levels that hold a value, in the order in which a read looks at them.
    std::vector<std::string> storedLevels;
};

/// Describes a key as it stands at one moment. Holds the tree shared; loads nothing, since whoever
/// has a key has loaded its product. @throws exception::NotAKeyName for a group,
/// std::invalid_argument for an empty pointer
SETTINGSCORE_API KeyDescription describeKey(boost::shared_ptr<Settings const> const& key);

}  // namespace settings::core
