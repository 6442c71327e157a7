#include <cmath>
#include <limits>
#include <locale>
#include <thread>

#include <gtest/gtest.h>
#include <settingscore/errors/Exceptions.hpp>
#include <settingscore/persistence/writer/TagWriter.hpp>
#include <settingscore/persistence/writer/ValueWriter.hpp>

#include "roundtrip_support.hpp"

namespace {

using namespace settings::core;
using qbtest::group;
using qbtest::key;
using qbtest::NodePtr;
using qbtest::saved;

RunTimeDefault ownedBy(std::string const& level, RunTimeDefault function) {
    detail::setBelongingLevel(function, level);
    return function;
}

/// The text of a one-key product, from the key's own tag on.
std::string keyText(NodePtr const& top, std::string const& level) {
    std::string const text = saved(top, level);
    std::size_t const first = text.find("    <key");
    std::size_t const last = text.rfind("</settings>");
    return first == std::string::npos ? std::string() : text.substr(first, last - first);
}

TEST(Writer, writesTheWholeFileOfAProduct) {
    auto const plotter = boost::make_shared<SettingsImpl>(
        "plotter", false, boost::optional<bool>(true), boost::optional<unsigned int>(2u),
        boost::logic::tribool(boost::logic::indeterminate), Validator(), NodePtr());
    key("lineWidth", plotter)->setAnyInternal(1.5, "user");
    plotter->setAny("lineWidth", 1.5, "user");
    auto const sizes = key("sizes", plotter);
    sizes->setValueArraySizeValidator(ValueArraySizeValidator(sizes, 0, 1));
    plotter->setAny("sizes", std::vector<int>{8, 10, 12}, "user");
    auto const title =
        boost::make_shared<SettingsImpl>("title", true, boost::optional<bool>(false), Validator(),
                                         boost::logic::tribool(true), NodePtr());
    title->setParentInternal(plotter);
    plotter->setAny("title", ustring(u"a]]>b"), "user");
    auto const axes = group("axes", plotter);
    axes->setValidatorInternal(CValidator("libplotcheck", "checkAxes"));
    auto const grid = key("grid", axes);
    grid->initSetters(true);
    grid->setAnyInternal(true, "user");
    key("legend", axes)->initSetters(ustring());
    auto const limits = key("limits", axes);
    limits->initSetters(std::vector<double>(2));
    limits->setValueArraySizeValidator(ValueArraySizeValidator(limits, 2, 2));
    limits->setRunTimeDefaultInternal(
        ownedBy("user", ZRunTimeDefault("plotter.defaults", "limits")));

    EXPECT_EQ(saved(plotter, "user"),
              R"(<?xml version="1.0" encoding="UTF-8"?>
<settings name="plotter" visible="true" version="2" )" +
                  Settings::settingsSchemaInfo + R"(>
    <key name="lineWidth" visible="true">
        <double>
            <value>1.5</value>
        </double>
    </key>
    <key name="sizes" visible="true">
        <int32 maxArraySize="0">
            <value>8</value>
            <value>10</value>
            <value>12</value>
        </int32>
    </key>
    <key name="title" readonly="true">
        <string>
            <value><![CDATA[a]]]]><![CDATA[>b]]></value>
        </string>
    </key>
    <settings name="axes" visible="true">
        <validationfunc type='C' packagename='libplotcheck' functionname='checkAxes'/>
        <key name="grid" visible="true">
            <bool>
                <value>1</value>
            </bool>
        </key>
        <validationfunc type='C' packagename='libplotcheck' functionname='checkAxes'/>
        <key name="legend" visible="true">
            <string undef="true">
            </string>
        </key>
        <validationfunc type='C' packagename='libplotcheck' functionname='checkAxes'/>
        <key name="limits" visible="true">
            <double minArraySize="2" maxArraySize="2">
                <runtimedefault type='ZENBAR' packagename='plotter.defaults' functionname='limits'/>
            </double>
        </key>
    </settings>
</settings>
)");
    EXPECT_EQ(Settings::settingsSchemaInfo.size(), 155u);
    EXPECT_EQ(Settings::settingsXMLNameSpace.size(), 29u);
}

/// Decimal comma and grouped digits.
class OddNumbers : public std::numpunct<char> {
    char do_decimal_point() const override { return ','; }
    char do_thousands_sep() const override { return '.'; }
    std::string do_grouping() const override { return "\3"; }
};

