#include <atomic>
#include <cstdio>
#include <fstream>

#include <settingscore/persistence/SettingsFile.hpp>
#include <settingscore/persistence/SettingsLevelManager.hpp>
#include <settingscore/persistence/writer/SaveSettingsFunctor.hpp>
#include <settingscore/roots/SettingsContext.hpp>
#include <settingscore/roots/SettingsImplRoot.hpp>
#include <settingscore/tree/ProductWorld.hpp>

using namespace settings::core;
using namespace qbtest;

namespace {

namespace fs = qf::filesystem;
using Path = SettingsFile::Path;
using Names = std::vector<std::string>;

SettingsLevel const* level(std::string const& name) {
    return SettingsLevelManager::findLevel(name);
}

void failToRename(Path const& from, Path const&) {
    throw fs::FsysExceptionBase("refused for the test", from.str(), 5);
}

// Counted on the thread that saves and read on others.
std::atomic<int> renames{0};
std::atomic<int> movesAway{0};
std::atomic<int> restores{0};

class File : public ProductWorld {
protected:
    File() {
        installPlot();
        renames = 0;
        movesAway = 0;
        restores = 0;
    }
    ~File() override {
        SettingsFile::setRenameTempToRealFunc(&SettingsFile::renameExistingFile);
        SettingsFile::setRenameRealToTempFunc(&SettingsFile::renameExistingFile);
        SettingsFile::setRenameBackupFileFunc(&SettingsFile::renameExistingFile);
        SettingsFile::setSaveToFileFunc(&SettingsFile::saveToFile);
        qbhost::enableLog({});
    }
    static Names names(std::vector<Path> const& files) {
        Names result;
        for (Path const& file : files)
            result.push_back(qf::i18n::to_string(file.str()));
        return result;
    }
    /// The real file as "plot" has it with a width of 6, and nothing beside it.
    void saveWidth6() const {
        product()->setAny("width", 6, "user");
        ASSERT_EQ(userFiles().size(), 1u);
    }
};

// --- What counts ----------------------------------------------------------------------------

TEST_F(File, ListsFoldersOfTheFactoryAndFilesOfTheUser) {
    for (std::string const folder : {"Alpha", "under_score", "a2", "farmjobs", "2fast", "with-dash",
                                     "_low", "\xc3\xa4rger", "dot.ted"}) {
        factoryText(folder, "f.settings", "");
    }
    factoryText("capitals", "f.SETTINGS", "");
    factoryText("hidden", ".settings", "");
    factoryText("deep", "settings/f.settings", "");
    factoryText("plot", "README", "");
    std::filesystem::create_directories(factoryDir() / "folder" / "f.settings");
    std::filesystem::create_directories(factoryDir() / "empty");
    writeFile(factoryDir() / "file.settings", "");
    for (std::string const file : {"ALPHA.settings", "two.dots.settings", "farmjobs.settings",
                                   ".settings", "x.SETTINGS", "x.settings.bak", "-odd.settings"}) {
        userText(file, "");
    }
    std::filesystem::create_directories(userDir() / "folder.settings");
    std::filesystem::create_symlink(userDir() / "nothing", userDir() / "dangling.settings");

    auto const tree = implRoot();
    EXPECT_EQ(SettingsFile::getSettingsTopLevelNodes(level("factory"), tree),
              (Names{"Alpha", "a2", "gridpool", "plot", "under_score"}));
    EXPECT_EQ(SettingsFile::getSettingsTopLevelNodes(level("user"), tree),
              (Names{"-odd", "ALPHA", "gridpool", "two.dots"}));
    EXPECT_EQ(SettingsFile::getSettingsTopLevelNodesForZcrId0Root(level("session")), Names{});
    Names const all{"-odd", "a2", "Alpha", "gridpool", "plot", "two.dots", "under_score"};
    EXPECT_EQ(SettingsFile::getSettingsTopLevelNodes(tree), all);
    EXPECT_EQ(tree->getChildren().size(), all.size());

    IsASettingsDirectoryWithSubDir const below;
    EXPECT_TRUE(below(fs::upath_directory_entry(toUString(factoryDir() / "deep"))));
    EXPECT_FALSE(below(fs::upath_directory_entry(toUString(factoryDir() / "plot"))));
}

TEST_F(File, NamesTheFilesOfAProductInTheOrderOfTheFolder) {
    factoryText("plot", "b.settings", "");
    factoryText("plot", "a.settings", "");
    factoryText("plot", "a.SETTINGS", "");
    factoryText("farmjobs", "f.settings", "");
    userText("gridpool.settings", "");
    auto const tree = implRoot();
    auto const files = [&](std::string const& product, std::string const& levelName) {
        return names(SettingsFile::getAllSettingsFileForProduct(product, level(levelName), tree));
    };
    std::string const plot = (factoryDir() / "plot").string();
    EXPECT_EQ(files("plot", "factory"),
              (Names{plot + "/a.settings", plot + "/b.settings", plot + "/plot.settings"}));
    EXPECT_EQ(files("plot", "user"), Names{});
    EXPECT_EQ(files("plot", "session"), Names{});
    EXPECT_EQ(files("none", "factory"), Names{});
    EXPECT_EQ(files("gridpool", "factory"), Names{(factoryDir() / "farmjobs/f.settings").string()});
    EXPECT_EQ(files("farmjobs", "factory"), files("gridpool", "factory"));
    EXPECT_EQ(files("gridpool", "user"), Names{userFilePath("gridpool").string()});
    EXPECT_EQ(
        names(SettingsFile::getAllSettingsFileForProductForZcrId0Root("plot", level("factory"))),
        files("plot", "factory"));
    EXPECT_FALSE(SettingsFile::loadSettingsObject(Path()));
}

TEST_F(File, MissingAndUnreadableFoldersAreEmpty) {
    factoryText("locked", "f.settings", "");
    std::filesystem::permissions(folder(), std::filesystem::perms(0755));
    std::filesystem::permissions(factoryDir() / "locked", std::filesystem::perms::none);
    auto const tree = implRoot();
    {
        Unprivileged const user;
        EXPECT_EQ(SettingsFile::getSettingsTopLevelNodes(level("factory"), tree), Names{"plot"});
    }
    std::filesystem::remove_all(userDir());
    writeFile(userDir(), "a file in place of the folder");
    EXPECT_EQ(SettingsFile::getSettingsTopLevelNodes(level("user"), tree), Names{});
    std::filesystem::remove_all(factoryDir());
    EXPECT_EQ(SettingsFile::getSettingsTopLevelNodes(tree), Names{});
    EXPECT_EQ(names(SettingsFile::getAllSettingsFileForProduct("plot", level("factory"), tree)),
              Names{});
}

// --- Saving ---------------------------------------------------------------------------------

TEST_F(File, ASaveWritesTheWholeProductWhereverTheChangeIs) {
    std::filesystem::remove_all(userDir());
    std::vector<std::string> records;
    qbhost::enableLog([&](std::string const& logger, int severity, std::string const& text) {
        records.push_back(logger + " " + std::to_string(severity) + " " + text);
    });
    auto const plot = product();
    plot->setAny("width", 6, "user");
    plot->getSettingsByFullName("axes.ticks")->setAny("count", 8, "user");
    EXPECT_EQ(records, (std::vector<std::string>(2,
                                                 "settings::core 1 SaveObj : plot Level : "
                                                 "user")));
    std::string const text = readUserFile("plot");
    EXPECT_NE(text.find("<value>6</value>"), std::string::npos);
    EXPECT_NE(text.find("<value>8</value>"), std::string::npos);
    EXPECT_EQ(userFiles().size(), 1u);

    plot->setAny("width", 7, "session");
    EXPECT_EQ(readUserFile("plot"), text);
    EXPECT_EQ(records.size(), 2u);
}

TEST_F(File, SavesThatCannotBeMakeNothing) {
    auto const plot = productImpl();
    plot->getChildren();
    boost::shared_lock<boost::shared_mutex> const lock(*Settings::getTheRootMutex());
    SaveSettingsFunctor const functor(lock);
    SettingsFile::saveSettings(level("session"), plot, functor);
    SettingsFile::saveSettings(level("user"), {}, functor);
    SettingsFile::saveSettings(level("user"), makeGroup("alone"), functor);
    auto const orphan =
        boost::make_shared<SettingsImplRoot>(BlessedZcrID, boost::weak_ptr<SettingsRootStateMgr>());
    SettingsFile::saveSettings(level("user"), makeGroup("p", orphan), functor);
    expectThrow<exception::CantModifyValuesOnReadOnlyLevel>(
        [&] { SettingsFile::saveSettings(level("factory"), plot, functor); },
        [&](auto const& e) { EXPECT_EQ(e.getLevelToModify(), "factory"); });
    EXPECT_TRUE(userFiles().empty());
    EXPECT_FALSE(std::filesystem::exists("p.settings"));
}

TEST_F(File, ASaveWithoutAccessToItsFolderIsRefused) {
    saveWidth6();
    auto const before = userFiles();
    std::filesystem::permissions(folder(), std::filesystem::perms(0755));
    std::filesystem::permissions(userDir(), std::filesystem::perms(0555));
    auto const plot = product();
    {
        Unprivileged const user;
        expectThrow<ZENBAR::settings::core::NoWritePermissionOnDirectoryException>(
            [&] { plot->setAny("width", 7, "user"); },
            [&](auto const& e) {
                std::string const text = e.what();
                EXPECT_NE(text.find((userDir() / "temp").string()), std::string::npos) << text;
                EXPECT_NE(text.find("ermission"), std::string::npos) << text;
            });
    }
    EXPECT_EQ(valueOf<int>(plot, "width", "user"), 7);
    EXPECT_EQ(userFiles(), before);
}

TEST_F(File, AUserFolderThatIsAFileIsToldToTheCaller) {
    std::filesystem::remove_all(userDir());
    writeFile(userDir(), "mine");
    EXPECT_THROW(product()->setAny("width", 6, "user"), fs::FsysExceptionBase);
    EXPECT_EQ(readFile(userDir()), "mine");
}

TEST_F(File, AFileThatIsNotWritableStaysAsItIsInSilence) {
    saveWidth6();
    auto const before = userFiles();
    std::filesystem::permissions(folder(), std::filesystem::perms(0755));
    std::filesystem::permissions(userDir(), std::filesystem::perms(0777));
    std::filesystem::permissions(userFilePath("plot"), std::filesystem::perms(0444));
    auto const plot = product();
    {
        Unprivileged const user;
        EXPECT_FALSE(SettingsFile::checkWritePermission(level("user"), productImpl()));
        plot->setAny("width", 7, "user");
    }
    EXPECT_EQ(userFiles(), before);
    EXPECT_TRUE(SettingsFile::checkWritePermission(level("user"), productImpl()));
    plot->setAny("width", 8, "user");
    EXPECT_NE(userFiles(), before);
}

TEST_F(File, ARenameThatIsRefusedOnceIsTriedAgainWithTheOldFileOutOfTheWay) {
    saveWidth6();
    SettingsFile::setRenameTempToRealFunc([](Path const& from, Path const& to) {
        ++renames;
        if (fs::exists(to)) failToRename(from, to);
        fs::rename(from, to);
    });
    SettingsFile::setRenameRealToTempFunc([](Path const& from, Path const& to) {
        ++movesAway;
        EXPECT_EQ(to.filename().str(), u"plot.settings.previous");
        fs::rename(from, to);
    });
    SettingsFile::setRenameBackupFileFunc([](Path const&, Path const&) { ++restores; });
    product()->setAny("width", 7, "user");
    EXPECT_EQ(renames, 2);
    EXPECT_EQ(movesAway, 1);
    EXPECT_EQ(restores, 0);
    EXPECT_EQ(userFiles().size(), 1u);
    resetInstances();
    EXPECT_EQ(valueOf<int>(product(), "width", "user"), 7);
}

TEST_F(File, ARenameThatIsRefusedForEverEndsInSilenceAfterAThousandTries) {
    saveWidth6();
    auto const before = userFiles();
    SettingsFile::setRenameTempToRealFunc([](Path const& from, Path const& to) {
        ++renames;
        failToRename(from, to);
    });
    SettingsFile::setRenameRealToTempFunc([](Path const& from, Path const& to) {
        // Only the last try gets the old file out of the way: nothing brings it back.
        if (++movesAway == 1000) fs::rename(from, to);
        failToRename(from, to);
    });
    SettingsFile::setRenameBackupFileFunc([](Path const&, Path const&) { ++restores; });
    auto const start = std::chrono::steady_clock::now();
    std::thread watcher([&] {
        while (movesAway == 0)
            std::this_thread::yield();
        EXPECT_EQ(readUserFile("plot"), before.begin()->second);
    });
    product()->setAny("width", 7, "user");
    watcher.join();
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::seconds(3));
    EXPECT_EQ(renames, 1000);
    EXPECT_EQ(movesAway, 1000);
    EXPECT_EQ(restores, 0);
    EXPECT_TRUE(userFiles().empty());
}

