#include <settingscore/tree/NodeEdits.hpp>

#include <stdexcept>

#include <settingscore/errors/TreeExceptions.hpp>
#include <settingscore/levels/SettingsLevelManager.hpp>
#include <settingscore/tree/FailureOf.hpp>
#include <settingscore/tree/KeyChecks.hpp>
#include <settingscore/tree/LoadAndSave.hpp>
#include <settingscore/tree/NodeEvents.hpp>
#include <settingscore/tree/NodeWalk.hpp>
#include <settingscore/tree/SettingsEvent.hpp>
#include <settingscore/tree/StructureVersion.hpp>
#include <settingscore/tree/TreeRoot.hpp>

namespace settings::core::detail {

namespace {

/// Null if the node is no root of a tree, or one that keeps no names.
TreeRoot* asTreeRoot(SettingsImpl& node) {
    return node.isSettingsTreeRoot() ? dynamic_cast<TreeRoot*>(&node) : nullptr;
}

}  // namespace

void NodeEdits::addChild(SettingsImpl& parent, boost::shared_ptr<SettingsImpl> const& child) {
    std::string const& name = child->contentInternal().name;
    TreeRoot* const root = asTreeRoot(parent);
    if (root) {
        if (std::string const* const taken = root->enterName(name)) {
            throw exception::ErrorAddingTopLevelNode(name, *taken);
        }
    }
    try {
        if (parent.contentInternal().children.edit().emplace(name, child).second) return;
    } catch (...) {
        if (root) root->strikeName(name);
        throw;
    }
    throw exception::ErrorAddingChildNodeOrKey(parent.shared_from_this(), name);
}

// --- Attaching ------------------------------------------------------------------------------

void NodeEdits::attach(boost::shared_ptr<SettingsImpl> const& newParent) const {
    newParent->loadIfNotInitializedYet();
    LoadAndSave::bringUpToDate({newParent.get()});
    // What was made in memory is whole: its own saved file must not be loaded over it. Spent before
    // the lock is taken, so that a first touch on another thread has ended when the node becomes a
    // product.
    if (newParent->isSettingsTreeRoot() && !content_.isPending()) content_.loadOnce.run([] {});
    std::exception_ptr failure;
    {
        UpgradeTreeLock lock;
        checkAndEnter(lock.get(), newParent, true);
        failure = failureOf([&] {
            fireNodeEvent<SettingsAddNodeEvent>(*newParent, lock, node_.shared_from_this());
        });
    }
    finishDespite(failure, [this] {
        SharedTreeLock const lock;
        if (!NodeView(node_, lock).isConnected()) return;
        for (SettingsLevel const* level : node_.getLevelToUpdate(lock, false))
            LoadAndSave::save(*level, node_.shared_from_this(), lock);
    });
}

void NodeEdits::checkAndEnter(UpgradeLock& lock, boost::shared_ptr<SettingsImpl> const& parent,
                              bool validate) const {
    NodeView const above(*parent, lock);
    if (above.isConnected() && above.isReadOnly()) {
        throw exception::CannotAddRemoveNodeUnderReadOnlyParent(node_.shared_from_this(), parent);
    }
    if (content_.isLeaf && parent->isRoot()) {
        throw exception::CanNotAddKeyToRootException(node_.shared_from_this());
    }
    if (node_.isSettingsTreeRoot())
        throw std::invalid_argument("The root of a tree cannot be attached.");
    if (parent.get() == &node_ || above.isBelow(node_)) {
        throw std::invalid_argument("A node cannot be attached to itself or below itself.");
    }
    if (validate) node_.validateValueBasedOnParentRule(lock, parent);
    ExclusiveTreeLock const exclusive(lock);
    enter(parent);
}

void NodeEdits::enter(boost::shared_ptr<SettingsImpl> const& parent) const {
    // The child map refuses before the parent changes, so that nothing has to be put back.
    addChild(*parent, node_.shared_from_this());
    content_.parent = parent;
}

// --- Removing -------------------------------------------------------------------------------

void NodeEdits::remove(boost::shared_ptr<SettingsImpl> const& child) const {
    bool connected = false;
    bool wasTopLevel = false;
    std::vector<SettingsLevel const*> levels;
    std::exception_ptr failure;
    LoadAndSave::bringUpToDate({&node_, child.get()});
    {
        // Held from the first check on, so that no other remover comes between.
        UpgradeTreeLock lock;
        NodeView const view(node_, lock);
        connected = view.isConnected();
        if (connected && view.isReadOnly()) {
            throw exception::CannotAddRemoveNodeUnderReadOnlyParent(child,
                                                                    node_.shared_from_this());
        }
        wasTopLevel = NodeView(*child, lock).isTopLevel();
        if (connected) levels = child->getLevelToUpdate(lock, true);
        if (!take(lock.get(), child)) return;
        if (wasTopLevel) LoadAndSave::productLeft(child);
        failure = failureOf([&] { fireNodeEvent<SettingsRemoveNodeEvent>(node_, lock, child); });
        // Where others bring a product in whose file they see, it goes before they can look.
        if (connected && wasTopLevel && LoadAndSave::isShared())
            return finishDespite(failure, [&] { deleteFiles(lock, *child, levels); });
    }
    if (!connected) return;
    finishDespite(failure, [&] {
        SharedTreeLock const lock;
        if (wasTopLevel) return deleteFiles(lock, *child, levels);
        for (SettingsLevel const* level : levels)
            LoadAndSave::save(*level, node_.shared_from_this(), lock);
    });
}

void NodeEdits::deleteFiles(HeldLock const& lock, SettingsImpl const& child,
                            std::vector<SettingsLevel const*> const& levels) const {
    // A product of the same name that came in the meantime owns the files now, and a root that its
    // instance has let go no longer writes.
    NodeView const view(node_, lock);
    boost::shared_ptr<TreeRoot const> const root = view.root();
    std::string const name = child.getName();
    if (!root || !root->isInUse() || view.child(name)) return;
    for (SettingsLevel const* level : levels)
        LoadAndSave::deleteFile(*level, name);
}

bool NodeEdits::take(UpgradeLock& lock, boost::shared_ptr<SettingsImpl> const& child) const {
    auto const found = content_.children.get().find(child->contentInternal().name);
    if (found == content_.children.get().end() || found->second != child) return false;
    ExclusiveTreeLock const exclusive(lock);
    leave(child);
    return true;
}

void NodeEdits::leave(boost::shared_ptr<SettingsImpl> const& child) const {
    std::string const& name = child->contentInternal().name;
    if (TreeRoot* const root = asTreeRoot(node_)) root->strikeName(name);
    content_.children.edit().erase(name);
    child->resetParent();
    raiseStructureVersion();
}

}  // namespace settings::core::detail
