#include <cmath>
#include <limits>
#include <random>
#include <regex>

#include <gmock/gmock.h>
#include <settingscore/persistence/DurableSaving.hpp>
#include <settingscore/roots/SettingsContext.hpp>
#include <settingscore/tree/NodeBuilder.hpp>
#include <support/CommaLocale.hpp>

#include <support/RoundTrip.hpp>

using namespace qbtest;

namespace {

/// A text without line ends and indentation.
std::string flat(std::string const& text) {
    return std::regex_replace(text, std::regex("\n *"), "");
}

/// A file that is read and written again is the same, or what it is said to become.
TEST(Writer, TextsComeBack) {
    ParseFolder folder;
    CommaLocale const comma;
    for (auto const& [body, written] : std::vector<std::pair<std::string, std::string>>{
             {R"(<key name="any" anytype="true"></key>
<key name="anyvalue" anytype="true"><uint8><value>9</value></uint8></key>
<key name="bits"><bool maxArraySize="2"><value>1</value><value>0</value></bool></key>
<key name="byte"><int8><value>-128</value></int8></key>
<key name="own" visible="true">
    <validationfunc type='ZENBAR' packagename='p.q' functionname='f'/>
    <int32 minArraySize="0" maxArraySize="0"></int32>
</key>
<key name="pair">
    <float minArraySize="2" maxArraySize="2"><value>0.10000000149</value><value>-inf</value></float>
</key>
<key name="ro" readonly="true"><string undef="true"></string></key>
<key name="title"><string><value><![CDATA[ <&€]]]]><![CDATA[>b]]></value></string></key>
<key name="wide"><double><value>-1234567.1</value></double></key>
<settings name="g" readonly="true">
    <validationfunc type='JAVA' packagename='a.B' functionname='c'/>
    <key name="x"><bool><value>1</value></bool></key>
    <validationfunc type='JAVA' packagename='a.B' functionname='c'/>
    <settings name="h" visible="true" readonly="true"></settings>
</settings>
)",
              ""},
             // What only a definition has is not written.
             {"<key name=\"m\"><int8><metadata><min>0</min></metadata></int8></key>",
              "<key name=\"m\"><int8 undef=\"true\"></int8></key>"},
             // Of several validators the last counts, and it is written before each child.
             {R"(<validationfunc type="C" packagename="l" functionname="one"/>
<key name="m" anytype="true"><string undef="true"/></key>
<validationfunc type="C" packagename="l" functionname="two"/>)",
              R"(<validationfunc type='C' packagename='l' functionname='two'/>
<key name="m" anytype="true"></key>)"},
         }) {
        auto const top = folder.parse(fileText(body, "version=\"3\""));
        std::string const& expected = written.empty() ? body : written;
        EXPECT_EQ(flat(saved(top, "user")), flat(fileText(expected, "version=\"3\"")));
    }
}

// --- At full scale --------------------------------------------------------------------------

/// Values of a type that lose something where a bit, a character or the locale is taken lightly.
template <class T>
std::vector<T> hardValues() {
    using Limits = std::numeric_limits<T>;
    if constexpr (std::is_same_v<T, ustring>) {
        return {u"", u" \n\t ", u"<![CDATA[x]]>&amp;]]>", u"1,5\u0085\uFFFD\U0001FFFE",
                ustring(500, u'\u20ac')};
    } else if constexpr (std::is_floating_point_v<T>) {
        T const inf = Limits::infinity();
        T const nan = Limits::quiet_NaN();
        std::vector<T> values{
            Limits::max(), Limits::lowest(), Limits::min(), Limits::denorm_min(), inf, -inf, nan,
            -nan,          T(-0.0),          T(0.1),        T(1234567.891)};
        std::mt19937_64 random(7);
        for (int i = 0; i < 100; ++i)
            values.push_back(std::ldexp(T(random()), int(random() % 160) - 120));
        return values;
    } else {
        return {Limits::min(), Limits::max(), T(Limits::max() / 3), T(1)};
    }
}

struct Key {
    std::string product;
    std::string name;
    std::string definition;
    any value;
};

/// More than 500 keys: one value of each type, an array, and one of a key of any type, in turn. In
/// the second round a fifth of them has another value and a fifth has none.
std::vector<Key> allKeys(int round) {
    std::vector<Key> keys;
    auto const add = [&](auto values, std::size_t row, int kind) {
        using T = typename decltype(values)::value_type;
        std::size_t const number = keys.size();
        std::size_t const part = round == 1 ? 2 : number % 5;
        auto const first = std::ptrdiff_t((9 * row + (part == 0)) % values.size());
        std::rotate(values.begin(), values.begin() + first, values.end());
        boost::any value = T(values[0]);
        values.resize(row % (values.size() + 1));
        if (kind == 1) value = values;
        if (part == 1) value = boost::any();
        std::string const name = "k" + std::to_string(number);
        std::string const sizes = kind == 1 ? " minArraySize=\"0\" maxArraySize=\"0\"" : "";
        char const* const type = settingscore::boostany::ValueTraits<T>::name;
        keys.push_back({"p" + std::to_string(number % 40), name,
                        kind == 2 ? "<key name=\"" + name + "\" anytype=\"true\"/>\n"
                                  : keyXml(name, type, "", sizes + " undef=\"true\""),
                        value});
    };
    for (std::size_t row = 0; row < 14; ++row) {
        settingscore::boostany::forEachElementType([&](auto tag) {
            for (int kind = 0; kind < 3; ++kind)
                add(hardValues<typename decltype(tag)::Type>(), row, kind);
        });
    }
    return keys;
}