TEST_F(File, FailuresOfTheTemporaryFile) {
    struct Case {
        char const* what;
        SettingsFile::SaveToFileFunc save;
        std::string left;  // The real file; empty: as it was.
        bool throws;
    };
    for (Case const &c : std::vector<Case>{
             {"cut short",
              [](SettingsLevel const*, boost::shared_ptr<SettingsImpl const> const&,
                 SaveSettingsFunctor const&,
                 Path const&path) { std::ofstream(path.native()) << "<sett"; },
              "<sett", false},
             {"an error on the way",
              [](SettingsLevel const*l, boost::shared_ptr<SettingsImpl const> const&node,
                 SaveSettingsFunctor const&functor, Path const&path) {
                  EXPECT_EQ(path.filename().str(), u"plot.settings.tmp");
                  SettingsFile::saveToFile(l, node, functor, path);
                  throw std::runtime_error("broken");
              },
              "", true},
         }) {
        SCOPED_TRACE(c.what);
        std::filesystem::remove(userFilePath("plot"));
        resetInstances();
        saveWidth6();
        auto expected = userFiles();
        if (!c.left.empty()) expected.begin()->second = c.left;
        SettingsFile::setSaveToFileFunc(c.save);
        if (c.throws) {
            EXPECT_THROW(product()->setAny("width", 7, "user"), std::runtime_error);
        } else {
            product()->setAny("width", 7, "user");
        }
        SettingsFile::setSaveToFileFunc(&SettingsFile::saveToFile);
        EXPECT_EQ(userFiles(), expected);
    }
}

