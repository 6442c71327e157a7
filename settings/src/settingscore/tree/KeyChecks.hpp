#pragma once

#include <string>

#include <boost/any.hpp>
#include <boost/shared_ptr.hpp>
#include <settingscore/tree/SettingsImpl.hpp>

/// What is checked before something changes: the level, and the value of a key. The tree lock is
/// held by the caller wherever a key is looked at; nothing here takes it.
namespace settings::core::detail {

/// The level of that name. Looked up once, where a name comes in; from there on levels go by
/// reference. `node` is named in the error.
/// @throws exception::UnSupportedLevel
SettingsLevel const& levelOf(SettingsImpl const& node, std::string const& name);

/// @throws exception::UnSupportedLevel, exception::CantModifyValuesOnReadOnlyLevel
SettingsLevel const& modifiableLevelOf(SettingsImpl const& node, std::string const& name);

/// All checks of a value that is to be set on `key`, in their order; may convert the value.
void checkValue(SettingsImpl const& key, HeldLock const& lock, boost::any& value);

/// The checks that a runtime default's result passes as well: type, size, range and choices.
void checkValueAgainstRules(SettingsImpl const& key, HeldLock const& lock, boost::any& value);

/// Runs the validator in force over a value. Where the chain of parents ends, it goes on once at
/// `parent`, under which the key, or the branch that holds it, is about to be attached.
void runValidator(SettingsImpl const& key, HeldLock const& lock,
                  boost::shared_ptr<SettingsImpl const> const& parent, boost::any const& value);

/// Checks the stored values of all keys at and below `node` that come under a validator of
/// `parent` or above it, if the node is attached there.
void checkValuesUnder(SettingsImpl const& node, HeldLock const& lock,
                      boost::shared_ptr<SettingsImpl const> const& parent);

}  // namespace settings::core::detail
