#pragma once

#include <array>
#include <cstddef>
#include <string>

#include <settingscore/levels/LevelNames.hpp>

namespace settingscore::typed {

/// The levels, in the order in which a read looks at them.
enum class Level { session, user, factory };

/// The level's name, as the operations of `settings::core::Settings` take it.
inline std::string const& nameOf(Level level) {
    using settings::core::detail::levelNames;
    // Never destroyed: threads may still read while the process ends.
    static auto const& names = *new std::array<std::string, levelNames.size()>{
        std::string(levelNames[0]), std::string(levelNames[1]), std::string(levelNames[2])};
    return names.at(static_cast<std::size_t>(level));
}

}  // namespace settingscore::typed
