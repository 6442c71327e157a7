#include <settingscore/tree/LevelAdoption.hpp>

#include <algorithm>

#include <settingscore/levels/SettingsLevelManager.hpp>
#include <settingscore/tree/FailureOf.hpp>
#include <settingscore/tree/KeyChecks.hpp>
#include <settingscore/tree/KeyValues.hpp>
#include <settingscore/tree/MergeEngine.hpp>
#include <settingscore/tree/NodeEdits.hpp>
#include <settingscore/tree/NodeWalk.hpp>
#include <settingscore/tree/Sameness.hpp>

namespace settings::core::detail {

namespace {

bool sameFlags(NodeContent const& a, NodeContent const& b) {
    return a.visible.value_or(false) == b.visible.value_or(false) &&
           a.readOnly.value == b.readOnly.value;
}

bool holdsValueBeside(NodeView const& key, SettingsLevel const& level) {
    for (std::size_t i = 0; i < SettingsLevelManager::levelCount; ++i) {
        if (i != level.position() && key.storedValues().hasValue(i)) return true;
    }
    RunTimeDefault const& runTimeDefault = key.runTimeDefault();
    return !isVoidRuntimeDefault(runTimeDefault) &&
           !belongsToLevel(runTimeDefault, level.levelName());
}

}  // namespace

// --- The plan -------------------------------------------------------------------------------

void LevelAdoption::plan(SettingsImpl& product, SettingsImpl const& copy) {
    struct Place {
        SettingsImpl* parent;
        NodePtr node;  ///< Null if the product has none there,
        NodePtr copy;  ///< or if the copy has none.
        PathHash path;
    };
    std::vector<Place> waiting;
    auto const enter = [&](SettingsImpl& node, SettingsImpl const* from, PathHash path) {
        static ChildMap const none;
        ChildMap const& here = NodeView(node, lock_).children();
        ChildMap const& there = from ? NodeView(*from, lock_).children() : none;
        std::size_t const first = waiting.size();
        auto theirs = there.begin();
        auto const came = [&] {
            waiting.push_back({&node, nullptr, theirs->second, pathBelow(path, theirs->first)});
            ++theirs;
        };
        for (auto const& entry : here) {
            while (theirs != there.end() && theirs->first < entry.first)
                came();
            bool const isThere = theirs != there.end() && theirs->first == entry.first;
            waiting.push_back({&node, entry.second, isThere ? theirs->second : nullptr,
                               pathBelow(path, entry.first)});
            if (isThere) ++theirs;
        }
        while (theirs != there.end())
            came();
        // What waits is taken from the end.
        std::reverse(waiting.begin() + static_cast<std::ptrdiff_t>(first), waiting.end());
    };
    enter(product, &copy, productPath);
    while (!waiting.empty()) {
        Place const place = waiting.back();
        waiting.pop_back();
        if (!place.node) {
            if (!changes_.isRemoved(place.path)) add(*place.parent, place.copy, place.path);
            continue;
        }
        SettingsImpl& node = *place.node;
        if (!place.copy) {
            if (leave(node, place.path)) continue;
        } else if (isOfAnotherKind(node, *place.copy)) {
            // Another node under the same name, if ours may go.
            if (canGo(node, place.path)) {
                leave(node, place.path);
                add(*place.parent, place.copy, place.path);
            }
            continue;
        } else {
            compare(node, *place.copy, place.path);
        }
        if (!NodeView(node, lock_).isLeaf()) enter(node, place.copy.get(), place.path);
    }
}

void LevelAdoption::add(SettingsImpl& parent, NodePtr const& copy, PathHash path) {
    steps_.push_back({Step::Kind::add, parent.shared_from_this(), copy, nullptr, path, {}});
}

void LevelAdoption::compare(SettingsImpl& node, SettingsImpl const& copy, PathHash path) {
    if (differs(node, copy) && !changes_.isChanged(node, path)) change(node, &copy, path);
}

bool LevelAdoption::leave(SettingsImpl& node, PathHash path) {
    if (canGo(node, path)) {
        steps_.push_back(
            {Step::Kind::remove, node.getParentImpl(), node.shared_from_this(), nullptr, path, {}});
        return true;
    }
    NodeView const view(node, lock_);
    if (!view.isLeaf()) return false;
    bool const holdsIt = view.storedValues().hasValue(level_.position()) ||
                         view.ownsRunTimeDefault(level_.levelName());
    if (holdsIt && !changes_.isChanged(node, path)) change(node, nullptr, path);
    return false;
}

bool LevelAdoption::canGo(SettingsImpl const& node, PathHash path) const {
    bool canGo = true;
    std::vector<PathHash> paths;
    walkTree(node, lock_, ChildOrder::byName, [&](NodeView const& view, std::size_t depth) {
        if (!canGo) return false;
        paths.resize(depth);
        paths.push_back(depth == 0 ? path : pathBelow(paths.back(), view.name()));
        bool const isKept = std::find(kept_.begin(), kept_.end(), &view.node()) != kept_.end();
        canGo = !isKept && !(view.isLeaf() && holdsValueBeside(view, level_)) &&
                !changes_.isChanged(view.node(), paths.back());
        return canGo && !view.isLeaf();
    });
    return canGo;
}

bool LevelAdoption::isOfAnotherKind(SettingsImpl const& node, SettingsImpl const& copy) const {
    NodeView const here(node, lock_);
    NodeView const there(copy, lock_);
    if (here.isLeaf() != there.isLeaf()) return true;
    if (!here.isLeaf()) return false;
    auto const ownType = here.rules().typeIndex();
    auto const newType = there.rules().typeIndex();
    if (ownType && newType && *ownType != *newType) return true;
    auto const ownSizes = here.rules().sizes();
    auto const newSizes = there.rules().sizes();
    return ownSizes && newSizes &&
           (ownSizes->minArrSize() != newSizes->minArrSize() ||
            ownSizes->maxArrSize() != newSizes->maxArrSize());
}

bool LevelAdoption::differs(SettingsImpl const& node, SettingsImpl const& copy) const {
    NodeView const here(node, lock_);
    NodeView const there(copy, lock_);
    NodeContent const& own = node.contentWithLock(lock_);
    NodeContent const& theirs = copy.contentWithLock(lock_);
    if (!sameFlags(own, theirs)) return true;
    if (!here.isLeaf()) return false;
    if (!sameValue(here.stored(&level_), there.stored(&level_))) return true;
    bool const isComputed = here.ownsRunTimeDefault(level_.levelName());
    return isComputed != there.ownsRunTimeDefault(level_.levelName()) ||
           (isComputed && !sameFunction(here.runTimeDefault(), there.runTimeDefault()));
}

void LevelAdoption::change(SettingsImpl& node, SettingsImpl const* copy, PathHash path) {
    Step step{Step::Kind::change, nullptr, node.shared_from_this(), copy, path, {}};
    // A runtime default that fails now counts as no value.
    if (NodeView(node, lock_).isLeaf())
        failureOf([&] { step.before = KeyValues(node, lock_).inForce(true); });
    steps_.push_back(std::move(step));
}

bool LevelAdoption::isOfCheckedValuesAlone() const {
    return std::all_of(steps_.begin(), steps_.end(), [this](Step const& step) {
        if (step.kind != Step::Kind::change) return false;
        NodeView const own(*step.node, lock_);
        bool const isDefined = own.isLeaf() && holdsValueBeside(own, level_) &&
                               own.rules().isTyped() && isVoidRuntimeDefault(own.runTimeDefault());
        if (!isDefined || !step.source) return isDefined;
        NodeView const source(*step.source, lock_);
        boost::any value = source.stored(&level_);
        if (!isVoidRuntimeDefault(source.runTimeDefault()) ||
            !sameFlags(step.node->contentWithLock(lock_), step.source->contentWithLock(lock_))) {
            return false;
        }
        return value.empty() || !failureOf([&] { checkValue(*step.node, lock_, value); });
    });
}

// --- The change -----------------------------------------------------------------------------

namespace {

/// What a node that stays has on a level becomes what the copy has there.
void takeOver(SettingsImpl& node, SettingsImpl const* copy, HeldLock const& exclusive,
              SettingsLevel const& level) {
    NodeContent& own = node.contentInternal();
    if (copy) {
        NodeContent const& from = copy->contentWithLock(exclusive);
        own.visible = from.visible;
        own.readOnly = from.readOnly;
    }
    if (!own.isLeaf) return;
    if (belongsToLevel(own.runTimeDefault.get(), level.levelName())) own.runTimeDefault.reset();
    boost::any value;
    if (copy) {
        NodeView const from(*copy, exclusive);
        if (from.ownsRunTimeDefault(level.levelName()))
            own.runTimeDefault.edit() = from.runTimeDefault();
        value = from.stored(&level);
    }
    if (value.empty()) {
        own.values.take(level.position(), value);
    } else {
        // A key without rules takes them from the value: without a writer it would not be saved.
        takeShape(own.rules.settle(value, node), value);
        own.values.put(level.position(), value);
    }
}

}  // namespace

void LevelAdoption::carryOut(HeldLock const& exclusive) {
    for (Step const& step : steps_) {
        switch (step.kind) {
            case Step::Kind::change:
                takeOver(*step.node, step.source, exclusive, level_);
                adopted_.push_back({step.path, step.node.get()});
                break;
            case Step::Kind::add:
                NodeEdits(*step.node->getParentImpl()).leave(step.node);
                NodeEdits(*step.node).enter(step.parent);
                noteAll(*step.node, step.path, true);
                break;
            case Step::Kind::remove:
                NodeEdits(*step.parent).leave(step.node);
                noteAll(*step.node, step.path, false);
                break;
        }
    }
}

void LevelAdoption::noteAll(SettingsImpl const& top, PathHash path, bool isThere) {
    std::vector<PathHash> paths;
    walkTree(top, lock_, ChildOrder::byName, [&](NodeView const& view, std::size_t depth) {
        paths.resize(depth);
        paths.push_back(depth == 0 ? path : pathBelow(paths.back(), view.name()));
        adopted_.push_back({paths.back(), isThere ? &view.node() : nullptr});
        return true;
    });
}

// --- The events -----------------------------------------------------------------------------

void LevelAdoption::fire() const {
    GatheredEvents events;
    for (Step const& step : steps_) {
        switch (step.kind) {
            case Step::Kind::change: {
                if (!NodeView(*step.node, lock_).isLeaf()) break;
                boost::any now;
                failureOf([&] { now = KeyValues(*step.node, lock_).inForce(true); });
                if (!sameValue(now, step.before)) events.valueChanged(step.node);
                break;
            }
            case Step::Kind::add:
                noteEventsOf(step.node, events);
                break;
            case Step::Kind::remove:
                events.nodeRemoved(step.parent, step.node);
                break;
        }
    }
    events.fireAll(lock_);
}

void LevelAdoption::noteEventsOf(NodePtr const& top, GatheredEvents& events) const {
    walkTree(*top, lock_, ChildOrder::byName, [&](NodeView const& view, std::size_t) {
        boost::shared_ptr<SettingsImpl> const node =
            boost::const_pointer_cast<SettingsImpl>(view.node().shared_from_this());
        events.nodeAdded(node->getParentImpl(), node);
        if (view.isLeaf() && !view.isUndefined()) events.valueChanged(node);
        return true;
    });
}

}  // namespace settings::core::detail
