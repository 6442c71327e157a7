#pragma once

#include <atomic>

#include <settingscore/rules/Validator.hpp>
#include <settingscore/value/NeverDestroyed.hpp>

namespace settings::core::detail {

/// The validator of one node. Most have none and carry a pointer alone; once there is a place for
/// it, it stays, so that a reference to it goes on showing what the node has.
class OwnValidator {
public:
    OwnValidator() = default;
    OwnValidator(OwnValidator const& other) { *this = other.get(); }
    OwnValidator& operator=(OwnValidator const&) = delete;
    ~OwnValidator() { delete place_.load(std::memory_order_relaxed); }

    Validator const& get() const {
        static auto const& none = neverDestroyed<Validator>();
        Validator const* const place = place_.load(std::memory_order_acquire);
        return place ? *place : none;
    }
    /// The same at the place that it keeps; made by whichever thread asks first.
    Validator const& keptPlace() const { return place(); }

    /// For nodes that no other thread can reach.
    void operator=(Validator const& validator) {
        if (validator.which() != 0 || place_.load(std::memory_order_relaxed)) place() = validator;
    }
    /// Does not throw if the place is there (`keptPlace`).
    void swap(Validator& validator) { place().swap(validator); }

private:
    Validator& place() const {
        if (Validator* const known = place_.load(std::memory_order_acquire)) return *known;
        Validator* expected = nullptr;
        auto* const fresh = new Validator;
        if (place_.compare_exchange_strong(expected, fresh, std::memory_order_acq_rel))
            return *fresh;
        delete fresh;
        return *expected;
    }

    mutable std::atomic<Validator*> place_{nullptr};
};

}  // namespace settings::core::detail
