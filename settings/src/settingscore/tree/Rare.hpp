#pragma once

#include <memory>

#include <settingscore/value/NeverDestroyed.hpp>

namespace settings::core::detail {

/// A member that most nodes leave empty: it costs them a pointer, and takes its room when it is
/// set. Copies are deep.
template <class T>
class Rare {
public:
    Rare() = default;
    explicit Rare(T const& value) : value_(std::make_unique<T>(value)) {}
    Rare(Rare const& other) : value_(other.value_ ? std::make_unique<T>(*other.value_) : nullptr) {}
    Rare& operator=(Rare const& other) {
        Rare copy(other);
        swap(copy);
        return *this;
    }

    /// Lives as long as this, or, of what is not set, for ever.
    T const& get() const {
        static T const& none = neverDestroyed<T>();
        return value_ ? *value_ : none;
    }
    T& edit() {
        if (!value_) value_ = std::make_unique<T>();
        return *value_;
    }
    /// Back to nothing.
    void reset() noexcept { value_.reset(); }
    void swap(Rare& other) noexcept { value_.swap(other.value_); }

private:
    std::unique_ptr<T> value_;
};

}  // namespace settings::core::detail
