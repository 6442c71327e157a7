#pragma once

// What stood here bears the name of what it holds; customers may still include it from here.
#include <settingscore/errors/HostExceptions.hpp>  // IWYU pragma: export
