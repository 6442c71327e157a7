#include <settingscore/persistence/SettingsLevelManager.hpp>

#include "TreeWorld.hpp"

using namespace settings::core;
using namespace qbtest;

namespace {

class LevelsTest : public TreeWorld {};

TEST_F(LevelsTest, ThreeNamesAreLevels) {
    auto const manager = SettingsLevelManager::getSettingsLevelManagerInstance();
    SettingsLevel const* level = SettingsLevelManager::getSettingsLevelObjs();
    auto const check = [&](char const* name, char const* traits,
                           std::filesystem::path const& path) {
        EXPECT_EQ(manager->getSettingsLevelByName(name), level);
        EXPECT_EQ(level->levelName(), name);
        EXPECT_EQ(level->levelRootPath(), toUString(path));
        EXPECT_EQ(std::string(level->canBeModified() ? "modified " : "") +
                      (level->canHaveFile() ? "filed " : "") +
                      (level->isUserLevel() ? "user " : "") +
                      (level->isFactoryLevel() ? "factory " : "") +
                      (level->isWorkgroupLevel() ? "workgroup " : ""),
                  traits);
        EXPECT_EQ(manager->isWritableLevel(name), level->canHaveFile());
        EXPECT_TRUE(manager->isValidLevel(name));
        ++level;
    };
    check("session", "modified ", {});
    check("user", "modified filed user ", userDir());
    check("factory", "filed factory ", factoryDir());
    EXPECT_EQ(manager->getAllLevelNames(), (Texts{"session", "user", "factory"}));
    for (char const* name : {"", "User", "users", "use", "workgroup"}) {
        EXPECT_FALSE(manager->isValidLevel(name) || manager->isWritableLevel(name)) << name;
        EXPECT_EQ(manager->getSettingsLevelByName(name), nullptr);
        expectThrow<exception::UnSupportedLevel>([&] { implRoot()->validateLevelName(name); },
                                                 [](auto const& e) {
                                                     EXPECT_EQ(e.getSupportedLevelList(),
                                                               "session, user, factory, \n");
                                                 });
    }
    SettingsLevel const* const user = manager->getSettingsLevelByName("user");
    Texts const asked = {"user", "nonsense", "user"};
    EXPECT_EQ(manager->getSettingsLevelByNameVec(asked.begin(), asked.end()),
              (std::vector<SettingsLevel const*>{user, nullptr, user}));
    environment().set("SETTINGS_USERDIR", (folder() / "elsewhere").string());
    EXPECT_EQ(user->levelRootPath(), toUString(folder() / "elsewhere"));
}

}  // namespace
