#pragma once

#include <exception>

namespace settings::core::detail {

/// Runs something behind a change that stands already; what it throws is kept for the end of the
/// operation, so that the change reaches its file first. Null if it throws nothing.
template <class Work>
std::exception_ptr failureOf(Work const& work) {
    try {
        work();
        return nullptr;
    } catch (...) {
        return std::current_exception();
    }
}

/// Brings a change that stands to its end, whatever failed behind it. The first failure goes out.
template <class Work>
void finishDespite(std::exception_ptr const& failure, Work const& work) {
    std::exception_ptr const later = failureOf(work);
    if (failure) std::rethrow_exception(failure);
    if (later) std::rethrow_exception(later);
}

}  // namespace settings::core::detail
