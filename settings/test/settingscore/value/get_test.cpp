#include <settingscore/value/Get.hpp>

#include <cmath>
#include <limits>

#include <gtest/gtest.h>
#include <boost/lexical_cast/bad_lexical_cast.hpp>
#include <settingscore/host/I18n.hpp>
#include <settingscore/value/NumberText.hpp>
#include <settingscore/value/TypeName.hpp>
#include <support/CommaLocale.hpp>

namespace get_test {
using namespace settingscore::boostany;
namespace {

double const inf = std::numeric_limits<double>::infinity();
double const nan = std::numeric_limits<double>::quiet_NaN();

std::string shown(ustring const& text) { return '\'' + qf::i18n::to_string(text) + '\''; }
template <class T>
std::string shown(T const& number) {
    return lexicalText(number);
}
template <class T>
std::string shown(std::vector<T> const& values) {
    std::string text = "[";
    for (T const& value : values)
        text += (text.size() > 1 ? ", " : "") + shown(value);
    return text + "]";
}

char const* const refused = "TypeNotMatch: The desired type does not match the current type.";
char const* const empty =
    "EmptyVectorCastToScalar: empty vector cannot be used to initialize a scalar.";
char const* const unsupported =
    "UnsupportedAnyType: The type contained within the boost::any is not listed in "
    "settingscore::boostany::SupportedTypes.";
char const* const none = "exception: std::exception";
char const* const high = "positive_overflow: bad numeric conversion: positive overflow";
char const* const low = "negative_overflow: bad numeric conversion: negative overflow";
char const* const bad = "bad lexical cast: source type value could not be interpreted as target";

/// The value, or the failure.
template <class T>
std::string got(boost::any const& value, bool allowConversion) {
    try {
        return shown(get<T>(value, allowConversion));
    } catch (boost::bad_lexical_cast const& e) {
        return e.what();
    } catch (std::exception const& e) {
        std::string const name = settings::core::getReadableName(typeid(e));
        return name.substr(name.rfind(':') + 1) + ": " + e.what();
    }
}

/// Reads values, each followed by what is to come of it, as a T: for those that need no conversion,
/// or fail with and without it, in both modes.
template <class T, class Value, class... More>
void read(Value const& value, char const* expected, More const&... more) {
    EXPECT_EQ(got<T>(value, false), expected);
    EXPECT_EQ(got<T>(value, true), expected);
    if constexpr (sizeof...(more) > 0) read<T>(more...);
}

/// The same for those that need conversion.
template <class T, class Value, class... More>
void convert(Value const& value, char const* expected, More const&... more) {
    EXPECT_EQ(got<T>(value, false), refused) << expected;
    EXPECT_EQ(got<T>(value, true), expected);
    if constexpr (sizeof...(more) > 0) convert<T>(more...);
}

using Ints = std::vector<int>;
using Bits = std::vector<bool>;
using Texts = std::vector<ustring>;

TEST(Get, ChangesTheShapeInBothModesAndTheElementTypeInOne) {
    read<int>(7, "7", Ints{3}, "3", Ints{}, empty, Ints{1, 2}, empty, 1l, unsupported, boost::any(),
              none);
    read<Ints>(Ints{1, 2}, "[1, 2]", 1, "[1]", boost::any(), none);
    read<Bits>(true, "[1]");
    read<ustring>(ustring(u"x"), "'x'", Texts{u"x"}, "'x'", std::string("x"), unsupported);
    convert<double>(1, "1", Ints{4}, "4");
    convert<Ints>(true, "[1]", Bits{}, "[]", Bits{false, true}, "[0, 1]");
    convert<std::vector<unsigned char>>(Ints{1, 256}, high);
    convert<Bits>(Texts{u"0", u"+1"}, "[0, 1]", ustring(u"0"), "[0]");
}

TEST(Get, ConvertsNumbersWithACheckOfTheRange) {
    convert<unsigned char>(300, high, -0.9f, "0", static_cast<float>(nan), "0");
    convert<int>(2.9, "2", -2.9, "-2", nan, "-2147483648");
    convert<unsigned int>(-1, low, -0.5, "0");
    convert<float>(16777217, "16777216", 0.1, "0.100000001", 3.4028234663852886e38,
                   "3.40282347e+38", std::nextafter(3.4028234663852886e38, inf), high, -inf, low,
                   nan, "nan");
    convert<double>(-9223372036854775807ll, "-9.2233720368547758e+18", 0.1f, "0.10000000149011612",
                    std::numeric_limits<float>::infinity(), "inf");
    convert<bool>(2, high, -1, low, 0.5, "0", 1.5, "1", 2.0, high, -1.0, low, nan, "1");
}

/// Both bounds refuse, the numbers next to them pass; as `float` the bounds round first.
template <class T, class Number>
void checkBounds(Number lowest, Number highest) {
    Number const aboveLowest = std::nextafter(lowest, Number());
    Number const belowHighest = std::nextafter(highest, Number());
    convert<T>(lowest, low, -static_cast<Number>(inf), low, highest, high, static_cast<Number>(inf),
               high, aboveLowest, lexicalText(static_cast<T>(aboveLowest)).c_str(), belowHighest,
               lexicalText(static_cast<T>(belowHighest)).c_str());
}

TEST(Get, KeepsTheBoundsFromFloatingNumbersToIntegers) {
    forEachElementType([](auto tag) {
        using T = typename decltype(tag)::Type;
        if constexpr (std::is_integral_v<T> && !std::is_same_v<T, bool>) {
            SCOPED_TRACE(ValueTraits<T>::name);
            double const highest = std::ldexp(1, std::numeric_limits<T>::digits);
            double const lowest = std::is_signed_v<T> ? -highest - 1 : -1;
            checkBounds<T>(lowest, highest);
            checkBounds<T>(static_cast<float>(lowest), static_cast<float>(highest));
        }
    });
}

TEST(Get, ReadsAndMakesTextInEveryLocale) {
    qbtest::CommaLocale const comma;
    convert<ustring>(0.1, "'0.10000000000000001'", 1234567, "'1234567'", -inf, "'-inf'");
    convert<double>(ustring(u"0.5"), "0.5", ustring(u"0,5"), bad);
    convert<int>(ustring(u"1.234"), bad, ustring(), bad, ustring(u"1\0", 2), bad);
    // By way of 16 bits, unsigned ones wrapping round.
    convert<unsigned char>(ustring(u"-1"), high, ustring(u"-65535"), "1", ustring(u"40000"), high);
    convert<signed char>(ustring(u"+7"), "7", ustring(u"128"), high, ustring(u"-129"), low,
                         ustring(u"40000"), bad);
    convert<bool>(ustring(u"true"), bad, ustring(u"001"), "1");
}

}  // namespace
}  // namespace get_test
