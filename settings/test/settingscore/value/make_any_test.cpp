#include <settingscore/value/MakeAny.hpp>

#include <cstdint>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <settingscore/value/AnyBridge.hpp>

namespace settingscore::boostany {
namespace {

TEST(MakeAny, ChoosesASupportedTypeForEveryUsualOne) {
    std::vector<bool> bits{true};
    struct Row {
        boost::any made;
        boost::any expected;
    };
    Row const rows[] = {
        {makeAny(true), true},
        {makeAny(7), 7},
        {makeAny(0.5f), 0.5f},
        {makeAny(std::int64_t(-5)), -5ll},
        {makeAny(std::size_t(5)), 5ull},
        {makeAny(std::vector<std::int64_t>{1, -2}), std::vector<long long>{1, -2}},
        {makeAny(std::vector<std::uint64_t>{}), std::vector<unsigned long long>{}},
        {makeAny("caf\xc3\xa9"), ustring(u"caf\u00e9")},
        {makeAny(std::string("a\0b", 3)), ustring(u"a\0b", 3)},
        {makeAny(u"wide"), ustring(u"wide")},
        {makeAny(ustring(u"w")), ustring(u"w")},
        {makeAny(std::vector<std::string>{"a", ""}), std::vector<ustring>{u"a", u""}},
        {makeAny(std::vector<char const*>{"a"}), std::vector<ustring>{u"a"}},
        {makeAny(bits[0]), true},
        {makeAny(bits), bits},
    };
    for (Row const& row : rows) {
        ASSERT_TRUE(isSupported(row.made)) << row.made.type().name();
        EXPECT_TRUE(isEqual(row.made, row.expected)) << row.expected.type().name();
    }
}

}  // namespace
}  // namespace settingscore::boostany
