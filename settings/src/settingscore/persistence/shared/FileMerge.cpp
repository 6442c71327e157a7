#include <settingscore/persistence/shared/FileMerge.hpp>

#include <utility>
#include <vector>

#include <settingscore/tree/NodeEdits.hpp>
#include <settingscore/tree/NodeWalk.hpp>

namespace settings::core {

using detail::ChildMap;
using detail::ChildOrder;
using detail::NodeEdits;
using detail::NodeView;

namespace {

/// The place of a node on the way of a walk, by its depth.
class Paths {
public:
    detail::PathHash at(NodeView const& node, std::size_t depth) {
        paths_.resize(depth);
        paths_.push_back(depth == 0 ? detail::productPath
                                    : detail::pathBelow(paths_.back(), node.name()));
        return paths_.back();
    }

private:
    std::vector<detail::PathHash> paths_;
};

boost::shared_ptr<SettingsImpl> childOf(SettingsImpl& parent, std::string const& name) {
    ChildMap const& children = parent.contentInternal().children.get();
    auto const found = children.find(name);
    return found == children.end() ? nullptr : found->second;
}

/// A node of the file's own, with the values that the original has.
boost::shared_ptr<SettingsImpl> copyOf(NodeView const& node) {
    boost::shared_ptr<SettingsImpl> copy = node.node().cloneSelf();
    copy->contentInternal().values = node.storedValues();
    return copy;
}

}  // namespace

void FileMerge::into(SettingsImpl& file, SettingsImpl const& product) const {
    removeWhatWasRemoved(file);
    Paths paths;
    // The counterparts of the groups on the way; null where the file has none.
    std::vector<SettingsImpl*> counterparts;
    std::vector<SettingsImpl const*> groups;
    walkTree(product, lock_, ChildOrder::byName, [&](NodeView const& node, std::size_t depth) {
        bool const changed = isChanged(paths.at(node, depth));
        counterparts.resize(depth);
        groups.resize(depth);
        if (depth == 0) {
            if (changed) takeOver(file, node.node());
            counterparts.push_back(&file);
            groups.push_back(&node.node());
            return true;
        }
        SettingsImpl* const parent = counterparts.back();
        boost::shared_ptr<SettingsImpl> own = parent ? childOf(*parent, node.name()) : nullptr;
        // Of two nodes of one name the one that was changed here stays.
        bool const isOther = own && own->contentInternal().isLeaf != node.isLeaf();
        if (changed) {
            // Groups that others removed come back for what was changed in them.
            for (std::size_t i = 1; i < depth; ++i) {
                if (counterparts[i]) continue;
                boost::shared_ptr<SettingsImpl> const group = copyOf(NodeView(*groups[i], lock_));
                boost::shared_ptr<SettingsImpl> const inTheWay =
                    childOf(*counterparts[i - 1], group->getName());
                if (inTheWay) NodeEdits(*counterparts[i - 1]).leave(inTheWay);
                NodeEdits(*group).enter(counterparts[i - 1]->shared_from_this());
                counterparts[i] = group.get();
            }
            if (own && !isOther && !node.isLeaf()) {
                takeOver(*own, node.node());
            } else {
                SettingsImpl& above = *counterparts.back();
                if (own) NodeEdits(above).leave(own);
                own = copyOf(node);
                NodeEdits(*own).enter(above.shared_from_this());
            }
        } else if (isOther) {
            own.reset();
        }
        if (node.isLeaf()) return false;
        counterparts.push_back(own.get());
        groups.push_back(&node.node());
        return true;
    });
}

void FileMerge::removeWhatWasRemoved(SettingsImpl& file) const {
    Paths paths;
    std::vector<boost::shared_ptr<SettingsImpl>> gone;
    walkTree(file, lock_, ChildOrder::byName, [&](NodeView const& node, std::size_t depth) {
        detail::PathHash const path = paths.at(node, depth);
        bool const wasRemoved = depth > 0 && base_.find(path) && !mine_.find(path);
        if (wasRemoved) {
            gone.push_back(boost::const_pointer_cast<SettingsImpl>(node.node().shared_from_this()));
        }
        return !wasRemoved && !node.isLeaf();
    });
    for (boost::shared_ptr<SettingsImpl> const& node : gone)
        NodeEdits(*node->getParentImpl()).leave(node);
}

/// What the tag of a group has.
void FileMerge::takeOver(SettingsImpl& counterpart, SettingsImpl const& node) const {
    detail::NodeContent& own = counterpart.contentInternal();
    detail::NodeContent const& from = node.contentWithLock(lock_);
    own.visible = from.visible;
    own.version = from.version;
    own.readOnly = from.readOnly;
    own.validator = from.validator.get();
}

}  // namespace settings::core
