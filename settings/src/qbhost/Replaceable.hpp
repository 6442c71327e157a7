#pragma once

#include <memory>
#include <mutex>
#include <utility>

namespace qbhost::detail {

/// A setting of the host that one thread may replace while others use it: a user holds the value it
/// got, and no lock while it works with it.
template <class T>
class Replaceable {
public:
    Replaceable() : value_(std::make_shared<T const>()) {}
    explicit Replaceable(T value) : value_(std::make_shared<T const>(std::move(value))) {}

    void set(T value) {
        auto fresh = std::make_shared<T const>(std::move(value));
        std::lock_guard<std::mutex> const lock(mutex_);
        value_.swap(fresh);
    }
    std::shared_ptr<T const> get() const {
        std::lock_guard<std::mutex> const lock(mutex_);
        return value_;
    }

private:
    mutable std::mutex mutex_;
    std::shared_ptr<T const> value_;
};

/// One object for the process, made at its first use and never destroyed, so that it serves other
/// libraries' static initialisers and destructors in whatever order they run.
template <class T>
T& immortal() {
    static T* const object = new T;
    return *object;
}

}  // namespace qbhost::detail
