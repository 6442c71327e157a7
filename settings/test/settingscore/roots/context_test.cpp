#include <settingscore/levels/SettingsLevelManager.hpp>
#include <settingscore/roots/SettingsContext.hpp>
#include <settingscore/roots/SettingsRootStateMgr.hpp>
#include <support/ProductWorld.hpp>

using namespace qbtest;

namespace {

boost::shared_ptr<SettingsRootStateMgr> newManager() {
    return boost::make_shared<SettingsRootStateMgr>();
}

class Context : public ProductWorld {
protected:
    Context() { installPlot(); }
    ~Context() override {
        qbhost::setFastExit({});
        qbhost::makeCurrent(BlessedZcrID);
        for (int id = 1; id < 5; ++id)
            qbhost::endInstance(id);
    }
    static boost::shared_ptr<Settings> rootOf(ZcrID id) { return Settings::getSettingsRoot(id); }
};

TEST_F(Context, AnInstanceHasATreeOfItsOwnUntilItEnds) {
    EXPECT_FALSE(rootOf(1));
    ASSERT_TRUE(qbhost::startInstance(1));
    EXPECT_FALSE(SettingsContext::createContext(1));
    auto const one = rootOf(1);
    EXPECT_EQ(one->getChild("plot")->getZcrID(), ZcrID(1));
    int heard = 0;
    auto const connection = one->addListener<SettingsEvent>([&](auto const&) { ++heard; });
    one->getChild("plot")->setAny("width", 9, "session");
    product()->setAny("width", 7, "session");
    EXPECT_EQ(shownAt("plot.width"), "7");
    EXPECT_EQ(heard, 1);

    EXPECT_EQ(rootOf(AnyZcrID), root());
    qbhost::makeCurrent(1);
    EXPECT_EQ(rootOf(AnyZcrID), one);
    ASSERT_TRUE(qbhost::endInstance(1));
    EXPECT_FALSE(rootOf(1));
    EXPECT_EQ(shown(one->getChild("plot")->getAny("width", "")), "9");
    ASSERT_TRUE(qbhost::startInstance(1));
    EXPECT_EQ(valueOf<int>(rootOf(1)->getChild("plot"), "width"), 5);

    // A reset returns the blessed root whichever it is asked for; with any, all end.
    auto const again = rootOf(1);
    auto const tree = root();
    EXPECT_EQ(SettingsContext::reset(1), tree);
    EXPECT_FALSE(root());
    EXPECT_EQ(rootOf(1), again);
    EXPECT_FALSE(SettingsContext::reset(AnyZcrID));
    EXPECT_FALSE(rootOf(1));
}

TEST_F(Context, InstancesSaveIntoDirectoriesOfTheirOwn) {
    qbhost::startInstance(1);
    auto const own = folder() / "own";
    writeFile(own / "factory/tool/f.settings", settingsXml("tool", intKey("k", "1")));
    SettingsContext::setSettingsDirectories(1, toUString(own / "factory"), {},
                                            toUString(own / "user"));
    auto const tool = rootOf(1)->getChild("tool");
    tool->setAny("k", 2, "user");
    EXPECT_TRUE(std::filesystem::exists(own / "user" / "tool.settings"));
    EXPECT_TRUE(userFiles().empty());
    // A change takes effect with the next file; what was read stays.
    SettingsContext::setSettingsDirectories(1, {}, {}, {});
    tool->setAny("k", 3, "user");
    EXPECT_TRUE(userFileExists("tool"));
    // An instance without an entry has none, and gets none.
    SettingsContext(1).release(true);
    SettingsContext::setSettingsDirectories(1, {}, {}, ustring(u"/u"));
    EXPECT_EQ(SettingsContext::getUserDir(1), u"");
    EXPECT_FALSE(SettingsContext::getSettingsRootMgrFromMap(1));
}

TEST_F(Context, AnAttemptThatFailsIsRepeatedAndADetachedRootComesNeverAgain) {
    auto const manager = newManager();
    manager->setUserDir(ustring());
    qbhost::setFastExit([](int status) {
        EXPECT_EQ(status, 1);
        throw std::runtime_error("ended");
    });
    testing::internal::CaptureStderr();
    EXPECT_THROW(manager->get(0), std::runtime_error);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "ZENBAR Shutdown : Failed To Create Preference Directory.\n");
    EXPECT_THROW(manager->getUserDir(),
                 ZENBAR::settings::core::SettingsUserDirectoryNotExistException);
    manager->setUserDir(boost::none);
    manager->enableEventQueuing(true);
    auto const tree = manager->get(0);
    EXPECT_TRUE(tree->getChild("plot"));
    EXPECT_FALSE(manager->queueEnabled()) << "there was no root to queue for";
    EXPECT_EQ(manager->resetRoot(), tree);
    EXPECT_FALSE(manager->get(0));
    EXPECT_FALSE(manager->resetRoot());
}

