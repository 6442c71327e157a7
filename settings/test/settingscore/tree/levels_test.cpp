#include <settingscore/persistence/SettingsLevelManager.hpp>

#include "TreeWorld.hpp"

using namespace settings::core;
using namespace qbtest;

namespace {

class LevelsTest : public TreeWorld {};

TEST_F(LevelsTest, ThreeNamesAreLevels) {
    auto const manager = SettingsLevelManager::getSettingsLevelManagerInstance();
    SettingsLevel const* level = SettingsLevelManager::getSettingsLevelObjs();
    auto const check = [&](std::string const& name, std::filesystem::path const& path) {
        EXPECT_EQ(manager->getSettingsLevelByName(name), level);
        EXPECT_EQ(level->levelName(), name);
        EXPECT_EQ(level->levelRootPath(), toUString(path));
        EXPECT_EQ(level->canBeModified(), name != "factory");
        EXPECT_EQ(level->canHaveFile(), name != "session");
        EXPECT_EQ(level->isUserLevel(), name == "user");
        EXPECT_EQ(level->isFactoryLevel(), name == "factory");
        ++level;
    };
    check("session", {});
    check("user", userDir());
    check("factory", factoryDir());
    EXPECT_EQ(manager->getAllLevelNames(), (Texts{"session", "user", "factory"}));
    for (char const* name : {"", "User", "users", "use", "workgroup"})
        EXPECT_EQ(manager->getSettingsLevelByName(name), nullptr);
    environment().set("SETTINGS_USERDIR", (folder() / "elsewhere").string());
    EXPECT_EQ(manager->getSettingsLevelByName("user")->levelRootPath(),
              toUString(folder() / "elsewhere"));
}

}  // namespace
