// What the operations of a node that change the structure hand over.

#include <array>

#include <settingscore/errors/TreeExceptions.hpp>
#include <settingscore/levels/SettingsLevelManager.hpp>
#include <settingscore/tree/LiveMerge.hpp>
#include <settingscore/tree/NodeEdits.hpp>
#include <settingscore/tree/NodeWalk.hpp>
#include <settingscore/value/AsciiCase.hpp>

namespace settings::core {

using detail::HeldLock;
using detail::NodeEdits;
using detail::NodeView;

bool SettingsImpl::SettingsNamingRule::operator()(ChildMap::value_type const& entry) const {
    return detail::equalWithoutCase(name_, entry.first);
}

// --- Attaching and merging ------------------------------------------------------------------

void SettingsImpl::setParent(boost::shared_ptr<Settings> const& parent) {
    auto const newParent = boost::dynamic_pointer_cast<SettingsImpl>(parent);
    if (newParent) NodeEdits(*this).attach(newParent);
}

void SettingsImpl::setParentImpl(UpgradeLock& lock, boost::shared_ptr<SettingsImpl> const& parent,
                                 bool validate) {
    NodeEdits(*this).checkAndEnter(lock, parent, validate);
}

void SettingsImpl::setParentWithLock(HeldLock const&,
                                     boost::shared_ptr<SettingsImpl> const& parent) {
    NodeEdits(*this).enter(parent);
}

void SettingsImpl::setParentInternal(boost::shared_ptr<SettingsImpl> const& parent) {
    if (!parent) return;
    NodeEdits(*this).enter(parent);
    if (parent->isSettingsTreeRoot() && !content_.loadOnce.isDone()) content_.pending = true;
}

void SettingsImpl::addToChildMapWithLock(HeldLock const&,
                                         boost::shared_ptr<SettingsImpl> const& child) {
    NodeEdits::addChild(*this, child);
}

void SettingsImpl::mergeDescendants(boost::shared_ptr<Settings const> const& source,
                                    std::string const& levelName) {
    detail::LiveMerge(*this, source).mergeOn(levelName);
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
    NodeEdits(*this).remove(child);
}

bool SettingsImpl::removeNodeImplWithLock(UpgradeLock& lock,
                                          boost::shared_ptr<SettingsImpl> const& child) {
    return NodeEdits(*this).take(lock, child);
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
