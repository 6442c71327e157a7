#include <qbsettings/store/KeyState.hpp>

#include <algorithm>

#include <qbsettings/errors/Errors.hpp>
#include <qbsettings/store/Levels.hpp>
#include <qbsettings/text/Failure.hpp>
#include <qbsettings/text/Rules.hpp>
#include <settingscore/tree/Settings.hpp>

namespace qbsettings {

namespace {

bool holds(std::vector<std::string> const& levels, std::string const& level) {
    return std::find(levels.begin(), levels.end(), level) != levels.end();
}

}  // namespace

bool isStoredOn(SettingsPtr const& key, std::string const& level) {
    return holds(settings::core::describeKey(key).storedLevels, level);
}

KeyState readKey(SettingsPtr const& key, std::string const& from) {
    KeyState state;
    state.name = key->getFullName();
    state.description = settings::core::describeKey(key);
    bool counts = from.empty();
    for (std::string const& level : levelNames()) {
        counts = counts || level == from;
        if (!counts) continue;
        bool const isStored = holds(state.description.storedLevels, level);
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

}  // namespace qbsettings
