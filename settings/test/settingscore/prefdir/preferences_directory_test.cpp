#include <cstdlib>
#include <string>
#include <thread>
#include <vector>

#include <pwd.h>
#include <settingscore/errors/FileExceptions.hpp>
#include <settingscore/host/Filesystem.hpp>
#include <settingscore/host/I18n.hpp>
#include <settingscore/prefdir/PathUtil.hpp>
#include <settingscore/roots/SettingsRootDirQuerier.hpp>

#include "PrefDirWorld.hpp"

using namespace settings::core;
using qbtest::toUString;
using qf::i18n::to_ustring;

namespace {

class PreferencesDirectoryTest : public qbtest::PrefDirWorld {};

TEST_F(PreferencesDirectoryTest, PathsAreStrippedNormalizedAndExpanded) {
    using pathutilinternal::NormalizePrefDirHome;
    using pathutilinternal::tildeExpansionUStr;
    environment().set("HOME", "/h");
    struct {
        ustring (*rule)(ustring const&);
        ustring input;
        ustring expected;
    } const cases[] = {
        {stripFinalPathNameSepUStr, u"/a//b///", u"/a//b"},
        {stripFinalPathNameSepUStr, u"///", u""},
        {NormalizePrefDirHome, u"/", u"/"},
        {NormalizePrefDirHome, u"//", u""},
        {NormalizePrefDirHome, u"\"", u"\""},
        {NormalizePrefDirHome, u"\"/home/u/\"", u"/home/u"},
        {NormalizePrefDirHome, u"\"/home/u", u"\"/home/u"},
        {tildeExpansionUStr, u"/a/~", u"/a/~"},
        {tildeExpansionUStr, u"~", u"/h"},
        {tildeExpansionUStr, u"~/a/~", u"/h/a/~"},
        {tildeExpansionUStr, u"~no_such_/a", u"/a"},
    };
    for (auto const& c : cases)
        EXPECT_EQ(c.rule(c.input), c.expected) << "row " << &c - cases;

    // Every machine has accounts with names on both sides of the limit.
    qbtest::Tree homes;
    while (passwd const* entry = ::getpwent())
        homes.emplace(entry->pw_name, entry->pw_dir);
    ::endpwent();
    for (auto const& [name, home] : homes)
        EXPECT_EQ(tildeExpansionUStr(to_ustring("~" + name + "/a")),
                  to_ustring((name.size() <= 8 ? home : "") + "/a"));
}

TEST_F(PreferencesDirectoryTest, EachReleaseHasADirectoryUnderTheHomePrefix) {
    struct {
        char const* home;
        char const* user;
        ustring expected;
    } const cases[] = {
        {"/home/u//", "root", u"/home/u"},
        {"\"/home/u\"", "", u"/home/u"},
        {"/", "", u""},
        {"h\xc3\xbc/", "", u"h\u00fc"},
        {"", "root", to_ustring(::getpwnam("root")->pw_dir)},
        {"", "", u"/tmp"},
    };
    environment().set("ZENBAR_PREFDIR", "/elsewhere");
    for (auto const& c : cases) {
        environment().set("HOME", c.home);
        environment().set("USER", c.user);
        EXPECT_EQ(getStandardPreferencesDirectoryUStr(), c.expected + u"/.zenbar/K7716p");
        EXPECT_EQ(getPreviousPreferencesDirectoryUStr(), c.expected + u"/.zenbar/K7715q");
    }
}

TEST_F(PreferencesDirectoryTest, TheSetOneIsTakenElseTheEnvironmentsAsItStandsAndFoundOnce) {
    ustring directory;
    pathutilinternal::getDefaultPreferencesDirectoryOnce(directory);
    EXPECT_EQ(directory, getStandardPreferencesDirectoryUStr());
    environment().set("ZENBAR_PREFDIR", "~/p//");
    pathutilinternal::getDefaultPreferencesDirectoryOnce(directory);
    EXPECT_EQ(directory, u"~/p//");
    // What is found once per process needs a process of its own.
    auto const check = [&] {
        environment().set("ZENBAR_PREFDIR", "/from/environment");
        setPreferencesDirectory("/s\xc3\xa9t");
        ustring found = getPreferencesDirectoryUStr(false);
        setPreferencesDirectoryUStr({});
        found += getPreferencesDirectoryUStr(false);
        environment().set("ZENBAR_PREFDIR", "/changed");
        found += getPreferencesDirectoryUStr(false);
        std::filesystem::remove_all(folder());
        std::_Exit(found == u"/s\u00e9t/from/environment/from/environment" ? 0 : 1);
    };
    EXPECT_EXIT(check(), ::testing::ExitedWithCode(0), "");
}

TEST_F(PreferencesDirectoryTest, RelativePathsAreRefusedWhenUsedAndEndAHostsStart) {
    setPreferencesDirectoryUStr(u"some/folder");
    for (bool const ensureExists : {false, true}) {
        try {
            getPreferencesDirectoryUStr(ensureExists);
            FAIL();
        } catch (exception::RelativePreferencePathNotSupported const& error) {
            EXPECT_EQ(error.getPrefdirLocation(), "some/folder");
        }
    }
    EXPECT_FALSE(std::filesystem::exists("some"));
    EXPECT_EQ(getLocalSettingsDirectoryUStr(), toUString(current())) << "whatever is set";
    EXPECT_EXIT((std::filesystem::remove_all(folder()), SettingsRootDirQuerier::UserRoot()),
                ::testing::ExitedWithCode(1),
                "^Unable to start ZENBAR\\. Relative path for preferences directory "
                "\\('some/folder'\\) is not supported \n$");
}

TEST_F(PreferencesDirectoryTest, CallersWaitUntilTheCopyIsDone) {
    for (int i = 0; i < 200; ++i)
        qbtest::writeFile(previous() / std::to_string(i), "x");
    setPreferencesDirectoryUStr(toUString(folder() / "prefs"));
    EXPECT_EQ(getPreferencesDirectoryUStr(false), toUString(folder() / "prefs"));
    EXPECT_FALSE(std::filesystem::exists(folder() / "prefs"));
    std::vector<std::size_t> seen(6);
    std::vector<std::thread> threads;
    for (std::size_t& count : seen) {
        threads.emplace_back([&] {
            count = qbtest::readTree(qf::i18n::to_string(getPreferencesDirectoryUStr(true))).size();
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(seen, std::vector<std::size_t>(6, 201));
}

TEST_F(PreferencesDirectoryTest, LevelsHaveTheirDirectoriesFromTheEnvironmentEachTime) {
    ustring const prefs = toUString(folder() / "prefs");
    setPreferencesDirectoryUStr(prefs);
    for (char const* const text : {"/one", "relative/two", ""}) {
        EXPECT_FALSE(std::filesystem::exists(folder() / "prefs"));
        for (char const* name :
             {"SETTINGS_USERDIR", "SETTINGS_WORKGROUPDIR", "SETTINGS_FACTORYDIR"})
            environment().set(name, text);
        ustring const given = to_ustring(text);
        ustring const toolbox = qf::filesystem::get_install_path() + u"/toolbox";
        EXPECT_EQ(SettingsRootDirQuerier::UserRoot(), given.empty() ? prefs : given);
        EXPECT_EQ(SettingsRootDirQuerier::WorkgroupRoot(), given);
        EXPECT_EQ(SettingsRootDirQuerier::FactoryRoot(), given.empty() ? toolbox : given);
    }
    EXPECT_TRUE(std::filesystem::exists(folder() / "prefs/creation.timestamp"));
}

}  // namespace
