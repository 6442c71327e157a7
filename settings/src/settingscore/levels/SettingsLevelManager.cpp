#include <settingscore/levels/SettingsLevelManager.hpp>

#include <atomic>

#include <boost/make_shared.hpp>
#include <settingscore/levels/LevelDirectories.hpp>
#include <settingscore/value/NeverDestroyed.hpp>

namespace settings::core {

namespace {

std::atomic<detail::RootPathQuery> userRootQuery{nullptr};
std::atomic<detail::RootPathQuery> factoryRootQuery{nullptr};

ustring ask(std::atomic<detail::RootPathQuery> const& registered) {
    auto const query = registered.load();
    return query ? query() : ustring();
}
ustring userRoot() { return ask(userRootQuery); }
ustring factoryRoot() { return ask(factoryRootQuery); }

std::string nameAt(std::size_t place) { return std::string(detail::levelNames[place]); }

}  // namespace

void detail::setRootPathQueries(RootPathQuery user, RootPathQuery factory) {
    userRootQuery = user;
    factoryRootQuery = factory;
}

boost::shared_ptr<SettingsLevelManager> SettingsLevelManager::getSettingsLevelManagerInstance() {
    static auto const& settingsLevelManagerPtr_ =
        detail::neverDestroyed<boost::shared_ptr<SettingsLevelManager>>(
            boost::make_shared<SettingsLevelManager>());
    return settingsLevelManagerPtr_;
}

SettingsLevelManager::Levels const& SettingsLevelManager::levels() {
    static auto const& settingsLevels_ = detail::neverDestroyed<Levels>(
        Levels{SettingsLevel(nameAt(0), {}, true, 0, false, false, false, 0),
               SettingsLevel(nameAt(1), &userRoot, true, 1, false, false, true, 1),
               SettingsLevel(nameAt(2), &factoryRoot, false, SettingsLevel::unlimitedFiles, true,
                             false, false, 2)});
    return settingsLevels_;
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
