#include <settingscore/value/AnyBridge.hpp>

#include <cmath>

#include <gtest/gtest.h>
#include <settingscore/rules/ValueType.hpp>
#include <settingscore/value/MakeAny.hpp>

namespace any_bridge_test {
using namespace settingscore::boostany;
namespace {

using Ints = std::vector<int>;
using Texts = std::vector<ustring>;

template <class... Values>
std::vector<boost::any> all(Values const&... values) {
    return {boost::any(values)...};
}

/// The name of the value's type, as a visitor gets it.
std::string visited(boost::any const& value) {
    std::string name;
    settings::core::TypeNameVisitor visitor(name);
    applyVisitor(visitor, value, true);
    return name;
}

TEST(SupportedTypes, KeepTheirPlacesNamesAndValues) {
    std::string names;
    for (boost::any const& value :
         all(boost::any(), ustring(u"z\u00e4\0b", 4), true, static_cast<signed char>(-7),
             static_cast<unsigned char>(200), -70000, 18446744073709551615ull, 0.1f, -0.1,
             Texts{u"", u"x"}, std::vector<bool>{true, false}, Ints{}, std::vector<double>{1, 2})) {
        SupportedVariant const variant = convertAnyToVariant(value);
        names += std::to_string(variant.which()) + ' ' + visited(value) + '|';
        detail::CreateAny copier;
        for (boost::any const& copy :
             {convertVariantToAny(variant), applyVisitor(copier, value, true)})
            EXPECT_TRUE(isEqual(copy, value) && isSupported(copy)) << names;
    }
    EXPECT_EQ(names,
              "0 void|1 string|2 bool|3 int8|4 uint8|7 int32|10 uint64|11 float|12 double|"
              "13 array of string|14 array of bool|19 array of int32|24 array of double|");
}

TEST(SupportedTypes, RefuseTypesThatOnlyLookAlike) {
    for (boost::any const& value : all(1l, 'c', std::string("text"), std::vector<long>{1})) {
        EXPECT_FALSE(isSupported(value));
        EXPECT_THROW(visited(value), UnsupportedAnyType);
        EXPECT_THROW(convertAnyToVariant(value), UnsupportedAnyType);
        try {
            isEqual(value, boost::any(value));
            ADD_FAILURE() << "no exception";
        } catch (UnsupportedAnyType const& error) {
            EXPECT_TRUE(error.type() == value.type());
        }
    }
}

TEST(IsEqual, ComparesWithoutConversionOrTolerance) {
    double const nan = std::nan("");
    std::vector<bool> bits(65);
    std::vector<bool> otherBits = bits;
    otherBits.back() = true;
    auto const rows =
        all(boost::any(), boost::any(), 0.0, -0.0, Ints{1, 2}, Ints{1, 2}, bits, bits,
            // From here on nothing is equal.
            boost::any(), 0, 1, 1.0, 1, Ints{1}, nan, nan, 0.1, std::nextafter(0.1, 1),
            ustring(u"ab"), ustring(u"ab\0", 3), Ints{1}, Ints{1, 2}, bits, otherBits);
    for (std::size_t i = 0; i < rows.size(); i += 2) {
        EXPECT_EQ(isEqual(rows[i], rows[i + 1]), i < 8) << "pair " << i / 2;
        EXPECT_EQ(isEqual(rows[i + 1], rows[i]), i < 8) << "pair " << i / 2;
    }
    boost::any const held = nan;
    EXPECT_TRUE(isEqual(held, held)) << "an object always equals itself";
}

TEST(MakeAny, ChoosesASupportedTypeForEveryUsualOne) {
    std::vector<bool> bits{true};
    EXPECT_TRUE(isEqual(makeAny(std::vector<std::int64_t>{1, -2}), std::vector<long long>{1, -2}));
    EXPECT_TRUE(isEqual(makeAny("caf\xc3\xa9"), ustring(u"caf\u00e9")));
    EXPECT_TRUE(isEqual(makeAny(std::string("a\0b", 3)), ustring(u"a\0b", 3)));
    EXPECT_TRUE(isEqual(makeAny(std::vector<std::string>{"a", ""}), Texts{u"a", u""}));
    EXPECT_TRUE(isEqual(makeAny(bits[0]), true));
}

}  // namespace
}  // namespace any_bridge_test