TEST(Writer, writesEachTypeInItsOwnForm) {
    std::locale const before =
        std::locale::global(std::locale(std::locale::classic(), new OddNumbers));
    struct Case {
        boost::any value;
        char const* tag;
        std::vector<std::string> lines;
    };
    double const infinity = std::numeric_limits<double>::infinity();
    std::vector<Case> const cases = {
        {static_cast<signed char>(-128), "int8", {"-128"}},
        {static_cast<unsigned char>(65), "uint8", {"65"}},
        {static_cast<short>(-32768), "int16", {"-32768"}},
        {static_cast<unsigned short>(65535), "uint16", {"65535"}},
        {-2147483647, "int32", {"-2147483647"}},
        {4294967295u, "uint32", {"4294967295"}},
        {std::numeric_limits<long long>::min(), "int64", {"-9223372036854775808"}},
        {std::numeric_limits<unsigned long long>::max(), "uint64", {"18446744073709551615"}},
        {0.1f, "float", {"0.10000000149"}},
        {1234567.0f, "float", {"1234567"}},
        {-std::numeric_limits<float>::infinity(), "float", {"-inf"}},
        {0.1, "double", {"0.1"}},
        {-0.0, "double", {"-0"}},
        {infinity, "double", {"inf"}},
        {std::nan(""), "double", {"nan"}},
        {true, "bool", {"1"}},
        {false, "bool", {"0"}},
        {ustring(), "string", {"<![CDATA[]]>"}},
        {ustring(u"  a\n<&\u20ac"), "string", {"<![CDATA[  a\n<&\xe2\x82\xac]]>"}},
        {ustring(u"]]>]]>x]]>"),
         "string",
         {"<![CDATA[]]]]><![CDATA[>]]]]><![CDATA[>x]]]]><![CDATA[>]]>"}},
        {std::vector<bool>{true, false, true},
         R"(bool minArraySize="0" maxArraySize="3")",
         {"1", "0", "1"}},
        {std::vector<ustring>{u"a", u""},
         R"(string minArraySize="0" maxArraySize="2")",
         {"<![CDATA[a]]>", "<![CDATA[]]>"}},
        {std::vector<signed char>{7}, R"(int8 minArraySize="0")", {"7"}},
        {std::vector<int>(), R"(int32 minArraySize="0" maxArraySize="0")", {}},
    };
    for (auto const& test : cases) {
        auto const top = group("p");
        auto const node = key("k", top);
        node->initSetters(test.value);
        node->setAnyInternal(test.value, "user");
        std::string const tag = test.tag;
        std::string expected = "    <key name=\"k\" visible=\"true\">\n        <" + tag + ">\n";
        for (auto const& line : test.lines)
            expected += "            <value>" + line + "</value>\n";
        expected += "        </" + tag.substr(0, tag.find(' ')) + ">\n    </key>\n";
        EXPECT_EQ(keyText(top, "user"), expected);
    }
    std::locale::global(before);
}

