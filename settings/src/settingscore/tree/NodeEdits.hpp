#pragma once

#include <vector>

#include <boost/shared_ptr.hpp>
#include <settingscore/tree/SettingsImpl.hpp>

namespace settings::core::detail {

/// How a node enters a tree, and how its children leave it. What is checked, changed and reported
/// is so under one upgrade lock of the tree; the files follow under a shared one.
class NodeEdits {
public:
    using UpgradeLock = SettingsImpl::UpgradeLock;
    using NodePtr = boost::shared_ptr<SettingsImpl>;

    explicit NodeEdits(SettingsImpl& node) : node_(node), content_(node.contentInternal()) {}

    /// Attaches the node with all checks, its event, and the files.
    void attach(NodePtr const& newParent) const;
    /// The checks, and the change under exclusive access.
    void checkAndEnter(UpgradeLock& lock, NodePtr const& parent, bool validate) const;
    /// The change alone: under exclusive access, or on nodes that no other thread can reach.
    void enter(NodePtr const& parent) const;
    /// Removes a child of the node, with its event and the files.
    void remove(NodePtr const& child) const;
    /// The change alone. True if `child` was there and is gone.
    bool take(UpgradeLock& lock, NodePtr const& child) const;
    /// Lets a child go that is there: under exclusive access, or on nodes that no other thread can
    /// reach.
    void leave(NodePtr const& child) const;

    /// @throws exception::ErrorAddingTopLevelNode, exception::ErrorAddingChildNodeOrKey
    static void addChild(SettingsImpl& parent, NodePtr const& child);

private:
    void deleteFiles(HeldLock const& lock, SettingsImpl const& child,
                     std::vector<SettingsLevel const*> const& levels) const;

    SettingsImpl& node_;
    NodeContent& content_;
};

}  // namespace settings::core::detail
