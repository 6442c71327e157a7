// How a key's value is read across the levels, stored and removed.

#include <settingscore/errors/TreeExceptions.hpp>
#include <settingscore/levels/SettingsLevelManager.hpp>
#include <settingscore/tree/KeyChecks.hpp>
#include <settingscore/tree/KeyValues.hpp>
#include <settingscore/tree/NodeEvents.hpp>
#include <settingscore/tree/NodeView.hpp>
#include <settingscore/tree/ValueRemoval.hpp>
#include <settingscore/value/AnyBridge.hpp>

namespace settings::core {

using detail::HeldLock;
using detail::KeyValues;
using detail::NodeView;
using detail::SharedTreeLock;

// --- Reads ----------------------------------------------------------------------------------

boost::any SettingsImpl::getAny(std::string const& name, std::string const& level) const {
    loadIfNotInitializedYet();
    SharedTreeLock const lock;
    SettingsImpl const* const child = NodeView(*this, lock).child(name);
    if (!child) throw exception::NoSuchKey(shared_from_this(), name);
    if (level.empty()) return KeyValues(*child, lock).inForce(true);
    return KeyValues(*child, lock).onLevel(&detail::levelOf(*this, level), true);
}

bool SettingsImpl::isSet(std::string const& name, std::string const& level) const {
    return !getAny(name, level).empty();
}

boost::any SettingsImpl::getCurrentStateWithLock(HeldLock const& lock, bool runDefault) const {
    return KeyValues(*this, lock).inForce(runDefault);
}

boost::any SettingsImpl::getAnyValueWithLock(HeldLock const& lock, std::string const& level,
                                             bool runDefault) const {
    return KeyValues(*this, lock).onLevel(SettingsLevelManager::findLevel(level), runDefault);
}

boost::any SettingsImpl::getAnyValueInternal(std::string const& level, bool runDefault) const {
    SharedTreeLock const lock;
    if (level.empty()) return KeyValues(*this, lock).inForce(runDefault);
    return KeyValues(*this, lock).onLevel(&detail::levelOf(*this, level), runDefault);
}

bool SettingsImpl::isUndefined() const {
    SharedTreeLock const lock;
    return NodeView(*this, lock).isUndefined();
}

bool SettingsImpl::isRuntimeOwningLevel(std::string const& level) const {
    SharedTreeLock const lock;
    return NodeView(*this, lock).ownsRunTimeDefault(level);
}

// --- Stores ---------------------------------------------------------------------------------

void SettingsImpl::setAnyInternal(boost::any const& value, std::string const& level) {
    std::size_t const position = detail::modifiableLevelOf(*this, level).position();
    boost::any const* const old = content_.values.find(position);
    if (settingscore::boostany::isEqual(value, old ? *old : boost::any())) return;
    boost::any stored(value);
    content_.values.put(position, stored);
}

bool SettingsImpl::setAnyValueWithLock(UpgradeLock& lock, boost::any const& value,
                                       std::string const& level) {
    KeyValues::Change const change =
        KeyValues::store(*this, lock, value, detail::levelOf(*this, level));
    if (change.failure) std::rethrow_exception(change.failure);
    if (change.tellListeners) detail::fireValueChange(*this, lock);
    return change.made;
}

// --- Removals -------------------------------------------------------------------------------

void SettingsImpl::unset(std::string const& name, std::string const& levelName) {
    detail::ValueRemoval(*this).remove(name, levelName);
}

void SettingsImpl::unsetAnyValueWithLock(UpgradeLock& lock, std::string const& level) {
    if (!content_.isLeaf) throw exception::NotAKeyName(getParentImpl(), content_.name);
    removeValueFromMapWithLock(lock, level);
}

void SettingsImpl::removeValueFromMapWithLock(UpgradeLock& lock, std::string const& levelName) {
    SettingsLevel const* const level = SettingsLevelManager::findLevel(levelName);
    if (!level) {
        throw exception::ValueNotDefinedForGivenLevel(shared_from_this(), levelName);
    }
    KeyValues::Change const change = KeyValues::remove(*this, lock, *level);
    if (change.failure) std::rethrow_exception(change.failure);
    if (change.tellListeners) detail::fireValueChange(*this, lock);
}

}  // namespace settings::core
