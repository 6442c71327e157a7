#pragma once

#include <utility>

namespace qf::util {

/// Runs a function when the scope is left, on every way out. Exceptions of the function end there:
/// it often runs while another one is on its way.
template <class Function>
class scope_guard {
public:
    /// Takes the function.
    explicit scope_guard(Function function) : function_(std::move(function)) {}
    ~scope_guard() {
        try {
            function_();
        } catch (...) {  // NOLINT(bugprone-empty-catch)
        }
    }
    scope_guard(scope_guard const&) = delete;
    scope_guard& operator=(scope_guard const&) = delete;

private:
    Function function_;
};

}  // namespace qf::util
