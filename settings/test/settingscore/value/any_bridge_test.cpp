#include <settingscore/value/AnyBridge.hpp>

#include <cmath>
#include <limits>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <boost/mpl/size.hpp>
#include <settingscore/value/TypeName.hpp>

namespace settingscore::boostany {
namespace {

double const nan = std::numeric_limits<double>::quiet_NaN();

/// Tells which form of the call a visitor gets, and for what type.
struct CallRecorder {
    using result_type = std::string;
    std::string operator()() const { return "nothing"; }
    template <class T>
    std::string operator()(T const&) const {
        return ValueTraits<T>::name;
    }
};

struct Counter {
    int calls = 0;
    void operator()() { ++calls; }
    template <class T>
    void operator()(T const&) {
        ++calls;
    }
};

struct IndexCollector {
    std::vector<unsigned long> indexes;
    template <class T>
    void operator()(detail::AnyTypeWrapper<T>) {
        indexes.push_back(ValueTraits<T>::index);
    }
};

struct ListedName {
    unsigned long index;
    std::string name;
    boost::any value;
};

std::vector<ListedName> const& listedTypes() {
    static std::vector<ListedName> const all = {
        {0, "void", boost::any()},
        {1, "string", ustring(u"z\u00e4\0b", 4)},
        {2, "bool", true},
        {3, "int8", static_cast<signed char>(-7)},
        {4, "uint8", static_cast<unsigned char>(200)},
        {5, "int16", static_cast<short>(-300)},
        {6, "uint16", static_cast<unsigned short>(60000)},
        {7, "int32", -70000},
        {8, "uint32", 4000000000u},
        {9, "int64", -5000000000ll},
        {10, "uint64", 18446744073709551615ull},
        {11, "float", 0.1f},
        {12, "double", -0.1},
        {13, "array of string", std::vector<ustring>{u"", u"x"}},
        {14, "array of bool", std::vector<bool>{true, false, true}},
        {15, "array of int8", std::vector<signed char>{1, -1}},
        {16, "array of uint8", std::vector<unsigned char>{1, 255}},
        {17, "array of int16", std::vector<short>{-1}},
        {18, "array of uint16", std::vector<unsigned short>{1}},
        {19, "array of int32", std::vector<int>{}},
        {20, "array of uint32", std::vector<unsigned int>{1, 2}},
        {21, "array of int64", std::vector<long long>{1, 2}},
        {22, "array of uint64", std::vector<unsigned long long>{1, 2}},
        {23, "array of float", std::vector<float>{1, 2}},
        {24, "array of double", std::vector<double>{1, 2}},
    };
    return all;
}

std::vector<boost::any> unlistedValues() {
    char const* const narrow = "text";
    return {1l,
            1ul,
            'c',
            L'w',
            std::string("text"),
            narrow,
            std::vector<long>{1},
            boost::any(ListedName{})};
}

TEST(SupportedTypes, KeepTheirPlacesNamesAndValues) {
    ASSERT_EQ(listedTypes().size(), 25u);
    static_assert(boost::mpl::size<SupportedTypes>::value == 25);
    for (ListedName const& row : listedTypes()) {
        SCOPED_TRACE(row.name);
        EXPECT_TRUE(isSupported(row.value));
        EXPECT_EQ(detail::typeIndexOf(row.value.type()), row.index);
        CallRecorder recorder;
        EXPECT_EQ(applyVisitor(recorder, row.value, true), row.index ? row.name : "nothing");

        SupportedVariant const variant = convertAnyToVariant(row.value);
        EXPECT_EQ(static_cast<unsigned long>(variant.which()), row.index);
        boost::any const back = convertVariantToAny(variant);
        EXPECT_TRUE(back.type() == row.value.type());
        EXPECT_TRUE(isEqual(back, row.value));

        detail::CreateAny const copier;
        boost::any const copy = applyVisitor(copier, row.value, true);
        EXPECT_TRUE(copy.type() == row.value.type());
        EXPECT_TRUE(isEqual(row.value, copy));
    }
}

TEST(SupportedTypes, RefuseTypesThatOnlyLookAlike) {
    for (boost::any const& value : unlistedValues()) {
        SCOPED_TRACE(settings::core::getReadableName(value.type()));
        EXPECT_FALSE(isSupported(value));
        Counter counter;
        EXPECT_THROW(applyVisitor(counter, value, true), UnsupportedAnyType);
        EXPECT_EQ(counter.calls, 0);
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
}

TEST(SupportedTypes, AreWalkedInOrder) {
    IndexCollector collector;
    ForEachSupportedType<detail::AnyTypeWrapper>(collector);
    ASSERT_EQ(collector.indexes.size(), 25u);
    for (unsigned long i = 0; i < 25; ++i)
        EXPECT_EQ(collector.indexes[i], i);

    std::vector<std::string> names;
    forEachElementType(
        [&names](auto tag) { names.push_back(ValueTraits<typename decltype(tag)::Type>::name); });
    ASSERT_EQ(names.size(), 12u);
    for (unsigned long i = 0; i < 12; ++i)
        EXPECT_EQ(names[i], listedTypes()[i + 1].name);
}

TEST(ApplyVisitor, CallsAVisitorWithoutResultOnce) {
    Counter counter;
    applyVisitor(counter, boost::any(), true);
    applyVisitor(counter, 2.5, true);
    EXPECT_EQ(counter.calls, 2);
}

TEST(IsEqual, ComparesWithoutConversionOrTolerance) {
    std::vector<bool> bits(65);
    std::vector<bool> otherBits = bits;
    otherBits.back() = true;
    struct Row {
        char const* name;
        boost::any a;
        boost::any b;
        bool equal;
    };
    Row const rows[] = {
        {"nothing", boost::any(), boost::any(), true},
        {"nothing and something", boost::any(), 0, false},
        {"something and nothing", 0, boost::any(), false},
        {"types differ", 1, 1.0, false},
        {"widths differ", 1.5f, 1.5, false},
        {"scalar and array", 1, std::vector<int>{1}, false},
        {"numbers", 5ll, 5ll, true},
        {"signs of zero", 0.0, -0.0, true},
        {"NaN", nan, nan, false},
        {"arrays with NaN", std::vector<double>{nan}, std::vector<double>{nan}, false},
        {"neighbours", 0.1, std::nextafter(0.1, 1), false},
        {"strings", ustring(u"ab"), ustring(u"ab"), true},
        {"strings in case", ustring(u"ab"), ustring(u"aB"), false},
        {"strings in length", ustring(u"ab"), ustring(u"ab\0", 3), false},
        {"arrays", std::vector<int>{1, 2}, std::vector<int>{1, 2}, true},
        {"arrays in length", std::vector<int>{1}, std::vector<int>{1, 2}, false},
        {"arrays in order", std::vector<int>{1, 2}, std::vector<int>{2, 1}, false},
        {"bits", bits, bits, true},
        {"bits in the last place", bits, otherBits, false},
    };
    for (Row const& row : rows) {
        EXPECT_EQ(isEqual(row.a, row.b), row.equal) << row.name;
        EXPECT_EQ(isEqual(row.b, row.a), row.equal) << row.name;
    }
    boost::any const held = nan;
    EXPECT_TRUE(isEqual(held, held));
    EXPECT_FALSE(isEqual(held, boost::any(held)));
}

TEST(ReadableName, IsTheNameInTheSource) {
    EXPECT_EQ(settings::core::getReadableName(typeid(std::vector<int>)),
              "std::vector<int, std::allocator<int> >");
    EXPECT_EQ(settings::core::getReadableName(typeid(unsigned long)), "unsigned long");
}

}  // namespace
}  // namespace settingscore::boostany
