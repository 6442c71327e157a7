#pragma once

#include <vector>

#include <boost/shared_ptr.hpp>
#include <settingscore/tree/SettingsImpl.hpp>

/// What nodes report to their listeners and to the queue of their root. The caller holds the tree
/// lock, shared or for upgrade but not exclusively: listeners may read the tree.
namespace settings::core::detail {

void fireValueChange(SettingsImpl const& key, HeldLock const& lock);

/// Reports `node` as added to or removed from `parent`. Event is one of the two node events.
template <class Event>
void fireNodeEvent(SettingsImpl const& parent, HeldLock const& lock,
                   boost::shared_ptr<SettingsImpl const> const& node);

/// Events that are noted down under exclusive access, and fired when that is over.
class GatheredEvents {
public:
    void nodeAdded(boost::shared_ptr<SettingsImpl> const& parent,
                   boost::shared_ptr<SettingsImpl> const& node) {
        events_.push_back({Kind::added, parent, node});
    }
    void nodeRemoved(boost::shared_ptr<SettingsImpl> const& parent,
                     boost::shared_ptr<SettingsImpl> const& node) {
        events_.push_back({Kind::removed, parent, node});
    }
    void valueChanged(boost::shared_ptr<SettingsImpl> const& key) {
        events_.push_back({Kind::value, nullptr, key});
    }
    /// All of them are fired, in order; then the first exception of a listener goes on.
    void fireAll(HeldLock const& lock) const;

private:
    enum class Kind { value, added, removed };
    struct Event {
        Kind kind;
        boost::shared_ptr<SettingsImpl> parent;  ///< Of a node that came or went.
        boost::shared_ptr<SettingsImpl> node;
    };
    std::vector<Event> events_;
};

}  // namespace settings::core::detail
