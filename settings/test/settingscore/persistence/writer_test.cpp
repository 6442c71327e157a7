#include <atomic>
#include <cmath>
#include <limits>
#include <random>
#include <regex>

#include <settingscore/persistence/writer/ValueWriter.hpp>
#include <settingscore/value/AnyBridge.hpp>
#include <support/CommaLocale.hpp>

#include "roundtrip_support.hpp"

using namespace settings::core;
using namespace qbtest;

namespace {

/// The key of a one-key product as it is written, without line ends and indentation.
std::string keyText(NodePtr const& top, std::string const& level) {
    std::string const text = std::regex_replace(saved(top, level), std::regex("\n *"), "");
    std::size_t const first = text.find("<key");
    return text.substr(first, text.rfind("</settings>") - first);
}

/// A file that is read and written again is the same, or what it is said to become.
TEST(Writer, TextsComeBack) {
    ParseFolder folder;
    for (auto const& [body, written] : std::vector<std::pair<std::string, std::string>>{
             {R"(    <key name="any" anytype="true">
    </key>
    <key name="anyvalue" anytype="true">
        <uint8>
            <value>9</value>
        </uint8>
    </key>
    <key name="own" visible="true">
        <validationfunc type='ZENBAR' packagename='p.q' functionname='f'/>
        <int32 minArraySize="0" maxArraySize="0">
        </int32>
    </key>
    <key name="pair">
        <float minArraySize="2" maxArraySize="2">
            <value>0.5</value>
            <value>-inf</value>
        </float>
    </key>
    <key name="ro" readonly="true">
        <string undef="true">
        </string>
    </key>
    <key name="title">
        <string>
            <value><![CDATA[a]]]]><![CDATA[>b]]></value>
        </string>
    </key>
    <settings name="g" readonly="true">
        <validationfunc type='JAVA' packagename='a.B' functionname='c'/>
        <key name="x">
            <bool>
                <value>1</value>
            </bool>
        </key>
        <validationfunc type='JAVA' packagename='a.B' functionname='c'/>
        <settings name="h" visible="true" readonly="true">
        </settings>
    </settings>
)",
              ""},
             // What only a definition has is not written.
             {"<key name=\"m\"><int8><metadata><min>0</min></metadata></int8></key>",
              R"(    <key name="m">
        <int8 undef="true">
        </int8>
    </key>
)"},
             // Of several validators the last counts, and it is written before each child.
             {R"(<validationfunc type="C" packagename="l" functionname="one"/>
<key name="m" anytype="true"><string undef="true"/></key>
<validationfunc type="C" packagename="l" functionname="two"/>)",
              R"(    <validationfunc type='C' packagename='l' functionname='two'/>
    <key name="m" anytype="true">
    </key>
)"},
         }) {
        auto const top = folder.parse(fileText(body, "version=\"3\""));
        EXPECT_EQ(saved(top, "user"), fileText(written.empty() ? body : written, "version=\"3\""));
    }
    EXPECT_EQ(fileText("").substr(0, 38), "<?xml version=\"1.0\" encoding=\"UTF-8\"?>");
    EXPECT_EQ(Settings::settingsSchemaInfo.size(), 155u);
}

/// Equal to the last bit, so that a NaN is itself and the zeros differ.
bool same(boost::any const& a, boost::any const& b) {
    auto const* x = boost::any_cast<double>(&a);
    auto const* y = boost::any_cast<double>(&b);
    if (!x || !y) return settingscore::boostany::isEqual(a, b);
    return std::signbit(*x) == std::signbit(*y) && (std::isnan(*x) ? std::isnan(*y) : *x == *y);
}

