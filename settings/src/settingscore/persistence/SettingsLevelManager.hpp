#pragma once

// The levels are a layer of their own; customers may still include them from here.
#include <settingscore/levels/SettingsLevelManager.hpp>  // IWYU pragma: export
