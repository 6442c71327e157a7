#include <settingscore/tree/SettingsImpl.hpp>

#include <settingscore/errors/Exceptions.hpp>
#include <settingscore/roots/SettingsContext.hpp>
#include <settingscore/roots/SettingsImplRoot.hpp>

namespace settings::core {

using detail::ExclusiveTreeLock;
using detail::HeldLock;
using detail::SharedTreeLock;
using detail::UpgradeTreeLock;

SettingsImpl::SettingsImpl(std::string name, bool isLeaf, boost::optional<bool> visible,
                           Validator validator, boost::shared_ptr<SettingsImpl> const& parent)
    : SettingsImpl(std::move(name), isLeaf, visible, boost::none, false, std::move(validator),
                   parent) {}

SettingsImpl::SettingsImpl(std::string name, bool isLeaf, boost::optional<bool> visible,
                           Validator validator, boost::logic::tribool readOnly,
                           boost::shared_ptr<SettingsImpl> const& parent)
    : SettingsImpl(std::move(name), isLeaf, visible, boost::none, readOnly, std::move(validator),
                   parent) {}

SettingsImpl::SettingsImpl(std::string name, bool isLeaf, boost::optional<bool> visible,
                           boost::optional<unsigned int> version, boost::logic::tribool readOnly,
                           Validator validator, boost::shared_ptr<SettingsImpl> const& parent)
    : name_(std::move(name)),
      isLeaf_(isLeaf),
      readOnly_(readOnly),
      visible_(visible),
      versionNumber_(version),
      parent_(parent),
      validator_(std::move(validator)) {}

SettingsImpl::SettingsImpl(std::string name, bool isLeaf, boost::optional<bool> visible,
                           ValueArraySizeValidator const& sizes, ValueWriterFcn writer,
                           ValueTypeChecker checker, Validator validator,
                           boost::shared_ptr<SettingsImpl> const& parent)
    : SettingsImpl(std::move(name), isLeaf, visible, boost::none, false, std::move(validator),
                   parent) {
    rules_.valueArraySizeValidator_ = sizes;
    rules_.valueWriter_ = writer;
    rules_.valueTypeChecker_ = checker;
}

// NOLINTNEXTLINE(bugprone-copy-constructor-init): a copy is a node of its own
SettingsImpl::SettingsImpl(SettingsImpl const& other)
    : ZSettings(),
      boost::enable_shared_from_this<SettingsImpl>(),
      name_(other.name_),
      isLeaf_(other.isLeaf_),
      loadOnce_(other.loadOnce_),
      readOnly_(other.readOnly_),
      visible_(other.visible_),
      versionNumber_(other.versionNumber_),
      validator_(other.validator_),
      metaData_(other.metaData_),
      rules_(other.copyOfRules()),
      runTimeDefault_(other.runTimeDefault_) {
    rulesAreComplete_ = rules_.isComplete();
}

SettingsImpl::~SettingsImpl() = default;

boost::shared_mutex& SettingsImpl::mutexToRoot() {
    // Never destroyed: threads may still read while the process ends.
    static auto* const mutexToRoot_ = new boost::shared_mutex;
    return *mutexToRoot_;
}

boost::shared_ptr<SettingsImplRoot> SettingsImpl::getSettingsImplRoot(ZcrID const& id) {
    return SettingsContext::getSettingsImplRootByZcrID(id);
}

boost::shared_ptr<Settings> SettingsImpl::reset() { return SettingsContext::reset(AnyZcrID); }

// --- Names and places -----------------------------------------------------------------------

std::string SettingsImpl::getName() const { return name_; }

std::string SettingsImpl::getFullName() const {
    SharedTreeLock const lock;
    return getFullNameWithLock(lock, false);
}

std::string SettingsImpl::getFullNameWithLock(HeldLock const& lock, bool includeRootName) const {
    if (boost::shared_ptr<SettingsImpl> const parent = getParentImpl()) {
        std::string name = parent->getFullNameWithLock(lock, includeRootName);
        if (!name.empty()) name += '.';
        return name += name_;
    }
    return includeRootName || !isSettingsTreeRoot() ? name_ : std::string();
}

unsigned long SettingsImpl::getNodeDepth(HeldLock const& lock) const {
    boost::shared_ptr<SettingsImpl> const parent = getParentImpl();
    return !parent || parent->isSettingsTreeRoot() ? 0 : parent->getNodeDepth(lock) + 1;
}

boost::shared_ptr<Settings> SettingsImpl::getParent() {
    SharedTreeLock const lock;
    return getParentImpl();
}

boost::shared_ptr<Settings const> SettingsImpl::getParent() const {
    SharedTreeLock const lock;
    return getParentImpl();
}

boost::shared_ptr<SettingsImpl const> SettingsImpl::getThisObjectImpl() const {
    SharedTreeLock const lock;
    return sharedThis();
}

boost::shared_ptr<SettingsImpl> SettingsImpl::getThisObjectImpl() {
    SharedTreeLock const lock;
    return sharedThis();
}

boost::shared_ptr<SettingsImpl> SettingsImpl::sharedThis() { return shared_from_this(); }
boost::shared_ptr<SettingsImpl const> SettingsImpl::sharedThis() const {
    return shared_from_this();
}

bool SettingsImpl::isTopLevelNode() const {
    SharedTreeLock const lock;
    return isTopLevelNodeWithLock(lock);
}

bool SettingsImpl::isTopLevelNodeWithLock(HeldLock const&) const {
    boost::shared_ptr<SettingsImpl> const parent = getParentImpl();
    return parent && parent->isSettingsTreeRoot();
}

bool SettingsImpl::isOrphanRoot() const {
    SharedTreeLock const lock;
    return !getParentImpl() && !isSettingsTreeRoot();
}

// The answer can be stale at once, but the walk must not meet a change of a parent.
bool SettingsImpl::isConnectedToTheSettingsTree() const {
    SharedTreeLock const lock;
    return isConnectedWithLock(lock);
}

bool SettingsImpl::isConnectedWithLock(HeldLock const& lock) const {
    if (isSettingsTreeRoot()) return true;
    boost::shared_ptr<SettingsImpl> const parent = getParentImpl();
    return parent && parent->isConnectedWithLock(lock);
}

boost::shared_ptr<SettingsImpl const> SettingsImpl::getTopLevelNode() const {
    SharedTreeLock const lock;
    return getTopLevelNodeWithLock(lock);
}

boost::shared_ptr<SettingsImpl> SettingsImpl::getTopLevelNode() {
    return boost::const_pointer_cast<SettingsImpl>(
        static_cast<SettingsImpl const*>(this)->getTopLevelNode());
}

boost::shared_ptr<SettingsImpl const> SettingsImpl::getTopLevelNodeWithLock(
    HeldLock const& lock) const {
    boost::shared_ptr<SettingsImpl const> node = sharedThis();
    boost::shared_ptr<SettingsImpl const> next = getParentImpl();
    while (next && !node->isTopLevelNodeWithLock(lock)) {
        node = next;
        next = node->getParentImpl();
    }
    return node;
}

boost::shared_ptr<SettingsImpl const> SettingsImpl::getRootForThisObjectWithLock(
    HeldLock const&) const {
    boost::shared_ptr<SettingsImpl const> node = getParentImpl();
    if (!node) return sharedThis();
    while (boost::shared_ptr<SettingsImpl const> parent = node->getParentImpl()) {
        node = std::move(parent);
    }
    return node;
}

boost::shared_ptr<SettingsImplRoot const> SettingsImpl::getTreeRootWithLock(
    HeldLock const& lock) const {
    return boost::dynamic_pointer_cast<SettingsImplRoot const>(getRootForThisObjectWithLock(lock));
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
    return isAscendantWithLock(node.get());
}

bool SettingsImpl::isAscendantWithLock(SettingsImpl const* node) const {
    boost::shared_ptr<SettingsImpl const> ancestor = getParentImpl();
    while (ancestor && ancestor.get() != node)
        ancestor = ancestor->getParentImpl();
    return ancestor != nullptr;
}

// --- Children -------------------------------------------------------------------------------

SettingsImpl::ChildMap const& SettingsImpl::childMap() const {
    static auto const& none = *new ChildMap;
    return isContentPending() && !loadOnce_.isRunningHere() ? none : children_;
}

SettingsImpl* SettingsImpl::findChild(std::string const& name) const {
    ChildMap const& children = childMap();
    auto const found = children.find(name);
    return found == children.end() ? nullptr : found->second.get();
}

boost::shared_ptr<SettingsImpl> SettingsImpl::getChildImpl(std::string const& name) const {
    loadIfNotInitializedYet();
    SharedTreeLock const lock;
    ChildMap const& children = childMap();
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
    std::vector<boost::shared_ptr<SettingsImpl>> children;
    children.reserve(childMap().size());
    for (auto const& entry : childMap())
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

boost::shared_ptr<Settings> SettingsImpl::getSettingsByFullName(std::string const& fullName) const {
    std::vector<std::string> path;
    path.reserve(1 + static_cast<std::size_t>(std::count(fullName.begin(), fullName.end(), '.')));
    for (std::size_t begin = 0; begin < fullName.size();) {
        std::size_t const end = std::min(fullName.find('.', begin), fullName.size());
        if (end > begin) path.push_back(fullName.substr(begin, end - begin));
        begin = end + 1;
    }
    return getSettingsByPathVec(path);
}

boost::shared_ptr<Settings> SettingsImpl::getSettingsByPathVec(
    std::vector<std::string> const& path) const {
    if (path.empty()) return {};
    if (isSettingsTreeRoot()) loadIfNotInitializedYet();
    boost::shared_ptr<SettingsImpl const> start;
    {
        SharedTreeLock const lock;
        if (isSettingsTreeRoot()) {
            SettingsImpl const* const product = findChild(path.front());
            if (!product) return {};
            if (!product->loadOnce_.isDone()) start = product->sharedThis();
        } else {
            start = getTopLevelNodeWithLock(lock);
        }
        if (!start || start->loadOnce_.isDone()) {
            return getSettingsByRelativeNameWithLock(lock, path.begin(), path.end());
        }
    }
    start->loadIfNotInitializedYet();
    SharedTreeLock const lock;
    return getSettingsByRelativeNameWithLock(lock, path.begin(), path.end());
}

boost::shared_ptr<SettingsImpl> SettingsImpl::getSettingsByRelativeNameWithLock(
    HeldLock const&, std::vector<std::string>::const_iterator first,
    std::vector<std::string>::const_iterator last) const {
    SettingsImpl const* node = this;
    boost::shared_ptr<SettingsImpl> const* found = nullptr;
    for (; first != last; ++first) {
        ChildMap const& children = node->childMap();
        auto const entry = first->empty() ? children.end() : children.find(*first);
        if (entry == children.end() || !entry->second) return {};
        found = &entry->second;
        node = found->get();
    }
    return found ? *found : boost::shared_ptr<SettingsImpl>();
}

// --- Flags ----------------------------------------------------------------------------------

bool SettingsImpl::isLeafNode() const {
    SharedTreeLock const lock;
    return isLeaf_;
}

bool SettingsImpl::isVisible() const {
    SharedTreeLock const lock;
    return isVisibleWithLock(lock);
}

bool SettingsImpl::isVisibleWithLock(HeldLock const& lock) const {
    return visibleWithLock(lock).value_or(false);
}

boost::optional<bool> SettingsImpl::visibleWithLock(HeldLock const&) const {
    return isContentPending() ? boost::none : visible_;
}

void SettingsImpl::setVisible(UpgradeLock& lock, bool visible) {
    if (visible_) return;
    ExclusiveTreeLock const exclusive(lock);
    visible_ = visible;
}

bool SettingsImpl::isReadOnly() const {
    SharedTreeLock const lock;
    return isReadOnlyWithLock(lock);
}

boost::optional<bool> SettingsImpl::definiteReadOnly() const {
    if (boost::logic::indeterminate(readOnly_)) return boost::none;
    return static_cast<bool>(readOnly_);
}

bool SettingsImpl::isReadOnlyWithLock(HeldLock const&) const {
    if (boost::optional<bool> const own = definiteReadOnly()) return *own;
    if (isLeaf_) return false;  // Keys do not inherit.
    for (auto ancestor = getParentImpl(); ancestor; ancestor = ancestor->getParentImpl()) {
        if (ancestor->isRoot()) return false;
        if (boost::optional<bool> const flag = ancestor->definiteReadOnly()) return *flag;
    }
    return false;
}

boost::optional<unsigned int> SettingsImpl::getVersionNumber() const {
    SharedTreeLock const lock;
    return getVersionNumberWithLock(lock);
}

boost::optional<unsigned int> SettingsImpl::getVersionNumberWithLock(HeldLock const& lock) const {
    boost::shared_ptr<SettingsImpl const> const top = getTopLevelNodeWithLock(lock);
    return top->isContentPending() ? boost::none : top->versionNumber_;
}

void SettingsImpl::setVersionNumber(unsigned int version) {
    loadIfNotInitializedYet();  // A load that comes later would write the version, too.
    UpgradeTreeLock lock;
    ExclusiveTreeLock const exclusive(lock.get());
    versionNumber_ = version;
}

void SettingsImpl::setVersionNumberWithLock(UpgradeLock& lock, unsigned int version) {
    if (versionNumber_) return;
    ExclusiveTreeLock const exclusive(lock);
    versionNumber_ = version;
}

corebus::msg_svc::exchange::IDType SettingsImpl::getImplNodeEventId() const { return nodeEventId_; }

void SettingsImpl::enableEventQueue(bool) {}

}  // namespace settings::core
