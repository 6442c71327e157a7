#include <settingscore/value/NumberText.hpp>

#include <charconv>
#include <cmath>
#include <cstring>
#include <random>
#include <sstream>

#include <gtest/gtest.h>
#include <boost/lexical_cast.hpp>
#include <support/CommaLocale.hpp>

namespace number_text_test {
using namespace settingscore::boostany;
namespace {

/// What reading the text comes to: the exact value, or a failure.
template <class T, class Read>
std::string outcome(Read const& read) {
    try {
        T const value = read();
        if constexpr (std::is_floating_point_v<T>) {
            char buffer[64];
            auto const hex = std::chars_format::hex;
            return {buffer, std::to_chars(buffer, buffer + sizeof buffer, value, hex).ptr};
        } else {
            return std::to_string(value);
        }
    } catch (boost::bad_lexical_cast const&) {
        return "bad cast";
    }
}

char const* const texts =
    "|0|1|-1|-0|001|-001|+|-|+-1|--1| 1|1 |1\n|2|true|32767|32768|-32768|-32769|65535|65536|-65535|"
    "-65536|2147483647|2147483648|-2147483648|-2147483649|4294967295|4294967296|-4294967295|"
    "9223372036854775807|9223372036854775808|-9223372036854775808|-9223372036854775809|"
    "18446744073709551615|18446744073709551616|-18446744073709551615|0000000000000000000000000012|"
    "0x10|1,000|1.000|1_0|.5|5.|.|+.5|-.|e5|1e|1E+|1e-5|.e2|1e5.0|0,5|1e400|-1e400|1e-400|1e39|"
    "1e-46|1e-45|2e-324|1.7976931348623157e308|1.7976931348623159e308|3.4028235e38|3.4028236e38|"
    "nan|NaN|-nan|nan()|nan(abc)|nan(|nanx|inf|+INF|-Infinity|infinit|infinityx|- inf|0x1p3|1f";

TEST(LexicalParse, AgreesWithALexicalCastInTheClassicLocaleWhateverTheLocaleIs) {
    forEachElementType([](auto tag) {
        using T = typename decltype(tag)::Type;
        // Read as one of the 8-bit types, a text would be a character to a lexical cast.
        if constexpr (!std::is_same_v<T, ustring> &&
                      sizeof(typename ValueTraits<T>::Wide) == sizeof(T)) {
            std::istringstream all(texts);
            for (std::string text; std::getline(all, text, '|');) {
                SCOPED_TRACE(ValueTraits<T>::name + (": '" + text + "'"));
                std::string const expected =
                    outcome<T>([&] { return boost::lexical_cast<T>(text); });
                EXPECT_EQ(outcome<T>([&] { return lexicalParse<T>(text); }), expected);
                qbtest::CommaLocale const comma;
                EXPECT_EQ(outcome<T>([&] { return lexicalParse<T>(text); }), expected);
            }
            EXPECT_THROW(lexicalParse<T>(std::string("1\0", 2)), boost::bad_lexical_cast);
        }
    });
}

template <class T, class Bits>
void expectPrintfFormThatReadsBack(Bits bits, int digits) {
    T value;
    std::memcpy(&value, &bits, sizeof value);
    if (std::isnan(value)) return;
    char expected[64];
    std::snprintf(expected, sizeof expected, "%.*g", digits, static_cast<double>(value));
    std::string const text = lexicalText(value);
    ASSERT_EQ(text, expected);
    T const back = lexicalParse<T>(text);
    ASSERT_EQ(std::memcmp(&back, &value, sizeof value), 0) << text;
}

TEST(LexicalText, IsThePrintfFormAndReadsBackBitForBit) {
    std::mt19937_64 random(7);
    for (int i = 0; i < 20000; ++i) {
        std::uint64_t const bits = random();
        expectPrintfFormThatReadsBack<double>(bits, 17);
        expectPrintfFormThatReadsBack<float>(static_cast<std::uint32_t>(bits), 9);
    }
    qbtest::CommaLocale const comma;
    double const nan = std::numeric_limits<double>::quiet_NaN();
    auto const all = [](auto const&... values) { return ((lexicalText(values) + ' ') + ...); };
    EXPECT_EQ(all(true, static_cast<unsigned char>(65), 1234567, 0.1, 0.1f, 1234567.0f, nan,
                  std::copysign(nan, -1), 1 / 0.0f),
              "1 65 1234567 0.10000000000000001 0.100000001 1234567 nan -nan inf ");
}

}  // namespace
}  // namespace number_text_test
