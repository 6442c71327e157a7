#include <settingscore/tree/SettingsImpl.hpp>

#include <settingscore/tree/NodeView.hpp>
#include <settingscore/value/NeverDestroyed.hpp>

namespace settings::core {

using detail::ExclusiveTreeLock;
using detail::HeldLock;
using detail::NodeView;
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
    : content_(std::move(name), isLeaf) {
    content_.readOnly = readOnly;
    content_.visible = visible;
    content_.version = version;
    content_.parent = parent;
    if (validator.which() != 0) content_.validator.swap(validator);
}

SettingsImpl::SettingsImpl(std::string name, bool isLeaf, boost::optional<bool> visible,
                           ValueArraySizeValidator const& sizes, ValueWriterFcn writer,
                           ValueTypeChecker checker, Validator validator,
                           boost::shared_ptr<SettingsImpl> const& parent)
    : SettingsImpl(std::move(name), isLeaf, visible, boost::none, false, std::move(validator),
                   parent) {
    content_.rules.setSizes(sizes);
    content_.rules.setWriter(writer);
    content_.rules.setTypeChecker(checker);
}

// NOLINTNEXTLINE(bugprone-copy-constructor-init): a copy is a node of its own
SettingsImpl::SettingsImpl(SettingsImpl const& other)
    : ZSettings(), boost::enable_shared_from_this<SettingsImpl>(), content_(other.content_) {}

namespace {

/// Children that wait for their end; the entries come out of the child maps as they are.
struct NoOrder {
    bool operator()(std::string const&, std::string const&) const { return false; }
};
using Orphans = std::multimap<std::string, boost::shared_ptr<SettingsImpl>, NoOrder>;
thread_local Orphans* orphansOfThisThread = nullptr;

/// Keys end with the map.
void adoptGroups(SettingsImpl::ChildMap& children, Orphans& orphans) {
    for (auto child = children.begin(); child != children.end();) {
        auto const next = std::next(child);
        if (!child->second->contentInternal().isLeaf) {
            orphans.insert(orphans.end(), children.extract(child));
        }
        child = next;
    }
}

}  // namespace

// The children of a node that ends are let go one after another by the outermost end on this
// thread, and not each inside its parent's: a tree may be deeper than the stack.
SettingsImpl::~SettingsImpl() {
    if (content_.children.get().empty()) return;
    if (orphansOfThisThread) {
        adoptGroups(content_.children.edit(), *orphansOfThisThread);
        return;
    }
    Orphans orphans;
    orphansOfThisThread = &orphans;
    adoptGroups(content_.children.edit(), orphans);
    while (!orphans.empty()) {
        boost::shared_ptr<SettingsImpl> const last = std::move(orphans.begin()->second);
        orphans.erase(orphans.begin());
    }
    orphansOfThisThread = nullptr;
}

boost::shared_mutex& SettingsImpl::mutexToRoot() {
    static auto& mutexToRoot_ = detail::neverDestroyed<boost::shared_mutex>();
    return mutexToRoot_;
}

// --- Flags ----------------------------------------------------------------------------------

std::string SettingsImpl::getName() const { return content_.name; }

bool SettingsImpl::isLeafNode() const {
    SharedTreeLock const lock;
    return content_.isLeaf;
}

bool SettingsImpl::isVisible() const {
    SharedTreeLock const lock;
    return NodeView(*this, lock).visible().value_or(false);
}

void SettingsImpl::setVisible(UpgradeLock& lock, bool visible) {
    if (content_.visible) return;
    ExclusiveTreeLock const exclusive(lock);
    content_.visible = visible;
}

bool SettingsImpl::isReadOnly() const {
    SharedTreeLock const lock;
    return isReadOnlyWithLock(lock);
}

bool SettingsImpl::isReadOnlyWithLock(HeldLock const& lock) const {
    return NodeView(*this, lock).isReadOnly();
}

boost::optional<unsigned int> SettingsImpl::getVersionNumber() const {
    SharedTreeLock const lock;
    return NodeView(*this, lock).version();
}

void SettingsImpl::setVersionNumber(unsigned int version) {
    loadIfNotInitializedYet();  // A load that comes later would write the version, too.
    UpgradeTreeLock lock;
    ExclusiveTreeLock const exclusive(lock.get());
    content_.version = version;
}

void SettingsImpl::setVersionNumberWithLock(UpgradeLock& lock, unsigned int version) {
    if (content_.version) return;
    ExclusiveTreeLock const exclusive(lock);
    content_.version = version;
}

// --- Identity -------------------------------------------------------------------------------

boost::shared_ptr<SettingsImpl const> SettingsImpl::getThisObjectImpl() const {
    SharedTreeLock const lock;
    return shared_from_this();
}

boost::shared_ptr<SettingsImpl> SettingsImpl::getThisObjectImpl() {
    SharedTreeLock const lock;
    return shared_from_this();
}

corebus::msg_svc::exchange::IDType SettingsImpl::getImplNodeEventId() const {
    return content_.eventId.get();
}

void SettingsImpl::enableEventQueue(bool) {}

}  // namespace settings::core
