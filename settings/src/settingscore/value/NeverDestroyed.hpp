#pragma once

#include <utility>

namespace settings::core::detail {

/// A value that lives to the very end of the process, for a static: threads, and static objects of
/// any library, may ask for it before and after this library's own come and go.
template <class T, class... Given>
T& neverDestroyed(Given&&... given) {
    return *new T(std::forward<Given>(given)...);
}

}  // namespace settings::core::detail
