// How nodes enter a tree and leave it.

#include <array>
#include <stdexcept>

#include <settingscore/errors/TreeExceptions.hpp>
#include <settingscore/levels/SettingsLevelManager.hpp>
#include <settingscore/tree/FailureOf.hpp>
#include <settingscore/tree/KeyChecks.hpp>
#include <settingscore/tree/LoadAndSave.hpp>
#include <settingscore/tree/NodeEvents.hpp>
#include <settingscore/tree/NodeWalk.hpp>
#include <settingscore/tree/SettingsEvent.hpp>
#include <settingscore/tree/TreeRoot.hpp>
#include <settingscore/value/AsciiCase.hpp>

namespace settings::core {

using detail::ExclusiveTreeLock;
using detail::HeldLock;
using detail::LoadAndSave;
using detail::NodeView;
using detail::SharedTreeLock;
using detail::UpgradeTreeLock;

bool SettingsImpl::SettingsNamingRule::operator()(ChildMap::value_type const& entry) const {
    return detail::equalWithoutCase(name_, entry.first);
}

namespace {

/// Null if the node is no root of a tree, or one that keeps no names.
TreeRoot* asTreeRoot(SettingsImpl& node) {
    return node.isSettingsTreeRoot() ? dynamic_cast<TreeRoot*>(&node) : nullptr;
}

void addChild(SettingsImpl& parent, boost::shared_ptr<SettingsImpl> const& child) {
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

}  // namespace

// --- Attaching ------------------------------------------------------------------------------

void SettingsImpl::setParent(boost::shared_ptr<Settings> const& parent) {
    auto const newParent = boost::dynamic_pointer_cast<SettingsImpl>(parent);
    if (!newParent) return;
    newParent->loadIfNotInitializedYet();
    // What was made in memory is whole: its own saved file must not be loaded over it. Spent before
    // the lock is taken, so that a first touch on another thread has ended when the node becomes a
    // product.
    if (newParent->isSettingsTreeRoot() && !content_.isPending()) content_.loadOnce.run([] {});
    std::exception_ptr failure;
    {
        UpgradeTreeLock lock;
        setParentImpl(lock.get(), newParent, true);
        failure = detail::failureOf([&] {
            detail::fireNodeEvent<SettingsAddNodeEvent>(*newParent, lock, shared_from_this());
        });
    }
    detail::finishDespite(failure, [this] {
        SharedTreeLock const lock;
        if (!NodeView(*this, lock).isConnected()) return;
        for (SettingsLevel const* level : getLevelToUpdate(lock, false))
            LoadAndSave::save(*level, shared_from_this(), lock);
    });
}

void SettingsImpl::setParentImpl(UpgradeLock& lock, boost::shared_ptr<SettingsImpl> const& parent,
                                 bool validate) {
    NodeView const above(*parent, lock);
    if (above.isConnected() && above.isReadOnly()) {
        throw exception::CannotAddRemoveNodeUnderReadOnlyParent(shared_from_this(), parent);
    }
    if (content_.isLeaf && parent->isRoot()) {
        throw exception::CanNotAddKeyToRootException(shared_from_this());
    }
    if (isSettingsTreeRoot()) throw std::invalid_argument("The root of a tree cannot be attached.");
    if (parent.get() == this || above.isBelow(*this)) {
        throw std::invalid_argument("A node cannot be attached to itself or below itself.");
    }
    if (validate) validateValueBasedOnParentRule(lock, parent);
    ExclusiveTreeLock const exclusive(lock);
    setParentWithLock(exclusive, parent);
}

void SettingsImpl::setParentWithLock(HeldLock const& lock,
                                     boost::shared_ptr<SettingsImpl> const& parent) {
    // The child map refuses before the parent changes, so that nothing has to be put back.
    parent->addToChildMapWithLock(lock, shared_from_this());
    content_.parent = parent;
}

void SettingsImpl::setParentInternal(boost::shared_ptr<SettingsImpl> const& parent) {
    if (!parent) return;
    addChild(*parent, shared_from_this());
    content_.parent = parent;
    if (parent->isSettingsTreeRoot() && !content_.loadOnce.isDone()) content_.pending = true;
}

void SettingsImpl::addToChildMapWithLock(HeldLock const&,
                                         boost::shared_ptr<SettingsImpl> const& child) {
    addChild(*this, child);
}

// --- Removing -------------------------------------------------------------------------------

void SettingsImpl::removeKey(std::string const& name) {
    boost::shared_ptr<SettingsImpl> const child = getChildImpl(name);
    if (!child) throw exception::NoSuchKey(shared_from_this(), name);
    if (!child->content_.isLeaf) throw exception::NotAKeyName(shared_from_this(), name);
    removeNodeImpl(child);
}

void SettingsImpl::removeNode(std::string const& name) {
    boost::shared_ptr<SettingsImpl> const child = getChildImpl(name);
    if (!child) throw exception::NoSuchNode(shared_from_this(), name);
    if (child->content_.isLeaf) throw exception::NotANodeName(shared_from_this(), name);
    // A product that is not loaded could have factory values, which forbid the removal.
    child->loadIfNotInitializedYet();
    removeNodeImpl(child);
}

void SettingsImpl::removeNodeImpl(boost::shared_ptr<SettingsImpl> const& child) {
    bool connected = false;
    bool wasTopLevel = false;
    std::vector<SettingsLevel const*> levels;
    std::exception_ptr failure;
    {
        // Held from the first check on, so that no other remover comes between.
        UpgradeTreeLock lock;
        NodeView const view(*this, lock);
        connected = view.isConnected();
        if (connected && view.isReadOnly()) {
            throw exception::CannotAddRemoveNodeUnderReadOnlyParent(child, shared_from_this());
        }
        wasTopLevel = NodeView(*child, lock).isTopLevel();
        if (connected) levels = child->getLevelToUpdate(lock, true);
        if (!removeNodeImplWithLock(lock.get(), child)) return;
        failure = detail::failureOf(
            [&] { detail::fireNodeEvent<SettingsRemoveNodeEvent>(*this, lock, child); });
    }
    if (!connected) return;
    detail::finishDespite(failure, [&] {
        SharedTreeLock const lock;
        NodeView const view(*this, lock);
        if (!wasTopLevel) {
            for (SettingsLevel const* level : levels)
                LoadAndSave::save(*level, shared_from_this(), lock);
            return;
        }
        // A product of the same name that came in the meantime owns the files now, and a root that
        // its instance has let go no longer writes.
        boost::shared_ptr<TreeRoot const> const root = view.root();
        if (!root || !root->isInUse() || view.child(child->content_.name)) return;
        for (SettingsLevel const* level : levels)
            LoadAndSave::deleteFile(*level, child->content_.name);
    });
}

bool SettingsImpl::removeNodeImplWithLock(UpgradeLock& lock,
                                          boost::shared_ptr<SettingsImpl> const& child) {
    auto const found = content_.children.get().find(child->content_.name);
    if (found == content_.children.get().end() || found->second != child) return false;
    TreeRoot* const root = asTreeRoot(*this);
    ExclusiveTreeLock const exclusive(lock);
    if (root) root->strikeName(found->first);
    content_.children.edit().erase(found);
    child->resetParent();
    return true;
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
        throw exception::NoFileWritePermissionOnMultipleLevels(shared_from_this(), needed,
                                                               joined(levels));
    }
    return SettingsLevelManager::getSettingsLevelManagerInstance()->getSettingsLevelByNameVec(
        levels.begin(), levels.end());
}

void SettingsImpl::getlevelsContainValue(HeldLock const& lock,
                                         std::set<std::string>& levels) const {
    std::array<bool, SettingsLevelManager::levelCount> holdsValue{};
    detail::walkTree(*this, lock, detail::ChildOrder::byName,
                     [&](NodeView const& view, std::size_t) {
                         for (std::size_t i = 0; i < holdsValue.size(); ++i)
                             holdsValue[i] = holdsValue[i] || view.storedValues().hasValue(i);
                         return !view.isLeaf();
                     });
    for (SettingsLevel const& level : SettingsLevelManager::levels()) {
        if (holdsValue[level.position()]) levels.insert(level.levelName());
    }
    levels.insert(SettingsLevelManager::userLevel().levelName());
}

bool SettingsImpl::tryToDeleteFiles(std::set<std::string>& levelNames) {
    std::size_t const before = levelNames.size();
    for (SettingsLevel const& level : SettingsLevelManager::levels()) {
        if (!level.canBeModified()) levelNames.erase(level.levelName());
    }
    return levelNames.size() == before;
}

}  // namespace settings::core
