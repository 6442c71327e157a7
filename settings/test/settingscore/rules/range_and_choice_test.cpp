#include <cmath>
#include <limits>
#include <locale>
#include <vector>

#include <settingscore/errors/TreeExceptions.hpp>
#include <settingscore/errors/ValueExceptions.hpp>
#include <settingscore/value/Get.hpp>

#include "RulesWorld.hpp"

using namespace settings::core;
using namespace qbtest;
using boost::any;
using exception::ValueIsNotInRange;
using exception::ValueIsNotOneOfTheChoicesAndNotInRange;

namespace {

using Choices = boost::optional<std::vector<any>>;
using Strings = std::vector<ustring>;

enum class Outcome { passes, notInRange, notAChoice };

struct Case {
    char const* name;
    any minimum;
    any maximum;
    Choices choices;
    any value;
    Outcome outcome;
    ustring valueText{};
    ustring choicesText{};
    ustring minimumText{};
    ustring maximumText{};
};

Choices list(std::vector<any> choices) {
    return choices;
}
any text(char16_t const* t) {
    return ustring(t);
}
template <class T>
any vectorOf(std::vector<T> values) {
    return values;
}

void check(Case const& c) {
    SCOPED_TRACE(c.name);
    Node const group = makeGroup("g");
    Node const key = makeKey("k", group);
    key->setMetaData(SettingsKeyMetaData<any>(c.minimum, c.maximum, c.choices));
    Outcome outcome = Outcome::passes;
    try {
        group->setAny("k", c.value, "user");
    } catch (ValueIsNotInRange const& error) {
        outcome = Outcome::notInRange;
        EXPECT_EQ(error.getErrorCode(), 3);
        EXPECT_EQ(error.getCausingObject(), key);
        EXPECT_EQ(error.getValueToSetStr(), c.valueText);
        EXPECT_EQ(error.getMinValueStr(), c.minimumText);
        EXPECT_EQ(error.getMaxValueStr(), c.maximumText);
    } catch (ValueIsNotOneOfTheChoicesAndNotInRange const& error) {
        outcome = Outcome::notAChoice;
        EXPECT_EQ(error.getErrorCode(), 2);
        EXPECT_EQ(error.getCausingObject(), key);
        EXPECT_EQ(error.getValueToSetStr(), c.valueText);
        EXPECT_EQ(error.getChoicesStr(), c.choicesText);
        EXPECT_EQ(error.getMinValueStr(), c.minimumText);
        EXPECT_EQ(error.getMaxValueStr(), c.maximumText);
    }
    EXPECT_EQ(outcome, c.outcome);
    EXPECT_EQ(group->isSet("k", "user"), c.outcome == Outcome::passes) << "stored if it passed";
}

TEST(RangeAndChoice, RangeAndChoicesAreAlternatives) {
    Choices const twentyThirty = list({20, 30});
    for (Case const& c : std::vector<Case>{
             {"nothing declared", {}, {}, {}, 7, Outcome::passes},
             {"in range", 1, 10, twentyThirty, 5, Outcome::passes},
             {"listed, out of range", 1, 10, twentyThirty, 20, Outcome::passes},
             {"neither", 1, 10, twentyThirty, 11, Outcome::notAChoice, u"11", u"20, 30", u"1",
              u"10"},
             {"choices alone, listed", {}, {}, twentyThirty, 20, Outcome::passes},
             {"choices alone", {}, {}, twentyThirty, 5, Outcome::notAChoice, u"5", u"20, 30"},
             {"minimum alone", 1, {}, {}, 0, Outcome::notInRange, u"0", {}, u"1"},
             {"at the minimum", 1, {}, {}, 1, Outcome::passes},
             {"at the maximum", {}, 10, {}, 10, Outcome::passes},
             {"empty list", {}, {}, list({}), 5, Outcome::notAChoice, u"5", u"\n"},
             {"first bad element",
              {},
              10,
              {},
              vectorOf<int>({5, 11, 12}),
              Outcome::notInRange,
              u"11",
              {},
              {},
              u"10"},
             {"no element", 1, 10, list({20}), vectorOf<int>({}), Outcome::passes},
             {"bits",
              {},
              {},
              list({true}),
              vectorOf<bool>({true, false}),
              Outcome::notAChoice,
              u"0",
              u"1"},
             {"bit below", true, {}, {}, false, Outcome::notInRange, u"0", {}, u"1"},
         }) {
        check(c);
    }
}

TEST(RangeAndChoice, BoundsOfStringsLimitTheLength) {
    any const two = 2u;
    any const four = 4u;
    Choices const colours = list({text(u"red"), text(u"blue, green")});
    for (Case const& c : std::vector<Case>{
             {"long enough", two, four, {}, text(u"abc"), Outcome::passes},
             {"too short", two, four, {}, text(u"a"), Outcome::notInRange, u"a", {}, u"2", u"4"},
             {"too long",
              two,
              four,
              {},
              text(u"abcde"),
              Outcome::notInRange,
              u"abcde",
              {},
              u"2",
              u"4"},
             {"code units count", two, four, {}, text(u"\U0001F600"), Outcome::passes},
             {"in the list", {}, {}, colours, text(u"red"), Outcome::passes},
             {"case matters",
              {},
              {},
              colours,
              text(u"RED"),
              Outcome::notAChoice,
              u"RED",
              u"red, blue, green"},
             {"each element",
              {},
              four,
              {},
              any(Strings{u"ok", u"not ok"}),
              Outcome::notInRange,
              u"not ok",
              {},
              {},
              u"4"},
         }) {
        check(c);
    }
}

TEST(RangeAndChoice, TextsFollowTheElementType) {
    using U8 = unsigned char;
    using S8 = signed char;
    double const infinity = std::numeric_limits<double>::infinity();
    double const nan = std::numeric_limits<double>::quiet_NaN();
    for (Case const& c : std::vector<Case>{
             {"8 bits: characters, choices numbers",
              {},
              U8(10),
              list({U8(33), U8(34)}),
              U8(65),
              Outcome::notAChoice,
              u"A",
              u"33, 34",
              {},
              u"\n"},
             {"8 bits above 127",
              U8(250),
              {},
              {},
              U8(200),
              Outcome::notInRange,
              u"\u00C8",
              {},
              u"\u00FA"},
             {"8 bits below 0",
              {},
              {},
              list({S8(-1)}),
              S8(-56),
              Outcome::notAChoice,
              u"\u00C8",
              u"-1"},
             {"8 bits, zero",
              U8(1),
              {},
              {},
              U8(0),
              Outcome::notInRange,
              ustring(1, u'\0'),
              {},
              u"\u0001"},
             {"16 bits", short(-3), {}, {}, short(-4), Outcome::notInRange, u"-4", {}, u"-3"},
             {"64 bits",
              {},
              {},
              list({~0ull}),
              18446744073709551614ull,
              Outcome::notAChoice,
              u"18446744073709551614",
              u"18446744073709551615"},
             {"double at its minimum", 0.1, {}, {}, 0.1, Outcome::passes},
             {"double, 17 digits",
              0.1,
              {},
              {},
              0.09999999999999999,
              Outcome::notInRange,
              u"0.099999999999999992",
              {},
              u"0.10000000000000001"},
             {"double choices, 6 digits",
              {},
              {},
              list({0.1, 0.25, 1234567.0}),
              1.0,
              Outcome::notAChoice,
              u"1",
              u"0.1, 0.25, 1.23457e+06"},
             {"float, 9 digits",
              {},
              {},
              list({0.1f}),
              0.2f,
              Outcome::notAChoice,
              u"0.200000003",
              u"0.1"},
             {"NaN without rules", {}, {}, {}, nan, Outcome::passes},
             {"NaN and a bound",
              {},
              infinity,
              {},
              nan,
              Outcome::notInRange,
              u"nan",
              {},
              {},
              u"inf"},
             {"NaN is no choice", {}, {}, list({nan}), -nan, Outcome::notAChoice, u"-nan", u"nan"},
             {"infinity",
              -1e300,
              {},
              {},
              -infinity,
              Outcome::notInRange,
              u"-inf",
              {},
              u"-1.0000000000000001e+300"},
         }) {
        check(c);
    }
}

TEST(RangeAndChoice, TextsDoNotDependOnTheLocale) {
    struct Grouping : std::numpunct<char> {
        char do_decimal_point() const override { return ','; }
        char do_thousands_sep() const override { return '.'; }
        std::string do_grouping() const override { return "\3"; }
    };
    std::locale const before = std::locale::global(std::locale(std::locale(), new Grouping));
    check({"numbers", 1000000, 2000000, list({3000000}), 1, Outcome::notAChoice, u"1", u"3000000",
           u"1000000", u"2000000"});
    check({"fractions", {}, {}, list({2.5}), 1234.5, Outcome::notAChoice, u"1234.5", u"2.5"});
    std::locale::global(before);
}

TEST(RangeAndChoice, AnEmptyValueIsRefusedWithAndWithoutRules) {
    Node const group = makeGroup("g");
    makeKey("free", group);
    makeKey("bound", group)->setMetaData(SettingsKeyMetaData<any>(1, {}, {}));
    for (char const* key : {"free", "bound"}) {
        expectThrow<exception::DefaultValidationFailedOnVoidType>(
            [&] { group->validateAny(key, any()); },
            [&](auto const& error) {
                EXPECT_EQ(error.getErrorCode(), 1);
                EXPECT_EQ(error.getCausingObject(), group->getChild(key));
            });
    }
}

// Metadata of another type than the key's own is a fault of whoever set it, told as it is; an array
// without elements is never compared with it.
TEST(RangeAndChoice, MetaDataOfAnotherTypeAreNotConverted) {
    Node const group = makeGroup("g");
    for (auto const& rules :
         {SettingsKeyMetaData<any>(1.0, {}, {}), SettingsKeyMetaData<any>({}, 9LL, {}),
          SettingsKeyMetaData<any>({}, {}, list({5, short(6)}))}) {
        makeKey("k", group)->setMetaData(rules);
        EXPECT_THROW(group->validateAny("k", 5), settingscore::boostany::detail::TypeNotMatch);
        makeKey("v", group)->setMetaData(rules);
        EXPECT_NO_THROW(group->validateAny("v", std::vector<int>()));
        group->removeKey("k");
        group->removeKey("v");
    }
    EXPECT_THROW(group->getAnyMetaData("k"), exception::NoSuchKey);
}

}  // namespace
