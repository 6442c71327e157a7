#include <cstring>

#include <pwd.h>
#include <sys/stat.h>
#include <settingscore/prefdir/PathUtil.hpp>
#include <settingscore/prefdir/PreferencesDirectory.hpp>
#include <settingscore/prefdir/ReleaseMigration.hpp>
#include <settingscore/roots/SettingsRootDirQuerier.hpp>
#include <support/ProductWorld.hpp>

namespace messages = ZENBAR::settings::core;
using namespace settings::core;
using namespace settings::core::pathutilinternal;
using namespace qbtest;
using qf::i18n::to_ustring;
using Tree = std::map<std::string, std::string>;
using Perms = std::filesystem::perms;

namespace {

/// A home folder of its own, with nothing else in the environment that chooses a preference
/// directory, and the texts that reach the console.
class PrefDir : public TempWorld {
protected:
    PrefDir() {
        GTEST_FLAG_SET(death_test_style, "threadsafe");
        for (char const* name : {"SETTINGS_USERDIR", "SETTINGS_FACTORYDIR"})
            environment().unset(name);
        qbhost::setConsole([this](std::string const& text) { console_ += text; }, {});
    }
    ~PrefDir() override {
        setPreferencesDirectoryUStr({});
        qbhost::setConsole({}, {});
    }
    auto releaseDir(std::string const& label) const { return homeDir() / ".zenbar" / label; }
    auto current() const { return releaseDir("K7716p"); }
    auto previous() const { return releaseDir("K7715q"); }
    auto prefs() const { return folder() / "prefs"; }
    /// Creates and fills the current release's directory, as a start of the host does.
    static void start() { getLocalSettingsDirectoryUStr(); }

