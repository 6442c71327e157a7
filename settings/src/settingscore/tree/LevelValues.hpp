#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <string>

#include <boost/any.hpp>
#include <settingscore/levels/LevelNames.hpp>

namespace settings::core::detail {

/// The values of one key, at most one a level. A level can have an entry that is empty; it reads as
/// no value.
class LevelValues {
public:
    static constexpr std::size_t levelCount = levelNames.size();
    /// The places of the levels in the order of their names: factory, session, user.
    static constexpr auto byLevelName = placesByName();

    /// The entry of a level (by its place in the stack), null if there is none.
    boost::any const* find(std::size_t level) const {
        return present_[level] ? &values_[level] : nullptr;
    }
    bool hasValue(std::size_t level) const { return present_[level] && !values_[level].empty(); }
    bool holdsAnyValue() const {
        return std::any_of(byLevelName.begin(), byLevelName.end(),
                           [this](std::size_t level) { return hasValue(level); });
    }
    /// Puts an entry in, in the place of an earlier one. Does not throw.
    void put(std::size_t level, boost::any& value) noexcept {
        values_[level].swap(value);
        present_[level] = true;
    }
    /// Takes an entry out; it becomes the caller's, who destroys it when it is convenient.
    void take(std::size_t level, boost::any& empty) noexcept {
        values_[level].swap(empty);
        present_[level] = false;
    }

private:
    std::array<boost::any, levelCount> values_;
    std::array<bool, levelCount> present_{};
};

}  // namespace settings::core::detail
