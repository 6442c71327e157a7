// How nodes enter a tree and leave it.

#include <stdexcept>

#include <settingscore/errors/Exceptions.hpp>
#include <settingscore/persistence/SettingsFile.hpp>
#include <settingscore/persistence/SettingsLevel.hpp>
#include <settingscore/roots/SettingsEvent.hpp>
#include <settingscore/roots/SettingsImplRoot.hpp>
#include <settingscore/tree/SettingsImpl.hpp>
#include <settingscore/value/AsciiCase.hpp>

namespace settings::core {

using detail::ExclusiveTreeLock;
using detail::HeldLock;
using detail::SharedTreeLock;
using detail::UpgradeTreeLock;

bool SettingsImpl::SettingsNamingRule::operator()(ChildMap::value_type const& entry) const {
    return detail::equalWithoutCase(name_, entry.first);
}

// --- Attaching ------------------------------------------------------------------------------

void SettingsImpl::setParent(boost::shared_ptr<Settings> const& parent) {
    auto const newParent = boost::dynamic_pointer_cast<SettingsImpl>(parent);
    if (!newParent) return;
    newParent->loadIfNotInitializedYet();
    // What was made in memory is whole: its own saved file must not be loaded over it. Spent before
    // the lock is taken, so that a first touch on another thread has ended when the node becomes a
    // product.
    if (newParent->isSettingsTreeRoot() && !isContentPending()) loadOnce_.run([] {});
    {
        UpgradeTreeLock lock;
        setParentImpl(lock.get(), newParent, true);
        newParent->fireSettingsEventWithLock<SettingsAddNodeEvent>(lock, sharedThis());
    }
    SharedTreeLock const lock;
    if (!isConnectedWithLock(lock)) return;
    for (SettingsLevel const* level : getLevelToUpdate(lock, false))
        saveWithLock(lock, level);
}

void SettingsImpl::setParentInternal(boost::shared_ptr<SettingsImpl> const& parent) {
    if (!parent) return;
    parent->addChild(sharedThis());
    parent_ = parent;
    if (parent->isSettingsTreeRoot() && !loadOnce_.isDone()) contentPending_ = true;
}

void SettingsImpl::setParentImpl(UpgradeLock& lock, boost::shared_ptr<SettingsImpl> const& parent,
                                 bool validate) {
    if (parent->isConnectedWithLock(lock) && parent->isReadOnlyWithLock(lock)) {
        throw exception::CannotAddRemoveNodeUnderReadOnlyParent(sharedThis(), parent);
    }
    if (isLeaf_ && parent->isRoot()) throw exception::CanNotAddKeyToRootException(sharedThis());
    if (parent.get() == this || parent->isAscendantWithLock(this)) {
        throw std::invalid_argument("A node cannot be attached to itself or below itself.");
    }
    if (validate) validateValueBasedOnParentRule(lock, parent);
    ExclusiveTreeLock const exclusive(lock);
    setParentWithLock(exclusive, parent);
}

void SettingsImpl::setParentWithLock(HeldLock const& lock,
                                     boost::shared_ptr<SettingsImpl> const& parent) {
    // The child map refuses before the parent changes, so that nothing has to be put back.
    parent->addToChildMapWithLock(lock, sharedThis());
    parent_ = parent;
}

void SettingsImpl::addToChildMapWithLock(HeldLock const&,
                                         boost::shared_ptr<SettingsImpl> const& child) {
    addChild(child);
}

void SettingsImpl::addChild(boost::shared_ptr<SettingsImpl> const& child) {
    std::string const& name = child->name_;
    if (isSettingsTreeRoot()) {
        auto const clash =
            std::find_if(children_.begin(), children_.end(), SettingsNamingRule(name));
        if (clash != children_.end()) throw exception::ErrorAddingTopLevelNode(name, clash->first);
    }
    if (!children_.emplace(name, child).second) {
        throw exception::ErrorAddingChildNodeOrKey(sharedThis(), name);
    }
}

void SettingsImpl::validateValueBasedOnParentRule(
    HeldLock const& lock, boost::shared_ptr<SettingsImpl const> const& parent) const {
    if (parent->getValidatorFromParentChain(lock).which() == 0) return;
    if (validator_.which() != 0) return;  // A node with a rule of its own keeps it.
    validateValues(lock, parent);
}

void SettingsImpl::validateValues(HeldLock const& lock,
                                  boost::shared_ptr<SettingsImpl const> const& parent) const {
    if (!isLeaf_) {
        // The parent to be is passed down: the chain of a nested key ends at the group that is not
        // attached yet.
        for (auto const& entry : childMap()) {
            entry.second->validateValueBasedOnParentRule(lock, parent);
        }
        return;
    }
    for (std::size_t position : detail::LevelValues::byLevelName) {
        if (levelValues_.hasValue(position)) {
            callValidator(lock, parent, *levelValues_.find(position));
        }
    }
}

// --- Removing -------------------------------------------------------------------------------

void SettingsImpl::removeKey(std::string const& name) {
    boost::shared_ptr<SettingsImpl> const child = getChildImpl(name);
    if (!child) throw exception::NoSuchKey(sharedThis(), name);
    if (!child->isLeaf_) throw exception::NotAKeyName(sharedThis(), name);
    removeNodeImpl(child);
}

void SettingsImpl::removeNode(std::string const& name) {
    boost::shared_ptr<SettingsImpl> const child = getChildImpl(name);
    if (!child) throw exception::NoSuchNode(sharedThis(), name);
    if (child->isLeaf_) throw exception::NotANodeName(sharedThis(), name);
    // A product that is not loaded could have factory values, which forbid the removal.
    child->loadIfNotInitializedYet();
    removeNodeImpl(child);
}

void SettingsImpl::removeNodeImpl(boost::shared_ptr<SettingsImpl> const& child) {
    bool connected = false;
    bool wasTopLevel = false;
    std::vector<SettingsLevel const*> levels;
    {
        // Held from the first check on, so that no other remover comes between.
        UpgradeTreeLock lock;
        connected = isConnectedWithLock(lock);
        if (connected && isReadOnlyWithLock(lock)) {
            throw exception::CannotAddRemoveNodeUnderReadOnlyParent(child, sharedThis());
        }
        wasTopLevel = child->isTopLevelNodeWithLock(lock);
        if (connected) levels = child->getLevelToUpdate(lock, true);
        if (!removeNodeImplWithLock(lock.get(), child)) return;
        fireSettingsEventWithLock<SettingsRemoveNodeEvent>(lock, child);
    }
    if (!connected) return;
    SharedTreeLock const lock;
    if (!wasTopLevel) {
        for (SettingsLevel const* level : levels)
            saveWithLock(lock, level);
        return;
    }
    // A product of the same name that came in the meantime owns the files now, and a root that its
    // instance has let go no longer writes.
    boost::shared_ptr<SettingsImplRoot const> const root = getTreeRootWithLock(lock);
    if (!root || !root->isInUse() || findChild(child->name_)) return;
    for (SettingsLevel const* level : levels) {
        SettingsFile::deleteSettingsFile(level, child->name_);
    }
}

bool SettingsImpl::removeNodeImplWithLock(UpgradeLock& lock,
                                          boost::shared_ptr<SettingsImpl> const& child) {
    auto const found = children_.find(child->name_);
    if (found == children_.end() || found->second != child) return false;
    ExclusiveTreeLock const exclusive(lock);
    children_.erase(found);
    child->resetParent();
    return true;
}

}  // namespace settings::core