TEST_F(File, AFullDiskIsNotNoticedByTheWriter) {
    auto const plot = productImpl();
    plot->getChildren();
    boost::shared_lock<boost::shared_mutex> const lock(*Settings::getTheRootMutex());
    for (ustring const path : {u"/dev/full", u"/no/such/folder/f"}) {
        SettingsFile::saveToFile(level("user"), plot, SaveSettingsFunctor(lock), path);
    }
}

TEST_F(File, SavesOfManyThreadsLeaveTheLastStateAndNoFolder) {
    auto const plot = product();
    concurrently(4, [&](int thread) {
        for (int i = 0; i < 25; ++i) {
            NodePtr const group = makeGroup("g" + std::to_string(thread) + "_" + std::to_string(i));
            makeKey("k", i, group);
            group->setParent(plot);
        }
    });
    EXPECT_EQ(userFiles().size(), 1u);
    resetInstances();
    for (int thread = 0; thread < 4; ++thread) {
        for (int i = 0; i < 25; ++i) {
            auto const group =
                product()->getChild("g" + std::to_string(thread) + "_" + std::to_string(i));
            ASSERT_TRUE(group);
            EXPECT_EQ(valueOf<int>(group, "k", "user"), i);
        }
    }
}

// --- Deleting -------------------------------------------------------------------------------

TEST_F(File, ARemovedProductLosesItsFileInTheFolderOfTheEnvironment) {
    NodePtr const made = makeGroup("made");
    makeKey("k", 1, made);
    made->setParent(root());
    ASSERT_TRUE(userFileExists("made"));
    implRoot()->removeNode("made");
    EXPECT_TRUE(userFiles().empty());
    SettingsFile::deleteSettingsFile(level("user"), "made");  // Missing: no error.
    SettingsFile::deleteSettingsFile(level("session"), "made");
    std::filesystem::create_directories(userDir() / "full.settings" / "x");
    EXPECT_THROW(SettingsFile::deleteSettingsFile(level("user"), "full"), fs::FsysExceptionBase);
}

}  // namespace
