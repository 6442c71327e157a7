#include <sys/resource.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <optional>

#include <settingscore/persistence/DurableSaving.hpp>
#include <support/SharedWorld.hpp>
#include <support/WatchedCalls.hpp>

using namespace qbtest;

namespace {

/// Saves that merge, in which something fails. The calls of a save go through
/// durable_save_test.cpp.
class SharedFailures : public SharedWorld, public testing::WithParamInterface<bool> {
protected:
    SharedFailures() {
        std::signal(SIGXFSZ, SIG_IGN);
        if (GetParam()) turnOnDurableSaving();
        set(0, "plot.axes.ticks.count", 100);
    }
    ~SharedFailures() override { turnOffDurableSaving(); }

    /// Sets a key to a number that no other save had, while another process replaces the file
    /// between the first look and the save; `begin` is called before the save.
    template <class Begin>
    void saveMerged(Begin const& begin) {
        ++number_;
        std::string const before = readUserFile("plot");
        set(1, "plot.title", qf::i18n::to_ustring(std::to_string(number_)));
        addKey(1, "plot.axes", "late" + std::to_string(number_), number_);
        theirs_ = readUserFile("plot");
        userText("plot.settings", before);
        bool isOthersTurn = true;
        auto const connection = in(0, "plot")->addListener<SettingsEvent>([&](auto const&) {
            if (!isOthersTurn) return;
            isOthersTurn = false;
            userText("plot.settings", theirs_);
            begin();
        });
        set(0, "plot.axes.ticks.count", number_);
    }

    void expectOldOrNew(bool folderMayStay) const {
        std::string const number = std::to_string(number_);
        std::string const count = valueInFile("plot.axes.ticks.count");
        if (readUserFile("plot") != theirs_) {
            EXPECT_EQ(count, number);
        }
        expectOthersKeys();
        EXPECT_EQ(valueHere("plot.axes.ticks.count"), number);
        for (auto const& [name, text] : userFiles()) {
            bool const isKnown = name == "plot.settings" || name == ".qbsettings.lock" ||
                                 (folderMayStay && name.compare(0, 4, "temp") == 0);
            EXPECT_TRUE(isKnown) << name;
        }
    }
    void expectOthersKeys() const {
        std::string const number = std::to_string(number_);
        EXPECT_EQ(valueInFile("plot.title"), "string " + number);
        EXPECT_EQ(valueInFile("plot.axes.late" + number), number);
    }
    /// Also shows that the lock is free.
    void expectNextSaveBringsIt() const {
        set(0, "plot.width", 1 + number_ % 10);
        EXPECT_EQ(valueInFile("plot.axes.ticks.count"), std::to_string(number_));
        EXPECT_EQ(valueInFile("plot.width"), std::to_string(1 + number_ % 10));
        expectOthersKeys();
    }

    std::string theirs_;
    int number_ = 100;
};

TEST_P(SharedFailures, WhateverCallFailsNobodyLosesAnything) {
    Texts names;
    {
        std::optional<Calls> calls;
        saveMerged([&] { calls.emplace(userDir()); });
        names = calls->seen;
        names.insert(names.end(), calls->looks.begin(), calls->looks.end());
    }
    expectNextSaveBringsIt();
    for (char const* const name :
         {"open .qbsettings.lock", "flock .qbsettings.lock", "stat plot.settings",
          "open plot.settings", "read plot.settings", "mkdir TEMP", "symlink TEMP/maker",
          "rename plot.settings", "remove TEMP"})
        EXPECT_NE(std::find(names.begin(), names.end(), name), names.end()) << name;
    std::sort(names.begin(), names.end());
    names.erase(std::unique(names.begin(), names.end()), names.end());
    for (std::string const& name : names) {
        for (int const error : {EIO, EACCES, ENOLCK}) {
            // That one may not read it says something about the file: see below.
            bool const isRead = name == "open plot.settings" || name == "read plot.settings";
            if (isRead && error != EIO) continue;
            SCOPED_TRACE(name + ": " + std::to_string(error));
            {
                std::optional<Calls> calls;
                try {
                    saveMerged([&] { calls.emplace(userDir(), name, error); });
                } catch (std::exception const&) {
                    // What is told is none of the matter here.
                }
                ASSERT_TRUE(calls);
            }
            expectOldOrNew(name.compare(0, 6, "remove") == 0);
            expectNextSaveBringsIt();
            for (auto const& entry : std::filesystem::directory_iterator(userDir())) {
                if (entry.is_directory()) std::filesystem::remove_all(entry.path());
            }
        }
    }
}

TEST_P(SharedFailures, AFileThatMayNotBeReadIsKeptAside) {
    {
        std::optional<Calls> calls;
        saveMerged([&] { calls.emplace(userDir(), "open plot.settings", EACCES); });
    }
    EXPECT_EQ(userFiles().at("plot.settings.rejected"), theirs_);
    EXPECT_EQ(valueInFile("plot.axes.ticks.count"), std::to_string(number_));
}

TEST_P(SharedFailures, AFullDiskLeavesTheFileOfBefore) {
    rlimit before{};
    ::getrlimit(RLIMIT_FSIZE, &before);
    rlimit const lower{100, before.rlim_max};
    EXPECT_THROW(saveMerged([&] { ::setrlimit(RLIMIT_FSIZE, &lower); }),
                 exception::ErrorWriteToTempSettingsFile);
    ::setrlimit(RLIMIT_FSIZE, &before);
    EXPECT_EQ(readUserFile("plot"), theirs_);
    expectOldOrNew(false);
    expectNextSaveBringsIt();
}

INSTANTIATE_TEST_SUITE_P(Saves, SharedFailures, testing::Values(false, true),
                         [](auto const& mode) { return mode.param ? "Durable" : "Default"; });

}  // namespace
