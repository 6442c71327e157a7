#pragma once

#include <chrono>

#include <settingscore/persistence/SettingsFile.hpp>

namespace settings::core {

/// The mode in which saves of several processes lose nothing; `SharedSaving.hpp` tells what it
/// does.
class SharedSaves {
public:
    static void turnOn(std::chrono::milliseconds longestWait);
    static void turnOff();
    static bool areOn();
    static std::chrono::milliseconds longestWait();

    /// A save under the lock of the user directory, merged with what others wrote. Called with the
    /// tree held shared, as all saves are.
    static void save(SettingsFile::Save const& save, SaveSettingsFunctor const& functor);
    /// Removes a file under the same lock, so that no save of another brings it back unseen.
    static void remove(SettingsFile::Path const& file);
};

}  // namespace settings::core
