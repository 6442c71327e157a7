#include <qbsettings/store/Levels.hpp>

#include <algorithm>

#include <qbsettings/text/Failure.hpp>
#include <qbsettings/text/Text.hpp>
#include <settingscore/levels/SettingsLevelManager.hpp>

namespace qbsettings {

std::vector<std::string> const& levelNames() {
    static std::vector<std::string> const names =
        settings::core::SettingsLevelManager::getSettingsLevelManagerInstance()->getAllLevelNames();
    return names;
}

void requireLevel(std::string const& level) {
    auto const& names = levelNames();
    if (std::find(names.begin(), names.end(), level) != names.end()) return;
    throw Failure(wrongUsage,
                  "there is no level " + inQuotes(level) + "; the levels are " + join(names, ", "));
}

}  // namespace qbsettings
