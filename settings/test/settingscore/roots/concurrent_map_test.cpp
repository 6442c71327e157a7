#include <atomic>
#include <stdexcept>

#include <settingscore/roots/ConcurrentTBBHashMap.hpp>
#include <settingscore/tree/TreeWorld.hpp>

using namespace settings::core;

namespace {

using Value = boost::shared_ptr<int>;
using Map = ConcurrentMap<ZcrID const, Value>;

Value number(int value) { return boost::make_shared<int>(value); }

struct ConcurrentMapTest : ::testing::Test {
    ConcurrentTBBHashMap<Map> map_;
};

TEST_F(ConcurrentMapTest, EntriesComeAndGo) {
    EXPECT_FALSE(map_.erase(1));
    EXPECT_TRUE(map_.insert({1, number(10)}));
    EXPECT_FALSE(map_.insert({1, number(11)}));
    EXPECT_TRUE(map_.insert({-2, number(20)}));
    map_.forEachEntry([](Map::Entry& entry) { entry.second = number(*entry.second + 1); });
    map_.forEachConst([](Map::Entry const& e) { EXPECT_EQ(*e.second % 10, 1); });
    EXPECT_EQ(**map_.erase(1), 11);
    EXPECT_FALSE(map_.find(1));
    EXPECT_EQ(map_.size(), 1U);
    // Values die when the map is free again.
    map_.insert({1, Value(nullptr, [&](int const*) { map_.insert({2, number(0)}); })});
    map_.clear();
    EXPECT_EQ(**map_.find(2), 0);
    EXPECT_EQ(map_.size(), 1U);
}

TEST_F(ConcurrentMapTest, AMissingOrNullEntryIsMadeByTheFactory) {
    auto const refuse = []() -> Value { throw std::runtime_error("no"); };
    EXPECT_THROW(map_.findOrCreate(5, refuse), std::runtime_error);
    EXPECT_FALSE(map_.findOrCreate(5, [] { return Value(); }));
    EXPECT_EQ(map_.size(), 0U);
    map_.insert({5, Value()});
    EXPECT_FALSE(map_.find(5));
    Value const made = map_.findOrCreate(5, [&] {
        map_.insert({6, number(6)});  // Other keys are free meanwhile.
        return map_.findOrCreate(7, [] { return number(30); });
    });
    EXPECT_EQ(*made, 30);
    EXPECT_EQ(map_.findOrCreate(5, refuse), made);
    EXPECT_EQ(map_.size(), 3U);
}

// Each thread owns a range of keys, which nobody else changes, while one works on the whole map: it
// may see any number of entries, but none that is torn. One key is made by whoever comes first.
TEST_F(ConcurrentMapTest, SingleAndWholeMapWorkMix) {
    std::atomic<int> working{4};
    std::atomic<int> made{0};
    std::atomic<int> wrong{0};
    qbtest::concurrently(5, [&](int worker) {
        Value const shared = map_.findOrCreate(0, [&] { return number(made++); });
        if (*shared != 0) ++wrong;
        for (int key = worker * 300; worker > 0 && key < worker * 300 + 300; ++key) {
            if (!map_.insert({key, number(key)}) || **map_.erase(key) != key) ++wrong;
            map_.findOrCreate(key, [key] { return number(key); });
            if (**map_.find(key) != key || !map_.erase(key)) ++wrong;
        }
        if (worker > 0) --working;
        while (worker == 0 && working > 0) {
            map_.forEachConst([&](Map::Entry const& entry) {
                if (*entry.second != entry.first.value()) ++wrong;
            });
            if (map_.size() > 5) ++wrong;
            std::this_thread::yield();
        }
    });
    EXPECT_EQ(made, 1);
    EXPECT_EQ(wrong, 0);
    EXPECT_EQ(map_.size(), 1U);
}

}  // namespace
