#include <gtest/gtest.h>
#include <settingscore/prefdir/PreferencesDirectory.hpp>
#include <support/TempFolder.hpp>

TEST(PrefdirLayer, MakesItsDirectoryWithoutASettingsTree) {
    qbtest::TempFolder const home;
    std::u16string const wanted = (home.path() / "prefs").u16string();
    settings::core::setPreferencesDirectoryUStr(wanted);
    EXPECT_EQ(settings::core::getPreferencesDirectoryUStr(true), wanted);
    EXPECT_TRUE(std::filesystem::is_directory(home.path() / "prefs"));
    settings::core::setPreferencesDirectoryUStr({});
}
