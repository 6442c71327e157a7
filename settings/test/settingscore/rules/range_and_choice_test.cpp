#include <cmath>

#include <support/CommaLocale.hpp>

#include <support/RulesWorld.hpp>

using namespace qbtest;

namespace {

using Choices = boost::optional<std::vector<any>>;

Choices list(std::vector<any> choices) { return choices; }

/// What becomes of a value for a key with these rules; stored if it passes.
std::string outcome(any const& minimum, any const& maximum, Choices const& choices,
                    any const& value) {
    Node const group = makeGroup("");
    makeKey("k", group)->setMetaData(SettingsKeyMetaData<any>(minimum, maximum, choices));
    std::string const result = ending([&] { group->setAny("k", value, "user"); });
    EXPECT_EQ(group->isSet("k", "user"), result == "done");
    return result;
}
/// The refusals: value, minimum, maximum and choices.
std::string notInRange(std::string const& texts) { return "ValueIsNotInRange(k, " + texts + ")"; }
std::string noChoice(std::string const& texts) {
    return "ValueIsNotOneOfTheChoicesAndNotInRange(k, " + texts + ")";
}

TEST(RangeAndChoice, AreAlternatives) {
    Choices const both = list({20, 30});
    EXPECT_EQ(outcome(1, 10, both, 10), "done");
    EXPECT_EQ(outcome(1, 10, both, 20), "done");
    EXPECT_EQ(outcome(1, 10, both, 11), noChoice("11, 1, 10, 20, 30"));
    EXPECT_EQ(outcome(1, {}, {}, 0), notInRange("0, 1, "));
    EXPECT_EQ(outcome({}, 10, {}, Ints{5, 11, 12}), notInRange("11, , 10"));
    EXPECT_EQ(outcome(1, 10, both, Ints{}), "done");
    EXPECT_EQ(outcome(1, {}, {}, any()), "DefaultValidationFailedOnVoidType(k)");
    // Metadata of another type than the key's own is a fault of whoever set it, told as it is.
    EXPECT_THROW(outcome(1.0, {}, {}, 5), settingscore::boostany::detail::TypeNotMatch);
}

TEST(RangeAndChoice, TextsFollowTheElementTypeAndNotTheLocale) {
    using U8 = unsigned char;
    CommaLocale const locale;
    // Of strings the length in code units is bounded.
    EXPECT_EQ(outcome(2u, 4u, {}, ustring(u"a")), notInRange("a, 2, 4"));
    EXPECT_EQ(outcome(2u, 2u, {}, ustring(u"\U0001F600")), "done");
    EXPECT_EQ(outcome({}, {}, list({ustring(u"red")}), ustring(u"RED")), noChoice("RED, , , red"));
    // 8 bits are characters, but numbers in choices.
    EXPECT_EQ(outcome({}, U8(10), list({U8(33), U8(34)}), U8(65)), noChoice("A, , \n, 33, 34"));
    EXPECT_EQ(outcome({}, ~0ull - 1, {}, ~0ull),
              notInRange("18446744073709551615, , 18446744073709551614"));
    EXPECT_EQ(outcome(0.1, {}, {}, 0.09999999999999999),
              notInRange("0.099999999999999992, 0.10000000000000001, "));
    EXPECT_EQ(outcome({}, {}, list({0.1, 1234567.0}), 1234.5),
              noChoice("1234.5, , , 0.1, 1.23457e+06"));
    EXPECT_EQ(outcome({}, 2.5, {}, std::nan("")), notInRange("nan, , 2.5"));
}

}  // namespace
