#pragma once

#include <atomic>

#include <settingscore/host/EventMgr.hpp>

namespace settings::core::detail {

/// What the tags of a node's events are made of: made when it is first asked for, by whichever
/// thread, and the same from then on. Most nodes are never asked.
class EventIdentity {
public:
    using Id = corebus::msg_svc::exchange::IDType;

    EventIdentity() = default;
    EventIdentity(EventIdentity const&) = delete;
    EventIdentity& operator=(EventIdentity const&) = delete;
    ~EventIdentity() { delete id_.load(std::memory_order_relaxed); }

    Id const& get() const {
        if (Id const* const known = id_.load(std::memory_order_acquire)) return *known;
        Id const* expected = nullptr;
        auto const* const fresh = new Id;
        if (id_.compare_exchange_strong(expected, fresh, std::memory_order_acq_rel)) return *fresh;
        delete fresh;
        return *expected;
    }

private:
    mutable std::atomic<Id const*> id_{nullptr};
};

}  // namespace settings::core::detail
