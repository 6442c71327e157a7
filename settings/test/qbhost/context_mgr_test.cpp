#include <atomic>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>
#include <qbhost/QbHost.hpp>
#include <settingscore/host/ContextMgr.hpp>

namespace {

using namespace zbutil::contextmgr;

/// What contexts were told, "1:init 1:release " and so on.
std::string record;
std::string failing;

class RecordingContext : public ContextBase {
public:
    explicit RecordingContext(ZcrID id, std::string name = {})
        : id_(id), name_(name + std::to_string(id.value())) {}
    void init(bool) override { note("init"); }
    void restore() override { note("restore"); }
    void save() override { note("save"); }
    void release(bool) override { note("release"); }

private:
    void note(std::string const& what) {
        record += name_ + ":" + what + " ";
        // The registry can be asked from within.
        ContextRegistry::getInstance().resolveZcrID(id_);
        if (what == failing) throw std::runtime_error(what);
    }
    ZcrID id_;
    std::string name_;
};

class SecondContext : public RecordingContext {
public:
    explicit SecondContext(ZcrID id) : RecordingContext(id, "second") {}
};

using First = ContextFactory<RecordingContext, ContextGenerator<RecordingContext>>;
using Second = ContextFactory<SecondContext, ContextGenerator<SecondContext>>;

std::string taken() {
    std::string result;
    result.swap(record);
    return result;
}

ZcrID resolve(ZcrID id) {
    return ContextRegistry::getInstance().resolveZcrID(id);
}

class ContextMgrTest : public testing::Test {
protected:
    void SetUp() override {
        record.clear();
        failing.clear();
    }
    void TearDown() override {
        failing.clear();
        qbhost::makeCurrent(BlessedZcrID);
        for (std::int64_t id : {1, 2})
            qbhost::endInstance(id);
    }
};

TEST_F(ContextMgrTest, AnInstanceGoesThroughItsLife) {
    First const factory;
    EXPECT_EQ("", taken());
    EXPECT_TRUE(qbhost::startInstance(1));
    EXPECT_EQ("1:init ", taken());
    EXPECT_FALSE(qbhost::startInstance(1));
    EXPECT_TRUE(qbhost::makeCurrent(1));
    EXPECT_EQ("0:init 0:save 1:restore ", taken());
    EXPECT_TRUE(qbhost::makeCurrent(1));
    EXPECT_EQ("", taken());
    EXPECT_TRUE(resolve(AnyZcrID) == ZcrID(1));
    EXPECT_TRUE(qbhost::endInstance(1));
    EXPECT_EQ("1:save 0:restore 1:release ", taken());
    EXPECT_TRUE(resolve(AnyZcrID) == BlessedZcrID);
    EXPECT_FALSE(qbhost::endInstance(1));
    EXPECT_FALSE(qbhost::makeCurrent(1));
    EXPECT_EQ("", taken());
}

TEST_F(ContextMgrTest, OnlyLiveInstancesResolve) {
    ASSERT_TRUE(qbhost::startInstance(1));
    EXPECT_TRUE(resolve(1) == ZcrID(1));
    EXPECT_TRUE(resolve(BlessedZcrID) == BlessedZcrID);
    for (ZcrID const id : {ZcrID(2), UndefinedZcrID, ZcrID(-7)}) {
        EXPECT_TRUE(resolve(id) < BlessedZcrID);
        EXPECT_FALSE(qbhost::makeCurrent(id));
    }
    for (ZcrID const id : {BlessedZcrID, AnyZcrID, UndefinedZcrID})
        EXPECT_FALSE(qbhost::startInstance(id));
}

TEST_F(ContextMgrTest, EachThreadHasItsOwnCurrentInstance) {
    ASSERT_TRUE(qbhost::startInstance(1));
    ASSERT_TRUE(qbhost::makeCurrent(1));
    std::thread([] {
        EXPECT_TRUE(qbhost::currentInstance() == BlessedZcrID);
        qbhost::endInstance(1);
    }).join();
    // It ended behind this thread's back: there is nothing to act on until it chooses anew.
    EXPECT_TRUE(qbhost::currentInstance() == UndefinedZcrID);
    EXPECT_TRUE(qbhost::makeCurrent(BlessedZcrID));
    EXPECT_TRUE(qbhost::currentInstance() == BlessedZcrID);
}

TEST_F(ContextMgrTest, FactoriesComeLateAndGo) {
    First const factory;
    ASSERT_TRUE(qbhost::startInstance(1));
    EXPECT_EQ("1:init ", taken());
    {
        Second const second;
        EXPECT_EQ("second1:init ", taken());
        ASSERT_TRUE(qbhost::startInstance(2));
        EXPECT_EQ("2:init second2:init ", taken());
        qbhost::endInstance(2);
        EXPECT_EQ("second2:release 2:release ", taken());
    }
    qbhost::endInstance(1);
    EXPECT_EQ("1:release ", taken());
}

TEST_F(ContextMgrTest, TheBlessedInstanceCanBeReleasedButStays) {
    First const factory;
    EXPECT_TRUE(qbhost::endInstance(BlessedZcrID));
    EXPECT_EQ("0:init 0:release ", taken());
    EXPECT_TRUE(resolve(AnyZcrID) == BlessedZcrID);
}

TEST_F(ContextMgrTest, FailuresReachTheCallerAndLeaveNothingHalfDone) {
    First const factory;
    Second const second;
    failing = "init";
    EXPECT_THROW(qbhost::startInstance(1), std::runtime_error);
    EXPECT_TRUE(resolve(1) < BlessedZcrID);
    failing = "release";
    ASSERT_TRUE(qbhost::startInstance(1));
    taken();
    EXPECT_THROW(qbhost::endInstance(1), std::runtime_error);
    EXPECT_EQ("second1:release 1:release ", taken());
    EXPECT_TRUE(resolve(1) < BlessedZcrID);
}

std::atomic<int> alive{0};

class CountingContext : public ContextBase {
public:
    explicit CountingContext(ZcrID) {}
    void init(bool) override { ++alive; }
    void restore() override {}
    void save() override {}
    void release(bool) override { --alive; }
};

TEST_F(ContextMgrTest, ThreadsStartSwitchAndEndInstances) {
    ContextFactory<CountingContext, ContextGenerator<CountingContext>> const factory;
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([t] {
            for (int i = 0; i < 200; ++i) {
                ZcrID const id(100 + (t + i) % 3);
                qbhost::startInstance(id);
                qbhost::makeCurrent(id);
                resolve(AnyZcrID);
                qbhost::endInstance(id);
            }
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    for (std::int64_t id : {100, 101, 102, 0})
        qbhost::endInstance(id);
    EXPECT_EQ(0, alive);
}

}  // namespace
