#pragma once

namespace settings::core::detail {

/// A value that lives to the very end of the process: functions that the host installs may be asked
/// for by static objects of any library, before and after this one's own come and go.
template <class T>
T& neverDestroyed() {
    return *new T();
}

}  // namespace settings::core::detail
