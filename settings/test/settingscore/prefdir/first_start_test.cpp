#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstring>

#include <settingscore/prefdir/PreferencesDirectory.hpp>
#include <support/ProductWorld.hpp>
#include <support/WatchedCalls.hpp>

namespace messages = ZENBAR::settings::core;
using namespace settings::core;
using namespace qbtest;
using Tree = std::map<std::string, std::string>;

namespace {

/// An older release with two files and, between them, a folder with a third.
class FirstStart : public TempWorld {
protected:
    FirstStart() {
        for (auto const& [name, text] : whole_)
            if (name.back() != '/') writeFile(releases() / "K7715q" / name, text);
        whole_["creation.timestamp"];
        qbhost::setConsole([this](std::string const& text) { console_ += text; }, {});
    }
    ~FirstStart() override { qbhost::setConsole({}, {}); }

    std::filesystem::path releases() const { return homeDir() / ".zenbar"; }
    std::filesystem::path current() const { return releases() / "K7716p"; }
    static void start() { getLocalSettingsDirectoryUStr(); }
    /// A start in another process that gets the signal before the call; returns its number.
    pid_t startWith(std::string const& call, int signal) const {
        pid_t const child = ::fork();
        if (child != 0) return child;
        Calls const calls(releases(), call, -signal);
        start();
        std::_Exit(calls.failing.empty() ? 0 : 1);
    }
    static int statusOf(pid_t process) {
        int status = 0;
        EXPECT_EQ(::waitpid(process, &status, WUNTRACED), process);
        return status;
    }
    /// What stands beside the older release.
    std::vector<std::string> others() const {
        std::vector<std::string> names;
        for (auto const& entry : std::filesystem::directory_iterator(releases()))
            if (entry.path().filename() != "K7715q") names.push_back(entry.path().filename());
        return names;
    }
    void expectWhole() const {
        EXPECT_EQ(readTree(current()), whole_);
        EXPECT_EQ(others(), Texts{"K7716p"});
        EXPECT_EQ(console_, "");
    }

    Tree whole_{{"a", "1"}, {"b/", ""}, {"b/c", "2"}, {"d", "3"}};
    std::string console_;
};

TEST_F(FirstStart, AKilledOneIsMadeAgainAndLeavesNothing) {
    for (char const* call : {"flock BESIDE", "open BESIDE/a", "open BESIDE/b/c", "open BESIDE/d",
                             "fopen BESIDE/creation.timestamp", "renameat2 K7716p"}) {
        SCOPED_TRACE(call);
        for (int kills = 0; kills < 2; ++kills) {
            EXPECT_EQ(statusOf(startWith(call, SIGKILL)), SIGKILL);
            EXPECT_FALSE(std::filesystem::exists(current()));
            EXPECT_EQ(others().size(), 1u) << "the second one removes what the first one left";
        }
        start();
        expectWhole();
        std::filesystem::remove_all(current());
    }
}

TEST_F(FirstStart, TheLoserTakesTheWinnersDirectoryAndRemovesItsOwn) {
    for (char const* call : {"open BESIDE/b/c", "renameat2 K7716p"}) {
        SCOPED_TRACE(call);
        pid_t const loser = startWith(call, SIGSTOP);
        ASSERT_TRUE(WIFSTOPPED(statusOf(loser)));
        Texts const filling = others();
        ASSERT_EQ(filling.size(), 1u);
        start();
        EXPECT_EQ(readTree(current()), whole_);
        EXPECT_TRUE(std::filesystem::exists(releases() / filling[0])) << "its maker is alive";
        writeFile(current() / "a", "set since");
        ::kill(loser, SIGCONT);
        EXPECT_EQ(statusOf(loser), 0);
        EXPECT_EQ(others(), Texts{"K7716p"});
        EXPECT_EQ(readFile(current() / "a"), "set since");
        std::filesystem::remove_all(current());
    }
}

TEST_F(FirstStart, WhatOthersPutInThePlaceMeanwhileStays) {
    for (bool const isFolder : {true, false}) {
        pid_t const loser = startWith("renameat2 K7716p", SIGSTOP);
        ASSERT_TRUE(WIFSTOPPED(statusOf(loser)));
        if (isFolder)
            std::filesystem::create_directory(current());
        else
            std::filesystem::create_symlink("gone", current());
        ::kill(loser, SIGCONT);
        EXPECT_EQ(statusOf(loser), 0);
        EXPECT_EQ(readTree(current()), Tree());
        EXPECT_EQ(std::filesystem::is_symlink(current()), !isFolder);
        EXPECT_EQ(others(), Texts{"K7716p"});
        std::filesystem::remove(current());
    }
}

TEST_F(FirstStart, WithoutAWayBesideItIsFilledInItsPlace) {
    std::pair<char const*, int> const steps[] = {
        {"mkdir BESIDE", EACCES}, {"mkdir BESIDE", ENAMETOOLONG}, {"flock BESIDE", EOPNOTSUPP},
        {"flock BESIDE", ENOMEM}, {"renameat2 K7716p", EINVAL},   {"renameat2 K7716p", EBUSY}};
    for (auto const& [call, error] : steps) {
        SCOPED_TRACE(call + std::string(" ") + std::strerror(error));
        {
            Calls const calls(releases(), call, error);
            start();
        }
        expectWhole();
        std::filesystem::remove_all(current());
    }
}

TEST_F(FirstStart, WhatFailsIsToldOfThePlaceAndLeavesWhatWasCopied) {
    {
        Calls const calls(releases(), "open BESIDE/b/c", EIO);
        start();
    }
    EXPECT_NE(std::exchange(console_, "").find((current() / "b/c").string()), std::string::npos);
    EXPECT_EQ(readTree(current()),
              (Tree{{"a", "1"}, {"b/", ""}, {"creation.timestamp", ""}, {"d", "3"}}));
    std::filesystem::remove_all(current());

    Tree const part{{"a", "1"}};
    {
        Calls const calls(releases(), "mkdir BESIDE/b", EACCES);
        expectThrow<qf::filesystem::AccessDenied>(
            start, [&](auto const& error) { EXPECT_EQ(error.path(), toUString(current() / "b")); });
    }
    start();
    EXPECT_EQ(readTree(current()), part) << "not filled again";
    std::filesystem::remove_all(current());

    {
        Calls const calls(releases(), "fopen BESIDE/creation.timestamp", EROFS);
        expectThrow<messages::ErrorCreatePreferenceDirectoryTimeStampException>(
            start, [&](auto const& error) {
                messages::ErrorCreatePreferenceDirectoryTimeStamp const expected(
                    toUString(current() / "creation.timestamp"), std::strerror(EROFS));
                EXPECT_TRUE(error.get_msg_id().arguments() == expected.arguments());
            });
    }
    whole_.erase("creation.timestamp");
    expectWhole();
}

TEST_F(FirstStart, AnOlderReleasesPlaceInAnySpellingIsItsOwnSource) {
    writeFile(releases() / "K7715p/older", "x");
    std::filesystem::remove_all(releases() / "K7715q");
    setPreferencesDirectory((releases() / "./K7715q/").c_str());
    getPreferencesDirectoryUStr(true);
    setPreferencesDirectoryUStr({});
    EXPECT_EQ(readTree(releases() / "K7715q"), (Tree{{"creation.timestamp", ""}}));
}

}  // namespace
