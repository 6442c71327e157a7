#include <cmath>
#include <limits>
#include <random>

#include <gtest/gtest.h>
#include <settingscore/value/AnyBridge.hpp>

#include "roundtrip_support.hpp"

namespace {

using namespace settings::core;
using qbtest::fileText;
using qbtest::group;
using qbtest::key;
using qbtest::NodePtr;
using qbtest::ParseFolder;
using qbtest::saved;
using qbtest::valueAt;

/// Equal to the last bit, so that a NaN is itself and the zeros differ.
template <class T>
bool sameBits(T a, T b) {
    return std::signbit(a) == std::signbit(b) && (std::isnan(a) ? std::isnan(b) : a == b);
}
bool same(boost::any const& a, boost::any const& b) {
    if (a.type() != b.type()) return false;
    if (auto const* x = boost::any_cast<double>(&a))
        return sameBits(*x, boost::any_cast<double>(b));
    if (auto const* x = boost::any_cast<float>(&a)) return sameBits(*x, boost::any_cast<float>(b));
    return settingscore::boostany::isEqual(a, b);
}

template <class T>
void addIntegers(std::vector<boost::any>& values) {
    T const least = std::numeric_limits<T>::min();
    T const most = std::numeric_limits<T>::max();
    values.insert(values.end(), {least, most, T(0), T(1)});
    values.push_back(std::vector<T>{least, most, T(9)});
}

TEST(Roundtrip, everyValueReadsBackAsItWas) {
    std::vector<boost::any> values = {true, false, std::vector<bool>{true, false, false, true}};
    addIntegers<signed char>(values);
    addIntegers<unsigned char>(values);
    addIntegers<short>(values);
    addIntegers<unsigned short>(values);
    addIntegers<int>(values);
    addIntegers<unsigned int>(values);
    addIntegers<long long>(values);
    addIntegers<unsigned long long>(values);
    for (double const number :
         {0.0, -0.0, 0.1, 1e300, 5e-324, 1.7976931348623157e308, -2.5,
          std::numeric_limits<double>::infinity(), -std::numeric_limits<double>::infinity(),
          std::nan(""), -std::nan("")}) {
        values.push_back(number);
        values.push_back(static_cast<float>(number));
    }
    std::mt19937_64 random(7);
    std::vector<double> doubles;
    for (int i = 0; i < 1000; ++i) {
        doubles.push_back(
            std::ldexp(static_cast<double>(random() >> 11), int(random() % 900) - 500));
    }
    values.push_back(doubles);
    values.push_back(std::vector<float>{0.1f, 16777216.0f, 1e-30f});
    for (char16_t const* text :
         {u"", u" ", u"]]>", u"]]>]]>", u"a]]>b]]>", u"]]", u"]]]]>>", u"<![CDATA[x]]>",
          u"line\n  and\ttab", u"&amp;<key/>", u"\u20ac\U0001f600\u00e4", u"\ufffd"}) {
        values.push_back(ustring(text));
    }
    values.push_back(std::vector<ustring>{u"", u"]]>", u"x"});
    values.push_back(std::vector<int>());

    auto const top = group("p");
    for (std::size_t i = 0; i < values.size(); ++i) {
        auto const node = key("k" + std::to_string(i), top);
        node->initSetters(values[i]);
        node->setAnyInternal(values[i], "user");
    }
    ParseFolder folder;
    std::string const text = saved(top, "user");
    auto const back = folder.parse(text);
    for (std::size_t i = 0; i < values.size(); ++i) {
        EXPECT_TRUE(same(valueAt(back, "k" + std::to_string(i)), values[i])) << i;
    }
    EXPECT_EQ(saved(back, "user"), text);
}

/// A file that is read and written again is the same, or what it is said to become.
TEST(Roundtrip, textsComeBack) {
    struct Case {
        char const* body;
        char const* written;  // Null: the same.
    };
    std::vector<Case> const cases = {
        {R"(    <key name="a" visible="true">
        <validationfunc type='ZENBAR' packagename='p.q' functionname='f'/>
        <int32 minArraySize="0" maxArraySize="0">
        </int32>
    </key>
    <key name="any" anytype="true">
    </key>
    <key name="anyvalue" anytype="true">
        <uint8>
            <value>9</value>
        </uint8>
    </key>
    <key name="ro" readonly="true">
        <string undef="true">
        </string>
    </key>
    <settings name="g" readonly="true">
        <validationfunc type='JAVA' packagename='a.B' functionname='c'/>
        <key name="x">
            <float>
                <value>0.5</value>
            </float>
        </key>
        <validationfunc type='JAVA' packagename='a.B' functionname='c'/>
        <settings name="h" visible="true" readonly="true">
        </settings>
    </settings>
)",
         nullptr},
        // What only a definition has is not written.
        {R"(<key name="m"><int8><value>1</value><metadata><min>0</min></metadata></int8></key>)",
         R"(    <key name="m">
        <int8>
            <value>1</value>
        </int8>
    </key>
)"},
        // Of several validators the last counts, and it is written before each child.
        {R"(<validationfunc type="C" packagename="l" functionname="one"/>
<key name="m"><bool><value>true</value></bool></key>
<validationfunc type="C" packagename="l" functionname="two"/>)",
         R"(    <validationfunc type='C' packagename='l' functionname='two'/>
    <key name="m">
        <bool>
            <value>1</value>
        </bool>
    </key>
)"},
        // Any element type can hold such a key's value.
        {R"(<key name="m" anytype="true"><string undef="true"/></key>)",
         "    <key name=\"m\" anytype=\"true\">\n    </key>\n"},
    };
    ParseFolder folder;
    for (auto const& test : cases) {
        auto const top = folder.parse(fileText(test.body, " version=\"3\""));
        EXPECT_EQ(saved(top, "user"),
                  fileText(test.written ? test.written : test.body, " version=\"3\""));
    }
}

