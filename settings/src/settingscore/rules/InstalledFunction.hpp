#pragma once

#include <memory>
#include <mutex>

#include <settingscore/value/NeverDestroyed.hpp>

namespace settings::core::detail {

/// A function of the host's that can be replaced at any time, also by itself while it runs: whoever
/// holds it keeps it. All calls are of the one function that was installed, with its state.
template <class Function>
class InstalledFunction {
public:
    /// Never null; the function is empty if none is installed.
    std::shared_ptr<Function const> get() const {
        std::lock_guard<std::mutex> const lock(mutex_);
        return function_;
    }
    void set(Function const& function) {
        auto next = std::make_shared<Function const>(function);
        std::lock_guard<std::mutex> const lock(mutex_);
        function_.swap(next);
    }
    bool empty() const { return get()->empty(); }

private:
    mutable std::mutex mutex_;
    std::shared_ptr<Function const> function_ = std::make_shared<Function const>();
};

}  // namespace settings::core::detail
