#include <atomic>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <settingscore/typed/Live.hpp>
#include <support/ProductWorld.hpp>

namespace live_test {

using namespace qbtest;
using namespace settingscore::typed;

class LiveValues : public ProductWorld {
protected:
    LiveValues() { installPlot(); }

    /// A group of the user's own, which can be removed.
    static NodePtr attachMine(int count) {
        auto mine = makeGroup("mine");
        makeKey("count", count, mine);
        mine->setParent(nodeAt("plot.axes"));
        return mine;
    }
    void installComputed() {
        qbhost::setSignalThread([] { return true; });
        ZRunTimeDefault::setZRunTimeProxyFname(
            [this](auto&&, auto&&, any* result) { *result = computed_.load(); });
        factoryFile("sums", "sums.settings",
                    keyXml("sum", "int32",
                           R"(<runtimedefault type="ZENBAR" packagename="p" functionname="f"/>)"));
    }
    std::atomic<int> computed_{1};
};

TEST_F(LiveValues, FollowsEveryWayAValueChanges) {
    Live<int> const width("plot.width");
    Live<std::string> const title((Key<std::string>("plot.title")));
    Live<std::optional<std::string>> const perhaps("plot.title");
    EXPECT_EQ(width.get(), 5);
    EXPECT_THROW(title.get(), NoValue);
    EXPECT_EQ(title.status(), LiveStatus::noValue);
    EXPECT_EQ(*perhaps.get(), std::nullopt);
    EXPECT_EQ(perhaps.status(), LiveStatus::noValue);

    Key<int>("plot.width").set(6);
    EXPECT_EQ(width.get(), 6);
    Batch(root(), Level::session)
        .set(Key<int>("plot.width"), 7)
        .set(Key<std::string>("plot.title"), "x")
        .apply();
    EXPECT_EQ(width.get(), 7);
    auto const kept = title.get();
    EXPECT_EQ(*kept, "x");
    EXPECT_EQ(*perhaps.get(), "x");
    product()->unset("width", "session");
    EXPECT_EQ(width.get(), 6);
    product()->unset("title", "session");
    EXPECT_EQ(title.status(), LiveStatus::noValue);
    EXPECT_EQ(*kept, "x");  // What was handed out stays as it was.

    NodePtr const source = makeGroup("plot");
    makeKey("title", ustring(u"merged"), source);
    product()->mergeDescendants(source, "user");
    EXPECT_EQ(*title.get(), "merged");
}

TEST_F(LiveValues, OthersThatListenSeeTheNewValueAfterItAndTheirFailureDoesNotStopIt) {
    auto const fails =
        Key<int>("plot.width").onChange([](int) { throw std::runtime_error("listener"); });
    Live<int> const width("plot.width");
    int seen = 0;
    auto const sees = Key<int>("plot.width").onChange([&](int) { seen = width.get(); });
    EXPECT_THROW(Key<int>("plot.width").set(6), std::runtime_error);
    EXPECT_EQ(seen, 6);
    EXPECT_EQ(width.get(), 6);
}

TEST_F(LiveValues, AComputedValueIsReadThroughAlsoWhenItComesBackUnseen) {
    installComputed();
    Live<int> const sum("sums.sum");
    EXPECT_EQ(sum.get(), 1);
    computed_ = 2;
    EXPECT_EQ(sum.get(), 2);
    Key<int>("sums.sum").set(3);
    EXPECT_EQ(sum.get(), 3);
    computed_ = 3;
    Key<int>("sums.sum").reset();  // The value in force stays 3, so that there is no event.
    computed_ = 4;
    EXPECT_EQ(sum.get(), 4);
    ZRunTimeDefault::setZRunTimeProxyFname({});
    EXPECT_ANY_THROW(sum.get());
}

TEST_F(LiveValues, AKeyThatIsGoneIsNoKeyWithoutAValue) {
    auto const text = [](auto const& live) {
        std::string what;
        expectThrow<MissingKey>([&] { live.get(); }, [&](MissingKey const& e) { what = e.what(); });
        return what;
    };
    attachMine(3);
    Live<int> const count("plot.axes.mine.count");
    Live<int> const width("plot.width");
    Live<std::optional<std::string>> const title("plot.title");
    nodeAt("plot.axes")->removeNode("mine");
    EXPECT_EQ(text(count),
              "plot.axes.mine.count: the key was removed, or its instance has let its "
              "tree go.");
    EXPECT_EQ(count.status(), LiveStatus::removed);
    EXPECT_EQ(width.get(), 5);
    // One of the same name is another one.
    attachMine(8);
    EXPECT_EQ(count.status(), LiveStatus::removed);
    EXPECT_EQ(Live<int>("plot.axes.mine.count").get(), 8);

    auto const old = root();
    ZSettings::reset(BlessedZcrID);
    EXPECT_EQ(width.status(), LiveStatus::removed);
    EXPECT_NE(text(title), "");
    resetInstances();
    EXPECT_EQ(root()->getChild("plot")->getName(), "plot");
    EXPECT_EQ(text(width), "plot.width: the key was removed, or its instance has let its tree go.");
}

TEST_F(LiveValues, ANodeThatComesBackIsFollowedAgain) {
    NodePtr const mine = attachMine(3);
    Live<int> const count("plot.axes.mine.count");
    nodeAt("plot.axes")->removeNode("mine");
    EXPECT_EQ(count.status(), LiveStatus::removed);
    mine->setAny("count", 4, "session");  // Without an event.
    mine->setParent(nodeAt("plot.axes"));
    EXPECT_EQ(count.get(), 4);
    mine->setAny("count", 5, "session");
    EXPECT_EQ(count.get(), 5);
}

TEST_F(LiveValues, OneThatCannotBeSaysSoWhenItIsMade) {
    EXPECT_THROW(Live<int>("plot.none"), MissingKey);
    EXPECT_THROW(Live<int>("none.width"), MissingKey);
    EXPECT_THROW(Live<double>("plot.width"), WrongType);
    auto moved = std::make_unique<Live<int>>("plot.width");
    Live<int> const last(std::move(*moved));
    moved.reset();
    Key<int>("plot.width").set(6);
    EXPECT_EQ(last.get(), 6);
}

/// Threads that set, make, read, destroy, remove and attach. What a thread set itself, it sees.
TEST_F(LiveValues, NeverOlderThanWhatItsThreadSawDone) {
    constexpr int setters = 3;
    std::string keys;
    for (int i = 0; i < setters; ++i) {
        keys += intKey("k" + std::to_string(i), "0") +
                keyXml("t" + std::to_string(i), "string", valueXml("0"));
    }
    factoryFile("busy", "busy.settings", keys);
    Live<int> const shared("busy.k0");
    auto const passed = std::make_shared<std::atomic<int>>(0);
    concurrently(setters + 2, [&](int number) {
        if (number < setters) {
            Key<int> const key("busy.k" + std::to_string(number));
            Key<std::string> const text("busy.t" + std::to_string(number));
            std::optional<Live<int>> live;
            std::optional<Live<std::string>> liveText;
            for (int i = 1; i <= 400; ++i) {
                if (i % 5 == 1) {
                    live.emplace(key);
                    liveText.emplace(text);
                }
                key.set(i, Level::session);
                text.set(std::to_string(i), Level::session);
                if (number == 0) passed->store(i);
                ASSERT_EQ(live->get(), i);
                ASSERT_EQ(*liveText->get(), std::to_string(i));
                if (i % 5 == 0) live.reset();
            }
        } else if (number == setters) {
            int last = 0;
            while (last < 400) {
                int const told = passed->load();
                int const now = shared.get();
                ASSERT_GE(now, told);
                ASSERT_GE(now, last);
                last = now;
                Live<int> const fresh("busy.k0");
                ASSERT_GE(fresh.get(), now);
            }
        } else {
            auto const axes = nodeAt("plot.axes");
            NodePtr const mine = attachMine(3);
            for (int i = 0; i < 100; ++i) {
                Live<int> const count("plot.axes.mine.count");
                EXPECT_EQ(count.get(), 3);
                axes->removeNode("mine");
                ASSERT_EQ(count.status(), LiveStatus::removed);
                mine->setParent(axes);
            }
        }
    });
}

/// One object that many read, and that goes while its listener runs.
TEST_F(LiveValues, IsDestroyedWhileItsListenerRuns) {
    Key<int> const width("plot.width");
    std::atomic<bool> over{false};
    concurrently(3, [&](int number) {
        if (number == 0) {
            for (int i = 0; i < 600; ++i)
                width.set(1 + i % 10, Level::session);
            over = true;
            return;
        }
        while (!over) {
            auto live = std::make_unique<Live<int>>(width);
            int const now = live->get();
            ASSERT_TRUE(1 <= now && now <= 10) << now;
            live.reset();
        }
    });
}

}  // namespace live_test
