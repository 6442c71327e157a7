#include <array>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <settingscore/typed/Key.hpp>
#include <support/ProductWorld.hpp>

namespace key_test {

using namespace qbtest;
using namespace settingscore::typed;

enum class Paper { a4, a3, roll };
constexpr auto settingChoices(Paper) {
    return std::array<Choice<Paper>, 2>{{{Paper::a4, "A4"}, {Paper::a3, "Größe \"A3\""}}};
}
enum class Speed : unsigned char { slow = 1, fast = 2 };
constexpr auto settingChoices(Speed) {
    return std::array<Choice<Speed, int>, 2>{{{Speed::slow, 1200}, {Speed::fast, 9600}}};
}

/// One key of each type, each of two elements, and what tests of rules need.
class Keys : public ProductWorld {
protected:
    Keys() {
        installPlot();
        std::string body;
        for (char const* type : {"string", "bool", "int8", "uint8", "int16", "uint16", "int32",
                                 "uint32", "int64", "uint64", "float", "double"}) {
            body += keyXml(type, type, valueXml("1"));
            body += keyXml(std::string(type) + "s", type, valueXml("1") + valueXml("0"),
                           " maxArraySize=\"0\"");
        }
        body += keyXml("paper", "string", valueXml("A4"));
        body += keyXml("speed", "int32", valueXml("1200"));
        body += "<key name=\"open\" visible=\"true\" anytype=\"true\"/>\n";
        factoryFile("all", "all.settings", body);
    }

