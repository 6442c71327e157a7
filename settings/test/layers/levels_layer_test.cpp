#include <gtest/gtest.h>
#include <settingscore/levels/LevelDirectories.hpp>
#include <settingscore/levels/SettingsLevelManager.hpp>

using settings::core::SettingsLevelManager;

TEST(LevelsLayer, KnowsNoDirectoryUntilSomebodyDoes) {
    auto const& user = SettingsLevelManager::userLevel();
    EXPECT_EQ(user.levelName(), "user");
    EXPECT_TRUE(user.levelRootPath().empty());
    settings::core::detail::setRootPathQueries([] { return qf::ustring(u"/of/user"); }, nullptr);
    EXPECT_EQ(user.levelRootPath(), u"/of/user");
    EXPECT_TRUE(SettingsLevelManager::findLevel("factory")->levelRootPath().empty());
    EXPECT_TRUE(SettingsLevelManager::findLevel("session")->levelRootPath().empty());
}
