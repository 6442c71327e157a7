#include <limits>
#include <string>
#include <vector>

#include <settingscore/persistence/SettingsLevelManager.hpp>

#include "TreeWorld.hpp"

using namespace settings::core;
using namespace qbtest;

namespace {

class LevelsTest : public TreeWorld {
protected:
    boost::shared_ptr<SettingsLevelManager> const manager_ =
        SettingsLevelManager::getSettingsLevelManagerInstance();
};

TEST_F(LevelsTest, EachLevelAnswersForItself) {
    struct Row {
        char const* name;
        bool modifiable;
        bool hasFile;
        bool factory;
        bool user;
        std::filesystem::path folder;
    };
    std::vector<Row> const rows = {{"session", true, false, false, false, {}},
                                   {"user", true, true, false, true, userDir()},
                                   {"factory", false, true, true, false, factoryDir()}};
    SettingsLevel const* level = SettingsLevelManager::getSettingsLevelObjs();
    for (Row const& row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(level->levelName(), row.name);
        EXPECT_EQ(level->canBeModified(), row.modifiable);
        EXPECT_EQ(level->canHaveFile(), row.hasFile);
        EXPECT_EQ(manager_->isWritableLevel(row.name), row.hasFile);
        EXPECT_EQ(level->isFactoryLevel(), row.factory);
        EXPECT_EQ(level->isUserLevel(), row.user);
        EXPECT_FALSE(level->isWorkgroupLevel());
        EXPECT_EQ(level->levelRootPath(), toUString(row.folder));
        EXPECT_EQ(manager_->getSettingsLevelByName(row.name), level);
        EXPECT_TRUE(manager_->isValidLevel(row.name));
        ++level;
    }
    EXPECT_EQ(manager_->getAllLevelNames(), (Texts{"session", "user", "factory"}));
    EXPECT_EQ(SettingsLevelManager::getLastLevelName(), "factory");
    EXPECT_EQ(SettingsLevelManager::getSettingsLevelManagerInstance(), manager_);
}

TEST_F(LevelsTest, OtherNamesAreNoLevels) {
    for (char const* name : {"", "User", "users", "use", "workgroup", "nonsense"}) {
        SCOPED_TRACE(name);
        EXPECT_FALSE(manager_->isValidLevel(name));
        EXPECT_FALSE(manager_->isWritableLevel(name));
        EXPECT_EQ(manager_->getSettingsLevelByName(name), nullptr);
        Node const node = makeGroup("g");
        expectThrow<exception::UnSupportedLevel>(
            [&] { node->validateLevelName(name); },
            [&](auto const& error) {
                EXPECT_STREQ(error.what(), "The level specified is not a supported level.");
                EXPECT_EQ(error.getObjectInvovled(), node);
                EXPECT_EQ(error.getInputLevel(), name);
                EXPECT_EQ(error.getSupportedLevelList(), "session, user, factory, \n");
            });
    }
    Texts const asked = {"user", "nonsense", "session", "user"};
    std::vector<SettingsLevel const*> const found =
        manager_->getSettingsLevelByNameVec(asked.begin(), asked.end());
    SettingsLevel const* const user = manager_->getSettingsLevelByName("user");
    EXPECT_EQ(found, (std::vector<SettingsLevel const*>{
                         user, nullptr, manager_->getSettingsLevelByName("session"), user}));
}

TEST_F(LevelsTest, AChangedEnvironmentIsSeenByTheNextQuestion) {
    SettingsLevel const* const user = manager_->getSettingsLevelByName("user");
    environment().set("SETTINGS_USERDIR", (folder() / "elsewhere").string());
    EXPECT_EQ(user->levelRootPath(), toUString(folder() / "elsewhere"));
    environment().set("SETTINGS_USERDIR", userDir().string());
    user->initRootPath();
    EXPECT_EQ(user->levelRootPath(), toUString(userDir()));
}

}  // namespace
