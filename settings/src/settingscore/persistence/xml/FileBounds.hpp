#pragma once

#include <cstddef>
#include <cstdint>

/// What a file may cost, whoever has written it.
namespace settings::core::FileBounds {

/// Most elements that may stand inside each other.
constexpr std::size_t nestingLimit = 1000;
/// Longest text of an element, in UTF-16 code units.
constexpr std::uint64_t textLimit = std::uint64_t(64) << 20;
/// Most bytes of a file that may come without a tag among them.
constexpr std::uint64_t tagDistanceLimit = std::uint64_t(256) << 20;
/// So long a text, with its marks, can be read whatever the parser has read ahead behind it.
constexpr std::uint64_t writtenTextLimit = tagDistanceLimit - (std::uint64_t(1) << 20);

}  // namespace settings::core::FileBounds
