#include <atomic>
#include <memory>
#include <set>
#include <stdexcept>
#include <thread>
#include <vector>

#include <gtest/gtest.h>
#include <boost/make_shared.hpp>
#include <settingscore/roots/ConcurrentTBBHashMap.hpp>

using namespace settings::core;

namespace {

using Value = boost::shared_ptr<int>;
using Map = ConcurrentMap<ZcrID const, Value>;

class ConcurrentMapTest : public ::testing::Test {
protected:
    Map& map() { return *map_; }
    int valueOf(ZcrID id) { return *map_->find(id).get_value_or(boost::make_shared<int>(-1)); }
    std::unique_ptr<Map> map_ = std::make_unique<ConcurrentTBBHashMap<Map>>();
};

TEST_F(ConcurrentMapTest, EntriesComeAndGo) {
    EXPECT_FALSE(map().find(1));
    EXPECT_FALSE(map().erase(1));
    EXPECT_TRUE(map().insert({1, boost::make_shared<int>(10)}));
    EXPECT_FALSE(map().insert({1, boost::make_shared<int>(11)}));
    EXPECT_TRUE(map().insert({-2, boost::make_shared<int>(20)}));
    EXPECT_EQ(valueOf(1), 10);
    EXPECT_EQ(valueOf(-2), 20);
    EXPECT_EQ(map().size(), 2U);

    boost::optional<Value> const erased = map().erase(1);
    ASSERT_TRUE(erased);
    EXPECT_EQ(**erased, 10) << "the caller's copy outlives the entry";
    EXPECT_FALSE(map().find(1));
    EXPECT_EQ(map().size(), 1U);
}

TEST_F(ConcurrentMapTest, WholeMapOperationsSeeEveryEntry) {
    for (int i = 0; i < 100; ++i)
        map().insert({i, boost::make_shared<int>(i)});
    map().forEachEntry(
        [](Map::Entry& entry) { entry.second = boost::make_shared<int>(*entry.second + 1000); });
    std::set<int> seen;
    map().forEachConst([&](Map::Entry const& entry) {
        EXPECT_EQ(*entry.second, entry.first.value() + 1000);
        seen.insert(*entry.second);
    });
    EXPECT_EQ(seen.size(), 100U);
}

TEST_F(ConcurrentMapTest, ClearDestroysValuesWhenTheMapIsFreeAgain) {
    std::size_t sizeSeenByDestructor = 99;
    map().insert({1, Value(new int(1), [&](int const* value) {
                      delete value;
                      sizeSeenByDestructor = map().size();
                      map().insert({2, boost::make_shared<int>(2)});
                  })});
    map().clear();
    EXPECT_EQ(sizeSeenByDestructor, 0U);
    EXPECT_EQ(valueOf(2), 2);
}

TEST_F(ConcurrentMapTest, FindOrCreateCallsTheFactoryForAMissingKeyOnly) {
    int calls = 0;
    auto const factory = [&] { return boost::make_shared<int>(++calls); };
    Value const made = map().findOrCreate(5, factory);
    EXPECT_EQ(*made, 1);
    EXPECT_EQ(map().findOrCreate(5, factory), made);
    EXPECT_EQ(calls, 1);
}

TEST_F(ConcurrentMapTest, FactoryThatThrowsOrGivesNullLeavesNoEntry) {
    EXPECT_THROW(map().findOrCreate(5, []() -> Value { throw std::runtime_error("no"); }),
                 std::runtime_error);
    EXPECT_EQ(map().size(), 0U);
    EXPECT_FALSE(map().findOrCreate(5, [] { return Value(); }));
    EXPECT_EQ(map().size(), 0U);
    EXPECT_EQ(*map().findOrCreate(5, [] { return boost::make_shared<int>(7); }), 7);
    EXPECT_EQ(valueOf(5), 7);
}

TEST_F(ConcurrentMapTest, NullValueCountsAsAbsent) {
    map().insert({5, Value()});
    EXPECT_FALSE(map().find(5));
    EXPECT_EQ(*map().findOrCreate(5, [] { return boost::make_shared<int>(7); }), 7);
    EXPECT_EQ(valueOf(5), 7);
}

TEST_F(ConcurrentMapTest, FactoryMayUseOtherKeys) {
    Value const outer = map().findOrCreate(1, [&] {
        map().insert({2, boost::make_shared<int>(20)});
        return boost::make_shared<int>(
            *map().findOrCreate(3, [] { return boost::make_shared<int>(30); }) + valueOf(2));
    });
    EXPECT_EQ(*outer, 50);
    EXPECT_EQ(map().size(), 3U);
}

TEST_F(ConcurrentMapTest, ThreadsAgreeOnWhatOneFactoryMade) {
    std::atomic<int> calls{0};
    std::vector<Value> results(8);
    std::vector<std::thread> threads;
    for (Value& result : results) {
        threads.emplace_back([&] {
            result = map().findOrCreate(1, [&] {
                std::this_thread::yield();
                return boost::make_shared<int>(++calls);
            });
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(calls, 1);
    for (Value const& result : results)
        EXPECT_EQ(result, results[0]);
}

// Each thread owns a range of keys, which nobody else changes, while one thread works on the whole
// map: it may see any number of entries, but none that is torn or half made.
TEST_F(ConcurrentMapTest, SingleAndWholeMapWorkMix) {
    constexpr int threadCount = 4;
    constexpr int rounds = 300;
    std::atomic<bool> stop{false};
    std::atomic<int> wrong{0};
    std::thread whole([&] {
        while (!stop) {
            map().forEachConst([&](Map::Entry const& entry) {
                if (entry.second && *entry.second != entry.first.value()) ++wrong;
            });
            if (map().size() > threadCount) ++wrong;
            std::this_thread::yield();
        }
    });
    std::vector<std::thread> workers;
    for (int worker = 0; worker < threadCount; ++worker) {
        workers.emplace_back([&, worker] {
            for (int i = 0; i < rounds; ++i) {
                int const key = worker * rounds + i;
                if (!map().insert({key, boost::make_shared<int>(key)})) ++wrong;
                boost::optional<Value> const found = map().find(key);
                if (!found || **found != key) ++wrong;
                boost::optional<Value> const erased = map().erase(key);
                if (!erased || **erased != key) ++wrong;
                if (*map().findOrCreate(key, [key] { return boost::make_shared<int>(key); }) != key)
                    ++wrong;
                if (!map().erase(key)) ++wrong;
            }
        });
    }
    for (std::thread& worker : workers)
        worker.join();
    stop = true;
    whole.join();
    EXPECT_EQ(wrong, 0);
    EXPECT_EQ(map().size(), 0U);
}

}  // namespace
