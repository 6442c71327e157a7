#include <atomic>

#include <settingscore/persistence/SettingsFile.hpp>
#include <settingscore/persistence/SettingsLevelManager.hpp>
#include <settingscore/roots/SettingsContext.hpp>
#include <settingscore/tree/ProductWorld.hpp>

using namespace qbtest;

namespace {

namespace fs = qf::filesystem;
using Path = SettingsFile::Path;
using Files = std::map<std::string, std::string>;

SettingsLevel const* level(std::string const& name) {
    return SettingsLevelManager::findLevel(name);
}

// Counted on the thread that saves and read on others.
std::atomic<int> renames{0};
std::atomic<int> movesAway{0};
void (*duringSave)() = nullptr;

void useOtherFolder() {
    ustring const other = SettingsContext::getUserDir(BlessedZcrID) + u"/other";
    SettingsContext::setSettingsDirectories(BlessedZcrID, {}, {}, other);
}

class File : public ProductWorld {
protected:
    File() {
        installPlot();
        renames = movesAway = 0;
        SettingsFile::setRenameBackupFileFunc([](auto const&, auto const&) { ADD_FAILURE(); });
    }
    ~File() override {
        SettingsFile::setRenameTempToRealFunc(&SettingsFile::renameExistingFile);
        SettingsFile::setRenameRealToTempFunc(&SettingsFile::renameExistingFile);
        SettingsFile::setRenameBackupFileFunc(&SettingsFile::renameExistingFile);
        SettingsFile::setSaveToFileFunc(&SettingsFile::saveToFile);
        qbhost::enableLog({});
    }
    /// The files when the width is 6, and what they become with another.
    Files filesOfWidth6() const {
        setting("plot.width", 6);
        return userFiles();
    }
    static Files withWidth(char const* width, Files files) {
        std::string& text = files["plot.settings"];
        text.replace(text.find(valueXml("6")), valueXml("6").size(), valueXml(width));
        return files;
    }
};

// --- What counts ----------------------------------------------------------------------------

TEST_F(File, ListsFoldersOfTheFactoryAndFilesOfTheUser) {
    for (std::string const file :
         {"Alpha/f", "under_score/f", "a2/f", "farmjobs/f", "2fast/f", "with-dash/f", "_low/f",
          "\xc3\xa4rger/f", "dot.ted/f", "hidden/", "deep/settings/f", "file", "locked/f"}) {
        writeFile(factoryDir() / (file + ".settings"), "");
    }
    factoryText("capitals", "f.SETTINGS", "");
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
    for (char const* name : {"deep", "plot"})
        EXPECT_EQ(below(fs::upath_directory_entry(toUString(factoryDir() / name))), *name == 'd');
}

TEST_F(File, NamesTheFilesOfAProductInTheOrderOfTheFolder) {
    for (std::string const file : {"plot/b.settings", "plot/a.settings", "plot/a.SETTINGS",
                                   "plot/README", "farmjobs/f.settings"}) {
        writeFile(factoryDir() / file, "");
    }
    userText("gridpool.settings", "");
    auto const tree = implRoot();
    auto const files = [&](std::string const& product, std::string const& levelName) {
        std::string names;
        for (Path const& file :
             SettingsFile::getAllSettingsFileForProduct(product, level(levelName), tree)) {
            names += std::filesystem::relative(file.native(), folder()).string() + " ";
        }
        return names;
    };
    EXPECT_EQ(files("plot", "factory"),
              "toolbox/plot/a.settings toolbox/plot/b.settings toolbox/plot/plot.settings ");
    EXPECT_EQ(files("gridpool", "factory"), "toolbox/farmjobs/f.settings ");
    EXPECT_EQ(files("gridpool", "user"), "user/gridpool.settings ");
    EXPECT_EQ(files("plot", "user") + files("gridpool", "session"), "");
    // Missing folders and files in their place are empty.
    std::filesystem::remove_all(userDir());
    std::filesystem::remove_all(factoryDir());
    writeFile(userDir(), "mine");
    EXPECT_EQ(SettingsFile::getSettingsTopLevelNodes(tree), Texts{});
    EXPECT_EQ(files("plot", "factory"), "");
}

// --- Saving ---------------------------------------------------------------------------------

TEST_F(File, ASaveWritesTheWholeProductWhereverTheChangeIs) {
    std::filesystem::remove_all(userDir());
    Texts records;
    qbhost::enableLog([&](std::string const& logger, int severity, std::string const& text) {
        records.push_back(logger + " " + std::to_string(severity) + " " + text);
    });
    setting("plot.width", 6);
    setting("plot.axes.ticks.count", 8);
    EXPECT_EQ(records, Texts(2, "settings::core 1 SaveObj : plot Level : user"));
    auto const files = userFiles();
    EXPECT_EQ(files.size(), 1u);
    for (char const* value : {"6", "8"})
        EXPECT_NE(files.at("plot.settings").find(valueXml(value)), std::string::npos);

    auto const plot = productImpl();
    boost::shared_lock<boost::shared_mutex> const lock(*Settings::getTheRootMutex());
    SaveSettingsFunctor const functor(lock);
    auto const orphan =
        boost::make_shared<SettingsImplRoot>(BlessedZcrID, boost::weak_ptr<SettingsRootStateMgr>());
    SettingsFile::saveSettings(level("session"), plot, functor);
    for (NodePtr const& node : {NodePtr(), makeGroup("alone"), makeGroup("p", orphan)})
        SettingsFile::saveSettings(level("user"), node, functor);
    EXPECT_EQ(ending([&] { SettingsFile::saveSettings(level("factory"), plot, functor); }),
              "CantModifyValuesOnReadOnlyLevel(plot, factory)");
    for (ustring const path : {u"/dev/full", u"/no/such/folder/f"})
        SettingsFile::saveToFile(level("user"), plot, functor, path);  // In silence.
    EXPECT_EQ(userFiles(), files);
    EXPECT_FALSE(std::filesystem::exists("p.settings"));
}

TEST_F(File, WithoutAccessASaveIsRefusedOrDoneWithoutInSilence) {
    auto const before = filesOfWidth6();
    std::filesystem::permissions(folder(), std::filesystem::perms(0755));
    auto const setWithModes = [&](int value, unsigned userFolder, unsigned file) {
        std::filesystem::permissions(userDir(), std::filesystem::perms(userFolder));
        std::filesystem::permissions(userFilePath("plot"), std::filesystem::perms(file));
        Unprivileged const user;
        setting("plot.width", value);
    };
    expectThrow<ZENBAR::settings::core::NoWritePermissionOnDirectoryException>(
        [&] { setWithModes(7, 0555, 0644); },
        [&](auto const& e) {
            std::string const text = e.what();
            for (std::string const part : {userDir() / "temp", {"ermission"}})
                EXPECT_NE(text.find(part), std::string::npos) << text;
        });
    setWithModes(8, 0777, 0444);
    EXPECT_EQ(userFiles(), before);
    EXPECT_EQ(shownAt("plot.width", "user"), "8");
    EXPECT_TRUE(SettingsFile::checkWritePermission(level("user"), productImpl()));

    std::filesystem::remove_all(userDir());
    writeFile(userDir(), "mine");
    EXPECT_THROW(setting("plot.width", 9), fs::FsysExceptionBase);
    EXPECT_EQ(readFile(userDir()), "mine");
}

TEST_F(File, WhatHappensWhileTheTemporaryFileIsWrittenHarmsNoOther) {
    Files const before = filesOfWidth6();
    SettingsFile::setSaveToFileFunc(
        [](auto const* to, auto const& node, auto const& functor, Path const& path) {
            SettingsFile::saveToFile(to, node, functor, path);
            EXPECT_EQ(path.filename().str(), u"plot.settings.tmp");
            duringSave();
        });
    duringSave = [] { throw std::runtime_error("broken"); };
    EXPECT_THROW(setting("plot.width", 7), std::runtime_error);
    EXPECT_EQ(userFiles(), before);
    // The folder is that which was in force at the start.
    for (auto const change : {&useOtherFolder, +[] { SettingsContext::reset(BlessedZcrID); },
                              +[] { SettingsContext::reset(AnyZcrID); }}) {
        duringSave = [] {};
        resetInstances();
        setting("plot.width", 6);
        duringSave = change;
        setting("plot.width", 7);
        EXPECT_EQ(userFiles(), withWidth("7", before));
        EXPECT_FALSE(std::filesystem::exists("plot.settings"));
    }
}

TEST_F(File, ARenameThatIsRefusedIsTriedAgainWithTheOldFileOutOfTheWayAThousandTimes) {
    Files const before = filesOfWidth6();
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
    setting("plot.width", 7);
    EXPECT_EQ(renames, 2);
    EXPECT_EQ(movesAway, 1);
    EXPECT_EQ(userFiles(), withWidth("7", before));
    setting("plot.width", 6);

    renames = movesAway = 0;
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
    concurrently(2, [&](int thread) {
        if (thread == 0) return product()->setAny("width", 7, "user");
        while (movesAway == 0)
            std::this_thread::yield();
        EXPECT_EQ(readUserFile("plot"), before.at("plot.settings"));
    });
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::seconds(3));
    EXPECT_EQ(renames, 1000);
    EXPECT_EQ(movesAway, 1000);
    EXPECT_TRUE(userFiles().empty());
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