/// What is written for a level must not hide what later levels give.
TEST(Roundtrip, aUserFileWithoutAValueLeavesTheFactoryValue) {
    ParseFolder folder;
    auto const factory = folder.parse(fileText(
        "<key name=\"list\"><int32 minArraySize=\"0\" maxArraySize=\"0\"><value>4</value></int32>"
        "</key><key name=\"one\"><int32><value>4</value></int32></key>"));
    bool merged = false;
    ustring errors;
    auto const product = SettingsImpl::mergeSettingsObject(group("p"), factory, "factory", &merged,
                                                           errors, u"factory");
    ASSERT_EQ(errors, ustring());
    std::string const text = saved(product, "user");
    auto const user = folder.parse(text);
    EXPECT_TRUE(valueAt(user, "list").empty());
    EXPECT_TRUE(valueAt(user, "one").empty());
    auto const again =
        SettingsImpl::mergeSettingsObject(product, user, "user", &merged, errors, u"user");
    EXPECT_EQ(errors, ustring());
    EXPECT_EQ(boost::any_cast<std::vector<int>>(valueAt(again, "list", "")), std::vector<int>{4});
    EXPECT_EQ(saved(again, "user"), text);
}

/// A key whose first value was empty is no reason to lose the file.
TEST(Roundtrip, aKeyThatSettledNoTypeIsReadBack) {
    ParseFolder folder;
    auto const top = group("p");
    for (char const* name : {"bare", "held"})
        key(name, top)->initSetters(boost::any());
    top->getChildImpl("held")->setAnyInternal(ustring(u"x"), "user");
    std::string const text = saved(top, "user");
    auto const back = folder.parse(text);
    EXPECT_TRUE(valueAt(back, "bare").empty());
    EXPECT_EQ(boost::any_cast<ustring>(valueAt(back, "held")), u"x");
    EXPECT_EQ(saved(back, "user"), text);
}

}  // namespace
