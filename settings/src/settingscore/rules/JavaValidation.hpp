#pragma once

namespace settings::core::detail {

/// True while this thread runs a Java validation and so holds the lock of all of them. Such a
/// thread must not wait for another thread's load, which may need that lock.
bool isInsideJavaValidation();

}  // namespace settings::core::detail