TEST(Writer, EachTypeHasItsOwnFormAndReadsBackAsItWas) {
    CommaLocale const comma;
    ParseFolder folder;
    struct Case {
        boost::any value;
        std::string tag;
        Texts texts;
    };
    for (Case const& c : std::vector<Case>{
             {static_cast<signed char>(-128), "int8", {"-128"}},
             {static_cast<unsigned char>(255), "uint8", {"255"}},
             {-2147483647, "int32", {"-2147483647"}},
             {std::numeric_limits<long long>::min(), "int64", {"-9223372036854775808"}},
             {std::numeric_limits<unsigned long long>::max(), "uint64", {"18446744073709551615"}},
             {0.1f, "float", {"0.10000000149"}},
             {0.1, "double", {"0.1"}},
             {-0.0, "double", {"-0"}},
             {5e-324, "double", {"5e-324"}},
             {-std::numeric_limits<double>::infinity(), "double", {"-inf"}},
             {false, "bool", {"0"}},
             {ustring(), "string", {"<![CDATA[]]>"}},
             {ustring(u"  a<&\u20ac\U0001f600"), "string", {"<![CDATA[  a<&\u20ac\U0001f600]]>"}},
             {ustring(u"]]>]]>x]]>"),
              "string",
              {"<![CDATA[]]]]><![CDATA[>]]]]><![CDATA[>x]]]]><![CDATA[>]]>"}},
             {std::vector<bool>{true, false},
              "bool minArraySize=\"0\" maxArraySize=\"2\"",
              {"1", "0"}},
             {std::vector<signed char>{7}, "int8 minArraySize=\"0\"", {"7"}},
             {std::vector<int>(), "int32 minArraySize=\"0\" maxArraySize=\"0\"", {}},
         }) {
        auto const top = makeGroup("p");
        makeKey("k", c.value, top);
        std::string expected = "<key name=\"k\" visible=\"true\"><" + c.tag + ">";
        for (auto const& text : c.texts)
            expected += valueXml(text);
        expected += "</" + c.tag.substr(0, c.tag.find(' ')) + "></key>";
        EXPECT_EQ(keyText(top, "user"), expected);
        if (c.tag == "int8 minArraySize=\"0\"") continue;  // Read as a scalar.
        EXPECT_TRUE(same(valueAt(folder.parse(saved(top, "user")), "k"), c.value)) << expected;
    }
    std::mt19937_64 random(7);
    std::vector<double> doubles;
    for (int i = 0; i < 1000; ++i)
        doubles.push_back(std::ldexp(double(random() >> 11), int(random() % 900) - 500));
    auto const top = makeGroup("p");
    makeKey("doubles", doubles, top);
    makeKey("texts", std::vector<ustring>{u"", u" line\n  and\ttab", u"<![CDATA[x]]>&amp;"}, top);
    std::string const text = saved(top, "user");
    EXPECT_EQ(saved(folder.parse(text), "user"), text);
    EXPECT_TRUE(same(valueAt(folder.parse(text), "doubles"), doubles));
}

/// What of a key stands in the file of a level.
TEST(Writer, WritesTheContentThatTheLevelHas) {
    std::string const rule = "<validationfunc type='JAVA' packagename='a.B' functionname='c'/>";
    std::string const function = "<runtimedefault type='C' packagename='l' functionname='f'/>";
    std::string const undefined =
        "<int32 minArraySize=\"0\" maxArraySize=\"0\" undef=\"true\"></int32>";
    boost::any const none;
    boost::any const list = std::vector<int>();
    boost::any const one = std::vector<int>{1};
    struct Case {
        boost::any first;
        boost::any session;
        boost::any user;
        char const* owner;  ///< Level of the runtime default; "" for no level, "-" for no default.
        char const* level;
        std::string content;
    };
    for (Case const& c : std::vector<Case>{
             // Rules stand where no later level has a value.
             {1, 5, none, "-", "user", rule + "<int32></int32>"},
             {1, none, 5, "-", "session", "<int32></int32>"},
             {1, 5, 6, "-", "", "<int32><value>5</value></int32>"},
             {0.5, none, none, "-", "user", rule + "<double undef=\"true\"></double>"},
             {list, one, none, "-", "user", rule + undefined},
             {list, none, none, "factory", "user", rule + undefined},
             {list, none, none, "user", "user",
              rule + "<int32 minArraySize=\"0\" maxArraySize=\"0\">" + function + "</int32>"},
             {1, none, none, "factory", "user", rule + "<int32></int32>"},
             {1, none, none, "", "", "<int32>" + function + "</int32>"},
             // Of any type.
             {none, none, none, "-", "user", rule},
             {none, none, none, "user", "user", rule},
             {none, none, 2.5, "-", "user", rule + "<double><value>2.5</value></double>"},
             {none, none, one, "-", "user", rule + "<unsupported><value>1</value></unsupported>"},
         }) {
        auto const top = makeGroup("p");
        auto const key = makeKey("k", top);
        if (c.first.empty()) {
            key->setDataTypeIndexInternal(SettingsImpl::anyTypeIndex);
            key->setValueWriterFcnInternal(&writeValues<ZenbarAny>);
        } else {
            key->initSetters(c.first);
        }
        key->setValidatorInternal(JValidator("a.B", "c"));
        if (!c.session.empty()) key->setAnyInternal(c.session, "session");
        if (!c.user.empty()) key->setAnyInternal(c.user, "user");
        RunTimeDefault byDefault = CRunTimeDefault("l", "f");
        detail::setBelongingLevel(byDefault, c.owner);
        if (c.owner != std::string("-")) key->setRunTimeDefaultInternal(byDefault);
        EXPECT_EQ(keyText(top, c.level), std::string("<key name=\"k\" visible=\"true\"") +
                                             (c.first.empty() ? " anytype=\"true\">" : ">") +
                                             c.content + "</key>");
    }
    std::ostringstream stream;
    boost::shared_lock<boost::shared_mutex> const lock(SettingsImpl::mutexToRoot());
    EXPECT_THROW(SaveSettingsFunctor{lock}(makeGroup("p"), stream, "User"),
                 exception::UnSupportedLevel);
    EXPECT_EQ(stream.str(), "");
}

