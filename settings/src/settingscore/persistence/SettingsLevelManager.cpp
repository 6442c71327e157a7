#include <settingscore/persistence/SettingsLevelManager.hpp>

#include <boost/make_shared.hpp>
#include <settingscore/roots/SettingsRootDirQuerier.hpp>

namespace settings::core {

boost::shared_ptr<SettingsLevelManager> SettingsLevelManager::getSettingsLevelManagerInstance() {
    static auto* const settingsLevelManagerPtr_ =
        new boost::shared_ptr<SettingsLevelManager>(boost::make_shared<SettingsLevelManager>());
    return *settingsLevelManagerPtr_;
}

SettingsLevelManager::Levels const& SettingsLevelManager::levels() {
    using Querier = SettingsRootDirQuerier;
    // Built at first use and never destroyed, so that nobody comes too early or too late.
    static auto* const settingsLevels_ =
        new Levels{SettingsLevel("session", {}, true, 0, false, false, false, 0),
                   SettingsLevel("user", &Querier::UserRoot, true, 1, false, false, true, 1),
                   SettingsLevel("factory", &Querier::FactoryRoot, false,
                                 SettingsLevel::unlimitedFiles, true, false, false, 2)};
    return *settingsLevels_;
}

SettingsLevel const* SettingsLevelManager::findLevel(std::string const& name) {
    for (SettingsLevel const& level : levels()) {
        if (level.levelName() == name) return &level;
    }
    return nullptr;
}

std::vector<std::string> SettingsLevelManager::getAllLevelNames() const {
    std::vector<std::string> names;
    for (SettingsLevel const& level : levels())
        names.push_back(level.levelName());
    return names;
}

bool SettingsLevelManager::isWritableLevel(std::string const& name) const {
    SettingsLevel const* const level = findLevel(name);
    return level && level->canHaveFile();
}

}  // namespace settings::core