/// What of a key stands in the file of a level.
TEST(Writer, writesTheContentThatTheLevelHas) {
    struct Case {
        char const* what;
        void (*prepare)(NodePtr const& node);
        char const* level;
        char const* attributes;
        char const* content;
    };
    std::vector<Case> const cases = {
        {"value on another level",
         [](NodePtr const& k) {
             k->initSetters(1);
             k->setAnyInternal(5, "session");
         },
         "user", "", "        <int32>\n        </int32>\n"},
        {"value in force",
         [](NodePtr const& k) {
             k->initSetters(1);
             k->setAnyInternal(5, "session");
             k->setAnyInternal(6, "user");
             k->setValidatorInternal(JValidator("a.B", "c"));
         },
         "", "", "        <int32>\n            <value>5</value>\n        </int32>\n"},
        {"rules where no later level has a value",
         [](NodePtr const& k) {
             k->initSetters(1);
             k->setAnyInternal(6, "session");
             k->setValidatorInternal(JValidator("a.B", "c"));
         },
         "user", "",
         "        <validationfunc type='JAVA' packagename='a.B' functionname='c'/>\n"
         "        <int32>\n        </int32>\n"},
        {"no rules where a later level has a value",
         [](NodePtr const& k) {
             k->initSetters(1);
             k->setAnyInternal(6, "user");
             k->setValidatorInternal(JValidator("a.B", "c"));
         },
         "session", "", "        <int32>\n        </int32>\n"},
        {"no value at all", [](NodePtr const& k) { k->initSetters(0.5); }, "user", "",
         "        <double undef=\"true\">\n        </double>\n"},
        {"any length, value on another level",
         [](NodePtr const& k) {
             k->initSetters(std::vector<int>());
             k->setAnyInternal(std::vector<int>{1}, "session");
         },
         "user", "",
         "        <int32 minArraySize=\"0\" maxArraySize=\"0\" undef=\"true\">\n"
         "        </int32>\n"},
        {"any length, default of another level",
         [](NodePtr const& k) {
             k->initSetters(std::vector<int>());
             k->setRunTimeDefaultInternal(ownedBy("factory", CRunTimeDefault("l", "f")));
         },
         "user", "",
         "        <int32 minArraySize=\"0\" maxArraySize=\"0\" undef=\"true\">\n"
         "        </int32>\n"},
        {"any length, default of this level",
         [](NodePtr const& k) {
             k->initSetters(std::vector<int>());
             k->setRunTimeDefaultInternal(ownedBy("user", CRunTimeDefault("l", "f")));
         },
         "user", "",
         "        <int32 minArraySize=\"0\" maxArraySize=\"0\">\n"
         "            <runtimedefault type='C' packagename='l' functionname='f'/>\n"
         "        </int32>\n"},
        {"scalar, default of another level",
         [](NodePtr const& k) {
             k->initSetters(1);
             k->setRunTimeDefaultInternal(ownedBy("factory", JRunTimeDefault("l", "f")));
         },
         "user", "", "        <int32>\n        </int32>\n"},
        {"default of no level yet, value in force",
         [](NodePtr const& k) {
             k->initSetters(1);
             k->setRunTimeDefaultInternal(JRunTimeDefault("a.B", "f"));
         },
         "", "",
         "        <int32>\n"
         "            <runtimedefault type='JAVA' packagename='a.B' functionname='f'/>\n"
         "        </int32>\n"},
        {"any type with a value",
         [](NodePtr const& k) {
             k->setDataTypeIndexInternal(SettingsImpl::anyTypeIndex);
             k->initSetters(true);
             k->setValueWriterFcnInternal(&writeValues<ZenbarAny>);
             k->setAnyInternal(ustring(u"x"), "user");
         },
         "user", " anytype=\"true\"",
         "        <string>\n            <value><![CDATA[x]]></value>\n        </string>\n"},
        {"any type with an array",
         [](NodePtr const& k) {
             k->setDataTypeIndexInternal(SettingsImpl::anyTypeIndex);
             k->setValueWriterFcnInternal(&writeValues<ZenbarAny>);
             k->setAnyInternal(std::vector<int>{1}, "user");
         },
         "user", " anytype=\"true\"",
         "        <unsupported>\n            <value>1</value>\n        </unsupported>\n"},
        {"any type without value, with a default",
         [](NodePtr const& k) {
             k->setDataTypeIndexInternal(SettingsImpl::anyTypeIndex);
             k->setValueWriterFcnInternal(&writeValues<ZenbarAny>);
             k->setRunTimeDefaultInternal(ownedBy("user", CRunTimeDefault("l", "f")));
         },
         "user", " anytype=\"true\"", ""},
        {"nothing settled", [](NodePtr const&) {}, "user", " anytype=\"true\"", ""},
        {"first value empty", [](NodePtr const& k) { k->initSetters(boost::any()); }, "user",
         " anytype=\"true\"", ""},
        {"first value empty, then one",
         [](NodePtr const& k) {
             k->initSetters(boost::any());
             k->setAnyInternal(2.5, "user");
         },
         "user", " anytype=\"true\"",
         "        <double>\n            <value>2.5</value>\n        </double>\n"},
    };
    for (auto const& test : cases) {
        auto const top = group("p");
        auto const node = key("k", top);
        test.prepare(node);
        EXPECT_EQ(keyText(top, test.level), std::string("    <key name=\"k\" visible=\"true\"") +
                                                test.attributes + ">\n" + test.content +
                                                "    </key>\n")
            << test.what;
    }
}

