// Where a node stands, and how others are found from it.

#include <settingscore/tree/NodeView.hpp>
#include <settingscore/tree/PathLookup.hpp>

namespace settings::core {

using detail::HeldLock;
using detail::NodeView;
using detail::PathLookup;
using detail::SharedTreeLock;

// --- Names and places -----------------------------------------------------------------------

std::string SettingsImpl::getFullName() const {
    SharedTreeLock const lock;
    return getFullNameWithLock(lock, false);
}

std::string SettingsImpl::getFullNameWithLock(HeldLock const& lock, bool includeRootName) const {
    return NodeView(*this, lock).fullName(includeRootName);
}

unsigned long SettingsImpl::getNodeDepth(HeldLock const& lock) const {
    return NodeView(*this, lock).depth();
}

boost::shared_ptr<Settings> SettingsImpl::getParent() {
    SharedTreeLock const lock;
    return getParentImpl();
}

boost::shared_ptr<Settings const> SettingsImpl::getParent() const {
    SharedTreeLock const lock;
    return getParentImpl();
}

bool SettingsImpl::isTopLevelNode() const {
    SharedTreeLock const lock;
    return NodeView(*this, lock).isTopLevel();
}

bool SettingsImpl::isOrphanRoot() const {
    SharedTreeLock const lock;
    return !getParentImpl() && !isSettingsTreeRoot();
}

// The answer can be stale at once, but the walk must not meet a change of a parent.
bool SettingsImpl::isConnectedToTheSettingsTree() const {
    SharedTreeLock const lock;
    return NodeView(*this, lock).isConnected();
}

boost::shared_ptr<SettingsImpl const> SettingsImpl::getTopLevelNode() const {
    SharedTreeLock const lock;
    return NodeView(*this, lock).topLevel();
}

boost::shared_ptr<SettingsImpl> SettingsImpl::getTopLevelNode() {
    return boost::const_pointer_cast<SettingsImpl>(
        static_cast<SettingsImpl const*>(this)->getTopLevelNode());
}

boost::shared_ptr<SettingsImpl const> SettingsImpl::getRootForThisObjectWithLock(
    HeldLock const& lock) const {
    return NodeView(*this, lock).end();
}

ZcrID SettingsImpl::getZcrID() const {
    SharedTreeLock const lock;
    boost::shared_ptr<SettingsImpl> ancestor = getParentImpl();
    while (ancestor && !ancestor->isSettingsTreeRoot())
        ancestor = ancestor->getParentImpl();
    return ancestor ? ancestor->getZcrID() : UndefinedZcrID;  // The root's answer takes no lock.
}

bool SettingsImpl::isAscendant(boost::shared_ptr<SettingsImpl const> const& node) const {
    SharedTreeLock const lock;
    return node && NodeView(*this, lock).isBelow(*node);
}

// --- Children -------------------------------------------------------------------------------

boost::shared_ptr<SettingsImpl> SettingsImpl::getChildImpl(std::string const& name) const {
    loadIfNotInitializedYet();
    SharedTreeLock const lock;
    ChildMap const& children = content_.visibleChildren();
    auto const found = children.find(name);
    return found == children.end() ? boost::shared_ptr<SettingsImpl>() : found->second;
}

std::vector<boost::shared_ptr<SettingsImpl>> SettingsImpl::getChildrenImpl() const {
    loadIfNotInitializedYet();
    SharedTreeLock const lock;
    return getChildrenImplWithLock(lock);
}

std::vector<boost::shared_ptr<SettingsImpl>> SettingsImpl::getChildrenImplWithLock(
    HeldLock const&) const {
    ChildMap const& all = content_.visibleChildren();
    std::vector<boost::shared_ptr<SettingsImpl>> children;
    children.reserve(all.size());
    for (auto const& entry : all)
        children.push_back(entry.second);
    return children;
}

boost::shared_ptr<Settings> SettingsImpl::getChild(std::string const& name) {
    return getChildImpl(name);
}

boost::shared_ptr<Settings const> SettingsImpl::getChild(std::string const& name) const {
    return getChildImpl(name);
}

std::vector<boost::shared_ptr<Settings>> SettingsImpl::getChildren() {
    auto const children = getChildrenImpl();
    return {children.begin(), children.end()};
}

std::vector<boost::shared_ptr<Settings const>> SettingsImpl::getChildren() const {
    auto const children = getChildrenImpl();
    return {children.begin(), children.end()};
}

// --- Paths ----------------------------------------------------------------------------------

boost::shared_ptr<Settings> SettingsImpl::getSettingsByFullName(std::string const& fullName) const {
    return getSettingsByPathVec(PathLookup::split(fullName));
}

boost::shared_ptr<Settings> SettingsImpl::getSettingsByPathVec(
    std::vector<std::string> const& path) const {
    return PathLookup(*this).find(path);
}

boost::shared_ptr<SettingsImpl> SettingsImpl::getSettingsByRelativeNameWithLock(
    HeldLock const& lock, std::vector<std::string>::const_iterator first,
    std::vector<std::string>::const_iterator last) const {
    return PathLookup(*this).findWithLock(lock, first, last);
}

}  // namespace settings::core
