#include <settingscore/value/AnyBridge.hpp>

#include <cmath>

#include <gtest/gtest.h>
#include <settingscore/rules/ValueType.hpp>
#include <settingscore/value/MakeAny.hpp>
#include <settingscore/value/TypeName.hpp>

namespace settingscore::boostany {
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
    auto const values = all(
        boost::any(), ustring(u"z\u00e4\0b", 4), true, static_cast<signed char>(-7),
        static_cast<unsigned char>(200), static_cast<short>(-300),
        static_cast<unsigned short>(60000), -70000, 4000000000u, -5000000000ll,
        18446744073709551615ull, 0.1f, -0.1, Texts{u"", u"x"}, std::vector<bool>{true, false},
        std::vector<signed char>{1, -1}, std::vector<unsigned char>{1, 255}, std::vector<short>{-1},
        std::vector<unsigned short>{1}, std::vector<int>{}, std::vector<unsigned int>{1, 2},
        std::vector<long long>{1, 2}, std::vector<unsigned long long>{1, 2},
        std::vector<float>{1, 2}, std::vector<double>{1, 2});
    std::string names;
    std::string places;
    for (boost::any const& value : values) {
        names += visited(value) + '|';
        SupportedVariant const variant = convertAnyToVariant(value);
        places += std::to_string(variant.which()) + ' ';
        detail::CreateAny copier;
        for (boost::any const& copy :
             {convertVariantToAny(variant), applyVisitor(copier, value, true)}) {
            EXPECT_TRUE(copy.type() == value.type()) << names;
            EXPECT_TRUE(isEqual(copy, value) && isSupported(copy)) << names;
        }
    }
    EXPECT_EQ(names,
              "void|string|bool|int8|uint8|int16|uint16|int32|uint32|int64|uint64|float|"
              "double|array of string|array of bool|array of int8|array of uint8|"
              "array of int16|array of uint16|array of int32|array of uint32|"
              "array of int64|array of uint64|array of float|array of double|");
    EXPECT_EQ(places, "0 1 2 3 4 5 6 7 8 9 10 11 12 13 14 15 16 17 18 19 20 21 22 23 24 ");
    std::string walk;
    auto const step = [&](auto wrapper) {
        walk += std::to_string(ValueTraits<typename decltype(wrapper)::Type>::index) + ' ';
    };
    ForEachSupportedType<detail::AnyTypeWrapper>(step);
    EXPECT_EQ(walk, places);
}

TEST(SupportedTypes, RefuseTypesThatOnlyLookAlike) {
    char const* const narrow = "text";
    for (boost::any const& value : all(1l, 1ul, 'c', L'w', std::string("text"), narrow,
                                       std::vector<long>{1}, std::pair(1, 2))) {
        SCOPED_TRACE(settings::core::getReadableName(value.type()));
        EXPECT_FALSE(isSupported(value));
        EXPECT_THROW(visited(value), UnsupportedAnyType);
        EXPECT_THROW(convertAnyToVariant(value), UnsupportedAnyType);
        EXPECT_TRUE(isEqual(value, value));
        EXPECT_FALSE(isEqual(1, value));
        try {
            isEqual(value, boost::any(value));
            ADD_FAILURE() << "no exception";
        } catch (UnsupportedAnyType const& error) {
            EXPECT_TRUE(error.type() == value.type());
            EXPECT_STREQ(error.what(),
                         "The type contained within the boost::any is not listed in "
                         "settingscore::boostany::SupportedTypes.");
        }
    }
    EXPECT_EQ(settings::core::getReadableName(typeid(Ints)),
              "std::vector<int, std::allocator<int> >");
}
TEST(IsEqual, ComparesWithoutConversionOrTolerance) {
    double const nan = std::nan("");
    std::vector<bool> bits(65);
    std::vector<bool> otherBits = bits;
    otherBits.back() = true;
    auto const rows =
        all(boost::any(), boost::any(), 5ll, 5ll, 0.0, -0.0, ustring(u"ab"), ustring(u"ab"),
            Ints{1, 2}, Ints{1, 2}, bits, bits,
            // From here on nothing is equal.
            boost::any(), 0, 1, 1.0, 1.5f, 1.5, 1, Ints{1}, nan, nan, std::vector<double>{nan},
            std::vector<double>{nan}, 0.1, std::nextafter(0.1, 1), ustring(u"ab"), ustring(u"aB"),
            ustring(u"ab"), ustring(u"ab\0", 3), Ints{1}, Ints{1, 2}, Ints{1, 2}, Ints{2, 1}, bits,
            otherBits);
    for (std::size_t i = 0; i < rows.size(); i += 2) {
        EXPECT_EQ(isEqual(rows[i], rows[i + 1]), i < 12) << "pair " << i / 2;
        EXPECT_EQ(isEqual(rows[i + 1], rows[i]), i < 12) << "pair " << i / 2;
    }
    boost::any const held = nan;
    EXPECT_TRUE(isEqual(held, held)) << "an object always equals itself";
}

TEST(MakeAny, ChoosesASupportedTypeForEveryUsualOne) {
    std::vector<bool> bits{true};
    auto const made = all(makeAny(7), makeAny(std::int64_t(-5)), makeAny(std::size_t(5)),
                          makeAny(std::vector<std::int64_t>{1, -2}), makeAny("caf\xc3\xa9"),
                          makeAny(std::string("a\0b", 3)), makeAny(u"wide"),
                          makeAny(std::vector<std::string>{"a", ""}),
                          makeAny(std::vector<char const*>{"a"}), makeAny(bits[0]), makeAny(bits));
    auto const expected =
        all(7, -5ll, 5ull, std::vector<long long>{1, -2}, ustring(u"caf\u00e9"),
            ustring(u"a\0b", 3), ustring(u"wide"), Texts{u"a", u""}, Texts{u"a"}, true, bits);
    for (std::size_t i = 0; i < made.size(); ++i)
        EXPECT_TRUE(isEqual(expected[i], made[i])) << "row " << i;
}

}  // namespace
}  // namespace settingscore::boostany
