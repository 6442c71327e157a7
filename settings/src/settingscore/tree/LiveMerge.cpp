// Adds what a standalone tree has, and a node lacks, to the live tree: after a trial on a private
// copy has shown that it fits.

#include <stdexcept>

#include <settingscore/errors/MergeExceptions.hpp>
#include <settingscore/levels/SettingsLevelManager.hpp>
#include <settingscore/tree/FailureOf.hpp>
#include <settingscore/tree/KeyChecks.hpp>
#include <settingscore/tree/MergeEngine.hpp>
#include <settingscore/tree/NodeBuilder.hpp>
#include <settingscore/tree/NodeEvents.hpp>
#include <settingscore/tree/NodeWalk.hpp>

namespace settings::core {

using detail::ExclusiveTreeLock;
using detail::GatheredEvents;
using detail::HeldLock;
using detail::MergeEngine;
using detail::NodeContent;
using detail::NodeView;
using detail::UpgradeTreeLock;

namespace {

void checkTrees(SettingsImpl const& target, HeldLock const& lock,
                boost::shared_ptr<SettingsImpl const> const& src) {
    if (target.isRoot()) throw exception::CannotMergeWithSettingsRoot(src);
    if (NodeView(target, lock).isBelow(*src) || src.get() == &target) {
        throw exception::ErrorMergingWithCircularReference(src, target.shared_from_this());
    }
    if (NodeView(*src, lock).isConnected()) {
        throw exception::CanOnlyMergeTreeNodeWithStandaloneNode(src, target.shared_from_this());
    }
}

/// The adoption itself, under exclusive access.
class Adoption {
public:
    Adoption(HeldLock const& exclusive, SettingsLevel const& level, GatheredEvents& events)
        : exclusive_(exclusive), level_(level), events_(events) {}

    void adoptNewDescendantsFromSrc(SettingsImpl& top, SettingsImpl const& source) {
        std::vector<SettingsImpl*> targets{&top};
        walkTree(source, exclusive_, detail::ChildOrder::byName,
                 [&](NodeView const& view, std::size_t depth) {
                     if (depth == 0) return true;
                     targets.resize(depth);
                     SettingsImpl& target = counterpart(*targets.back(), view.node());
                     if (view.isLeaf()) {
                         adoptNewValue(target, view);
                         return false;
                     }
                     targets.push_back(&target);
                     return true;
                 });
    }

private:
    /// The child of that name, made if there is none.
    SettingsImpl& counterpart(SettingsImpl& parent, SettingsImpl const& sourceChild) {
        auto const& children = parent.contentInternal().children.get();
        auto const found = children.find(sourceChild.contentWithLock(exclusive_).name);
        if (found != children.end()) return *found->second;
        boost::shared_ptr<SettingsImpl> const child = sourceChild.cloneSelf();
        child->setParentWithLock(exclusive_, parent.shared_from_this());
        events_.nodeAdded(parent.shared_from_this(), child);
        return *child;
    }

    void adoptNewValue(SettingsImpl& key, NodeView const& source) {
        NodeContent& own = key.contentInternal();
        if (isVoidRuntimeDefault(source.runTimeDefault())) {
            boost::any value = source.storedInForce();
            if (value.empty() || own.values.hasValue(level_.position())) return;
            // A key without rules takes them from the value: without a writer it would not be
            // saved.
            detail::takeShape(own.rules.settle(value, key), value);
            own.values.put(level_.position(), value);
        } else {
            own.runTimeDefault.edit() = source.runTimeDefault();
            detail::setBelongingLevel(own.runTimeDefault.edit(), level_.levelName());
        }
        events_.valueChanged(key.shared_from_this());
    }

    HeldLock exclusive_;
    SettingsLevel const& level_;
    GatheredEvents& events_;
};

}  // namespace

void SettingsImpl::mergeDescendants(boost::shared_ptr<Settings const> const& source,
                                    std::string const& levelName) {
    auto const src = boost::dynamic_pointer_cast<SettingsImpl const>(source);
    if (!src)
        throw std::invalid_argument(
            "mergeDescendants: the source is empty, or not of this library.");
    SettingsLevel const& level = detail::modifiableLevelOf(*this, levelName);
    loadIfNotInitializedYet();
    {
        // One upgrade lock from the first check to the end of the adoption: what passed the trial
        // is what is adopted. Readers go on.
        UpgradeTreeLock lock;
        checkTrees(*this, lock, src);
        boost::shared_ptr<SettingsImpl> const trial = clone();
        detail::NodeBuilder(*trial).setValidator(NodeView(*this, lock).validatorInForce());
        MergeEngine(lock, level, MergeEngine::Purpose::trial).mergeIntoNode(*trial, *src, false);

        GatheredEvents events;
        std::exception_ptr const broken = detail::failureOf([&] {
            ExclusiveTreeLock const exclusive(lock.get());
            Adoption(exclusive, level, events).adoptNewDescendantsFromSrc(*this, *src);
        });
        std::exception_ptr const told = detail::failureOf([&] { events.fireAll(lock); });
        // The failure of the adoption is the one to report.
        if (broken) std::rethrow_exception(broken);
        if (told) std::rethrow_exception(told);
    }
    saveThisSubTree(levelName);
}

}  // namespace settings::core
