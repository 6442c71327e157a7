#include <settingscore/roots/ConcurrentTBBHashMap.hpp>
#include <support/TreeWorld.hpp>

using namespace qbtest;

namespace {

using Value = boost::shared_ptr<int>;
using Map = ConcurrentMap<ZcrID const, Value>;

Value number(int value) { return boost::make_shared<int>(value); }

TEST(ConcurrentMapTest, MissingEntriesAreMadeByTheFactoryAndTheMapIsFreeMeanwhile) {
    ConcurrentTBBHashMap<Map> map;
    EXPECT_TRUE(map.insert({1, number(10)}));
    EXPECT_FALSE(map.insert({1, number(11)}));
    // Values die when the map is free again.
    map.insert({3, Value(nullptr, [&](int const*) { map.insert({2, number(0)}); })});
    map.clear();
    EXPECT_EQ(map.size(), 1U);

    auto const refuse = []() -> Value { throw std::runtime_error("no"); };
    EXPECT_THROW(map.findOrCreate(5, refuse), std::runtime_error);
    EXPECT_FALSE(map.findOrCreate(5, [] { return Value(); }));
    EXPECT_EQ(map.size(), 1U);
    Value const made = map.findOrCreate(5, [&] {
        map.insert({6, number(6)});  // Other keys are free meanwhile.
        return map.findOrCreate(7, [] { return number(30); });
    });
    EXPECT_EQ(map.findOrCreate(5, refuse), made);
    EXPECT_EQ(map.size(), 4U);
}

// Each thread owns a range of keys, which nobody else changes, while one works on the whole map: it
// may see any number of entries, but none that is torn. One key is made by whoever comes first.
TEST(ConcurrentMapTest, SingleAndWholeMapWorkMix) {
    ConcurrentTBBHashMap<Map> map;
    std::atomic<int> working{4};
    std::atomic<int> made{0};
    std::atomic<int> wrong{0};
    concurrently(5, [&](int worker) {
        Value const shared = map.findOrCreate(0, [&] { return number(made++); });
        if (*shared != 0) ++wrong;
        for (int key = worker * 300; worker > 0 && key < worker * 300 + 300; ++key) {
            if (!map.insert({key, number(key)}) || **map.erase(key) != key) ++wrong;
            map.findOrCreate(key, [key] { return number(key); });
            if (**map.find(key) != key || !map.erase(key)) ++wrong;
        }
        if (worker > 0) --working;
        while (worker == 0 && working > 0) {
            map.forEachConst([&](Map::Entry const& entry) {
                if (*entry.second != entry.first.value()) ++wrong;
            });
            if (map.size() > 5) ++wrong;
            std::this_thread::yield();
        }
    });
    EXPECT_EQ(made, 1);
    EXPECT_EQ(wrong, 0);
    EXPECT_EQ(map.size(), 1U);
}

}  // namespace
