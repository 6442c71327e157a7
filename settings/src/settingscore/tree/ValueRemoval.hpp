#pragma once

#include <string>

#include <settingscore/tree/SettingsImpl.hpp>

namespace settings::core::detail {

/// Takes a key's value from a level. Takes the tree lock for upgrade, from the first check to the
/// event; the file follows, whatever fails behind a removal that was made.
class ValueRemoval {
public:
    /// `parent` is the node that holds the key.
    explicit ValueRemoval(SettingsImpl& parent) : parent_(parent) {}

    /// @throws exception::UnSupportedLevel, exception::CantModifyValuesOnReadOnlyLevel,
    ///         exception::NoSuchKey, exception::CannotAddRemoveNodeUnderReadOnlyParent,
    ///         exception::NotAKeyName, exception::ValueNotDefinedForGivenLevel
    void remove(std::string const& name, std::string const& levelName) const;

private:
    /// The key of that name, if it may be changed.
    SettingsImpl& checkedKey(HeldLock const& lock, std::string const& name) const;

    SettingsImpl& parent_;
};

}  // namespace settings::core::detail
