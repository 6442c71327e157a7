#pragma once

/// Marks what crosses the boundary between the library and its host, so that types thrown or
/// passed from one shared library to the other keep one identity under hidden visibility.
#define QBHOST_API __attribute__((visibility("default")))
