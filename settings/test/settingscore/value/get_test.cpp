#include <settingscore/value/Get.hpp>

#include <cmath>
#include <limits>
#include <string>
#include <typeinfo>
#include <vector>

#include <gtest/gtest.h>
#include <boost/lexical_cast/bad_lexical_cast.hpp>
#include <boost/numeric/conversion/cast.hpp>
#include <settingscore/host/I18n.hpp>
#include <settingscore/value/AnyBridge.hpp>
#include <settingscore/value/ConvertVector.hpp>

#include "CommaLocale.hpp"

namespace settingscore::boostany {
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

/// Name of the failure that is being handled.
std::string currentFailure() {
    try {
        throw;
    } catch (detail::TypeNotMatch const& e) {
        EXPECT_STREQ(e.what(), "The desired type does not match the current type.");
        return "TypeNotMatch";
    } catch (detail::EmptyVectorCastToScalar const& e) {
        EXPECT_STREQ(e.what(), "empty vector cannot be used to initialize a scalar.");
        return "EmptyVector";
    } catch (UnsupportedAnyType const&) {
        return "Unsupported";
    } catch (boost::numeric::positive_overflow const& e) {
        EXPECT_STREQ(e.what(), "bad numeric conversion: positive overflow");
        return "too high";
    } catch (boost::numeric::negative_overflow const& e) {
        EXPECT_STREQ(e.what(), "bad numeric conversion: negative overflow");
        return "too low";
    } catch (boost::bad_lexical_cast const& e) {
        EXPECT_STREQ(e.what(),
                     "bad lexical cast: source type value could not be interpreted as target");
        return "bad cast";
    } catch (std::exception const& e) {
        return typeid(e) == typeid(std::exception) ? "exception" : typeid(e).name();
    }
}

template <class T>
std::string got(boost::any const& value, bool allowConversion) {
    try {
        return shown(get<T>(value, allowConversion));
    } catch (...) {
        return currentFailure();
    }
}

/// A read in both modes: without conversion, and with it.
struct Row {
    std::string strict;
    std::string converting;
    char const* expectedStrict;
    char const* expectedConverting;
};

template <class T>
Row read(boost::any const& value, char const* strict, char const* converting) {
    return {got<T>(value, false), got<T>(value, true), strict, converting};
}

void check(std::vector<Row> const& rows) {
    for (std::size_t i = 0; i < rows.size(); ++i) {
        EXPECT_EQ(rows[i].strict, rows[i].expectedStrict) << "row " << i;
        EXPECT_EQ(rows[i].converting, rows[i].expectedConverting) << "row " << i;
    }
}

ustring text(char const* narrow) { return qf::i18n::to_ustring(narrow); }

TEST(Get, ChangesTheShapeInBothModesAndTheElementTypeInOne) {
    using Ints = std::vector<int>;
    using Bits = std::vector<bool>;
    using Texts = std::vector<ustring>;
    check({
        read<int>(7, "7", "7"),
        read<Ints>(Ints{1, 2}, "[1, 2]", "[1, 2]"),
        read<double>(1, "TypeNotMatch", "1"),
        read<Ints>(1, "[1]", "[1]"),
        read<Ints>(static_cast<short>(1), "TypeNotMatch", "[1]"),
        read<int>(Ints{3}, "3", "3"),
        read<int>(Ints{}, "EmptyVector", "EmptyVector"),
        read<int>(Ints{1, 2}, "EmptyVector", "EmptyVector"),
        read<double>(Ints{}, "EmptyVector", "EmptyVector"),
        read<double>(Ints{1, 2}, "EmptyVector", "EmptyVector"),
        read<double>(Ints{4}, "TypeNotMatch", "4"),
        read<Ints>(std::vector<short>{}, "TypeNotMatch", "[]"),
        read<Ints>(std::vector<short>{3, -1}, "TypeNotMatch", "[3, -1]"),
        read<std::vector<unsigned char>>(Ints{1, 256}, "TypeNotMatch", "too high"),
        read<Bits>(true, "[1]", "[1]"),
        read<bool>(Bits{true}, "TypeNotMatch", "1"),
        read<bool>(Bits{}, "EmptyVector", "EmptyVector"),
        read<bool>(Bits{true, true}, "EmptyVector", "EmptyVector"),
        read<signed char>(Bits{true}, "TypeNotMatch", "1"),
        read<std::vector<unsigned char>>(Bits{false, true}, "TypeNotMatch", "[0, 1]"),
        read<Texts>(Bits{false, true}, "TypeNotMatch", "['0', '1']"),
        read<Bits>(Texts{u"0", u"+1"}, "TypeNotMatch", "[0, 1]"),
        read<ustring>(Bits{true}, "TypeNotMatch", "'1'"),
        read<ustring>(text("x"), "'x'", "'x'"),
        read<Texts>(text("x"), "['x']", "['x']"),
        read<ustring>(Texts{u"x"}, "'x'", "'x'"),
        read<std::vector<double>>(Texts{u"1.5", u"x"}, "TypeNotMatch", "bad cast"),
        read<int>(boost::any(), "exception", "exception"),
        read<Texts>(boost::any(), "exception", "exception"),
        read<int>(1l, "Unsupported", "Unsupported"),
        read<ustring>(std::string("x"), "Unsupported", "Unsupported"),
    });
}

TEST(Get, ConvertsNumbersWithACheckOfTheRange) {
    char const* const refused = "TypeNotMatch";
    check({
        read<unsigned int>(-1, refused, "too low"),
        read<unsigned char>(300, refused, "too high"),
        read<signed char>(-129, refused, "too low"),
        read<long long>(18446744073709551615ull, refused, "too high"),
        read<unsigned long long>(static_cast<signed char>(-1), refused, "too low"),
        read<float>(16777217, refused, "16777216"),
        read<float>(18446744073709551615ull, refused, "1.84467441e+19"),
        read<double>(-9223372036854775807ll, refused, "-9.2233720368547758e+18"),
        read<double>(0.1f, refused, "0.10000000149011612"),
        read<float>(0.1, refused, "0.100000001"),
        read<float>(1e300, refused, "too high"),
        read<float>(-1e300, refused, "too low"),
        read<float>(3.4028234663852886e38, refused, "3.40282347e+38"),
        read<float>(std::nextafter(3.4028234663852886e38, inf), refused, "too high"),
        read<float>(inf, refused, "too high"),
        read<float>(-inf, refused, "too low"),
        read<float>(nan, refused, "nan"),
        read<double>(std::numeric_limits<float>::infinity(), refused, "inf"),
        read<int>(2.9, refused, "2"),
        read<int>(-2.9, refused, "-2"),
        read<unsigned int>(-0.5, refused, "0"),
        read<unsigned char>(-0.9f, refused, "0"),
        read<bool>(0, refused, "0"),
        read<bool>(static_cast<unsigned char>(1), refused, "1"),
        read<bool>(2, refused, "too high"),
        read<bool>(-1, refused, "too low"),
        read<bool>(0.5, refused, "0"),
        read<bool>(-0.5f, refused, "0"),
        read<bool>(1.5, refused, "1"),
        read<bool>(2.0, refused, "too high"),
        read<bool>(-1.0, refused, "too low"),
        read<bool>(nan, refused, "1"),
        read<int>(nan, refused, "-2147483648"),
        read<unsigned char>(static_cast<float>(nan), refused, "0"),
        read<std::vector<long long>>(std::vector<double>{nan, 1.5}, refused,
                                     "[-9223372036854775808, 1]"),
        read<signed char>(true, refused, "1"),
        read<double>(false, refused, "0"),
        read<float>(true, refused, "1"),
    });
}

/// Both bounds refuse, the numbers next to them pass; as `float` the bounds round first.
template <class T>
void checkBounds(double low, double high) {
    SCOPED_TRACE(typeid(T).name());
    EXPECT_EQ(got<T>(low, true), "too low");
    EXPECT_EQ(got<T>(-inf, true), "too low");
    EXPECT_EQ(got<T>(std::nextafter(low, 0.0), true),
              lexicalText(static_cast<T>(std::nextafter(low, 0.0))));
    EXPECT_EQ(got<T>(high, true), "too high");
    EXPECT_EQ(got<T>(inf, true), "too high");
    EXPECT_EQ(got<T>(std::nextafter(high, 0.0), true),
              lexicalText(static_cast<T>(std::nextafter(high, 0.0))));
    float const lowFloat = static_cast<float>(low);
    float const highFloat = static_cast<float>(high);
    EXPECT_EQ(got<T>(lowFloat, true), "too low");
    EXPECT_EQ(got<T>(std::nextafter(lowFloat, 0.0f), true),
              lexicalText(static_cast<T>(std::nextafter(lowFloat, 0.0f))));
    EXPECT_EQ(got<T>(highFloat, true), "too high");
    EXPECT_EQ(got<T>(std::nextafter(highFloat, 0.0f), true),
              lexicalText(static_cast<T>(std::nextafter(highFloat, 0.0f))));
}

TEST(Get, KeepsTheBoundsFromFloatingNumbersToIntegers) {
    checkBounds<signed char>(-129.0, 128.0);
    checkBounds<unsigned char>(-1.0, 256.0);
    checkBounds<short>(-32769.0, 32768.0);
    checkBounds<unsigned short>(-1.0, 65536.0);
    checkBounds<int>(-2147483649.0, 2147483648.0);
    checkBounds<unsigned int>(-1.0, 4294967296.0);
    checkBounds<long long>(-9223372036854775808.0, 9223372036854775808.0);
    checkBounds<unsigned long long>(-1.0, 18446744073709551616.0);
}

TEST(Get, ReadsAndMakesTextInEveryLocale) {
    test::CommaLocale const comma;
    char const* const refused = "TypeNotMatch";
    check({
        read<ustring>(0.1, refused, "'0.10000000000000001'"),
        read<ustring>(0.1f, refused, "'0.100000001'"),
        read<ustring>(1234567, refused, "'1234567'"),
        read<ustring>(true, refused, "'1'"),
        read<ustring>(static_cast<signed char>(-5), refused, "'-5'"),
        read<ustring>(static_cast<unsigned char>(65), refused, "'65'"),
        read<ustring>(-nan, refused, std::signbit(-nan) ? "'-nan'" : "'nan'"),
        read<ustring>(-inf, refused, "'-inf'"),
        read<std::vector<ustring>>(2.5, refused, "['2.5']"),
        read<double>(text("0.5"), refused, "0.5"),
        read<double>(text("0,5"), refused, "bad cast"),
        read<double>(text("Infinity"), refused, "inf"),
        read<double>(text("1e"), refused, "bad cast"),
        read<float>(text("-NaN(x)"), refused, "-nan"),
        read<int>(text("1.234"), refused, "bad cast"),
        read<int>(text(" 1"), refused, "bad cast"),
        read<int>(text(""), refused, "bad cast"),
        read<int>(ustring(u"1\0", 2), refused, "bad cast"),
        read<short>(text("40000"), refused, "bad cast"),
        read<unsigned int>(text("-1"), refused, "4294967295"),
        read<unsigned char>(text("-1"), refused, "too high"),
        read<signed char>(text("100"), refused, "100"),
        read<signed char>(text("200"), refused, "too high"),
        read<bool>(text("true"), refused, "bad cast"),
        read<bool>(text("001"), refused, "1"),
        read<std::vector<bool>>(text("0"), refused, "[0]"),
    });
}

template <class From, class T>
std::string copied(From const& from, T to, bool allowConversion) {
    std::string failure = "done";
    try {
        ConvertVector::copy(from, to, allowConversion);
    } catch (...) {
        failure = currentFailure();
    }
    return failure + " " + shown(to);
}

TEST(ConvertVector, LeavesTheTargetAsPromised) {
    using Doubles = std::vector<double>;
    using Numbers = std::vector<unsigned long long>;
    Numbers const before{9};
    std::vector<bool> bits{true};
    EXPECT_EQ(copied(Doubles{1.5, 2}, before, true), "done [1, 2]");
    EXPECT_EQ(copied(Doubles{1.5, 2}, before, false), "TypeNotMatch []");
    EXPECT_EQ(copied(Doubles{1.5, -2}, before, true), "too low [9]");
    EXPECT_EQ(copied(std::vector<ustring>{u"1", u"x"}, before, true), "bad cast [9]");
    EXPECT_EQ(copied(1e20, before, true), "too high [9]");
    EXPECT_EQ(copied(3.0, before, true), "done [3]");
    EXPECT_EQ(copied(Doubles{1, 2}, 9ull, true), "EmptyVector 9");
    EXPECT_EQ(copied(Doubles{1e20}, 9ull, true), "too high 9");
    EXPECT_EQ(copied(Numbers{1, 2}, before, false), "done [1, 2]");
    std::vector<bool>::reference const bit = bits[0];
    EXPECT_EQ(copied(bit, false, false), "TypeNotMatch 0");
    EXPECT_EQ(copied(bit, false, true), "done 1");
    EXPECT_EQ(copied(bit, ustring(), true), "done '1'");
    EXPECT_EQ(copied(bit, static_cast<signed char>(0), true), "done 1");
}

}  // namespace
}  // namespace settingscore::boostany
