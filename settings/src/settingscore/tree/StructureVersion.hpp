#pragma once

#include <atomic>
#include <cstdint>

#include <settingscore/Export.hpp>

namespace settings::core {

/// A number that grows whenever a node leaves a tree, or an instance lets its root go: who has
/// found a node by its name need not look for it again while the number stays. It has grown when
/// the call that takes the node away returns, never before the node is gone. Takes no lock; the
/// number lives as long as the process and is never 0.
SETTINGSCORE_API std::atomic<std::uint64_t> const& structureVersion() noexcept;

namespace detail {

/// Says that a node left a tree. Afterwards, so that nobody finds it again under the new number.
void raiseStructureVersion() noexcept;

}  // namespace detail

}  // namespace settings::core