    template <class T>
    void expectRoundTrip(std::string const& name, T const& before, T const& after) {
        SCOPED_TRACE(name);
        Key<T> const key("all." + name);
        EXPECT_EQ(key.get(), before);
        key.set(after);
        EXPECT_EQ(key.get(), after);
        EXPECT_EQ(key.getAt(Level::user), after);
        EXPECT_EQ(key.getAt(Level::factory), before);
        resetInstances();
        EXPECT_EQ(key.get(), after);
    }
    /// The sentence of the exception that is thrown.
    template <class Error>
    static std::string refusal(std::function<void()> const& work) {
        std::string text = "nothing";
        expectThrow<Error>(work, [&](Error const& error) { text = error.what(); });
        return text;
    }
};

TEST_F(Keys, EveryTypeIsReadSetSavedAndReadAgain) {
    expectRoundTrip<std::string>("string", "1", "päper\U0001F4DC");
    expectRoundTrip<bool>("bool", true, false);
    expectRoundTrip<std::int8_t>("int8", 1, -128);
    expectRoundTrip<std::uint8_t>("uint8", 1, 255);
    expectRoundTrip<std::int16_t>("int16", 1, -32768);
    expectRoundTrip<std::uint16_t>("uint16", 1, 65535);
    expectRoundTrip<std::int32_t>("int32", 1, INT32_MIN);
    expectRoundTrip<std::uint32_t>("uint32", 1, UINT32_MAX);
    expectRoundTrip<std::int64_t>("int64", 1, INT64_MIN);
    expectRoundTrip<std::uint64_t>("uint64", 1, UINT64_MAX);
    expectRoundTrip<float>("float", 1, 0.1f);
    expectRoundTrip<double>("double", 1, 0.1);
    expectRoundTrip<std::vector<std::string>>("strings", {"1", "0"}, {"ä", "", "c"});
    expectRoundTrip<std::vector<bool>>("bools", {true, false}, {false, true, true});
    expectRoundTrip<std::vector<std::int64_t>>("int64s", {1, 0}, {INT64_MIN, 7});
    expectRoundTrip<std::vector<std::uint8_t>>("uint8s", {1, 0}, {255, 7});
    expectRoundTrip<std::vector<double>>("doubles", {1, 0}, {0.5, 1e300});
    EXPECT_EQ(Key<long long>("all.int64").get(), INT64_MIN);
    expectRoundTrip<Paper>("paper", Paper::a4, Paper::a3);
    expectRoundTrip<Speed>("speed", Speed::slow, Speed::fast);
    EXPECT_EQ(shownAt("all.speed"), "9600");
}

TEST_F(Keys, AWrongTypeIsToldAtTheFirstUseWithBoth) {
    EXPECT_EQ(refusal<WrongType>([] { Key<int>("all.double").get(); }),
              "all.double: the key is of type double and was used as one of type int32.");
    EXPECT_EQ(
        refusal<WrongType>([] { Key<double>("all.doubles").set(1); }),
        "all.doubles: the key is of type array of double and was used as one of type double.");
    EXPECT_EQ(refusal<WrongType>([] { Key<std::vector<bool>>("all.bool").reset(); }),
              "all.bool: the key is of type bool and was used as one of type array of bool.");
    // Also where there is no value to be of a type.
    expectThrow<WrongType>([] { Key<std::optional<double>>("plot.title").isSet(); },
                           [](WrongType const& e) {
                               EXPECT_EQ(e.getKeyName(), "plot.title");
                               EXPECT_EQ(e.getKeyType(), "string");
                               EXPECT_EQ(e.getAskedType(), "double");
                           });
    // A key of any type is of that of its value, which can change.
    Key<int> const open("all.open");
    EXPECT_FALSE(open.isSet());
    open.set(7);
    EXPECT_EQ(open.get(), 7);
    root()->getChild("all")->setAny("open", ustring(u"seven"), "user");
    EXPECT_EQ(refusal<WrongType>([&] { open.get(); }),
              "all.open: the key is of type string and was used as one of type int32.");
}

TEST_F(Keys, WithoutAValueAnOptionalIsEmptyAndOthersThrow) {
    EXPECT_EQ(refusal<NoValue>([] { Key<std::string>("plot.title").get(); }),
              "plot.title: the key has no value.");
    Key<std::optional<std::string>> const title("plot.title");
    EXPECT_EQ(title.get(), std::nullopt);
    EXPECT_FALSE(title.isSet());
    title.set("");
    EXPECT_EQ(title.get(), "");
    EXPECT_TRUE(title.isSet(Level::user));
    EXPECT_EQ(title.getAt(Level::session), std::nullopt);
    title.reset();
    title.reset();  // There is nothing any more.
    EXPECT_FALSE(title.isSet());
}

TEST_F(Keys, LevelsAndRulesAreThoseOfTheTree) {
    Key<int> const width("plot.width");
    width.set(6);
    width.set(7, Level::session);
    EXPECT_EQ(width.get(), 7);
    width.reset(Level::session);
    EXPECT_EQ(width.get(), 6);
    EXPECT_THROW(width.set(11), exception::ValueIsNotInRange);
    EXPECT_THROW(width.set(5, Level::factory), exception::CantModifyValuesOnReadOnlyLevel);
    EXPECT_THROW(width.reset(Level::factory), exception::CantModifyValuesOnReadOnlyLevel);
    EXPECT_EQ(width.get(), 6);
    width.reset();
    EXPECT_TRUE(width.isSet());
    EXPECT_FALSE(width.isSet(Level::user));
    EXPECT_TRUE(width.isSet(Level::factory));
}

TEST_F(Keys, ANumberThatDoesNotFitIsRefusedWhole) {
    EXPECT_EQ(refusal<DoesNotFit>([] { Key<std::uint8_t>("all.uint8").set(256); }),
              "all.uint8: 256 does not fit into the type uint8.");
    EXPECT_EQ(refusal<DoesNotFit>([] { Key<std::uint64_t>("all.uint64").set(-1); }),
              "all.uint64: -1 does not fit into the type uint64.");
    EXPECT_EQ(refusal<DoesNotFit>([] { Key<int>("all.int32").set(2147483648U); }),
              "all.int32: 2147483648 does not fit into the type int32.");
    EXPECT_THROW(Key<std::int8_t>("all.int8").set(-129), DoesNotFit);
    Key<std::int8_t>("all.int8").set(-128);
    Key<std::uint8_t>("all.uint8").set(255L);
    Key<double>("all.double").set(7);
    EXPECT_EQ(shownAt("all.double"), "double 7");
}

TEST_F(Keys, AnEnumKnowsItsTableAlone) {
    root()->getChild("all")->setAny("paper", ustring(u"a4"), "user");
    EXPECT_EQ(refusal<NotInTable>([] { Key<Paper>("all.paper").get(); }),
              "all.paper: 'a4' is not in the table of its choices.");
    EXPECT_EQ(refusal<NotInTable>([] { Key<Paper>("all.paper").set(Paper::roll); }),
              "all.paper: '2' is not in the table of its choices.");
    Key<std::vector<Paper>> const papers("all.strings");
    papers.set({Paper::a3, Paper::a4});
    EXPECT_EQ(papers.get(), (std::vector<Paper>{Paper::a3, Paper::a4}));
}

TEST_F(Keys, WhatIsMissingIsSaid) {
    EXPECT_EQ(refusal<MissingKey>([] { Key<int>("plot.wdith").get(); }),
              "plot.wdith: there is no such key.");
    EXPECT_EQ(refusal<MissingKey>([] { Key<int>("plot.axis.grid").set(1); }),
              "plot.axis.grid: there is no such key.");
    EXPECT_EQ(refusal<MissingKey>([] { Key<int>("plot.axes").get(); }),
              "plot.axes: this is a group and not a key.");
    EXPECT_EQ(refusal<MissingKey>([] { Key<int>("plot").get(); }),
              "plot: a key stands below a product.");
    EXPECT_EQ(refusal<MissingKey>([] { Key<int>("").get(); }), ": a key stands below a product.");
    EXPECT_EQ(refusal<MissingKey>([] { Key<int>("plott.width").get(); }),
              "plott.width: there is no product plott; the products are looked for in '" +
                  factoryDir().string() + "' (SETTINGS_FACTORYDIR).");
    EXPECT_EQ(refusal<exception::NoSuchKey>([] { Key<int>("plot.width", 99).get(); }),
              "plot.width: there is no such instance, or it has ended.");
}

TEST_F(Keys, AKeyFollowsItsNameWhenTheTreeChanges) {
    auto const attach = [](int count) {
        auto const mine = makeGroup("mine");
        makeKey("count", count, makeGroup("ticks", mine));
        mine->setParent(product());
    };
    Key<int> const count("plot.mine.ticks.count");
    EXPECT_THROW(count.get(), MissingKey);
    attach(3);
    EXPECT_EQ(count.get(), 3);
    NodePtr const kept = nodeAt("plot.mine");  // Held by somebody, it lives on without its tree.
    productImpl()->removeNode("mine");
    EXPECT_THROW(count.get(), MissingKey);
    EXPECT_THROW(count.set(4), MissingKey);
    attach(8);
    EXPECT_EQ(count.get(), 8);
    productImpl()->removeNode("mine");

    // So with a tree that an instance lets go.
    auto const old = root();
    Key<int> const width("plot.width");
    width.set(6);
    resetInstances();
    old->getChild("plot")->setAny("width", 9, "session");
    EXPECT_EQ(width.get(), 6);
    ZSettings::reset(BlessedZcrID);
    EXPECT_THROW(width.get(), MissingKey);
}

TEST_F(Keys, OfTheCurrentInstanceItIsAnotherOneInEach) {
    Key<int> const width("plot.width", AnyZcrID);
    EXPECT_EQ(width.get(), 5);
    qbhost::startInstance(7);
    Key<int>("plot.width", 7).set(8, Level::session);
    qbhost::makeCurrent(7);
    EXPECT_EQ(width.get(), 8);
    qbhost::makeCurrent(BlessedZcrID);
    EXPECT_EQ(width.get(), 5);
    qbhost::endInstance(7);
    EXPECT_THROW(Key<int>("plot.width", 7).get(), MissingKey);
}

TEST_F(Keys, ChangesAreHeardWithTheNewValueAsLongAsTheConnectionLives) {
    std::string heard;
    Key<int> const width("plot.width");
    Key<std::string> const title("plot.title");
    Key<std::optional<std::string>> const perhaps("plot.title");
    auto connection = width.onChange([&](int now) { heard += std::to_string(now) + " "; });
    auto const always = title.onChange([&](std::string const& now) { heard += now + " "; });
    auto const also = perhaps.onChange([&, owned = std::make_unique<int>(1)](auto const& now) {
        heard += now ? "(" + *now + ") " : "none ";
    });
    width.set(6);
    width.set(6);
    width.set(7, Level::session);
    width.set(8);  // Hidden by the session's.
    title.set("x");
    title.reset();
    connection.reset();
    width.set(9, Level::session);
    EXPECT_EQ(heard, "6 7 x (x) none ");
    EXPECT_THROW(static_cast<void>(Key<int>("plot.none").onChange([](int) {})), MissingKey);
}

TEST_F(Keys, ABatchSetsAllOrNone) {
    Key<int> const width("plot.width");
    Key<std::optional<std::string>> const title("plot.title");
    Key<Paper> const paper("all.paper");
    Batch(root()).set(width, 6).set(title, "x").set(paper, Paper::a3).apply();
    EXPECT_EQ(shownAt("plot.width") + shownAt("plot.title"), "6string x");
    EXPECT_EQ(paper.getAt(Level::user), Paper::a3);

    Batch session(root(), Level::session);
    session.set(title, "y").set(width, 11);
    EXPECT_THROW(session.apply(), exception::ValueIsNotInRange);
    EXPECT_EQ(title.get(), "x");
    session.apply();  // Nothing is left in it.
    EXPECT_THROW(session.set(Key<double>("plot.width"), 1), WrongType);
    EXPECT_THROW(session.set(Key<int>("plot.none"), 1), MissingKey);
    EXPECT_THROW(session.set(Key<std::uint8_t>("all.uint8"), 256), DoesNotFit);
    EXPECT_THROW(Batch({}), std::invalid_argument);
}

TEST_F(Keys, OneKeyServesAnyNumberOfThreads) {
    Key<int> const width("plot.width");
    Key<int> const count("plot.axes.ticks.count");
    concurrently(4, [&](int number) {
        for (int i = 0; i < 300; ++i) {
            if (number == 0) {
                width.set(1 + i % 10, Level::session);
                if (i % 10 == 0) {
                    makeKey("k", 1, {})->setParent(root()->getSettingsByFullName("plot.axes"));
                    boost::dynamic_pointer_cast<ZSettings>(
                        root()->getSettingsByFullName("plot.axes"))
                        ->removeKey("k");
                }
            }
            int const now = width.get();
            EXPECT_TRUE(1 <= now && now <= 10) << now;
            EXPECT_EQ(count.get(), 3);
        }
    });
}

}  // namespace key_test
