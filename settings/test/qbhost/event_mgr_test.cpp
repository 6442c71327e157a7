#include <atomic>
#include <thread>

#include <gtest/gtest.h>
#include <settingscore/host/EventMgr.hpp>

namespace {

using namespace corebus::msg_svc::eventmgr;
using Tags = std::vector<qf::ustring>;

template <char Kind>
struct Event : BaseEvent {
    struct Type : TypeInformation {
        explicit Type(Tags const& tags) { addUserTags(tags.begin(), tags.end()); }
        std::size_t hierarchySize() const override { return 2; }
        qf::ustring getBaseTag(std::size_t index) const override {
            return index == 0 ? typeTag() : BaseEvent::typeTag();
        }
    };
    static qf::ustring typeTag() { return qf::ustring(1, Kind); }
    explicit Event(Tags const& tags) : BaseEvent(boost::make_shared<Type>(tags)) {}
    BaseEvent* clone() const override { return new Event(*this); }
};
using Ping = Event<'i'>;
using Pong = Event<'o'>;

class EventMgrTest : public testing::Test {
protected:
    template <class Kind = Ping>
    auto hear(Tags const& tags, std::function<void()> f) {
        return manager_->subscribe<Kind>([f](Kind const&) { f(); }, tags.begin(), tags.end());
    }
    /// A subscription that writes `name` into the record.
    template <class Kind = Ping>
    auto note(Tags const& tags, std::string const& name) {
        return hear<Kind>(tags, [this, name] { record_ += name; });
    }
    /// What is recorded when an event is sent, and what is thrown then.
    template <class Kind = Ping>
    std::string sent(Tags const& tags) {
        try {
            manager_->notify<BaseEvent>(boost::make_shared<Kind>(tags), DeliverMode::Immediate);
        } catch (std::runtime_error const& e) {
            record_ += e.what();
        }
        return std::exchange(record_, "");
    }
    boost::shared_ptr<EventMgr> manager_ = zbutil::eventmgr::createLocalEventMgr();
    std::string record_;
};

TEST_F(EventMgrTest, RoutesByTagAndKindOnceEachInTheOrderOfSubscribing) {
    auto const first = note({u"z", u"a"}, "1");
    auto const second = note<BaseEvent>({u"b", u"a", u"a"}, "2");
    auto const third = note<Pong>({u"a"}, "3");
    auto const fourth = note({u"b"}, "4");
    EXPECT_EQ(sent({u"b", u"a"}), "124");
    EXPECT_EQ(sent<Pong>({u"a"}), "23");
    EXPECT_EQ(sent({u"c"}) + sent({}), "");
}

TEST_F(EventMgrTest, HandlersMayChangeSubscriptionsAndFail) {
    std::unique_ptr<Connection> other;
    std::unique_ptr<Connection> added;
    std::unique_ptr<Connection> self = hear({u"t"}, [&] {
        added = note({u"t"}, "added ");
        other.reset();
        self.reset();
        throw std::runtime_error("first");
    });
    other = note({u"t"}, "other ");
    auto const fails = hear({u"t"}, [] { throw std::runtime_error("second"); });
    auto const last = note({u"t"}, "last ");
    EXPECT_EQ(sent({u"t"}), "last first");
    EXPECT_EQ(sent({u"t"}), "last added second");
}

TEST_F(EventMgrTest, EndingASubscriptionWaitsForNoDelivery) {
    std::atomic<bool> inside{false};
    std::atomic<bool> ended{false};
    auto connection = hear({u"t"}, [&] {
        inside = true;
        while (!ended)
            std::this_thread::yield();
    });
    std::thread sender([this] { sent({u"t"}); });
    while (!inside)
        std::this_thread::yield();
    connection.reset();
    ended = true;
    sender.join();
}

}  // namespace
