#include <settingscore/tree/NodeEvents.hpp>

#include <exception>
#include <utility>

#include <settingscore/tree/FailureOf.hpp>
#include <settingscore/tree/NodeView.hpp>
#include <settingscore/tree/SettingsEvent.hpp>
#include <settingscore/tree/TreeRoot.hpp>
#include <settingscore/value/NeverDestroyed.hpp>

namespace settings::core {

using detail::HeldLock;
using detail::NodeView;

namespace {

constexpr std::size_t usualDepth = 8;
constexpr std::size_t usualIdLength = 28;

/// The root, if somebody hears its events.
boost::shared_ptr<TreeRoot const> rootWithAudience(NodeView const& view) {
    // The common case, found out without the way up to the root.
    if (!TreeRoot::isAnyAudience()) return {};
    boost::shared_ptr<TreeRoot const> root = view.root();
    if (root && !root->hasAudience()) root.reset();
    return root;
}

}  // namespace

template <class Event>
ustring SettingsImpl::createEventIdentifier(HeldLock const&) const {
    static auto const& tag = detail::neverDestroyed<ustring>(Event::typeTag());
    ustring identifier;
    identifier.reserve(tag.size() + usualIdLength);
    identifier += tag;
    content_.eventId.get().appendTo(identifier);
    return identifier;
}

template <class Event>
void SettingsImpl::createEventTypeOnNode(HeldLock const& lock, std::vector<ustring>& tags) const {
    tags.push_back(createEventIdentifier<Event>(lock));
    for (auto above = getParentImpl(); above; above = above->getParentImpl())
        tags.push_back(above->createEventIdentifier<Event>(lock));
}

template <class Event>
void SettingsImpl::fireSettingsEventWithLock(
    HeldLock const& lock, boost::shared_ptr<SettingsImpl const> const& node) const {
    detail::fireNodeEvent<Event>(*this, lock, node);
}

namespace detail {

void fireValueChange(SettingsImpl const& key, HeldLock const& lock) {
    auto const root = rootWithAudience(NodeView(key, lock));
    if (!root) return;
    std::vector<ustring> tags;
    tags.reserve(usualDepth);
    key.createEventTypeOnNode<SettingsValueChangeEvent>(lock, tags);
    root->broadcastEvent(boost::make_shared<SettingsValueChangeEvent const>(
        key.shared_from_this(), std::move(tags), root->getZcrID()));
}

template <class Event>
void fireNodeEvent(SettingsImpl const& parent, HeldLock const& lock,
                   boost::shared_ptr<SettingsImpl const> const& node) {
    auto const root = rootWithAudience(NodeView(parent, lock));
    if (!root) return;
    std::vector<ustring> tags;
    parent.createEventTypeOnNode<Event>(lock, tags);
    root->broadcastEvent(boost::make_shared<Event const>(parent.shared_from_this(), node,
                                                         std::move(tags), root->getZcrID()));
}

template void fireNodeEvent<SettingsAddNodeEvent>(SettingsImpl const&, HeldLock const&,
                                                  boost::shared_ptr<SettingsImpl const> const&);
template void fireNodeEvent<SettingsRemoveNodeEvent>(SettingsImpl const&, HeldLock const&,
                                                     boost::shared_ptr<SettingsImpl const> const&);

void GatheredEvents::fireAll(HeldLock const& lock) const {
    std::exception_ptr first;
    for (Event const& event : events_) {
        std::exception_ptr const failure = failureOf([&] {
            switch (event.kind) {
                case Kind::value:
                    return fireValueChange(*event.node, lock);
                case Kind::added:
                    return fireNodeEvent<SettingsAddNodeEvent>(*event.parent, lock, event.node);
                case Kind::removed:
                    return fireNodeEvent<SettingsRemoveNodeEvent>(*event.parent, lock, event.node);
            }
        });
        if (!first) first = failure;
    }
    if (first) std::rethrow_exception(first);
}

}  // namespace detail

template void SettingsImpl::fireSettingsEventWithLock<SettingsAddNodeEvent>(
    HeldLock const&, boost::shared_ptr<SettingsImpl const> const&) const;
template void SettingsImpl::fireSettingsEventWithLock<SettingsRemoveNodeEvent>(
    HeldLock const&, boost::shared_ptr<SettingsImpl const> const&) const;

}  // namespace settings::core
