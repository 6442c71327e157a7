#pragma once

#include <atomic>
#include <map>
#include <string>
#include <utility>

#include <boost/any.hpp>
#include <boost/logic/tribool.hpp>
#include <boost/optional.hpp>
#include <boost/shared_ptr.hpp>
#include <boost/weak_ptr.hpp>
#include <settingscore/rules/RunTimeDefault.hpp>
#include <settingscore/rules/SettingsKeyMetaData.hpp>
#include <settingscore/tree/EventIdentity.hpp>
#include <settingscore/tree/KeyRules.hpp>
#include <settingscore/tree/LevelValues.hpp>
#include <settingscore/tree/LoadOnce.hpp>
#include <settingscore/tree/OwnValidator.hpp>
#include <settingscore/tree/Rare.hpp>
#include <settingscore/value/NeverDestroyed.hpp>

namespace settings::core {

class SettingsImpl;

namespace detail {

/// The children of a group by their names, in byte order.
using ChildMap = std::map<std::string, boost::shared_ptr<SettingsImpl>>;

/// All that a node holds. Guarded by the tree lock, but for the name and the leaf flag, which never
/// change, and for what has a guard of its own: the state of the load, and the settled rules.
struct NodeContent {
    NodeContent(std::string nodeName, bool leaf) : name(std::move(nodeName)), isLeaf(leaf) {}
    /// Copies everything but parent, children, values and event identity, which is new.
    NodeContent(NodeContent const& other)
        : name(other.name),
          isLeaf(other.isLeaf),
          loadOnce(other.loadOnce),
          readOnly(other.readOnly),
          visible(other.visible),
          version(other.version),
          validator(other.validator),
          metaData(other.metaData),
          rules(other.rules),
          runTimeDefault(other.runTimeDefault) {}
    NodeContent& operator=(NodeContent const&) = delete;

    bool isPending() const { return pending.load(std::memory_order_acquire); }
    /// The children as far as they may be looked at: none while a product is not loaded, but for
    /// the thread that loads it.
    ChildMap const& visibleChildren() const {
        return isPending() && !loadOnce.isRunningHere() ? Rare<ChildMap>().get() : children.get();
    }

    std::string const name;
    bool const isLeaf;
    /// True on a product whose files are still to be read: until then its content belongs to the
    /// thread that loads it.
    std::atomic<bool> pending{false};
    LoadOnce loadOnce;
    boost::logic::tribool readOnly{false};
    boost::optional<bool> visible;
    boost::optional<unsigned int> version;
    boost::weak_ptr<SettingsImpl> parent;
    LevelValues values;
    Rare<ChildMap> children;
    OwnValidator validator;
    Rare<SettingsKeyMetaData<boost::any>> metaData;
    KeyRules rules;
    EventIdentity eventId;
    Rare<RunTimeDefault> runTimeDefault;
};

}  // namespace detail
}  // namespace settings::core
