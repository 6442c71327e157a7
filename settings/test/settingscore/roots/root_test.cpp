#include <atomic>

#include <settingscore/roots/SettingsContext.hpp>
#include <settingscore/roots/SettingsImplRoot.hpp>
#include <settingscore/roots/SettingsRootStateMgr.hpp>
#include <settingscore/roots/ZcrIdRootMap.hpp>
#include <settingscore/tree/ProductWorld.hpp>

using namespace settings::core;
using namespace qbtest;

namespace {

class Root : public ProductWorld {
protected:
    Root() { installPlot(); }
    ~Root() override { qbhost::setFastExit({}); }
    static boost::shared_ptr<SettingsRootStateMgr> newManager() {
        return boost::make_shared<SettingsRootStateMgr>();
    }
};

TEST_F(Root, HasOneProductForEachNameAndReadsNoFileForIt) {
    factoryText("broken", "f.settings", "no settings");
    factoryText("farmjobs", "f.settings", "no settings");
    userText("PLOT.settings", "no settings");
    userText("own.settings", "no settings");
    auto const tree = implRoot();
    std::vector<std::string> names;
    for (auto const& child : tree->getChildren())
        names.push_back(child->getName());
    EXPECT_EQ(names, (std::vector<std::string>{"broken", "gridpool", "own", "plot"}));
    EXPECT_EQ(tree->getName(), "root");
    EXPECT_TRUE(tree->isRoot());
    EXPECT_TRUE(tree->isVisible());
    EXPECT_FALSE(tree->isLeafNode());
    EXPECT_TRUE(tree->isConnectedToTheSettingsTree());
    EXPECT_FALSE(tree->queueEnabled());
    EXPECT_EQ(tree->getZcrID(), BlessedZcrID);
    EXPECT_EQ(productImpl()->getZcrID(), BlessedZcrID);
}

TEST_F(Root, IsMadeOnceForThreadsThatAskAtOnce) {
    for (int round = 0; round < 20; ++round) {
        auto const manager = newManager();
        std::vector<boost::shared_ptr<SettingsImplRoot>> roots(4);
        concurrently(4, [&](int i) { roots[static_cast<std::size_t>(i)] = manager->get(5); });
        ASSERT_TRUE(roots[0]);
        for (auto const& other : roots)
            EXPECT_EQ(other, roots[0]);
        EXPECT_EQ(roots[0]->getZcrID(), ZcrID(5));
        EXPECT_EQ(roots[0]->getChildren().size(), 1u);
    }
}

TEST_F(Root, ComesNeverAgainAfterAReset) {
    auto const manager = newManager();
    EXPECT_FALSE(manager->resetRoot());
    EXPECT_FALSE(manager->get(0));

    auto const other = newManager();
    auto const tree = other->get(0);
    EXPECT_TRUE(tree->isInUse());
    EXPECT_EQ(other->resetRoot(), tree);
    EXPECT_FALSE(other->get(0));
    EXPECT_FALSE(other->resetRoot());
    EXPECT_FALSE(tree->isInUse());
}

TEST_F(Root, AManagerWithoutARootHasNoQueue) {
    auto const manager = newManager();
    manager->enableEventQueuing(true);
    EXPECT_FALSE(manager->queueEnabled());
    auto const tree = manager->get(0);
    EXPECT_FALSE(manager->queueEnabled());
    manager->enableEventQueuing(true);
    EXPECT_TRUE(manager->queueEnabled());
    EXPECT_TRUE(tree->queueEnabled());
    manager->resetRoot();
    EXPECT_FALSE(manager->queueEnabled());
}

TEST_F(Root, AnAttemptThatFailsIsRepeatedByTheNextCaller) {
    SettingsRootStateMgr lonely;  // Lives in no shared pointer.
    EXPECT_THROW(lonely.get(0), boost::bad_weak_ptr);

    auto const manager = newManager();
    manager->setUserDir(ustring());
    int status = 0;
    qbhost::setFastExit([&](int s) {
        status = s;
        throw std::runtime_error("ended");
    });
    testing::internal::CaptureStderr();
    EXPECT_THROW(manager->get(0), std::runtime_error);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "ZENBAR Shutdown : Failed To Create Preference Directory.\n");
    EXPECT_EQ(status, 1);
    expectThrow<ZENBAR::settings::core::SettingsUserDirectoryNotExistException>(
        [&] { manager->getUserDir(); },
        [](auto const& e) {
            EXPECT_EQ(e.get_error_id(e.get_msg_id()),
                      "ZENBAR:settings:core:SettingsUserDirectoryNotExist");
        });
    manager->setUserDir(boost::none);
    auto const tree = manager->get(0);
    ASSERT_TRUE(tree);
    EXPECT_TRUE(tree->getChild("plot"));
    EXPECT_EQ(manager->get(0), tree);
}