using SavedKeys = ProductWorld;

/// The test is the other process as well: that reads what this one wrote, and saves durably.
TEST_F(SavedKeys, ComeBackInAnotherProcessToTheLastBit) {
    auto const set = [](int round) {
        turnOffSettingsSaving();
        for (Key const& key : allKeys(round)) {
            auto const group = product(key.product);
            key.value.empty() ? group->unset(key.name, "user")
                              : group->setAny(key.name, key.value, "user");
        }
        turnOnSettingsSaving();
        for (auto const& top : root()->getChildren())
            nodeAt(top->getName())->updateSettingsFile("user");
    };
    auto const expect = [](int round) {
        for (Key const& key : allKeys(round))
            EXPECT_EQ(shown(product(key.product)->getAny(key.name, "user")), shown(key.value))
                << key.definition;
    };
    std::optional<CommaLocale> comma;
    if (std::getenv("QBTEST_COMMA")) comma.emplace();
    if (char const* const world = std::getenv("QBTEST_WORLD")) {
        ustring const at = toUString(world);
        SettingsContext::setSettingsDirectories(BlessedZcrID, at + u"/toolbox", {}, at + u"/user");
        expect(1);
        turnOnDurableSaving();
        set(2);
        turnOffDurableSaving();
        return;
    }
    for (Key const& key : allKeys(1))
        factoryFile(key.product, key.name + ".settings", key.definition);
    std::string const other = "'" + std::filesystem::read_symlink("/proc/self/exe").string() +
                              "' --gtest_filter='*ComeBackInAnotherProcess*'";
    environment().set("QBTEST_WORLD", folder().string());
    environment().set("QBTEST_COMMA", "in the other process");
    for (int run = 0; run < 2; ++run) {
        std::filesystem::remove_all(userDir());
        resetInstances();
        set(1);
        ASSERT_EQ(std::system(other.c_str()), 0);
        resetInstances();
        expect(2);
        // And the other way round.
        environment().unset("QBTEST_COMMA");
        comma.emplace();
    }
}

/// What of a key stands in the file of a level.
TEST(Writer, WritesTheContentThatTheLevelHas) {
    std::string const rule = "<validationfunc type='JAVA' packagename='a.B' functionname='c'/>";
    std::string const function = "<runtimedefault type='C' packagename='l' functionname='f'/>";
    std::string const undefined =
        "<int32 minArraySize=\"0\" maxArraySize=\"0\" undef=\"true\"></int32>";
    any const none;
    any const list = Ints();
    struct Case {
        any first, session, user;
        char const* owner;  ///< Level of the runtime default; "" for no level, "-" for no default.
        char const* level;
        std::string content;
    };
    for (Case const& c : std::vector<Case>{
             // Rules stand where no later level has a value.
             {1, 5, none, "-", "user", rule + "<int32></int32>"},
             {1, 5, 6, "-", "", "<int32><value>5</value></int32>"},
             {list, none, none, "factory", "user", rule + undefined},
             {list, none, none, "user", "user",
              rule + "<int32 minArraySize=\"0\" maxArraySize=\"0\">" + function + "</int32>"},
             {1, none, none, "", "", "<int32>" + function + "</int32>"},
         }) {
        auto const top = makeGroup("p");
        auto const key = makeKey("k", top);
        key->initSetters(c.first);
        detail::NodeBuilder(*key).setValidator(JValidator("a.B", "c"));
        if (!c.session.empty()) key->setAnyInternal(c.session, "session");
        if (!c.user.empty()) key->setAnyInternal(c.user, "user");
        RunTimeDefault byDefault = CRunTimeDefault("l", "f");
        detail::setBelongingLevel(byDefault, c.owner);
        if (c.owner != std::string("-")) detail::NodeBuilder(*key).setRunTimeDefault(byDefault);
        std::string const text = flat(saved(top, c.level));
        EXPECT_NE(text.find("<key name=\"k\" visible=\"true\">" + c.content + "</key>"),
                  std::string::npos)
            << text;
    }
    auto const top = makeGroup("p");
    auto const key = makeKey("k", 1, top);
    for (auto const& [value, kind] : std::vector<std::pair<RunTimeDefault, std::string>>{
             {ZRunTimeDefault("l", "f"), "ZENBAR"}, {JRunTimeDefault("l", "f"), "JAVA"}}) {
        detail::NodeBuilder(*key).setRunTimeDefault(value);
        EXPECT_THAT(saved(top, ""), testing::HasSubstr("<runtimedefault type='" + kind + "'"));
    }
}

TEST(Writer, WalksOverOneTreeDoNotDisturbEachOther) {
    auto const top = makeGroup("p");
    for (int i = 0; i < 100; ++i)
        makeKey("k", i, makeGroup("g" + std::to_string(i), top));
    NodePtr const branch = top->getChildImpl("g3");
    std::string const whole = saved(top, "user");
    std::string const part = saved(branch, "user");
    // A branch has its ancestors around it and nothing beside it.
    EXPECT_EQ(flat(part), flat(settingsXml("p", groupXml("g3", intKey("k", "3")))));
    concurrently(4, [&](int thread) {
        for (int i = 0; i < 100; ++i)
            EXPECT_TRUE(thread % 2 ? saved(top, "user") == whole : saved(branch, "user") == part);
    });
}

}  // namespace
