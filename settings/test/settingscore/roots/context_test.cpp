#include <atomic>
#include <queue>
#include <regex>

#include <settingscore/roots/SettingsContext.hpp>
#include <settingscore/roots/SettingsEvent.hpp>
#include <settingscore/roots/SettingsImplRoot.hpp>
#include <settingscore/roots/SettingsRootStateMgr.hpp>
#include <settingscore/tree/ProductWorld.hpp>

using namespace settings::core;
using namespace qbtest;

namespace {

class Context : public ProductWorld {
protected:
    Context() { installPlot(); }
    ~Context() override {
        qbhost::makeCurrent(BlessedZcrID);
        for (int id = 1; id < 5; ++id)
            qbhost::endInstance(id);
    }
};

TEST_F(Context, AnInstanceStartedByTheHostHasATreeOfItsOwnUntilItEnds) {
    EXPECT_FALSE(Settings::getSettingsRoot(1));
    ASSERT_TRUE(qbhost::startInstance(1));
    auto const one = Settings::getSettingsRoot(1);
    ASSERT_TRUE(one);
    EXPECT_NE(one, root());
    EXPECT_EQ(one->getZcrID(), ZcrID(1));
    one->getChild("plot")->setAny("width", 9, "session");
    EXPECT_EQ(valueOf<int>(product(), "width"), 5);

    EXPECT_EQ(Settings::getSettingsRoot(AnyZcrID), root());
    qbhost::makeCurrent(1);
    EXPECT_EQ(Settings::getSettingsRoot(AnyZcrID), one);
    EXPECT_EQ(SettingsContext::getZcrIDInUse(AnyZcrID), ZcrID(1));

    ASSERT_TRUE(qbhost::endInstance(1));
    EXPECT_FALSE(Settings::getSettingsRoot(1));
    EXPECT_FALSE(SettingsContext::getSettingsRootMgrFromMap(1));
    EXPECT_EQ(valueOf<int>(one->getChild("plot"), "width"), 9);
    ASSERT_TRUE(qbhost::startInstance(1));
    EXPECT_EQ(valueOf<int>(Settings::getSettingsRoot(1)->getChild("plot"), "width"), 5);
}

TEST_F(Context, AContextIsMadeOnceAndEndsAlone) {
    qbhost::startInstance(1);
    EXPECT_FALSE(SettingsContext::createContext(1));
    auto const one = Settings::getSettingsRoot(1);
    EXPECT_FALSE(SettingsContext::createContext(1));
    EXPECT_EQ(Settings::getSettingsRoot(1), one);

    SettingsContext context(1);
    context.release(true);
    EXPECT_FALSE(SettingsContext::getSettingsRootMgrFromMap(1));
    EXPECT_TRUE(root());
    EXPECT_TRUE(SettingsContext::createContext(1));
    EXPECT_TRUE(Settings::getSettingsRoot(1));
    EXPECT_NE(Settings::getSettingsRoot(1), one);
    // Nothing to end, and no crash.
    SettingsContext unknown(4);
    unknown.release(false);
    unknown.save();
    unknown.restore();
    SettingsContext::resetThisZcrID(4);
}

TEST_F(Context, TheBlessedInstanceKeepsItsEntryWithoutARoot) {
    auto const tree = root();
    SettingsContext(BlessedZcrID).release(true);
    EXPECT_TRUE(SettingsContext::getSettingsRootMgrFromMap(BlessedZcrID));
    EXPECT_FALSE(root());
    EXPECT_FALSE(SettingsContext::createContext(BlessedZcrID));
    EXPECT_FALSE(root());
    EXPECT_FALSE(ZSettings::reset(BlessedZcrID));
    EXPECT_FALSE(SettingsImpl::reset());
    EXPECT_TRUE(root());
    EXPECT_NE(root(), tree);
}

TEST_F(Context, AResetReturnsTheBlessedRootAndWithAnyEndsAllInstances) {
    qbhost::startInstance(1);
    auto const one = Settings::getSettingsRoot(1);
    auto const tree = root();
    product()->setAny("width", 8, "session");
    EXPECT_EQ(SettingsContext::reset(1), tree);
    EXPECT_FALSE(root());
    EXPECT_EQ(Settings::getSettingsRoot(1), one);
    EXPECT_EQ(valueOf<int>(tree->getChild("plot"), "width"), 8);

    EXPECT_FALSE(SettingsContext::reset(AnyZcrID));
    EXPECT_FALSE(Settings::getSettingsRoot(1));
    EXPECT_EQ(valueOf<int>(product(), "width"), 5);
    auto const second = root();
    EXPECT_EQ(SettingsContext::reset(AnyZcrID), second);
}

TEST_F(Context, UnknownInstancesGiveNothingAndMakeNothing) {
    for (ZcrID const id : {UndefinedZcrID, ZcrID(-7), ZcrID(3)}) {
        EXPECT_FALSE(Settings::getSettingsRoot(id));
        EXPECT_FALSE(SettingsContext::getSettingsImplRootByZcrID(id));
        EXPECT_EQ(SettingsContext::getFactoryDir(id), u"");
        EXPECT_EQ(SettingsContext::getWorkgroupDir(id), u"");
        EXPECT_EQ(SettingsContext::getUserDir(id), u"");
        SettingsContext::setSettingsDirectories(id, ustring(u"/f"), ustring(u"/w"), ustring(u"/u"));
        EXPECT_FALSE(SettingsContext::getSettingsRootMgrFromMap(id));
    }
    EXPECT_EQ(SettingsContext::getUserDir(BlessedZcrID), toUString(userDir()));
    // Known to the host, but without an entry here.
    qbhost::startInstance(1);
    SettingsContext(1).release(true);
    EXPECT_EQ(SettingsContext::getUserDir(1), u"");
    SettingsContext::setSettingsDirectories(1, boost::none, boost::none, ustring(u"/u"));
    std::queue<boost::shared_ptr<SettingsEvent const>> queue;
    SettingsContext::getEventQueue(queue, 1);
    EXPECT_TRUE(queue.empty());
}

TEST_F(Context, InstancesSaveIntoDirectoriesOfTheirOwn) {
    qbhost::startInstance(1);
    auto const own = folder() / "own";
    writeFile(own / "factory" / "tool" / "f.settings",
              settingsXml("tool", keyXml("k", "int32", valueXml("1"))));
    SettingsContext::setSettingsDirectories(1, toUString(own / "factory"), ustring(u"/group"),
                                            toUString(own / "user"));
    EXPECT_EQ(SettingsContext::getFactoryDir(1), toUString(own / "factory"));
    EXPECT_EQ(SettingsContext::getWorkgroupDir(1), u"/group");
    EXPECT_EQ(SettingsContext::getUserDir(1), toUString(own / "user"));
    EXPECT_EQ(SettingsContext::getWorkgroupDir(BlessedZcrID), u"");
    auto const tool = Settings::getSettingsRoot(1)->getChild("tool");
    ASSERT_TRUE(tool);
    tool->setAny("k", 2, "user");
    EXPECT_TRUE(std::filesystem::exists(own / "user" / "tool.settings"));
    EXPECT_TRUE(userFiles().empty());
    // A change takes effect with the next file; what was read stays.
    SettingsContext::setSettingsDirectories(1, boost::none, boost::none, boost::none);
    EXPECT_EQ(SettingsContext::getFactoryDir(1), toUString(factoryDir()));
    tool->setAny("k", 3, "user");
    EXPECT_TRUE(userFileExists("tool"));
    EXPECT_FALSE(Settings::getSettingsRoot(1)->getChild("plot"));
}

TEST_F(Context, EventsOfInstancesStayApart) {
    qbhost::startInstance(1);
    auto const one = Settings::getSettingsRoot(1);
    int heardOne = 0;
    int heardBlessed = 0;
    using Listener = boost::function<void(SettingsEvent const&)>;
    auto const a = one->addListener(Listener([&](SettingsEvent const& event) {
        EXPECT_EQ(event.getZcrId(), ZcrID(1));
        ++heardOne;
    }));
    auto const b = root()->addListener(Listener([&](SettingsEvent const&) { ++heardBlessed; }));
    SettingsContext::getSettingsRootMgrFromMap(1)->enableEventQueuing(true);
    one->getChild("plot")->setAny("width", 6, "session");
    product()->setAny("width", 7, "session");
    product()->setAny("width", 8, "session");
    EXPECT_EQ(heardOne, 1);
    EXPECT_EQ(heardBlessed, 2);
    std::queue<boost::shared_ptr<SettingsEvent const>> queue;
    SettingsContext::getEventQueue(queue, BlessedZcrID);
    EXPECT_TRUE(queue.empty());
    SettingsContext::getEventQueue(queue, 1);
    EXPECT_EQ(queue.size(), 1u);
}

TEST_F(Context, InstancesStartAndEndWhileOthersUseThem) {
    turnOffSettingsSaving();
    std::atomic<bool> stop{false};
    concurrently(4, [&](int thread) {
        if (thread < 2) {
            ZcrID const id(thread + 1);
            for (int i = 0; i < 40; ++i) {
                ASSERT_TRUE(qbhost::startInstance(id));
                auto const tree = Settings::getSettingsRoot(id);
                ASSERT_TRUE(tree);
                auto const plot = tree->getChild("plot");
                ASSERT_TRUE(plot);
                plot->setAny("width", 1 + i % 10, "session");
                ASSERT_TRUE(qbhost::endInstance(id));
                EXPECT_EQ(valueOf<int>(plot, "width"), 1 + i % 10);
            }
            if (thread == 0) stop = true;
        }
        while (!stop) {
            for (int id = 1; id < 3; ++id) {
                auto const tree = Settings::getSettingsRoot(id);
                if (!tree) continue;
                for (auto const& child : tree->getChildren())
                    child->getFullName();
                SettingsContext::getUserDir(id);
                SettingsContext::setSettingsDirectories(id, boost::none, boost::none,
                                                        toUString(userDir()));
            }
        }
    });
}

TEST_F(Context, TheLibraryTellsItsVersionAndDay) {
    EXPECT_TRUE(std::regex_match(libqbsettingscore_version,
                                 std::regex("[0-9]+\\.[0-9]+\\.[0-9]+\\.[0-9]+")));
    EXPECT_TRUE(std::regex_match(libqbsettingscore_build_date,
                                 std::regex("[A-Z][a-z]{2} [ 1-3][0-9] [0-9]{4}")));
}

}  // namespace
