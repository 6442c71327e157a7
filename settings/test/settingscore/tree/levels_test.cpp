#include <settingscore/persistence/SettingsLevelManager.hpp>

#include "TreeWorld.hpp"

using namespace settings::core;
using namespace qbtest;

namespace {

class LevelsTest : public TreeWorld {};

TEST_F(LevelsTest, FoldersComeFromTheEnvironmentEachTime) {
    auto const manager = SettingsLevelManager::getSettingsLevelManagerInstance();
    auto const folderOf = [&](char const* name) {
        return manager->getSettingsLevelByName(name)->levelRootPath();
    };
    EXPECT_EQ(manager->getAllLevelNames(), (Texts{"session", "user", "factory"}));
    EXPECT_EQ(folderOf("session"), u"");
    EXPECT_EQ(folderOf("user"), toUString(userDir()));
    EXPECT_EQ(folderOf("factory"), toUString(factoryDir()));
    environment().set("SETTINGS_USERDIR", (folder() / "elsewhere").string());
    EXPECT_EQ(folderOf("user"), toUString(folder() / "elsewhere"));
    for (char const* name : {"", "User", "users", "use", "workgroup"})
        EXPECT_EQ(manager->getSettingsLevelByName(name), nullptr);
}

}  // namespace
