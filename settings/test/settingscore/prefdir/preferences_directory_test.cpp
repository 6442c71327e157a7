#include <map>
#include <string>
#include <thread>
#include <vector>

#include <pwd.h>
#include <settingscore/errors/FileExceptions.hpp>
#include <settingscore/host/Filesystem.hpp>
#include <settingscore/host/I18n.hpp>
#include <settingscore/prefdir/PathUtil.hpp>

#include "PrefDirWorld.hpp"

using namespace settings::core;
using qbtest::readTree;
using qbtest::toUString;
using settings::core::exception::RelativePreferencePathNotSupported;

namespace {

class PreferencesDirectoryTest : public qbtest::PrefDirWorld {};

struct TextCase {
    ustring input;
    ustring expected;
};

TEST_F(PreferencesDirectoryTest, FinalSeparatorsAreStripped) {
    for (TextCase const& c : std::vector<TextCase>{{u"/a/b", u"/a/b"},
                                                   {u"/a/b/", u"/a/b"},
                                                   {u"/a//b///", u"/a//b"},
                                                   {u"a", u"a"},
                                                   {u"///", u""},
                                                   {u"", u""}}) {
        EXPECT_EQ(stripFinalPathNameSepUStr(c.input), c.expected);
        EXPECT_EQ(StripFinalPathNameSep(qf::i18n::to_string(c.input)),
                  qf::i18n::to_string(c.expected));
    }
}

TEST_F(PreferencesDirectoryTest, HomeIsNormalized) {
    for (TextCase const& c : std::vector<TextCase>{{u"", u""},
                                                   {u"/", u"/"},
                                                   {u"\"", u"\""},
                                                   {u"//", u""},
                                                   {u"/home/u//", u"/home/u"},
                                                   {u"\"/home/u\"", u"/home/u"},
                                                   {u"\"/home/u/\"", u"/home/u"},
                                                   {u"\"/home/u", u"\"/home/u"},
                                                   {u"\"\"", u""}}) {
        EXPECT_EQ(pathutilinternal::NormalizePrefDirHome(c.input), c.expected);
    }
}

TEST_F(PreferencesDirectoryTest, TildeIsExpanded) {
    environment().set("HOME", "/home/of test");
    ustring const rootHome = qf::i18n::to_ustring(::getpwnam("root")->pw_dir);
    for (TextCase const& c : std::vector<TextCase>{{u"", u""},
                                                   {u"/a/~", u"/a/~"},
                                                   {u"~", u"/home/of test"},
                                                   {u"~/", u"/home/of test/"},
                                                   {u"~/a/b", u"/home/of test/a/b"},
                                                   {u"~root", rootHome},
                                                   {u"~root/a/~", rootHome + u"/a/~"},
                                                   {u"~no_such_/a", u"/a"},
                                                   {u"~no_such_", u""},
                                                   {u"~ninechars/a", u"/a"}}) {
        EXPECT_EQ(pathutilinternal::tildeExpansionUStr(c.input), c.expected);
    }
    environment().unset("HOME");
    EXPECT_EQ(pathutilinternal::tildeExpansionUStr(u"~/a"), u"/a");

    // Every machine has accounts with names on both sides of the limit.
    std::map<std::string, std::string> homes;
    ::setpwent();
    while (passwd const* entry = ::getpwent())
        homes.emplace(entry->pw_name, entry->pw_dir);
    ::endpwent();
    for (auto const& [name, homeOfName] : homes) {
        EXPECT_EQ(pathutilinternal::tildeExpansionUStr(u"~" + qf::i18n::to_ustring(name) + u"/a"),
                  qf::i18n::to_ustring(name.size() <= 8 ? homeOfName : "") + u"/a");
    }
}

TEST_F(PreferencesDirectoryTest, StandardDirectoryStandsUnderTheHomePrefix) {
    struct HomeCase {
        char const* home;
        char const* user;
        ustring expected;
    };
    ustring const rootHome = qf::i18n::to_ustring(::getpwnam("root")->pw_dir);
    for (HomeCase const& c :
         std::vector<HomeCase>{{"/home/u", "root", u"/home/u/.zenbar/K7716p"},
                               {"/home/u/", nullptr, u"/home/u/.zenbar/K7716p"},
                               {"/home/u//", nullptr, u"/home/u/.zenbar/K7716p"},
                               {"\"/home/u\"", nullptr, u"/home/u/.zenbar/K7716p"},
                               {"/", nullptr, u"/.zenbar/K7716p"},
                               {"h\xc3\xbc/", nullptr, u"h\u00fc/.zenbar/K7716p"},
                               {nullptr, "root", rootHome + u"/.zenbar/K7716p"},
                               {"", "root", rootHome + u"/.zenbar/K7716p"},
                               {nullptr, nullptr, u"/tmp/.zenbar/K7716p"},
                               {"", "", u"/tmp/.zenbar/K7716p"}}) {
        c.home ? environment().set("HOME", c.home) : environment().unset("HOME");
        c.user ? environment().set("USER", c.user) : environment().unset("USER");
        environment().set("ZENBAR_PREFDIR", "/elsewhere");
        EXPECT_EQ(getStandardPreferencesDirectoryUStr(), c.expected);
        EXPECT_EQ(zenbarLocalSettingsDirPrefixUStr(), zenbarDefaultPrefDirPrefixUStr());
    }
    environment().unset("HOME");
    environment().set("USER", "ninechars");
    EXPECT_EQ(zenbarDefaultPrefDirPrefixUStr(), u"");
}

TEST_F(PreferencesDirectoryTest, EachReleaseHasItsOwnDirectory) {
    environment().set("HOME", "/h");
    EXPECT_EQ(getPreviousPreferencesDirectoryUStr(), u"/h/.zenbar/K7715q");
    EXPECT_EQ(getPrefdirFromPreviousTwoReleases(), u"/h/.zenbar/K7715p");
    EXPECT_EQ(getPrefdirFromPreviousThreeReleases(), u"/h/.zenbar/K7714q");
    EXPECT_EQ(zenbarDefaultPrefDirSuffixUStr(u"X1"), u".zenbar/X1");
}

TEST_F(PreferencesDirectoryTest, DefaultRulePrefersTheEnvironmentAsItStands) {
    ustring directory;
    for (TextCase const& c : std::vector<TextCase>{
             {u"", getStandardPreferencesDirectoryUStr()}, {u"/p//", u"/p//"}, {u"~/p", u"~/p"}}) {
        environment().set("ZENBAR_PREFDIR", qf::i18n::to_string(c.input));
        pathutilinternal::getDefaultPreferencesDirectoryOnce(directory);
        EXPECT_EQ(directory, c.expected);
    }
}

TEST_F(PreferencesDirectoryTest, SetDirectoryHasPrecedenceAndEmptyRestoresTheDefault) {
    EXPECT_EXIT(checkAndLeave([&] {
                    environment().set("ZENBAR_PREFDIR", "/from/environment");
                    setPreferencesDirectory("/s\xc3\xa9t");
                    EXPECT_EQ(getPreferencesDirectoryUStr(false), u"/s\u00e9t");
                    setPreferencesDirectoryUStr({});
                    EXPECT_EQ(getPreferencesDirectoryUStr(false), u"/from/environment");
                    environment().set("ZENBAR_PREFDIR", "/changed");
                    EXPECT_EQ(getPreferencesDirectoryUStr(false), u"/from/environment")
                        << "the default is found once";
                    EXPECT_EQ(getDefaultPreferencesDirectoryUStr(), u"/from/environment");
                }),
                ::testing::ExitedWithCode(0), "");
}

TEST_F(PreferencesDirectoryTest, RelativePathsAreRefusedWhenUsed) {
    setPreferencesDirectoryUStr(u"some/folder");
    for (bool const ensureExists : {false, true}) {
        try {
            getPreferencesDirectoryUStr(ensureExists);
            FAIL();
        } catch (RelativePreferencePathNotSupported const& error) {
            EXPECT_STREQ(
                error.what(),
                "Unable to start ZENBAR. The preference folder path must be an absolute path.");
            EXPECT_EQ(error.getPrefdirLocation(), "some/folder");
            EXPECT_EQ(error.getErrorMessage(),
                      "Unable to start ZENBAR. Relative path for preferences directory "
                      "('some/folder') is not supported");
        }
    }
    EXPECT_FALSE(std::filesystem::exists("some"));
    EXPECT_EXIT(checkAndLeave([&] {
                    environment().set("ZENBAR_PREFDIR", "~/prefs");
                    EXPECT_THROW(getPreferencesDirectoryUStr(true),
                                 RelativePreferencePathNotSupported);
                }),
                ::testing::ExitedWithCode(0), "");
}

TEST_F(PreferencesDirectoryTest, NothingIsCreatedUnlessAsked) {
    ustring const directory = toUString(folder() / "prefs");
    setPreferencesDirectoryUStr(directory);
    EXPECT_EQ(getPreferencesDirectoryUStr(false), directory);
    EXPECT_FALSE(std::filesystem::exists(folder() / "prefs"));
    EXPECT_EQ(getPreferencesDirectoryUStr(true), directory);
    EXPECT_EQ(readTree(folder() / "prefs"),
              (std::map<std::string, std::string>{{"creation.timestamp", ""}}));
}

TEST_F(PreferencesDirectoryTest, LocalDirectoryIsTheStandardOneWhateverIsSet) {
    environment().set("ZENBAR_PREFDIR", "/from/environment");
    setPreferencesDirectoryUStr(u"relative");
    EXPECT_EQ(getLocalSettingsDirectoryUStr(), toUString(releaseDir("K7716p")));
    EXPECT_EQ(
        readTree(home()),
        (std::map<std::string, std::string>{
            {".zenbar/", ""}, {".zenbar/K7716p/", ""}, {".zenbar/K7716p/creation.timestamp", ""}}));
}

TEST_F(PreferencesDirectoryTest, HostRootIsTheInstallDirectory) {
    EXPECT_EQ(zenbarRootUStr(), qf::filesystem::get_install_path());
    EXPECT_EQ(zenbarRoot(), qf::i18n::to_string(zenbarRootUStr()));
    EXPECT_EQ(zenbarRoot(), zenbarRoot()) << "the same characters each time";
}

TEST_F(PreferencesDirectoryTest, CallersWaitUntilTheCopyIsDone) {
    for (int i = 0; i < 200; ++i) {
        qbtest::writeFile(releaseDir("K7715q") / std::to_string(i), "x");
    }
    setPreferencesDirectoryUStr(toUString(folder() / "prefs"));
    std::vector<std::size_t> seen(6);
    std::vector<std::thread> threads;
    for (std::size_t& count : seen) {
        threads.emplace_back([&] {
            count = readTree(qf::i18n::to_string(getPreferencesDirectoryUStr(true))).size();
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(seen, std::vector<std::size_t>(6, 201));
}

}  // namespace
