#include <support/RulesWorld.hpp>

using namespace qbtest;
using settingscore::boostany::isEqual;

namespace {

using Doubles = std::vector<double>;

/// How the check for the type T ends, which is to leave `expected` in the value.
template <class T>
std::string checked(any value, any const& expected) {
    std::string const result = ending([&] { validateValueType<T>(value); });
    EXPECT_TRUE(isEqual(value, expected)) << result;
    return result;
}
template <class T>
std::string refused(any const& value) {
    return checked<T>(value, value);
}

TEST(ValueType, OneElementChangesShapeAndNothingElseChanges) {
    EXPECT_EQ(checked<int>(Ints{3}, 3), "done");
    EXPECT_EQ(checked<Ints>(3, Ints{3}), "done");
    EXPECT_EQ(refused<int>(3.0), "DataTypeNotMatch(int32, double)");
    EXPECT_EQ(refused<int>(Ints{1, 2}), "DataTypeNotMatch(int32, array of int32)");
    EXPECT_EQ(refused<bool>(std::vector<bool>{true}), "DataTypeNotMatch(bool, array of bool)");
    EXPECT_THROW(refused<int>(3L), settingscore::boostany::UnsupportedAnyType);
}

TEST(ValueType, TheFirstValueSetsTheRulesOfAKeyWithoutDefinition) {
    Node const group = makeGroup("");
    auto const set = [&](char const* key, auto const&... values) {
        return ending([&] { (group->setAny(key, values, "user"), ...); });
    };
    for (char const* key : {"scalar", "array", "refused"})
        makeKey(key, group);
    EXPECT_EQ(set("scalar", 1L), "UnsupportedType(scalar, long)");
    EXPECT_EQ(set("scalar", 5, Ints{6}), "done");
    EXPECT_EQ(set("scalar", 5.0), "DataTypeNotMatch(int32, double)");
    EXPECT_EQ(shown(group->getAny("scalar", "user")), "6") << "in the shape of the key";
    group->validateAny("array", Doubles{1, 2, 3});
    EXPECT_EQ(set("array", Doubles{1, 2, 3, 4}), "DataArraySizeOutOfRange(array, 0, 3, 4)");
    EXPECT_EQ(set("array", Doubles{}, 7.5), "done");
    // A refused first value counts all the same.
    group->getChildImpl("refused")->setMetaData(SettingsKeyMetaData<any>(10, {}, {}));
    EXPECT_EQ(set("refused", 1), "ValueIsNotInRange(refused, 1, 10, )");
    EXPECT_EQ(set("refused", ustring(u"x")), "DataTypeNotMatch(int32, string)");
}

TEST(ValueArraySize, ZeroIsNoBoundAndAKeyThatIsGoneIsNotNamed) {
    auto const check = [](ValueArraySizeValidator const& sizes, any const& value) {
        return ending([&] { sizes(value); });
    };
    EXPECT_EQ(check({0, 2}, Ints(1000)), "done");
    Node key = makeKey("k");
    ValueArraySizeValidator const sizes(key, 3, 1);
    key.reset();
    EXPECT_EQ(check(sizes, Ints{}), "DataArraySizeOutOfRange(none, 1, 3, 0)");
}

}  // namespace
