#include <atomic>
#include <fstream>

#include <settingscore/persistence/SettingsFile.hpp>
#include <settingscore/persistence/SettingsLevelManager.hpp>
#include <settingscore/roots/SettingsContext.hpp>
#include <settingscore/tree/ProductWorld.hpp>

using namespace settings::core;
using namespace qbtest;

namespace {

namespace fs = qf::filesystem;
using Path = SettingsFile::Path;

SettingsLevel const* level(std::string const& name) {
    return SettingsLevelManager::findLevel(name);
}

// Counted on the thread that saves and read on others.
std::atomic<int> renames{0};
std::atomic<int> movesAway{0};

class File : public ProductWorld {
protected:
    File() {
        installPlot();
        renames = 0;
        movesAway = 0;
        SettingsFile::setRenameBackupFileFunc([](auto const&, auto const&) { ADD_FAILURE(); });
    }
    ~File() override {
        SettingsFile::setRenameTempToRealFunc(&SettingsFile::renameExistingFile);
        SettingsFile::setRenameRealToTempFunc(&SettingsFile::renameExistingFile);
        SettingsFile::setRenameBackupFileFunc(&SettingsFile::renameExistingFile);
        SettingsFile::setSaveToFileFunc(&SettingsFile::saveToFile);
        qbhost::enableLog({});
    }
    static void setWidth(int value) { product()->setAny("width", value, "user"); }
    /// Lets permissions count for the folder and the file of "plot".
    void setModes(unsigned userFolder, unsigned file) const {
        std::filesystem::permissions(folder(), std::filesystem::perms(0755));
        std::filesystem::permissions(userDir(), std::filesystem::perms(userFolder));
        std::filesystem::permissions(userFilePath("plot"), std::filesystem::perms(file));
    }
};

// --- What counts ----------------------------------------------------------------------------

TEST_F(File, ListsFoldersOfTheFactoryAndFilesOfTheUser) {
    for (std::string const file :
         {"Alpha/f", "under_score/f", "a2/f", "farmjobs/f", "2fast/f", "with-dash/f", "_low/f",
          "\xc3\xa4rger/f", "dot.ted/f", "hidden/", "deep/settings/f", "file"}) {
        writeFile(factoryDir() / (file + ".settings"), "");
    }
    factoryText("capitals", "f.SETTINGS", "");
    factoryText("locked", "f.settings", "");
    std::filesystem::create_directories(factoryDir() / "folder" / "f.settings");
    for (std::string const file : {"ALPHA.settings", "two.dots.settings", "farmjobs.settings",
                                   ".settings", "x.SETTINGS", "x.settings.bak", "-odd.settings"}) {
        userText(file, "");
    }
    std::filesystem::create_directories(userDir() / "folder.settings");
    std::filesystem::create_symlink(userDir() / "nothing", userDir() / "dangling.settings");
    std::filesystem::permissions(folder(), std::filesystem::perms(0755));
    std::filesystem::permissions(factoryDir() / "locked", std::filesystem::perms::none);

    Unprivileged const user;
    auto const tree = implRoot();
    auto const names = [&](char const* name) {
        return SettingsFile::getSettingsTopLevelNodes(level(name), tree);
    };
    EXPECT_EQ(names("factory"), (Texts{"Alpha", "a2", "gridpool", "plot", "under_score"}));
    EXPECT_EQ(names("user"), (Texts{"-odd", "ALPHA", "gridpool", "two.dots"}));
    EXPECT_EQ(names("session"), Texts{});
    EXPECT_EQ(SettingsFile::getSettingsTopLevelNodes(tree),
              (Texts{"-odd", "a2", "Alpha", "gridpool", "plot", "two.dots", "under_score"}));
    IsASettingsDirectoryWithSubDir const below;
    EXPECT_TRUE(below(fs::upath_directory_entry(toUString(factoryDir() / "deep"))));
    EXPECT_FALSE(below(fs::upath_directory_entry(toUString(factoryDir() / "plot"))));
}

TEST_F(File, NamesTheFilesOfAProductInTheOrderOfTheFolder) {
    for (std::string const file : {"plot/b.settings", "plot/a.settings", "plot/a.SETTINGS",
                                   "plot/README", "farmjobs/f.settings"}) {
        writeFile(factoryDir() / file, "");
    }
    userText("gridpool.settings", "");
    auto const tree = implRoot();
    auto const files = [&](std::string const& product, std::string const& levelName) {
        Texts names;
        for (Path const& file :
             SettingsFile::getAllSettingsFileForProduct(product, level(levelName), tree)) {
            names.push_back(std::filesystem::relative(file.native(), folder()).string());
        }
        return names;
    };
    EXPECT_EQ(files("plot", "factory"), (Texts{"toolbox/plot/a.settings", "toolbox/plot/b.settings",
                                               "toolbox/plot/plot.settings"}));
    EXPECT_EQ(files("plot", "user"), Texts{});
    EXPECT_EQ(files("gridpool", "session"), Texts{});
    EXPECT_EQ(files("gridpool", "factory"), Texts{"toolbox/farmjobs/f.settings"});
    EXPECT_EQ(files("gridpool", "user"), Texts{"user/gridpool.settings"});
    // Missing folders and files in their place are empty.
    std::filesystem::remove_all(userDir());
    std::filesystem::remove_all(factoryDir());
    writeFile(userDir(), "mine");
    EXPECT_EQ(SettingsFile::getSettingsTopLevelNodes(tree), Texts{});
    EXPECT_EQ(files("plot", "factory"), Texts{});
}

// --- Saving ---------------------------------------------------------------------------------

TEST_F(File, ASaveWritesTheWholeProductWhereverTheChangeIs) {
    std::filesystem::remove_all(userDir());
    Texts records;
    qbhost::enableLog([&](std::string const& logger, int severity, std::string const& text) {
        records.push_back(logger + " " + std::to_string(severity) + " " + text);
    });
    setWidth(6);
    nodeAt("plot.axes.ticks")->setAny("count", 8, "user");
    EXPECT_EQ(records, Texts(2, "settings::core 1 SaveObj : plot Level : user"));
    std::string const text = readUserFile("plot");
    EXPECT_NE(text.find("<value>6</value>"), std::string::npos);
    EXPECT_NE(text.find("<value>8</value>"), std::string::npos);
    EXPECT_EQ(userFiles().size(), 1u);

    auto const plot = productImpl();
    boost::shared_lock<boost::shared_mutex> const lock(*Settings::getTheRootMutex());
    SaveSettingsFunctor const functor(lock);
    auto const orphan =
        boost::make_shared<SettingsImplRoot>(BlessedZcrID, boost::weak_ptr<SettingsRootStateMgr>());
    SettingsFile::saveSettings(level("session"), plot, functor);
    SettingsFile::saveSettings(level("user"), {}, functor);
    SettingsFile::saveSettings(level("user"), makeGroup("alone"), functor);
    SettingsFile::saveSettings(level("user"), makeGroup("p", orphan), functor);
    expectThrow<exception::CantModifyValuesOnReadOnlyLevel>(
        [&] { SettingsFile::saveSettings(level("factory"), plot, functor); },
        [&](auto const& e) { EXPECT_EQ(e.getLevelToModify(), "factory"); });
    for (ustring const path : {u"/dev/full", u"/no/such/folder/f"})
        SettingsFile::saveToFile(level("user"), plot, functor, path);  // In silence.
    EXPECT_EQ(userFiles(), (std::map<std::string, std::string>{{"plot.settings", text}}));
    EXPECT_FALSE(std::filesystem::exists("p.settings"));
}

TEST_F(File, WithoutAccessASaveIsRefusedOrDoneWithoutInSilence) {
    setWidth(6);
    auto const before = userFiles();
    auto const setWithoutRights = [](int value) {
        Unprivileged const user;
        setWidth(value);
    };
    setModes(0555, 0644);
    expectThrow<ZENBAR::settings::core::NoWritePermissionOnDirectoryException>(
        [&] { setWithoutRights(7); },
        [&](auto const& e) {
            std::string const text = e.what();
            EXPECT_NE(text.find((userDir() / "temp").string()), std::string::npos) << text;
            EXPECT_NE(text.find("ermission"), std::string::npos) << text;
        });
    setModes(0777, 0444);
    setWithoutRights(8);
    EXPECT_EQ(userFiles(), before);
    EXPECT_EQ(valueOf<int>(product(), "width", "user"), 8);
    EXPECT_TRUE(SettingsFile::checkWritePermission(level("user"), productImpl()));

    std::filesystem::remove_all(userDir());
    writeFile(userDir(), "mine");
    EXPECT_THROW(setWidth(9), fs::FsysExceptionBase);
    EXPECT_EQ(readFile(userDir()), "mine");
}

TEST_F(File, ARenameThatIsRefusedOnceIsTriedAgainWithTheOldFileOutOfTheWay) {
    setWidth(6);
    SettingsFile::setRenameTempToRealFunc([](Path const& from, Path const& to) {
        ++renames;
        if (fs::exists(to)) throw fs::FsysExceptionBase("refused", from.str(), 5);
        fs::rename(from, to);
    });
    SettingsFile::setRenameRealToTempFunc([](Path const& from, Path const& to) {
        ++movesAway;
        EXPECT_EQ(to.filename().str(), u"plot.settings.previous");
        fs::rename(from, to);
    });
    setWidth(7);
    EXPECT_EQ(renames, 2);
    EXPECT_EQ(movesAway, 1);
    EXPECT_EQ(userFiles().size(), 1u);
    EXPECT_NE(readUserFile("plot").find("<value>7</value>"), std::string::npos);
}

TEST_F(File, ARenameThatIsRefusedForEverEndsInSilenceAfterAThousandTries) {
    setWidth(6);
    std::string const before = readUserFile("plot");
    SettingsFile::setRenameTempToRealFunc([](Path const& from, Path const&) {
        ++renames;
        throw fs::FsysExceptionBase("refused", from.str(), 5);
    });
    SettingsFile::setRenameRealToTempFunc([](Path const& from, Path const& to) {
        // Only the last try gets the old file out of the way: nothing brings it back.
        if (++movesAway == 1000) fs::rename(from, to);
        throw fs::FsysExceptionBase("refused", from.str(), 5);
    });
    auto const start = std::chrono::steady_clock::now();
    std::thread watcher([&] {
        while (movesAway == 0)
            std::this_thread::yield();
        EXPECT_EQ(readUserFile("plot"), before);
    });
    setWidth(7);
    watcher.join();
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::seconds(3));
    EXPECT_EQ(renames, 1000);
    EXPECT_EQ(movesAway, 1000);
    EXPECT_TRUE(userFiles().empty());
}