TEST(Writer, WritesTheAncestorsOfABranchAndNothingBesideIt) {
    auto const top = makeGroup("p");
    top->setValidatorInternal(ZValidator("z", "top"));
    makeKey("beside", top);
    auto const outer = makeGroup("outer", top);
    auto const inner = makeGroup("inner", outer);
    makeKey("k", inner)->initSetters(true);
    inner->getChildImpl("k")->setValidatorInternal(CValidator("l", "own"));
    makeGroup("empty", inner)->setValidatorInternal(CValidator("l", "lost"));
    // The line of the topmost group comes again before each node below it.
    std::string const line =
        "    <validationfunc type='ZENBAR' packagename='z' functionname='top'/>\n";
    std::string const outerTag = "    <settings name=\"outer\" visible=\"true\">\n";
    std::string const innerLines = R"(        <settings name="inner" visible="true">
)" + line + R"(            <key name="k" visible="true">
                <validationfunc type='C' packagename='l' functionname='own'/>
                <bool undef="true">
                </bool>
            </key>
)" + line + R"(            <settings name="empty" visible="true">
            </settings>
        </settings>
    </settings>
)";
    auto const file = [](std::string const& lines) { return fileText(lines, "visible=\"true\""); };
    EXPECT_EQ(saved(outer, "user"), file(line + outerTag + line + innerLines));
    // A walk that starts at the inner group opens the outer one on its way, once.
    EXPECT_EQ(saved(inner, "user"), file(line + outerTag + innerLines));
    EXPECT_EQ(
        saved(top, "user"),
        file(line + "    <key name=\"beside\" visible=\"true\" anytype=\"true\">\n    </key>\n" +
             line + outerTag + line + innerLines));
    // An export writes no group's validators.
    std::string plain = outerTag + innerLines;
    for (std::size_t at; (at = plain.find(line)) != std::string::npos;)
        plain.erase(at, line.size());
    std::ostringstream stream;
    boost::shared_lock<boost::shared_mutex> const lock(SettingsImpl::mutexToRoot());
    outer->saveAll(lock, stream, 1, "user");
    EXPECT_EQ(stream.str(), plain);
}

/// What is written for a level must not hide what later levels give.
TEST(Writer, AUserFileWithoutAValueLeavesTheFactoryValue) {
    ParseFolder folder;
    auto const factory = folder.parse(
        fileText(keyXml("list", "int32", valueXml("4"), " minArraySize=\"0\" maxArraySize=\"0\"") +
                 intKey("one", "4")));
    bool merged = false;
    ustring errors;
    auto const merge = [&](NodePtr const& target, NodePtr const& src, char const* level) {
        return SettingsImpl::mergeSettingsObject(target, src, level, &merged, errors, u"f");
    };
    auto const product = merge(makeGroup("p"), factory, "factory");
    std::string const text = saved(product, "user");
    auto const user = folder.parse(text);
    EXPECT_TRUE(valueAt(user, "list").empty());
    EXPECT_TRUE(valueAt(user, "one").empty());
    auto const again = merge(product, user, "user");
    EXPECT_EQ(errors, ustring());
    EXPECT_EQ(valueOf<std::vector<int>>(again, "list"), std::vector<int>{4});
    EXPECT_EQ(saved(again, "user"), text);
}

TEST(Writer, WalksOverOneTreeDoNotDisturbEachOther) {
    auto const top = makeGroup("p");
    for (int i = 0; i < 100; ++i)
        makeKey("k", i, makeGroup("g" + std::to_string(i), top));
    NodePtr const branch = top->getChildImpl("g3");
    std::string const whole = saved(top, "user");
    std::string const part = saved(branch, "user");
    concurrently(4, [&](int thread) {
        for (int i = 0; i < 100; ++i)
            EXPECT_TRUE(thread % 2 ? saved(top, "user") == whole : saved(branch, "user") == part);
    });
}

}  // namespace
