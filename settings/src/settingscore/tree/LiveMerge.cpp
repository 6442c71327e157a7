#include <settingscore/tree/LiveMerge.hpp>

#include <stdexcept>

#include <settingscore/errors/MergeExceptions.hpp>
#include <settingscore/levels/SettingsLevelManager.hpp>
#include <settingscore/tree/FailureOf.hpp>
#include <settingscore/tree/KeyChecks.hpp>
#include <settingscore/tree/LoadAndSave.hpp>
#include <settingscore/tree/MergeEngine.hpp>
#include <settingscore/tree/NodeBuilder.hpp>
#include <settingscore/tree/NodeEvents.hpp>
#include <settingscore/tree/NodeWalk.hpp>

namespace settings::core::detail {

namespace {

/// The adoption itself, under exclusive access.
class Adoption {
public:
    Adoption(HeldLock const& exclusive, SettingsLevel const& level, GatheredEvents& events)
        : exclusive_(exclusive), level_(level), events_(events) {}

    void adoptNewDescendantsFromSrc(SettingsImpl& top, SettingsImpl const& source) {
        std::vector<SettingsImpl*> targets{&top};
        walkTree(source, exclusive_, ChildOrder::byName,
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
            takeShape(own.rules.settle(value, key), value);
            own.values.put(level_.position(), value);
        } else {
            own.runTimeDefault.edit() = source.runTimeDefault();
            setBelongingLevel(own.runTimeDefault.edit(), level_.levelName());
        }
        events_.valueChanged(key.shared_from_this());
    }

    HeldLock exclusive_;
    SettingsLevel const& level_;
    GatheredEvents& events_;
};

}  // namespace

LiveMerge::LiveMerge(SettingsImpl& target, boost::shared_ptr<Settings const> const& source)
    : target_(target), source_(boost::dynamic_pointer_cast<SettingsImpl const>(source)) {
    if (!source_) {
        throw std::invalid_argument(
            "mergeDescendants: the source is empty, or not of this library.");
    }
}

void LiveMerge::mergeOn(std::string const& levelName) const {
    SettingsLevel const& level = modifiableLevelOf(target_, levelName);
    target_.loadIfNotInitializedYet();
    LoadAndSave::bringUpToDate({&target_});
    {
        // One upgrade lock from the first check to the end of the adoption: what passed the trial
        // is what is adopted. Readers go on.
        UpgradeTreeLock lock;
        checkTrees(lock);
        tryOnCopy(lock, level);
        adopt(lock, level);
    }
    target_.saveThisSubTree(levelName);
}

void LiveMerge::checkTrees(HeldLock const& lock) const {
    if (target_.isRoot()) throw exception::CannotMergeWithSettingsRoot(source_);
    if (NodeView(target_, lock).isBelow(*source_) || source_.get() == &target_) {
        throw exception::ErrorMergingWithCircularReference(source_, target_.shared_from_this());
    }
    if (NodeView(*source_, lock).isConnected()) {
        throw exception::CanOnlyMergeTreeNodeWithStandaloneNode(source_,
                                                                target_.shared_from_this());
    }
}

void LiveMerge::tryOnCopy(HeldLock const& lock, SettingsLevel const& level) const {
    boost::shared_ptr<SettingsImpl> const copy = target_.clone();
    NodeBuilder(*copy).setValidator(NodeView(target_, lock).validatorInForce());
    MergeEngine(lock, level, MergeEngine::Purpose::trial).mergeIntoNode(*copy, *source_, false);
}

void LiveMerge::adopt(UpgradeTreeLock& lock, SettingsLevel const& level) const {
    GatheredEvents events;
    std::exception_ptr const broken = failureOf([&] {
        ExclusiveTreeLock const exclusive(lock.get());
        Adoption(exclusive, level, events).adoptNewDescendantsFromSrc(target_, *source_);
    });
    std::exception_ptr const told = failureOf([&] { events.fireAll(lock); });
    // The failure of the adoption is the one to report.
    if (broken) std::rethrow_exception(broken);
    if (told) std::rethrow_exception(told);
}

}  // namespace settings::core::detail
