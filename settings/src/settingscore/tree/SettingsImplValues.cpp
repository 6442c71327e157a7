// How a key's value is read across the levels, checked, stored and removed.

#include <settingscore/errors/Exceptions.hpp>
#include <settingscore/persistence/SettingsLevel.hpp>
#include <settingscore/persistence/SettingsLevelManager.hpp>
#include <settingscore/persistence/writer/SaveSettingsFunctor.hpp>
#include <settingscore/rules/RangeAndChoiceChecker.hpp>
#include <settingscore/rules/RuntimeDefaultVisitor.hpp>
#include <settingscore/rules/ValidationVisitor.hpp>
#include <settingscore/tree/SettingsImpl.hpp>
#include <settingscore/value/AnyBridge.hpp>
#include <settingscore/value/TypeName.hpp>

namespace settings::core {

namespace boostany = settingscore::boostany;
using detail::ExclusiveTreeLock;
using detail::HeldLock;
using detail::SharedTreeLock;
using detail::UpgradeTreeLock;

// --- Levels ---------------------------------------------------------------------------------

void SettingsImpl::validateLevelName(std::string const& level) const {
    if (SettingsLevelManager::findLevel(level)) return;
    std::string supported;
    for (SettingsLevel const& known : SettingsLevelManager::levels()) {
        supported += known.levelName() + ", ";
    }
    supported += '\n';
    throw exception::UnSupportedLevel(sharedThis(), level, supported);
}

SettingsLevel const& SettingsImpl::checkLevelIsModifiable(std::string const& level) const {
    SettingsLevel const& found = *SettingsLevelManager::findLevel(level);
    if (!found.canBeModified()) {
        throw exception::CantModifyValuesOnReadOnlyLevel(sharedThis(), level);
    }
    return found;
}

// --- Reads ----------------------------------------------------------------------------------

boost::any SettingsImpl::getAny(std::string const& name, std::string const& level) const {
    loadIfNotInitializedYet();
    SharedTreeLock const lock;
    SettingsImpl const* const child = findChild(name);
    if (!child) throw exception::NoSuchKey(sharedThis(), name);
    if (level.empty()) return child->getCurrentStateWithLock(lock, true);
    validateLevelName(level);
    return child->getAnyValueWithLock(lock, level, true);
}

bool SettingsImpl::isSet(std::string const& name, std::string const& level) const {
    return !getAny(name, level).empty();
}

boost::any SettingsImpl::getCurrentStateWithLock(HeldLock const& lock, bool runDefault) const {
    boost::any computed;
    boost::any const& value = viewInForce(lock, runDefault, computed);
    if (&value == &computed) return computed;
    return value;
}

boost::any SettingsImpl::getAnyValueWithLock(HeldLock const& lock, std::string const& level,
                                             bool runDefault) const {
    boost::any computed;
    boost::any const& value =
        viewOnLevel(lock, SettingsLevelManager::findLevel(level), level, runDefault, computed);
    if (&value == &computed) return computed;
    return value;
}

boost::any const& SettingsImpl::viewInForce(HeldLock const& lock, bool runDefault,
                                            boost::any& computed) const {
    for (SettingsLevel const& level : SettingsLevelManager::levels()) {
        boost::any const& value =
            viewOnLevel(lock, &level, level.levelName(), runDefault, computed);
        if (!value.empty()) return value;
    }
    return computed;
}

boost::any const& SettingsImpl::viewOnLevel(HeldLock const& lock, SettingsLevel const* level,
                                            std::string const& levelName, bool runDefault,
                                            boost::any& computed) const {
    if (!isLeaf_) throw exception::NotAKeyName(getParentImpl(), name_);
    if (level) {
        // An entry wins over a runtime default, also an empty one.
        if (boost::any const* const entry = levelValues_.find(level->position())) return *entry;
    }
    if (!runDefault || isVoidRuntimeDefault(runTimeDefault_.get())) return computed;
    if (isConnectedWithLock(lock) && !isRuntimeOwningLevelWithLock(lock, levelName)) {
        return computed;
    }
    RuntimeDefaultVisitor const visitor(computed);
    boost::apply_visitor(visitor, runTimeDefault_.get());
    validatePrecheckWithLock(computed, lock);
    return computed;
}

boost::any SettingsImpl::getAnyValueInternal(std::string const& level, bool runDefault) const {
    SharedTreeLock const lock;
    if (!level.empty()) validateLevelName(level);
    return getAnyValueInternalWithLock(lock, level, runDefault);
}

boost::any SettingsImpl::getAnyValueInternalWithLock(HeldLock const& lock, std::string const& level,
                                                     bool runDefault) const {
    return level.empty() ? getCurrentStateWithLock(lock, runDefault)
                         : getAnyValueWithLock(lock, level, runDefault);
}

bool SettingsImpl::isUndefined() const {
    SharedTreeLock const lock;
    return isUndefinedWithLock(lock);
}

bool SettingsImpl::isUndefinedWithLock(HeldLock const&) const {
    if (!isLeaf_) throw exception::NotAKeyName(getParentImpl(), name_);
    return !levelValues_.holdsAnyValue() && isVoidRuntimeDefault(runTimeDefault_.get());
}

bool SettingsImpl::isRuntimeOwningLevel(std::string const& level) const {
    SharedTreeLock const lock;
    return isRuntimeOwningLevelWithLock(lock, level);
}

bool SettingsImpl::isRuntimeOwningLevelWithLock(HeldLock const&, std::string const& level) const {
    return detail::belongsToLevel(runTimeDefault_.get(), level);
}

// --- Checks ---------------------------------------------------------------------------------

void SettingsImpl::validateAnyValueWithLock(HeldLock const& lock, boost::any& value) const {
    if (!isLeaf_) throw exception::NotAKeyName(getParentImpl(), name_);
    if (isReadOnlyWithLock(lock) && isConnectedWithLock(lock)) {
        throw exception::CannotChangeValueForReadOnlySetting(sharedThis());
    }
    validatePrecheckWithLock(value, lock);
    // Most keys have no validator in force: found out without a copy of the value.
    if (hasValidatorFromParentChain(lock)) callValidator(lock, getParentImpl(), value);
}

void SettingsImpl::validatePrecheckWithLock(boost::any& value, HeldLock const& lock) const {
    if (!boostany::isSupported(value)) {
        throw exception::UnsupportedType(sharedThis(), getReadableName(value.type()));
    }
    KeyRules const& rules = settledRules(value);
    if (rules.dataTypeIndex_ != anyTypeIndex) (*rules.valueTypeChecker_)(value);
    (*rules.valueArraySizeValidator_)(value);
    // Without metadata the checker refuses no value but the empty one.
    if (metaData_.get().empty() && !value.empty()) return;
    detail::RangeAndChoiceChecker checker(sharedThis(), lock);
    boostany::applyVisitor(checker, value, true);
}

void SettingsImpl::callValidator(HeldLock const& lock,
                                 boost::shared_ptr<SettingsImpl const> const& parent,
                                 boost::any const& value) const {
    detail::ValidationVisitor visitor(lock, parent, sharedThis(), value);
    boost::apply_visitor(visitor, validator_);
}

// --- Stores ---------------------------------------------------------------------------------

bool SettingsImpl::setAnyValueWithLock(UpgradeLock& lock, boost::any const& value,
                                       std::string const& level) {
    Stored const stored =
        storeAnyValueWithLock(lock, value, *SettingsLevelManager::findLevel(level));
    if (stored.tellListeners) fireValueChangeWithLock(lock);
    return stored.changed;
}

SettingsImpl::Stored SettingsImpl::storeAnyValueWithLock(UpgradeLock& lock, boost::any const& value,
                                                         SettingsLevel const& level) {
    boost::any computedBefore;
    boost::any computedOnLevel;
    boost::any const& inForce = viewInForce(lock, true, computedBefore);
    boost::any const& onLevel = viewOnLevel(lock, &level, level.levelName(), true, computedOnLevel);
    if (boostany::isEqual(value, onLevel)) return {false, false};
    boostany::detail::CreateAny copier;
    boost::any copy = boostany::applyVisitor(copier, value, true);
    bool const replacesInForce = &inForce == &onLevel;
    {
        ExclusiveTreeLock const exclusive(lock);
        levelValues_.put(level.position(), copy);
    }
    // The entry that was replaced has been swapped into the copy.
    return {true, currentStateDiffersWithLock(lock, replacesInForce ? copy : inForce)};
}

void SettingsImpl::setAnyInternal(boost::any const& value, std::string const& level) {
    validateLevelName(level);
    std::size_t const position = checkLevelIsModifiable(level).position();
    boost::any const* const old = levelValues_.find(position);
    if (boostany::isEqual(value, old ? *old : boost::any())) return;
    boost::any stored(value);
    levelValues_.put(position, stored);
}

void SettingsImpl::unset(std::string const& name, std::string const& level) {
    loadIfNotInitializedYet();
    validateLevelName(level);
    checkLevelIsModifiable(level);
    {
        UpgradeTreeLock lock;
        SettingsImpl* const child = findChild(name);
        if (!child) throw exception::NoSuchKey(sharedThis(), name);
        if (isConnectedWithLock(lock) && isReadOnlyWithLock(lock)) {
            throw exception::CannotAddRemoveNodeUnderReadOnlyParent(child->sharedThis(),
                                                                    sharedThis());
        }
        child->unsetAnyValueWithLock(lock.get(), level);
    }
    SharedTreeLock const lock;
    if (!isConnectedWithLock(lock)) return;
    saveWithLock(lock, SettingsLevelManager::findLevel(level));
}

void SettingsImpl::unsetAnyValueWithLock(UpgradeLock& lock, std::string const& level) {
    if (!isLeaf_) throw exception::NotAKeyName(getParentImpl(), name_);
    removeValueFromMapWithLock(lock, level);
}

void SettingsImpl::removeValueFromMapWithLock(UpgradeLock& lock, std::string const& level) {
    boost::any const old = getCurrentStateWithLock(lock, true);
    SettingsLevel const* const settingsLevel = SettingsLevelManager::findLevel(level);
    // Looked up under the upgrade lock, which nobody can change under; the exclusive access is for
    // the change alone.
    if (!settingsLevel || !levelValues_.find(settingsLevel->position())) {
        throw exception::ValueNotDefinedForGivenLevel(sharedThis(), level);
    }
    boost::any removed;
    {
        ExclusiveTreeLock const exclusive(lock);
        levelValues_.take(settingsLevel->position(), removed);
    }
    if (currentStateDiffersWithLock(lock, old)) fireValueChangeWithLock(lock);
}

bool SettingsImpl::currentStateDiffersWithLock(HeldLock const& lock, boost::any const& old) const {
    boost::any computed;
    boost::any const& now = viewInForce(lock, true, computed);
    // The same object counts as equal even if it is a NaN, which the same value does not.
    return !(&now == &old ? boostany::isEqual(now, boost::any(old)) : boostany::isEqual(now, old));
}

// --- Levels that a change of the structure touches --------------------------------------------

namespace {

std::string joined(std::set<std::string> const& names) {
    std::string text;
    for (std::string const& name : names)
        text += (text.empty() ? "" : ", ") + name;
    return text;
}

}  // namespace

std::vector<SettingsLevel const*> SettingsImpl::getLevelToUpdate(HeldLock const& lock,
                                                                 bool checkWritable) const {
    std::set<std::string> levels;
    getlevelsContainValue(lock, levels);
    for (SettingsLevel const& level : SettingsLevelManager::levels()) {
        if (!level.canHaveFile()) levels.erase(level.levelName());
    }
    std::string const needed = joined(levels);
    if (checkWritable && !tryToDeleteFiles(levels)) {
        throw exception::NoFileWritePermissionOnMultipleLevels(sharedThis(), needed,
                                                               joined(levels));
    }
    return SettingsLevelManager::getSettingsLevelManagerInstance()->getSettingsLevelByNameVec(
        levels.begin(), levels.end());
}

void SettingsImpl::getlevelsContainValue(HeldLock const& lock,
                                         std::set<std::string>& levels) const {
    if (isLeaf_) {
        for (SettingsLevel const& level : SettingsLevelManager::levels()) {
            if (levelValues_.hasValue(level.position())) levels.insert(level.levelName());
        }
    } else {
        for (auto const& entry : childMap())
            entry.second->getlevelsContainValue(lock, levels);
    }
    levels.insert("user");
}

bool SettingsImpl::tryToDeleteFiles(std::set<std::string>& levelNames) {
    std::size_t const before = levelNames.size();
    for (SettingsLevel const& level : SettingsLevelManager::levels()) {
        if (!level.canBeModified()) levelNames.erase(level.levelName());
    }
    return levelNames.size() == before;
}

}  // namespace settings::core
