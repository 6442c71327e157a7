#include <fcntl.h>
#include <poll.h>
#include <sys/file.h>
#include <unistd.h>

#include <settingscore/errors/Exceptions.hpp>
#include <settingscore/persistence/DurableSaving.hpp>
#include <support/SharedWorld.hpp>

using namespace qbtest;

namespace {

using SharedSaving = SharedWorld;

// --- Saves merge ----------------------------------------------------------------------------

TEST_F(SharedSaving, WhatOthersSavedStaysAndOneKeyIsDecidedByTheLaterSave) {
    // Both have loaded the product before the other one saves.
    EXPECT_EQ(valueHere("plot.width") + valueThere("plot.width"), "55");
    set(0, "plot.width", 6);
    set(1, "plot.title", ustring(u"there"));
    EXPECT_EQ(valueInFile("plot.width"), "6");
    EXPECT_EQ(valueInFile("plot.title"), "string there");
    set(0, "plot.axes.grid", false);
    set(1, "plot.width", 7);
    set(0, "plot.axes.ticks.count", 4);
    EXPECT_EQ(valueInFile("plot.width"), "7");
    EXPECT_EQ(valueInFile("plot.axes.grid"), "bool 0");
    EXPECT_EQ(valueInFile("plot.axes.ticks.count"), "4");
}

TEST_F(SharedSaving, NodesThatCameStayAndNodesThatWentStayAway) {
    addKey(0, "plot", "mine", 1);
    EXPECT_EQ(valueThere("plot.mine"), "1");
    addKey(0, "plot.axes", "late", 2);
    removeKey(1, "plot", "mine");
    set(0, "plot.width", 6);
    EXPECT_EQ(valueInFile("plot.mine"), "gone");
    EXPECT_EQ(valueInFile("plot.axes.late"), "2");
    EXPECT_EQ(valueHere("plot.mine"), "gone");
}

TEST_F(SharedSaving, AFailedSaveReachesTheFileWithTheNextOne) {
    valueThere("plot.width");
    {
        // Saves are switched off as the disk might be.
        turnOffSettingsSaving();
        set(0, "plot.width", 6);
        turnOnSettingsSaving();
    }
    set(1, "plot.title", ustring(u"there"));
    set(1, "plot.width", 9);
    // Not seen as equal to what memory has, nor lost, though both changed it.
    set(0, "plot.axes.grid", false);
    EXPECT_EQ(valueInFile("plot.width"), "6");
    EXPECT_EQ(valueInFile("plot.title"), "string there");
    EXPECT_EQ(valueInFile("plot.axes.grid"), "bool 0");
}

TEST_F(SharedSaving, ASetStartsFromWhatTheFileHolds) {
    set(0, "plot.width", 6);
    EXPECT_EQ(valueThere("plot.width"), "6");
    set(1, "plot.width", 7);
    // Memory has this value still, the file has not.
    set(0, "plot.width", 6);
    EXPECT_EQ(valueInFile("plot.width"), "6");
    set(1, "plot.width", 8);
    in(0, "plot")->unset("width", "user");
    EXPECT_EQ(valueInFile("plot.width"), "5");
}

TEST_F(SharedSaving, ProductsThatWereLoadedBeforeAreComparedWithTheFile) {
    turnOffSharedSaving();
    valueHere("plot.width");
    set(1, "plot.title", ustring(u"there"));
    turnOffSettingsSaving();
    set(0, "plot.width", 6);
    turnOnSettingsSaving();
    turnOnSharedSaving();
    set(0, "plot.axes.grid", false);
    EXPECT_EQ(valueInFile("plot.width"), "6");
    EXPECT_EQ(valueInFile("plot.axes.grid"), "bool 0");
}

TEST_F(SharedSaving, WithoutTheModeTheLaterSaveUndoesTheEarlierOne) {
    turnOffSharedSaving();
    valueHere("plot.width");
    valueThere("plot.width");
    set(0, "plot.width", 6);
    set(1, "plot.title", ustring(u"there"));
    EXPECT_EQ(valueInFile("plot.width"), "5");
}

// --- The lock -------------------------------------------------------------------------------

TEST_F(SharedSaving, ALockThatIsHeldIsWaitedForAndNamed) {
    set(0, "plot.width", 6);
    int const file = ::open((userDir() / ".qbsettings.lock").c_str(), O_RDWR | O_CLOEXEC);
    ASSERT_GE(file, 0);
    ASSERT_EQ(::flock(file, LOCK_EX), 0);
    expectThrow<exception::ErrorWriteToTempSettingsFile>(
        [] { set(0, "plot.width", 7); },
        [&](exception::ErrorWriteToTempSettingsFile const& e) {
            EXPECT_EQ(e.getErrorNum(), EWOULDBLOCK);
            EXPECT_EQ(e.getCausingFilePath(), toUString(userFilePath("plot")));
            std::string const reason = qf::i18n::to_string(e.getReasonStr());
            EXPECT_NE(reason.find(".qbsettings.lock is held by "), std::string::npos) << reason;
        });
    EXPECT_EQ(valueInFile("plot.width"), "6");
    EXPECT_EQ(valueHere("plot.width"), "7");
    ::close(file);
    set(0, "plot.axes.grid", false);
    EXPECT_EQ(valueInFile("plot.width"), "7");
}

TEST_F(SharedSaving, OnlyARegularFileIsTakenForTheLock) {
    std::filesystem::create_symlink(folder() / "elsewhere", userDir() / ".qbsettings.lock");
    expectThrow<exception::ErrorWriteToTempSettingsFile>(
        [] { set(0, "plot.width", 7); },
        [&](exception::ErrorWriteToTempSettingsFile const& e) {
            EXPECT_NE(qf::i18n::to_string(e.getReasonStr()).find("is not a regular file"),
                      std::string::npos);
        });
    EXPECT_FALSE(std::filesystem::exists(folder() / "elsewhere"));
    EXPECT_FALSE(userFileExists("plot"));
}

// --- Files that cannot be read ----------------------------------------------------------------

TEST_F(SharedSaving, ADefectiveFileOfAnotherIsKeptAside) {
    set(0, "plot.width", 6);
    userText("plot.settings", "broken");
    auto const refreshed = refresh(0);
    EXPECT_EQ(refreshed.changedNodes, 0u);
    EXPECT_NE(refreshed.report.find(u"plot.settings\t"), ustring::npos);
    EXPECT_EQ(refresh(0).report, u"");
    EXPECT_EQ(valueHere("plot.width"), "6");
    set(0, "plot.axes.grid", false);
    EXPECT_EQ(userFiles().at("plot.settings.rejected"), "broken");
    EXPECT_EQ(valueInFile("plot.width"), "6");
    for (char const* const durable : {"durable"}) {
        SCOPED_TRACE(durable);
        turnOnDurableSaving();
        userText("plot.settings", "broken again");
        set(0, "plot.axes.grid", true);
        EXPECT_EQ(userFiles().at("plot.settings.rejected.2"), "broken again");
        EXPECT_EQ(userFiles().count("plot.settings.rejected.3"), 0u);
        turnOffDurableSaving();
    }
}

TEST_F(SharedSaving, AValueThatALoadRefusesIsReportedOnce) {
    set(0, "plot.width", 6);
    std::string text = readUserFile("plot");
    text.replace(text.find("<value>6<"), 9, "<value>77<");
    userText("plot.settings", text);
    EXPECT_NE(refresh(0).report, u"");
    EXPECT_EQ(refresh(0).report, u"");
    EXPECT_EQ(valueHere("plot.width"), "6");
}

// --- Refresh --------------------------------------------------------------------------------

TEST_F(SharedSaving, ARefreshTellsWhatOthersChanged) {
    valueHere("plot.width");
    Heard heard(root());
    set(1, "plot.width", 6);
    addKey(1, "plot.axes", "late", 2);
    set(1, "plot.title", ustring(u"there"));
    EXPECT_EQ(heard.take(), "");
    auto const refreshed = refresh(0);
    EXPECT_EQ(refreshed.changedNodes, 3u);
    EXPECT_EQ(refreshed.report, u"");
    EXPECT_EQ(heard.take(), "add late to axes; value late; value title; value width");
    EXPECT_EQ(refresh(0).changedNodes, 0u);
    removeKey(1, "plot.axes", "late");
    in(1, "plot")->unset("width", "user");
    EXPECT_EQ(refresh(0).changedNodes, 2u);
    EXPECT_EQ(heard.take(), "remove late from axes; value width");
    EXPECT_EQ(valueHere("plot.width"), "5");
}

TEST_F(SharedSaving, AFileWrittenByHandIsTakenInAsALoadWould) {
    valueHere("plot.width");
    set(0, "plot.axes.grid", false);
    Heard heard(root());
    // Without the flags that the factory's keys have, and without most of the keys.
    userFile("plot", "<key name=\"width\"><int32><value>7</value></int32></key>");
    EXPECT_EQ(refresh(0).changedNodes, 2u);
    EXPECT_EQ(heard.take(), "value grid; value width");
    EXPECT_TRUE(in(0, "plot.width")->isVisible());
    EXPECT_EQ(valueHere("plot.title"), "-");
    // A key of another type than the factory's is refused, with the whole file.
    userFile("plot", "<key name=\"width\"><bool><value>1</value></bool></key>");
    EXPECT_NE(refresh(0).report, u"");
    EXPECT_EQ(valueHere("plot.width"), "7");
}

TEST_F(SharedSaving, SessionValuesAreNeverTouched) {
    addKey(1, "plot", "own", 1);
    Heard heard(root());
    here("plot")->setAny("own", 9, "session");
    here("plot")->setAny("width", 8, "session");
    heard.take();
    removeKey(1, "plot", "own");
    set(1, "plot.width", 6);
    refresh(0);
    EXPECT_EQ(heard.take(), "");  // What is in force is as it was.
    EXPECT_EQ(valueHere("plot.own"), "9");
    EXPECT_EQ(valueHere("plot.width"), "8");
    EXPECT_EQ(shown(here("plot")->getAny("own", "user")), "-");
    EXPECT_EQ(shown(here("plot")->getAny("width", "user")), "6");
}

TEST_F(SharedSaving, ProductsComeAndGo) {
    root();
    SettingsFileWatch watch(BlessedZcrID);
    watch.refresh();
    Heard heard(root());
    userFile("mine", intKey("k", "1"));
    EXPECT_EQ(watch.refresh().changedNodes, 1u);
    EXPECT_EQ(heard.take(), "add mine to root");
    EXPECT_EQ(valueHere("mine.k"), "1");
    std::filesystem::remove(userFilePath("mine"));
    EXPECT_EQ(watch.refresh().changedNodes, 1u);
    EXPECT_EQ(heard.take(), "remove mine from root");
    EXPECT_FALSE(in(0, "mine"));
    // Without having been loaded as well; a product of the factory stays.
    userFile("mine", intKey("k", "2"));
    set(1, "plot.width", 6);
    watch.refresh();
    std::filesystem::remove(userFilePath("mine"));
    std::filesystem::remove(userFilePath("plot"));
    heard.take();
    watch.refresh();
    EXPECT_EQ(heard.take(), "remove mine from root");
    EXPECT_EQ(valueHere("plot.width"), "5");
}

TEST_F(SharedSaving, TheDescriptorTellsWhenToRefresh) {
    std::filesystem::remove_all(userDir());
    SettingsFileWatch watch(BlessedZcrID);
    auto const isReadable = [&] {
        pollfd waiting{watch.descriptor(), POLLIN, 0};
        return ::poll(&waiting, 1, 0) == 1;
    };
    watch.refresh();
    EXPECT_FALSE(isReadable());
    std::filesystem::create_directories(userDir());
    EXPECT_TRUE(isReadable());
    watch.refresh();
    EXPECT_FALSE(isReadable());
    userFile("mine", intKey("k", "1"));
    EXPECT_TRUE(isReadable());
    EXPECT_EQ(watch.refresh().changedNodes, 1u);
    EXPECT_FALSE(isReadable());
}

// --- Batches --------------------------------------------------------------------------------

TEST_F(SharedSaving, ABatchIsOneSaveAProduct) {
    userFile("mine", intKey("k", "1"));
    resetInstances();
    Heard heard(root());
    noteSaves(heard);
    using Elements = std::vector<std::pair<std::string, any>>;
    Elements const elements{{"plot.width", 6}, {"mine.k", 2}, {"plot.axes.grid", false}};
    EXPECT_EQ(root()->setMultiple(elements, "user"), BatchErrors());
    EXPECT_EQ(heard.take(), "value width; value k; value grid; save user:width; save user:k");
}

}  // namespace
