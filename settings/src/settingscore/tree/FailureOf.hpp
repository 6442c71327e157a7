#pragma once

#include <exception>

#include <cxxabi.h>

namespace settings::core::detail {

/// Runs something behind a change that stands already; what it throws is kept for the end of the
/// operation, so that the change reaches its file first. Null if it throws nothing.
template <class Work>
std::exception_ptr failureOf(Work const& work) {
    try {
        work();
        return nullptr;
    } catch (abi::__forced_unwind const&) {
        throw;  // The thread is being cancelled.
    } catch (...) {
        return std::current_exception();
    }
}

/// Brings a change that stands to its end, whatever failed behind it. The first failure goes out.
template <class Work>
void finishDespite(std::exception_ptr const& failure, Work const& work) {
    if (!failure) return work();
    failureOf(work);
    std::rethrow_exception(failure);
}

}  // namespace settings::core::detail
