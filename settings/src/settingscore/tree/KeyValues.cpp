#include <settingscore/tree/KeyValues.hpp>

#include <boost/variant/apply_visitor.hpp>
#include <settingscore/errors/TreeExceptions.hpp>
#include <settingscore/errors/ValueExceptions.hpp>
#include <settingscore/levels/SettingsLevelManager.hpp>
#include <settingscore/rules/RuntimeDefaultVisitor.hpp>
#include <settingscore/tree/NodeView.hpp>
#include <settingscore/value/AnyBridge.hpp>
#include <settingscore/value/NeverDestroyed.hpp>

namespace settings::core::detail {

namespace boostany = settingscore::boostany;

boost::any KeyValues::inForce(bool runDefault) const {
    boost::any computed;
    boost::any const& value = viewInForce(runDefault, computed);
    if (&value == &computed) return computed;
    return value;
}

boost::any KeyValues::onLevel(SettingsLevel const* level, bool runDefault) const {
    boost::any computed;
    boost::any const& value = viewOnLevel(level, runDefault, computed);
    if (&value == &computed) return computed;
    return value;
}

boost::any const& KeyValues::viewInForce(bool runDefault, boost::any& computed) const {
    for (SettingsLevel const& level : SettingsLevelManager::levels()) {
        boost::any const& value = viewOnLevel(&level, runDefault, computed);
        if (!value.empty()) return value;
    }
    return computed;
}

boost::any const& KeyValues::viewOnLevel(SettingsLevel const* level, bool runDefault,
                                         boost::any& computed) const {
    NodeContent const& content = key_.contentWithLock(lock_);
    if (!content.isLeaf) throw exception::NotAKeyName(key_.getParentImpl(), content.name);
    if (level) {
        // An entry wins over a runtime default, also an empty one.
        if (boost::any const* const entry = content.values.find(level->position())) return *entry;
    }
    RunTimeDefault const& runTimeDefault = content.runTimeDefault.get();
    if (!runDefault || isVoidRuntimeDefault(runTimeDefault)) return computed;
    static auto const& noLevel = neverDestroyed<std::string>();
    bool const isOwn = belongsToLevel(runTimeDefault, level ? level->levelName() : noLevel);
    if (!isOwn && NodeView(key_, lock_).isConnected()) return computed;
    RuntimeDefaultVisitor const visitor(computed);
    boost::apply_visitor(visitor, runTimeDefault);
    key_.validatePrecheckWithLock(computed, lock_);
    return computed;
}

bool KeyValues::inForceDiffersFrom(boost::any const& old) const {
    boost::any computed;
    boost::any const& now = viewInForce(true, computed);
    // The same object counts as equal even if it is a NaN, which the same value does not.
    return !(&now == &old ? boostany::isEqual(now, boost::any(old)) : boostany::isEqual(now, old));
}

KeyValues::Change KeyValues::store(SettingsImpl& key, SettingsImpl::UpgradeLock& lock,
                                   boost::any const& value, SettingsLevel const& level) {
    KeyValues const values(key, lock);
    boost::any computedBefore;
    boost::any computedOnLevel;
    boost::any const& inForce = values.viewInForce(true, computedBefore);
    boost::any const& onLevel = values.viewOnLevel(&level, true, computedOnLevel);
    if (boostany::isEqual(value, onLevel)) return {};
    boostany::detail::CreateAny copier;
    boost::any copy = boostany::applyVisitor(copier, value, true);
    bool const replacesInForce = &inForce == &onLevel;
    {
        ExclusiveTreeLock const exclusive(lock);
        key.contentInternal().values.put(level.position(), copy);
    }
    // The entry that was replaced has been swapped into the copy.
    return values.madeSince(replacesInForce ? copy : inForce);
}

KeyValues::Change KeyValues::remove(SettingsImpl& key, SettingsImpl::UpgradeLock& lock,
                                    SettingsLevel const& level) {
    KeyValues const values(key, lock);
    boost::any const old = values.inForce(true);
    // Looked up under the upgrade lock, which nobody can change under; the exclusive access is for
    // the change alone.
    if (!key.contentInternal().values.find(level.position())) {
        throw exception::ValueNotDefinedForGivenLevel(key.shared_from_this(), level.levelName());
    }
    boost::any removed;
    {
        ExclusiveTreeLock const exclusive(lock);
        key.contentInternal().values.take(level.position(), removed);
    }
    return values.madeSince(old);
}

KeyValues::Change KeyValues::madeSince(boost::any const& old) const {
    Change change{true, false, nullptr};
    try {
        change.tellListeners = inForceDiffersFrom(old);
    } catch (...) {
        change.failure = std::current_exception();
    }
    return change;
}

}  // namespace settings::core::detail
