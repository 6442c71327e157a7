#pragma once

#include <array>
#include <cstddef>
#include <string_view>

namespace settings::core::detail {

/// Names of the levels, in the order in which a read looks at them.
inline constexpr std::array<std::string_view, 3> levelNames{"session", "user", "factory"};

/// Places of the levels in the byte order of their names.
constexpr std::array<std::size_t, levelNames.size()> placesByName() {
    std::array<std::size_t, levelNames.size()> places{};
    for (std::size_t place = 0; place < places.size(); ++place) {
        std::size_t rank = 0;
        for (std::string_view const& other : levelNames) {
            if (other < levelNames[place]) ++rank;
        }
        places[rank] = place;
    }
    return places;
}

}  // namespace settings::core::detail
