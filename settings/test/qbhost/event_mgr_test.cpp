#include <atomic>
#include <thread>

#include <gtest/gtest.h>
#include <settingscore/host/EventMgr.hpp>

namespace {

using namespace corebus::msg_svc::eventmgr;

/// All events here have the one tag.
std::vector<qf::ustring> const tags{u"t"};

struct Ping : BaseEvent {
    struct Type : TypeInformation {
        Type() { addUserTags(tags.begin(), tags.end()); }
        std::size_t hierarchySize() const override { return 1; }
        qf::ustring const& getBaseTag(std::size_t) const override {
            static qf::ustring const tag = typeTag();
            return tag;
        }
    };
    static qf::ustring typeTag() { return u"ping"; }
    Ping() : BaseEvent(boost::make_shared<Type>()) {}
    BaseEvent* clone() const override { return new Ping(*this); }
};

class EventMgrTest : public testing::Test {
protected:
    auto hear(std::function<void()> f) {
        return manager_->subscribe<Ping>([f](Ping const&) { f(); }, tags.begin(), tags.end());
    }
    /// A subscription that writes `name` into the record.
    auto note(std::string const& name) {
        return hear([this, name] { record_ += name; });
    }
    /// What is recorded when an event is sent, and what is thrown then.
    std::string sent() {
        try {
            manager_->notify<BaseEvent>(boost::make_shared<Ping>(), DeliverMode::Immediate);
        } catch (std::runtime_error const& e) {
            record_ += e.what();
        }
        return std::exchange(record_, "");
    }
    boost::shared_ptr<EventMgr> manager_ = zbutil::eventmgr::createLocalEventMgr();
    std::string record_;
};

TEST_F(EventMgrTest, HandlersMayChangeSubscriptionsAndFail) {
    std::unique_ptr<Connection> other;
    std::unique_ptr<Connection> added;
    std::unique_ptr<Connection> self = hear([&] {
        added = note("added ");
        other.reset();
        self.reset();
        throw std::runtime_error("first");
    });
    other = note("other ");
    auto const fails = hear([] { throw std::runtime_error("second"); });
    auto const last = note("last ");
    EXPECT_EQ(sent(), "last first");
    EXPECT_EQ(sent(), "last added second");
}

TEST_F(EventMgrTest, EndingASubscriptionWaitsForNoDelivery) {
    std::atomic<bool> inside{false};
    std::atomic<bool> ended{false};
    auto connection = hear([&] {
        inside = true;
        while (!ended)
            std::this_thread::yield();
    });
    std::thread sender([this] { sent(); });
    while (!inside)
        std::this_thread::yield();
    connection.reset();
    ended = true;
    sender.join();
}

}  // namespace
