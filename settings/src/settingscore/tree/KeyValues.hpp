#pragma once

#include <exception>
#include <string>

#include <boost/any.hpp>
#include <settingscore/tree/SettingsImpl.hpp>

namespace settings::core::detail {

/// The values of one key across the levels, for whoever holds the tree lock. Where a runtime
/// default stands in, it is run, and its result passes the same checks as a value that is set, but
/// for the validator.
class KeyValues {
public:
    KeyValues(SettingsImpl const& key, HeldLock const& lock) : key_(key), lock_(lock) {}

    /// The value in force; empty if there is none.
    boost::any inForce(bool runDefault) const;
    /// The value on a level, with a null one that of no level: what a runtime default gives to a
    /// key off the tree, or nothing.
    boost::any onLevel(SettingsLevel const* level, bool runDefault) const;

    // The same where it is stored, without a copy; where nothing is stored, `computed`, with what a
    // runtime default gives or empty.
    boost::any const& viewInForce(bool runDefault, boost::any& computed) const;
    boost::any const& viewOnLevel(SettingsLevel const* level, bool runDefault,
                                  boost::any& computed) const;
    /// What became of a value that was to be stored or removed.
    struct Change {
        bool made = false;           ///< The level has a new value, or none any more.
        bool tellListeners = false;  ///< The value in force changed.
        /// What failed when the change was made already: a runtime default behind the value.
        std::exception_ptr failure;
    };
    /// Stores a checked value, with exclusive access for the swap alone. An equal value changes
    /// nothing. What a runtime default throws before the swap goes out.
    static Change store(SettingsImpl& key, SettingsImpl::UpgradeLock& lock, boost::any const& value,
                        SettingsLevel const& level);
    /// @throws exception::ValueNotDefinedForGivenLevel
    static Change remove(SettingsImpl& key, SettingsImpl::UpgradeLock& lock,
                         SettingsLevel const& level);

private:
    /// True if the value in force is no longer `old`.
    bool inForceDiffersFrom(boost::any const& old) const;
    Change madeSince(boost::any const& old) const;

    SettingsImpl const& key_;
    HeldLock lock_;
};

}  // namespace settings::core::detail
