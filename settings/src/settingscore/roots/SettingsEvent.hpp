#pragma once

// The events belong to the tree, which makes them; customers may still include them from here.
#include <settingscore/tree/SettingsEvent.hpp>  // IWYU pragma: export
