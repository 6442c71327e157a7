// What a node tells its listeners.

#include <settingscore/roots/SettingsEvent.hpp>
#include <settingscore/roots/SettingsImplRoot.hpp>
#include <settingscore/tree/SettingsImpl.hpp>

namespace settings::core {

using detail::HeldLock;

namespace {
constexpr std::size_t usualDepth = 8;
constexpr std::size_t usualIdLength = 28;
}  // namespace

template <class Event>
ustring SettingsImpl::createEventIdentifier(HeldLock const&) const {
    // Never destroyed: threads may still set values while the process ends.
    static ustring const& tag = *new ustring(Event::typeTag());
    ustring identifier;
    identifier.reserve(tag.size() + usualIdLength);
    identifier += tag;
    nodeEventId_.appendTo(identifier);
    return identifier;
}

template <class Event>
void SettingsImpl::createEventTypeOnNode(HeldLock const& lock, std::vector<ustring>& tags) const {
    tags.push_back(createEventIdentifier<Event>(lock));
    if (boost::shared_ptr<SettingsImpl> const parent = getParentImpl()) {
        parent->createEventTypeOnNode<Event>(lock, tags);
    }
}

template <class Event>
void SettingsImpl::fireSettingsEventWithLock(
    HeldLock const& lock, boost::shared_ptr<SettingsImpl const> const& node) const {
    boost::shared_ptr<SettingsImplRoot const> const root = getTreeRootWithLock(lock);
    if (!root || !root->hasAudience()) return;
    std::vector<ustring> tags;
    createEventTypeOnNode<Event>(lock, tags);
    root->broadcastEvent(
        boost::make_shared<Event const>(sharedThis(), node, std::move(tags), root->getZcrID()));
}

void SettingsImpl::fireValueChangeWithLock(HeldLock const& lock) const {
    // The common case, told before the way up to the root.
    if (!SettingsImplRoot::isAnyAudience()) return;
    boost::shared_ptr<SettingsImplRoot const> const root = getTreeRootWithLock(lock);
    if (!root || !root->hasAudience()) return;
    std::vector<ustring> tags;
    tags.reserve(usualDepth);
    createEventTypeOnNode<SettingsValueChangeEvent>(lock, tags);
    root->broadcastEvent(boost::make_shared<SettingsValueChangeEvent const>(
        sharedThis(), std::move(tags), root->getZcrID()));
}

template void SettingsImpl::fireSettingsEventWithLock<SettingsAddNodeEvent>(
    HeldLock const&, boost::shared_ptr<SettingsImpl const> const&) const;
template void SettingsImpl::fireSettingsEventWithLock<SettingsRemoveNodeEvent>(
    HeldLock const&, boost::shared_ptr<SettingsImpl const> const&) const;

}  // namespace settings::core