TEST_F(Context, DirectoriesComeFromTheEnvironmentOnceUnlessTheyAreSet) {
    auto const manager = newManager();
    environment().set("SETTINGS_USERDIR", "/first");
    EXPECT_EQ(manager->getUserDir(), u"/first");
    environment().set("SETTINGS_USERDIR", "/second");
    EXPECT_EQ(manager->getUserDir(), u"/first");
    EXPECT_EQ(SettingsLevelManager::findLevel("user")->levelRootPath(), u"/second")
        << "levels ask each time";
    manager->setUserDir(ustring(u"/given"));
    EXPECT_EQ(manager->getUserDir(), u"/given");
    manager->setUserDir(boost::none);
    EXPECT_EQ(manager->getUserDir(), u"/second");
}

TEST_F(Context, AnOldRootWorksOnInMemory) {
    factoryFile("fresh", "f.settings", intKey("k", "1"));
    auto const plot = product();
    plot->setAny("width", 6, "user");
    auto const before = userFiles();
    auto const old = boost::dynamic_pointer_cast<ZSettings>(ZSettings::reset(BlessedZcrID));
    plot->setAny("width", 7, "user");
    EXPECT_EQ(valueOf<int>(plot, "width"), 7);
    EXPECT_EQ(valueOf<int>(old->getChild("fresh"), "k"), 1);  // Not touched before.
    old->getChild("fresh")->setAny("k", 2, "user");
    plot->mergeDescendants(makeGroup("plot"), "user");
    makeGroup("plot2")->setParent(old);
    EXPECT_EQ(userFiles(), before);
}

TEST_F(Context, InstancesStartAndEndWhileOthersReadAndWrite) {
    turnOffSettingsSaving();
    std::atomic<bool> stop{false};
    concurrently(5, [&](int thread) {
        for (int i = 0; thread == 0 && i < 60; ++i) {
            ASSERT_TRUE(qbhost::startInstance(1));
            auto const plot = rootOf(1)->getChild("plot");
            plot->setAny("width", 1 + i % 10, "session");
            ASSERT_TRUE(qbhost::endInstance(1));
            EXPECT_EQ(valueOf<int>(plot, "width"), 1 + i % 10);
            if (i % 3 == 0) ZSettings::reset(BlessedZcrID);
            if (i % 3 == 1) SettingsImpl::reset();
        }
        if (thread == 0) stop = true;
        for (int i = 0; !stop; ++i) {
            auto const tree = rootOf(thread % 2);
            if (!tree) continue;
            try {
                SettingsContext::setSettingsDirectories(1, {}, {}, toUString(userDir()));
                auto const plot = tree->getChild("plot");
                if (!plot) continue;
                if (thread == 2) plot->setAny("width", 1 + i % 10, "session");
                if (thread == 3) makeGroup("n" + std::to_string(i))->setParent(tree);
                int const width = valueOf<int>(plot, "width");
                EXPECT_TRUE(width >= 1 && width <= 10) << width;
            } catch (exception::ErrorReadingSettingsData const&) {
                // The manager went with the instance before the product was read.
            } catch (exception::NoSuchKey const&) {
            }
        }
    });
    // A root is built once for all who ask at once.
    auto const manager = newManager();
    std::vector<boost::shared_ptr<SettingsImplRoot>> roots(4);
    concurrently(4, [&](int i) { roots[static_cast<std::size_t>(i)] = manager->get(5); });
    EXPECT_EQ(roots, decltype(roots)(4, manager->get(5)));
}

}  // namespace
