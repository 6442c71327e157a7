#include <settingscore/tree/ValueRemoval.hpp>

#include <settingscore/errors/TreeExceptions.hpp>
#include <settingscore/tree/FailureOf.hpp>
#include <settingscore/tree/KeyChecks.hpp>
#include <settingscore/tree/KeyValues.hpp>
#include <settingscore/tree/LoadAndSave.hpp>
#include <settingscore/tree/NodeEvents.hpp>
#include <settingscore/tree/NodeView.hpp>

namespace settings::core::detail {

void ValueRemoval::remove(std::string const& name, std::string const& levelName) const {
    parent_.loadIfNotInitializedYet();
    SettingsLevel const& level = modifiableLevelOf(parent_, levelName);
    LoadAndSave::bringUpToDate({&parent_});
    std::exception_ptr failure;
    {
        UpgradeTreeLock lock;
        SettingsImpl& key = checkedKey(lock, name);
        KeyValues::Change const change = KeyValues::remove(key, lock.get(), level);
        failure = change.failure;
        if (change.tellListeners) failure = failureOf([&] { fireValueChange(key, lock); });
    }
    finishDespite(failure, [&] { LoadAndSave::saveChange(level, parent_); });
}

SettingsImpl& ValueRemoval::checkedKey(HeldLock const& lock, std::string const& name) const {
    NodeView const above(parent_, lock);
    SettingsImpl* const key = above.child(name);
    if (!key) throw exception::NoSuchKey(parent_.shared_from_this(), name);
    if (above.isConnected() && above.isReadOnly()) {
        throw exception::CannotAddRemoveNodeUnderReadOnlyParent(key->shared_from_this(),
                                                                parent_.shared_from_this());
    }
    if (!NodeView(*key, lock).isLeaf()) throw exception::NotAKeyName(key->getParentImpl(), name);
    return *key;
}

}  // namespace settings::core::detail
