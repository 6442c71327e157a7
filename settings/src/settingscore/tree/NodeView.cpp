#include <settingscore/tree/NodeView.hpp>

#include <vector>

#include <settingscore/errors/TreeExceptions.hpp>
#include <settingscore/levels/SettingsLevel.hpp>
#include <settingscore/tree/SettingsImpl.hpp>
#include <settingscore/tree/TreeRoot.hpp>
#include <settingscore/value/NeverDestroyed.hpp>

namespace settings::core::detail {

namespace {

boost::any const& noValue() {
    static auto const& none = neverDestroyed<boost::any>();
    return none;
}

}  // namespace

NodeView::NodeView(SettingsImpl const& node, HeldLock const& lock)
    : node_(node), content_(node.contentWithLock(lock)), lock_(lock) {}

boost::optional<bool> NodeView::visible() const {
    return content_.isPending() ? boost::none : content_.visible;
}

boost::optional<unsigned int> NodeView::version() const {
    boost::shared_ptr<SettingsImpl const> const top = topLevel();
    NodeContent const& content = top->contentWithLock(lock_);
    return content.isPending() ? boost::none : content.version;
}

bool NodeView::isReadOnly() const {
    if (!boost::logic::indeterminate(content_.readOnly))
        return static_cast<bool>(content_.readOnly);
    if (isLeaf()) return false;  // Keys do not inherit.
    for (auto ancestor = parent(); ancestor && !ancestor->isRoot();) {
        NodeContent const& above = ancestor->contentWithLock(lock_);
        if (!boost::logic::indeterminate(above.readOnly)) return static_cast<bool>(above.readOnly);
        ancestor = above.parent.lock();
    }
    return false;
}

// --- Places ---------------------------------------------------------------------------------

bool NodeView::isTreeRoot() const { return node_.isSettingsTreeRoot(); }

bool NodeView::isTopLevel() const {
    boost::shared_ptr<SettingsImpl> const above = parent();
    return above && above->isSettingsTreeRoot();
}

bool NodeView::isConnected() const {
    if (node_.isSettingsTreeRoot()) return true;
    for (auto ancestor = parent(); ancestor; ancestor = ancestor->getParentImpl()) {
        if (ancestor->isSettingsTreeRoot()) return true;
    }
    return false;
}

bool NodeView::isBelow(SettingsImpl const& node) const {
    for (auto ancestor = parent(); ancestor; ancestor = ancestor->getParentImpl()) {
        if (ancestor.get() == &node) return true;
    }
    return false;
}

boost::shared_ptr<SettingsImpl const> NodeView::topLevel() const {
    boost::shared_ptr<SettingsImpl const> top = node_.shared_from_this();
    for (auto above = parent(); above && !above->isSettingsTreeRoot();) {
        top = above;
        above = top->getParentImpl();
    }
    return top;
}

boost::shared_ptr<SettingsImpl const> NodeView::end() const {
    boost::shared_ptr<SettingsImpl const> last = parent();
    if (!last) return node_.shared_from_this();
    while (boost::shared_ptr<SettingsImpl const> above = last->getParentImpl())
        last = std::move(above);
    return last;
}

boost::shared_ptr<TreeRoot const> NodeView::root() const {
    return boost::dynamic_pointer_cast<TreeRoot const>(end());
}

unsigned long NodeView::depth() const {
    unsigned long depth = 0;
    for (auto above = parent(); above && !above->isSettingsTreeRoot();
         above = above->getParentImpl()) {
        ++depth;
    }
    return depth;
}

std::string NodeView::fullName(bool includeRootName) const {
    // Held: the names belong to nodes that others may let go.
    std::vector<boost::shared_ptr<SettingsImpl const>> chain;
    for (auto above = parent(); above; above = above->getParentImpl())
        chain.push_back(above);
    std::string full;
    auto const append = [&](SettingsImpl const& node) {
        if (node.isSettingsTreeRoot() && !includeRootName) return;
        if (!full.empty()) full += '.';
        full += node.contentWithLock(lock_).name;
    };
    for (auto above = chain.rbegin(); above != chain.rend(); ++above)
        append(**above);
    append(node_);
    return full;
}

// --- Children -------------------------------------------------------------------------------

SettingsImpl* NodeView::child(std::string const& name) const {
    ChildMap const& all = children();
    auto const found = all.find(name);
    return found == all.end() ? nullptr : found->second.get();
}

// --- Rules ----------------------------------------------------------------------------------

Validator NodeView::validatorInForce() const {
    if (validator().which() != 0) return validator();
    for (auto ancestor = parent(); ancestor; ancestor = ancestor->getParentImpl()) {
        Validator const& above = ancestor->contentWithLock(lock_).validator.get();
        if (above.which() != 0) return above;
    }
    return Validator();
}

bool NodeView::hasValidatorInForce() const {
    if (validator().which() != 0) return true;
    for (auto ancestor = parent(); ancestor; ancestor = ancestor->getParentImpl()) {
        if (ancestor->contentWithLock(lock_).validator.get().which() != 0) return true;
    }
    return false;
}

bool NodeView::ownsRunTimeDefault(std::string const& level) const {
    return belongsToLevel(runTimeDefault(), level);
}

// --- Values ---------------------------------------------------------------------------------

boost::any const& NodeView::storedInForce() const {
    if (!isLeaf()) throw exception::NotAKeyName(parent(), name());
    for (std::size_t level = 0; level < LevelValues::levelCount; ++level) {
        if (content_.values.hasValue(level)) return *content_.values.find(level);
    }
    return noValue();
}

boost::any const& NodeView::stored(SettingsLevel const* level) const {
    if (!level) return storedInForce();
    if (!isLeaf()) throw exception::NotAKeyName(parent(), name());
    boost::any const* const entry = content_.values.find(level->position());
    return entry ? *entry : noValue();
}

bool NodeView::isUndefined() const {
    if (!isLeaf()) throw exception::NotAKeyName(parent(), name());
    return !content_.values.holdsAnyValue() && isVoidRuntimeDefault(runTimeDefault());
}

}  // namespace settings::core::detail
