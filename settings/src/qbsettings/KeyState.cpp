#include <qbsettings/KeyState.hpp>

#include <algorithm>

#include <qbsettings/Errors.hpp>
#include <qbsettings/Failure.hpp>
#include <qbsettings/Rules.hpp>
#include <qbsettings/Text.hpp>
#include <settingscore/tree/Settings.hpp>

namespace qbsettings {

KeyState readKey(SettingsPtr const& key) {
    KeyState state;
    state.name = key->getFullName();
    state.description = settings::core::describeKey(key);
    auto const& stored = state.description.storedLevels;
    for (std::string const& level : levelNames()) {
        bool const isStored = std::find(stored.begin(), stored.end(), level) != stored.end();
        if (!isStored && levelOf(state.description.runTimeDefault) != level) continue;
        try {
            state.value = key->getParent()->getAny(key->getName(), level);
        } catch (std::exception const& error) {
            state.problem = reasonOf(error);
        }
        if (state.value.empty() && state.problem.empty()) continue;
        state.level = isStored ? level : "runtime:" + level;
        break;
    }
    return state;
}

boost::any valueOn(SettingsPtr const& key, std::string const& level) {
    try {
        return key->getParent()->getAny(key->getName(), level);
    } catch (std::exception const& error) {
        throw Failure(key->getFullName() + ": " + reasonOf(error));
    }
}

void requireLevel(std::string const& level) {
    auto const& names = levelNames();
    if (std::find(names.begin(), names.end(), level) == names.end()) {
        throw Failure(wrongUsage, "there is no level " + inQuotes(level) + "; the levels are " +
                                      join(names, ", "));
    }
}

}  // namespace qbsettings