TEST_F(Root, DirectoriesComeFromTheEnvironmentOnceUnlessTheyAreSet) {
    struct Field {
        char const* variable;
        ustring (SettingsRootStateMgr::*get)();
        void (SettingsRootStateMgr::*set)(boost::optional<ustring> const&);
        ustring (SettingsImplRoot::*getOfRoot)() const;
    };
    for (Field const& f : std::vector<Field>{
             {"SETTINGS_FACTORYDIR", &SettingsRootStateMgr::getFactoryDir,
              &SettingsRootStateMgr::setFactoryDir, &SettingsImplRoot::getFactoryDir},
             {"SETTINGS_WORKGROUPDIR", &SettingsRootStateMgr::getWrkGroupDir,
              &SettingsRootStateMgr::setWrkGroupDir, &SettingsImplRoot::getWrkgrpDir},
             {"SETTINGS_USERDIR", &SettingsRootStateMgr::getUserDir,
              &SettingsRootStateMgr::setUserDir, &SettingsImplRoot::getUserDir},
         }) {
        SCOPED_TRACE(f.variable);
        auto manager = newManager();
        environment().set(f.variable, "/first");
        EXPECT_EQ((*manager.*f.get)(), u"/first");
        environment().set(f.variable, "/second");
        EXPECT_EQ((*manager.*f.get)(), u"/first");
        (*manager.*f.set)(ustring(u"/given"));
        auto const tree = manager->get(0);
        EXPECT_EQ((*tree.*f.getOfRoot)(), u"/given");
        (*manager.*f.set)(boost::none);
        EXPECT_EQ((*tree.*f.getOfRoot)(), u"/second");
        manager.reset();
        EXPECT_EQ((*tree.*f.getOfRoot)(), u"");
    }
    environment().unset("SETTINGS_WORKGROUPDIR");
    auto const manager = newManager();
    EXPECT_EQ(manager->getWrkGroupDir(), u"");
    environment().set("SETTINGS_WORKGROUPDIR", "/late");
    EXPECT_EQ(manager->getWrkGroupDir(), u"");
    // An empty variable is as good as none.
    environment().set("SETTINGS_USERDIR", "");
    environment().set("ZENBAR_PREFDIR", (folder() / "prefs").string());
    EXPECT_NE(newManager()->getUserDir(), u"");
}

TEST_F(Root, TheMapHasTheBlessedInstanceFromTheStart) {
    EXPECT_TRUE(getZcrIdAndRootMap().find(BlessedZcrID));
    EXPECT_FALSE(getZcrIdAndRootMap().find(ZcrID(99)));
}

TEST_F(Root, AnOldRootWorksOnInMemory) {
    factoryFile("fresh", "f.settings", keyXml("k", "int32", valueXml("1")));
    auto const plot = product();
    plot->setAny("width", 6, "user");
    auto const before = userFiles();
    auto const old = ZSettings::reset(BlessedZcrID);
    ASSERT_TRUE(old);
    EXPECT_FALSE(root());
    EXPECT_EQ(old->getChild("plot"), plot);
    EXPECT_EQ(valueOf<int>(plot, "width"), 6);
    plot->setAny("width", 7, "user");
    EXPECT_EQ(valueOf<int>(plot, "width"), 7);
    EXPECT_EQ(valueOf<int>(old->getChild("fresh"), "k"), 1);  // Not touched before.
    old->getChild("fresh")->setAny("k", 2, "user");
    plot->mergeDescendants(makeGroup("plot"), "user");
    auto const oldRoot = boost::dynamic_pointer_cast<ZSettings>(old);
    NodePtr const made = makeGroup("made");
    makeKey("k", 1, made);
    made->setParent(oldRoot);
    userFile("made", keyXml("k", "int32", valueXml("2")));
    oldRoot->removeNode("made");
    EXPECT_TRUE(userFileExists("made"));
    std::filesystem::remove(userFilePath("made"));
    EXPECT_EQ(userFiles(), before);
}

TEST_F(Root, InstancesEndWhileOthersReadAndWrite) {
    turnOffSettingsSaving();
    std::atomic<bool> stop{false};
    std::atomic<int> rootsSeen{0};
    concurrently(5, [&](int thread) {
        if (thread == 0) {
            for (int i = 0; i < 60; ++i) {
                if (i % 3 == 0) ZSettings::reset(BlessedZcrID);
                SettingsImpl::reset();
                std::this_thread::sleep_for(std::chrono::milliseconds(1));
            }
            stop = true;
        }
        while (!stop) {
            auto const tree = root();
            if (!tree) continue;
            ++rootsSeen;
            try {
                auto const plot = tree->getChild("plot");
                if (!plot) continue;
                if (thread == 1) plot->setAny("width", 1 + rootsSeen % 10, "session");
                if (thread == 2) makeGroup("n" + std::to_string(rootsSeen))->setParent(tree);
                int const width = valueOf<int>(plot, "width");
                EXPECT_GE(width, 1);
                EXPECT_LE(width, 10);
                ZSettings::getUserDir(AnyZcrID);
            } catch (exception::ErrorReadingSettingsData const&) {
                // The manager went with the instance before the product was read.
            } catch (exception::NoSuchKey const&) {
            }
        }
    });
    EXPECT_GT(rootsSeen, 0);
    resetInstances();
    EXPECT_EQ(valueOf<int>(product(), "width"), 5);
}

}  // namespace
