#include <settingscore/levels/SettingsLevelManager.hpp>
#include <settingscore/persistence/SettingsFile.hpp>
#include <settingscore/roots/SettingsContext.hpp>
#include <support/ProductWorld.hpp>

using namespace qbtest;

namespace {

namespace fs = qf::filesystem;
using Path = SettingsFile::Path;
using Files = std::map<std::string, std::string>;

SettingsLevel const* level(std::string const& name) {
    return SettingsLevelManager::findLevel(name);
}

// Hooks have no state of their own.
int renames = 0;
int movesAway = 0;
bool isHopeless = false;
void (*duringSave)() = nullptr;

void useOtherFolder() {
    ustring const other = SettingsContext::getUserDir(BlessedZcrID) + u"/other";
    SettingsContext::setSettingsDirectories(BlessedZcrID, {}, {}, other);
}

class File : public ProductWorld {
protected:
    File() { installPlot(); }
    ~File() override {
        SettingsFile::setRenameTempToRealFunc(&SettingsFile::renameExistingFile);
        SettingsFile::setRenameRealToTempFunc(&SettingsFile::renameExistingFile);
        SettingsFile::setSaveToFileFunc(&SettingsFile::saveToFile);
    }
    Files filesOfWidth(int width) const {
        setting("plot.width", width);
        return userFiles();
    }
};

// --- What counts ----------------------------------------------------------------------------

TEST_F(File, FoldersOfTheFactoryAndFilesOfTheUserAreProducts) {
    for (std::string const file :
         {"Alpha/b", "Alpha/a", "farmjobs/f", "2fast/f", "with-dash/f", "deep/settings/f"})
        writeFile(factoryDir() / (file + ".settings"), "");
    writeFile(factoryDir() / "Alpha/a.SETTINGS", "");
    std::filesystem::create_directories(factoryDir() / "folder" / "f.settings");
    for (std::string const file : {"ALPHA.settings", "two.dots.settings", "gridpool.settings",
                                   ".settings", "x.settings.bak"})
        userText(file, "");
    std::filesystem::create_directories(userDir() / "folder.settings");
    std::filesystem::create_symlink(userDir() / "nothing", userDir() / "dangling.settings");
    std::filesystem::permissions(folder(), std::filesystem::perms(0755));
    std::filesystem::permissions(writeFile(factoryDir() / "locked/f.settings", "").parent_path(),
                                 std::filesystem::perms::none);
    auto const tree = implRoot();
    auto const names = [&](char const* name) {
        return SettingsFile::getSettingsTopLevelNodes(level(name), tree);
    };
    auto const files = [&](std::string const& product, std::string const& levelName) {
        std::string all;
        for (Path const& file :
             SettingsFile::getAllSettingsFileForProduct(product, level(levelName), tree))
            all += std::filesystem::relative(file.native(), folder()).string() + " ";
        return all;
    };
    {
        Unprivileged const user;
        EXPECT_EQ(names("factory"), (Texts{"Alpha", "gridpool", "plot"}));
        EXPECT_EQ(names("user"), (Texts{"ALPHA", "gridpool", "two.dots"}));
        EXPECT_EQ(SettingsFile::getSettingsTopLevelNodes(tree),
                  (Texts{"Alpha", "gridpool", "plot", "two.dots"}));
    }
    EXPECT_EQ(files("Alpha", "factory"), "toolbox/Alpha/a.settings toolbox/Alpha/b.settings ");
    EXPECT_EQ(files("gridpool", "factory"), "toolbox/farmjobs/f.settings ");
    EXPECT_EQ(files("gridpool", "user"), "user/gridpool.settings ");
}

// --- Saving ---------------------------------------------------------------------------------

TEST_F(File, WhatHasNoPlaceOnTheDiskIsNotSaved) {
    auto const files = filesOfWidth(6);
    auto const plot = productImpl();
    boost::shared_lock<boost::shared_mutex> const lock(*Settings::getTheRootMutex());
    SaveSettingsFunctor const functor(lock);
    auto const orphan =
        boost::make_shared<SettingsImplRoot>(BlessedZcrID, boost::weak_ptr<SettingsRootStateMgr>());
    SettingsFile::saveSettings(level("session"), plot, functor);
    for (NodePtr const& node : {NodePtr(), makeGroup("alone"), makeGroup("p", orphan)})
        SettingsFile::saveSettings(level("user"), node, functor);
    for (ustring const path : {u"/dev/full", u"/no/such/folder/f"})
        SettingsFile::saveToFile(level("user"), plot, functor, path);  // In silence.
    EXPECT_EQ(userFiles(), files);
    EXPECT_FALSE(std::filesystem::exists("p.settings"));
}

TEST_F(File, WithoutAccessASaveIsRefusedOrDoneWithoutInSilence) {
    auto const before = filesOfWidth(6);
    EXPECT_EQ(ending([] { productImpl()->saveThisSubTree("factory"); }),
              "CantModifyValuesOnReadOnlyLevel(plot, factory)");
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

    std::filesystem::remove_all(userDir());
    writeFile(userDir(), "mine");
    EXPECT_THROW(setting("plot.width", 9), fs::FsysExceptionBase);
}

TEST_F(File, WhatHappensWhileTheTemporaryFileIsWrittenHarmsNoOther) {
    Files const after = filesOfWidth(7);
    Files const before = filesOfWidth(6);
    SettingsFile::setSaveToFileFunc(
        [](auto const* to, auto const& node, auto const& functor, Path path) {
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
        EXPECT_EQ(userFiles(), after);
    }
}

TEST_F(File, ARenameThatIsRefusedIsTriedAgainWithTheOldFileOutOfTheWayAThousandTimes) {
    Files const after = filesOfWidth(7);
    SettingsFile::setRenameTempToRealFunc([](Path from, Path to) {
        ++renames;
        if (isHopeless || fs::exists(to)) throw fs::FsysExceptionBase("refused", from.str(), 5);
        fs::rename(from, to);
    });
    SettingsFile::setRenameRealToTempFunc([](Path from, Path to) {
        EXPECT_EQ(to.filename().str(), u"plot.settings.previous");
        // Only the last try gets the old file out of the way: nothing brings it back.
        if (++movesAway == 1000 || !isHopeless) return fs::rename(from, to);
        throw fs::FsysExceptionBase("refused", from.str(), 5);
    });
    for (bool const hopeless : {false, true}) {
        isHopeless = false;
        setting("plot.width", 6);
        isHopeless = hopeless;
        renames = movesAway = 0;
        setting("plot.width", 7);
        EXPECT_EQ(renames, hopeless ? 1000 : 2);
        EXPECT_EQ(movesAway, hopeless ? 1000 : 1);
        EXPECT_EQ(userFiles(), hopeless ? Files() : after);
    }
}

TEST_F(File, AKeyMadeInCodeIsOneOfArraysAfterARestartIfItWasOneOfAnyLength) {
    for (bool const isSettled : {false, true}) {
        auto const plot = freshRoot()->getChild("plot");
        makeKey("list")->setParent(plot);
        if (isSettled) plot->validateAny("list", Ints());
        plot->setAny("list", Ints{7}, "user");
        EXPECT_EQ(valueOf<Ints>(plot, "list"), Ints{7});
        any const value = freshRoot()->getChild("plot")->getAny("list", "user");
        EXPECT_EQ(shown(value), shown(isSettled ? any(Ints{7}) : any(7)));
        std::filesystem::remove(userFilePath("plot"));
    }
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

}  // namespace
