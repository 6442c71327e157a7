#include <settingscore/value/NumberText.hpp>

#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <limits>
#include <string>
#include <type_traits>
#include <vector>

#include <gtest/gtest.h>
#include <boost/lexical_cast.hpp>
#include <boost/numeric/conversion/cast.hpp>

#include "CommaLocale.hpp"

namespace settingscore::boostany {
namespace {

using test::CommaLocale;

/// What reading the text comes to: the exact value, or the kind of failure.
template <class T, class Parse>
std::string outcome(std::string const& text, Parse const& parse) {
    try {
        T const value = parse(text);
        if constexpr (std::is_floating_point_v<T>) {
            if (std::isnan(value)) return std::signbit(value) ? "-nan" : "nan";
            char buffer[64];
            auto const end =
                std::to_chars(buffer, buffer + sizeof buffer, value, std::chars_format::hex);
            return std::string(buffer, end.ptr);
        } else {
            return std::to_string(value);
        }
    } catch (boost::bad_lexical_cast const& error) {
        EXPECT_STREQ(error.what(),
                     "bad lexical cast: source type value could not be interpreted as target");
        return "bad cast";
    } catch (boost::numeric::positive_overflow const&) {
        return "positive overflow";
    } catch (boost::numeric::negative_overflow const&) {
        return "negative overflow";
    }
}

template <class T>
std::string parsed(std::string const& text) {
    return outcome<T>(text, [](std::string const& t) { return lexicalParse<T>(t); });
}

/// The reference: what a lexical cast makes of the text in the classic locale.
template <class T>
std::string cast(std::string const& text) {
    return outcome<T>(text, [](std::string const& t) { return boost::lexical_cast<T>(t); });
}

char const* const texts[] = {"",
                             "0",
                             "1",
                             "+1",
                             "-1",
                             "-0",
                             "+0",
                             "001",
                             "+000",
                             "-000",
                             "-001",
                             "+",
                             "-",
                             "+-1",
                             "-+1",
                             "--1",
                             "++1",
                             " 1",
                             "1 ",
                             "\t1",
                             "1\n",
                             "2",
                             "10",
                             "11",
                             "true",
                             "false",
                             "127",
                             "128",
                             "-128",
                             "-129",
                             "255",
                             "256",
                             "-255",
                             "32767",
                             "32768",
                             "-32768",
                             "-32769",
                             "65535",
                             "65536",
                             "-65535",
                             "-65536",
                             "2147483647",
                             "2147483648",
                             "-2147483648",
                             "-2147483649",
                             "4294967295",
                             "4294967296",
                             "-4294967295",
                             "-4294967296",
                             "9223372036854775807",
                             "9223372036854775808",
                             "-9223372036854775808",
                             "-9223372036854775809",
                             "18446744073709551615",
                             "18446744073709551616",
                             "-18446744073709551615",
                             "000000000000000000000000000000012",
                             "0x10",
                             "1,000",
                             "1.000",
                             "1_0",
                             "1e3",
                             "1.5",
                             ".5",
                             "5.",
                             ".",
                             "-.5",
                             "+.5",
                             "-.",
                             "e5",
                             "1e",
                             "1E",
                             "1e+",
                             "1e-",
                             "1e+5",
                             "1E-5",
                             "1.e2",
                             ".e2",
                             "1e5.0",
                             "1e 5",
                             "0,5",
                             "1..5",
                             "0e0",
                             "1e400",
                             "-1e400",
                             "1e-400",
                             "-1e-400",
                             "1e39",
                             "1e-46",
                             "1e-45",
                             "4.9e-324",
                             "2e-324",
                             "1.7976931348623157e308",
                             "1.7976931348623159e308",
                             "3.4028235e38",
                             "3.4028236e38",
                             "0e999999",
                             "0.10000000000000001",
                             "nan",
                             "NaN",
                             "-nan",
                             "+nan",
                             "nan()",
                             "nan(abc)",
                             "nan(",
                             "nan)",
                             "nanx",
                             "nan(a)b",
                             "inf",
                             "-inf",
                             "+INF",
                             "iNf",
                             "infinity",
                             "-Infinity",
                             "infinit",
                             "infinityx",
                             "in",
                             "n",
                             "- inf",
                             "-+inf",
                             "i",
                             "0x1p3",
                             "1f",
                             "1d",
                             "\xd9\xa1"};

/// Calls `function` with a tag for each type whose texts are those of a lexical cast: for the 8-bit
/// ones that would be a character.
template <class Function>
void forEachCastType(Function const& function) {
    forEachElementType([&function](auto tag) {
        using T = typename decltype(tag)::Type;
        if constexpr (!std::is_same_v<T, ustring> &&
                      sizeof(typename ValueTraits<T>::Wide) == sizeof(T)) {
            SCOPED_TRACE(ValueTraits<T>::name);
            function(tag);
        }
    });
}

TEST(LexicalParse, AgreesWithALexicalCastInTheClassicLocale) {
    forEachCastType([](auto tag) {
        using T = typename decltype(tag)::Type;
        int accepted = 0;
        for (std::string const text : texts) {
            std::string const expected = cast<T>(text);
            EXPECT_EQ(parsed<T>(text), expected) << '"' << text << '"';
            accepted += expected != "bad cast";
        }
        EXPECT_GT(accepted, 5);
        EXPECT_EQ(parsed<T>(std::string("1\0", 2)), "bad cast");
        EXPECT_EQ(parsed<T>(std::string("\0001", 2)), "bad cast");
    });
}

TEST(LexicalParse, IsTheSameInEveryLocale) {
    forEachCastType([](auto tag) {
        using T = typename decltype(tag)::Type;
        std::vector<std::string> expected;
        for (std::string const text : texts)
            expected.push_back(cast<T>(text));
        CommaLocale const comma;
        for (std::size_t i = 0; i < expected.size(); ++i) {
            EXPECT_EQ(parsed<T>(texts[i]), expected[i]) << '"' << texts[i] << '"';
        }
    });
}

TEST(LexicalParse, ReadsEightBitsAsANumber) {
    struct Row {
        char const* text;
        char const* asSigned;
        char const* asUnsigned;
    };
    Row const rows[] = {
        {"100", "100", "100"},
        {"-0", "0", "0"},
        {"+7", "7", "7"},
        {"127", "127", "127"},
        {"128", "positive overflow", "128"},
        {"200", "positive overflow", "200"},
        {"300", "positive overflow", "positive overflow"},
        {"-1", "-1", "positive overflow"},
        {"-129", "negative overflow", "positive overflow"},
        {"-65535", "bad cast", "1"},
        {"40000", "bad cast", "positive overflow"},
        {"70000", "bad cast", "bad cast"},
        {"A", "bad cast", "bad cast"},
        {"", "bad cast", "bad cast"},
    };
    for (Row const& row : rows) {
        EXPECT_EQ(parsed<signed char>(row.text), row.asSigned) << row.text;
        EXPECT_EQ(parsed<unsigned char>(row.text), row.asUnsigned) << row.text;
    }
}

TEST(LexicalText, HasTheExactForms) {
    CommaLocale const comma;
    double const inf = std::numeric_limits<double>::infinity();
    double const nan = std::numeric_limits<double>::quiet_NaN();
    struct Row {
        std::string made;
        char const* expected;
    };
    Row const rows[] = {
        {lexicalText(true), "1"},
        {lexicalText(false), "0"},
        {lexicalText<signed char>(-5), "-5"},
        {lexicalText<unsigned char>(65), "65"},
        {lexicalText<short>(-32768), "-32768"},
        {lexicalText(1234567), "1234567"},
        {lexicalText(std::numeric_limits<long long>::min()), "-9223372036854775808"},
        {lexicalText(std::numeric_limits<unsigned long long>::max()), "18446744073709551615"},
        {lexicalText(0.1), "0.10000000000000001"},
        {lexicalText(0.1f), "0.100000001"},
        {lexicalText(1.0), "1"},
        {lexicalText(-0.0), "-0"},
        {lexicalText(1e300), "1.0000000000000001e+300"},
        {lexicalText(1234567.0f), "1234567"},
        {lexicalText(nan), "nan"},
        {lexicalText(std::copysign(nan, -1)), "-nan"},
        {lexicalText(inf), "inf"},
        {lexicalText(-static_cast<float>(inf)), "-inf"},
        {lexicalText(ustring(u"\u00e9")), "\xc3\xa9"},
    };
    for (Row const& row : rows)
        EXPECT_EQ(row.made, row.expected);
}

template <class T, class Bits>
void expectPrintfFormThatReadsBack(Bits bits, int digits) {
    T value;
    std::memcpy(&value, &bits, sizeof value);
    if (std::isnan(value) || std::isinf(value)) return;
    char expected[64];
    std::snprintf(expected, sizeof expected, "%.*g", digits, static_cast<double>(value));
    std::string const text = lexicalText(value);
    ASSERT_EQ(text, expected);
    T const back = lexicalParse<T>(text);
    ASSERT_EQ(std::memcmp(&back, &value, sizeof value), 0) << text;
}

TEST(LexicalText, IsThePrintfFormAndReadsBackBitForBit) {
    std::uint64_t state = 88172645463325252u;
    for (int i = 0; i < 20000; ++i) {
        state ^= state << 13;
        state ^= state >> 7;
        state ^= state << 17;
        expectPrintfFormThatReadsBack<double>(state, 17);
        expectPrintfFormThatReadsBack<float>(static_cast<std::uint32_t>(state), 9);
        // Subnormal ones, too.
        expectPrintfFormThatReadsBack<double>(state >> 12, 17);
        expectPrintfFormThatReadsBack<float>(static_cast<std::uint32_t>(state) >> 9, 9);
    }
}

}  // namespace
}  // namespace settingscore::boostany
