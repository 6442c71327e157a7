#include "RulesWorld.hpp"

using namespace qbtest;
using settingscore::boostany::isEqual;

namespace {

using Bits = std::vector<bool>;
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
    EXPECT_EQ(checked<Bits>(true, Bits{true}), "done");
    EXPECT_EQ(checked<void>(3, 3) + checked<any>(3, 3), "donedone");
    EXPECT_EQ(refused<int>(3.0), "DataTypeNotMatch(int32, double)");
    EXPECT_EQ(refused<int>(any()), "DataTypeNotMatch(int32, void)");
    EXPECT_EQ(refused<int>(Ints{1, 2}), "DataTypeNotMatch(int32, array of int32)");
    EXPECT_EQ(refused<bool>(Bits{true}), "DataTypeNotMatch(bool, array of bool)");
    EXPECT_EQ(refused<signed char>((unsigned char)(1)), "DataTypeNotMatch(int8, uint8)");
    EXPECT_EQ(refused<Doubles>(Ints{}), "DataTypeNotMatch(array of unsupported, array of int32)");
    EXPECT_THROW(refused<int>(3L), settingscore::boostany::UnsupportedAnyType);
}

TEST(ValueType, TheFirstValueSetsTheRulesOfAKeyWithoutDefinition) {
    Node const group = makeGroup("");
    auto const set = [&](char const* key, auto const&... values) {
        return ending([&] { (group->setAny(key, values, "user"), ...); });
    };
    for (char const* key : {"scalar", "array", "refused", "open"})
        makeKey(key, group);
    EXPECT_EQ(set("scalar", 1L), "UnsupportedType(scalar, long)");
    EXPECT_FALSE(group->getDataTypeIndex("scalar"));
    EXPECT_EQ(set("scalar", 5, Ints{6}), "done");
    EXPECT_EQ(group->getDataTypeIndex("scalar"), 7ul);
    EXPECT_EQ(set("scalar", 5.0), "DataTypeNotMatch(int32, double)");
    EXPECT_EQ(shown(group->getAny("scalar", "user")), "6") << "in the shape of the key";
    group->validateAny("array", Doubles{1, 2, 3});
    EXPECT_EQ(group->getDataTypeIndex("array"), 24ul);
    EXPECT_EQ(set("array", Doubles{1, 2, 3, 4}), "DataArraySizeOutOfRange(array, 0, 3, 4)");
    EXPECT_EQ(set("array", Doubles{}, 7.5), "done");
    EXPECT_TRUE(isEqual(group->getAny("array", "user"), Doubles{7.5}));
    // A refused first value counts all the same, and an empty one leaves every type open.
    group->getChildImpl("refused")->setMetaData(SettingsKeyMetaData<any>(10, {}, {}));
    EXPECT_EQ(set("refused", 1), "ValueIsNotInRange(refused, 1, 10, )");
    EXPECT_EQ(set("refused", ustring(u"x")), "DataTypeNotMatch(int32, string)");
    EXPECT_EQ(set("open", any()), "DefaultValidationFailedOnVoidType(open)");
    EXPECT_EQ(set("open", Ints{1, 2}, ustring(u"x")), "done");
}

TEST(ValueArraySize, ZeroIsNoBoundAndEqualityNeedsLivingKeys) {
    auto const check = [](ValueArraySizeValidator const& sizes, any const& value) {
        return ending([&] { sizes(value); });
    };
    EXPECT_EQ(check({1, 1}, any()), "DataArraySizeOutOfRange(none, 1, 1, 0)");
    EXPECT_EQ(check({0, 2}, Ints(1000)), "done");
    EXPECT_EQ(check({3, 2}, Bits(4, true)), "DataArraySizeOutOfRange(none, 2, 3, 4)");
    Node const a = makeKey("a");
    Node b = makeKey("b");
    ValueArraySizeValidator const ofA(a, 3, 1);
    ValueArraySizeValidator const ofB(b, 3, 1);
    EXPECT_TRUE(ofA == ofB);
    EXPECT_FALSE(ofA == ValueArraySizeValidator(b, 3, 2));
    EXPECT_FALSE(ofA == ValueArraySizeValidator(b, 4, 1));
    b.reset();
    EXPECT_FALSE(ofA == ofB);
    EXPECT_EQ(check(ofB, Ints{}), "DataArraySizeOutOfRange(none, 1, 3, 0)");
}

}  // namespace
