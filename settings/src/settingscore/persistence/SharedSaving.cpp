#include <settingscore/persistence/SharedSaving.hpp>

#include <settingscore/persistence/shared/SharedSaves.hpp>

namespace settings::core {

void turnOnSharedSaving(std::chrono::milliseconds longestWait) { SharedSaves::turnOn(longestWait); }

void turnOffSharedSaving() { SharedSaves::turnOff(); }

}  // namespace settings::core
