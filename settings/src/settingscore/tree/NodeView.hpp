#pragma once

#include <string>

#include <boost/any.hpp>
#include <boost/optional.hpp>
#include <boost/shared_ptr.hpp>
#include <settingscore/tree/NodeContent.hpp>
#include <settingscore/tree/TreeLock.hpp>

namespace settings::core {

class SettingsImpl;
class SettingsLevel;
class TreeRoot;

namespace detail {

/// A node as one sees it who holds the tree lock, in whichever flavour: nothing here locks, loads
/// or changes anything. The view lives no longer than the lock; it keeps the node by reference.
class NodeView {
public:
    NodeView(SettingsImpl const& node, HeldLock const& lock);

    SettingsImpl const& node() const { return node_; }
    std::string const& name() const { return content_.name; }
    /// True for a key.
    bool isLeaf() const { return content_.isLeaf; }
    boost::optional<bool> visible() const;
    /// Version of the product, or of the standalone tree, that the node belongs to.
    boost::optional<unsigned int> version() const;
    bool isReadOnly() const;

    // --- Places -----------------------------------------------------------------------------
    boost::shared_ptr<SettingsImpl> parent() const { return content_.parent.lock(); }
    bool isTreeRoot() const;
    /// True for a product.
    bool isTopLevel() const;
    /// True if the node is part of an instance's tree, the root included.
    bool isConnected() const;
    bool isBelow(SettingsImpl const& node) const;
    /// The product above (or at) this node; the top of a standalone tree; the root for itself.
    boost::shared_ptr<SettingsImpl const> topLevel() const;
    /// The node without a parent at the end of the chain.
    boost::shared_ptr<SettingsImpl const> end() const;
    /// The root of the tree if this node is on one.
    boost::shared_ptr<TreeRoot const> root() const;
    unsigned long depth() const;
    std::string fullName(bool includeRootName) const;

    // --- Children ---------------------------------------------------------------------------
    ChildMap const& children() const { return content_.visibleChildren(); }
    /// Null if there is none.
    SettingsImpl* child(std::string const& name) const;

    // --- Rules ------------------------------------------------------------------------------
    /// The node's own validator; the first alternative is none.
    Validator const& validator() const { return content_.validator.get(); }
    /// The nearest one up the chain of parents, its own first.
    Validator validatorInForce() const;
    bool hasValidatorInForce() const;
    SettingsKeyMetaData<boost::any> const& metaData() const { return content_.metaData.get(); }
    RunTimeDefault const& runTimeDefault() const { return content_.runTimeDefault.get(); }
    bool ownsRunTimeDefault(std::string const& level) const;
    KeyRules const& rules() const { return content_.rules; }

    // --- Values -----------------------------------------------------------------------------
    /// What is stored on the levels; a runtime default is not looked at.
    LevelValues const& storedValues() const { return content_.values; }
    /// The first stored value in the order of the levels; empty if there is none.
    boost::any const& storedInForce() const;
    /// What is stored on a level, or with no level (null) in force; empty if there is none.
    boost::any const& stored(SettingsLevel const* level) const;
    /// No value is stored, and none would be computed.
    bool isUndefined() const;

private:
    SettingsImpl const& node_;
    NodeContent const& content_;
    HeldLock lock_;
};

}  // namespace detail
}  // namespace settings::core
