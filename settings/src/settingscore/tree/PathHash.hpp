#pragma once

#include <cstdint>
#include <functional>
#include <string>

namespace settings::core::detail {

/// Stands for the place of a node in its product, which itself has `productPath`. Good for the life
/// of the process.
using PathHash = std::uint64_t;
constexpr PathHash productPath = 0x9e3779b97f4a7c15U;

/// The place of a child.
inline PathHash pathBelow(PathHash parent, std::string const& name) {
    std::uint64_t mixed = (parent ^ (parent >> 29U)) * 0xbf58476d1ce4e5b9U;
    mixed ^= std::hash<std::string>()(name) + productPath;
    return (mixed ^ (mixed >> 32U)) * 0x94d049bb133111ebU;
}

}  // namespace settings::core::detail
