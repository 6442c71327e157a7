#pragma once

#include <settingscore/host/UString.hpp>

/// The labels of this product build and of its forerunners, each of which has a preference
/// directory of its own.
namespace settings::core::releases {

inline constexpr char16_t const* current = u"K7716p";
inline constexpr char16_t const* previous = u"K7715q";
inline constexpr char16_t const* twoBack = u"K7715p";
inline constexpr char16_t const* threeBack = u"K7714q";

}  // namespace settings::core::releases
