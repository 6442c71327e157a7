#include <settingscore/tree/FakeSettingsTreeNode.hpp>

#include <utility>
#include <vector>

#include <settingscore/tree/SettingsImpl.hpp>

namespace settings::core {

bool FakeSettingsTreeNode::ByName::operator()(
    boost::shared_ptr<FakeSettingsTreeNode> const& a,
    boost::shared_ptr<FakeSettingsTreeNode> const& b) const {
    return a->node_->getName() < b->node_->getName();
}

FakeSettingsTreeNode::FakeSettingsTreeNode(boost::shared_ptr<SettingsImpl const> const& node,
                                           boost::shared_ptr<FakeSettingsTreeNode> const& child)
    : node_(node) {
    if (child) children_.insert(child);
}

// A chain may be deeper than the stack: its nodes are let go one after another.
FakeSettingsTreeNode::~FakeSettingsTreeNode() {
    std::vector<boost::shared_ptr<FakeSettingsTreeNode>> waiting(children_.begin(),
                                                                 children_.end());
    children_.clear();
    while (!waiting.empty()) {
        boost::shared_ptr<FakeSettingsTreeNode> const last = std::move(waiting.back());
        waiting.pop_back();
        if (last.use_count() != 1) continue;
        waiting.insert(waiting.end(), last->children_.begin(), last->children_.end());
        last->children_.clear();
    }
}

}  // namespace settings::core
