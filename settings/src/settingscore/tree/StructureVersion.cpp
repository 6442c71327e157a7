#include <settingscore/tree/StructureVersion.hpp>

namespace settings::core {

namespace {

/// By itself in its line of the cache: threads that read settings in a loop look at it each time.
struct alignas(64) Version {
    std::atomic<std::uint64_t> number{1};
};

Version version;

}  // namespace

std::atomic<std::uint64_t> const& structureVersion() noexcept { return version.number; }

namespace detail {

void raiseStructureVersion() noexcept { version.number.fetch_add(1, std::memory_order_acq_rel); }

}  // namespace detail

}  // namespace settings::core