    std::string console_;
};

// --- Which directory --------------------------------------------------------------------------

TEST_F(PrefDir, EachReleaseHasADirectoryUnderTheHomePrefix) {
    std::tuple<char const*, char const*, ustring> const cases[] = {
        {"/home/u//", "root", u"/home/u"},
        {"\"//\"", "", u""},
        {"", "root", to_ustring(::getpwnam("root")->pw_dir)},
        {"", "", u"/tmp"}};
    environment().set("ZENBAR_PREFDIR", "/elsewhere");
    for (auto const& [home, user, expected] : cases) {
        environment().set("HOME", home);
        environment().set("USER", user);
        EXPECT_EQ(getStandardPreferencesDirectoryUStr(), expected + u"/.zenbar/K7716p");
        EXPECT_EQ(getPreviousPreferencesDirectoryUStr(), expected + u"/.zenbar/K7715q");
    }
    environment().set("HOME", "/h");
    EXPECT_EQ(tildeExpansionUStr(u"~/a/~"), u"/h/a/~");
    EXPECT_EQ(tildeExpansionUStr(u"~no_such_/a"), u"/a");
}

TEST_F(PrefDir, TheSetOneIsTakenElseTheEnvironmentsAsItStandsAndFoundOnce) {
    // What is found once per process needs a process of its own.
    auto const check = [&] {
        environment().set("ZENBAR_PREFDIR", "/from//environment/");
        setPreferencesDirectory("/s\xc3\xa9t");
        ustring found = getPreferencesDirectoryUStr(false);
        setPreferencesDirectoryUStr({});
        found += getPreferencesDirectoryUStr(false);
        environment().set("ZENBAR_PREFDIR", "/changed");
        found += getPreferencesDirectoryUStr(false);
        std::filesystem::remove_all(folder());
        std::_Exit(found == u"/s\u00e9t/from//environment//from//environment/" ? 0 : 1);
    };
    EXPECT_EXIT(check(), ::testing::ExitedWithCode(0), "");
}

TEST_F(PrefDir, RelativePathsAreRefusedWhenUsedAndEndAHostsStart) {
    setPreferencesDirectoryUStr(u"some/folder");
    expectThrow<exception::RelativePreferencePathNotSupported>(
        [] { getPreferencesDirectoryUStr(true); },
        [](auto const& error) { EXPECT_EQ(error.getPrefdirLocation(), "some/folder"); });
    EXPECT_EQ(getLocalSettingsDirectoryUStr(), toUString(current())) << "whatever is set";
    EXPECT_EXIT((std::filesystem::remove_all(folder()), SettingsRootDirQuerier::UserRoot()),
                ::testing::ExitedWithCode(1),
                "^Unable to start ZENBAR\\. Relative path for preferences directory "
                "\\('some/folder'\\) is not supported \n$");
}

// --- What an older release leaves -------------------------------------------------------------

TEST_F(PrefDir, CallersWaitUntilTheCopyIsDone) {
    for (int i = 0; i < 200; ++i)
        writeFile(previous() / std::to_string(i), "x");
    setPreferencesDirectoryUStr(toUString(prefs()));
    EXPECT_EQ(getPreferencesDirectoryUStr(false), toUString(prefs()));
    EXPECT_FALSE(std::filesystem::exists(prefs()));
    concurrently(6, [&](int) {
        EXPECT_EQ(getPreferencesDirectoryUStr(true), toUString(prefs()));
        EXPECT_EQ(readTree(prefs()).size(), 201u);
    });
}

TEST_F(PrefDir, TheNewestOlderReleaseIsTakenOver) {
    std::tuple<Texts, char const*, std::string> const cases[] = {
        {{}, "", ""},
        {{"K7715q", "K7715p", "K7714q"}, "1", "K7715q"},
        {{"K7715p", "K7714q"}, "", "K7715p"},
        {{"K7715p", "K7714q"}, "0", ""},
        {{"K7714q"}, "", "K7714q"},
        {{"K7714p", "K7717a"}, "", ""}};
    for (auto const& [present, disable, taken] : cases) {
        std::filesystem::remove_all(homeDir());
        environment().set("DISABLE_PREFCOPY3RELEASES", disable);
        for (std::string const& label : present)
            writeFile(releaseDir(label) / label, label);
        Tree expected = readTree(homeDir() / ".zenbar");
        expected["K7716p/"] = expected["K7716p/creation.timestamp"] = "";
        if (!taken.empty()) expected["K7716p/" + taken] = taken;
        start();
        EXPECT_EQ(readTree(homeDir() / ".zenbar"), expected);
    }
    // An empty directory ends the search, too, and one that is there is left alone.
    std::filesystem::remove_all(current());
    std::filesystem::create_directories(previous());
    writeFile(releaseDir("K7715p") / "old", "x");
    start();
    writeFile(previous() / "late", "x");
    start();
    EXPECT_EQ(readTree(current()), (Tree{{"creation.timestamp", ""}}));
    EXPECT_EQ(console_, "");
}

TEST_F(PrefDir, CachesLinksToFoldersAndSpecialFilesStayBehindAndPermissionBitsCome) {
    Tree wanted{{"a/", ""}, {"a/b/", ""}, {"a/addons_cache/", ""}, {"zcc.cache.d/", ""}};
    for (char const* name : {"plotter.settings", "a/b/PLGOPTS", "a/quicklinks",
                             "a/addons_cache/file", ".hidden", "odd \xff\xfe name"}) {
        wanted[name] = std::string("a\0b\xff", 4);
        writeFile(previous() / name, wanted[name]);
    }
    for (char const* name :
         {"addons_cache", "my-zcc.cache-2", "plgopts", "a/trnopts", "a/b/xbuildopts.txt",
          "a/quicklinks.xml", "a/b/old.quicklinks_ja.xml", "zcc.cache.d/zcc.cache"})
        writeFile(previous() / name, "no");
    auto const outside = writeFile(folder() / "outside/secret", "outside");
    for (auto const& [link, to] : {std::pair("folder link", outside.parent_path()),
                                   {"up", previous()},
                                   {"file link", outside},
                                   {"dangling", previous() / "gone"},
                                   {"circle", previous() / "circle"}})
        std::filesystem::create_symlink(to, previous() / link);
    ASSERT_EQ(::mkfifo((previous() / "pipe").c_str(), 0600), 0);
    // Those of folders, too; but a folder is never shut to its owner, nor the mark written over.
    std::filesystem::permissions(previous() / "a", Perms(0751));
    std::filesystem::permissions(previous() / "zcc.cache.d", Perms(0555));
    std::filesystem::permissions(writeFile(previous() / "creation.timestamp", "old"), Perms(0444));
    std::filesystem::permissions(folder(), Perms(0755));
    std::filesystem::permissions(homeDir() / ".zenbar", Perms(0777));
    {
        Unprivileged const user;
        start();
    }
    EXPECT_EQ(std::filesystem::status(current() / "a").permissions(), Perms(0751));
    EXPECT_EQ(std::filesystem::status(current() / "zcc.cache.d").permissions(), Perms(0755));
    wanted["file link"] = "outside";
    wanted["creation.timestamp"] = "";
    EXPECT_EQ(readTree(current()), wanted);
    EXPECT_EQ(console_, "");
}

TEST_F(PrefDir, TheWalkStopsAtItsOwnTarget) {
    writeFile(previous() / "a/file", "x");
    // Spelled differently from what the walk meets on its way.
    setPreferencesDirectoryUStr(toUString(previous() / "a/./inside/"));
    getPreferencesDirectoryUStr(true);
    Tree const expected{
        {"a/", ""},          {"a/file", "x"},          {"a/inside/", ""},
        {"a/inside/a/", ""}, {"a/inside/a/file", "x"}, {"a/inside/creation.timestamp", ""}};
    EXPECT_EQ(readTree(previous()), expected);
    EXPECT_EQ(copyPrefDir_ustr(toUString(previous()), toUString(previous() / "a/.."), true), 0);
    EXPECT_EQ(readTree(previous()), expected) << "onto itself under another name";
}

// --- Failures ---------------------------------------------------------------------------------

TEST_F(PrefDir, ADirectoryThatCannotBeCreatedIsAWarning) {
    auto const file = writeFile(folder() / "file", "x");
    setPreferencesDirectory((file / "prefs").c_str());
    EXPECT_EQ(getPreferencesDirectoryUStr(true), u"");
    EXPECT_EQ(console_, "Warning: failed to create preference directory " +
                            (file / "prefs").string() + ".\nCheck directory permissions.");
}

TEST_F(PrefDir, AFolderInThePlaceOfTheMarkIsToldWhenTheRestIsThere) {
    writeFile(previous() / "creation.timestamp/in the way", "x");
    writeFile(previous() / "file", "x");
    EXPECT_THROW(start(), messages::ErrorCreatePreferenceDirectoryTimeStampException);
    EXPECT_EQ(readFile(current() / "file"), "x");
}

TEST_F(PrefDir, ACopyNeedsItsTarget) {
    writeFile(previous() / "file", "x");
    ustring const gone = toUString(folder() / "gone");
    EXPECT_THROW(copyFromPreviousRelease(gone), messages::PreferenceDirectoryNotExistException);
    EXPECT_FALSE(std::filesystem::exists(folder() / "gone"));
    EXPECT_FALSE(copyDirectoryTree(toUString(previous()), u"", false)) << "the walk is refused";
    EXPECT_THROW(throwPrefMigrationError(u"K7715q", u"K7716p"),
                 messages::ErrorMigratePrefsBetweenReleasesException);
}

TEST_F(PrefDir, AFileThatCannotBeCopiedCostsAMessageAndTheOthersCome) {
    for (char const* name : {"a", "b", "c"})
        writeFile(folder() / "from" / name, name);
    ustring const source = toUString(folder() / "from/b");
    auto const target = writeFile(folder() / "to/b", "there before");
    ustring const to = toUString(folder() / "to");
    EXPECT_EQ(copyPrefDir_ustr(toUString(folder() / "from"), to, false), 0);
    EXPECT_EQ(readTree(folder() / "to"), (Tree{{"a", "a"}, {"b", "there before"}, {"c", "c"}}));
    EXPECT_NE(std::exchange(console_, "").find(target.string()), std::string::npos);
    EXPECT_TRUE(copyFile_ustr(source, to, true));
    EXPECT_EQ(readFile(target), "b");
    EXPECT_EQ(console_, "");

    std::filesystem::remove(target);
    std::filesystem::create_directory(target);
    EXPECT_TRUE(copyFile_ustr(source, to, true));
    EXPECT_NE(console_.find(target.string()), std::string::npos);
}

TEST_F(PrefDir, ErrorsReachTheCallerAndTheDirectoryIsNotFilledLater) {
    writeFile(previous(), "a file in the place of the folder");
    setPreferencesDirectoryUStr(toUString(prefs()));
    EXPECT_THROW(start(), qf::filesystem::FsysExceptionBase);
    EXPECT_THROW(root(), qf::filesystem::FsysExceptionBase) << "the user directory";
    std::filesystem::remove(previous());
    writeFile(previous() / "plotter.settings", "x");
    start();
    EXPECT_TRUE(root());
    EXPECT_TRUE(readTree(current()).empty() && readTree(prefs()).empty());

    // The directory stays without its mark; the mutex is given back, so that the next call returns.
    std::filesystem::remove_all(previous());
    std::filesystem::remove(prefs());
    std::filesystem::permissions(folder(), Perms(0777));
    mode_t const before = ::umask(0222);
    {
        Unprivileged const user;
        expectThrow<messages::ErrorCreatePreferenceDirectoryTimeStampException>(
            [] { getPreferencesDirectoryUStr(true); },
            [&](auto const& error) {
                messages::ErrorCreatePreferenceDirectoryTimeStamp const expected(
                    toUString(prefs() / "creation.timestamp"), std::strerror(EACCES));
                EXPECT_TRUE(error.get_msg_id().arguments() == expected.arguments());
            });
    }
    ::umask(before);
    EXPECT_EQ(getPreferencesDirectoryUStr(true), toUString(prefs()));
    EXPECT_EQ(readTree(prefs()), Tree());
}

}  // namespace
