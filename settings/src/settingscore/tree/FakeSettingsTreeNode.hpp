#pragma once

#include <set>

#include <boost/shared_ptr.hpp>

namespace settings::core {

class SettingsImpl;

/// A sparse picture of a tree for one export. Without children it stands for the whole subtree of
/// its node; with children for those alone, with the node as their path.
class FakeSettingsTreeNode {
public:
    /// By the byte order of the nodes' names.
    struct ByName {
        bool operator()(boost::shared_ptr<FakeSettingsTreeNode> const& a,
                        boost::shared_ptr<FakeSettingsTreeNode> const& b) const;
    };
    using Children = std::set<boost::shared_ptr<FakeSettingsTreeNode>, ByName>;

    FakeSettingsTreeNode(boost::shared_ptr<SettingsImpl const> const& node,
                         boost::shared_ptr<FakeSettingsTreeNode> const& child);
    ~FakeSettingsTreeNode();
    FakeSettingsTreeNode(FakeSettingsTreeNode const&) = delete;
    FakeSettingsTreeNode& operator=(FakeSettingsTreeNode const&) = delete;

    boost::shared_ptr<SettingsImpl const> const& node() const { return node_; }
    Children const& children() const { return children_; }
    Children& children() { return children_; }

private:
    boost::shared_ptr<SettingsImpl const> node_;
    Children children_;
};

}  // namespace settings::core
