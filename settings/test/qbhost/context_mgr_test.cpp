#include <thread>

#include <gtest/gtest.h>
#include <qbhost/QbHost.hpp>
#include <settingscore/host/ContextMgr.hpp>

namespace {

using namespace qbhost;
using namespace zbutil::contextmgr;

/// What contexts were told, "a1:init a1:release " and so on, and at what they throw.
std::string record;
std::string failing;

ZcrID resolve(ZcrID id) { return ContextRegistry::getInstance().resolveZcrID(id); }

template <char Name>
class Recorder : public ContextBase {
public:
    explicit Recorder(ZcrID id) : id_(id) {}
    void init(bool) override { note("init"); }
    void restore() override { note("restore"); }
    void save() override { note("save"); }
    void release(bool) override { note("release"); }

private:
    void note(std::string const& what) {
        resolve(id_);  // The registry can be asked from within.
        record += Name + std::to_string(id_.value()) + ":" + what + " ";
        if (what == failing) throw std::runtime_error(what);
    }
    ZcrID id_;
};

template <char Name>
using Factory = ContextFactory<Recorder<Name>, ContextGenerator<Recorder<Name>>>;

/// What an operation gave, and what the contexts heard of it.
std::string told(bool done) { return (done ? "" : "refused ") + std::exchange(record, ""); }

TEST(ContextMgrTest, InstancesLiveAndEachThreadIsOnOneOfThem) {
    Factory<'a'> const factory;
    EXPECT_EQ(told(startInstance(1)), "a1:init ");
    EXPECT_EQ(told(startInstance(1)), "refused ");
    EXPECT_EQ(told(makeCurrent(1)), "a0:init a0:save a1:restore ");
    EXPECT_EQ(told(makeCurrent(1)), "");
    EXPECT_EQ(told(endInstance(1)), "a1:save a0:restore a1:release ");
    EXPECT_EQ(told(endInstance(BlessedZcrID)), "a0:release ");
    EXPECT_TRUE(resolve(AnyZcrID) == BlessedZcrID) << "it stays";
    EXPECT_EQ(told(makeCurrent(1) || endInstance(1) || startInstance(BlessedZcrID)), "refused ");

    ASSERT_TRUE(startInstance(1) && makeCurrent(1));
    std::thread([] {
        EXPECT_TRUE(currentInstance() == BlessedZcrID);
        endInstance(1);
    }).join();
    // It ended behind this thread's back: there is nothing to act on until it chooses anew.
    EXPECT_TRUE(currentInstance() == UndefinedZcrID);
    EXPECT_TRUE(makeCurrent(BlessedZcrID));
}

TEST(ContextMgrTest, FailuresReachTheCallerAndLeaveNothingHalfDone) {
    Factory<'a'> const first;
    Factory<'b'> const second;
    failing = "init";
    EXPECT_THROW(startInstance(1), std::runtime_error);
    failing = "release";
    ASSERT_TRUE(startInstance(1)) << "it was not there any more";
    record.clear();
    EXPECT_THROW(endInstance(1), std::runtime_error);
    failing.clear();
    EXPECT_EQ(told(resolve(1) < BlessedZcrID), "b1:release a1:release ");
}

}  // namespace
