#include <atomic>
#include <memory>
#include <sstream>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>
#include <settingscore/host/EventMgr.hpp>

namespace {

using namespace corebus::msg_svc::eventmgr;
using qf::ustring;
using Tags = std::vector<ustring>;

/// Names an event type `own`, derived from "Base".
class TestType : public TypeInformation {
public:
    TestType(ustring own, Tags const& tags) : own_(std::move(own)) {
        addUserTags(tags.begin(), tags.end());
    }
    std::size_t hierarchySize() const override { return 2; }
    ustring getBaseTag(std::size_t index) const override { return index == 0 ? own_ : u"Base"; }

private:
    ustring own_;
};

struct AnyEvent : BaseEvent {
    static ustring typeTag() { return u"Base"; }
    AnyEvent(ustring const& kind, Tags const& tags)
        : BaseEvent(boost::make_shared<TestType>(kind, tags)) {}
    BaseEvent* clone() const override { return new AnyEvent(*this); }
};
struct Ping : AnyEvent {
    static ustring typeTag() { return u"Ping"; }
    explicit Ping(Tags const& tags) : AnyEvent(u"Ping", tags) {}
};
struct Pong : AnyEvent {
    static ustring typeTag() { return u"Pong"; }
    explicit Pong(Tags const& tags) : AnyEvent(u"Pong", tags) {}
};

class EventMgrTest : public testing::Test {
protected:
    template <class Event = Ping, class Function>
    std::unique_ptr<Connection> hear(Tags const& tags, Function f) {
        return zbutil::eventmgr::createLocalEventMgr()->subscribe<Event>(f, tags.begin(),
                                                                         tags.end());
    }
    /// A subscription that writes `name` into the record.
    template <class Event = Ping>
    std::unique_ptr<Connection> note(Tags const& tags, std::string const& name) {
        return hear<Event>(tags, [this, name](Event const&) { record += name; });
    }
    template <class Event = Ping>
    void send(Tags const& tags) {
        zbutil::eventmgr::createLocalEventMgr()->notify<AnyEvent>(boost::make_shared<Event>(tags),
                                                                  DeliverMode::Immediate);
    }
    std::string record;
};

TEST_F(EventMgrTest, RoutesByTagAndKindOnceEachInTheOrderOfSubscribing) {
    auto const first = note({u"z", u"a"}, "1");
    auto const second = note<AnyEvent>({u"b", u"a", u"a"}, "2");
    auto const third = note<Pong>({u"a"}, "3");
    auto const fourth = note({u"b"}, "4");
    send({u"b", u"a"});
    EXPECT_EQ("124", record);
    record.clear();
    send<Pong>({u"a"});
    EXPECT_EQ("23", record);
    record.clear();
    send({u"c"});
    send({});
    EXPECT_EQ("", record);
}

TEST_F(EventMgrTest, HandlersMayChangeSubscriptions) {
    std::unique_ptr<Connection> self;
    std::unique_ptr<Connection> other;
    std::vector<std::unique_ptr<Connection>> added;
    self = hear({u"t"}, [&](Ping const&) {
        record += "self ";
        added.push_back(note({u"t"}, "added "));
        other.reset();
        self.reset();
    });
    other = note({u"t"}, "other ");
    auto const last = note({u"t"}, "last ");
    send({u"t"});
    EXPECT_EQ("self last ", record);
    record.clear();
    send({u"t"});
    EXPECT_EQ("last added ", record);
}

TEST_F(EventMgrTest, AllAreCalledThenTheFirstExceptionGoesOn) {
    auto const fails = [this](char const* name) {
        return hear({u"t"}, [this, name](Ping const&) {
            record += name;
            throw std::runtime_error(name);
        });
    };
    auto const first = fails("a");
    auto const second = fails("b");
    auto const third = note({u"t"}, "c");
    try {
        send({u"t"});
        FAIL() << "nothing was thrown";
    } catch (std::runtime_error const& e) {
        EXPECT_STREQ("a", e.what());
    }
    EXPECT_EQ("abc", record);
}

TEST_F(EventMgrTest, EndingASubscriptionWaitsForNoDelivery) {
    std::atomic<bool> inside{false};
    std::atomic<bool> ended{false};
    auto connection = hear({u"t"}, [&](Ping const&) {
        inside = true;
        while (!ended)
            std::this_thread::yield();
    });
    std::thread sender([this] { send({u"t"}); });
    while (!inside)
        std::this_thread::yield();
    connection.reset();
    ended = true;
    sender.join();
}

TEST_F(EventMgrTest, EventsKnowTheirKindAndCopiesAreEqual) {
    Ping const ping({u"t"});
    std::unique_ptr<BaseEvent> const copy(ping.clone());
    EXPECT_TRUE(*copy == ping);
    EXPECT_FALSE(Ping({u"t"}) == ping);
    EXPECT_TRUE(ping.isKindOf(u"Base"));
    EXPECT_THROW(BaseEvent::safeDownCast<Pong>(ping), std::bad_cast);
    std::ostringstream text;
    ping.fillStream(text);
    EXPECT_EQ("Ping, Base", text.str());
}

TEST(IdTypeTest, FreshOnesDifferAndPrintInHexadecimal) {
    corebus::msg_svc::exchange::IDType const one;
    corebus::msg_svc::exchange::IDType const two;
    auto const copy = one;
    EXPECT_TRUE(copy == one);
    EXPECT_FALSE(one == two);
    EXPECT_EQ(copy.toString(), one.toString());
    EXPECT_NE(two.toString(), one.toString());
    EXPECT_EQ(0U, one.toString().find("0x"));
    EXPECT_EQ(std::string::npos, one.toString().find_first_not_of("0123456789abcdefx"));
}

}  // namespace
