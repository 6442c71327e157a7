#pragma once

#include <array>
#include <ostream>
#include <stdexcept>
#include <type_traits>
#include <vector>

#include <boost/make_shared.hpp>
#include <boost/shared_ptr.hpp>
#include <settingscore/Export.hpp>
#include <settingscore/host/ContextMgr.hpp>
#include <settingscore/host/EventMgr.hpp>
#include <settingscore/host/UString.hpp>

namespace settings::core {

class Settings;

/// Something that happened to a node of an instance's tree. An event keeps its nodes alive.
class SETTINGSCORE_API SettingsEvent : public corebus::msg_svc::eventmgr::BaseEvent {
public:
    /// `tags` route the event: one for each node whose listeners get it.
    SettingsEvent(boost::shared_ptr<Settings const> const& obj, std::vector<ustring> tags,
                  ZcrID const& id);
    SettingsEvent(SettingsEvent const&) = default;
    ~SettingsEvent() override;
    SettingsEvent* clone() const override { return new SettingsEvent(*this); }

    /// The node that the event is about.
    virtual boost::shared_ptr<Settings const> const& getObj() const { return object_; }
    /// The instance of the tree.
    virtual ZcrID const& getZcrId() const { return instance_; }

    /// Tag of this class.
    static ustring typeTag();
    /// Tags of the types under which events of this class are published: of all leaf classes.
    static std::vector<ustring> publishedTypeTags();

protected:
    /// For derived classes: `type` has their tags and those that route the event.
    SettingsEvent(boost::shared_ptr<Settings const> const& obj,
                  boost::shared_ptr<corebus::msg_svc::eventmgr::TypeInformation> const& type,
                  ZcrID const& id);

private:
    boost::shared_ptr<Settings const> object_;
    ZcrID instance_;
};

/// The value in force of a key changed (or was adopted by a merge).
class SETTINGSCORE_API SettingsValueChangeEvent : public SettingsEvent {
public:
    /// As for `SettingsEvent`.
    SettingsValueChangeEvent(boost::shared_ptr<Settings const> const& obj,
                             std::vector<ustring> tags, ZcrID const& id);
    SettingsValueChangeEvent(SettingsValueChangeEvent const&) = default;
    ~SettingsValueChangeEvent() override;
    SettingsValueChangeEvent* clone() const override { return new SettingsValueChangeEvent(*this); }

    /// Tag of this class.
    static ustring typeTag();
    /// See `SettingsEvent::publishedTypeTags`.
    static std::vector<ustring> publishedTypeTags() { return {typeTag()}; }
};

/// A node was attached; `getObj` is the node. A subtree that is attached
/// makes one event; a merge makes one for each node.
class SETTINGSCORE_API SettingsAddNodeEvent : public SettingsEvent {
public:
    /// As for `SettingsEvent`.
    SettingsAddNodeEvent(boost::shared_ptr<Settings const> const& parent,
                         boost::shared_ptr<Settings const> const& obj, std::vector<ustring> tags,
                         ZcrID const& id);
    SettingsAddNodeEvent(SettingsAddNodeEvent const&) = default;
    ~SettingsAddNodeEvent() override;
    SettingsAddNodeEvent* clone() const override { return new SettingsAddNodeEvent(*this); }
    /// The group that the node came to.
    boost::shared_ptr<Settings const> const& getParentObj() const { return parent_; }

    /// Tag of this class.
    static ustring typeTag();
    /// See `SettingsEvent::publishedTypeTags`.
    static std::vector<ustring> publishedTypeTags() { return {typeTag()}; }

private:
    boost::shared_ptr<Settings const> parent_;
};

/// A node was removed; `getObj` is the node, which keeps its children and values.
class SETTINGSCORE_API SettingsRemoveNodeEvent : public SettingsEvent {
public:
    /// As for `SettingsEvent`.
    SettingsRemoveNodeEvent(boost::shared_ptr<Settings const> const& parent,
                            boost::shared_ptr<Settings const> const& obj, std::vector<ustring> tags,
                            ZcrID const& id);
    SettingsRemoveNodeEvent(SettingsRemoveNodeEvent const&) = default;
    ~SettingsRemoveNodeEvent() override;
    SettingsRemoveNodeEvent* clone() const override { return new SettingsRemoveNodeEvent(*this); }
    /// The group that the node stood in.
    boost::shared_ptr<Settings const> const& getParentObj() const { return parent_; }

    /// Tag of this class.
    static ustring typeTag();
    /// See `SettingsEvent::publishedTypeTags`.
    static std::vector<ustring> publishedTypeTags() { return {typeTag()}; }

private:
    boost::shared_ptr<Settings const> parent_;
};

/// The classes of an event type, most derived first.
template <class T>
struct EventHierarchy {
    /// Number of the classes.
    static constexpr std::size_t size = std::is_same_v<T, SettingsEvent> ? 2 : 3;
    /// See `corebus::msg_svc::eventmgr::TypeInformation::getBaseTag`.
    static ustring const& getBaseTag(std::size_t index) {
        // Never destroyed: threads may still set values while the process ends.
        static auto const& tags =
            *new std::array<ustring, 3>{T::typeTag(), SettingsEvent::typeTag(),
                                        corebus::msg_svc::eventmgr::BaseEvent::typeTag()};
        if (index >= size) throw std::out_of_range("eventmgr::BaseEvent has no base types.");
        // The most general class has one tag less: its own is that of the base.
        return tags[index + (index == 0 ? 0 : 3 - size)];
    }
};

namespace detail {

/// Type information of the events of class T.
template <class T>
class DerivedTypeInformation : public corebus::msg_svc::eventmgr::TypeInformation {
public:
    std::size_t hierarchySize() const override { return EventHierarchy<T>::size; }
    ustring const& getBaseTag(std::size_t index) const override {
        return EventHierarchy<T>::getBaseTag(index);
    }
};

}  // namespace detail

/// Type information of one event of class T, with its routing tags.
template <class T, class Iterator>
boost::shared_ptr<corebus::msg_svc::eventmgr::TypeInformation> makeTypeInformation(Iterator first,
                                                                                   Iterator last) {
    auto const type = boost::make_shared<detail::DerivedTypeInformation<T>>();
    type->addUserTags(first, last);
    return type;
}

}  // namespace settings::core