TEST(Writer, writesTheAncestorsOfABranchAndNothingBesideIt) {
    auto const top = group("p");
    top->setValidatorInternal(ZValidator("z", "top"));
    auto const beside = key("beside", top);
    auto const outer = group("outer", top);
    auto const inner = group("inner", outer);
    key("k", inner)->initSetters(true);
    group("empty", inner)->setValidatorInternal(CValidator("l", "lost"));
    std::string const head =
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
        "<settings name=\"p\" visible=\"true\" " +
        Settings::settingsSchemaInfo + ">\n";
    std::string const line = "<validationfunc type='ZENBAR' packagename='z' functionname='top'/>\n";
    // The line of the topmost group comes again before each node below it.
    std::string const branch = head + "    " + line +
                               "    <settings name=\"outer\" visible=\"true\">\n"
                               "    " +
                               line +
                               "        <settings name=\"inner\" visible=\"true\">\n"
                               "    " +
                               line +
                               "            <key name=\"k\" visible=\"true\">\n"
                               "                <bool undef=\"true\">\n"
                               "                </bool>\n"
                               "            </key>\n"
                               "    " +
                               line +
                               "            <settings name=\"empty\" visible=\"true\">\n"
                               "            </settings>\n"
                               "        </settings>\n"
                               "    </settings>\n"
                               "</settings>\n";
    EXPECT_EQ(saved(outer, "user"), branch);
    // A walk that starts at the inner group opens the outer one on its way, once.
    std::string const outerTag = "<settings name=\"outer\" visible=\"true\">\n";
    std::string fromInner = branch;
    fromInner.erase(fromInner.find(outerTag) + outerTag.size(), 4 + line.size());
    EXPECT_EQ(saved(inner, "user"), fromInner);
    EXPECT_EQ(saved(top, "user"),
              head + "    " + line +
                  "    <key name=\"beside\" visible=\"true\" anytype=\"true\">\n"
                  "    </key>\n" +
                  branch.substr(head.size()));
    EXPECT_EQ(
        saved(group("bare"), "user"),
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<settings name=\"bare\" visible=\"true\" " +
            Settings::settingsSchemaInfo + ">\n</settings>\n");
}

TEST(Writer, exportWalkWritesNoGroupValidators) {
    auto const top = group("p");
    top->setValidatorInternal(ZValidator("z", "top"));
    auto const inner = group("inner", top);
    auto const node = key("k", inner);
    node->initSetters(1);
    node->setValidatorInternal(CValidator("l", "own"));
    key("a", top)->initSetters(1);
    std::ostringstream stream;
    boost::shared_lock<boost::shared_mutex> const lock(SettingsImpl::mutexToRoot());
    top->saveAll(lock, stream, 1, "user");
    EXPECT_EQ(stream.str(),
              "    <settings name=\"p\" visible=\"true\">\n"
              "        <key name=\"a\" visible=\"true\">\n"
              "            <int32 undef=\"true\">\n"
              "            </int32>\n"
              "        </key>\n"
              "        <settings name=\"inner\" visible=\"true\">\n"
              "            <key name=\"k\" visible=\"true\">\n"
              "                <validationfunc type='C' packagename='l' functionname='own'/>\n"
              "                <int32 undef=\"true\">\n"
              "                </int32>\n"
              "            </key>\n"
              "        </settings>\n"
              "    </settings>\n");
}

TEST(Writer, refusesAnUnknownLevelAndWritesNothing) {
    std::ostringstream stream;
    boost::shared_lock<boost::shared_mutex> const lock(SettingsImpl::mutexToRoot());
    SaveSettingsFunctor const save(lock);
    EXPECT_THROW(save(group("p"), stream, "User"), exception::UnSupportedLevel);
    EXPECT_EQ(stream.str(), "");
}

TEST(Writer, walksOverOneTreeDoNotDisturbEachOther) {
    auto const top = group("p");
    std::vector<NodePtr> groups;
    for (int i = 0; i < 20; ++i) {
        groups.push_back(group("g" + std::to_string(i), top));
        for (int k = 0; k < 5; ++k) {
            auto const node = key("k" + std::to_string(k), groups.back());
            node->initSetters(k);
            node->setAnyInternal(k, "user");
        }
    }
    std::string const whole = saved(top, "user");
    std::string const part = saved(groups[3], "user");
    std::atomic<int> damaged{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([&, t] {
            for (int i = 0; i < 100; ++i) {
                bool const good =
                    t % 2 ? saved(top, "user") == whole : saved(groups[3], "user") == part;
                if (!good) ++damaged;
            }
        });
    }
    for (auto& thread : threads)
        thread.join();
    EXPECT_EQ(damaged, 0);
}

}  // namespace