TEST_F(File, AnErrorWhileTheTemporaryFileIsWrittenLeavesTheRealOneAlone) {
    setWidth(6);
    auto const before = userFiles();
    SettingsFile::setSaveToFileFunc([](auto const*, auto const&, auto const&, Path const& path) {
        EXPECT_EQ(path.filename().str(), u"plot.settings.tmp");
        std::ofstream(path.native()) << "<settings";
        throw std::runtime_error("broken");
    });
    EXPECT_THROW(setWidth(7), std::runtime_error);
    EXPECT_EQ(userFiles(), before);
}

TEST_F(File, SavesOfManyThreadsLeaveTheLastStateAndNoFolder) {
    auto const plot = product();
    concurrently(4, [&](int thread) {
        for (int i = 0; i < 25; ++i)
            makeGroup("g" + std::to_string(thread * 25 + i))->setParent(plot);
    });
    EXPECT_EQ(userFiles().size(), 1u);
    EXPECT_EQ(freshRoot()->getChild("plot")->getChildren().size(), 103u);
}

TEST_F(File, DeletesAFileThatIsThereAndTellsOfOneThatStays) {
    userFile("made", "");
    for (std::string const name : {"session", "user", "user"})
        SettingsFile::deleteSettingsFile(level(name), "made");  // Missing: no error.
    EXPECT_TRUE(userFiles().empty());
    std::filesystem::create_directories(userDir() / "full.settings" / "x");
    EXPECT_THROW(SettingsFile::deleteSettingsFile(level("user"), "full"), fs::FsysExceptionBase);
}

}  // namespace
