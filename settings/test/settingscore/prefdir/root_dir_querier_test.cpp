#include <settingscore/roots/SettingsRootDirQuerier.hpp>

#include "PrefDirWorld.hpp"

using namespace settings::core;
using qbtest::toUString;

namespace {

class RootDirQuerierTest : public qbtest::PrefDirWorld {};

TEST_F(RootDirQuerierTest, EnvironmentNamesTheDirectoriesAndIsAskedEachTime) {
    for (char const* directory : {"/one", "relative/two"}) {
        environment().set("SETTINGS_USERDIR", directory);
        environment().set("SETTINGS_WORKGROUPDIR", directory);
        environment().set("SETTINGS_FACTORYDIR", directory);
        EXPECT_EQ(SettingsRootDirQuerier::UserRoot(), toUString(directory));
        EXPECT_EQ(SettingsRootDirQuerier::WorkgroupRoot(), toUString(directory));
        EXPECT_EQ(SettingsRootDirQuerier::FactoryRoot(), toUString(directory));
    }
    EXPECT_EQ(qbtest::readTree(folder()).size(), 1U) << "nothing is created";
}

TEST_F(RootDirQuerierTest, EmptyVariablesCountAsUnset) {
    ustring const prefs = toUString(folder() / "prefs");
    setPreferencesDirectoryUStr(prefs);
    for (bool const set : {true, false}) {
        for (char const* name :
             {"SETTINGS_USERDIR", "SETTINGS_WORKGROUPDIR", "SETTINGS_FACTORYDIR"}) {
            set ? environment().set(name, "") : environment().unset(name);
        }
        EXPECT_EQ(SettingsRootDirQuerier::UserRoot(), prefs);
        EXPECT_EQ(SettingsRootDirQuerier::WorkgroupRoot(), u"");
        EXPECT_EQ(SettingsRootDirQuerier::FactoryRoot(), zenbarRootUStr() + u"/toolbox");
    }
    EXPECT_TRUE(std::filesystem::exists(folder() / "prefs/creation.timestamp"));
}

TEST_F(RootDirQuerierTest, RelativePreferenceDirectoryEndsTheProcess) {
    setPreferencesDirectoryUStr(u"some/folder");
    EXPECT_EXIT((removeFolder(), SettingsRootDirQuerier::UserRoot()), ::testing::ExitedWithCode(1),
                "^Unable to start ZENBAR\\. Relative path for preferences directory "
                "\\('some/folder'\\) is not supported \n$");
}

}  // namespace
