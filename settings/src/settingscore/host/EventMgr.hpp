#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <ostream>
#include <stdexcept>
#include <string>
#include <typeinfo>
#include <utility>
#include <vector>

#include <boost/function.hpp>
#include <boost/make_shared.hpp>
#include <boost/shared_ptr.hpp>
#include <settingscore/host/HostApi.hpp>
#include <settingscore/host/UString.hpp>

namespace corebus::msg_svc::exchange {

/// A value that is unique within the process, and in practice among the processes of a machine.
/// The default constructor makes a fresh one; copies are equal.
class QBHOST_API IDType {
public:
    IDType();
    /// Both parts in hexadecimal with the base prefix, with nothing between them.
    std::string toString() const;
    /// Appends what `toString` gives.
    void appendTo(qf::ustring& text) const;
    /// @{
    /// Compares both parts.
    friend bool operator==(IDType const& a, IDType const& b) {
        return a.high_ == b.high_ && a.low_ == b.low_;
    }
    friend bool operator!=(IDType const& a, IDType const& b) { return !(a == b); }
    /// @}

private:
    std::uint32_t high_;
    std::uint64_t low_;
};

}  // namespace corebus::msg_svc::exchange

namespace corebus::msg_svc::eventmgr {

/// Names the classes of an event type, most derived first, and the tags that route one event.
class QBHOST_API TypeInformation {
public:
    virtual ~TypeInformation() = default;
    /// Number of classes that `getBaseTag` names.
    virtual std::size_t hierarchySize() const = 0;
    /// Tag of the class at `index`, 0 being the most derived; it lives as long as the process.
    /// @throws std::out_of_range
    virtual qf::ustring const& getBaseTag(std::size_t index) const = 0;

    /// Adds tags that route the event.
    template <class Iterator>
    void addUserTags(Iterator first, Iterator last) {
        userTags_.insert(userTags_.end(), first, last);
    }
    /// The tags that route the event.
    std::vector<qf::ustring> const& userTags() const { return userTags_; }

private:
    std::vector<qf::ustring> userTags_;
};

/// Base of all events.
class QBHOST_API BaseEvent {
public:
    /// @throws std::invalid_argument if `type` is null
    explicit BaseEvent(boost::shared_ptr<TypeInformation> type);
    BaseEvent(BaseEvent const&) = default;
    BaseEvent& operator=(BaseEvent const&) = default;
    virtual ~BaseEvent() = default;
    /// A heap copy; the caller owns it.
    virtual BaseEvent* clone() const = 0;
    /// May be delivered within the process without being written to a stream.
    virtual bool isLocal() const { return true; }
    /// Writes the tags of the event's classes, for diagnosis.
    virtual void fillStream(std::ostream& stream) const;

    /// Tag of this class.
    static qf::ustring typeTag() { return u"corebus::msg_svc::eventmgr::BaseEvent"; }
    /// True if the tag is that of the event's class or of one of its bases.
    bool isKindOf(qf::ustring const& tag) const;
    /// True for an event and its copies.
    bool operator==(BaseEvent const& other) const { return type_ == other.type_; }
    /// The event's classes and tags.
    TypeInformation const& typeInformation() const { return *type_; }

    /// @throws std::bad_cast if `event` is not of the kind of T. T has a static `typeTag()`.
    template <class T>
    static T const& safeDownCast(BaseEvent const& event) {
        if (!event.isKindOf(T::typeTag())) throw std::bad_cast();
        return static_cast<T const&>(event);
    }

private:
    boost::shared_ptr<TypeInformation> type_;
};

/// A subscription; destroying it ends the subscription. It never waits for a delivery: a call that
/// has begun on another thread may still end after it.
class QBHOST_API Connection {
public:
    virtual ~Connection() = default;
};

/// When an event is delivered.
enum class DeliverMode { Queued = 0, Immediate = 1 };

/// Routes events to subscriptions by their tags.
class QBHOST_API EventMgr {
public:
    /// What a subscription calls.
    using Handler = boost::function<void(BaseEvent const&)>;
    virtual ~EventMgr() = default;

    /// Calls `function` for events of kind T that carry any of the tags.
    template <class T, class Function, class Iterator>
    std::unique_ptr<Connection> subscribe(Function function, Iterator firstTag, Iterator lastTag) {
        return subscribeHandler(
            [function](BaseEvent const& event) { function(BaseEvent::safeDownCast<T>(event)); },
            T::typeTag(), std::vector<qf::ustring>(firstTag, lastTag));
    }

    /// Calls each subscription that shares a tag with the event and asks for a kind that the event
    /// is of, once, in the order of subscribing, on this thread, with no lock of the manager held:
    /// a handler may subscribe, end its own subscription or another's. A subscription made during
    /// the delivery gets the next event, one ended before its turn gets nothing more. All are
    /// called, then the first exception of a handler goes on to the caller.
    template <class Event>
    void notify(boost::shared_ptr<Event const> const& event, DeliverMode mode) {
        deliver(*event, mode);
    }

    /// False if no event would reach anybody at this moment, so that none need be made.
    virtual bool hasSubscriptions() const = 0;

protected:
    /// The work of `subscribe`.
    virtual std::unique_ptr<Connection> subscribeHandler(Handler handler, qf::ustring kind,
                                                         std::vector<qf::ustring> tags) = 0;
    /// The work of `notify`.
    virtual void deliver(BaseEvent const& event, DeliverMode mode) = 0;
};

}  // namespace corebus::msg_svc::eventmgr

namespace zbutil::eventmgr {

/// The event manager of the process; every call gives the same subscriptions.
QBHOST_API boost::shared_ptr<corebus::msg_svc::eventmgr::EventMgr> createLocalEventMgr();

}  // namespace zbutil::eventmgr
