#include <algorithm>
#include <utility>

#include <support/DurableWorld.hpp>
#include <support/ParserMemory.hpp>

using namespace qbtest;

namespace {

/// A good user file, which loads then fail to read.
class SaveOfAnUnreadFile : public DurableWorld {
protected:
    ~SaveOfAnUnreadFile() override { qbhost::setInstallPath({}); }
    SaveOfAnUnreadFile() {
        setWidth(6);
        good_ = userFiles();
        resetInstances();
    }
    /// The first touch of the product reports the user's file with that at the end of the line.
    void expectReported(std::string const& end) const {
        auto const look = [&](exception::ErrorReadingSettingsData const& e) {
            std::string const text = qf::i18n::to_string(e.getDetailErrorMsg());
            std::size_t const line = text.find(userFilePath("plot").string() + "\t");
            ASSERT_NE(line, std::string::npos) << text;
            EXPECT_EQ(text.rfind(end, text.find('\n', line)) + end.size(), text.find('\n', line))
                << text;
        };
        expectThrow<exception::ErrorReadingSettingsData>([] { product()->getChildren(); }, look);
    }
    /// The save that adding a group makes is refused with the error and a reason that has the parts
    /// in it.
    void expectRefused(int error, Texts const& parts) {
        auto const look = [&](SaveError const& e) {
            EXPECT_EQ(e.getErrorNum(), error);
            EXPECT_EQ(e.getCausingFilePath(), toUString(userFilePath("plot")));
            EXPECT_EQ(e.getCausingObject(), product());
            std::string const text = qf::i18n::to_string(e.getReasonStr());
            for (std::string const& part : parts)
                EXPECT_NE(text.find(part), std::string::npos) << text << " lacks " << part;
        };
        NodePtr const group = makeGroup("g");
        expectThrow<SaveError>([&] { group->setParent(productImpl()); }, look);
        turnOffSettingsSaving();
        productImpl()->removeNodeImpl(group);
        turnOnSettingsSaving();
        Calls* const calls = std::exchange(Calls::watcher, nullptr);
        EXPECT_EQ(userFiles(), good_);
        Calls::watcher = calls;
    }
    /// Saves until a new root are refused though the file can be read; the new root has its values.
    void expectGoodInANewRoot(int error) {
        expectRefused(error, {"can be read now", "new root"});
        resetInstances();
        EXPECT_EQ(shownAt("plot.width"), "6");
        setWidth(7);
        setWidth(6);
        EXPECT_EQ(userFiles(), good_);
    }
    Files good_;
};

TEST_F(SaveOfAnUnreadFile, IsRefusedUntilANewRootHasReadIt) {
    std::string const unreadable = " (unreadable at this time)";
    for (auto const& [call, error, reason] : std::vector<std::tuple<std::string, int, std::string>>{
             {"open plot.settings", EMFILE, "Too many open files"},
             {"open plot.settings", ENFILE, "Too many open files in system"},
             {"read plot.settings", EIO, "Input/output error"},
             {"read plot.settings", ENOMEM, "Cannot allocate memory"}}) {
        SCOPED_TRACE(call + " " + reason);
        resetInstances();
        {
            Calls const calls(userDir(), call, error);
            expectReported("'" + userFilePath("plot").string() + "': " + reason + unreadable);
            expectRefused(error, {"cannot be read at this time", reason});
        }
        {
            Calls const calls(userDir(), call, EIO);
            expectRefused(EIO, {"cannot be read at this time", "Input/output error"});
        }
        expectGoodInANewRoot(EIO);
    }
}

TEST_F(SaveOfAnUnreadFile, IsRefusedWhateverItWasThatTheReadLacked) {
    // The schema.
    qbhost::setInstallPath(toUString(folder() / "none"));
    expectReported("No such file or directory");
    expectRefused(ENOENT, {"cannot be read at this time", "settings.xsd"});
    qbhost::setInstallPath({});
    expectGoodInANewRoot(ENOENT);
    // Memory of the parser, which reads what is not plain.
    Files const plain = std::exchange(good_, {});
    userText("plot.settings", settingsXml("plot", "<?a b?>" + intKey("width", "6")));
    good_ = userFiles();
    resetInstances();
    product();
    ParserMemory::suffices(50, [&] { expectReported("std::bad_alloc"); });
    expectRefused(ENOMEM, {"can be read now", "new root"});
    good_ = plain;
    resetInstances();
    setWidth(7);
    setWidth(6);
    EXPECT_EQ(userFiles(), good_);
    // Another file that the file names.
    userText("more", settingsXml("plot", intKey("more", "1")));
    userText("plot.settings",
             settingsXml("plot", "<additionalpath>more</additionalpath>" + intKey("width", "6")));
    good_ = userFiles();
    resetInstances();
    {
        Calls const calls(userDir(), "read more", EIO);
        EXPECT_THROW(product()->getChildren(), exception::ErrorReadingSettingsData);
        expectRefused(EIO, {"/more'"});
    }
    expectRefused(EIO, {"can be read now"});
}

TEST_F(SaveOfAnUnreadFile, GoesOnWhereNothingCanBeLost) {
    auto const failToLoad = [&] {
        resetInstances();
        Calls const calls(userDir(), "open plot.settings", EIO);
        EXPECT_THROW(product()->getChildren(), exception::ErrorReadingSettingsData);
    };
    // It turns out to be defective.
    failToLoad();
    userText("plot.settings", "<settings");
    setWidth(6);
    Files expected = good_;
    expected["plot.settings.rejected"] = "<settings";
    EXPECT_EQ(userFiles(), expected);
    // It is gone.
    failToLoad();
    std::filesystem::remove(userFilePath("plot"));
    setWidth(6);
    EXPECT_EQ(userFiles(), expected);
    // It was replaced by this tree in the meantime, which the default does as ever.
    failToLoad();
    filesByDefault(5);
    setWidth(6);
    EXPECT_EQ(userFiles(), expected);
    // Another tree has read it; that saves, and this one has its values no more than before.
    failToLoad();
    qbhost::startInstance(1);
    Settings::getSettingsRoot(1)->getChild("plot")->setAny("width", 9, "user");
    good_ = userFiles();
    EXPECT_EQ(good_.size(), 2u);
    expectRefused(EIO, {"can be read now"});
    qbhost::endInstance(1);
}

TEST_F(SaveOfAnUnreadFile, IsRefusedWhereTheRootCouldNotListIt) {
    userFile("mine", intKey("k", "1"));
    good_ = userFiles();
    for (auto const& [call, error, reason] : std::vector<std::tuple<std::string, int, std::string>>{
             {"open user", EIO, "Input/output error"},
             {"open user", EACCES, "Permission denied"}}) {
        SCOPED_TRACE(call + " " + reason);
        {
            Calls const calls(folder(), call, error);
            ASSERT_FALSE(freshRoot()->getChild("mine"));
        }
        auto const look = [&](SaveError const& e, std::string const& why) {
            EXPECT_EQ(e.getErrorNum(), error);
            EXPECT_EQ(e.getCausingFilePath(), toUString(userFilePath("mine")));
            std::string const text = qf::i18n::to_string(e.getReasonStr());
            EXPECT_NE(text.find(why), std::string::npos) << text;
            EXPECT_NE(text.find(reason), std::string::npos) << text;
        };
        NodePtr const made = makeGroup("mine");
        expectThrow<SaveError>([&] { made->setParent(implRoot()); },
                               [&](SaveError const& e) { look(e, "new root"); });
        {
            Calls const calls(userDir(), "open mine.settings", error == EACCES ? ENFILE : error);
            EXPECT_THROW(made->saveThisSubTree("user"), SaveError);
        }
        EXPECT_EQ(userFiles(), good_);
        // A product that the factory names has looked for its file.
        EXPECT_EQ(shownAt("plot.width"), "6");
        setWidth(7);
        setWidth(6);
        EXPECT_EQ(userFiles(), good_);
    }
    freshRoot();
    EXPECT_EQ(shownAt("mine.k"), "1");
    EXPECT_EQ(setting("mine.k", 2), "done");

    // Files that are not there, defective ones, and those that this tree has replaced are no
    // obstacle.
    std::filesystem::remove(userFilePath("plot"));
    userText("broken.settings", "<settings");
    {
        Calls const calls(folder(), "open user", EIO);
        freshRoot();
    }
    setWidth(7);
    setWidth(6);
    for (std::string const name : {"new", "broken", "mine"}) {
        NodePtr const made = makeGroup(name);
        if (name == "mine") turnOffDurableSaving();
        made->setParent(implRoot());
        turnOnDurableSaving();
        made->saveThisSubTree("user");
    }
    Files const left = userFiles();
    EXPECT_EQ(left.size(), 5u);
    EXPECT_EQ(left.at("broken.settings.rejected"), "<settings");
    EXPECT_EQ(left.at("mine.settings").find("\"k\""), std::string::npos);
}

TEST_F(SaveOfAnUnreadFile, IsOverWhenOnlyTheSyncBehindTheRenameFailed) {
    {
        Calls const calls(userDir(), "open plot.settings", EIO);
        EXPECT_THROW(product()->getChildren(), exception::ErrorReadingSettingsData);
    }
    std::filesystem::remove(userFilePath("plot"));
    {
        Calls const calls(userDir(), "fsync .", EIO);
        EXPECT_THROW(setWidth(7), SaveError);
    }
    // What is in the place of the unread file by now is the tree's own.
    EXPECT_TRUE(userFileExists("plot"));
    setWidth(6);
    EXPECT_EQ(userFiles(), good_);
}

TEST_F(SaveOfAnUnreadFile, ASignalIsNoReason) {
    for (std::string const call : {"open plot.settings", "read plot.settings"}) {
        resetInstances();
        Calls const calls(userDir(), call, EINTR);
        EXPECT_EQ(shownAt("plot.width"), "6");
    }
    for (std::string const call : {"fopen plot.settings", "fsync TEMP/plot.settings.tmp"}) {
        for (int const width : {7, 6}) {
            Calls const calls(userDir(), call, EINTR);
            setWidth(width);
        }
    }
    EXPECT_EQ(userFiles(), good_);
}

}  // namespace
